// What becomes of characters that a code page lacks. ICU's own callbacks leave out, without a word,
// those that are not shown: soft hyphens, joiners, marks of direction.
#pragma once

#include <cstdio>

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

namespace orvxml {

// The conversion stops there with an error.
inline void stopAtUnmapped(const void*, UConverterFromUnicodeArgs*, const UChar*, int32_t, UChar32,
                           UConverterCallbackReason, UErrorCode*) {}

// An XML character reference stands for it, written with `format`: "&#%u;" or "&#x%X;".
inline void referToUnmapped(const void* format, UConverterFromUnicodeArgs* to, const UChar*,
                            int32_t, UChar32 character, UConverterCallbackReason reason,
                            UErrorCode* status) {
  if (reason != UCNV_UNASSIGNED) return;
  constexpr int kLongest = 16;
  char ascii[kLongest];
  const int length = std::snprintf(ascii, sizeof ascii, static_cast<const char*>(format),
                                   static_cast<unsigned>(character));
  UChar text[kLongest];
  for (int i = 0; i < length; ++i) text[i] = static_cast<UChar>(ascii[i]);
  const UChar* at = text;
  *status = U_ZERO_ERROR;
  ucnv_cbFromUWriteUChars(to, &at, text + length, 0, status);
}

}  // namespace orvxml
