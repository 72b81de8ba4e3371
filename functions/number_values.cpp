// decimal = sign? (digits ("." digits?)? | "." digits)
// double  = decimal (("E" | "e") sign? digits)?
#include "functions/number_values.h"

#include <algorithm>

namespace orvxml::functions {
namespace {

constexpr std::string_view kDigits = "0123456789";

std::string_view takeDigits(std::string_view& text) {
  const size_t length = std::min(text.find_first_not_of(kDigits), text.size());
  const std::string_view digits = text.substr(0, length);
  text.remove_prefix(length);
  return digits;
}

bool takeSign(std::string_view& text) {
  if (!text.starts_with('+') && !text.starts_with('-')) return false;
  text.remove_prefix(1);
  return true;
}

std::string_view withoutPlus(std::string_view text) {
  return text.substr(text.starts_with('+') ? 1 : 0);
}

// Takes a decimal; false when there is none.
bool takeDecimal(std::string_view& text, std::string_view& whole, std::string_view& fraction) {
  takeSign(text);
  whole = takeDigits(text);
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    fraction = takeDigits(text);
  }
  return !whole.empty() || !fraction.empty();
}

}  // namespace

std::string_view wholeNumber(std::string_view text) {
  std::string_view rest = text, whole, fraction;
  if (!takeDecimal(rest, whole, fraction) || !rest.empty()) return {};
  if (fraction.find_first_not_of('0') != fraction.npos) return {};
  if (whole.empty()) return fraction.substr(0, 1);
  const auto end = static_cast<size_t>(whole.data() + whole.size() - text.data());
  return withoutPlus(text.substr(0, end));
}

std::string_view floatingNumber(std::string_view text) {
  std::string_view rest = text, whole, fraction;
  if (!takeDecimal(rest, whole, fraction)) return {};
  if (rest.starts_with('E') || rest.starts_with('e')) {
    rest.remove_prefix(1);
    takeSign(rest);
    if (takeDigits(rest).empty()) return {};
  }
  return rest.empty() ? withoutPlus(text) : std::string_view();
}

}  // namespace orvxml::functions
