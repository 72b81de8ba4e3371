// Exact decimal arithmetic of up to 31 digits, for the arithmetic and the sums that the engine
// itself would do in floating point.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orv::sqlite {

__extension__ typedef unsigned __int128 Uint128;

// value = digits / 10^scale, negative or not.
class Decimal {
 public:
  Decimal() = default;
  // `text` is canonical: [-]digits[.digits]. Nothing when it has more than 38 digits.
  static std::optional<Decimal> parse(std::string_view text);

  // Results are cut to `scale` digits after the point. Nothing on overflow; divide() also when the
  // divisor is zero, which the caller has to exclude.
  static std::optional<Decimal> add(const Decimal& a, const Decimal& b, int scale);
  static std::optional<Decimal> multiply(const Decimal& a, const Decimal& b, int scale);
  static std::optional<Decimal> divide(const Decimal& a, const Decimal& b, int scale);

  Decimal negated() const;
  // The value times 10^places.
  std::optional<Decimal> shifted(int places) const;
  bool isZero() const { return digits_ == 0; }
  bool isNegative() const { return negative_; }
  int scale() const { return scale_; }
  // The same value with another scale, cut towards zero.
  std::optional<Decimal> rescaled(int scale) const;
  // Canonical text; nothing when it has more than `precision` digits.
  std::optional<std::string> text(int precision) const;

 private:
  Decimal(bool negative, Uint128 digits, int scale)
      : negative_(negative), digits_(digits), scale_(scale) {}

  bool negative_ = false;
  Uint128 digits_ = 0;
  int scale_ = 0;
};

}  // namespace orv::sqlite
