// Parsed and resolved trees as short text: every operator in parentheses, a column as T1.C once it
// has its table.
#pragma once

#include <string>
#include <vector>

#include "server/syntax/ast.h"

namespace orv {

std::string treeText(const Query& query);
std::string treeText(const Expr& expr);

inline std::string listText(const std::vector<ExprPtr>& list, const char* separator = ",") {
  std::string text;
  for (const ExprPtr& item : list) {
    if (&item != &list.front()) text += separator;
    text += treeText(*item);
  }
  return text;
}

inline std::string columnText(const Expr& expr) {
  if (expr.source) return expr.source->alias + "." + expr.name.name;
  std::string text = expr.name.name;
  if (!expr.qualifier.empty()) text.insert(0, expr.qualifier + ".");
  if (!expr.name.schema.empty()) text.insert(0, expr.name.schema + ".");
  return text;
}

inline std::string caseText(const Expr& expr) {
  std::string text = "CASE";
  size_t i = 0;
  if (expr.hasOperand) text += " " + treeText(*expr.args[i++]);
  for (; i + 1 < expr.args.size(); i += 2) {
    text += " WHEN " + treeText(*expr.args[i]) + " THEN " + treeText(*expr.args[i + 1]);
  }
  if (expr.hasElse) text += " ELSE " + treeText(*expr.args.back());
  return text + " END";
}

inline std::string treeText(const Expr& expr) {
  const std::string no = expr.negated ? "NOT " : "";
  const auto arg = [&](size_t i) { return treeText(*expr.args[i]); };
  switch (expr.kind) {
    case ExprKind::Literal:
      return expr.type.kind == TypeKind::Varchar ? "'" + expr.text + "'" : expr.text;
    case ExprKind::Null:
      return "NULL";
    case ExprKind::Default:
      return "DEFAULT";
    case ExprKind::Marker:
      return "?" + std::to_string(expr.markerIndex);
    case ExprKind::Column:
      return columnText(expr);
    case ExprKind::Star:
      return "*";
    case ExprKind::SpecialRegister:
      return expr.op;
    case ExprKind::Negate:
      return "-" + arg(0);
    case ExprKind::Arithmetic:
    case ExprKind::Concat:
    case ExprKind::Compare:
      return "(" + arg(0) + expr.op + arg(1) + ")";
    case ExprKind::And:
      return "(" + listText(expr.args, " AND ") + ")";
    case ExprKind::Or:
      return "(" + listText(expr.args, " OR ") + ")";
    case ExprKind::Not:
      return "NOT " + arg(0);
    case ExprKind::IsNull:
      return "(" + arg(0) + " IS " + no + "NULL)";
    case ExprKind::Between:
      return "(" + arg(0) + " " + no + "BETWEEN " + arg(1) + " AND " + arg(2) + ")";
    case ExprKind::In: {
      const std::string all = listText(expr.args);
      const std::string rest = expr.query ? treeText(*expr.query) : all.substr(arg(0).size() + 1);
      return "(" + arg(0) + " " + no + "IN (" + rest + "))";
    }
    case ExprKind::Like:
      return "(" + arg(0) + " " + no + "LIKE " + arg(1) +
             (expr.args.size() > 2 ? " ESCAPE " + arg(2) : "") + ")";
    case ExprKind::Exists:
      return "EXISTS(" + treeText(*expr.query) + ")";
    case ExprKind::Scalar:
      return "(" + treeText(*expr.query) + ")";
    case ExprKind::Quantified:
      return "(" + arg(0) + expr.op + expr.text + "(" + treeText(*expr.query) + "))";
    case ExprKind::Case:
      return caseText(expr);
    case ExprKind::Cast:
      return "CAST(" + arg(0) + " AS " +
             (expr.type.kind == TypeKind::Unknown ? expr.name.name : typeText(expr.type)) + ")";
    case ExprKind::Function:
      return (expr.function.empty() ? expr.name.name : expr.function) + "(" +
             (expr.distinct ? "DISTINCT " : "") + listText(expr.args) + ")";
  }
  return "";
}

inline std::string tableText(const TableRef& table) {
  constexpr const char* kJoins[] = {" JOIN ", " LEFT JOIN ", " RIGHT JOIN ", " FULL JOIN "};
  if (table.kind == RefKind::Join) {
    return "[" + tableText(*table.left) + kJoins[static_cast<size_t>(table.join)] +
           tableText(*table.right) + " ON " + treeText(*table.on) + "]";
  }
  std::string text = table.name.name;
  if (!table.name.schema.empty()) text.insert(0, table.name.schema + ".");
  if (table.kind == RefKind::Derived) text = "(" + treeText(*table.query) + ")";
  if (table.kind == RefKind::TableFunction) text += "(" + listText(table.functionArgs) + ")";
  if (!table.correlation.empty()) text += " " + table.correlation;
  for (size_t i = 0; i < table.columnNames.size(); ++i) {
    text += (i == 0 ? "(" : ",") + table.columnNames[i];
  }
  return table.columnNames.empty() ? text : text + ")";
}

inline std::string itemText(const SelectItem& item) {
  const std::string& qualifier = item.starQualifier.name;
  if (item.star) return qualifier.empty() ? "*" : qualifier + ".*";
  return treeText(*item.expr) + (item.as.empty() ? "" : " " + item.as);
}

inline std::string bodyText(const Query& query) {
  std::string text;
  if (query.kind == QueryKind::SetOperation) {
    return "{" + treeText(*query.left) + "} " + query.op + (query.all ? " ALL {" : " {") +
           treeText(*query.right) + "}";
  }
  if (query.kind == QueryKind::Values) {
    for (const auto& row : query.rows) text += (text.empty() ? "(" : ",(") + listText(row) + ")";
    return "VALUES " + text;
  }
  for (const SelectItem& item : query.items) text += (text.empty() ? "" : ",") + itemText(item);
  text.insert(0, query.distinct ? "SELECT DISTINCT " : "SELECT ");
  for (const auto& table : query.from) {
    text += (&table == &query.from.front() ? " FROM " : ",") + tableText(*table);
  }
  if (query.where) text += " WHERE " + treeText(*query.where);
  if (!query.groupBy.empty()) text += " GROUP BY " + listText(query.groupBy);
  if (query.having) text += " HAVING " + treeText(*query.having);
  return text;
}

inline std::string treeText(const Query& query) {
  std::string text = bodyText(query);
  for (const OrderItem& item : query.orderBy) {
    text += &item == &query.orderBy.front() ? " ORDER BY " : ",";
    text += item.columnNumber >= 0 ? "#" + std::to_string(item.columnNumber) : treeText(*item.expr);
    if (item.descending) text += " DESC";
  }
  if (query.fetchFirst) text += " FETCH " + std::to_string(*query.fetchFirst);
  return text;
}

}  // namespace orv
