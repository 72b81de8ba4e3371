// The catalog in the database file. What SQLite does not keep itself (schemas, ORV types, names of
// constraints, distinct types, routines, packages, table spaces) stands in tables of our own,
// whose names begin with "SYSNTQ."; they are made by the first change that needs them, so that a
// file of another program is only read until then.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "server/catalog/catalog_data.h"
#include "server/engine/engine.h"
#include "server/engine/sqlite/catalog/foreign_columns.h"
#include "server/engine/sqlite/catalog/temporary_tables.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"

namespace orv::sqlite {

// What the types of a function are, as the catalog writes it.
enum class FunctionTypeRole : char {
  Parameter = 'P',
  Result = 'R',
  Returned = 'C',  // by the code
  Column = 'T',
  SourceParameter = 'S',
};

// What has a generation: see recordGeneration().
enum class Aged : char {
  Column = 'C',  // that ALTER TABLE added
  Function = 'F',
  Trigger = 'T',
  Type = 'D',
  View = 'V',
};

// Names in one text, delimited, with commas between: "A","B""C".
std::string nameList(const std::vector<std::string>& names);
std::vector<std::string> readNameList(std::string_view list);

// Makes our tables where they are missing.
void createCatalogTables(sqlite3* database, int codePage, std::string_view defaultSchema);
bool hasCatalogTables(sqlite3* database);
// Raised by every change of the catalog; 0 without our tables.
int64_t catalogGeneration(sqlite3* database);
void raiseCatalogGeneration(sqlite3* database);

// Everything that the file holds: our tables' content, and the tables, views, keys and indexes that
// other programs made, whose types `foreignColumns` chooses.
// `temporary`: what the session has declared is there as well.
std::shared_ptr<CatalogData> loadCatalog(sqlite3* database, const TemporaryTables& temporary,
                                         ForeignColumns& foreignColumns);

// Parts of it; their tables are there.
void loadProcedures(sqlite3* database, CatalogData& data);
void loadFunctions(sqlite3* database, CatalogData& data);
void loadTriggers(sqlite3* database, CatalogData& data);
void loadViews(sqlite3* database, CatalogData& data);
void loadPrivileges(sqlite3* database, CatalogData& data);
void loadGenerations(sqlite3* database, CatalogData& data);

// ---- Writing. Each adds or removes the rows of one object.
void recordSchema(sqlite3* database, std::string_view schema);
void recordTable(sqlite3* database, const Table& table);
void recordColumn(sqlite3* database, const Table& table, size_t column);
void recordKey(sqlite3* database, const Table& table, char kind, const Key& key);
void recordForeignKey(sqlite3* database, const Table& table, const ForeignKey& key);
void recordCheck(sqlite3* database, const Table& table, const CheckConstraint& check);
void eraseTable(sqlite3* database, const Table& table);
void eraseForeignKey(sqlite3* database, const Table& table, const ForeignKey& key);
void recordIndex(sqlite3* database, const Index& index);
void eraseIndex(sqlite3* database, const Index& index);
void recordAlias(sqlite3* database, std::string_view schema, std::string_view name,
                 const Table& base);
void eraseAlias(sqlite3* database, const Table& alias);
void recordType(sqlite3* database, const DistinctType& type);
void eraseType(sqlite3* database, const DistinctType& type);
void recordProcedure(sqlite3* database, const Procedure& procedure);
void eraseProcedure(sqlite3* database, const Procedure& procedure);
void recordFunction(sqlite3* database, const Function& function);
void eraseFunction(sqlite3* database, const Function& function);
void recordTrigger(sqlite3* database, const Trigger& trigger);
void eraseTrigger(sqlite3* database, const Trigger& trigger);
void eraseTriggersOf(sqlite3* database, const Table& table);
void recordView(sqlite3* database, const View& view);
void eraseView(sqlite3* database, const Table& view);
// The privileges of GRANT, and those of REVOKE: -556 when a grantee has none of them.
void recordPrivileges(sqlite3* database, const Table& table, const GrantDefinition& grant);
void erasePrivileges(sqlite3* database, const Table& table, const GrantDefinition& grant);
void recordPackage(sqlite3* database, const Package& package,
                   const std::vector<PackageSection>& sections);

// The present generation is noted for a thing. `owner` is its schema and `name` its name, a
// function's specific one; for columns they are the engine's names of table and column.
void recordGeneration(sqlite3* database, Aged kind, std::string_view owner, std::string_view name);
void eraseGeneration(sqlite3* database, Aged kind, std::string_view owner, std::string_view name);
void eraseColumnGenerations(sqlite3* database, const Table& table);

}  // namespace orv::sqlite
