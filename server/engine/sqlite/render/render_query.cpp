// Queries: SELECT, VALUES and set operations.
#include <algorithm>

#include "server/engine/sqlite/render/renderer.h"
#include "server/resolve/built_in_functions.h"
#include "server/syntax/tree_walk.h"

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

// More restrictions than this are not handed on, lest a long statement grow without bound.
constexpr size_t kMaxRestrictions = 16;

// The conditions that must all hold for `condition` to hold.
void collectTerms(const Expr* condition, std::vector<const Expr*>& terms) {
  if (!condition) return;
  if (condition->kind != ExprKind::And) return terms.push_back(condition);
  for (const ExprPtr& operand : condition->args) collectTerms(operand.get(), terms);
}

bool isColumnOf(const Expr& e, const TableRef& table) {
  return e.kind == ExprKind::Column && e.source == &table;
}

bool isValue(const Expr& e) {
  return e.kind == ExprKind::Marker || e.kind == ExprKind::Literal ||
         (e.kind == ExprKind::Cast && isValue(*e.args[0]));
}

bool holds(const Expr& e, bool (*wanted)(const Expr&)) {
  bool found = false;
  walk(e, [&](const Expr& part) {
    found = found || wanted(part);
    return Walk::Enter;
  });
  return found;
}

bool namesColumn(const Expr& e) {
  return holds(e, [](const Expr& part) { return part.kind == ExprKind::Column; });
}

bool isVariant(const Expr& e) {
  return holds(e, [](const Expr& part) {
    return (part.routine && !part.routine->deterministic) || part.function == kGenerateUnique;
  });
}

// Whether a result column comes from a function that may give another value each time. SQLite would
// merge such a query into the one around it, and call the function wherever that names the column.
bool givesVariant(const Query& q) {
  const auto variant = [](const ExprPtr& e) { return isVariant(*e); };
  if (q.kind == QueryKind::SetOperation) return givesVariant(*q.left) || givesVariant(*q.right);
  return std::ranges::any_of(q.items, variant, &SelectItem::expr) ||
         std::ranges::any_of(q.rows,
                             [&](const auto& row) { return std::ranges::any_of(row, variant); });
}

bool isCall(const TableRef& table) {
  return table.kind == RefKind::TableFunction;
}

// A call of a table function that is the same whatever rows the tables beside it have.
bool isConstantCall(const TableRef& table) {
  return isCall(table) && std::ranges::none_of(table.functionArgs, [](const ExprPtr& argument) {
           return namesColumn(*argument);
         });
}

bool isDerived(const TableRef& table) {
  return table.kind == RefKind::Derived;
}

}  // namespace

// What a derived table of `q` is restricted to: by the conditions of `q`, and by what `q` itself is
// restricted to in columns that are the derived table's.
Renderer::Restrictions Renderer::restrictionsOf(const TableRef& derived, const Query& q,
                                                const Restrictions& outer) {
  Restrictions found;
  const auto note = [&](const Expr& column, const Expr& value) {
    if (!isColumnOf(column, derived) || !isValue(value)) return;
    found.push_back({static_cast<size_t>(column.columnIndex), &value});
  };
  std::vector<const Expr*> terms;
  collectTerms(q.where.get(), terms);
  for (const Expr* term : terms) {
    if (term->kind != ExprKind::Compare || term->op != "=") continue;
    note(*term->args[0], *term->args[1]);
    note(*term->args[1], *term->args[0]);
  }
  for (const Restriction& restriction : outer) {
    note(*q.items[restriction.column].expr, *restriction.value);
  }
  if (found.size() > kMaxRestrictions) found.resize(kMaxRestrictions);
  return found;
}

// `restrictions` are those of the result before it is cut to a number of rows.
void Renderer::query(const Query& q, const Restrictions& restrictions) {
  const Restrictions none;
  const Restrictions& known = q.fetchFirst ? none : restrictions;
  switch (q.kind) {
    case QueryKind::Select:
      select(q, known);
      break;
    case QueryKind::Values:
      values(q);
      break;
    case QueryKind::SetOperation:
      setOperation(q, known);
      break;
  }
  orderBy(q);
  if (q.fetchFirst) out_ << " LIMIT " << *q.fetchFirst;
}

// Of a view: SQLite merges it, too, into the query around it.
void Renderer::viewQuery(const Query& q) {
  const bool once = givesVariant(q);
  if (once) out_ << Verbatim{kOnce};
  query(q);
  if (once) out_ << Verbatim{kOnceEnd};
}

void Renderer::select(const Query& q, const Restrictions& restrictions) {
  out_ << "SELECT ";
  if (q.distinct) out_ << "DISTINCT ";
  Comma comma;
  int position = 0;
  for (const SelectItem& item : q.items) {
    out_ << comma;
    gathered(*item.expr);
    out_ << " AS \"C" << ++position << "\"";
  }
  selectBody(q, restrictions);
}

// Everything after the select list.
void Renderer::selectBody(const Query& q, const Restrictions& restrictions) {
  from(q, restrictions);
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
      gathered(*key);
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
      gathered(*value);
      out_ << " AS \"C" << ++position << "\"";
    }
    return;
  }
  out_ << "SELECT ";
  Comma nameComma;
  for (int i = 1; i <= static_cast<int>(q.columns.size()); ++i) {
    out_ << nameComma << "column" << i;
    gatheredTexts(q.columns[static_cast<size_t>(i - 1)].type);
    out_ << " AS \"C" << i << "\"";
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
void Renderer::setOperation(const Query& q, const Restrictions& restrictions) {
  if (q.all && q.op != "UNION") {
    multisetOperation(q, restrictions);
    return;
  }
  bool leftStands = q.left->kind == QueryKind::Select || (q.left->kind == QueryKind::SetOperation &&
                                                          (!q.left->all || q.left->op == "UNION"));
  setOperand(*q.left, leftStands && isPlain(*q.left), restrictions);
  out_ << " " << Verbatim{q.op};
  if (q.all) out_ << " ALL";
  out_ << " ";
  setOperand(*q.right, q.right->kind == QueryKind::Select && isPlain(*q.right), restrictions);
}

void Renderer::setOperand(const Query& q, bool direct, const Restrictions& restrictions) {
  const bool handsOn = q.kind == QueryKind::SetOperation;
  if (direct && (handsOn || restrictions.empty())) return query(q, restrictions);
  out_ << "SELECT * FROM (";
  query(q, restrictions);
  out_ << ")";
  if (!handsOn) restricted(q, restrictions);
}

// The condition of an operand of a set operation. SQLite itself looks for one in the condition of
// the whole only when all columns compare by their bytes, which texts do not. Texts that are equal
// but for blanks at their ends may count as equal in the whole, so they all pass.
void Renderer::restricted(const Query& q, const Restrictions& restrictions) {
  bool first = true;
  for (const Restriction& restriction : restrictions) {
    out_ << Verbatim{first ? " WHERE (" : " AND ("};
    first = false;
    const SqlType& type = q.columns[restriction.column].type;
    const Comparison kind = comparisonOf(type, restriction.value->type);
    const std::string_view cast = castFor(type, kind);
    if (!cast.empty()) out_ << "CAST(";
    out_ << "\"C" << static_cast<int64_t>(restriction.column + 1) << "\"";
    if (!cast.empty()) out_ << " AS " << Verbatim{cast} << ")";
    collation(kind, false);
    out_ << " = ";
    operand(*restriction.value, kind);
    out_ << ")";
  }
}

// EXCEPT ALL and INTERSECT ALL count equal rows: numbering them turns the rows into a set.
void Renderer::multisetOperation(const Query& q, const Restrictions& restrictions) {
  out_ << "SELECT ";
  columnList(q.columns.size());
  out_ << " FROM (";
  for (const Query* side : {q.left.get(), q.right.get()}) {
    if (side == q.right.get()) out_ << " " << Verbatim{q.op} << " ";
    out_ << "SELECT *,row_number() OVER (PARTITION BY ";
    columnList(q.columns.size());
    out_ << ") AS \"N\" FROM (";
    query(*side, restrictions);
    out_ << ")";
    restricted(*side, restrictions);
  }
  out_ << ")";
}

void Renderer::columnList(size_t count) {
  Comma comma;
  for (size_t i = 1; i <= count; ++i) out_ << comma << "\"C" << static_cast<int64_t>(i) << "\"";
}

void Renderer::from(const Query& q, const Restrictions& restrictions) {
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
    if (several && isConstantCall(*table)) {
      tableCallOnce(*table);
    } else if (isDerived(*table)) {
      tableRef(*table, restrictionsOf(*table, q, restrictions));
    } else {
      tableRef(*table);
    }
    if (apart) out_ << ")";
  }
}

void Renderer::tableRef(const TableRef& table, const Restrictions& restrictions) {
  switch (table.kind) {
    case RefKind::BaseTable:
      out_ << Name{table.table->storedName} << " AS " << Name{table.alias};
      break;
    case RefKind::Derived:
      derived(table, restrictions);
      break;
    case RefKind::Join:
      join(table);
      break;
    case RefKind::TableFunction:
      tableCall(table);
      break;
    case RefKind::Transition:
      break;  // stands in no FROM
  }
}

void Renderer::derived(const TableRef& table, const Restrictions& restrictions) {
  const bool once = givesVariant(*table.query);
  out_ << "(";
  if (once) out_ << Verbatim{kOnce};
  query(*table.query, once ? Restrictions() : restrictions);
  if (once) out_ << Verbatim{kOnceEnd};
  out_ << ") AS " << Name{table.alias};
}

// The rows of one call, however often they are passed through.
void Renderer::tableCallOnce(const TableRef& table) {
  out_ << "(" << Verbatim{kOnce} << "SELECT ";
  columnList(table.columns.size());
  out_ << " FROM ";
  tableCall(table);
  out_ << Verbatim{kOnceEnd} << ") AS " << Name{table.alias};
}

// SQLite undoes a statement that failed half-way only when it calls a function: that a virtual
// table may fail does not count.
void Renderer::tableCall(const TableRef& table) {
  out_ << "ORV_TABLE(ORV_NOT_NULL(" << TextLiteral{table.routine->schema} << ",'')";
  callArguments(*table.routine, table.functionArgs);
  out_ << ") AS " << Name{table.alias};
}

void Renderer::join(const TableRef& table) {
  if (isConstantCall(*table.left)) {
    tableCallOnce(*table.left);
  } else {
    tableRef(*table.left);
  }
  out_ << Verbatim{joinWords(table.join)};
  bool apart = table.right->kind == RefKind::Join;
  // SQLite goes through the right table of a RIGHT JOIN a second time, without the arguments.
  const bool twice = table.join == JoinKind::Right;
  if (apart) out_ << "(";
  if (isConstantCall(*table.right) || (twice && isCall(*table.right))) {
    tableCallOnce(*table.right);
  } else {
    tableRef(*table.right);
  }
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
      gathered(*item.expr);
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
