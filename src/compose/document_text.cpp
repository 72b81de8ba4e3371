#include "src/compose/document_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include <unicode/utf16.h>
#include <unicode/utf8.h>
#include <xercesc/util/XMLChar.hpp>

#include "orvxml/code_pages.h"
#include "src/compose/plain_text.h"
#include "src/compose/xml_writer.h"
#include "src/dad/mapping_notices.h"
#include "src/server_access/locators.h"
#include "src/text/piecewise_decoder.h"

namespace orvxml {

namespace {

// Whether every printable ASCII character has its ASCII byte in the code page, alone and in a row:
// not so where such bytes introduce others.
bool keepsAscii(QrkStruct* ctx) {
  std::string ascii("\t\n\r");
  for (char c = ' '; c <= '~'; ++c) ascii += c;
  std::u16string units;
  return toUtf16(ctx, ascii, units) && std::u16string(ascii.begin(), ascii.end()) == units;
}

// How messages name the source of a value.
std::string sourceOf(std::string_view column) {
  return column.empty() ? "a value" : "column " + std::string(column);
}

// The next character of `text`, which moves `at` behind it; negative for a malformed one.
UChar32 nextCharacter(std::string_view text, size_t& at) {
  UChar32 ch = 0;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // inside the macro
  U8_NEXT(text.data(), at, text.size(), ch);
#pragma GCC diagnostic pop
  return ch;
}

// What the column holds makes the document impossible, not the mapping.
Failure unwritable(std::string_view column, const std::string& what) {
  return Failure(Msg::QRKQ055E, sourceOf(column) + " holds " + what).ofKind(FailureKind::kDatabase);
}

Failure refusedCharacter(std::string_view column, UChar32 ch) {
  char name[16];
  std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(ch));
  return unwritable(column, std::string(name) + ", which XML cannot carry");
}

Failure noText(std::string_view column, const std::string& reason) {
  return unwritable(column, "no text of the database code page (" + reason + ")");
}

}  // namespace

DocumentText::DocumentText(QrkStruct* ctx)
    : ctx_(ctx), isUtf8_(isUtf8Database(ctx)), hasPlainAscii_(isUtf8_ || keepsAscii(ctx)) {
  makeRoom(kMemoryPiece);
}

void DocumentText::makeRoom(size_t size) {
  piece_ = std::make_unique_for_overwrite<char[]>(size + 1);
  at_ = piece_.get();
  end_ = at_ + size;
}

void DocumentText::begin(QrkOutbuf* out, std::string_view header, uint32_t sizeLimit) {
  out_ = out;
  sizeLimit_ = sizeLimit;
  at_ = piece_.get();
  end_ = at_ + kMemoryPiece;
  const std::string_view declaration = header.substr(0, header.find('>'));
  isVersion11_ =
      declaration.starts_with("<?xml") && (declaration.find("\"1.1\"") != std::string_view::npos ||
                                           declaration.find("'1.1'") != std::string_view::npos);
  append(header);
}

void DocumentText::flush() {
  if (at_ == piece_.get()) return;
  *at_ = 0;
  if (qrkBufAppend(ctx_, out_, piece_.get()) != 0) throw Failure(Msg::QRKQ002E);
  if (qrkBufGetSize(ctx_, out_) > sizeLimit_) throw Failure::ofLimit("resultDoc");
  at_ = piece_.get();
  if (out_->loctype == QRK_LOC_FILE && end_ != at_ + kFilePiece) makeRoom(kFilePiece);
}

void DocumentText::appendLong(std::string_view markup) {
  for (;;) {
    const size_t room = std::min(static_cast<size_t>(end_ - at_), markup.size());
    std::memcpy(at_, markup.data(), room);
    at_ += room;
    markup.remove_prefix(room);
    if (markup.empty()) return;
    flush();
  }
}

bool DocumentText::isAllowed(char32_t ch) const {
  if (ch < 0x20) return ch == '\t' || ch == '\n' || ch == '\r';
  if (isVersion11_ && ch >= 0x7F && ch < 0xA0 && ch != 0x85) return false;
  return !U_IS_SURROGATE(ch) && ch != 0xFFFE && ch != 0xFFFF && ch <= 0x10FFFF;
}

// How many bytes from the start are written as they stand.
size_t DocumentText::plainLength(std::string_view value) const {
  size_t at = 0;
  while (at < value.size()) {
    const ByteClass kind = classOf(value[at]);
    if (kind == ByteClass::Plain && (value[at] != 0x7F || !isVersion11_)) {
      ++at;
      continue;
    }
    if (kind != ByteClass::NotAscii || !isUtf8_) break;
    size_t next = at;
    const UChar32 ch = nextCharacter(value, next);
    if (ch < 0 || !isAllowed(static_cast<char32_t>(ch))) break;
    at = next;
  }
  return at;
}

void DocumentText::appendValue(std::string_view value, std::string_view column) {
  if (hasPlainAscii_ && isPlain(value)) return append(value);
  while (!value.empty()) {
    const size_t plain = hasPlainAscii_ ? plainLength(value) : 0;
    if (plain > 0) {
      append(value.substr(0, plain));
      value.remove_prefix(plain);
      continue;
    }
    if (hasPlainAscii_ && classOf(value.front()) == ByteClass::Entity) {
      append(entityOf(value.front()));
      value.remove_prefix(1);
      continue;
    }
    if (!isUtf8_) return appendConverted(value, column);
    size_t next = 0;
    const UChar32 ch = nextCharacter(value, next);
    throw ch < 0 ? noText(column, "malformed UTF-8") : refusedCharacter(column, ch);
  }
}

void DocumentText::appendConverted(std::string_view value, std::string_view column) {
  if (!toUtf16(ctx_, value, units_)) throw noText(column, "it does not convert");
  appendUnits(units_, column);
}

void DocumentText::appendUnits(std::u16string_view units, std::string_view column) {
  for (size_t at = 0; at < units.size();) {
    UChar32 ch = 0;
    U16_NEXT(units.data(), at, units.size(), ch);
    if (!isAllowed(static_cast<char32_t>(ch))) throw refusedCharacter(column, ch);
  }
  escaped_.clear();
  appendEscaped(escaped_, units);
  if (!toDatabase(ctx_, escaped_, bytes_)) throw noText(column, "it does not convert");
  append(bytes_);
}

void DocumentText::appendLargeObject(int32_t locator, std::string_view column) {
  const int32_t length = qrkGetLocatorLength(ctx_, locator);
  std::vector<char> piece(static_cast<size_t>(std::clamp(length, 0, kLocatorChunk)) + 1);
  PiecewiseDecoder decoder(ctx_);
  const auto use = [&](std::u16string_view units) { appendUnits(units, column); };
  for (int32_t done = 0; done < length;) {
    const int32_t size = std::min(length - done, kLocatorChunk);
    qrkGetChunkFromLocator(ctx_, locator, done + 1, length, piece.data());
    done += size;
    if (!decoder.decode({piece.data(), static_cast<size_t>(size)}, done == length, use)) {
      throw noText(column, decoder.errorName());
    }
  }
}

bool isXmlName(std::u16string_view name) {
  return !name.empty() && xercesc::XMLChar1_0::isValidName(name.data(), name.size());
}

std::string checkedDocHeader(QrkStruct* ctx, const DOM_Element& dad, const DOM_Element& root) {
  std::string header = qrkGenDocHeader(ctx, dad);
  const std::u16string_view rootName = root.getAttribute(u"name").view();
  std::string name;
  // A name that is none here is reported where the element is written.
  if (!isXmlName(rootName) || !toDatabase(ctx, rootName, name)) name = "document";
  try {
    qrkDOM(ctx, (header + "\n<" + name + "/>").c_str(), 1, QRK_LOC_MEMORY);
    return header;
  } catch (Failure& failure) {
    throw at(dad.firstDescendant(u"prolog").node(),
             std::move(failure).withCode(codeOf(Msg::QRKQ047E)),
             "the header that prolog, doctype and stylesheet make");
  }
}

}  // namespace orvxml
