// Queries: which tables they read, what columns they have, how they are grouped and sorted.
#include <algorithm>
#include <charconv>
#include <utility>

#include "server/resolve/resolver_impl.h"
#include "server/syntax/tree_walk.h"
#include "server/values/sql_error.h"
#include "server/values/type_rules.h"

namespace orv {
namespace {

// Result columns that have no name of their own, as those of expressions, are called by their
// numbers.
void nameByNumber(std::vector<OutputColumn>& columns) {
  for (size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].name.empty()) columns[i].name = std::to_string(i + 1);
  }
}

// VALUES without column names in the FROM of an INSERT's query.
bool isUnnamedValues(const TableRef& table) {
  return table.kind == RefKind::Derived && table.columnNames.empty() &&
         table.query->kind == QueryKind::Values;
}

// Whether rows without a match on the left are among the rows of this table.
bool keepsRightRows(const TableRef& table) {
  if (table.kind != RefKind::Join) return false;
  return table.join == JoinKind::Right || table.join == JoinKind::Full ||
         keepsRightRows(*table.left) || keepsRightRows(*table.right);
}

}  // namespace

// `target`: for the query of an INSERT, the columns that its values go to.
void Resolver::resolveQuery(Query& query, const Scope* outer, const Columns* target) {
  switch (query.kind) {
    case QueryKind::Select:
      resolveSelect(query, outer, target);
      break;
    case QueryKind::Values:
      resolveValues(query, outer, target);
      resolveOrderBy(query, nullptr);
      break;
    case QueryKind::SetOperation:
      resolveSetOperation(query, outer, target);
      resolveOrderBy(query, nullptr);
      break;
  }
  nameByNumber(query.columns);
}

void Resolver::resolveSelect(Query& query, const Scope* outer, const Columns* target) {
  Scope scope;
  scope.outer = outer;
  scope.query = &query;
  const bool named = target && query.from.size() == 1 && isUnnamedValues(*query.from[0]);
  for (const auto& table : query.from) {
    scope.firstVisible = keepsRightRows(*table) ? scope.tables.size() : 0;
    resolveFrom(*table, scope, named ? target : nullptr);
  }
  scope.firstVisible = 0;
  if (query.where) resolveExpr(query.where, scope);
  for (ExprPtr& expr : query.groupBy) {
    resolveExpr(expr, scope);
    requireType(*expr);
    rejectLargeObject(*expr, "GROUP BY");
  }
  expandStars(query, scope);
  scope.aggregatesAllowed = true;
  for (SelectItem& item : query.items) {
    if (!item.expr->source) resolveExpr(item.expr, scope);
    std::string name = item.as;
    if (name.empty() && item.expr->kind == ExprKind::Column) name = item.expr->name.name;
    query.columns.push_back({std::move(name), item.expr->type});
  }
  if (query.having) resolveExpr(query.having, scope);
  resolveOrderBy(query, &scope);
  if (scope.hasAggregate || query.having || !query.groupBy.empty()) checkGrouping(query, scope);
  if (query.distinct) rejectLargeObjects(query.columns);
}

// A value of an INSERT's own VALUES may be DEFAULT; there each row meets the columns by itself.
void Resolver::resolveValues(Query& query, const Scope* outer, const Columns* target) {
  Scope scope;
  scope.outer = outer;
  scope.query = &query;
  const bool inserted =
      statement_.kind == StatementKind::Insert && &query == statement_.query.get();
  const size_t width = query.rows.front().size();
  const bool typed = target && target->size() == width;
  for (auto& row : query.rows) {
    if (row.size() != width) throw SqlError(inserted ? -117 : -421);
    for (size_t i = 0; i < row.size(); ++i) {
      if (inserted && row[i]->kind == ExprKind::Default) continue;
      resolveExpr(row[i], scope);
      if (typed) giveType(*row[i], (*target)[i].type);
    }
  }
  for (size_t i = 0; i < width; ++i) {
    std::vector<ExprPtr*> values;
    for (auto& row : query.rows) values.push_back(&row[i]);
    OutputColumn column;
    column.type = inserted ? (*values[0])->type : combine(values, -415, {std::to_string(i + 1)});
    query.columns.push_back(std::move(column));
  }
}

void Resolver::resolveSetOperation(Query& query, const Scope* outer, const Columns* target) {
  resolveQuery(*query.left, outer, target);
  resolveQuery(*query.right, outer, target);
  query.height = std::max({query.height, query.left->height + 1, query.right->height + 1});
  const Columns& left = query.left->columns;
  if (left.size() != query.right->columns.size()) throw SqlError(-421);
  for (size_t i = 0; i < left.size(); ++i) {
    settleColumn(*query.right, i, left[i].type);
    settleColumn(*query.left, i, query.right->columns[i].type);
    const SqlType& a = left[i].type;
    const SqlType& b = query.right->columns[i].type;
    OutputColumn column{left[i].name, a};
    if (a.kind != TypeKind::Unknown) {
      const std::optional<SqlType> common = commonBase(a, b);
      if (!common || !sameDistinct(a, b)) throw SqlError(-415, {std::to_string(i + 1)});
      if (!a.isDistinct()) column.type = *common;
      convertColumn(*query.left, i, column.type);
      convertColumn(*query.right, i, column.type);
    }
    column.type.nullable = a.nullable || b.nullable;
    query.columns.push_back(std::move(column));
  }
  if (!query.all) rejectLargeObjects(query.columns);
}

// ---------------------------------------------------------------- FROM

void Resolver::resolveFrom(TableRef& table, Scope& scope, const Columns* target) {
  if (table.kind == RefKind::Join) return resolveJoin(table, scope);
  if (table.kind == RefKind::TableFunction) {
    resolveTableFunction(table, scope);
  } else if (table.kind == RefKind::Derived) {
    resolveDerived(table, scope.outer, target);
    table.height = std::max(table.height, table.query->height + 1);
    scope.query->height = std::max(scope.query->height, table.height + 1);
  } else {
    const Table& base = findTable(table.name);
    table.table = &base;
    table.columns = columnsOf(base);
  }
  if (!table.columnNames.empty()) {
    if (table.columnNames.size() != table.columns.size()) {
      throw SqlError(-158, {table.correlation});
    }
    for (size_t i = 0; i < table.columns.size(); ++i) table.columns[i].name = table.columnNames[i];
  }
  table.alias = nextAlias();
  scope.tables.push_back(&table);
}

// A derived table sees the queries around the one that reads it, not the tables beside it.
void Resolver::resolveDerived(TableRef& table, const Scope* outer, const Columns* target) {
  Query& query = *table.query;
  resolveQuery(query, outer, target);
  settleRest(query);
  table.columns = query.columns;
  if (!target || table.columns.size() != target->size()) return;
  for (size_t i = 0; i < target->size(); ++i) table.columns[i].name = (*target)[i].name;
}

// Table functions on the right take arguments from the left, unless rows of the right side may have
// no left side, or the right side is a join of its own.
void Resolver::resolveJoin(TableRef& join, Scope& scope) {
  const bool leftOptional = join.join == JoinKind::Right || join.join == JoinKind::Full;
  const bool rightOptional = join.join == JoinKind::Left || join.join == JoinKind::Full;
  const size_t visible = scope.firstVisible;
  const size_t begin = scope.tables.size();
  resolveFrom(*join.left, scope, nullptr);
  const size_t middle = scope.tables.size();
  if (leftOptional || join.right->kind == RefKind::Join) scope.firstVisible = middle;
  resolveFrom(*join.right, scope, nullptr);
  scope.firstVisible = begin;
  resolveExpr(join.on, scope);
  scope.firstVisible = visible;
  for (size_t i = begin; i < scope.tables.size(); ++i) {
    if (i < middle ? !leftOptional : !rightOptional) continue;
    for (OutputColumn& column : scope.tables[i]->columns) column.type.nullable = true;
  }
}

// ---------------------------------------------------------------- select list

void Resolver::expandStars(Query& query, const Scope& scope) {
  const bool anyStar = std::ranges::any_of(query.items, &SelectItem::star);
  if (!anyStar) return;
  std::vector<SelectItem> items;
  for (SelectItem& item : query.items) {
    if (item.star) {
      addStarColumns(item, scope, items);
    } else {
      items.push_back(std::move(item));
    }
  }
  query.items = std::move(items);
}

void Resolver::addStarColumns(const SelectItem& item, const Scope& scope,
                              std::vector<SelectItem>& items) {
  bool found = false;
  const QualifiedName& qualifier = item.starQualifier;
  for (const TableRef* table : scope.tables) {
    if (!qualifier.name.empty() && !names(*table, qualifier.schema, qualifier.name)) continue;
    found = true;
    for (size_t i = 0; i < table->columns.size(); ++i) {
      SelectItem column;
      column.expr = std::make_unique<Expr>();
      column.expr->kind = ExprKind::Column;
      column.expr->name.name = table->columns[i].name;
      column.expr->type = table->columns[i].type;
      column.expr->source = table;
      column.expr->columnIndex = static_cast<int>(i);
      items.push_back(std::move(column));
    }
  }
  if (!found) throw SqlError(-204, {display(qualifier)});
}

void Resolver::rejectLargeObjects(const std::vector<OutputColumn>& columns) const {
  for (const OutputColumn& column : columns) {
    if (isLargeObject(column.type.kind)) throw SqlError(-134, {column.name});
  }
}

// `what`: the clause or function, where the expression is no column that could be named.
void Resolver::rejectLargeObject(const Expr& expr, std::string_view what) const {
  const bool named = expr.kind == ExprKind::Column;
  rejectLargeObjects({{named ? expr.name.name : std::string(what), expr.type}});
}

// ---------------------------------------------------------------- columns without a type

// Types the values of one column that have no type yet.
void Resolver::settleColumn(Query& query, size_t column, const SqlType& type) {
  OutputColumn& output = query.columns[column];
  if (output.type.kind != TypeKind::Unknown) return;
  switch (query.kind) {
    case QueryKind::Select:
      giveType(*query.items[column].expr, type);
      break;
    case QueryKind::Values:
      for (auto& row : query.rows) giveType(*row[column], type);
      break;
    case QueryKind::SetOperation:
      settleColumn(*query.left, column, type);
      settleColumn(*query.right, column, type);
      break;
  }
  output.type = type;
  output.type.nullable = true;
}

// Converts the values of one column to the type that it has in a combined result.
void Resolver::convertColumn(Query& query, size_t column, const SqlType& type) {
  switch (query.kind) {
    case QueryKind::Select:
      convertTo(query.items[column].expr, type);
      break;
    case QueryKind::Values:
      for (auto& row : query.rows) convertTo(row[column], type);
      break;
    case QueryKind::SetOperation:
      convertColumn(*query.left, column, type);
      convertColumn(*query.right, column, type);
      break;
  }
  const bool nullable = query.columns[column].type.nullable;
  query.columns[column].type = type;
  query.columns[column].type.nullable = nullable;
}

// For queries whose columns nobody types: an untyped marker is an error, NULL becomes a string.
void Resolver::settleRest(Query& query) {
  for (size_t i = 0; i < query.columns.size(); ++i) {
    if (query.columns[i].type.kind != TypeKind::Unknown) continue;
    if (query.kind == QueryKind::Select) {
      requireType(*query.items[i].expr);
      query.columns[i].type = query.items[i].expr->type;
    } else if (query.kind == QueryKind::Values) {
      for (auto& row : query.rows) requireType(*row[i]);
      query.columns[i].type = query.rows.front()[i]->type;
    } else {
      settleRest(*query.left);
      settleRest(*query.right);
      query.columns[i].type = query.left->columns[i].type;
    }
  }
}

// ---------------------------------------------------------------- ORDER BY

// `scope` is null for set operations and VALUES, which are sorted by result columns only.
void Resolver::resolveOrderBy(Query& query, Scope* scope) {
  for (OrderItem& item : query.orderBy) {
    resolveOrderItem(query, item, scope);
    const bool listed = item.columnNumber >= 0;
    if (!listed && query.distinct) throw SqlError(-214);
    if (listed) {
      rejectLargeObjects({query.columns[static_cast<size_t>(item.columnNumber)]});
    } else {
      rejectLargeObject(*item.expr, "ORDER BY");
    }
  }
}

// A number, the name of a result column, or (in a SELECT) an expression.
void Resolver::resolveOrderItem(Query& query, OrderItem& item, Scope* scope) {
  Expr& expr = *item.expr;
  if (expr.kind == ExprKind::Literal && expr.type.kind == TypeKind::Integer) {
    int number = 0;
    std::from_chars(expr.text.data(), expr.text.data() + expr.text.size(), number);
    if (number < 1 || static_cast<size_t>(number) > query.columns.size()) {
      throw SqlError(-125, {expr.text});
    }
    item.columnNumber = number - 1;
    return;
  }
  if (expr.kind == ExprKind::Column && expr.qualifier.empty()) {
    item.columnNumber = outputColumnNamed(query, expr.name.name);
    if (item.columnNumber >= 0) return;
  }
  if (!scope) throw SqlError(-208, {expr.name.name});
  resolveExpr(item.expr, *scope);
  requireType(*item.expr);
  const auto same = std::ranges::find_if(
      query.items, [&](const SelectItem& listed) { return sameExpr(*listed.expr, *item.expr); });
  if (same != query.items.end()) item.columnNumber = static_cast<int>(same - query.items.begin());
}

// The position of the result column of this name, -1 when there is none.
int Resolver::outputColumnNamed(const Query& query, std::string_view name) const {
  int found = -1;
  for (size_t i = 0; i < query.columns.size(); ++i) {
    if (query.columns[i].name != name) continue;
    const bool another = found >= 0 && !(query.kind == QueryKind::Select &&
                                         sameExpr(*query.items[i].expr,
                                                  *query.items[static_cast<size_t>(found)].expr));
    if (another) throw SqlError(-203, {std::string(name)});
    if (found < 0) found = static_cast<int>(i);
  }
  return found;
}

// ---------------------------------------------------------------- grouping

// Outside column functions, a grouped query names its own columns only as it groups by them.
void Resolver::checkGrouping(const Query& query, const Scope& scope) const {
  const auto grouped = [&](const Expr& expr) {
    return std::ranges::any_of(query.groupBy,
                               [&](const ExprPtr& key) { return sameExpr(*key, expr); });
  };
  const auto visit = [&](const Expr& expr) {
    if (expr.aggregate || grouped(expr)) return Walk::Skip;
    const bool own = expr.kind == ExprKind::Column &&
                     std::ranges::find(scope.tables, expr.source) != scope.tables.end();
    if (own) throw SqlError(-119, {expr.name.name});
    return Walk::Enter;
  };
  for (const SelectItem& item : query.items) walk(*item.expr, visit);
  if (query.having) walk(*query.having, visit);
  for (const OrderItem& item : query.orderBy) {
    if (item.columnNumber < 0) walk(*item.expr, visit);
  }
}

}  // namespace orv
