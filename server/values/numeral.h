// A number written as text, split into its parts: the exact middle between text and every numeric
// type. Leading and trailing blanks, a sign, digits, a point and an exponent are accepted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "server/values/types.h"

namespace orv {

class Numeral {
 public:
  // Throws SqlError -420 with the text and the target type when it is no number. The parts point
  // into `text`.
  static Numeral parse(std::string_view text, const SqlType& type);

  // Truncated towards zero; nothing when it does not fit.
  std::optional<int64_t> toInteger() const;
  // The nearest double; nothing when it is too large.
  std::optional<double> toDouble() const;
  // The canonical text of DECIMAL(precision, scale): a zero before a bare point, exactly `scale`
  // digits after it, no sign before zero; further digits are cut off. False when it does not fit.
  bool toDecimal(int precision, int scale, std::string& out) const;

 private:
  char digit(int64_t position) const;  // from 0 over whole and fraction, '0' beyond the end

  bool negative_ = false;
  std::string_view unsigned_;  // everything after the sign
  std::string_view whole_;     // without leading zeros
  std::string_view fraction_;
  int64_t exponent_ = 0;
};

// True when `text` is the canonical text of a DECIMAL(precision, scale) already.
bool isCanonicalDecimal(std::string_view text, int precision, int scale);

}  // namespace orv
