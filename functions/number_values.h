// Numbers of documents: the lexical forms of XML Schema's decimal and double.
#pragma once

#include <charconv>
#include <string>
#include <string_view>

namespace orvxml::functions {

enum class NumberRead { Ok, Malformed, OutOfRange };

// The digits of a whole number behind its optional plus sign, without a fraction of zeros
// ("+5.0": "5"); empty for anything else.
std::string_view wholeNumber(std::string_view text);
// A decimal number with an optional exponent, without its plus sign; empty for anything else, the
// words for infinity and "not a number" included.
std::string_view floatingNumber(std::string_view text);

template <class T>
NumberRead readNumber(std::string_view text, T& value) {
  const std::string_view digits = std::is_integral_v<T> ? wholeNumber(text) : floatingNumber(text);
  if (digits.empty()) return NumberRead::Malformed;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return error == std::errc() ? NumberRead::Ok : NumberRead::OutOfRange;
}

}  // namespace orvxml::functions
