// Conversions between the database code page, the application code page and UTF-16. UTF-8 goes its
// own way, without a converter: every value of a document passes here.
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <cstring>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/outcome/edge.h"
#include "src/text/converters.h"

namespace orvxml {
namespace {

constexpr int kShownText = 99;      // characters of a text that a trace line shows
constexpr size_t kShortText = 340;  // units whose UTF-8 fits kShortBytes
constexpr size_t kShortBytes = 3 * kShortText;

bool sameCodePages(const QrkStruct* ctx) {
  return !ctx || !ctx->codePages || ctx->codePages->appCodePage == ctx->codePages->dbCodePage;
}

// Null when the text is UTF-8.
UConverter* databaseConverter(const QrkStruct* ctx) {
  return isUtf8Database(ctx) ? nullptr : ctx->codePages->dbConverter;
}

// Sizes and lengths of the conversions are 32-bit. A room may be said to be smaller than it is; a
// text that is longer does not convert.
int32_t size32(size_t size) {
  return static_cast<int32_t>(std::min<size_t>(size, INT32_MAX));
}
UErrorCode lengthStatus(size_t length) {
  return length > INT32_MAX ? U_INDEX_OUTOFBOUNDS_ERROR : U_ZERO_ERROR;
}

bool utf16ToUtf8(std::u16string_view in, std::string& out) {
  UErrorCode status = lengthStatus(in.size());
  int32_t length = 0;
  if (in.size() <= kShortText) {
    char bytes[kShortBytes];
    u_strToUTF8(bytes, sizeof bytes, &length, in.data(), size32(in.size()), &status);
    if (U_FAILURE(status)) return false;
    out.assign(bytes, static_cast<size_t>(length));
    return true;
  }
  out.resize(3 * in.size());
  u_strToUTF8(out.data(), size32(out.size()), &length, in.data(), size32(in.size()), &status);
  if (U_FAILURE(status)) return false;
  out.resize(static_cast<size_t>(length));
  return true;
}

bool utf16ToBytes(UConverter* converter, std::u16string_view in, std::string& out) {
  UErrorCode status = U_ZERO_ERROR;
  const auto most = static_cast<size_t>(UCNV_GET_MAX_BYTES_FOR_STRING(
      in.size(), static_cast<size_t>(ucnv_getMaxCharSize(converter))));
  out.resize(most);
  const int32_t length = fromUnicode(converter, in, out.data(), size32(most), status);
  if (U_FAILURE(status)) return false;
  out.resize(static_cast<size_t>(length));
  return true;
}

bool utf8ToUtf16(std::string_view in, std::u16string& out) {
  UErrorCode status = lengthStatus(in.size());
  int32_t length = 0;
  out.resize(in.size());
  u_strFromUTF8(out.data(), size32(out.size()), &length, in.data(), size32(in.size()), &status);
  if (U_FAILURE(status)) return false;
  out.resize(static_cast<size_t>(length));
  return true;
}

// The first characters of a UTF-16 text for a trace line; '?' for what is not ASCII.
std::string shownText(const char16_t* text) {
  std::string shown;
  for (int i = 0; i < kShownText && text[i] != 0; ++i) {
    shown.push_back(text[i] < 0x80 ? static_cast<char>(text[i]) : '?');
  }
  return shown;
}

std::string_view textOf(const char* text, int length) {
  return {text, static_cast<size_t>(std::max(length, 0))};
}

// Where a buffer conversion reads and writes.
struct BufferConversion {
  QrkStruct* ctx;
  std::string_view in;
  char* out;
  int outSize;
  bool toDatabase = false;  // drops a byte order mark; the ways are traced differently

  // The bytes as they are. They may stand in `out` already.
  int copy() const {
    if (outSize < 0 || static_cast<size_t>(outSize) < in.size()) throw tooSmall();
    if (in.data() != out) {
      std::memmove(out, in.data(), in.size());
      if (in.size() < static_cast<size_t>(outSize)) out[in.size()] = 0;
    }
    return static_cast<int>(in.size());
  }
  static Failure tooSmall() {
    return conversionFailure(U_BUFFER_OVERFLOW_ERROR).withCode(codeOf(Msg::QRKG017E));
  }
  // By way of UTF-16. The result and its terminator fit, or it is an error.
  int convert(UConverter* from, UConverter* to) const {
    std::u16string text;
    UErrorCode status = toUnicode(from, in, text);
    if (U_FAILURE(status)) throw conversionFailure(status);
    if (!toDatabase) {
      QRK_TRACE(ctx, "nr chars converted to unicode %d", static_cast<int>(text.size()));
    }
    const int32_t length =
        fromUnicode(to, toDatabase ? withoutMark(text) : text, out, outSize, status);
    if (status == U_BUFFER_OVERFLOW_ERROR || (U_SUCCESS(status) && length >= outSize)) {
      if (toDatabase) {
        QRK_TRACE(ctx, "destbuf %d too small to hold converted buffer %d", outSize, length);
      } else {
        QRK_TRACE(ctx, "destbuf too small to hold converted buffer");
      }
      throw tooSmall();
    }
    if (U_FAILURE(status)) throw conversionFailure(status);
    if (!toDatabase) QRK_TRACE(ctx, "nr chars converted from unicode %d", length);
    return length;
  }
};

}  // namespace

Converter openForMark(const QrkCodePages& pages, std::string_view text, UErrorCode& status) {
  if (!isPlainUtf16(pages.appCodePage) || !hasUtf16Mark(text)) return nullptr;
  const bool isBigEndian = text.front() == '\xFE';
  if (isBigEndian == (pages.appCodePage == kUtf16CodePage)) return nullptr;
  Converter converter(ucnv_open(isBigEndian ? "UTF-16BE" : "UTF-16LE", &status));
  if (U_FAILURE(status)) return nullptr;
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  return converter;
}

UErrorCode toUnicode(UConverter* converter, std::string_view in, std::u16string& out) {
  UErrorCode status = lengthStatus(in.size());
  out.resize(in.size());
  int32_t length = ucnv_toUChars(converter, out.data(), size32(out.size()), in.data(),
                                 size32(in.size()), &status);
  if (status == U_BUFFER_OVERFLOW_ERROR) {
    status = U_ZERO_ERROR;
    out.resize(static_cast<size_t>(length));
    length = ucnv_toUChars(converter, out.data(), size32(out.size()), in.data(), size32(in.size()),
                           &status);
  }
  if (U_SUCCESS(status)) out.resize(static_cast<size_t>(length));
  return status;
}

int32_t fromUnicode(UConverter* converter, std::u16string_view in, char* out, int outSize,
                    UErrorCode& status) {
  status = lengthStatus(in.size());
  return ucnv_fromUChars(converter, out, std::max(outSize, 0), in.data(), size32(in.size()),
                         &status);
}

Failure conversionFailure(UErrorCode status) {
  return Failure(Msg::QRKQ055E, static_cast<int>(status));
}

bool toDatabase(QrkStruct* ctx, std::u16string_view in, std::string& out) {
  UConverter* converter = databaseConverter(ctx);
  const bool converts = converter ? utf16ToBytes(converter, in, out) : utf16ToUtf8(in, out);
  if (!converts) out.clear();
  return converts;
}

bool toUtf16(QrkStruct* ctx, std::string_view in, std::u16string& out) {
  UConverter* converter = databaseConverter(ctx);
  const bool converts = converter ? U_SUCCESS(toUnicode(converter, in, out)) : utf8ToUtf16(in, out);
  if (!converts) out.clear();
  return converts;
}

std::string textForMessage(QrkStruct* ctx, std::u16string_view text) {
  std::string whole;
  if (toDatabase(ctx, text, whole)) return whole;
  for (size_t start = 0, end = 0; start < text.size(); start = end) {
    U16_FWD_1(text.data(), end, text.size());
    std::string character;
    const bool converts = toDatabase(ctx, text.substr(start, end - start), character) ||
                          toDatabase(ctx, u"?", character);
    if (converts) whole += character;
  }
  return whole;
}

int QRK_mbstowcsFunction(QrkStruct* ctx, char16_t* out, const char* in, int outSize) {
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = 0;
  if (UConverter* converter = databaseConverter(ctx)) {
    length = ucnv_toUChars(converter, out, outSize, in, -1, &status);
  } else {
    u_strFromUTF8(out, outSize, &length, in, -1, &status);
  }
  if (U_SUCCESS(status)) return length;
  QRK_TRACE(ctx, "Conversion error. mbstr='%.*s...' count=%d", kShownText, in, outSize);
  return -1;
}

int QRK_wcstombsFunction(QrkStruct* ctx, char* out, const char16_t* in, int outSize) {
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = 0;
  if (UConverter* converter = databaseConverter(ctx)) {
    length = ucnv_fromUChars(converter, out, outSize, in, -1, &status);
  } else {
    u_strToUTF8(out, outSize, &length, in, -1, &status);
  }
  if (U_SUCCESS(status) && length < outSize) return length;
  QRK_TRACE(ctx, "Conversion error. wcstr='%s...' count=%d", shownText(in).c_str(), outSize);
  return -1;
}

int convertBufferAppToORV(QrkStruct* ctx, const char* in, int inLen, char* out, int outSize,
                          char* msg, char* sqlState, int* errCode) {
  const Report report{ctx, msg, errCode, sqlState};
  return statusAtEdge(report, [&] {
    BufferConversion conversion{ctx, textOf(in, inLen), out, outSize, true};
    if (sameCodePages(ctx)) {
      conversion.in = withoutMark(ctx ? ctx->codePages : nullptr, conversion.in);
      return conversion.copy();
    }
    const QrkCodePages& pages = *ctx->codePages;
    UErrorCode status = U_ZERO_ERROR;
    const Converter marked = openForMark(pages, conversion.in, status);
    if (U_FAILURE(status)) throw conversionFailure(status);
    return conversion.convert(marked ? marked.get() : pages.appConverter, pages.dbConverter);
  });
}

int toApplication(QrkStruct* ctx, std::string_view text, char* out, int outSize) {
  const BufferConversion conversion{ctx, text, out, outSize};
  if (sameCodePages(ctx)) return conversion.copy();
  return conversion.convert(ctx->codePages->dbConverter, ctx->codePages->appConverter);
}

int convertBufferORVToApp(QrkStruct* ctx, const char* in, int inLen, char* out, int outSize,
                          char* msg, char* sqlState) {
  return statusAtEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState},
                      [&] { return toApplication(ctx, textOf(in, inLen), out, outSize); });
}

}  // namespace orvxml
