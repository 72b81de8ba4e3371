// The texts of the columns grow trigger by trigger, each assignment out of the texts before it.
// `repeatable_` tells which may be written twice; where one that may not is read, makeQuery() puts
// the row so far into a materialized query and the texts begin anew as names of its columns.
#include "server/engine/sqlite/triggers/new_row_text.h"

#include <algorithm>
#include <set>

#include "server/resolve/built_in_functions.h"
#include "server/syntax/tree_walk.h"

namespace orv::sqlite {
namespace {

std::string quoted(std::string_view name) {
  SqlText out;
  out << Name{name};
  return out.take();
}

// Whether it may be evaluated again for another column: to the same value, and without cost.
bool isPlain(const Expr& condition) {
  bool plain = true;
  walk(condition, [&](const Expr& part) {
    plain = plain && !part.routine && !part.query && part.function != kGenerateUnique;
    return plain ? Walk::Enter : Walk::Skip;
  });
  return plain;
}

template <typename Visit>
void forEachAssignment(const TriggerDefinition& trigger, Visit visit) {
  for (const TriggerStep& step : trigger.steps) {
    for (const Assignment& assignment : step.assignments) visit(assignment);
  }
}

// Marks the columns of `row` that the trigger reads.
void markRead(const TriggerDefinition& trigger, const TableRef* row, std::vector<bool>& read) {
  const auto mark = [&](const Expr& part) {
    if (part.kind == ExprKind::Column && part.source == row) {
      read[static_cast<size_t>(part.columnIndex)] = true;
    }
    return Walk::Enter;
  };
  if (trigger.when) walk(*trigger.when, mark);
  forEachAssignment(trigger, [&](const Assignment& assignment) { walk(*assignment.value, mark); });
}

}  // namespace

std::vector<int> columnsSet(const TriggerDefinitions& triggers) {
  std::set<int> columns;
  for (const auto& trigger : triggers) {
    forEachAssignment(
        *trigger, [&](const Assignment& assignment) { columns.insert(assignment.columnIndex); });
  }
  return {columns.begin(), columns.end()};
}

NewRowText::NewRowText(Renderer& renderer, const Table& table)
    : renderer_(renderer),
      table_(table),
      new_(table.columns.size()),
      old_(table.columns.size()),
      repeatable_(table.columns.size(), true),
      newRead_(table.columns.size()),
      oldRead_(table.columns.size()) {}

void NewRowText::setDefaults() {
  std::ranges::transform(table_.columns, new_.begin(), defaultText);
}

void NewRowText::setStored() {
  const std::string table = quoted(table_.storedName);
  for (size_t i = 0; i < table_.columns.size(); ++i) {
    old_[i] = storedColumn(table, table_, table_.columns[i]);
    new_[i] = old_[i];
  }
}

void NewRowText::give(int column, std::string text, bool repeatable) {
  const auto position = static_cast<size_t>(column);
  new_[position] = std::move(text);
  repeatable_[position] = repeatable;
  newRead_[position] = true;
}

void NewRowText::giveRows(const std::vector<int>& columns, std::string_view query) {
  SqlText out;
  out << "(WITH \"SYSNTQ.ONCE\"(";
  Comma comma;
  for (int column : columns) {
    const std::string name = "N" + std::to_string(column);
    out << comma << Name{name};
    give(column, quoted(kNewRow) + "." + quoted(name), true);
  }
  out << ") AS MATERIALIZED (" << Verbatim{query} << Verbatim{kOnceEnd} << ") AS " << Name{kNewRow};
  source_ = out.take();
}

void NewRowText::giveStoredRows(const TriggerDefinitions& triggers, std::string_view where) {
  for (const auto& trigger : triggers) {
    if (trigger->newRow) markRead(*trigger, trigger->newRow.get(), newRead_);
    if (trigger->oldRow) markRead(*trigger, trigger->oldRow.get(), oldRead_);
  }
  for (int column : columnsSet(triggers)) newRead_[static_cast<size_t>(column)] = true;
  source_ = quoted(table_.storedName);
  rowNumber_ = source_ + "." + std::string(rowNumberName(table_));
  makeQuery(where);
}

bool NewRowText::apply(const TriggerDefinitions& triggers) {
  return std::ranges::all_of(triggers, [&](const auto& trigger) { return apply(*trigger); });
}

// A condition decides once for all steps of the trigger, by the row as it was before them.
bool NewRowText::apply(const TriggerDefinition& trigger) {
  renderer_.setRow(trigger.newRow.get(), new_);
  renderer_.setRow(trigger.oldRow.get(), old_);
  condition_.clear();
  if (trigger.when) {
    if (!isReady(trigger, *trigger.when) && !makeQuery()) return false;
    condition_ = renderer_.textOf(*trigger.when);
    int assignments = 0;
    forEachAssignment(trigger, [&](const Assignment&) { ++assignments; });
    if (assignments > 1 && !isPlain(*trigger.when) && !makeQuery()) return false;
  }
  return std::ranges::all_of(trigger.steps,
                             [&](const TriggerStep& step) { return assign(trigger, step); });
}

bool NewRowText::isReady(const TriggerDefinition& trigger, const Expr& value) const {
  bool ready = true;
  walk(value, [&](const Expr& part) {
    const bool reads = part.kind == ExprKind::Column && part.source == trigger.newRow.get();
    ready = ready && (!reads || repeatable_[static_cast<size_t>(part.columnIndex)]);
    return Walk::Enter;
  });
  return ready;
}

// The values of one SET see the row as it was before it.
bool NewRowText::assign(const TriggerDefinition& trigger, const TriggerStep& step) {
  const bool ready = std::ranges::all_of(step.assignments, [&](const Assignment& assignment) {
    return isReady(trigger, *assignment.value);
  });
  if (!ready && !makeQuery()) return false;
  std::vector<std::string> texts;
  for (const Assignment& assignment : step.assignments) {
    const auto position = static_cast<size_t>(assignment.columnIndex);
    std::string text = renderer_.textOf(*assignment.value, table_.columns[position].type);
    if (!condition_.empty()) {
      text = "CASE WHEN " + condition_ + " THEN " + text + " ELSE " + new_[position] + " END";
    }
    texts.push_back(std::move(text));
  }
  for (size_t i = 0; i < texts.size(); ++i) {
    give(step.assignments[i].columnIndex, std::move(texts[i]), false);
  }
  return true;
}

// Makes a query of the row so far; the condition that has been decided goes along.
bool NewRowText::makeQuery(std::string_view where) {
  if (source_.empty()) return false;
  SqlText names;
  SqlText values;
  Comma nameComma;
  Comma valueComma;
  const auto hand = [&](std::string& text, const std::string& name) {
    names << nameComma << Name{name};
    values << valueComma << Verbatim{text};
    text = quoted(kNewRow) + "." + quoted(name);
  };
  for (size_t i = 0; i < new_.size(); ++i) {
    if (newRead_[i]) hand(new_[i], "N" + std::to_string(i));
    if (oldRead_[i]) hand(old_[i], "O" + std::to_string(i));
    repeatable_[i] = true;
  }
  if (!rowNumber_.empty()) hand(rowNumber_, "R");
  if (!condition_.empty()) hand(condition_, "W");
  SqlText out;
  out << "(WITH \"SYSNTQ.ONCE\"(" << Verbatim{names.text()} << ") AS MATERIALIZED (SELECT "
      << Verbatim{values.text()} << " FROM " << Verbatim{source_};
  if (!where.empty()) out << " WHERE " << Verbatim{where};
  out << Verbatim{kOnceEnd} << ") AS " << Name{kNewRow};
  source_ = out.take();
  return true;
}

}  // namespace orv::sqlite
