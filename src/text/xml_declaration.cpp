// A document on its way to the application: its XML declaration names the application's encoding.
//
//   declaration = '<?xml' S? 'version' S? '=' S? quote version quote S? encoding? rest
//   encoding    = 'encoding' S? '=' S? quote value quote S?
#include <algorithm>
#include <string>
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/outcome/edge.h"
#include "src/text/converters.h"

namespace orvxml {
namespace {

constexpr std::u16string_view kDeclarationStart = u"<?xml";
constexpr std::u16string_view kVersion = u"version";
constexpr std::u16string_view kEncoding = u"encoding";
constexpr std::u16string_view kWhiteSpace = u" \t\r\n";
constexpr std::u16string_view kQuotes = u"\"'";
constexpr std::u16string_view kEndOfValue = u" \t\r\n<>";

// Where the declaration's parts lie: the version's end, and what follows the old encoding.
struct Declaration {
  size_t versionEnd;
  size_t rest;
};

class DeclarationReader {
 public:
  DeclarationReader(QrkStruct* ctx, std::u16string_view text) : ctx_(ctx), text_(text) {}

  // False for a malformed declaration.
  bool read(Declaration& declaration) {
    if (!readStart() || !readEquals() || !readVersionValue()) return false;
    declaration.versionEnd = at_;
    skipWhiteSpace();
    if (follows(kEncoding) && !readEncoding()) return false;
    declaration.rest = at_;
    return true;
  }

 private:
  unsigned peek(size_t offset = 0) const {
    return at_ + offset < text_.size() ? text_[at_ + offset] : 0;
  }
  int shown(size_t offset) const {
    const unsigned unit = peek(offset);
    return static_cast<int>(unit < 0x80 ? unit : '?');
  }
  bool follows(std::u16string_view word) const { return text_.substr(at_).starts_with(word); }
  bool isQuote() const { return at_ < text_.size() && kQuotes.find(text_[at_]) != kQuotes.npos; }
  void skipWhiteSpace() { at_ = std::min(text_.find_first_not_of(kWhiteSpace, at_), text_.size()); }

  bool readStart() {
    if (!follows(kDeclarationStart)) {
      QRK_TRACE(ctx_, "invalid start of xml decl %x %x %x %x %x", peek(0), peek(1), peek(2),
                peek(3), peek(4));
      return false;
    }
    at_ += kDeclarationStart.size();
    skipWhiteSpace();
    if (!follows(kVersion)) {
      QRK_TRACE(ctx_, "invalid version of xml decl %c%c%c%c%c", shown(0), shown(1), shown(2),
                shown(3), shown(4));
      return false;
    }
    at_ += kVersion.size();
    return true;
  }

  bool readEquals() {
    skipWhiteSpace();
    if (peek() != '=') {
      QRK_TRACE(ctx_, "no xml version equals char =%x", peek());
      return false;
    }
    ++at_;
    skipWhiteSpace();
    return true;
  }

  // Steps over a value between its marks; false when the end mark is missing.
  bool skipValue(std::u16string_view ends) {
    const char16_t mark = text_[at_++];
    std::u16string stops(ends);
    stops.push_back(mark);
    at_ = std::min(text_.find_first_of(stops, at_), text_.size());
    if (peek() != mark) return false;
    ++at_;
    return true;
  }

  bool readVersionValue() {
    if (!isQuote()) {
      QRK_TRACE(ctx_, "no xml version number char = %x", peek());
      return false;
    }
    if (skipValue(kWhiteSpace)) return true;
    QRK_TRACE(ctx_, "missing end quote for xml version char=%x", peek());
    return false;
  }

  bool readEncoding() {
    at_ += kEncoding.size();
    if (!readEquals()) return false;
    if (!isQuote()) {
      QRK_TRACE(ctx_, "no encoding decl quote: char = %x", peek());
      return false;
    }
    if (!skipValue(kEndOfValue)) {
      QRK_TRACE(ctx_, "missing end quote for encoding decl char=%x", peek());
      return false;
    }
    skipWhiteSpace();
    return true;
  }

  QrkStruct* ctx_;
  std::u16string_view text_;
  size_t at_ = 0;
};

// EncName of XML: some registered names are none.
bool isEncodingName(std::string_view name) {
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  return !name.empty() && isLetter(name.front()) &&
         std::all_of(name.begin(), name.end(), [&](char c) {
           return isLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
         });
}

// The name to announce for a converter; null with an error in `status`.
const char* announcedName(const UConverter* converter, UErrorCode& status) {
  const char* own = ucnv_getName(converter, &status);
  if (U_FAILURE(status) || !own) return nullptr;
  UErrorCode unknown = U_ZERO_ERROR;
  const char* registered = ucnv_getStandardName(own, "IANA", &unknown);
  return registered && isEncodingName(registered) ? registered : own;
}

std::u16string withEncoding(std::u16string_view text, const Declaration& declaration,
                            std::string_view name, bool markByteOrder) {
  std::u16string result;
  result.reserve(text.size() + name.size() + 16);
  if (markByteOrder) result.push_back(kByteOrderMark);
  result.append(text.substr(0, declaration.versionEnd));
  result.append(u" encoding=\"").append(name.begin(), name.end()).append(u"\" ");
  return result.append(text.substr(declaration.rest));
}

}  // namespace

int toApplicationEncoding(QrkStruct* ctx, std::string_view in, char* out, int outSize) {
  const QrkCodePages& pages = *ctx->codePages;
  std::u16string text;
  UErrorCode status = toUnicode(pages.dbConverter, in, text);
  if (U_FAILURE(status)) throw conversionFailure(status);
  Declaration declaration;
  const std::u16string_view document = withoutMark(text);
  if (!DeclarationReader(ctx, document).read(declaration)) throw Failure(Msg::QRKD000E);
  const char* name = announcedName(pages.appConverter, status);
  if (!name) {
    QRK_TRACE(ctx, "icu getName error %d", status);
    throw conversionFailure(status);
  }
  text = withEncoding(document, declaration, name, isPlainUtf16(pages.appCodePage));
  const int32_t length = fromUnicode(pages.appConverter, text, out, outSize, status);
  if (U_FAILURE(status)) {
    QRK_TRACE(ctx, "icu ucnv_fromUChars of rest of buffer %d", status);
    throw conversionFailure(status);
  }
  return length;
}

int qrkConvBufferORVToAppEncoding(QrkStruct* ctx, const char* in, int inLen, char* out, int outSize,
                                  char* msg, char* sqlState) {
  return statusAtEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState}, [&] {
    return toApplicationEncoding(ctx, {in, static_cast<size_t>(std::max(inLen, 0))}, out, outSize);
  });
}

}  // namespace orvxml
