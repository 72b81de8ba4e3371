#include "server/resolve/catalog.h"

#include "server/values/utf8_text.h"

namespace orv {

int Table::columnIndex(std::string_view column) const {
  for (size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].name == column) return static_cast<int>(i);
  }
  if (!foreign) return -1;
  // Other programs write names in any case; the engine keeps them apart regardless of it.
  std::string folded = foldAscii(column);
  for (size_t i = 0; i < columns.size(); ++i) {
    if (foldAscii(columns[i].storedName) == folded) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace orv
