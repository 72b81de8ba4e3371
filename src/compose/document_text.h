// The text of a document under construction: collects small pieces and hands them to the document's
// buffer in large ones, and writes values so that the document always parses.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "orvxml/buffer.h"
#include "orvxml/context.h"
#include "src/parser/parser.h"

namespace orvxml {

class DocumentText {
 public:
  // Pieces handed on to memory are never longer than this, so that a document moves into a file no
  // sooner than its size asks for.
  static constexpr size_t kMemoryPiece = 8192;
  // A file takes longer pieces.
  static constexpr size_t kFilePiece = 131072;

  explicit DocumentText(QrkStruct* ctx);

  // Starts a new document in `out`, which has been acquired, with its header. Once it has more than
  // `sizeLimit` bytes, handing text on fails with QRKG017E.
  void begin(QrkOutbuf* out, std::string_view header, uint32_t sizeLimit = kNoSizeLimit);

  // Appends markup that is right as it stands, in the database code page. QRKQ002E when the buffer
  // refuses it.
  void append(std::string_view markup) {
    if (markup.size() > static_cast<size_t>(end_ - at_)) return appendLong(markup);
    std::memcpy(at_, markup.data(), markup.size());
    at_ += markup.size();
  }

  // Appends a value of the database code page with the five characters of markup replaced by their
  // entities. `column` names its source, if it has one, in the message for text that XML cannot
  // carry or that is no text of the code page: QRKQ055E.
  void appendValue(std::string_view value, std::string_view column);
  // The same for a character large object, read in pieces through its locator.
  void appendLargeObject(int32_t locator, std::string_view column);

  // Hands everything on: QRKQ002E, QRKG017E.
  void flush();

 private:
  void appendLong(std::string_view markup);
  size_t plainLength(std::string_view value) const;
  void appendConverted(std::string_view value, std::string_view column);
  void appendUnits(std::u16string_view units, std::string_view column);
  void makeRoom(size_t size);
  bool isAllowed(char32_t ch) const;

  QrkStruct* const ctx_;
  QrkOutbuf* out_ = nullptr;
  uint32_t sizeLimit_ = kNoSizeLimit;
  std::unique_ptr<char[]> piece_;  // with room for a terminator
  char* at_;                       // where the next text goes
  char* end_;                      // of the piece
  std::u16string units_;           // of a value under conversion,
  std::u16string escaped_;         // with its entities,
  std::string bytes_;              // and back in the code page
  bool isUtf8_;                    // the database code page
  bool hasPlainAscii_;        // ASCII characters have their ASCII bytes and no others use these
  bool isVersion11_ = false;  // XML 1.1 restricts more characters
};

// An element or attribute name as XML allows it.
bool isXmlName(std::u16string_view name);

// qrkGenDocHeader, and the certainty that a document with this header and the root element `root`
// parses: QRKQ047E with the parser's words otherwise.
std::string checkedDocHeader(QrkStruct* ctx, const DOM_Element& dad, const DOM_Element& root);

}  // namespace orvxml
