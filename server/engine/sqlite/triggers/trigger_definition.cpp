// Triggers are stored by groups of one table, time and event, whose order in the file decides which
// fires first. Those that cannot be compiled any more keep the text that they have: it is for their
// firing to fail.
#include "server/engine/sqlite/triggers/trigger_definition.h"

#include <algorithm>
#include <map>

#include "server/engine/sqlite/catalog/catalog_store.h"
#include "server/engine/sqlite/catalog/table_definition.h"
#include "server/engine/sqlite/render/renderer.h"
#include "server/resolve/resolver.h"

namespace orv::sqlite {
namespace {

// Nothing is stored of one that only sets columns.
constexpr Verbatim kTrigger{"TRIGGER IF EXISTS"};

struct StoredTrigger {
  std::string name;
  std::string text;
};

std::string storedText(sqlite3* database, const std::string& name) {
  Command command(database, "SELECT sql FROM sqlite_schema WHERE type='trigger' AND name=?");
  return command.bind(name).step() ? command.text(0) : std::string();
}

// The triggers of one table, time and event, in the order in which they fire.
void storeGroup(sqlite3* database, const std::vector<StoredTrigger>& group) {
  for (const StoredTrigger& trigger : group) execute(database, dropText(kTrigger, trigger.name));
  for (auto trigger = group.rbegin(); trigger != group.rend(); ++trigger) {
    if (!trigger->text.empty()) execute(database, trigger->text);
  }
}

// A condition that is tested before the row is set would be tested again after it.
void requireSeparateSet(const Trigger& trigger, const TriggerDefinition& definition) {
  const bool mixed = std::ranges::any_of(definition.steps, [](const TriggerStep& step) {
    return step.kind != TriggerStep::Kind::Set;
  });
  if (definition.when && mixed && setsColumns(definition)) {
    throw SqlError(-797, {trigger.schema + "." + trigger.name, "SET"});
  }
}

}  // namespace

bool setsColumns(const TriggerDefinition& trigger) {
  return std::ranges::any_of(
      trigger.steps, [](const TriggerStep& step) { return step.kind == TriggerStep::Kind::Set; });
}

std::string compiledTrigger(const CatalogData& catalog, const Trigger& recorded, const Table& table,
                            const TriggerDefinition& definition) {
  Renderer renderer(catalog, recorded.defaultSchema);
  const bool any = renderer.trigger(recorded.storedName, table, definition);
  return any ? renderer.take() : std::string();
}

void createTrigger(sqlite3* database, const CatalogData& catalog, const std::string& currentSchema,
                   const std::vector<std::string>& functionPath, const Statement& statement) {
  const Table& table = *statement.table;
  const TriggerDefinition& definition = *statement.trigger;
  Trigger trigger;
  trigger.schema = statement.name.resolvedSchema;
  trigger.name = statement.name.name;
  trigger.storedName = storedNameFor(database, catalog, trigger.schema, trigger.name);
  trigger.tableSchema = table.schema;
  trigger.tableName = table.name;
  trigger.time = definition.time;
  trigger.event = definition.event;
  trigger.updateColumns = definition.updateColumns;
  trigger.text = statement.text;
  trigger.defaultSchema = currentSchema;
  trigger.functionPath = functionPath;
  requireSeparateSet(trigger, definition);

  std::vector<StoredTrigger> group;
  for (const Trigger* other : catalog.triggersOn(table)) {
    if (other->time != trigger.time || other->event != trigger.event) continue;
    group.push_back({other->storedName, storedText(database, other->storedName)});
  }
  group.push_back({trigger.storedName, compiledTrigger(catalog, trigger, table, definition)});
  if (!group.back().text.empty()) storeGroup(database, group);
  recordSchema(database, trigger.schema);
  recordTrigger(database, trigger);
}

void dropTrigger(sqlite3* database, const Trigger& trigger) {
  execute(database, dropText(kTrigger, trigger.storedName));
  eraseTrigger(database, trigger);
}

void recompileTriggers(sqlite3* database, const CatalogData& data, const Catalog& catalog) {
  using Group = std::tuple<std::string, std::string, TriggerTime, TriggerEvent>;
  struct Content {
    std::vector<StoredTrigger> triggers;
    bool changed = false;
  };
  std::map<Group, Content> groups;
  for (const auto& trigger : data.triggers) {
    Content& content =
        groups[{trigger->tableSchema, trigger->tableName, trigger->time, trigger->event}];
    StoredTrigger stored{trigger->storedName, storedText(database, trigger->storedName)};
    const Table* table = data.findTable(trigger->tableSchema, trigger->tableName);
    try {
      std::string text =
          table ? compiledTrigger(data, *trigger, *table, *resolveTrigger(*trigger, catalog))
                : stored.text;
      content.changed = content.changed || text != stored.text;
      stored.text = std::move(text);
    } catch (const SqlError&) {
      // What it uses has been changed by another program: it fails when it fires.
    }
    content.triggers.push_back(std::move(stored));
  }
  for (const auto& [group, content] : groups) {
    if (content.changed) storeGroup(database, content.triggers);
  }
}

}  // namespace orv::sqlite
