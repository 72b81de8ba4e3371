#include "src/compose/sql_mapping.h"

#include "orvxml/trace.h"
#include "src/dad/mapping_notices.h"

namespace orvxml {

int SqlComposition::nextObject() {
  const int rc = top_.qrkFetchNextObj();
  if (rc && rc != SQL_NO_DATA) {
    QRK_TRACE(call_.report.ctx, "Cannot fetch data from '%s', i=%d.", top_.text().c_str(),
              objects_);
    tellPlace(call_.statement, "in object " + std::to_string(objects_ + 1) + " of the query");
  }
  if (rc == 0) ++objects_;
  return rc;
}

}  // namespace orvxml
