#include "src/admin/usage_table.h"

#include "orvxml/trace.h"
#include "src/server_access/catalog_queries.h"

namespace orvxml {

int requireUsageTable(const Report& report) {
  int exists = 0;
  if (int rc = qrkTableExists(report.ctx, "ORVXML", "XML_USAGE", &exists, report.msg)) return rc;
  if (exists) return 0;
  QRK_TRACE(report.ctx, "Table orvxml.xml_usage does not exist.");
  return fail(report, Msg::QRKQ052E);
}

}  // namespace orvxml
