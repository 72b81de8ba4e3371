// What uses a thing is not recorded anywhere. Every trigger and view is compiled before a
// definition that takes something away and once more after it: one whose text differs, or that
// cannot be compiled any more, has used what went.
#include "server/engine/sqlite/definition_users.h"

#include "server/engine/sqlite/catalog/view_definition.h"
#include "server/engine/sqlite/render/renderer.h"
#include "server/engine/sqlite/triggers/trigger_definition.h"
#include "server/resolve/resolver.h"

namespace orv::sqlite {
namespace {

bool takesAway(StatementKind kind) {
  switch (kind) {
    case StatementKind::DropTable:
    case StatementKind::DropView:
    case StatementKind::DropAlias:
    case StatementKind::DropDistinctType:
    case StatementKind::DropFunction:
      return true;
    default:
      return false;
  }
}

std::string droppedName(const Statement& s) {
  if (s.droppedFunction) return s.droppedFunction->schema + "." + s.droppedFunction->specific;
  return s.name.resolvedSchema + "." + s.name.name;
}

// With the values that are set, which stand in no trigger of the engine's.
std::string meaningOf(const Trigger& trigger, const CatalogData& data, const Catalog& catalog) {
  const auto definition = resolveTrigger(trigger, catalog);
  const Table& table = *data.findTable(trigger.tableSchema, trigger.tableName);
  std::string meaning = compiledTrigger(data, trigger, table, *definition);
  if (!setsColumns(*definition)) return meaning;
  const Renderer::RowTexts row(table.columns.size(), "ROW");
  Renderer renderer(data, trigger.defaultSchema);
  renderer.setRow(definition->oldRow.get(), row);
  renderer.setRow(definition->newRow.get(), row);
  if (definition->when) meaning += renderer.textOf(*definition->when);
  for (const TriggerStep& step : definition->steps) {
    for (const Assignment& assignment : step.assignments) {
      meaning += renderer.textOf(*assignment.value);
    }
  }
  return meaning;
}

}  // namespace

DefinitionUsers::DefinitionUsers(const Statement& statement, const CatalogData& data,
                                 const Catalog& catalog) {
  if (!takesAway(statement.kind)) return;
  dropped_ = droppedName(statement);
  meanings_ = meaningsOf(data, catalog);
}

// What does not resolve is no user of anything any more.
DefinitionUsers::Meanings DefinitionUsers::meaningsOf(const CatalogData& data,
                                                      const Catalog& catalog) {
  Meanings meanings;
  for (const auto& trigger : data.triggers) {
    try {
      meanings["T" + trigger->schema + "." + trigger->name] = meaningOf(*trigger, data, catalog);
    } catch (const SqlError&) {
      continue;
    }
  }
  for (const auto& view : data.views) {
    try {
      meanings["V" + view->schema + "." + view->name] = compiledView(data, *view, catalog);
    } catch (const SqlError&) {
      continue;
    }
  }
  return meanings;
}

void DefinitionUsers::requireUnchanged(const CatalogData& data, const Catalog& catalog) const {
  const Meanings now = meaningsOf(data, catalog);
  const auto require = [&](const std::string& key) {
    const auto before = meanings_.find(key);
    if (before == meanings_.end()) return;
    const auto after = now.find(key);
    if (after != now.end() && after->second == before->second) return;
    throw SqlError(-478, {dropped_, key.substr(1)});
  };
  // Views first: a trigger may use one that is in the way itself.
  for (const auto& view : data.views) require("V" + view->schema + "." + view->name);
  for (const auto& trigger : data.triggers) require("T" + trigger->schema + "." + trigger->name);
}

}  // namespace orv::sqlite
