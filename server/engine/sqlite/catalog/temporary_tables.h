// The declared temporary tables of one session: tables in the connection's own temporary database,
// which no other connection sees and which ends with it. The rest of their definition stands here
// in memory; which of them there are is read from the temporary database, so that a rollback takes
// definitions back as it does with stored tables.
#pragma once

#include <map>
#include <set>
#include <string>

#include "server/catalog/catalog_data.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/syntax/ast.h"

namespace orv::sqlite {

class TemporaryTables {
 public:
  explicit TemporaryTables(sqlite3* database) : database_(database) {}

  // Whether the definition is one of a declared table or its index: then apply() takes it.
  static bool concerns(const Statement& statement, const CatalogData& catalog);
  void apply(const CatalogData& catalog, const std::string& currentSchema,
             const Statement& statement);

  // What there is now.
  void addTo(CatalogData& data) const;

  bool none() const { return tables_.empty(); }
  // For the end of a unit of work: empties the tables whose rows do not outlive it.
  void deleteRows() const;
  // After it: forgets the definitions that no rollback can bring back.
  void forgetDropped();

 private:
  using Names = std::set<std::string, std::less<>>;

  void declare(const CatalogData& catalog, const std::string& currentSchema,
               const Statement& statement);
  void createIndex(const Statement& statement);
  std::string newStoredName(const std::string& name) const;
  Names storedNames() const;

  sqlite3* database_;
  // By stored name. A name is not used again while a rollback may bring its table back.
  std::map<std::string, Table> tables_;
  std::map<std::string, Index> indexes_;
};

}  // namespace orv::sqlite
