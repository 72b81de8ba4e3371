#include "src/compose/document_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include <unicode/utf16.h>
#include <unicode/utf8.h>
#include <xercesc/util/XMLChar.hpp>

#include "orvxml/code_pages.h"
#include "src/compose/modules.h"
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

}  // namespace

DocumentText::DocumentText(QrkStruct* ctx, int* errCode, char* msg)
    : report_{ctx, msg, errCode},
      isUtf8_(isUtf8Database(ctx)),
      hasPlainAscii_(isUtf8_ || keepsAscii(ctx)) {
  makeRoom(kMemoryPiece);
}

void DocumentText::makeRoom(size_t size) {
  piece_ = std::make_unique_for_overwrite<char[]>(size + 1);
  at_ = piece_.get();
  end_ = at_ + size;
}

int DocumentText::begin(QrkOutbuf* out, std::string_view header, uint32_t sizeLimit) {
  out_ = out;
  sizeLimit_ = sizeLimit;
  at_ = piece_.get();
  end_ = at_ + kMemoryPiece;
  const std::string_view declaration = header.substr(0, header.find('>'));
  isVersion11_ =
      declaration.starts_with("<?xml") && (declaration.find("\"1.1\"") != std::string_view::npos ||
                                           declaration.find("'1.1'") != std::string_view::npos);
  return append(header);
}

int DocumentText::flush() {
  if (at_ == piece_.get()) return 0;
  *at_ = 0;
  if (qrkBufAppend(report_.ctx, out_, piece_.get()) != 0) {
    return failed(report_, Msg::QRKQ002E);
  }
  if (qrkBufGetSize(report_.ctx, out_) > sizeLimit_) {
    return failed(report_, Msg::QRKG017E, "resultDoc", buildStamp(), kComposeModule, __LINE__);
  }
  at_ = piece_.get();
  if (out_->loctype != QRK_LOC_FILE || end_ == at_ + kFilePiece) return 0;
  makeRoom(kFilePiece);
  return 0;
}

int DocumentText::appendLong(std::string_view markup) {
  for (;;) {
    const size_t room = std::min(static_cast<size_t>(end_ - at_), markup.size());
    std::memcpy(at_, markup.data(), room);
    at_ += room;
    markup.remove_prefix(room);
    if (markup.empty()) return 0;
    if (int rc = flush()) return rc;
  }
}

bool DocumentText::isAllowed(char32_t ch) const {
  if (ch < 0x20) return ch == '\t' || ch == '\n' || ch == '\r';
  if (isVersion11_ && ch >= 0x7F && ch < 0xA0 && ch != 0x85) return false;
  return !U_IS_SURROGATE(ch) && ch != 0xFFFE && ch != 0xFFFF && ch <= 0x10FFFF;
}

int DocumentText::refuse(std::string_view column, char32_t ch) {
  char name[16];
  std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(ch));
  return failed(report_, Msg::QRKQ055E,
                sourceOf(column) + " holds " + name + ", which XML cannot carry");
}

int DocumentText::refuseText(std::string_view column, const char* reason) {
  return failed(report_, Msg::QRKQ055E,
                sourceOf(column) + " holds no text of the database code page (" + reason + ")");
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

int DocumentText::appendValue(std::string_view value, std::string_view column) {
  if (hasPlainAscii_ && isPlain(value)) return append(value);
  while (!value.empty()) {
    const size_t plain = hasPlainAscii_ ? plainLength(value) : 0;
    if (plain > 0) {
      if (int rc = append(value.substr(0, plain))) return rc;
      value.remove_prefix(plain);
      continue;
    }
    if (hasPlainAscii_ && classOf(value.front()) == ByteClass::Entity) {
      if (int rc = append(entityOf(value.front()))) return rc;
      value.remove_prefix(1);
      continue;
    }
    if (!isUtf8_) return appendConverted(value, column);
    size_t next = 0;
    const UChar32 ch = nextCharacter(value, next);
    return ch < 0 ? refuseText(column, "malformed UTF-8")
                  : refuse(column, static_cast<char32_t>(ch));
  }
  return 0;
}

int DocumentText::appendConverted(std::string_view value, std::string_view column) {
  if (!toUtf16(report_.ctx, value, units_)) return refuseText(column, "it does not convert");
  return appendUnits(units_, column);
}

int DocumentText::appendUnits(std::u16string_view units, std::string_view column) {
  for (size_t at = 0; at < units.size();) {
    UChar32 ch = 0;
    U16_NEXT(units.data(), at, units.size(), ch);
    if (!isAllowed(static_cast<char32_t>(ch))) return refuse(column, static_cast<char32_t>(ch));
  }
  escaped_.clear();
  appendEscaped(escaped_, units);
  if (!toDatabase(report_.ctx, escaped_, bytes_)) return refuseText(column, "it does not convert");
  return append(bytes_);
}

int DocumentText::appendLargeObject(int32_t locator, std::string_view column) {
  QrkStruct* const ctx = report_.ctx;
  int32_t length = 0;
  if (int rc = qrkGetLocatorLength(ctx, locator, &length, report_.errCode, report_.msg)) return rc;
  std::vector<char> piece(static_cast<size_t>(std::clamp(length, 0, kLocatorChunk)) + 1);
  PiecewiseDecoder decoder(ctx);
  for (int32_t done = 0; done < length;) {
    const int32_t size = std::min(length - done, kLocatorChunk);
    if (int rc = qrkGetChunkFromLocator(ctx, locator, done + 1, length, piece.data(),
                                        report_.errCode, report_.msg)) {
      return rc;
    }
    done += size;
    const int rc =
        decoder.decode({piece.data(), static_cast<size_t>(size)}, done == length,
                       [&](std::u16string_view units) { return appendUnits(units, column); });
    if (rc == PiecewiseDecoder::kNotText) return refuseText(column, decoder.errorName());
    if (rc) return rc;
  }
  return 0;
}

bool isXmlName(std::u16string_view name) {
  return !name.empty() && xercesc::XMLChar1_0::isValidName(name.data(), name.size());
}

int checkedDocHeader(QrkStruct* ctx, const DOM_Element& dad, const DOM_Element& root, char* header,
                     int* errCode, char* msg) {
  if (int rc = qrkGenDocHeader(ctx, dad, header, errCode, msg)) return rc;
  const std::u16string_view rootName = root.getAttribute(u"name").view();
  std::string name;
  // A name that is none here is reported where the element is written.
  if (!isXmlName(rootName) || !toDatabase(ctx, rootName, name)) name = "document";
  std::string sample = std::string(header) + "\n<" + name + "/>";
  DOM_Document parsed;
  char sqlState[kSqlStateSize] = "00000";
  if (qrkDOM(ctx, sample.data(), 1, QRK_LOC_MEMORY, parsed, sqlState, msg) == 0) return 0;
  *errCode = codeOf(Msg::QRKQ047E);
  tellPlace(dad.firstDescendant(u"prolog").node(),
            "the header that prolog, doctype and stylesheet make");
  return -1;
}

}  // namespace orvxml
