// When things came into the catalog: its generation at that time. A trigger or view knows only what
// was there before it. Things that stand here with no generation were there before all others.
#include <algorithm>

#include "server/engine/sqlite/catalog/catalog_store.h"

namespace orv::sqlite {
namespace {

std::string_view letterOf(const Aged& kind) {
  return {reinterpret_cast<const char*>(&kind), 1};
}

template <typename Object>
void setGeneration(const std::vector<std::unique_ptr<Object>>& objects, const std::string& schema,
                   std::string Object::*name, const std::string& wanted, int64_t generation) {
  for (const auto& object : objects) {
    if (object->schema == schema && (*object).*name == wanted) object->generation = generation;
  }
}

void setColumnGeneration(const CatalogData& data, const std::string& storedTable,
                         const std::string& storedColumn, int64_t generation) {
  for (const auto& table : data.tables) {
    if (table->declared || table->storedName != storedTable) continue;
    for (Column& column : table->columns) {
      if (column.storedName == storedColumn) column.generation = generation;
    }
  }
}

}  // namespace

void recordGeneration(sqlite3* database, Aged kind, std::string_view owner, std::string_view name) {
  Command(database, R"(INSERT OR REPLACE INTO "SYSNTQ.GENERATIONS" VALUES(?,?,?,?))")
      .bind(letterOf(kind), owner, name, catalogGeneration(database))
      .run();
}

void eraseGeneration(sqlite3* database, Aged kind, std::string_view owner, std::string_view name) {
  Command(database, R"(DELETE FROM "SYSNTQ.GENERATIONS" WHERE KIND=? AND OWNER=? AND NAME=?)")
      .bind(letterOf(kind), owner, name)
      .run();
}

void eraseColumnGenerations(sqlite3* database, const Table& table) {
  Command(database, R"(DELETE FROM "SYSNTQ.GENERATIONS" WHERE KIND=? AND OWNER=?)")
      .bind(letterOf(Aged::Column), table.storedName)
      .run();
}

void loadGenerations(sqlite3* database, CatalogData& data) {
  Command rows(database, R"(SELECT KIND, OWNER, NAME, GENERATION FROM "SYSNTQ.GENERATIONS")");
  while (rows.step()) {
    const std::string owner = rows.text(1);
    const std::string name = rows.text(2);
    const int64_t generation = rows.integer(3);
    switch (static_cast<Aged>(rows.text(0).front())) {
      case Aged::Column:
        setColumnGeneration(data, owner, name, generation);
        break;
      case Aged::Function:
        setGeneration(data.functions, owner, &Function::specific, name, generation);
        break;
      case Aged::Trigger:
        setGeneration(data.triggers, owner, &Trigger::name, name, generation);
        break;
      case Aged::Type:
        setGeneration(data.types, owner, &DistinctType::name, name, generation);
        break;
      case Aged::View:
        setGeneration(data.views, owner, &View::name, name, generation);
        break;
    }
  }
}

}  // namespace orv::sqlite
