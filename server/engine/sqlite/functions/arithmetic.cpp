// The operators + - * / on integers, doubles and decimals, exact and checked.
#include <charconv>
#include <cmath>

#include "server/engine/sqlite/functions/foreign_value.h"
#include "server/engine/sqlite/functions/function_support.h"
#include "server/values/numeral.h"

namespace orv::sqlite {
namespace {

[[noreturn]] void failOverflow() {
  throw SqlError(-802);
}

int64_t calculate(char op, int64_t a, int64_t b) {
  int64_t result = 0;
  bool overflow = false;
  switch (op) {
    case '+':
      overflow = __builtin_add_overflow(a, b, &result);
      break;
    case '-':
      overflow = __builtin_sub_overflow(a, b, &result);
      break;
    case '*':
      overflow = __builtin_mul_overflow(a, b, &result);
      break;
    default:
      if (b == 0) throw SqlError(-801);
      overflow = b == -1 && a == INT64_MIN;
      if (!overflow) result = a / b;
      break;
  }
  if (overflow) failOverflow();
  return result;
}

double calculate(char op, double a, double b) {
  double result = 0;
  switch (op) {
    case '+':
      result = a + b;
      break;
    case '-':
      result = a - b;
      break;
    case '*':
      result = a * b;
      break;
    default:
      if (b == 0) throw SqlError(-801);
      result = a / b;
      break;
  }
  if (!std::isfinite(result)) failOverflow();
  return result;
}

std::optional<Decimal> calculate(char op, const Decimal& a, const Decimal& b, int scale) {
  switch (op) {
    case '+':
      return Decimal::add(a, b, scale);
    case '-':
      return Decimal::add(a, b.negated(), scale);
    case '*':
      return Decimal::multiply(a, b, scale);
    default:
      if (b.isZero()) throw SqlError(-801);
      return Decimal::divide(a, b, scale);
  }
}

void checkRange(int64_t value, TypeKind kind) {
  if (kind == TypeKind::Integer && (value < INT32_MIN || value > INT32_MAX)) failOverflow();
  if (kind == TypeKind::SmallInt && (value < INT16_MIN || value > INT16_MAX)) failOverflow();
}

// Another program may have written into a table of the server's own, whose columns are not looked
// at before.
int64_t integerOf(const ValueView& value, const SqlType& type) {
  if (value.kind != ValueView::Kind::Integer) failOfType(value, type);
  return value.integer;
}

double doubleOf(const ValueView& value) {
  SqlType type;
  type.kind = TypeKind::Double;
  switch (value.kind) {
    case ValueView::Kind::Integer:
      return static_cast<double>(value.integer);
    case ValueView::Kind::Double:
      return value.number;
    default: {
      std::optional<double> number = Numeral::parse(value.text, type).toDouble();
      if (!number) failOverflow();
      return *number;
    }
  }
}

Decimal decimalOf(const ValueView& value) {
  char digits[400];
  std::string_view text = value.text;
  if (value.kind == ValueView::Kind::Double) {
    // A number that another program stored: the shortest numeral that reads back is what it meant.
    auto [end, error] =
        std::to_chars(digits, digits + sizeof digits, value.number, std::chars_format::fixed);
    text = {digits, static_cast<size_t>(end - digits)};
  } else if (value.kind == ValueView::Kind::Integer) {
    auto [end, error] = std::to_chars(digits, digits + sizeof digits, value.integer);
    text = {digits, static_cast<size_t>(end - digits)};
  }
  std::optional<Decimal> decimal = Decimal::parse(text);
  if (decimal) return *decimal;
  SqlType type;
  type.kind = TypeKind::Decimal;
  Numeral::parse(text, type);
  failOverflow();
}

// One step of the chain; decimals are kept in `storage`.
ValueView applyOperator(char op, const SqlType& type, const ValueView& a, const ValueView& b,
                        std::string& storage) {
  switch (type.kind) {
    case TypeKind::Decimal: {
      std::optional<Decimal> result = calculate(op, decimalOf(a), decimalOf(b), type.scale);
      std::optional<std::string> text;
      if (result) text = result->text(static_cast<int>(type.length));
      if (!text) failOverflow();
      storage = std::move(*text);
      return ValueView::ofText(storage);
    }
    case TypeKind::Real:
    case TypeKind::Double:
      return ValueView::of(calculate(op, doubleOf(a), doubleOf(b)));
    default: {
      int64_t result = calculate(op, integerOf(a, type), integerOf(b, type));
      checkRange(result, type.kind);
      return ValueView::of(result);
    }
  }
}

// ORV_ARITHMETIC(a, b, op, kind, precision, scale [, c, op, kind, precision, scale]...): from left
// to right, each step with its result's type.
void arithmetic(sqlite3_context* context, int count, sqlite3_value** values) {
  constexpr int kStep = 5;
  if (anyNull(values, count)) return;
  std::string storage;
  ValueView result = viewOf(values[0]);
  for (int at = 1; at + kStep <= count; at += kStep) {
    SqlType type;
    type.kind = static_cast<TypeKind>(sqlite3_value_int(values[at + 2]));
    type.length = sqlite3_value_int64(values[at + 3]);
    type.scale = sqlite3_value_int(values[at + 4]);
    char op = textArgument(values[at + 1]).front();
    result = applyOperator(op, type, result, viewOf(values[at]), storage);
  }
  setResult(context, result);
}

}  // namespace

Decimal decimalArgument(sqlite3_value* value) {
  return decimalOf(viewOf(value));
}

void registerArithmetic(sqlite3* database, Environment& environment) {
  static constexpr FunctionEntry kEntries[] = {{"ORV_ARITHMETIC", -1, guarded<arithmetic>}};
  registerFunctions(database, environment, kEntries);
}

}  // namespace orv::sqlite
