// CREATE TRIGGER: one trigger of SQLite's for each recorded one, with its condition and its
// columns. What sets columns of the new row is left out; see render_before_triggers.cpp.
#include <algorithm>

#include "server/engine/sqlite/render/renderer.h"

namespace orv::sqlite {
namespace {

std::string_view eventWord(TriggerEvent event) {
  switch (event) {
    case TriggerEvent::Insert:
      return " INSERT";
    case TriggerEvent::Update:
      return " UPDATE";
    default:
      return " DELETE";
  }
}

Renderer::RowTexts rowTexts(std::string_view qualifier, const Table& table) {
  Renderer::RowTexts texts;
  texts.reserve(table.columns.size());
  for (const Column& column : table.columns) {
    texts.push_back(storedColumn(qualifier, table, column));
  }
  return texts;
}

bool isSet(const TriggerStep& step) {
  return step.kind == TriggerStep::Kind::Set;
}

}  // namespace

bool Renderer::trigger(std::string_view storedName, const Table& table,
                       const TriggerDefinition& trigger) {
  if (std::ranges::all_of(trigger.steps, isSet)) return false;
  const RowTexts oldTexts = rowTexts("OLD", table);
  const RowTexts newTexts = rowTexts("NEW", table);
  setRow(trigger.oldRow.get(), oldTexts);
  setRow(trigger.newRow.get(), newTexts);
  inTrigger_ = true;
  out_ << "CREATE TRIGGER " << Name{storedName};
  out_ << Verbatim{trigger.time == TriggerTime::Before ? " BEFORE" : " AFTER"}
       << Verbatim{eventWord(trigger.event)};
  Comma comma;
  for (const std::string& column : trigger.updateColumns) {
    if (&column == &trigger.updateColumns.front()) out_ << " OF ";
    const auto position = static_cast<size_t>(table.columnIndex(column));
    out_ << comma << Name{table.columns[position].storedName};
  }
  out_ << " ON " << Name{table.storedName} << " FOR EACH ROW ";
  if (trigger.when) {
    out_ << "WHEN ";
    expression(*trigger.when);
  }
  out_ << " BEGIN ";
  for (const TriggerStep& step : trigger.steps) {
    if (!isSet(step)) triggerStep(step);
  }
  out_ << "END";
  rows_.clear();
  inTrigger_ = false;
  return true;
}

void Renderer::triggerStep(const TriggerStep& step) {
  if (step.kind == TriggerStep::Kind::Signal) {
    out_ << "SELECT ORV_SIGNAL(" << TextLiteral{step.sqlState} << "," << TextLiteral{step.text}
         << ")";
  } else {
    statement(*step.statement);
  }
  out_ << "; ";
}

}  // namespace orv::sqlite
