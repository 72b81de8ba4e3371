// Function calls: which function is meant, what its arguments must be, what it returns.
#include <algorithm>
#include <charconv>
#include <utility>

#include "server/resolve/resolver_impl.h"
#include "server/values/sql_error.h"
#include "server/values/type_rules.h"

namespace orv {
namespace {

constexpr int64_t kTextLength = 4000;
constexpr int64_t kConvertedPrecision = 15;
constexpr int64_t kUniqueLength = 13;

bool isSystemSchema(std::string_view schema) {
  return schema == kBuiltInSchema || schema == "SYSFUN";
}

bool isString(TypeKind kind) {
  return isCharacter(kind) || isGraphic(kind) || isBinary(kind);
}

bool suits(char argumentClass, const SqlType& type) {
  switch (argumentClass) {
    case 'S':
      return isString(type.kind);
    case 'N':
      return isNumeric(type.kind);
    case 'I':
    case 'L':
      return isInteger(type.kind);
    case 'D':
      return isDatetime(type.kind) || isCharacter(type.kind);
    default:
      return true;
  }
}

}  // namespace

std::string shown(const QualifiedName& name) {
  return name.schema.empty() ? name.name : name.schema + "." + name.name;
}

// A column function and the keyword of STRIP cannot wait until the arguments are resolved; all
// other functions are chosen by the types of theirs.
void Resolver::resolveFunction(ExprPtr& expr, Scope& scope) {
  const BuiltInFunction* builtIn = builtInFor(*expr);
  if (builtIn && builtIn->aggregate) return resolveAggregate(*expr, *builtIn, scope);
  if (expr->distinct) throw SqlError(-440, {shown(expr->name)});
  if (builtIn && builtIn->function == "STRIP") resolveStripSide(*expr);
  resolveArgs(*expr, scope);
  if (const Function* routine = chooseRoutine(*expr)) return callRoutine(expr, *routine);
  callBuiltIn(*expr);
}

// Null when the call's name and number of arguments mean none.
const BuiltInFunction* Resolver::builtInFor(const Expr& call) const {
  const QualifiedName& name = call.name;
  if (!name.schema.empty() && !isSystemSchema(name.schema)) return nullptr;
  const BuiltInFunction* function = findFunction(name.name);
  return function && takesArguments(*function, call.args.size()) ? function : nullptr;
}

// What fits counts as the argument's own type, but for what the function takes only because its
// class is wide: texts as dates, distinct types as their source.
std::optional<std::vector<int>> Resolver::builtInSteps(const Expr& call) const {
  constexpr int kText = 1;
  constexpr int kFar = 100;
  std::vector<int> steps;
  if (const BuiltInFunction* function = builtInFor(call)) {
    for (size_t i = 0; i < call.args.size(); ++i) {
      const SqlType& type = call.args[i]->type;
      const char wanted = argumentClass(*function, i);
      const bool known = type.kind != TypeKind::Unknown;
      if (known && !suits(wanted, type)) return std::nullopt;
      const bool text = wanted == 'D' && isString(type.kind);
      steps.push_back(type.isDistinct() ? kFar : text ? kText : 0);
    }
    return steps;
  }
  if (call.args.size() != 1) return std::nullopt;
  const SqlType& argument = call.args[0]->type;
  if (const DistinctType* type = catalog_.findType(call.name.schema, call.name.name)) {
    const bool known = argument.kind != TypeKind::Unknown;
    if (known && !baseCastable(type->source, argument)) return std::nullopt;
    steps.push_back(known ? promotionSteps(type->source, argument).value_or(kFar) : 0);
    return steps;
  }
  if (!isBackFunction(call, argument)) return std::nullopt;
  steps.push_back(0);
  return steps;
}

void Resolver::callBuiltIn(Expr& expr) {
  const BuiltInFunction* function = builtInFor(expr);
  if (!function) return callTypeFunction(expr);
  expr.function = function->function;
  expr.name.resolvedSchema = kBuiltInSchema;
  checkArguments(expr, *function);
  typeResult(expr, *function);
}

// STRIP(value, LEADING | TRAILING | BOTH [, character]) has a keyword among its arguments.
void Resolver::resolveStripSide(Expr& expr) const {
  if (expr.args.size() < 2) return;
  Expr& side = *expr.args[1];
  if (side.kind == ExprKind::Literal) return;
  static constexpr std::string_view kSides[] = {"LEADING", "TRAILING", "BOTH", "L", "T", "B"};
  const bool keyword = side.kind == ExprKind::Column && side.qualifier.empty() &&
                       std::ranges::find(kSides, side.name.name) != std::end(kSides);
  if (!keyword) throw SqlError(-171, {"2", shown(expr.name)});
  side.kind = ExprKind::Literal;
  side.text = side.name.name.substr(0, 1);
  side.type = makeType(TypeKind::Varchar, 1);
  side.type.nullable = false;
}

void Resolver::checkArguments(Expr& expr, const BuiltInFunction& function) {
  const bool common = function.rule == ResultRule::Common;
  for (size_t i = 0; i < expr.args.size(); ++i) {
    Expr& argument = *expr.args[i];
    const char wanted = argumentClass(function, i);
    if (wanted == 'I') giveType(argument, makeType(TypeKind::Integer));
    if (argument.type.kind == TypeKind::Unknown) {
      const bool typedLater =
          common || function.rule == ResultRule::Concat || function.function == "NULLIF";
      if (typedLater) continue;
      if (argument.kind != ExprKind::Null) throw SqlError(-418);
      giveType(argument, makeType(wanted == 'N' ? TypeKind::Integer : TypeKind::Varchar, 1));
    }
    if (!suits(wanted, argument.type)) {
      throw SqlError(-171, {std::to_string(i + 1), shown(expr.name)});
    }
  }
}

// A column function belongs to the innermost query around it.
void Resolver::resolveAggregate(Expr& expr, const BuiltInFunction& function, Scope& scope) {
  expr.function = function.function;
  expr.name.resolvedSchema = kBuiltInSchema;
  if (scope.inAggregate) throw SqlError(-112, {shown(expr.name)});
  if (!scope.aggregatesAllowed) throw SqlError(-120, {shown(expr.name)});
  expr.aggregate = true;
  scope.hasAggregate = true;
  Expr& argument = *expr.args[0];
  const bool counts = expr.function == "COUNT";
  if (argument.kind == ExprKind::Star) {
    if (!counts) throw SqlError(-440, {shown(expr.name)});
  } else {
    scope.inAggregate = true;
    resolveExpr(expr.args[0], scope);
    scope.inAggregate = false;
    requireType(*expr.args[0]);
    checkArguments(expr, function);
    const bool sorts = expr.distinct || function.rule == ResultRule::Extreme;
    if (sorts) rejectLargeObject(*expr.args[0], expr.function);
  }
  expr.type = resultType(expr, function);
  expr.type.nullable = !counts;
}

// A distinct type is also the function that makes its values; the function back has the name of the
// source type and stands in the type's schema.
void Resolver::callTypeFunction(Expr& expr) {
  const DistinctType* type = catalog_.findType(expr.name.schema, expr.name.name);
  if (expr.args.size() != 1) throw SqlError(-440, {shown(expr.name)});
  if (type) {
    expr.kind = ExprKind::Cast;
    expr.name = {type->schema, type->name, type->schema};
    giveType(*expr.args[0], type->source);
    return resolveCast(expr);
  }
  if (!isBackFunction(expr, expr.args[0]->type)) throw SqlError(-440, {shown(expr.name)});
  turnIntoCast(expr, *findFunction(expr.name.name));
}

bool Resolver::isBackFunction(const Expr& call, const SqlType& argument) const {
  const BuiltInFunction* back = findFunction(call.name.name);
  return back && back->rule == ResultRule::Conversion && argument.isDistinct() &&
         argument.distinctSchema == call.name.schema;
}

void Resolver::typeResult(Expr& expr, const BuiltInFunction& function) {
  const bool nullable = std::ranges::any_of(
      expr.args, [](const ExprPtr& argument) { return argument->type.nullable; });
  switch (function.rule) {
    case ResultRule::Conversion:
      return turnIntoCast(expr, function);
    case ResultRule::Concat:
      expr.kind = ExprKind::Concat;
      expr.op = "||";
      return resolveConcat(expr);
    case ResultRule::Common: {
      std::vector<ExprPtr*> values;
      bool allNullable = true;
      for (ExprPtr& argument : expr.args) {
        values.push_back(&argument);
        allNullable = allNullable && argument->type.nullable;
      }
      expr.type = combine(values, -401, {expr.function});
      expr.type.nullable = allNullable;
      return;
    }
    case ResultRule::UniqueBits:
      expr.type = makeType(TypeKind::CharBits, kUniqueLength);
      expr.type.nullable = false;
      return;
    case ResultRule::Timestamp:
      if (expr.args.size() == 1) return turnIntoCast(expr, function);
      break;
    default:
      break;
  }
  if (expr.function == "NULLIF") compareAll(expr, expr.function, 1);
  expr.type = resultType(expr, function);
  expr.type.nullable = nullable || expr.function == "NULLIF";
}

SqlType Resolver::resultType(Expr& expr, const BuiltInFunction& function) {
  const SqlType& first = expr.args[0]->type;
  switch (function.rule) {
    case ResultRule::Varying:
      return varyingType(first);
    case ResultRule::Substring: {
      SqlType type = varyingType(first);
      const bool constant = expr.args.size() == 3 && expr.args[2]->kind == ExprKind::Literal;
      if (constant) type.length = std::min(type.length, constantArgument(expr, 2));
      return type;
    }
    case ResultRule::Text: {
      SqlType type = varyingType(first);
      type.length = std::max(type.length, isGraphic(type.kind) ? kTextLength / 2 : kTextLength);
      return type;
    }
    case ResultRule::HexText:
      return makeType(TypeKind::Varchar, std::min(2 * byteLength(first), kMaxVarchar));
    case ResultRule::Digits:
      return makeType(TypeKind::Char, declaredSize(first));
    case ResultRule::Number:
      return *commonBase(first, expr.args[1]->type);
    case ResultRule::Timestamp:
      return makeType(TypeKind::Timestamp);
    case ResultRule::Sum:
    case ResultRule::Average: {
      if (first.kind == TypeKind::SmallInt) return makeType(TypeKind::Integer);
      if (first.kind == TypeKind::Real) return makeType(TypeKind::Double);
      if (first.kind != TypeKind::Decimal) return makeType(first.kind);
      const bool average = function.rule == ResultRule::Average;
      const int64_t scale = average ? kMaxPrecision - first.length + first.scale : first.scale;
      return makeType(TypeKind::Decimal, kMaxPrecision, static_cast<int>(scale));
    }
    case ResultRule::Integer:
      return makeType(TypeKind::Integer);
    default:
      return first;
  }
}

int64_t Resolver::constantArgument(const Expr& expr, size_t index) const {
  const Expr& argument = *expr.args[index];
  int64_t value = 0;
  const char* end = argument.text.data() + argument.text.size();
  const bool number = argument.kind == ExprKind::Literal &&
                      std::from_chars(argument.text.data(), end, value).ptr == end;
  if (!number) throw SqlError(-171, {std::to_string(index + 1), shown(expr.name)});
  return value;
}

// INTEGER(a) as CAST(a AS INTEGER), VARCHAR(a, 10) as CAST(a AS VARCHAR(10)), and so on. Without a
// length the result is as long as the argument's text.
void Resolver::turnIntoCast(Expr& expr, const BuiltInFunction& function) {
  SqlType target =
      makeType(function.rule == ResultRule::Timestamp ? TypeKind::Timestamp : function.target);
  const SqlType& argument = expr.args[0]->type;
  if (target.kind == TypeKind::Decimal) {
    target.length = isNumeric(argument.kind) ? asDecimal(argument).length : kConvertedPrecision;
    if (argument.kind == TypeKind::Decimal) target.scale = argument.scale;
    if (expr.args.size() > 1) {
      target.length = constantArgument(expr, 1);
      target.scale = 0;
    }
    if (expr.args.size() > 2) target.scale = static_cast<int>(constantArgument(expr, 2));
    const bool valid = target.length >= 1 && target.length <= kMaxPrecision && target.scale >= 0 &&
                       target.scale <= target.length;
    if (!valid) throw SqlError(-171, {"2", shown(expr.name)});
  } else if (isString(target.kind)) {
    target.length = std::max<int64_t>(1, textLength(argument));
    if (expr.args.size() > 1) target.length = constantArgument(expr, 1);
    if (target.kind == TypeKind::Char) target.length = std::min(target.length, kMaxChar);
    if (target.kind == TypeKind::Varchar) target.length = std::min(target.length, kMaxVarchar);
    if (target.length < 1) throw SqlError(-171, {"2", shown(expr.name)});
  }
  expr.kind = ExprKind::Cast;
  expr.type = std::move(target);
  expr.name = {};
  expr.args.resize(1);
  resolveCast(expr);
}

}  // namespace orv
