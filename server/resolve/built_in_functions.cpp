#include "server/resolve/built_in_functions.h"

#include <algorithm>
#include <array>

namespace orv {
namespace {

using enum ResultRule;

// In the order of the names.
constexpr std::array kFunctions{
    BuiltInFunction{"ABS", "ABS", "N", First},
    BuiltInFunction{"ABSVAL", "ABS", "N", First},
    BuiltInFunction{"AVG", "AVG", "N", Average, TypeKind::Unknown, true},
    BuiltInFunction{"BIGINT", "BIGINT", "A", Conversion, TypeKind::BigInt},
    BuiltInFunction{"BLOB", "BLOB", "Al", Conversion, TypeKind::Blob},
    BuiltInFunction{"CEIL", "CEIL", "N", First},
    BuiltInFunction{"CEILING", "CEIL", "N", First},
    BuiltInFunction{"CHAR", "CHAR", "Al", Conversion, TypeKind::Char},
    BuiltInFunction{"CLOB", "CLOB", "Al", Conversion, TypeKind::Clob},
    BuiltInFunction{"COALESCE", "COALESCE", "AA*", Common},
    BuiltInFunction{"CONCAT", "CONCAT", "AA", Concat},
    BuiltInFunction{"COUNT", "COUNT", "A", Integer, TypeKind::Unknown, true},
    BuiltInFunction{"DATE", "DATE", "A", Conversion, TypeKind::Date},
    BuiltInFunction{"DAY", "DAY", "D", Integer},
    BuiltInFunction{"DBCLOB", "DBCLOB", "Al", Conversion, TypeKind::DbClob},
    BuiltInFunction{"DEC", "DECIMAL", "All", Conversion, TypeKind::Decimal},
    BuiltInFunction{"DECIMAL", "DECIMAL", "All", Conversion, TypeKind::Decimal},
    BuiltInFunction{"DIGITS", "DIGITS", "N", Digits},
    BuiltInFunction{"DOUBLE", "DOUBLE", "A", Conversion, TypeKind::Double},
    BuiltInFunction{"DOUBLE_PRECISION", "DOUBLE", "A", Conversion, TypeKind::Double},
    BuiltInFunction{"FLOAT", "DOUBLE", "A", Conversion, TypeKind::Double},
    BuiltInFunction{"FLOOR", "FLOOR", "N", First},
    BuiltInFunction{"GENERATE_UNIQUE", kGenerateUnique, "", UniqueBits},
    BuiltInFunction{"GRAPHIC", "GRAPHIC", "Al", Conversion, TypeKind::Graphic},
    BuiltInFunction{"HEX", "HEX", "A", HexText},
    BuiltInFunction{"HOUR", "HOUR", "D", Integer},
    BuiltInFunction{"INT", "INTEGER", "A", Conversion, TypeKind::Integer},
    BuiltInFunction{"INTEGER", "INTEGER", "A", Conversion, TypeKind::Integer},
    BuiltInFunction{"LCASE", "LOWER", "S", First},
    BuiltInFunction{"LEFT", "LEFT", "SI", Varying},
    BuiltInFunction{"LENGTH", "LENGTH", "A", Integer},
    BuiltInFunction{"LOCATE", "LOCATE", "SSi", Integer},
    BuiltInFunction{"LOWER", "LOWER", "S", First},
    BuiltInFunction{"LTRIM", "LTRIM", "S", Varying},
    BuiltInFunction{"MAX", "MAX", "A", Extreme, TypeKind::Unknown, true},
    BuiltInFunction{"MIN", "MIN", "A", Extreme, TypeKind::Unknown, true},
    BuiltInFunction{"MINUTE", "MINUTE", "D", Integer},
    BuiltInFunction{"MOD", "MOD", "NN", Number},
    BuiltInFunction{"MONTH", "MONTH", "D", Integer},
    BuiltInFunction{"NULLIF", "NULLIF", "AA", First},
    BuiltInFunction{"POSSTR", "POSSTR", "SS", Integer},
    BuiltInFunction{"REAL", "REAL", "A", Conversion, TypeKind::Real},
    BuiltInFunction{"REPEAT", "REPEAT", "SI", Text},
    BuiltInFunction{"REPLACE", "REPLACE", "SSS", Text},
    BuiltInFunction{"RIGHT", "RIGHT", "SI", Varying},
    BuiltInFunction{"ROUND", "ROUND", "NI", First},
    BuiltInFunction{"RTRIM", "RTRIM", "S", Varying},
    BuiltInFunction{"SECOND", "SECOND", "D", Integer},
    BuiltInFunction{"SIGN", "SIGN", "N", First},
    BuiltInFunction{"SMALLINT", "SMALLINT", "A", Conversion, TypeKind::SmallInt},
    BuiltInFunction{"STRIP", "STRIP", "Sss", Varying},
    BuiltInFunction{"SUBSTR", "SUBSTR", "SIi", Substring},
    BuiltInFunction{"SUM", "SUM", "N", Sum, TypeKind::Unknown, true},
    BuiltInFunction{"TIME", "TIME", "A", Conversion, TypeKind::Time},
    BuiltInFunction{"TIMESTAMP", "TIMESTAMP", "Dd", ResultRule::Timestamp},
    BuiltInFunction{"TRIM", "STRIP", "Sss", Varying},
    BuiltInFunction{"TRUNC", "TRUNCATE", "NI", First},
    BuiltInFunction{"TRUNCATE", "TRUNCATE", "NI", First},
    BuiltInFunction{"UCASE", "UPPER", "S", First},
    BuiltInFunction{"UPPER", "UPPER", "S", First},
    BuiltInFunction{"VALUE", "COALESCE", "AA*", Common},
    BuiltInFunction{"VARCHAR", "VARCHAR", "Al", Conversion, TypeKind::Varchar},
    BuiltInFunction{"VARGRAPHIC", "VARGRAPHIC", "Al", Conversion, TypeKind::VarGraphic},
    BuiltInFunction{"YEAR", "YEAR", "D", Integer},
};
static_assert(std::ranges::is_sorted(kFunctions, {}, &BuiltInFunction::name));

bool isOptional(char c) {
  return c >= 'a' && c <= 'z';
}

}  // namespace

const BuiltInFunction* findFunction(std::string_view name) {
  const auto at = std::ranges::lower_bound(kFunctions, name, {}, &BuiltInFunction::name);
  return at != kFunctions.end() && at->name == name ? &*at : nullptr;
}

bool takesArguments(const BuiltInFunction& function, size_t count) {
  const bool repeated = function.arguments.ends_with('*');
  const size_t most = function.arguments.size() - (repeated ? 1 : 0);
  const auto optional = static_cast<size_t>(std::ranges::count_if(function.arguments, isOptional));
  return count >= most - optional && (repeated || count <= most);
}

char argumentClass(const BuiltInFunction& function, size_t index) {
  std::string_view classes = function.arguments;
  if (classes.ends_with('*')) classes.remove_suffix(1);
  const char c = classes[std::min(index, classes.size() - 1)];
  return isOptional(c) ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace orv
