// Triggers: their rows, conditions and steps, and those that a change of rows must bring along.
#include <algorithm>

#include "server/resolve/catalog.h"
#include "server/resolve/resolver.h"
#include "server/resolve/resolver_impl.h"
#include "server/syntax/sql_parser.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

std::string_view verb(StatementKind kind) {
  return kind == StatementKind::Insert   ? "INSERT"
         : kind == StatementKind::Update ? "UPDATE"
                                         : "DELETE";
}

bool setsColumns(const TriggerDefinition& trigger) {
  return std::ranges::any_of(
      trigger.steps, [](const TriggerStep& step) { return step.kind == TriggerStep::Kind::Set; });
}

}  // namespace

std::shared_ptr<TriggerDefinition> resolveTrigger(const Trigger& recorded, const Catalog& catalog) {
  int aliases = 0;
  return Resolver::resolveRecorded(recorded, catalog, aliases);
}

// `aliases`: how many row sources the statement around it has named so far.
std::shared_ptr<TriggerDefinition> Resolver::resolveRecorded(const Trigger& recorded,
                                                             const Catalog& catalog, int& aliases) {
  const std::unique_ptr<Statement> statement = parseStatement(recorded.text);
  statement->table = catalog.findTable(recorded.tableSchema, recorded.tableName);
  if (!statement->table) throw SqlError(-204, {recorded.tableSchema + "." + recorded.tableName});
  const DefinitionCatalog own(catalog, recorded.defaultSchema, recorded.functionPath,
                              recorded.generation);
  Resolver resolver(*statement, own, nullptr, aliases);
  resolver.resolveTriggerDefinition();
  aliases = resolver.aliases_;
  return std::move(statement->trigger);
}

void Resolver::resolveCreateTrigger() {
  requireNoMarkers();
  QualifiedName& name = statement_.name;
  name.resolvedSchema = schemaOf(name);
  requireSchemaOfUsers(name.resolvedSchema, name);
  if (name.resolvedSchema == kDeclaredSchema) throw SqlError(-79, {display(name)});
  if (catalog_.findTrigger(name.resolvedSchema, name.name)) {
    throw SqlError(-601, {display(name), "TRIGGER"});
  }
  const Table& table = findChangeableTable(statement_.indexedTable, "CREATE TRIGGER");
  requireStored(table, "CREATE TRIGGER");
  statement_.table = &table;
  const DefinitionCatalog own(catalog_, catalog_.defaultSchema(), catalog_.functionPath());
  Resolver(statement_, own).resolveTriggerDefinition();
}

void Resolver::resolveDropTrigger() {
  QualifiedName& name = statement_.name;
  statement_.droppedTrigger = catalog_.findTrigger(name.schema, name.name);
  if (!statement_.droppedTrigger) throw SqlError(-204, {display(name)});
  name.resolvedSchema = statement_.droppedTrigger->schema;
}

// Definitions outlive the statement, whose markers have values only while it runs.
void Resolver::requireNoMarkers() const {
  if (!statement_.markers.empty()) throw SqlError(-418);
}

// `statement_.table` is known.
void Resolver::resolveTriggerDefinition() {
  TriggerDefinition& trigger = *statement_.trigger;
  keyColumns(*statement_.table, trigger.updateColumns);
  checkReferencing(trigger);
  Scope rows;
  if (!trigger.oldName.empty()) {
    trigger.oldRow = makeTransition(trigger.oldName, false);
    rows.tables.push_back(trigger.oldRow.get());
  }
  if (!trigger.newName.empty()) {
    trigger.newRow = makeTransition(trigger.newName, trigger.time == TriggerTime::Before);
    rows.tables.push_back(trigger.newRow.get());
  }
  if (trigger.when) resolveExpr(trigger.when, rows);
  for (TriggerStep& step : trigger.steps) resolveStep(trigger, step, rows);
}

void Resolver::checkReferencing(const TriggerDefinition& trigger) const {
  const std::string name = display(statement_.name);
  if (trigger.event == TriggerEvent::Insert && !trigger.oldName.empty()) {
    throw SqlError(-696, {name, trigger.oldName, "An INSERT has no old row."});
  }
  if (trigger.event == TriggerEvent::Delete && !trigger.newName.empty()) {
    throw SqlError(-696, {name, trigger.newName, "A DELETE has no new row."});
  }
  if (!trigger.newName.empty() && trigger.newName == trigger.oldName) {
    throw SqlError(-696, {name, trigger.newName, "The old and the new row have this name."});
  }
}

// A new row may hold nulls everywhere until the BEFORE triggers are through.
std::unique_ptr<TableRef> Resolver::makeTransition(const std::string& name, bool unchecked) {
  const Table& table = *statement_.table;
  auto row = std::make_unique<TableRef>();
  row->kind = RefKind::Transition;
  row->name = {table.schema, table.name, table.schema};
  row->correlation = name;
  row->table = &table;
  row->alias = nextAlias();
  row->columns = columnsOf(table);
  for (OutputColumn& column : row->columns) {
    if (unchecked) column.type.nullable = true;
  }
  return row;
}

void Resolver::resolveStep(const TriggerDefinition& trigger, TriggerStep& step, Scope& rows) {
  if (step.kind == TriggerStep::Kind::Set) return resolveSet(trigger, step, rows);
  if (step.kind == TriggerStep::Kind::Signal) return;
  Statement& nested = *step.statement;
  if (trigger.time == TriggerTime::Before && changesRows(nested.kind)) {
    throw SqlError(-797, {display(statement_.name), std::string(verb(nested.kind))});
  }
  Resolver resolver(nested, catalog_, &rows, aliases_);
  resolver.run();
  aliases_ = resolver.aliases_;
}

void Resolver::resolveSet(const TriggerDefinition& trigger, TriggerStep& step, Scope& rows) {
  const std::string name = display(statement_.name);
  if (trigger.time != TriggerTime::Before || trigger.event == TriggerEvent::Delete) {
    throw SqlError(-797, {name, "SET"});
  }
  if (!trigger.newRow) {
    throw SqlError(-696, {name, step.assignments.front().column, "The new row has no name."});
  }
  for (const Assignment& assignment : step.assignments) {
    const std::string& qualifier = assignment.qualifier;
    if (!qualifier.empty() && qualifier != trigger.newName) {
      throw SqlError(-696, {name, qualifier, "Columns of the new row alone can be set."});
    }
    if (assignment.value->kind == ExprKind::Default)
      throw SqlError(-104, {"DEFAULT", "=", "<value>"});
  }
  resolveAssignments(step.assignments, trigger.newRow->columns, rows);
}

// ---------------------------------------------------------------- the triggers of a change

// BEFORE triggers change no rows, so that theirs bring no others along.
void Resolver::addBeforeTriggers(TriggerEvent event) {
  for (const Trigger* recorded : catalog_.triggersOn(*statement_.table)) {
    const bool fires = recorded->time == TriggerTime::Before && recorded->event == event &&
                       assignsOneOf(recorded->updateColumns);
    if (!fires) continue;
    auto trigger = resolveRecorded(*recorded, catalog_, aliases_);
    if (setsColumns(*trigger)) statement_.beforeTriggers.push_back(std::move(trigger));
  }
}

// Whether the statement assigns one of the columns; no columns mean any.
bool Resolver::assignsOneOf(const std::vector<std::string>& columns) const {
  if (columns.empty()) return true;
  return std::ranges::any_of(columns, [&](const std::string& column) {
    const int index = statement_.table->columnIndex(column);
    return std::ranges::any_of(statement_.assignments, [&](const Assignment& assignment) {
      return assignment.columnIndex == index;
    });
  });
}

}  // namespace orv
