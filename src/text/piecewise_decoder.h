// Text of the database code page that arrives in pieces, as UTF-16: a character may be cut by the
// end of a piece.
#pragma once

#include <string>
#include <string_view>

#include "orvxml/context.h"
#include "src/text/converters.h"

namespace orvxml {

class PiecewiseDecoder {
 public:
  explicit PiecewiseDecoder(const QrkStruct* ctx);

  // Hands the text of `piece` to `use(std::u16string_view)`; surrogate pairs stay together.
  // `isLast` tells that no more pieces come, so that a character cut short is an error. False: it
  // is no text, with the reason in errorName().
  template <class Use>
  bool decode(std::string_view piece, bool isLast, Use&& use) {
    const char* at = piece.data();
    const char* const end = at + piece.size();
    do {
      if (!next(&at, end, isLast)) return false;
      use(std::u16string_view(units_));
    } while (status_ == U_BUFFER_OVERFLOW_ERROR);
    return true;
  }

  const char* errorName() const { return u_errorName(status_); }

 private:
  bool next(const char** at, const char* end, bool isLast);

  Converter converter_;
  UErrorCode status_ = U_ZERO_ERROR;
  std::u16string units_;
  char16_t held_ = 0;  // a lead surrogate that waits for its other half
};

}  // namespace orvxml
