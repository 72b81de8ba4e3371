#include "src/decompose/row_list.h"

#include <memory>

namespace orvxml {

Value* RowList::append() {
  const size_t slots = static_cast<size_t>(width());
  void* memory = arena_.allocate(slots * sizeof(Value), alignof(Value));
  Value* row = static_cast<Value*>(memory);
  std::uninitialized_value_construct_n(row, slots);
  rows_.push_back(row);
  return row;
}

Value RowList::copy(std::string_view text) {
  char* copied = static_cast<char*>(arena_.allocate(text.size() + 1, 1));
  text.copy(copied, text.size());
  copied[text.size()] = '\0';
  return {copied, static_cast<uint32_t>(text.size())};
}

}  // namespace orvxml
