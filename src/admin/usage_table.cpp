#include "src/admin/usage_table.h"

#include "orvxml/trace.h"
#include "src/outcome/failure.h"
#include "src/server_access/catalog_queries.h"

namespace orvxml {

void requireUsageTable(QrkStruct* ctx) {
  if (qrkTableExists(ctx, "ORVXML", "XML_USAGE")) return;
  QRK_TRACE(ctx, "Table orvxml.xml_usage does not exist.");
  throw Failure(Msg::QRKQ052E);
}

}  // namespace orvxml
