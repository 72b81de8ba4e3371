// Declared tables are made by the same TableDefinition as stored ones, in the temporary database.
// The list of what is there is asked from SQLite each time, never counted along: a rollback to any
// savepoint is then right by itself.
#include "server/engine/sqlite/catalog/temporary_tables.h"

#include "server/engine/sqlite/catalog/index_definition.h"
#include "server/engine/sqlite/catalog/table_definition.h"
#include "server/engine/sqlite/connection/sql_text.h"
#include "server/values/utf8_text.h"

namespace orv::sqlite {
namespace {

// SQLite looks into the temporary database first. This beginning, which no table of the catalog
// has, keeps declared tables from hiding stored ones.
constexpr std::string_view kStoredPrefix = "SYSNTQ.SESSION.";

}  // namespace

bool TemporaryTables::concerns(const Statement& statement, const CatalogData& catalog) {
  switch (statement.kind) {
    case StatementKind::DeclareTable:
      return true;
    case StatementKind::DropTable:
    case StatementKind::CreateIndex:
      return statement.table->declared;
    case StatementKind::DropIndex:
      return catalog.findIndex(statement.name.resolvedSchema, statement.name.name)->declared;
    default:
      return false;
  }
}

void TemporaryTables::apply(const CatalogData& catalog, const std::string& currentSchema,
                            const Statement& statement) {
  switch (statement.kind) {
    case StatementKind::DeclareTable:
      return declare(catalog, currentSchema, statement);
    case StatementKind::DropTable:
      return execute(database_, dropText({"TABLE"}, statement.table->storedName));
    case StatementKind::CreateIndex:
      return createIndex(statement);
    default: {
      const QualifiedName& name = statement.name;
      execute(database_,
              dropText({"INDEX"}, catalog.findIndex(name.resolvedSchema, name.name)->storedName));
    }
  }
}

void TemporaryTables::declare(const CatalogData& catalog, const std::string& currentSchema,
                              const Statement& statement) {
  if (statement.table) execute(database_, dropText({"TABLE"}, statement.table->storedName));
  TableDefinition definition(database_, catalog, currentSchema, statement);
  Table table = definition.declare(newStoredName(statement.name.name));
  std::string storedName = table.storedName;
  tables_.insert_or_assign(std::move(storedName), std::move(table));
}

void TemporaryTables::createIndex(const Statement& statement) {
  Index index = indexOf(statement);
  index.declared = true;
  index.storedName = newStoredName(index.name);
  createStoredIndex(database_, index, *statement.table);
  std::string storedName = index.storedName;
  indexes_.insert_or_assign(std::move(storedName), std::move(index));
}

std::string TemporaryTables::newStoredName(const std::string& name) const {
  Names taken;
  for (const auto& [stored, table] : tables_) taken.insert(foldAscii(stored));
  for (const auto& [stored, index] : indexes_) taken.insert(foldAscii(stored));
  return uniqueStoredName(std::string(kStoredPrefix) + name, taken);
}

TemporaryTables::Names TemporaryTables::storedNames() const {
  Names names;
  if (none()) return names;
  Command rows(database_, "SELECT name FROM sqlite_temp_schema");
  while (rows.step()) names.insert(rows.text(0));
  return names;
}

void TemporaryTables::addTo(CatalogData& data) const {
  const Names present = storedNames();
  for (const auto& [stored, table] : tables_) {
    if (present.contains(stored)) data.tables.push_back(std::make_unique<Table>(table));
  }
  for (const auto& [stored, index] : indexes_) {
    if (present.contains(stored)) data.indexes.push_back(std::make_unique<Index>(index));
  }
}

void TemporaryTables::deleteRows() const {
  const Names present = storedNames();
  for (const auto& [stored, table] : tables_) {
    if (table.keepsRows || !present.contains(stored)) continue;
    SqlText sql;
    sql << "DELETE FROM " << Name{stored};
    execute(database_, sql.text());
  }
}

void TemporaryTables::forgetDropped() {
  const Names present = storedNames();
  const auto isGone = [&](const auto& entry) { return !present.contains(entry.first); };
  std::erase_if(indexes_, isGone);
  std::erase_if(tables_, isGone);
}

}  // namespace orv::sqlite
