// Triggers and views in the catalog's tables.
#include "server/engine/sqlite/catalog/catalog_store.h"
#include "server/engine/sqlite/connection/sql_text.h"

namespace orv::sqlite {

std::string nameList(const std::vector<std::string>& names) {
  SqlText list;
  Comma comma;
  for (const std::string& name : names) list << comma << Name{name};
  return list.take();
}

std::vector<std::string> readNameList(std::string_view list) {
  std::vector<std::string> names;
  for (size_t i = 0; i < list.size(); ++i) {
    if (list[i] != '"') continue;
    std::string name;
    for (++i; i < list.size(); ++i) {
      if (list[i] == '"' && (i + 1 == list.size() || list[i + 1] != '"')) break;
      if (list[i] == '"') ++i;
      name.push_back(list[i]);
    }
    names.push_back(std::move(name));
  }
  return names;
}

void recordTrigger(sqlite3* database, const Trigger& trigger) {
  // The position is above all others, whichever have gone.
  Command(database, R"(INSERT INTO "SYSNTQ.TRIGGERS" VALUES(?,?,?,?,?,?,?,?,?,?,?,
                       (SELECT coalesce(max(POSITION),0)+1 FROM "SYSNTQ.TRIGGERS")))")
      .bind(trigger.schema, trigger.name, trigger.storedName, trigger.tableSchema,
            trigger.tableName, trigger.time, trigger.event, nameList(trigger.updateColumns),
            trigger.text, trigger.defaultSchema, nameList(trigger.functionPath))
      .run();
  recordGeneration(database, Aged::Trigger, trigger.schema, trigger.name);
}

void eraseTrigger(sqlite3* database, const Trigger& trigger) {
  Command(database, R"(DELETE FROM "SYSNTQ.TRIGGERS" WHERE SCHEMA=? AND NAME=?)")
      .bind(trigger.schema, trigger.name)
      .run();
  eraseGeneration(database, Aged::Trigger, trigger.schema, trigger.name);
}

void eraseTriggersOf(sqlite3* database, const Table& table) {
  for (std::string_view sql :
       {R"(DELETE FROM "SYSNTQ.GENERATIONS" WHERE KIND='T' AND (OWNER, NAME) IN
           (SELECT SCHEMA, NAME FROM "SYSNTQ.TRIGGERS" WHERE TABLESCHEMA=? AND TABLENAME=?))",
        R"(DELETE FROM "SYSNTQ.TRIGGERS" WHERE TABLESCHEMA=? AND TABLENAME=?)"}) {
    Command(database, sql).bind(table.schema, table.name).run();
  }
}

void loadTriggers(sqlite3* database, CatalogData& data) {
  Command rows(database, R"(SELECT SCHEMA, NAME, STORED, TABLESCHEMA, TABLENAME, TIME, EVENT,
                            COLUMNS, TEXT, DEFAULTSCHEMA, FUNCTIONPATH
                            FROM "SYSNTQ.TRIGGERS" ORDER BY POSITION)");
  while (rows.step()) {
    auto trigger = std::make_unique<Trigger>();
    trigger->schema = rows.text(0);
    trigger->name = rows.text(1);
    trigger->storedName = rows.text(2);
    trigger->tableSchema = rows.text(3);
    trigger->tableName = rows.text(4);
    trigger->time = static_cast<TriggerTime>(rows.integer(5));
    trigger->event = static_cast<TriggerEvent>(rows.integer(6));
    trigger->updateColumns = readNameList(rows.text(7));
    trigger->text = rows.text(8);
    trigger->defaultSchema = rows.text(9);
    trigger->functionPath = readNameList(rows.text(10));
    data.triggers.push_back(std::move(trigger));
  }
}

void recordView(sqlite3* database, const View& view) {
  Command(database, R"(INSERT OR REPLACE INTO "SYSNTQ.VIEWS" VALUES(?,?,?,?,?))")
      .bind(view.schema, view.name, view.text, view.defaultSchema, nameList(view.functionPath))
      .run();
  recordGeneration(database, Aged::View, view.schema, view.name);
}

void eraseView(sqlite3* database, const Table& view) {
  Command(database, R"(DELETE FROM "SYSNTQ.VIEWS" WHERE SCHEMA=? AND NAME=?)")
      .bind(view.schema, view.name)
      .run();
  eraseGeneration(database, Aged::View, view.schema, view.name);
}

void loadViews(sqlite3* database, CatalogData& data) {
  Command rows(database, R"(SELECT SCHEMA, NAME, TEXT, DEFAULTSCHEMA, FUNCTIONPATH
                            FROM "SYSNTQ.VIEWS" ORDER BY SCHEMA, NAME)");
  while (rows.step()) {
    auto view = std::make_unique<View>();
    view->schema = rows.text(0);
    view->name = rows.text(1);
    view->text = rows.text(2);
    view->defaultSchema = rows.text(3);
    view->functionPath = readNameList(rows.text(4));
    data.views.push_back(std::move(view));
  }
}

}  // namespace orv::sqlite
