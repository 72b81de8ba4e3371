// Types that come from the context: markers, nulls, and operands and results that must agree.
#include <algorithm>
#include <utility>

#include "server/resolve/resolver_impl.h"
#include "server/values/sql_error.h"
#include "server/values/type_rules.h"

namespace orv {
namespace {

bool isUnknown(const Expr& expr) {
  return expr.type.kind == TypeKind::Unknown;
}

}  // namespace

bool isConstantOrMarker(const Expr& expr) {
  switch (expr.kind) {
    case ExprKind::Literal:
    case ExprKind::Null:
    case ExprKind::Marker:
    case ExprKind::SpecialRegister:
      return true;
    case ExprKind::Negate:
      return isConstantOrMarker(*expr.args[0]);
    default:
      return false;
  }
}

// Types what is still untyped in `expr` as a value of `type`; the rest stays as it is.
void Resolver::giveType(Expr& expr, const SqlType& type) {
  if (!isUnknown(expr) || type.kind == TypeKind::Unknown) return;
  switch (expr.kind) {
    case ExprKind::Marker:
      statement_.markers[static_cast<size_t>(expr.markerIndex)].type = type;
      statement_.markers[static_cast<size_t>(expr.markerIndex)].type.nullable = true;
      ++typedMarkers_;
      break;
    case ExprKind::Negate:
      giveType(*expr.args[0], type);
      break;
    case ExprKind::Case:
    case ExprKind::Function:
      giveTypeToArgs(expr, type);
      break;
    case ExprKind::Scalar:
      settleColumn(*expr.query, 0, type);
      break;
    default:
      break;
  }
  expr.type = type;
  expr.type.nullable = true;
}

// The results of CASE and the arguments of COALESCE.
void Resolver::giveTypeToArgs(Expr& expr, const SqlType& type) {
  if (expr.kind == ExprKind::Function) {
    for (const ExprPtr& argument : expr.args) giveType(*argument, type);
    return;
  }
  for (size_t i = expr.hasOperand ? 2 : 1; i < expr.args.size(); i += 2) {
    giveType(*expr.args[i], type);
  }
  if (expr.hasElse) giveType(*expr.args.back(), type);
}

// For places that give no type: an untyped NULL becomes a string, an untyped marker is an error.
void Resolver::requireType(Expr& expr) {
  if (!isUnknown(expr)) return;
  const int before = typedMarkers_;
  giveType(expr, makeType(TypeKind::Varchar, 1));
  if (typedMarkers_ != before) throw SqlError(-418);
}

// Makes args[first], args[first + step], ... comparable with args[0]: the first that has a type
// gives it to those without; texts that meet a date, time or timestamp become one.
void Resolver::compareAll(Expr& expr, std::string_view op, size_t first, size_t step) {
  std::vector<ExprPtr*> operands{&expr.args[0]};
  for (size_t i = first; i < expr.args.size(); i += step) operands.push_back(&expr.args[i]);
  const auto typed = std::ranges::find_if(operands, [](ExprPtr* e) { return !isUnknown(**e); });
  if (typed == operands.end()) {
    for (ExprPtr* operand : operands) requireType(**operand);
  }
  const SqlType type = typed == operands.end() ? (*operands[0])->type : (**typed)->type;
  for (ExprPtr* operand : operands) giveType(**operand, type);
  const auto datetime =
      std::ranges::find_if(operands, [](ExprPtr* e) { return isDatetime((*e)->type.kind); });
  for (size_t i = 1; i < operands.size(); ++i) {
    checkComparable(**operands[0], **operands[i], op);
  }
  if (datetime == operands.end()) return;
  const SqlType target = (**datetime)->type;
  for (ExprPtr* operand : operands) {
    checkComparable(**operand, ***datetime, op);
    convertTo(*operand, target);
  }
}

// A distinct type WITH COMPARISONS compares with itself and with constants and markers of its
// source type, others with nothing.
void Resolver::checkComparable(const Expr& a, const Expr& b, std::string_view op) const {
  const bool alike = sameDistinct(a.type, b.type) ||
                     (!b.type.isDistinct() && isConstantOrMarker(b)) ||
                     (!a.type.isDistinct() && isConstantOrMarker(a));
  const bool comparable = hasComparisons(a.type) && hasComparisons(b.type);
  if (!alike || !comparable || !baseComparable(a.type, b.type, unicode())) {
    throw SqlError(-401, {std::string(op)});
  }
}

bool Resolver::hasComparisons(const SqlType& type) const {
  if (!type.isDistinct()) return true;
  const DistinctType* distinct = catalog_.findType(type.distinctSchema, type.distinctName);
  return !distinct || distinct->comparisons;
}

// The common type of results that stand for one another; each value is converted to it. Unknown
// when none has a type yet.
SqlType Resolver::combine(const std::vector<ExprPtr*>& values, int sqlcode,
                          const std::vector<std::string>& tokens) {
  SqlType result;
  bool nullable = false;
  for (ExprPtr* value : values) {
    const SqlType& type = (*value)->type;
    nullable = nullable || type.nullable;
    if (type.kind == TypeKind::Unknown) continue;
    if (result.kind == TypeKind::Unknown) {
      result = type;
    } else if (result.isDistinct() || type.isDistinct()) {
      if (!sameDistinct(result, type)) throw SqlError(sqlcode, tokens);
    } else {
      const std::optional<SqlType> common = commonBase(result, type);
      if (!common) throw SqlError(sqlcode, tokens);
      result = *common;
    }
  }
  result.locator = false;
  for (ExprPtr* value : values) {
    giveType(**value, result);
    convertTo(*value, result);
  }
  result.nullable = nullable;
  return result;
}

// Wraps the value in a CAST when its type is another; strings of one kind stay as they are, unless
// a fixed length must be padded.
void Resolver::convertTo(ExprPtr& expr, const SqlType& type) const {
  const SqlType& from = expr->type;
  if (from.kind == TypeKind::Unknown || expr->kind == ExprKind::Null) return;
  const bool fixed = type.kind == TypeKind::Char || type.kind == TypeKind::CharBits ||
                     type.kind == TypeKind::Graphic;
  const bool sameSize = type.kind == TypeKind::Decimal ? from.scale == type.scale
                                                       : !fixed || from.length == type.length;
  const bool varying = !fixed && varyingType(from).kind == varyingType(type).kind;
  if (varying || (from.kind == type.kind && sameSize)) return;
  wrapInCast(expr, type);
}

void Resolver::wrapInCast(ExprPtr& expr, const SqlType& type) const {
  auto cast = std::make_unique<Expr>();
  cast->kind = ExprKind::Cast;
  cast->offset = expr->offset;
  cast->height = expr->height + 1;
  cast->type = type;
  cast->type.nullable = expr->type.nullable;
  cast->args.push_back(std::move(expr));
  expr = std::move(cast);
}

}  // namespace orv
