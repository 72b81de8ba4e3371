// The values that a run over a document has found, in UTF-16 and in the document's order.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include <xercesc/util/XercesDefs.hpp>

#include "orvxml/extraction.h"

namespace orvxml {

// How text is written.
enum class Escaping {
  None,
  Markup,     // the five characters of markup become entity references
  Text,       // and what a parser would not read back as it is written, character references
  Attribute,  // the same inside an attribute's value, where a parser takes white space for blanks
};

// All values stand in one text, each with its terminator, so that many small ones cost little.
// Out of memory: std::bad_alloc.
class qrkResult {
 public:
  qrkResult() = default;
  ~qrkResult();
  qrkResult(const qrkResult&) = delete;
  qrkResult& operator=(const qrkResult&) = delete;

  uint32_t count() const { return static_cast<uint32_t>(begins_.size()); }
  // Value `index` (below count()), terminated; good until the next addition.
  std::u16string_view item(uint32_t index) const;
  // Appends an empty value, which becomes the current one.
  void addItem();
  // To the current value, which there must be.
  void addToCurrentItem(std::u16string_view text) {
    if (text.size() >= capacity_ - length_) grow(text.size());
    text.copy(text_ + length_, text.size());
    length_ += text.size();
    text_[length_] = 0;
  }
  void addToCurrentItem(Escaping escaping, std::u16string_view text);

 private:
  void grow(size_t more);

  XMLCh* text_ = nullptr;
  size_t length_ = 0;    // without the last terminator
  size_t capacity_ = 0;  // more than the length, once there is a value
  std::vector<size_t> begins_;
};

}  // namespace orvxml
