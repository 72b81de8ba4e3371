// The text of table definitions as SQLite keeps it, and changes to it that SQLite has no statement
// for: constraints that come and go while the rows stay as they are.
#pragma once

#include <string>
#include <string_view>

#include "server/catalog/catalog_data.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"

namespace orv::sqlite {

// A check constraint with its condition in the engine's SQL.
struct RenderedCheck {
  std::string name;
  std::string sql;
};

std::string createTableText(const Table& table, const CatalogData& catalog,
                            const std::vector<RenderedCheck>& checks);
// name type [NOT NULL] [DEFAULT ...], as in CREATE TABLE and ALTER TABLE ADD.
std::string columnText(const Column& column);
// CONSTRAINT name FOREIGN KEY ... and CONSTRAINT name CHECK ...
std::string foreignKeyText(const Table& table, const ForeignKey& key, const CatalogData& catalog);
std::string checkText(const RenderedCheck& check);

// Adds a constraint at the end of the definition of a stored table, or removes one that stands
// there as `constraint` reads. The caller has made sure that the rows obey it. removeConstraint
// returns false when the definition has no such constraint.
void addConstraint(sqlite3* database, std::string_view storedTable, std::string_view constraint);
bool removeConstraint(sqlite3* database, std::string_view storedTable, std::string_view constraint);
// Exchanges the first `from` in the definition for `to`.
void replaceText(sqlite3* database, std::string_view storedTable, std::string_view from,
                 std::string_view to);

}  // namespace orv::sqlite
