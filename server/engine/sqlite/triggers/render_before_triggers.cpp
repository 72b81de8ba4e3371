// INSERT and UPDATE of tables with BEFORE triggers that set columns of the new row. SQLite cannot
// assign to a new row, so that the statement stores what the triggers make of it. Where every value
// that they read is a marker or a short constant, it stays a plain INSERT ... VALUES or UPDATE.
#include <algorithm>
#include <utility>

#include "server/engine/sqlite/render/renderer.h"
#include "server/engine/sqlite/triggers/new_row_text.h"

namespace orv::sqlite {
namespace {

// The columns that are stored: those given, those set, and the key that takes no null.
std::vector<int> insertTargets(const Statement& s) {
  std::vector<int> targets = s.insertColumnIndexes;
  const auto add = [&](int column) {
    if (std::ranges::find(targets, column) == targets.end()) targets.push_back(column);
  };
  for (int column : columnsSet(s.beforeTriggers)) add(column);
  for (size_t i = 0; i < s.table->columns.size(); ++i) {
    if (isRowNumber(*s.table, s.table->columns[i])) add(static_cast<int>(i));
  }
  return targets;
}

}  // namespace

void Renderer::guardedKey(const Table& table, const Column& column, const std::string& text) {
  if (isRowNumber(table, column)) {
    out_ << "ORV_NOT_NULL(" << Verbatim{text} << "," << TextLiteral{qualifiedColumn(table, column)}
         << ")";
  } else {
    out_ << Verbatim{text};
  }
}

void Renderer::insertTriggered(const Statement& s) {
  const Table& table = *s.table;
  const std::vector<int> targets = insertTargets(s);
  out_ << "INSERT INTO " << Name{table.storedName} << "(";
  Comma comma;
  for (int column : targets) {
    out_ << comma << Name{table.columns[static_cast<size_t>(column)].storedName};
  }
  out_ << ")";
  if (insertTriggeredRows(s, targets)) return;

  SqlText around = std::exchange(out_, SqlText());
  keysUnguarded_ = true;
  if (isBareValues(*s.query)) {
    out_ << "VALUES ";
    Comma rowComma;
    for (const auto& row : s.query->rows) {
      out_ << rowComma;
      insertRow(s, row);
    }
  } else {
    insertSelect(s);
  }
  keysUnguarded_ = false;
  const std::string given = std::exchange(out_, std::move(around)).take();
  NewRowText row(*this, table);
  row.setDefaults();
  row.giveRows(s.insertColumnIndexes, given);
  row.apply(s.beforeTriggers);
  out_ << " SELECT ";
  Comma valueComma;
  for (int column : targets) {
    out_ << valueComma;
    guardedKey(table, table.columns[static_cast<size_t>(column)], row.text(column));
  }
  out_ << " FROM " << Verbatim{row.source()};
}

// The values of each row where the statement gives its rows one by one.
std::vector<std::vector<const Expr*>> Renderer::valueRows(const Query& q) {
  std::vector<std::vector<const Expr*>> rows;
  if (isBareValues(q)) {
    for (const auto& given : q.rows) {
      auto& row = rows.emplace_back();
      for (const ExprPtr& value : given) row.push_back(value.get());
    }
    return rows;
  }
  const TableRef* source = q.where && inTrigger_ ? nullptr : singleRowSource(q);
  if (!source) return rows;
  auto& row = rows.emplace_back();
  for (const SelectItem& item : q.items) {
    row.push_back(source->query->rows[0][static_cast<size_t>(item.expr->columnIndex)].get());
  }
  return rows;
}

// VALUES, where the triggers need no query; else nothing is written.
bool Renderer::insertTriggeredRows(const Statement& s, const std::vector<int>& targets) {
  const auto rows = valueRows(*s.query);
  if (rows.empty()) return false;
  SqlText around = std::exchange(out_, SqlText());
  Comma rowComma;
  for (const auto& given : rows) {
    NewRowText row(*this, *s.table);
    row.setDefaults();
    for (size_t i = 0; i < given.size(); ++i) {
      const int column = s.insertColumnIndexes[i];
      SqlText before = std::exchange(out_, SqlText());
      stored(*given[i], *s.table, s.table->columns[static_cast<size_t>(column)]);
      row.give(column, std::exchange(out_, std::move(before)).take(), isSmall(*given[i]));
    }
    if (!row.apply(s.beforeTriggers)) {
      out_ = std::move(around);
      return false;
    }
    out_ << rowComma << "(";
    Comma comma;
    for (int column : targets) {
      out_ << comma;
      guardedKey(*s.table, s.table->columns[static_cast<size_t>(column)], row.text(column));
    }
    out_ << ")";
  }
  const std::string values = std::exchange(out_, std::move(around)).take();
  out_ << " VALUES " << Verbatim{values};
  if (isBareValues(*s.query) || !s.query->where) return true;
  inlined_ = singleRowSource(*s.query);
  condition(*s.query->where);
  inlined_ = nullptr;
  return true;
}

NewRowText Renderer::updatedRow(const Statement& s) {
  NewRowText row(*this, *s.table);
  row.setStored();
  for (const Assignment& assignment : s.assignments) {
    SqlText around = std::exchange(out_, SqlText());
    const Expr& value = *assignment.value;
    stored(value, *s.table, s.table->columns[static_cast<size_t>(assignment.columnIndex)]);
    row.give(assignment.columnIndex, std::exchange(out_, std::move(around)).take(),
             isSmall(value) || value.kind == ExprKind::Default);
  }
  return row;
}

void Renderer::assignRow(const Statement& s, const NewRowText& row) {
  std::vector<int> columns = columnsSet(s.beforeTriggers);
  for (const Assignment& assignment : s.assignments) {
    std::erase(columns, assignment.columnIndex);
    columns.push_back(assignment.columnIndex);
  }
  out_ << "UPDATE " << Name{s.table->storedName} << " SET ";
  Comma comma;
  for (int position : columns) {
    const Column& column = s.table->columns[static_cast<size_t>(position)];
    out_ << comma << Name{column.storedName} << "=";
    guardedKey(*s.table, column, row.text(position));
  }
}

// False when the triggers need a query; then nothing is written.
bool Renderer::updateTriggered(const Statement& s) {
  NewRowText row = updatedRow(s);
  if (!row.apply(s.beforeTriggers)) return false;
  assignRow(s, row);
  if (s.where) {
    out_ << " WHERE ";
    expression(*s.where);
  }
  return true;
}

// All new rows are made before the first row changes.
void Renderer::updateTriggeredRows(const Statement& s) {
  NewRowText row = updatedRow(s);
  row.giveStoredRows(s.beforeTriggers, s.where ? textOf(*s.where) : std::string());
  row.apply(s.beforeTriggers);
  assignRow(s, row);
  out_ << " FROM " << Verbatim{row.source()} << " WHERE " << Name{s.table->storedName} << "."
       << Verbatim{rowNumberName(*s.table)} << "=" << Name{kNewRow} << ".\"R\"";
}

}  // namespace orv::sqlite
