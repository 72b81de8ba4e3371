// Conversion with one converter, between bytes and UTF-16, each in one call. Text that does not
// convert stops the conversion with an error.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <unicode/ucnv.h>

#include "orvxml/code_pages.h"
#include "src/outcome/failure.h"

namespace orvxml {

inline constexpr int32_t kUtf16CodePage = 1200;
inline constexpr int32_t kUtf16LittleEndianCodePage = 1202;

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

// A UTF-16 code page of one byte order: its converter neither writes a mark nor looks for one.
inline bool isPlainUtf16(int32_t codePage) {
  return codePage == kUtf16CodePage || codePage == kUtf16LittleEndianCodePage;
}
inline bool hasUtf16Mark(std::string_view text) {
  return text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE");
}

// What reads a text of the application in the byte order that its mark tells; null where that is
// the application's converter itself, or with an error in `status`.
Converter openForMark(const QrkCodePages& pages, std::string_view text, UErrorCode& status);
// Without the byte order mark of the application's encoding.
inline std::string_view withoutMark(const QrkCodePages* pages, std::string_view text) {
  const int32_t codePage = pages ? pages->appCodePage : kUtf8CodePage;
  if (codePage == kUtf8CodePage && text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  if (isPlainUtf16(codePage) && hasUtf16Mark(text)) text.remove_prefix(2);
  return text;
}

// The whole of `in` into `out`.
UErrorCode toUnicode(UConverter* converter, std::string_view in, std::u16string& out);
// Bytes written to `out`, terminated when there is room; more than `outSize` is
// U_BUFFER_OVERFLOW_ERROR, with the bytes that it takes as the result.
int32_t fromUnicode(UConverter* converter, std::u16string_view in, char* out, int outSize,
                    UErrorCode& status);

// QRKQ055E with the error's number.
Failure conversionFailure(UErrorCode status);

}  // namespace orvxml
