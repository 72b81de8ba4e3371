#include "server/values/type_rules.h"

#include <algorithm>
#include <array>

namespace orv {
namespace {

// Code pages that encode characters in several bytes, ascending.
constexpr std::array kMultiByteCodePages = {
    930,  932,  933,  935,  936,  937,  939,  942,  943,  949,  950,  954,  964,  970,  1208, 1363,
    1364, 1370, 1371, 1375, 1381, 1383, 1386, 1388, 1390, 1392, 1399, 5026, 5035, 5039, 33722};
static_assert(std::ranges::is_sorted(kMultiByteCodePages));

// Strings by what they hold and, within that, by how far they reach.
enum class Holds : uint8_t { None, Characters, Bits, Graphic };

Holds holds(TypeKind kind) {
  if (isCharacter(kind)) return Holds::Characters;
  if (isGraphic(kind)) return Holds::Graphic;
  return isBinary(kind) ? Holds::Bits : Holds::None;
}

enum class Reach : uint8_t { Fixed, Varying, Long, Large };

Reach reach(TypeKind kind) {
  switch (kind) {
    case TypeKind::Char:
    case TypeKind::CharBits:
    case TypeKind::Graphic:
      return Reach::Fixed;
    case TypeKind::LongVarchar:
    case TypeKind::LongVarcharBits:
    case TypeKind::LongVarGraphic:
      return Reach::Long;
    case TypeKind::Clob:
    case TypeKind::Blob:
    case TypeKind::DbClob:
      return Reach::Large;
    default:
      return Reach::Varying;
  }
}

TypeKind stringKind(Holds what, Reach how) {
  static constexpr TypeKind kKinds[3][4] = {
      {TypeKind::Char, TypeKind::Varchar, TypeKind::LongVarchar, TypeKind::Clob},
      {TypeKind::CharBits, TypeKind::VarcharBits, TypeKind::LongVarcharBits, TypeKind::Blob},
      {TypeKind::Graphic, TypeKind::VarGraphic, TypeKind::LongVarGraphic, TypeKind::DbClob}};
  return kKinds[static_cast<size_t>(what) - 1][static_cast<size_t>(how)];
}

// The place of a number among those that it can be promoted to.
int numericRank(TypeKind kind) {
  static constexpr TypeKind kOrder[] = {TypeKind::SmallInt, TypeKind::Integer, TypeKind::BigInt,
                                        TypeKind::Decimal,  TypeKind::Real,    TypeKind::Double};
  return static_cast<int>(std::ranges::find(kOrder, kind) - kOrder);
}

bool isBitString(TypeKind kind) {
  return isBinary(kind) && kind != TypeKind::Blob;
}
bool isShortCharacter(TypeKind kind) {
  return isCharacter(kind) && kind != TypeKind::Clob;
}

// What two strings hold together: bits win over characters; graphic mixes with graphic only.
std::optional<Holds> heldTogether(TypeKind a, TypeKind b) {
  const Holds left = holds(a);
  const Holds right = holds(b);
  if (left == Holds::None || right == Holds::None) return std::nullopt;
  if (left == right) return left;
  if (left == Holds::Graphic || right == Holds::Graphic) return std::nullopt;
  const bool largeObjects = isLargeObject(a) || isLargeObject(b);
  if (largeObjects) return std::nullopt;
  return Holds::Bits;
}

std::optional<SqlType> commonString(const SqlType& a, const SqlType& b) {
  const std::optional<Holds> what = heldTogether(a.kind, b.kind);
  if (!what) return std::nullopt;
  const Reach how = std::max(reach(a.kind), reach(b.kind));
  return makeType(stringKind(*what, how), std::max(a.length, b.length));
}

SqlType commonDecimal(const SqlType& a, const SqlType& b) {
  const int scale = std::max(a.scale, b.scale);
  const int64_t whole = std::max(a.length - a.scale, b.length - b.scale);
  return makeType(TypeKind::Decimal, std::min(whole + scale, kMaxPrecision), scale);
}

SqlType commonNumber(const SqlType& a, const SqlType& b) {
  if (isFloating(a.kind) || isFloating(b.kind)) {
    return makeType(a.kind == b.kind ? a.kind : TypeKind::Double);
  }
  if (a.kind == TypeKind::Decimal || b.kind == TypeKind::Decimal) {
    return commonDecimal(asDecimal(a), asDecimal(b));
  }
  return makeType(std::max(a.kind, b.kind));
}

SqlType decimalArithmetic(std::string_view op, const SqlType& a, const SqlType& b) {
  int64_t precision = kMaxPrecision;
  int64_t scale = 0;
  if (op == "*") {
    precision = a.length + b.length;
    scale = a.scale + b.scale;
  } else if (op == "/") {
    scale = kMaxPrecision - a.length + a.scale - b.scale;
  } else {
    scale = std::max(a.scale, b.scale);
    precision = std::max(a.length - a.scale, b.length - b.scale) + scale + 1;
  }
  precision = std::min(precision, kMaxPrecision);
  scale = std::clamp<int64_t>(scale, 0, precision);
  return makeType(TypeKind::Decimal, precision, static_cast<int>(scale));
}

}  // namespace

bool supportsGraphic(int codePage) {
  return std::ranges::binary_search(kMultiByteCodePages, codePage);
}

bool baseComparable(const SqlType& a, const SqlType& b, bool unicode) {
  if (isLargeObject(a.kind) || isLargeObject(b.kind)) return false;
  if (isNumeric(a.kind)) return isNumeric(b.kind);
  if (isDatetime(a.kind)) return a.kind == b.kind || isShortCharacter(b.kind);
  if (isDatetime(b.kind)) return isShortCharacter(a.kind);
  if (heldTogether(a.kind, b.kind)) return true;
  return unicode &&
         ((isCharacter(a.kind) && isGraphic(b.kind)) || (isGraphic(a.kind) && isCharacter(b.kind)));
}

bool baseAssignable(const SqlType& target, const SqlType& value, bool unicode) {
  if (isNumeric(target.kind)) return isNumeric(value.kind);
  if (isDatetime(target.kind)) return target.kind == value.kind || isShortCharacter(value.kind);
  if (isCharacter(target.kind)) {
    return isCharacter(value.kind) || isBitString(value.kind) ||
           (isDatetime(value.kind) && target.kind != TypeKind::Clob) ||
           (unicode && isGraphic(value.kind));
  }
  if (isGraphic(target.kind)) return isGraphic(value.kind) || (unicode && isCharacter(value.kind));
  if (target.kind == TypeKind::Blob) return isBinary(value.kind);
  return isBitString(value.kind) || isShortCharacter(value.kind);
}

bool baseCastable(const SqlType& target, const SqlType& value) {
  if (value.kind == TypeKind::Blob) return isBinary(target.kind);
  if (isNumeric(target.kind)) return isNumeric(value.kind) || isShortCharacter(value.kind);
  if (isDatetime(target.kind)) {
    return target.kind == value.kind || isShortCharacter(value.kind) ||
           (value.kind == TypeKind::Timestamp && isDatetime(target.kind));
  }
  if (isCharacter(target.kind)) {
    return holds(value.kind) != Holds::None || isDatetime(value.kind) || isNumeric(value.kind);
  }
  return holds(value.kind) != Holds::None;
}

std::optional<SqlType> commonBase(const SqlType& a, const SqlType& b) {
  if (isNumeric(a.kind) && isNumeric(b.kind)) return commonNumber(a, b);
  if (isDatetime(a.kind) && (a.kind == b.kind || isShortCharacter(b.kind))) return makeType(a.kind);
  if (isDatetime(b.kind) && isShortCharacter(a.kind)) return makeType(b.kind);
  return commonString(a, b);
}

bool sameDistinct(const SqlType& a, const SqlType& b) {
  return a.distinctName == b.distinctName && a.distinctSchema == b.distinctSchema;
}

bool sameParameterType(const SqlType& a, const SqlType& b) {
  return a.kind == b.kind && sameDistinct(a, b);
}

std::optional<int> promotionSteps(const SqlType& parameter, const SqlType& argument) {
  if (!sameDistinct(parameter, argument)) return std::nullopt;
  if (parameter.isDistinct() || parameter.kind == argument.kind) return 0;
  int steps = -1;
  if (isNumeric(parameter.kind) && isNumeric(argument.kind)) {
    steps = numericRank(parameter.kind) - numericRank(argument.kind);
  } else if (holds(parameter.kind) != Holds::None &&
             holds(parameter.kind) == holds(argument.kind)) {
    steps = static_cast<int>(reach(parameter.kind)) - static_cast<int>(reach(argument.kind));
  }
  return steps < 0 ? std::nullopt : std::optional(steps);
}

bool castable(const SqlType& target, const SqlType& value) {
  const bool distinct = target.isDistinct() && value.isDistinct();
  return (!distinct || sameDistinct(target, value)) && baseCastable(target, value);
}

SqlType arithmeticType(std::string_view op, const SqlType& a, const SqlType& b) {
  const SqlType common = commonNumber(a, b);
  if (common.kind == TypeKind::Decimal) return decimalArithmetic(op, asDecimal(a), asDecimal(b));
  return common.kind == TypeKind::SmallInt ? makeType(TypeKind::Integer) : common;
}

std::optional<SqlType> concatType(const SqlType& a, const SqlType& b) {
  const std::optional<Holds> what = heldTogether(a.kind, b.kind);
  if (!what) return std::nullopt;
  Reach how = std::max(reach(a.kind), reach(b.kind));
  const int64_t length = a.length + b.length;
  const int64_t unit = *what == Holds::Graphic ? 2 : 1;
  if (how == Reach::Fixed && length * unit > kMaxChar) how = Reach::Varying;
  if (how == Reach::Varying && length * unit > kMaxVarchar) how = Reach::Long;
  if (how == Reach::Long) return makeType(stringKind(*what, how), kLongVarchar / unit);
  return makeType(stringKind(*what, how), std::min(length, kMaxLob / unit));
}

SqlType varyingType(const SqlType& type) {
  const Holds what = holds(type.kind);
  if (what == Holds::None) return makeType(type.kind, type.length, type.scale);
  return makeType(stringKind(what, std::max(reach(type.kind), Reach::Varying)), type.length);
}

SqlType asDecimal(const SqlType& type) {
  switch (type.kind) {
    case TypeKind::SmallInt:
      return makeType(TypeKind::Decimal, 5);
    case TypeKind::Integer:
      return makeType(TypeKind::Decimal, 11);
    case TypeKind::BigInt:
      return makeType(TypeKind::Decimal, 19);
    case TypeKind::Decimal:
      return makeType(TypeKind::Decimal, type.length, type.scale);
    default:
      return makeType(TypeKind::Decimal, 15);
  }
}

}  // namespace orv
