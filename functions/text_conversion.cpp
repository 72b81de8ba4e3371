#include "functions/text_conversion.h"

#include <climits>

namespace orvxml::functions {
namespace {

// Calls `convert(out, room, status)`, which gives the length that it needs, once or, where the
// first guess is too small, twice.
template <class Out, class Convert>
UErrorCode converted(size_t guess, Out& out, Convert convert) {
  if (guess > INT32_MAX) return U_INDEX_OUTOFBOUNDS_ERROR;
  out.resize(guess);
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = convert(out.data(), static_cast<int32_t>(guess), &status);
  if (status == U_BUFFER_OVERFLOW_ERROR) {
    out.resize(static_cast<size_t>(length));
    status = U_ZERO_ERROR;
    length = convert(out.data(), length, &status);
  }
  if (U_SUCCESS(status)) out.resize(static_cast<size_t>(length));
  return status;
}

template <class Out>
Out required(FunctionCall& call, UErrorCode status, Out& out) {
  if (U_FAILURE(status)) call.fail(Msg::QRKQ055E, static_cast<int>(status));
  return std::move(out);
}

}  // namespace

UErrorCode toUnicode(UConverter* from, std::string_view text, std::u16string& out) {
  return converted(text.size(), out, [&](char16_t* to, int32_t room, UErrorCode* status) {
    return ucnv_toUChars(from, to, room, text.data(), static_cast<int32_t>(text.size()), status);
  });
}

UErrorCode fromUnicode(UConverter* to, std::u16string_view text, std::string& out) {
  return converted(text.size(), out, [&](char* bytes, int32_t room, UErrorCode* status) {
    return ucnv_fromUChars(to, bytes, room, text.data(), static_cast<int32_t>(text.size()), status);
  });
}

std::u16string toUnicode(FunctionCall& call, UConverter* from, std::string_view text) {
  std::u16string out;
  return required(call, toUnicode(from, text, out), out);
}

std::string fromUnicode(FunctionCall& call, UConverter* to, std::u16string_view text) {
  std::string out;
  return required(call, fromUnicode(to, text, out), out);
}

}  // namespace orvxml::functions
