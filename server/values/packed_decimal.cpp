#include "server/values/packed_decimal.h"

#include <algorithm>

namespace orv {
namespace {

constexpr unsigned kMinus = 0x0D;
constexpr unsigned kPlus = 0x0C;

// Half byte `index`, counted from the left.
unsigned halfByte(const char* packed, size_t index) {
  const auto byte = static_cast<unsigned char>(packed[index / 2]);
  return index % 2 == 0 ? byte >> 4U : byte & 0x0FU;
}

}  // namespace

bool packDecimal(std::string_view numeral, int precision, int scale, char* out) {
  const bool negative = !numeral.empty() && numeral.front() == '-';
  if (negative || (!numeral.empty() && numeral.front() == '+')) numeral.remove_prefix(1);
  const size_t point = std::min(numeral.find('.'), numeral.size());
  std::string digits(numeral.substr(0, point));
  std::string decimals(point < numeral.size() ? numeral.substr(point + 1) : std::string_view());
  const auto places = static_cast<size_t>(scale);
  if (decimals.size() > places) return false;
  decimals.append(places - decimals.size(), '0');
  digits += decimals;
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
  const bool numeric = digits.find_first_not_of("0123456789") == std::string::npos;
  if (!numeric || digits.size() > static_cast<size_t>(precision)) return false;

  const size_t halves = packedSize(precision) * 2;
  std::fill_n(out, packedSize(precision), '\0');
  const size_t first = halves - 1 - digits.size();
  const auto put = [&](size_t index, unsigned value) {
    const unsigned shift = index % 2 == 0 ? 4 : 0;
    out[index / 2] = static_cast<char>(static_cast<unsigned char>(out[index / 2]) | value << shift);
  };
  for (size_t i = 0; i < digits.size(); ++i) put(first + i, static_cast<unsigned>(digits[i] - '0'));
  put(halves - 1, negative ? kMinus : kPlus);
  return true;
}

std::optional<std::string> unpackDecimal(const char* packed, int precision, int scale) {
  const size_t halves = packedSize(precision) * 2;
  std::string digits;
  for (size_t i = 0; i + 1 < halves; ++i) {
    const unsigned digit = halfByte(packed, i);
    if (digit > 9) return std::nullopt;
    digits += static_cast<char>('0' + digit);
  }
  const unsigned sign = halfByte(packed, halves - 1);
  if (sign < 0x0A) return std::nullopt;
  const auto places = static_cast<size_t>(scale);
  if (places > digits.size()) digits.insert(0, places - digits.size(), '0');
  std::string numeral = digits.substr(0, digits.size() - places);
  numeral.erase(0, std::min(numeral.find_first_not_of('0'), numeral.size()));
  if (numeral.empty()) numeral = "0";
  if (places > 0) numeral += "." + digits.substr(digits.size() - places);
  if (sign == 0x0B || sign == kMinus) numeral.insert(0, "-");
  return numeral;
}

}  // namespace orv
