#include "src/decompose/row_list.h"

#include <memory>

namespace orvxml {

Value* RowList::append(const xercesc::DOMElement* element) {
  const size_t slots = static_cast<size_t>(width());
  void* memory = arena_.allocate(slots * sizeof(Value), alignof(Value));
  Value* row = static_cast<Value*>(memory);
  std::uninitialized_value_construct_n(row, slots);
  rows_.push_back(row);
  if (keepsOrigins_) {
    using Source = const xercesc::DOMElement*;
    const auto columns = static_cast<size_t>(columns_);
    auto* sources =
        static_cast<Source*>(arena_.allocate(columns * sizeof(Source), alignof(Source)));
    std::uninitialized_fill_n(sources, columns, nullptr);
    origins_.push_back({element, nullptr, sources});
  }
  return row;
}

Value RowList::copy(std::string_view text) {
  char* copied = static_cast<char*>(arena_.allocate(text.size() + 1, 1));
  text.copy(copied, text.size());
  copied[text.size()] = '\0';
  return {copied, static_cast<uint32_t>(text.size())};
}

}  // namespace orvxml
