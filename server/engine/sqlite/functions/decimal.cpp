// Numbers are 128 bits with a scale. Products and quotients, which may be longer on the way, are
// made digit by digit and cut to the scale before they become such a number again.
#include "server/engine/sqlite/functions/decimal.h"

#include <algorithm>
#include <array>

namespace orv::sqlite {
namespace {

constexpr Uint128 kMax = ~Uint128{0};

std::string digitsOf(Uint128 number) {
  std::string digits;
  do {
    digits.push_back(static_cast<char>('0' + static_cast<int>(number % 10)));
    number /= 10;
  } while (number != 0);
  std::reverse(digits.begin(), digits.end());
  return digits;
}

std::optional<Uint128> numberOf(std::string_view digits) {
  Uint128 number = 0;
  for (char c : digits) {
    if (c < '0' || c > '9' || number > (kMax - 9) / 10) return std::nullopt;
    number = number * 10 + static_cast<Uint128>(c - '0');
  }
  return number;
}

// All digits of a product, of which no built-in type holds more than half.
std::string productDigits(Uint128 a, Uint128 b) {
  std::array<uint64_t, 10> limbs{};  // base 10^9, least significant first
  constexpr uint64_t kBase = 1000000000;
  for (size_t i = 0; a != 0; ++i, a /= kBase) {
    uint64_t carry = 0;
    Uint128 rest = b;
    for (size_t j = 0; rest != 0 || carry != 0; ++j, rest /= kBase) {
      uint64_t limb = limbs[i + j] +
                      static_cast<uint64_t>(a % kBase) * static_cast<uint64_t>(rest % kBase) +
                      carry;
      limbs[i + j] = limb % kBase;
      carry = limb / kBase;
    }
  }
  std::string digits;
  for (size_t i = limbs.size(); i-- > 0;) {
    std::string limb = std::to_string(limbs[i]);
    digits.append(9 - limb.size(), '0').append(limb);
  }
  size_t first = std::min(digits.find_first_not_of('0'), digits.size() - 1);
  return digits.substr(first);
}

}  // namespace

std::optional<Decimal> Decimal::parse(std::string_view text) {
  Decimal result;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    result.negative_ = text.front() == '-';
    text.remove_prefix(1);
  }
  std::string digits(text);
  size_t point = digits.find('.');
  if (point != std::string::npos) {
    digits.erase(point, 1);
    result.scale_ = static_cast<int>(digits.size() - point);
  }
  std::optional<Uint128> number = numberOf(digits);
  if (!number) return std::nullopt;
  result.digits_ = *number;
  return result;
}

std::optional<Decimal> Decimal::rescaled(int scale) const {
  Decimal result(negative_, digits_, scale);
  for (int s = scale_; s < scale; ++s) {
    if (result.digits_ > kMax / 10) return std::nullopt;
    result.digits_ *= 10;
  }
  for (int s = scale_; s > scale && result.digits_ != 0; --s) result.digits_ /= 10;
  return result;
}

std::optional<Decimal> Decimal::shifted(int places) const {
  Decimal result(negative_, digits_, scale_ - places);
  return result.scale_ < 0 ? result.rescaled(0) : result;
}

Decimal Decimal::negated() const {
  return {!negative_, digits_, scale_};
}

std::optional<Decimal> Decimal::add(const Decimal& a, const Decimal& b, int scale) {
  int common = std::max({a.scale_, b.scale_, scale});
  std::optional<Decimal> left = a.rescaled(common);
  std::optional<Decimal> right = b.rescaled(common);
  if (!left || !right) return std::nullopt;
  Decimal sum(left->negative_, 0, common);
  if (left->negative_ == right->negative_) {
    if (left->digits_ > kMax - right->digits_) return std::nullopt;
    sum.digits_ = left->digits_ + right->digits_;
  } else if (left->digits_ >= right->digits_) {
    sum.digits_ = left->digits_ - right->digits_;
  } else {
    sum.negative_ = right->negative_;
    sum.digits_ = right->digits_ - left->digits_;
  }
  return sum.rescaled(scale);
}

std::optional<Decimal> Decimal::multiply(const Decimal& a, const Decimal& b, int scale) {
  if (a.isZero() || b.isZero()) return Decimal(false, 0, scale);
  std::string digits = productDigits(a.digits_, b.digits_);
  int excess = a.scale_ + b.scale_ - scale;
  if (excess > 0) {
    digits.erase(digits.size() - std::min(static_cast<size_t>(excess), digits.size()));
  } else {
    digits.append(static_cast<size_t>(-excess), '0');
  }
  std::optional<Uint128> number = numberOf(digits);
  if (!number) return std::nullopt;
  return Decimal(a.negative_ != b.negative_, *number, scale);
}

std::optional<Decimal> Decimal::divide(const Decimal& a, const Decimal& b, int scale) {
  if (b.isZero() || b.digits_ > kMax / 10) return std::nullopt;
  std::string digits = digitsOf(a.digits_);
  int shift = scale - a.scale_ + b.scale_;
  if (shift >= 0) {
    digits.append(static_cast<size_t>(shift), '0');
  } else {
    digits.erase(digits.size() - std::min(static_cast<size_t>(-shift), digits.size()));
  }
  std::string quotient;
  Uint128 remainder = 0;
  for (char c : digits) {
    remainder = remainder * 10 + static_cast<Uint128>(c - '0');
    quotient.push_back(static_cast<char>('0' + static_cast<int>(remainder / b.digits_)));
    remainder %= b.digits_;
  }
  std::optional<Uint128> number = numberOf(quotient);
  if (!number) return std::nullopt;
  return Decimal(a.negative_ != b.negative_, *number, scale);
}

std::optional<std::string> Decimal::text(int precision) const {
  std::string digits = digitsOf(digits_);
  if (digits_ != 0 && static_cast<int>(digits.size()) > precision) return std::nullopt;
  auto scale = static_cast<size_t>(scale_);
  if (digits.size() <= scale) digits.insert(0, scale + 1 - digits.size(), '0');
  if (scale > 0) digits.insert(digits.size() - scale, 1, '.');
  if (negative_ && digits_ != 0) digits.insert(0, 1, '-');
  return digits;
}

}  // namespace orv::sqlite
