// The numeric functions and those over dates and times. Numeric ones are given their result's type
// (kind, length, scale) as the first three arguments.
#include <bit>
#include <cmath>

#include "server/engine/sqlite/functions/function_support.h"
#include "server/values/datetime_text.h"
#include "server/values/utf8_text.h"

namespace orv::sqlite {
namespace {

SqlType resultType(sqlite3_value** values) {
  SqlType type;
  type.kind = static_cast<TypeKind>(sqlite3_value_int(values[0]));
  type.length = sqlite3_value_int64(values[1]);
  type.scale = sqlite3_value_int(values[2]);
  return type;
}

void giveDecimal(sqlite3_context* context, const SqlType& type,
                 const std::optional<Decimal>& value) {
  std::optional<Decimal> scaled = value ? value->rescaled(type.scale) : value;
  std::optional<std::string> text;
  if (scaled) text = scaled->text(static_cast<int>(type.length));
  if (!text) throw SqlError(-802);
  setResult(context, ValueView::ofText(*text));
}

void giveInteger(sqlite3_context* context, const SqlType& type, int64_t value) {
  std::string storage;
  static const TextLength kUtf8(1208);
  setResult(context,
            convertValue(ValueView::of(value), type, kUtf8, ConversionMode::Assignment, storage));
}

const Decimal kOne = *Decimal::parse("1");

// ORV_ABS(type, number)
void absolute(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 4)) return;
  SqlType type = resultType(values);
  if (type.kind == TypeKind::Decimal) {
    Decimal value = decimalArgument(values[3]);
    giveDecimal(context, type, value.isNegative() ? value.negated() : value);
  } else if (isFloating(type.kind)) {
    sqlite3_result_double(context, std::fabs(sqlite3_value_double(values[3])));
  } else {
    int64_t value = sqlite3_value_int64(values[3]);
    if (value == INT64_MIN) throw SqlError(-802);
    giveInteger(context, type, value < 0 ? -value : value);
  }
}

// ORV_SIGN(type, number)
void signOf(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 4)) return;
  SqlType type = resultType(values);
  if (type.kind == TypeKind::Decimal) {
    Decimal value = decimalArgument(values[3]);
    Decimal sign = value.isZero() ? Decimal() : value.isNegative() ? kOne.negated() : kOne;
    giveDecimal(context, type, sign);
    return;
  }
  double value = sqlite3_value_double(values[3]);
  int sign = (value > 0) - (value < 0);
  if (isFloating(type.kind)) {
    sqlite3_result_double(context, sign);
  } else {
    sqlite3_result_int(context, sign);
  }
}

// A whole number below (direction -1) or above (1) the value, or the value itself.
std::optional<Decimal> wholeDecimal(const Decimal& value, int direction) {
  std::optional<Decimal> whole = value.rescaled(0);
  if (!whole) return whole;
  std::optional<Decimal> rest = Decimal::add(value, whole->negated(), value.scale());
  bool away = rest && !rest->isZero() && value.isNegative() == (direction < 0);
  if (!away) return whole;
  return Decimal::add(*whole, direction < 0 ? kOne.negated() : kOne, 0);
}

// ORV_CEIL(type, number), ORV_FLOOR(type, number)
template <int direction>
void wholeNumber(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 4)) return;
  SqlType type = resultType(values);
  if (type.kind == TypeKind::Decimal) {
    giveDecimal(context, type, wholeDecimal(decimalArgument(values[3]), direction));
  } else if (isFloating(type.kind)) {
    double value = sqlite3_value_double(values[3]);
    sqlite3_result_double(context, direction < 0 ? std::floor(value) : std::ceil(value));
  } else {
    sqlite3_result_value(context, values[3]);
  }
}

// The value cut or rounded half away from zero after `places` digits (before the point: negative).
std::optional<Decimal> roundDecimal(const Decimal& value, int places, bool rounding) {
  if (places >= value.scale()) return value;
  if (places < -37) return Decimal();
  std::optional<Decimal> result = value;
  if (rounding) {
    std::optional<Decimal> half = Decimal::parse("0.5");
    std::optional<Decimal> step = half->shifted(-places);
    result = Decimal::add(value, value.isNegative() ? step->negated() : *step,
                          std::max(value.scale(), places + 1));
  }
  if (!result) return result;
  // Cutting before the point: the digits are dropped and come back as zeros.
  std::optional<Decimal> dropped = result->shifted(places);
  if (dropped) dropped = dropped->rescaled(0);
  return dropped ? dropped->shifted(-places) : dropped;
}

// ORV_ROUND(type, number, places), ORV_TRUNCATE(type, number, places)
template <bool rounding>
void roundNumber(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 5)) return;
  SqlType type = resultType(values);
  auto places = static_cast<int>(std::clamp<int64_t>(sqlite3_value_int64(values[4]), -40, 40));
  if (isFloating(type.kind)) {
    double value = sqlite3_value_double(values[3]);
    double factor = std::pow(10.0, places);
    double scaled = value * factor;
    double result = (rounding ? std::round(scaled) : std::trunc(scaled)) / factor;
    sqlite3_result_double(context, std::isfinite(result) ? result : value);
    return;
  }
  std::optional<Decimal> result = roundDecimal(decimalArgument(values[3]), places, rounding);
  if (type.kind == TypeKind::Decimal) {
    giveDecimal(context, type, result);
    return;
  }
  std::optional<std::string> text;
  if (result && (result = result->rescaled(0))) text = result->text(31);
  if (!text) throw SqlError(-802);
  std::string storage;
  static const TextLength kUtf8(1208);
  setResult(context, convertValue(ValueView::ofText(*text), type, kUtf8, ConversionMode::Assignment,
                                  storage));
}

// ORV_MOD(type, a, b)
void modulo(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 5)) return;
  SqlType type = resultType(values);
  if (type.kind == TypeKind::Decimal) {
    Decimal a = decimalArgument(values[3]);
    Decimal b = decimalArgument(values[4]);
    if (b.isZero()) throw SqlError(-801);
    std::optional<Decimal> quotient = Decimal::divide(a, b, 0);
    std::optional<Decimal> product =
        quotient ? Decimal::multiply(*quotient, b, b.scale()) : quotient;
    giveDecimal(context, type, product ? Decimal::add(a, product->negated(), type.scale) : product);
    return;
  }
  if (sqlite3_value_double(values[4]) == 0) throw SqlError(-801);
  if (isFloating(type.kind)) {
    sqlite3_result_double(
        context, std::fmod(sqlite3_value_double(values[3]), sqlite3_value_double(values[4])));
    return;
  }
  int64_t divisor = sqlite3_value_int64(values[4]);
  giveInteger(context, type, divisor == -1 ? 0 : sqlite3_value_int64(values[3]) % divisor);
}

// ORV_DIGITS(type, number): the digits of the number's whole precision, without sign and point.
void digits(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 4)) return;
  auto width = static_cast<size_t>(sqlite3_value_int64(values[1]));
  std::string text;
  for (char c : textArgument(values[3])) {
    if (c >= '0' && c <= '9') text.push_back(c);
  }
  if (text.size() < width) text.insert(0, width - text.size(), '0');
  setResult(context, ValueView::ofText(std::string_view(text).substr(text.size() - width)));
}

template <typename Number>
std::string bytesOf(Number number) {
  std::string bytes(sizeof number, '\0');
  for (size_t i = sizeof number; i-- > 0; number = static_cast<Number>(number >> 8)) {
    bytes[i] = static_cast<char>(number & 0xff);
  }
  return bytes;
}

// ORV_HEX(type of the argument, argument)
void hex(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 4)) return;
  SqlType type = resultType(values);
  std::string bytes;
  switch (type.kind) {
    case TypeKind::SmallInt:
      bytes = bytesOf(static_cast<uint16_t>(sqlite3_value_int64(values[3])));
      break;
    case TypeKind::Integer:
      bytes = bytesOf(static_cast<uint32_t>(sqlite3_value_int64(values[3])));
      break;
    case TypeKind::BigInt:
      bytes = bytesOf(static_cast<uint64_t>(sqlite3_value_int64(values[3])));
      break;
    case TypeKind::Real:
      bytes = bytesOf(std::bit_cast<uint32_t>(static_cast<float>(sqlite3_value_double(values[3]))));
      break;
    case TypeKind::Double:
      bytes = bytesOf(std::bit_cast<uint64_t>(sqlite3_value_double(values[3])));
      break;
    default:
      bytes = viewOf(values[3]).text;
      break;
  }
  std::string text = hexDigits(bytes);
  setResult(context, ValueView::ofText(text));
}

// ORV_DATETIME_PART(kind, text)
template <int DatetimeParts::*part>
void datetimePart(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 2)) return;
  auto kind = static_cast<TypeKind>(sqlite3_value_int(values[0]));
  sqlite3_result_int(context, parseDatetime(textArgument(values[1]), kind).*part);
}

// ORV_TIMESTAMP(date, time)
void timestamp(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 2)) return;
  DatetimeParts parts = parseDatetime(textArgument(values[0]), TypeKind::Date);
  DatetimeParts time = parseDatetime(textArgument(values[1]), TypeKind::Time);
  parts.hour = time.hour;
  parts.minute = time.minute;
  parts.second = time.second;
  parts.microsecond = 0;
  std::string text;
  writeDatetime(parts, TypeKind::Timestamp, text);
  setResult(context, ValueView::ofText(text));
}

}  // namespace

void registerNumbers(sqlite3* database, Environment& environment) {
  static constexpr FunctionEntry kEntries[] = {
      {"ORV_ABS", 4, guarded<absolute>},
      {"ORV_SIGN", 4, guarded<signOf>},
      {"ORV_CEIL", 4, guarded<wholeNumber<1>>},
      {"ORV_FLOOR", 4, guarded<wholeNumber<-1>>},
      {"ORV_ROUND", 5, guarded<roundNumber<true>>},
      {"ORV_TRUNCATE", 5, guarded<roundNumber<false>>},
      {"ORV_MOD", 5, guarded<modulo>},
      {"ORV_DIGITS", 4, guarded<digits>},
      {"ORV_HEX", 4, guarded<hex>},
      {"ORV_YEAR", 2, guarded<datetimePart<&DatetimeParts::year>>},
      {"ORV_MONTH", 2, guarded<datetimePart<&DatetimeParts::month>>},
      {"ORV_DAY", 2, guarded<datetimePart<&DatetimeParts::day>>},
      {"ORV_HOUR", 2, guarded<datetimePart<&DatetimeParts::hour>>},
      {"ORV_MINUTE", 2, guarded<datetimePart<&DatetimeParts::minute>>},
      {"ORV_SECOND", 2, guarded<datetimePart<&DatetimeParts::second>>},
      {"ORV_TIMESTAMP", 2, guarded<timestamp>},
  };
  registerFunctions(database, environment, kEntries);
}

}  // namespace orv::sqlite
