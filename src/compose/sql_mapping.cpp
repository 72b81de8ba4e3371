#include "src/compose/sql_mapping.h"

#include "orvxml/trace.h"
#include "src/dad/mapping_notices.h"

namespace orvxml {

bool SqlComposition::nextObject() {
  try {
    const bool isThere = top_.qrkFetchNextObj();
    if (isThere) ++objects_;
    return isThere;
  } catch (Failure& failure) {
    QRK_TRACE(call_.ctx, "Cannot fetch data from '%s', i=%d.", top_.text().c_str(), objects_);
    throw at(call_.statement, std::move(failure),
             "in object " + std::to_string(objects_ + 1) + " of the query");
  }
}

}  // namespace orvxml
