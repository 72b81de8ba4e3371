// The dispatch by target type. Text becomes a number through `Numeral`, never through a double, so
// that no digit is lost.
#include "server/values/value_conversion.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "server/values/datetime_text.h"
#include "server/values/numeral.h"
#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"

namespace orv {
namespace {

using Kind = ValueView::Kind;

[[noreturn]] void failTooLong(std::string_view text) {
  throw SqlError(-433, {shortened(text)});
}
[[noreturn]] void failOverflow() {
  throw SqlError(-413);
}
[[noreturn]] void failNeverConverts(const SqlType& type) {
  throw SqlError(-408, {typeText(type)});
}

struct IntegerRange {
  int64_t low;
  int64_t high;
};
IntegerRange rangeOf(TypeKind kind) {
  switch (kind) {
    case TypeKind::SmallInt:
      return {std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max()};
    case TypeKind::Integer:
      return {std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()};
    default:
      return {std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max()};
  }
}

int64_t integerFromDouble(double number) {
  // 2^63 is exact as a double; every smaller magnitude truncates into range.
  if (!(number > -9223372036854777856.0 && number < 9223372036854775808.0)) failOverflow();
  return static_cast<int64_t>(number);
}

int64_t integerFromText(std::string_view text, const SqlType& type) {
  int64_t result = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
  if (error == std::errc() && end == text.data() + text.size()) return result;
  std::optional<int64_t> value = Numeral::parse(text, type).toInteger();
  if (!value) failOverflow();
  return *value;
}

ValueView toInteger(const ValueView& value, const SqlType& type) {
  int64_t result = 0;
  switch (value.kind) {
    case Kind::Integer:
      result = value.integer;
      break;
    case Kind::Double:
      result = integerFromDouble(value.number);
      break;
    case Kind::Text:
      result = integerFromText(value.text, type);
      break;
    default:
      failNeverConverts(type);
  }
  IntegerRange range = rangeOf(type.kind);
  if (result < range.low || result > range.high) failOverflow();
  return ValueView::of(result);
}

ValueView toFloating(const ValueView& value, const SqlType& type) {
  double result = 0;
  switch (value.kind) {
    case Kind::Integer:
      result = static_cast<double>(value.integer);
      break;
    case Kind::Double:
      result = value.number;
      break;
    case Kind::Text: {
      std::optional<double> number = Numeral::parse(value.text, type).toDouble();
      if (!number) failOverflow();
      result = *number;
      break;
    }
    default:
      failNeverConverts(type);
  }
  if (!std::isfinite(result)) failOverflow();
  if (type.kind == TypeKind::Real) {
    // Half a step above the largest float is the first number that rounds to infinity.
    constexpr double kLargest = std::numeric_limits<float>::max();
    if (std::fabs(result) >= 0x1.FFFFFFp127) failOverflow();
    result = static_cast<double>(static_cast<float>(std::clamp(result, -kLargest, kLargest)));
  }
  return ValueView::of(result);
}

ValueView toDecimal(const ValueView& value, const SqlType& type, std::string& storage) {
  char digits[40];
  std::string_view text;
  switch (value.kind) {
    case Kind::Integer: {
      auto [end, error] = std::to_chars(digits, digits + sizeof digits, value.integer);
      text = {digits, static_cast<size_t>(end - digits)};
      break;
    }
    case Kind::Double: {
      if (!std::isfinite(value.number)) failOverflow();
      // The shortest numeral that reads back: 0.99 stays 0.99, not 0.98999999999999999.
      auto [end, error] = std::to_chars(digits, digits + sizeof digits, value.number);
      text = {digits, static_cast<size_t>(end - digits)};
      break;
    }
    case Kind::Text:
      text = value.text;
      if (isCanonicalDecimal(text, static_cast<int>(type.length), type.scale)) return value;
      break;
    default:
      failNeverConverts(type);
  }
  if (!Numeral::parse(text, type).toDecimal(static_cast<int>(type.length), type.scale, storage)) {
    failOverflow();
  }
  return ValueView::ofText(storage);
}

// Text in the unit that a type counts: bytes of the database code page, or double-byte characters.
class Measure {
 public:
  Measure(const SqlType& type, const TextLength& length)
      : graphic_(isGraphic(type.kind)), length_(length) {}
  // True when `text` certainly has no more than `limit` units.
  bool surelyFits(std::string_view text, int64_t limit) const {
    if (graphic_) return static_cast<int64_t>(text.size()) <= limit;
    return static_cast<int64_t>(text.size()) <= limit && length_.neverLongerThanUtf8();
  }
  int64_t of(std::string_view text) const {
    return graphic_ ? utf16Units(text) : length_.bytes(text);
  }
  // The longest beginning of whole characters that has no more than `limit` units.
  std::string_view cut(std::string_view text, int64_t limit) const {
    return graphic_ ? utf16Prefix(text, limit) : length_.prefix(text, limit);
  }

 private:
  bool graphic_;
  const TextLength& length_;
};

bool onlyBlanks(std::string_view text) {
  return text.find_first_not_of(' ') == std::string_view::npos;
}

std::string_view fitText(std::string_view text, const Measure& measure, int64_t limit,
                         ConversionMode mode) {
  if (limit <= 0 || measure.surelyFits(text, limit) || measure.of(text) <= limit) return text;
  std::string_view kept = measure.cut(text, limit);
  if (mode == ConversionMode::Assignment && !onlyBlanks(text.substr(kept.size()))) {
    failTooLong(text);
  }
  return kept;
}

ValueView toBinary(const ValueView& value, const SqlType& type, ConversionMode mode,
                   std::string& storage) {
  if (value.kind != Kind::Text && value.kind != Kind::Blob) failNeverConverts(type);
  std::string_view bytes = value.text;
  if (type.length > 0 && static_cast<int64_t>(bytes.size()) > type.length) {
    std::string_view kept = bytes.substr(0, static_cast<size_t>(type.length));
    if (mode == ConversionMode::Assignment && !onlyBlanks(bytes.substr(kept.size()))) {
      throw SqlError(-433, {shortenedBinary(bytes)});
    }
    bytes = kept;
  }
  const bool padded = type.kind == TypeKind::CharBits || type.kind == TypeKind::Char;
  if (padded && static_cast<int64_t>(bytes.size()) < type.length) {
    storage.assign(bytes);
    storage.resize(static_cast<size_t>(type.length), ' ');
    bytes = storage;
  }
  return ValueView::ofBlob(bytes);
}

// Whether a text has as many bytes in the database code page: its bytes can then be counted and
// compared as those of a value FOR BIT DATA.
bool isAsLong(std::string_view text, const TextLength& length) {
  return length.bytes(text) == static_cast<int64_t>(text.size());
}

// Bytes that are no text stay what they are where they are assigned to CHAR or VARCHAR.
ValueView toText(const ValueView& value, const SqlType& type, const TextLength& length,
                 ConversionMode mode, std::string& storage) {
  std::string_view text = value.text;
  if (value.kind == Kind::Blob) {
    const bool isText = isUtf8(text);
    const bool takesBytes = type.kind == TypeKind::Char || type.kind == TypeKind::Varchar;
    if (takesBytes && mode == ConversionMode::Assignment && !(isText && isAsLong(text, length))) {
      return toBinary(value, type, mode, storage);
    }
    if (!isText) failNeverConverts(type);
  } else if (value.kind != Kind::Text) {
    text = valueText(value, type, storage);
    // A number that loses digits is another number.
    if (type.length > 0 && static_cast<int64_t>(text.size()) > type.length) failTooLong(text);
  }
  Measure measure(type, length);
  if (!type.anyLength) text = fitText(text, measure, type.length, mode);
  if (type.kind == TypeKind::Char || type.kind == TypeKind::Graphic) {
    int64_t missing = type.length - measure.of(text);
    if (missing > 0) {
      if (text.data() != storage.data()) storage.assign(text);
      storage.resize(text.size());
      storage.append(static_cast<size_t>(missing), ' ');
      text = storage;
    }
  }
  return ValueView::ofText(text);
}

ValueView toDatetime(const ValueView& value, const SqlType& type, std::string& storage) {
  if (value.kind != Kind::Text) failNeverConverts(type);
  return ValueView::ofText(datetimeText(value.text, type.kind, storage));
}

// The shortest form that reads back, as a mantissa with a point and a bare exponent: "1.5E0".
template <typename Number>
std::string_view floatingText(Number number, std::string& storage) {
  char digits[40];
  auto [end, error] =
      std::to_chars(digits, digits + sizeof digits, number, std::chars_format::scientific);
  std::string_view text(digits, static_cast<size_t>(end - digits));
  size_t e = text.find('e');
  if (e == std::string_view::npos) return storage.assign(text);  // not finite
  storage.assign(text.substr(0, e));
  if (storage.find('.') == std::string::npos) storage.append(".0");
  storage.push_back('E');
  std::string_view exponent = text.substr(e + 1);
  if (exponent.front() == '-') storage.push_back('-');
  exponent.remove_prefix(1);
  size_t significant = std::min(exponent.find_first_not_of('0'), exponent.size() - 1);
  return storage.append(exponent.substr(significant));
}

}  // namespace

ValueView convertValue(const ValueView& value, const SqlType& type, const TextLength& length,
                       ConversionMode mode, std::string& storage) {
  if (value.kind == Kind::Null) return value;
  switch (type.kind) {
    case TypeKind::SmallInt:
    case TypeKind::Integer:
    case TypeKind::BigInt:
      return toInteger(value, type);
    case TypeKind::Real:
    case TypeKind::Double:
      return toFloating(value, type);
    case TypeKind::Decimal:
      return toDecimal(value, type, storage);
    case TypeKind::Date:
    case TypeKind::Time:
    case TypeKind::Timestamp:
      return toDatetime(value, type, storage);
    case TypeKind::CharBits:
    case TypeKind::VarcharBits:
    case TypeKind::LongVarcharBits:
    case TypeKind::Blob:
      return toBinary(value, type, mode, storage);
    case TypeKind::Unknown:
      return value;
    default:
      return toText(value, type, length, mode, storage);
  }
}

std::string_view valueText(const ValueView& value, const SqlType& type, std::string& storage) {
  switch (value.kind) {
    case Kind::Null:
      return {};
    case Kind::Integer: {
      char digits[24];
      auto [end, error] = std::to_chars(digits, digits + sizeof digits, value.integer);
      return storage.assign(digits, end);
    }
    case Kind::Double:
      if (type.kind == TypeKind::Decimal) return toDecimal(value, type, storage).text;
      if (type.kind == TypeKind::Real) {
        return floatingText(static_cast<float>(value.number), storage);
      }
      return floatingText(value.number, storage);
    case Kind::Blob:
      return storage = hexDigits(value.text);
    case Kind::Text:
      return value.text;
  }
  return {};
}

}  // namespace orv
