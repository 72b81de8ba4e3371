#include "src/compose/column_buffers.h"

#include <algorithm>
#include <limits>

#include "src/compose/composition.h"

namespace orvxml {

namespace {

bool isBinaryType(SQLSMALLINT type) {
  return type == SQL_BINARY || type == SQL_VARBINARY || type == SQL_LONGVARBINARY ||
         type == SQL_BLOB;
}

}  // namespace

bool isGraphicType(SQLSMALLINT type) {
  return type == SQL_GRAPHIC || type == SQL_VARGRAPHIC || type == SQL_LONGVARGRAPHIC ||
         type == SQL_DBCLOB;
}

bool isFetchedByLocator(SQLSMALLINT type) {
  return type == SQL_CLOB || type == SQL_DBCLOB;
}

// A double-byte character takes up to four bytes, a binary value comes as two digits a byte.
int32_t textBufferSize(SQLSMALLINT type, SQLUINTEGER size) {
  const int64_t bytesPerUnit = isGraphicType(type) ? 4 : isBinaryType(type) ? 2 : 1;
  const int64_t bytes = std::max<int64_t>(kColumnBufferSize, bytesPerUnit * size) + 1;
  return static_cast<int32_t>(std::min<int64_t>(bytes, std::numeric_limits<int32_t>::max()));
}

}  // namespace orvxml
