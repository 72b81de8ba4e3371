// Conversion with one converter, between bytes and UTF-16, each in one call. Text that does not
// convert stops the conversion with an error.
#pragma once

#include <string>
#include <string_view>

#include <unicode/ucnv.h>

#include "orvxml/context.h"

namespace orvxml {

inline constexpr int32_t kUtf8CodePage = 1208;
inline constexpr int32_t kUtf16CodePage = 1200;
inline constexpr char16_t kByteOrderMark = 0xFEFF;

// The whole of `in` into `out`.
UErrorCode toUnicode(UConverter* converter, std::string_view in, std::u16string& out);
// Bytes written to `out`, terminated when there is room; more than `outSize` is
// U_BUFFER_OVERFLOW_ERROR, with the bytes that it takes as the result.
int32_t fromUnicode(UConverter* converter, std::u16string_view in, char* out, int outSize,
                    UErrorCode& status);

// QRKQ055E with the error's number. Returns its code.
int failConversion(const Report& report, UErrorCode status);

}  // namespace orvxml
