// CREATE, ALTER and DROP TABLE, DECLARE GLOBAL TEMPORARY TABLE.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "server/catalog/catalog_data.h"
#include "server/engine/sqlite/catalog/table_text.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/syntax/ast.h"

namespace orv::sqlite {

// Names that tables, views and indexes of the file have, folded: new ones must differ.
std::set<std::string, std::less<>> takenNames(sqlite3* database);

// The engine's name for an object: the bare name in the database's own schema, "S.T" elsewhere.
std::string storedNameFor(sqlite3* database, const CatalogData& catalog, std::string_view schema,
                          std::string_view name);

class TableDefinition {
 public:
  TableDefinition(sqlite3* database, const CatalogData& catalog, const std::string& currentSchema,
                  const Statement& statement)
      : database_(database),
        catalog_(catalog),
        currentSchema_(currentSchema),
        statement_(statement) {}

  void create();
  // Makes the table in the temporary database.
  Table declare(std::string storedName);
  void alter();
  void drop();

 private:
  void define(std::string storedName);
  void copyColumns(const Table& pattern);
  void addColumn(const ColumnDefinition& definition);
  void setDefault(Column& column, const ColumnDefinition& definition);
  void setSystemDefault(Column& column);
  void setConstantDefault(Column& column, const std::string& sql);
  void addKeys();
  void addKey(const KeyDefinition& definition);
  void addForeignKey(const KeyDefinition& definition);
  std::vector<int> positions(const std::vector<std::string>& columns) const;
  std::string constraintName(const std::string& given, std::string_view suffix);

  void addStoredColumn(const Column& column);
  void addUniqueIndex(const Key& key, char kind);
  void addStoredForeignKey(const ForeignKey& key);
  void addStoredCheck(const RenderedCheck& check, const CheckConstraint& constraint);
  void detachChild(const Table& child, const ForeignKey& key);

  sqlite3* database_;
  const CatalogData& catalog_;
  const std::string& currentSchema_;
  const Statement& statement_;
  Table table_;                        // as it will be
  std::vector<RenderedCheck> checks_;  // parallel to the table's new checks
  std::set<std::string, std::less<>> takenColumns_;
  std::set<std::string, std::less<>> takenConstraints_;
};

}  // namespace orv::sqlite
