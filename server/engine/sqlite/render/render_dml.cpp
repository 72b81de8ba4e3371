// INSERT, UPDATE and DELETE. Values that are certain to be of their column's type already, markers
// above all, are written as they are: an INSERT of markers becomes a plain INSERT ... VALUES.
#include <algorithm>
#include <utility>

#include "server/engine/sqlite/render/renderer.h"
#include "server/syntax/tree_walk.h"
#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"

namespace orv::sqlite {
bool isBareValues(const Query& q) {
  return q.kind == QueryKind::Values && q.orderBy.empty() && !q.fetchFirst;
}

bool isSmall(const Expr& value) {
  switch (value.kind) {
    case ExprKind::Marker:
    case ExprKind::Null:
      return true;
    case ExprKind::Cast:
      return isSmall(*value.args[0]);
    case ExprKind::Literal:
      return value.text.size() <= 64;
    default:
      return false;
  }
}

const TableRef* singleRowSource(const Query& q) {
  bool simple = q.kind == QueryKind::Select && !q.distinct && q.from.size() == 1 &&
                q.groupBy.empty() && !q.having && q.orderBy.empty() && !q.fetchFirst;
  if (!simple) return nullptr;
  const TableRef& table = *q.from.front();
  if (table.kind != RefKind::Derived || !isBareValues(*table.query)) return nullptr;
  if (table.query->rows.size() != 1) return nullptr;
  const auto& row = table.query->rows.front();
  if (!std::all_of(row.begin(), row.end(), [](const ExprPtr& e) { return isSmall(*e); })) {
    return nullptr;
  }
  for (const SelectItem& item : q.items) {
    // A column function would make one row out of none.
    if (item.expr->kind != ExprKind::Column || item.expr->source != &table) return nullptr;
  }
  return &table;
}

std::string defaultText(const Column& column) {
  return column.storedDefault.empty() ? "NULL" : "(" + column.storedDefault + ")";
}

bool isRowNumber(const Table& table, const Column& column) {
  return !table.foreign && column.type.kind == TypeKind::Integer && table.primaryKey &&
         table.primaryKey->columns.size() == 1 &&
         &table.columns[static_cast<size_t>(table.primaryKey->columns.front())] == &column;
}

std::string_view rowNumberName(const Table& table) {
  for (std::string_view name : {"rowid", "_rowid_", "oid"}) {
    bool hidden = std::any_of(table.columns.begin(), table.columns.end(), [&](const Column& c) {
      return foldAscii(c.storedName) == foldAscii(name);
    });
    if (!hidden) return name;
  }
  return "rowid";
}

std::string qualifiedColumn(const Table& table, const Column& column) {
  return table.schema + "." + table.name + "." + column.name;
}

namespace {

// The row number column when an INSERT leaves it out: SQLite would number the row by itself.
const Column* omittedRowNumber(const Statement& s) {
  if (!s.table->primaryKey) return nullptr;
  int position = s.table->primaryKey->columns.front();
  const Column& column = s.table->columns[static_cast<size_t>(position)];
  const auto& given = s.insertColumnIndexes;
  bool present = std::find(given.begin(), given.end(), position) != given.end();
  return !present && isRowNumber(*s.table, column) ? &column : nullptr;
}

// Whether a new value comes from other rows of the table that is being changed: SQLite would read
// rows that it has changed already.
bool readsTarget(const Statement& s) {
  bool found = false;
  const auto look = [&](const Expr& value) {
    walk(value, [&](const Expr& e) {
      found = found || (e.kind == ExprKind::Column && e.source != s.target.get() &&
                        e.source->kind != RefKind::Transition && e.source->table == s.table);
      return Walk::Enter;
    });
  };
  for (const Assignment& assignment : s.assignments) look(*assignment.value);
  for (const auto& trigger : s.beforeTriggers) {
    if (trigger->when) look(*trigger->when);
    for (const TriggerStep& step : trigger->steps) {
      for (const Assignment& assignment : step.assignments) look(*assignment.value);
    }
  }
  return found;
}

const Column& insertColumn(const Statement& s, size_t position) {
  return s.table->columns[static_cast<size_t>(s.insertColumnIndexes[position])];
}

// The result of a query as a table that its columns are read from.
Table resultTable(const Query& q) {
  Table table;
  for (size_t i = 0; i < q.columns.size(); ++i) {
    Column& column = table.columns.emplace_back();
    column.name = q.columns[i].name;
    column.storedName = "C" + std::to_string(i + 1);
    column.type = q.columns[i].type;
    column.isForeign = foreignColumn(q, i) != nullptr;
  }
  return table;
}

// The marker itself where it is only cast to the type that it has.
const Expr& withoutIdleCasts(const Expr& e) {
  const Expr* value = &e;
  while (value->kind == ExprKind::Cast && value->args[0]->kind == ExprKind::Marker &&
         sameType(value->type, value->args[0]->type)) {
    value = value->args[0].get();
  }
  return *value;
}

}  // namespace

void Renderer::statement(const Statement& s) {
  switch (s.kind) {
    case StatementKind::Insert:
      insert(s);
      break;
    case StatementKind::Update:
      update(s);
      break;
    case StatementKind::Delete:
      remove(s);
      break;
    default:
      query(*s.query);
  }
}

void Renderer::insert(const Statement& s) {
  if (!s.beforeTriggers.empty()) return insertTriggered(s);
  out_ << "INSERT INTO " << Name{s.table->storedName} << "(";
  Comma comma;
  for (size_t i = 0; i < s.insertColumnIndexes.size(); ++i) {
    out_ << comma << Name{insertColumn(s, i).storedName};
  }
  if (const Column* key = omittedRowNumber(s)) {
    if (key->storedDefault.empty()) throw SqlError(-407, {qualifiedColumn(*s.table, *key)});
    out_ << comma << Name{key->storedName};
  }
  out_ << ")";
  const Query& q = *s.query;
  if (isBareValues(q)) {
    out_ << " VALUES ";
    Comma rowComma;
    for (const auto& row : q.rows) {
      out_ << rowComma;
      insertRow(s, row);
    }
    return;
  }
  // In a trigger nothing runs before the statement.
  inlined_ = q.where && inTrigger_ ? nullptr : singleRowSource(q);
  if (inlined_) {
    if (q.where) condition(*q.where);
    out_ << " VALUES (";
    Comma valueComma;
    for (size_t i = 0; i < q.items.size(); ++i) {
      out_ << valueComma;
      auto source = static_cast<size_t>(q.items[i].expr->columnIndex);
      assigned(*inlined_->query->rows.front()[source], *s.table, insertColumn(s, i), true);
    }
    omittedKey(s, valueComma);
    out_ << ")";
    inlined_ = nullptr;
    return;
  }
  insertSelect(s);
}

// The condition of a single row, as a query of its own. SQLite secures an INSERT ... SELECT against
// the failure of a later row, which costs as much as the insert itself.
void Renderer::condition(const Expr& where) {
  SqlText insert = std::exchange(out_, SqlText());
  out_ << "SELECT 1 WHERE ";
  expression(where);
  condition_ = std::exchange(out_, std::move(insert)).take();
}

void Renderer::insertRow(const Statement& s, const std::vector<ExprPtr>& row) {
  out_ << "(";
  Comma comma;
  for (size_t i = 0; i < row.size(); ++i) {
    out_ << comma;
    assigned(*row[i], *s.table, insertColumn(s, i), true);
  }
  omittedKey(s, comma);
  out_ << ")";
}

void Renderer::omittedKey(const Statement& s, Comma& comma) {
  const Column* key = keysUnguarded_ ? nullptr : omittedRowNumber(s);
  if (key) out_ << comma << "(" << Verbatim{key->storedDefault} << ")";
}

void Renderer::insertSelect(const Statement& s) {
  const Query& q = *s.query;
  if (q.kind != QueryKind::Select || q.distinct || !q.orderBy.empty() || q.fetchFirst) {
    insertThrough(s);
    return;
  }
  out_ << " SELECT ";
  Comma comma;
  for (size_t i = 0; i < q.items.size(); ++i) {
    out_ << comma;
    assigned(*q.items[i].expr, *s.table, insertColumn(s, i), false);
  }
  omittedKey(s, comma);
  selectBody(q);
}

// The query as it is, and its columns converted around it.
void Renderer::insertThrough(const Statement& s) {
  const Query& q = *s.query;
  const Table result = resultTable(q);
  TableRef source;
  source.alias = "Q";
  source.table = &result;
  out_ << " SELECT ";
  Comma comma;
  for (size_t i = 0; i < q.columns.size(); ++i) {
    out_ << comma;
    Expr value;
    value.kind = ExprKind::Column;
    value.type = q.columns[i].type;
    value.source = &source;
    value.columnIndex = static_cast<int>(i);
    assigned(value, *s.table, insertColumn(s, i), false);
  }
  omittedKey(s, comma);
  out_ << " FROM (";
  query(q);
  out_ << ") AS \"Q\"";
}

void Renderer::update(const Statement& s) {
  if (!s.beforeTriggers.empty()) {
    if (readsTarget(s) || !updateTriggered(s)) updateTriggeredRows(s);
    return;
  }
  out_ << "UPDATE " << Name{s.table->storedName} << " SET ";
  bool ahead = readsTarget(s);
  Comma comma;
  int position = 0;
  for (const Assignment& assignment : s.assignments) {
    const Column& target = s.table->columns[static_cast<size_t>(assignment.columnIndex)];
    out_ << comma << Name{target.storedName} << "=";
    if (ahead) {
      out_ << "\"Q\".\"C" << ++position << "\"";
    } else {
      assigned(*assignment.value, *s.table, target, false);
    }
  }
  if (ahead) return updateFromValues(s);
  if (s.where) {
    out_ << " WHERE ";
    expression(*s.where);
  }
}

// All new values are computed before the first row changes.
void Renderer::updateFromValues(const Statement& s) {
  Name number{rowNumberName(*s.table)};
  out_ << " FROM (SELECT " << number << " AS \"R\"";
  int position = 0;
  for (const Assignment& assignment : s.assignments) {
    const Column& target = s.table->columns[static_cast<size_t>(assignment.columnIndex)];
    out_ << ",";
    assigned(*assignment.value, *s.table, target, false);
    out_ << " AS \"C" << ++position << "\"";
  }
  out_ << " FROM " << Name{s.table->storedName};
  if (s.where) {
    out_ << " WHERE ";
    expression(*s.where);
  }
  out_ << ") AS \"Q\" WHERE " << Name{s.table->storedName} << "." << number << "=\"Q\".\"R\"";
}

void Renderer::remove(const Statement& s) {
  out_ << "DELETE FROM " << Name{s.table->storedName};
  if (s.where) {
    out_ << " WHERE ";
    expression(*s.where);
  }
}

// `always`: the value is stored whenever the statement runs.
void Renderer::assigned(const Expr& e, const Table& table, const Column& column, bool always) {
  const Expr& value = withoutIdleCasts(e);
  bool guarded = !keysUnguarded_ && e.kind != ExprKind::Default && isRowNumber(table, column) &&
                 (value.kind == ExprKind::Null || value.type.nullable);
  if (guarded && value.kind == ExprKind::Marker && always) {
    requiredMarkers_.push_back(value.markerIndex);
    guarded = false;
  }
  if (guarded) out_ << "ORV_NOT_NULL(";
  stored(e, table, column);
  if (guarded) out_ << "," << TextLiteral{qualifiedColumn(table, column)} << ")";
}

void Renderer::stored(const Expr& e, const Table& table, const Column& column) {
  if (e.kind != ExprKind::Default) {
    return converted(withoutIdleCasts(e), column.type, ConversionMode::Assignment,
                     qualifiedColumn(table, column));
  }
  out_ << Verbatim{defaultText(column)};
}

}  // namespace orv::sqlite
