// The values that a run over a document has found, in the document's order.
#pragma once

#include <cstdint>
#include <string>
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

// Collects values. What is added to one is UTF-16; it is kept in the database code page, all values
// in one text, so that many small ones cost little and a large one takes no more than its size.
// Out of memory: std::bad_alloc.
class qrkResult {
 public:
  explicit qrkResult(QrkStruct* ctx);
  ~qrkResult();
  qrkResult(const qrkResult&) = delete;
  qrkResult& operator=(const qrkResult&) = delete;

  // Appends an empty value, which becomes the current one.
  void addItem();
  // To the current value, which there must be.
  void addToCurrentItem(std::u16string_view text) {
    if (text.size() > pendingRoom_ - pendingLength_) makeRoom(text.size());
    text.copy(pending_ + pendingLength_, text.size());
    pendingLength_ += text.size();
  }
  void addToCurrentItem(Escaping escaping, std::u16string_view text);

  // Completes the last value. What follows reads a complete result. False when a value holds what
  // the code page does not.
  bool complete();
  uint32_t count() const { return static_cast<uint32_t>(begins_.size()); }
  // Value `index`, terminated.
  std::string_view item(uint32_t index) const;
  // The only value of all, as a heap string; the result is empty afterwards.
  char* takeOnly();

 private:
  void makeRoom(size_t more);
  void convertPending(bool isLast);
  void endItem();
  char* reserve(size_t more);

  QrkStruct* ctx_;
  const bool isUtf8_;  // then pieces of a text convert to pieces of its bytes
  bool isConverted_ = true;
  bool isOpen_ = false;       // there is a current value
  XMLCh* pending_ = nullptr;  // of the current value, not converted yet
  size_t pendingLength_ = 0;
  size_t pendingRoom_ = 0;
  std::string converted_;
  char* bytes_ = nullptr;
  size_t length_ = 0;
  size_t room_ = 0;
  std::vector<size_t> begins_;
};

}  // namespace orvxml
