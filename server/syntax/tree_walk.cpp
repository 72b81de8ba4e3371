#include "server/syntax/tree_walk.h"

namespace orv {
namespace {

void walkTable(const TableRef& table, const ExprVisitor& visit) {
  if (table.query) walk(*table.query, visit);
  for (const ExprPtr& argument : table.functionArgs) walk(*argument, visit);
  if (table.left) walkTable(*table.left, visit);
  if (table.right) walkTable(*table.right, visit);
  if (table.on) walk(*table.on, visit);
}

}  // namespace

void walk(const Expr& expr, const ExprVisitor& visit) {
  if (visit(expr) == Walk::Skip) return;
  for (const ExprPtr& argument : expr.args) walk(*argument, visit);
  if (expr.query) walk(*expr.query, visit);
}

void walk(const Query& query, const ExprVisitor& visit) {
  for (const SelectItem& item : query.items) {
    if (item.expr) walk(*item.expr, visit);
  }
  for (const auto& table : query.from) walkTable(*table, visit);
  if (query.where) walk(*query.where, visit);
  for (const ExprPtr& key : query.groupBy) walk(*key, visit);
  if (query.having) walk(*query.having, visit);
  for (const auto& row : query.rows) {
    for (const ExprPtr& value : row) walk(*value, visit);
  }
  if (query.left) walk(*query.left, visit);
  if (query.right) walk(*query.right, visit);
  for (const OrderItem& item : query.orderBy) walk(*item.expr, visit);
}

}  // namespace orv
