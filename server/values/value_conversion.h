// Conversion of one value to an SQL type: the rules of assignment and of CAST, used when a marker
// is bound, by the engine's conversion functions, and when a result goes into a host variable.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "server/values/types.h"
#include "server/values/value_view.h"

namespace orv {

// Lengths in bytes depend on the code page of the database: this tells them.
class TextLength {
 public:
  explicit TextLength(int codePage);
  ~TextLength();
  TextLength(const TextLength&) = delete;
  TextLength& operator=(const TextLength&) = delete;
  int64_t bytes(std::string_view utf8) const;  // length in the database code page
  // The longest beginning of whole characters that takes at most `limit` bytes there.
  std::string_view prefix(std::string_view utf8, int64_t limit) const;
  // True when no text takes more bytes there than in UTF-8, so that the UTF-8 length is a bound.
  bool neverLongerThanUtf8() const { return neverLonger_; }

 private:
  struct Converter;
  std::unique_ptr<Converter> converter_;  // null for 1208
  bool neverLonger_ = true;
};

enum class ConversionMode : uint8_t {
  Assignment,  // too long is 22001 unless only blanks are lost
  Cast,        // too long is cut (on a character boundary)
};

// Converts `value` to `type`. The result's text points into `value` or into `storage`, which is
// only written when the value changes. CHAR is padded to its length; numbers from text accept
// leading and trailing blanks, a sign, digits, a point and an exponent; DECIMAL comes out with its
// scale; dates also in the forms 11/24/2026 and 24.11.2026, times also as hh:mm[:ss] and with AM or
// PM, timestamps also with "T" or a blank between and with colons. Throws SqlError: -433 (22001),
// -413 (22003), -420 (22018), -180 (22007), -408 (42821) for types that never convert.
ValueView convertValue(const ValueView& value, const SqlType& type, const TextLength& length,
                       ConversionMode mode, std::string& storage);

// The value as text, in the form that a character host variable receives: integers as digits,
// DOUBLE in the shortest form that reads back ("1.5E0"), DECIMAL with its scale, dates and times in
// the forms of ValueView, binary as hexadecimal digits.
std::string_view valueText(const ValueView& value, const SqlType& type, std::string& storage);

// -1, 0, 1: compares two decimal numerals exactly.
int compareDecimals(std::string_view a, std::string_view b);

}  // namespace orv
