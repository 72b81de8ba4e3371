// The conversions of an assignment, and then back: a value counts as one of the type only when
// nothing of it has been lost on the way.
#include "server/engine/sqlite/functions/foreign_value.h"

#include <cmath>
#include <cstdio>

#include "server/values/numeral.h"
#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"

namespace orv::sqlite {
namespace {

// Every integer up to this is a double.
constexpr int64_t kExactIntegers = int64_t{1} << 53;

using Kind = ValueView::Kind;

std::string certainDigits(double number) {
  char digits[40];
  std::snprintf(digits, sizeof digits, "%.15g", number);
  return digits;
}

// Whether a numeral is the DECIMAL that it became.
bool isWhole(std::string_view numeral, std::string_view decimal, const SqlType& type) {
  const auto digits = static_cast<int>(type.length);
  std::string all;
  if (!Numeral::parse(numeral, type)
           .toDecimal(static_cast<int>(kMaxPrecision),
                      static_cast<int>(kMaxPrecision) - digits + type.scale, all)) {
    return true;
  }
  return compareDecimals(all, decimal) == 0;
}

bool keepsAll(const ValueView& value, const ValueView& converted, const SqlType& type) {
  if (isInteger(type.kind)) {
    const auto integer = static_cast<double>(converted.integer);
    if (value.kind == Kind::Double) return value.number == integer;
    return value.kind != Kind::Text || Numeral::parse(value.text, type).toDouble() == integer;
  }
  if (isFloating(type.kind) && value.kind == Kind::Integer) {
    return value.integer >= -kExactIntegers && value.integer <= kExactIntegers;
  }
  if (type.kind != TypeKind::Decimal || value.kind != Kind::Text) return true;
  return isWhole(value.text, converted.text, type);
}

}  // namespace

ValueView foreignValue(const ValueView& value, const SqlType& type, const TextLength& length,
                       std::string& storage) {
  ValueView given = value;
  std::string digits;
  if (type.kind == TypeKind::Decimal && value.kind == Kind::Double && std::isfinite(value.number)) {
    digits = certainDigits(value.number);
    given = ValueView::ofText(digits);
  }
  const ValueView converted =
      convertValue(given, type, length, ConversionMode::Assignment, storage);
  if (keepsAll(given, converted, type)) {
    if (converted.text.data() == digits.data()) return ValueView::ofText(storage = digits);
    return converted;
  }
  failOfType(given, type);
}

void failOfType(const ValueView& value, const SqlType& type) {
  std::string text;
  throw SqlError(-420,
                 {shortened(valueText(value, makeType(TypeKind::Varchar), text)), typeText(type)});
}

}  // namespace orv::sqlite
