// Lengths of UTF-8 text in the database code page, by ICU's converter of that code page.
#include <unicode/ucnv.h>

#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"
#include "server/values/value_conversion.h"

namespace orv {
namespace {

// The platform whose numbers (CCSIDs) name the code pages.
constexpr auto kCodePagePlatform = static_cast<UConverterPlatform>(0);

bool isUtf8CodePage(int codePage) {
  return codePage == 1208;
}

}  // namespace

struct TextLength::Converter {
  struct Close {
    void operator()(UConverter* opened) const { ucnv_close(opened); }
  };
  std::unique_ptr<UConverter, Close> converter;
  std::unique_ptr<UConverter, Close> utf8;
  bool asciiIsOneByte = false;

  // Bytes of `text` in the code page. The two converters stream through one small buffer.
  int64_t bytes(std::string_view text) const {
    char target[1024];
    UChar pivot[512];
    UChar* pivotSource = pivot;
    UChar* pivotTarget = pivot;
    const char* source = text.data();
    UBool reset = true;
    int64_t total = 0;
    for (;;) {
      UErrorCode error = U_ZERO_ERROR;
      char* at = target;
      ucnv_convertEx(converter.get(), utf8.get(), &at, target + sizeof target, &source,
                     text.data() + text.size(), pivot, &pivotSource, &pivotTarget, pivot + 512,
                     reset, true, &error);
      total += at - target;
      reset = false;
      if (error != U_BUFFER_OVERFLOW_ERROR) return total;
    }
  }
};

TextLength::TextLength(int codePage) {
  if (isUtf8CodePage(codePage)) return;
  converter_ = std::make_unique<Converter>();
  UErrorCode error = U_ZERO_ERROR;
  converter_->converter.reset(ucnv_openCCSID(codePage, kCodePagePlatform, &error));
  converter_->utf8.reset(ucnv_open("UTF-8", &error));
  if (U_FAILURE(error)) throw SqlError(-332, {std::to_string(codePage), "1208"});
  UConverter* converter = converter_->converter.get();
  UConverterType type = ucnv_getType(converter);
  // A character of more than one byte here takes at least two bytes in UTF-8; shift sequences and
  // characters of three and four bytes may take more.
  neverLonger_ = ucnv_getMaxCharSize(converter) <= 2 && type != UCNV_EBCDIC_STATEFUL;
  converter_->asciiIsOneByte =
      ucnv_getMinCharSize(converter) == 1 && type != UCNV_EBCDIC_STATEFUL && type != UCNV_ISO_2022;
}

TextLength::~TextLength() = default;

int64_t TextLength::bytes(std::string_view utf8) const {
  if (!converter_ || (converter_->asciiIsOneByte && isAscii(utf8))) {
    return static_cast<int64_t>(utf8.size());
  }
  return converter_->bytes(utf8);
}

std::string_view TextLength::prefix(std::string_view utf8, int64_t limit) const {
  if (limit <= 0) return utf8.substr(0, 0);
  if (!converter_) return utf8Prefix(utf8, static_cast<size_t>(limit));
  // Lengths grow with the text: halve the interval on character boundaries.
  size_t low = 0;
  size_t high = utf8.size();
  if (bytes(utf8) <= limit) return utf8;
  while (low < high) {
    size_t middle = utf8Prefix(utf8, low + (high - low + 1) / 2).size();
    if (middle <= low) middle = low + utf8CharacterLength(utf8, low);
    if (middle >= high) {
      if (low + utf8CharacterLength(utf8, low) >= high) break;
      middle = low + utf8CharacterLength(utf8, low);
    }
    if (bytes(utf8.substr(0, middle)) <= limit) {
      low = middle;
    } else {
      high = middle;
    }
  }
  return utf8.substr(0, low);
}

}  // namespace orv
