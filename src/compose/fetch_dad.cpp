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

int qrkFetchDAD(QrkStruct* ctx, const char* collectionName, QrkOutbuf* dadBuf, char* msg,
                int* errCode) {
  const Report report{ctx, msg, errCode};
  const std::string_view fullName(collectionName);
  char name[kCollectionNameSize] = "";
  if (fullName.size() >= sizeof name) {
    return failed(report, Msg::QRKQ028E, fullName);
  }
  fullName.copy(name, sizeof name - 1);

  QRK_TRACE(ctx, "xstmt_sql:%s.", kQuery);
  sqlca area{};
  StoredDad dad(kQrksuwo);
  dad.open(kQuery, name, sizeof name, area);
  if (area.sqlcode < 0) {
    QRK_TRACE(ctx, "sqlcode %d open cursor for SELECT from xml_usage", area.sqlcode);
    failCollection(report, area, name);
    dad.close();
    return area.sqlcode;
  }
  dad.fetch(area);
  QRK_TRACE(ctx, "fetched sqlcode %d", area.sqlcode);
  dad.close();
  if (dad.indicator() < 0) {
    QRK_TRACE(ctx, "Error in selecting DAD from XML_USAGE, dadfile_ind=%d.", dad.indicator());
    failDb(report, area, Msg::QRKQ029E, name);
    return -1;
  }
  if (area.sqlcode != 0) {
    failCollection(report, area, name);
    return -1;
  }
  const int code = dad.read(ctx, dadBuf, msg);
  if (code == 0) return 0;
  *errCode = code;
  return -1;
}

}  // namespace orvxml
