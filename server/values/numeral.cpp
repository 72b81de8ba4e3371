#include "server/values/numeral.h"

#include <charconv>
#include <limits>

#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"
#include "server/values/value_conversion.h"

namespace orv {
namespace {

// Far beyond every numeric type, and still far from overflow when a text's length is added.
constexpr int64_t kExponentLimit = int64_t{1} << 40;

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view trimBlanks(std::string_view text) {
  size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string_view takeDigits(std::string_view& rest) {
  size_t n = 0;
  while (n < rest.size() && isDigit(rest[n])) ++n;
  std::string_view digits = rest.substr(0, n);
  rest.remove_prefix(n);
  return digits;
}

std::string_view withoutLeadingZeros(std::string_view digits) {
  size_t first = digits.find_first_not_of('0');
  return first == std::string_view::npos ? std::string_view() : digits.substr(first);
}

// [+|-]digits after the E; nothing when there are no digits.
std::optional<int64_t> takeExponent(std::string_view& rest) {
  bool negative = !rest.empty() && rest.front() == '-';
  if (!rest.empty() && (rest.front() == '-' || rest.front() == '+')) rest.remove_prefix(1);
  std::string_view digits = takeDigits(rest);
  if (digits.empty()) return std::nullopt;
  int64_t value = 0;
  auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc() || value > kExponentLimit) value = kExponentLimit;
  return negative ? -value : value;
}

}  // namespace

// numeral = blanks [sign] (digits ["." [digits]] | "." digits) [("E" | "e") [sign] digits] blanks
Numeral Numeral::parse(std::string_view text, const SqlType& type) {
  Numeral numeral;
  std::string_view rest = trimBlanks(text);
  if (!rest.empty() && (rest.front() == '-' || rest.front() == '+')) {
    numeral.negative_ = rest.front() == '-';
    rest.remove_prefix(1);
  }
  numeral.unsigned_ = rest;
  std::string_view whole = takeDigits(rest);
  if (!rest.empty() && rest.front() == '.') {
    rest.remove_prefix(1);
    numeral.fraction_ = takeDigits(rest);
  }
  bool valid = !whole.empty() || !numeral.fraction_.empty();
  if (valid && !rest.empty() && (rest.front() == 'E' || rest.front() == 'e')) {
    rest.remove_prefix(1);
    std::optional<int64_t> exponent = takeExponent(rest);
    valid = exponent.has_value();
    numeral.exponent_ = exponent.value_or(0);
  }
  if (!valid || !rest.empty()) throw SqlError(-420, {shortened(text), typeName(type)});
  numeral.whole_ = withoutLeadingZeros(whole);
  return numeral;
}

char Numeral::digit(int64_t position) const {
  auto whole = static_cast<int64_t>(whole_.size());
  if (position < 0) return '0';
  if (position < whole) return whole_[static_cast<size_t>(position)];
  position -= whole;
  if (position < static_cast<int64_t>(fraction_.size())) {
    return fraction_[static_cast<size_t>(position)];
  }
  return '0';
}

std::optional<int64_t> Numeral::toInteger() const {
  int64_t point = static_cast<int64_t>(whole_.size()) + exponent_;
  int64_t first = 0;
  while (first < point && first < static_cast<int64_t>(whole_.size() + fraction_.size()) &&
         digit(first) == '0') {
    ++first;
  }
  if (first == static_cast<int64_t>(whole_.size() + fraction_.size())) return 0;
  if (point - first > 19) return std::nullopt;
  uint64_t value = 0;
  for (int64_t i = first; i < point; ++i) {
    value = value * 10 + static_cast<uint64_t>(digit(i) - '0');
  }
  uint64_t limit = uint64_t{1} << 63;
  if (value > limit || (value == limit && !negative_)) return std::nullopt;
  return negative_ ? static_cast<int64_t>(~value + 1) : static_cast<int64_t>(value);
}

std::optional<double> Numeral::toDouble() const {
  double value = 0;
  auto [end, error] = std::from_chars(unsigned_.data(), unsigned_.data() + unsigned_.size(), value);
  if (error == std::errc::result_out_of_range) {
    // Too large or too small: the place of the first significant digit tells.
    size_t zeros = std::min(fraction_.find_first_not_of('0'), fraction_.size());
    int64_t place =
        whole_.empty() ? -static_cast<int64_t>(zeros) : static_cast<int64_t>(whole_.size());
    if (place + exponent_ > 0) return std::nullopt;
    value = 0;
  }
  return negative_ ? -value : value;
}

bool Numeral::toDecimal(int precision, int scale, std::string& out) const {
  int64_t point = static_cast<int64_t>(whole_.size()) + exponent_;
  int64_t end = static_cast<int64_t>(whole_.size() + fraction_.size());
  int64_t first = 0;
  while (first < end && digit(first) == '0') ++first;
  if (first == end) first = point;  // zero
  if (point - first > precision - scale) return false;
  char text[80];
  char* at = text;
  bool nonZero = false;
  if (negative_) *at++ = '-';
  if (first >= point) *at++ = '0';
  for (int64_t i = std::min(first, point); i < point; ++i) {
    *at++ = digit(i);
    nonZero = nonZero || digit(i) != '0';
  }
  if (scale > 0) *at++ = '.';
  for (int64_t i = point; i < point + scale; ++i) {
    *at++ = digit(i);
    nonZero = nonZero || digit(i) != '0';
  }
  const char* start = negative_ && !nonZero ? text + 1 : text;
  out.assign(start, static_cast<const char*>(at));
  return true;
}

bool isCanonicalDecimal(std::string_view text, int precision, int scale) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative) text.remove_prefix(1);
  const size_t fraction = scale == 0 ? 0 : static_cast<size_t>(scale) + 1;  // with the point
  if (text.size() <= fraction) return false;
  const size_t whole = text.size() - fraction;
  const bool zero = text.front() == '0';
  if (zero ? whole > 1 : static_cast<int>(whole) > precision - scale) return false;
  bool anything = false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (i == whole) {
      if (text[i] != '.') return false;
    } else {
      if (!isDigit(text[i])) return false;
      anything = anything || text[i] != '0';
    }
  }
  return anything || !negative;
}

namespace {

struct DecimalParts {
  bool negative;
  std::string_view whole;
  std::string_view fraction;
};

DecimalParts split(std::string_view text) {
  DecimalParts parts{};
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    parts.negative = text.front() == '-';
    text.remove_prefix(1);
  }
  size_t point = text.find('.');
  parts.whole = withoutLeadingZeros(text.substr(0, point));
  if (point != std::string_view::npos) {
    parts.fraction = text.substr(point + 1);
    size_t last = parts.fraction.find_last_not_of('0');
    parts.fraction =
        last == std::string_view::npos ? std::string_view() : parts.fraction.substr(0, last + 1);
  }
  if (parts.whole.empty() && parts.fraction.empty()) parts.negative = false;
  return parts;
}

int sign(int number) {
  return (number > 0) - (number < 0);
}

}  // namespace

int compareDecimals(std::string_view a, std::string_view b) {
  DecimalParts left = split(a);
  DecimalParts right = split(b);
  if (left.negative != right.negative) return left.negative ? -1 : 1;
  int order = 0;
  if (left.whole.size() != right.whole.size()) {
    order = left.whole.size() < right.whole.size() ? -1 : 1;
  } else {
    order = sign(left.whole.compare(right.whole));
    if (order == 0) order = sign(left.fraction.compare(right.fraction));
  }
  return left.negative ? -order : order;
}

}  // namespace orv
