#include "src/compose/fetch_dad.h"

#include <cstring>
#include <string_view>

#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "src/server_access/stored_dad.h"

namespace orvxml {
namespace {

constexpr int kCollectionNameSize = 32;  // bytes, terminator included
constexpr char kQuery[] =
    "SELECT DAD FROM ORVXML.XML_USAGE WHERE TABLE_NAME = 'QRK_COLLECTION' AND COL_NAME = ?";

}  // namespace

void qrkFetchDAD(QrkStruct* ctx, const char* collectionName, QrkOutbuf* dadBuf) {
  const std::string_view fullName(collectionName);
  char name[kCollectionNameSize] = "";
  if (fullName.size() >= sizeof name) throw Failure(Msg::QRKQ028E, fullName);
  fullName.copy(name, sizeof name - 1);

  QRK_TRACE(ctx, "xstmt_sql:%s.", kQuery);
  sqlca area{};
  StoredDad dad(kQrksuwo);
  dad.open(kQuery, name, sizeof name, area);
  if (area.sqlcode < 0) {
    QRK_TRACE(ctx, "sqlcode %d open cursor for SELECT from xml_usage", area.sqlcode);
    throw collectionFailure(area, name);
  }
  dad.fetch(area);
  QRK_TRACE(ctx, "fetched sqlcode %d", area.sqlcode);
  dad.close();
  if (dad.indicator() < 0) {
    QRK_TRACE(ctx, "Error in selecting DAD from XML_USAGE, dadfile_ind=%d.", dad.indicator());
    throw Failure::ofServer(area, Msg::QRKQ029E, name);
  }
  if (area.sqlcode != 0) throw collectionFailure(area, name);
  dad.read(ctx, dadBuf);
}

}  // namespace orvxml
