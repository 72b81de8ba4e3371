// The steps of a compiled location path. The texts are views into the path that was compiled.
#pragma once

#include <string_view>

#include "src/xmlcolumn/location_path.h"

namespace orvxml {

// The test of one step: the element's name and, when `hasTest`, the value of one attribute.
struct QrkQueryFilter {
  std::u16string_view name;  // "*": any element
  std::u16string_view attrName;
  std::u16string_view attrValue;
  bool hasTest = false;
};

struct QrkQueryChunk {
  QrkQueryFilter filter;
  QrkQueryChunk* next = nullptr;
};

// A segment between two "//".
struct QrkQueryChunks {
  QrkQueryChunk* chunks = nullptr;
  QrkQueryChunks* next = nullptr;
};

}  // namespace orvxml
