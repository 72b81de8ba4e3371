// Expressions: columns find their tables, every node gets its type.
#include <algorithm>
#include <utility>

#include "server/resolve/resolver_impl.h"
#include "server/values/sql_error.h"
#include "server/values/type_rules.h"

namespace orv {
namespace {

constexpr int64_t kAuthorizationLength = 128;
constexpr int64_t kPatternLength = 4000;

bool anyNullable(const Expr& expr) {
  return std::ranges::any_of(expr.args, [](const ExprPtr& arg) { return arg->type.nullable; });
}

bool sameArgs(const std::vector<ExprPtr>& a, const std::vector<ExprPtr>& b) {
  return std::ranges::equal(a, b,
                            [](const ExprPtr& x, const ExprPtr& y) { return sameExpr(*x, *y); });
}

}  // namespace

bool sameExpr(const Expr& a, const Expr& b) {
  if (a.kind != b.kind || a.kind == ExprKind::Marker || a.query || b.query) return false;
  if (a.routine != b.routine || (a.routine && !a.routine->deterministic)) return false;
  if (a.kind == ExprKind::Function && a.function == kGenerateUnique) return false;
  if (a.kind == ExprKind::Column) return a.source == b.source && a.columnIndex == b.columnIndex;
  return a.text == b.text && a.op == b.op && a.negated == b.negated && a.distinct == b.distinct &&
         a.hasOperand == b.hasOperand && a.hasElse == b.hasElse && a.function == b.function &&
         sameType(a.type, b.type) && sameArgs(a.args, b.args);
}

void Resolver::resolveArgs(Expr& expr, Scope& scope) {
  for (ExprPtr& argument : expr.args) resolveExpr(argument, scope);
}

void Resolver::resolveExpr(ExprPtr& expr, Scope& scope) {
  resolveNode(expr, scope);
  raiseHeight(*expr);
  if (scope.query) scope.query->height = std::max(scope.query->height, expr->height + 1);
}

// Nodes may have come between this one and those below it.
void Resolver::raiseHeight(Expr& expr) const {
  for (const ExprPtr& argument : expr.args) {
    expr.height = std::max(expr.height, argument->height + 1);
  }
  if (expr.query) expr.height = std::max(expr.height, expr.query->height + 1);
  if (expr.height > kMaxNesting) throw SqlError(-101);
}

void Resolver::resolveNode(ExprPtr& expr, Scope& scope) {
  if (resolveLeaf(*expr, scope)) return;
  if (expr->kind == ExprKind::Function) return resolveFunction(expr, scope);
  if (expr->kind == ExprKind::Case) return resolveCase(*expr, scope);
  if (expr->query) return resolveQueryExpr(*expr, scope);
  resolveArgs(*expr, scope);
  resolveOperator(*expr);
}

// Expressions without operands; false for the others.
bool Resolver::resolveLeaf(Expr& expr, const Scope& scope) const {
  switch (expr.kind) {
    case ExprKind::Literal:
      checkGraphic(expr.type);
      return true;
    case ExprKind::Null:
    case ExprKind::Marker:
      return true;
    case ExprKind::Default:
    case ExprKind::Star:
      throw SqlError(-104, {expr.kind == ExprKind::Star ? "*" : "DEFAULT", "(", "<value>"});
    case ExprKind::Column:
      resolveColumn(expr, scope);
      return true;
    case ExprKind::SpecialRegister:
      resolveRegister(expr);
      return true;
    default:
      return false;
  }
}

// The operands are resolved. AND, OR and NOT ask nothing of theirs.
void Resolver::resolveOperator(Expr& expr) {
  switch (expr.kind) {
    case ExprKind::Negate:
      return resolveNegate(expr);
    case ExprKind::Arithmetic:
      return resolveArithmetic(expr);
    case ExprKind::Concat:
      return resolveConcat(expr);
    case ExprKind::Compare:
      return compareAll(expr, expr.op, 1);
    case ExprKind::Between:
      return compareAll(expr, "BETWEEN", 1);
    case ExprKind::In:
      return compareAll(expr, "IN", 1);
    case ExprKind::Like:
      return resolveLike(expr);
    case ExprKind::IsNull:
      return requireType(*expr.args[0]);
    case ExprKind::Cast:
      return resolveCast(expr);
    default:
      return;
  }
}

// ---------------------------------------------------------------- columns

// Whether a qualifier means this table: its correlation name, or without one the table's name.
bool Resolver::names(const TableRef& table, std::string_view schema, std::string_view name) const {
  if (!table.correlation.empty()) return schema.empty() && table.correlation == name;
  const bool named = table.kind == RefKind::BaseTable && table.name.name == name;
  if (!named) return false;
  return schema.empty() || schema == schemaOf(table.name);
}

// The innermost query whose tables know the name wins.
void Resolver::resolveColumn(Expr& expr, const Scope& scope) const {
  for (const Scope* level = &scope; level; level = level->outer) {
    if (findColumn(expr, *level)) return;
  }
  std::string shown = expr.name.name;
  if (!expr.qualifier.empty()) shown.insert(0, expr.qualifier + ".");
  if (!expr.name.schema.empty()) shown.insert(0, expr.name.schema + ".");
  throw SqlError(-206, {shown});
}

// Columns of a trigger's rows are found under their correlation name only.
bool Resolver::findColumn(Expr& expr, const Scope& scope) const {
  for (size_t i = scope.firstVisible; i < scope.tables.size(); ++i) {
    const TableRef& table = *scope.tables[i];
    const bool meant = expr.qualifier.empty() ? table.kind != RefKind::Transition
                                              : names(table, expr.name.schema, expr.qualifier);
    if (!meant) continue;
    for (size_t column = 0; column < table.columns.size(); ++column) {
      if (table.columns[column].name != expr.name.name) continue;
      if (expr.source) throw SqlError(-203, {expr.name.name});
      expr.source = &table;
      expr.columnIndex = static_cast<int>(column);
      expr.type = table.columns[column].type;
    }
    findForeignColumn(expr, table);
  }
  return expr.source != nullptr;
}

// Columns of other programs' tables are found under their own spelling as well.
void Resolver::findForeignColumn(Expr& expr, const TableRef& table) const {
  if (expr.source || !table.table || !table.table->foreign) return;
  const int column = table.table->columnIndex(expr.name.name);
  if (column < 0 || static_cast<size_t>(column) >= table.columns.size()) return;
  expr.source = &table;
  expr.columnIndex = column;
  expr.type = table.columns[static_cast<size_t>(column)].type;
}

void Resolver::resolveRegister(Expr& expr) const {
  if (expr.op == "CURRENT DATE") {
    expr.type = makeType(TypeKind::Date);
  } else if (expr.op == "CURRENT TIME") {
    expr.type = makeType(TypeKind::Time);
  } else if (expr.op == "CURRENT TIMESTAMP") {
    expr.type = makeType(TypeKind::Timestamp);
  } else {
    expr.type = makeType(TypeKind::Varchar, kAuthorizationLength);
  }
  expr.type.nullable = false;
}

// ---------------------------------------------------------------- operators

void Resolver::resolveNegate(Expr& expr) {
  const SqlType& type = expr.args[0]->type;
  if (type.kind != TypeKind::Unknown && (!isNumeric(type.kind) || type.isDistinct())) {
    throw SqlError(-402, {"-"});
  }
  expr.type = type;
}

void Resolver::resolveArithmetic(Expr& expr) {
  Expr& left = *expr.args[0];
  Expr& right = *expr.args[1];
  giveType(left, right.type);
  giveType(right, left.type);
  if (left.type.kind == TypeKind::Unknown) throw SqlError(-418);
  for (const ExprPtr& operand : expr.args) {
    const bool number = isNumeric(operand->type.kind) && !operand->type.isDistinct();
    if (!number) throw SqlError(-402, {expr.op});
  }
  expr.type = arithmeticType(expr.op, left.type, right.type);
  expr.type.nullable = anyNullable(expr);
}

// A marker beside a string may be longer than that string.
void Resolver::resolveConcat(Expr& expr) {
  for (size_t i = 0; i < 2; ++i) {
    SqlType other = varyingType(expr.args[1 - i]->type);
    if (other.kind == TypeKind::Unknown) continue;
    const int64_t room = isGraphic(other.kind) ? kPatternLength / 2 : kPatternLength;
    other.length = std::max(other.length, room);
    giveType(*expr.args[i], other);
  }
  if (expr.args[0]->type.kind == TypeKind::Unknown) throw SqlError(-418);
  std::optional<SqlType> type = concatType(expr.args[0]->type, expr.args[1]->type);
  if (!type || expr.args[0]->type.isDistinct() || expr.args[1]->type.isDistinct()) {
    throw SqlError(-440, {"||"});
  }
  expr.type = *type;
  expr.type.nullable = anyNullable(expr);
}

// The pattern may be longer than the values it selects, and no blanks may be added to it.
void Resolver::resolveLike(Expr& expr) {
  const bool graphic = isGraphic(expr.args[0]->type.kind) || isGraphic(expr.args[1]->type.kind);
  const SqlType text = graphic ? makeType(TypeKind::VarGraphic, kPatternLength / 2)
                               : makeType(TypeKind::Varchar, kPatternLength);
  for (const ExprPtr& operand : expr.args) {
    giveType(*operand, text);
    const TypeKind kind = operand->type.kind;
    if (!isCharacter(kind) && !isGraphic(kind) && !isBinary(kind)) throw SqlError(-414);
  }
  const bool alike =
      sameDistinct(expr.args[0]->type, expr.args[1]->type) || isConstantOrMarker(*expr.args[1]);
  const bool comparable = hasComparisons(expr.args[0]->type) && hasComparisons(expr.args[1]->type);
  if (!alike || !comparable) throw SqlError(-401, {"LIKE"});
}

void Resolver::resolveCast(Expr& expr) {
  resolveTypeName(expr.type, expr.name);
  Expr& value = *expr.args[0];
  giveType(value, expr.type);
  expr.type.nullable = value.type.nullable;
  if (!castable(expr.type, value.type)) {
    throw SqlError(-461, {typeText(value.type), typeText(expr.type)});
  }
}

// case: [operand] { when then } [else]
void Resolver::resolveCase(Expr& expr, Scope& scope) {
  resolveArgs(expr, scope);
  const size_t first = expr.hasOperand ? 1 : 0;
  const size_t pairs = (expr.args.size() - first) / 2;
  if (expr.hasOperand) {
    ExprPtr otherwise;
    if (expr.hasElse) {
      otherwise = std::move(expr.args.back());
      expr.args.pop_back();
    }
    compareAll(expr, "CASE", 1, 2);
    if (otherwise) expr.args.push_back(std::move(otherwise));
  }
  std::vector<ExprPtr*> results;
  for (size_t i = 0; i < pairs; ++i) results.push_back(&expr.args[first + 2 * i + 1]);
  if (expr.hasElse) results.push_back(&expr.args.back());
  expr.type = combine(results, -581, {});
  expr.type.nullable = expr.type.nullable || !expr.hasElse;
}

// ---------------------------------------------------------------- queries in expressions

void Resolver::resolveQueryExpr(Expr& expr, Scope& scope) {
  resolveArgs(expr, scope);
  Query& query = *expr.query;
  resolveQuery(query, &scope);
  if (expr.kind == ExprKind::Exists) return settleRest(query);
  if (query.columns.size() != 1) throw SqlError(-412);
  if (expr.kind == ExprKind::Scalar) {
    expr.type = query.columns[0].type;
    expr.type.nullable = true;
    return;
  }
  Expr& operand = *expr.args[0];
  settleColumn(query, 0, operand.type);
  settleRest(query);
  giveType(operand, query.columns[0].type);
  Expr result;
  result.kind = ExprKind::Column;
  result.type = query.columns[0].type;
  checkComparable(operand, result, expr.kind == ExprKind::In ? "IN" : expr.op);
  if (isDatetime(result.type.kind)) convertTo(expr.args[0], result.type);
  if (isDatetime(operand.type.kind)) convertColumn(query, 0, operand.type);
}

}  // namespace orv
