#include "src/outcome/text_cut.h"

#include <iterator>

#include <unicode/ucnv.h>

#include "orvxml/code_pages.h"

namespace orvxml {
namespace {

// Bytes of the UTF-8 character that `lead` begins; 0 for a byte that begins none of two or more.
size_t sequenceLength(unsigned char lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

size_t wholeUtf8(std::string_view text) {
  const size_t deepest = text.size() < 3 ? text.size() : 3;
  for (size_t back = 1; back <= deepest; ++back) {
    const auto byte = static_cast<unsigned char>(text[text.size() - back]);
    if ((byte & 0xC0) == 0x80) continue;
    return sequenceLength(byte) > back ? text.size() - back : text.size();
  }
  return text.size();
}

// Where characters have several bytes only reading from the start tells where one begins.
size_t wholeOf(UConverter* converter, std::string_view text) {
  ucnv_resetToUnicode(converter);
  const char* at = text.data();
  const char* const end = at + text.size();
  UErrorCode status = U_ZERO_ERROR;
  do {
    char16_t units[64];
    char16_t* unit = units;
    status = U_ZERO_ERROR;
    ucnv_toUnicode(converter, &unit, std::end(units), &at, end, nullptr, false, &status);
  } while (status == U_BUFFER_OVERFLOW_ERROR);
  const int32_t pending = U_SUCCESS(status) ? ucnv_toUCountPending(converter, &status) : 0;
  ucnv_resetToUnicode(converter);
  return U_SUCCESS(status) ? text.size() - static_cast<size_t>(pending) : text.size();
}

}  // namespace

size_t wholeCharacters(const QrkStruct* ctx, std::string_view text) {
  const QrkCodePages* pages = ctx ? ctx->codePages : nullptr;
  if (!pages || !pages->dbConverter || pages->dbCodePage == kUtf8CodePage) return wholeUtf8(text);
  return wholeOf(pages->dbConverter, text);
}

}  // namespace orvxml
