// Queries: SELECT, VALUES and set operations.
#include <algorithm>

#include "server/engine/sqlite/renderer.h"
#include "server/sql/sql_error.h"

namespace orv::sqlite {
namespace {

bool isPlain(const Query& q) {
  return q.orderBy.empty() && !q.fetchFirst;
}

bool hasOuterSide(const TableRef& table, JoinKind kind) {
  if (table.kind != RefKind::Join) return false;
  return table.join == kind || hasOuterSide(*table.left, kind) || hasOuterSide(*table.right, kind);
}

std::string_view joinWords(JoinKind kind) {
  switch (kind) {
    case JoinKind::Left:
      return " LEFT JOIN ";
    case JoinKind::Right:
      return " RIGHT JOIN ";
    case JoinKind::Full:
      return " FULL JOIN ";
    default:
      return " JOIN ";
  }
}

}  // namespace

void Renderer::query(const Query& q) {
  switch (q.kind) {
    case QueryKind::Select:
      select(q);
      break;
    case QueryKind::Values:
      values(q);
      break;
    case QueryKind::SetOperation:
      setOperation(q);
      break;
  }
  orderBy(q);
  if (q.fetchFirst) out_ << " LIMIT " << *q.fetchFirst;
}

void Renderer::select(const Query& q) {
  out_ << "SELECT ";
  if (q.distinct) out_ << "DISTINCT ";
  Comma comma;
  int position = 0;
  for (const SelectItem& item : q.items) {
    out_ << comma;
    expression(*item.expr);
    out_ << " AS \"C" << ++position << "\"";
  }
  selectBody(q);
}

// Everything after the select list.
void Renderer::selectBody(const Query& q) {
  from(q);
  if (q.where) {
    out_ << " WHERE ";
    expression(*q.where);
  }
  if (!q.groupBy.empty()) {
    out_ << " GROUP BY ";
    Comma groupComma;
    for (const ExprPtr& key : q.groupBy) {
      out_ << groupComma;
      // A bare number would be the number of a column.
      if (key->kind == ExprKind::Literal) out_ << "+";
      expression(*key);
    }
  }
  if (q.having) {
    out_ << " HAVING ";
    expression(*q.having);
  }
}

void Renderer::values(const Query& q) {
  if (q.rows.size() == 1) {
    out_ << "SELECT ";
    Comma comma;
    int position = 0;
    for (const ExprPtr& value : q.rows.front()) {
      out_ << comma;
      expression(*value);
      out_ << " AS \"C" << ++position << "\"";
    }
    return;
  }
  out_ << "SELECT ";
  Comma nameComma;
  for (int i = 1; i <= static_cast<int>(q.columns.size()); ++i) {
    out_ << nameComma << "column" << i << " AS \"C" << i << "\"";
  }
  out_ << " FROM (VALUES ";
  Comma rowComma;
  for (const auto& row : q.rows) {
    out_ << rowComma << "(";
    Comma comma;
    for (const ExprPtr& value : row) {
      out_ << comma;
      expression(*value);
    }
    out_ << ")";
  }
  out_ << ")";
}

// SQLite evaluates set operations from left to right, without parentheses.
void Renderer::setOperation(const Query& q) {
  if (q.all && q.op != "UNION") {
    multisetOperation(q);
    return;
  }
  bool leftStands = q.left->kind == QueryKind::Select || (q.left->kind == QueryKind::SetOperation &&
                                                          (!q.left->all || q.left->op == "UNION"));
  setOperand(*q.left, leftStands && isPlain(*q.left));
  out_ << " " << Verbatim{q.op};
  if (q.all) out_ << " ALL";
  out_ << " ";
  setOperand(*q.right, q.right->kind == QueryKind::Select && isPlain(*q.right));
}

void Renderer::setOperand(const Query& q, bool direct) {
  if (direct) {
    query(q);
    return;
  }
  out_ << "SELECT * FROM (";
  query(q);
  out_ << ")";
}

// EXCEPT ALL and INTERSECT ALL count equal rows: numbering them turns the rows into a set.
void Renderer::multisetOperation(const Query& q) {
  out_ << "SELECT ";
  columnList(q.columns.size());
  out_ << " FROM (";
  for (const Query* side : {q.left.get(), q.right.get()}) {
    if (side == q.right.get()) out_ << " " << Verbatim{q.op} << " ";
    out_ << "SELECT *,row_number() OVER (PARTITION BY ";
    columnList(q.columns.size());
    out_ << ") AS \"N\" FROM (";
    query(*side);
    out_ << ")";
  }
  out_ << ")";
}

void Renderer::columnList(size_t count) {
  Comma comma;
  for (size_t i = 1; i <= count; ++i) out_ << comma << "\"C" << static_cast<int64_t>(i) << "\"";
}

void Renderer::from(const Query& q) {
  if (q.from.empty()) return;
  out_ << " FROM ";
  // SQLite joins strictly from left to right, the comma included: what must not take in the tables
  // before it stands in parentheses.
  bool several = q.from.size() > 1;
  Comma comma;
  for (const auto& table : q.from) {
    out_ << comma;
    bool apart =
        several && (hasOuterSide(*table, JoinKind::Right) || hasOuterSide(*table, JoinKind::Full));
    if (apart) out_ << "(";
    tableRef(*table);
    if (apart) out_ << ")";
  }
}

void Renderer::tableRef(const TableRef& table) {
  switch (table.kind) {
    case RefKind::BaseTable:
      out_ << Name{table.table->storedName} << " AS " << Name{table.alias};
      break;
    case RefKind::Derived:
      out_ << "(";
      query(*table.query);
      out_ << ") AS " << Name{table.alias};
      break;
    case RefKind::Join:
      join(table);
      break;
    case RefKind::TableFunction:
      throw SqlError(-440, {table.name.name});
  }
}

void Renderer::join(const TableRef& table) {
  tableRef(*table.left);
  out_ << Verbatim{joinWords(table.join)};
  bool apart = table.right->kind == RefKind::Join;
  if (apart) out_ << "(";
  tableRef(*table.right);
  if (apart) out_ << ")";
  if (table.on) {
    out_ << " ON ";
    expression(*table.on);
  }
}

// Nulls sort above all values; SQLite's own order is the other one.
void Renderer::orderBy(const Query& q) {
  if (q.orderBy.empty()) return;
  out_ << " ORDER BY ";
  Comma comma;
  for (const OrderItem& item : q.orderBy) {
    out_ << comma;
    const SqlType* type = nullptr;
    if (item.columnNumber >= 0) {
      out_ << item.columnNumber + 1;
      type = &q.columns[static_cast<size_t>(item.columnNumber)].type;
    } else {
      expression(*item.expr);
      type = &item.expr->type;
    }
    if (type->kind == TypeKind::Decimal) out_ << " COLLATE ORV_DECIMAL";
    if (item.descending) out_ << " DESC";
    if (type->nullable) {
      if (item.descending) {
        out_ << " NULLS FIRST";
      } else {
        out_ << " NULLS LAST";
      }
    }
  }
}

}  // namespace orv::sqlite
