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

// A text of the database code page for the application, into `outSize` bytes that may be the text's
// own: the bytes written. QRKQ055E, with the code of QRKG017E where there is no room.
int toApplication(QrkStruct* ctx, std::string_view text, char* out, int outSize);
// The same for a document, whose XML declaration then names the application's encoding. QRKD000E
// for one without a declaration.
int toApplicationEncoding(QrkStruct* ctx, std::string_view document, char* out, int outSize);
// The encoding name that XML declarations use for a code page. QRKG008E for one that has none.
std::u16string encodingName(QrkStruct* ctx, int32_t codePage);
// Why the code pages of a procedure could not be set up: QRKG008E, behind the server's text where
// there is no connection.
Failure codePagesFailure(QrkStruct* ctx);
// QRKQ055E with the error's number.
Failure conversionFailure(UErrorCode status);

}  // namespace orvxml
