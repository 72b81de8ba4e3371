// The SQLite engine: one connection with its functions, catalog and unit of work.
#pragma once

#include <memory>
#include <string>

#include "server/engine/engine.h"
#include "server/engine/sqlite/catalog/sqlite_catalog.h"
#include "server/engine/sqlite/catalog/system_tables.h"
#include "server/engine/sqlite/catalog/temporary_tables.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/engine/sqlite/functions/engine_functions.h"

namespace orv::sqlite {

class SqliteEngine : public Engine {
 public:
  // Opens or creates the database at `path`; see openDatabase() and createDatabase().
  SqliteEngine(const std::string& path, const EngineOptions& options);

  Catalog& catalog() override { return *catalog_; }

  void lookForChanges() override;

  void begin(Access access) override;
  void commit() override;
  void rollback() override;
  bool inUnitOfWork() const override;
  void savepoint(std::string_view name) override;
  void releaseSavepoint(std::string_view name) override;
  void rollbackToSavepoint(std::string_view name) override;

  std::unique_ptr<EngineStatement> prepare(const Statement& resolved) override;
  void setFunctionHost(FunctionHost* host) override { environment_->host = host; }
  void applyDdl(const Statement& resolved) override;
  void setFunctionPath(std::vector<std::string> path) override;
  void setDefaultSchema(std::string schema) override;
  void bindPackage(const Package& package, const std::vector<PackageSection>& sections) override;

 private:
  // Whether the unit of work has read or changed the file.
  bool seesOneState() const;
  void savepointCommand(std::string_view verb, std::string_view name);
  // Runs a change of the catalog so that it happens wholly or not at all.
  template <typename Change>
  void changeCatalog(Change change);
  // The same for a change that is stored in the file.
  template <typename Change>
  void changeStored(Change change);
  void undoChange();
  void define(const CatalogData& data, const Statement& resolved);
  bool changesBeforeTriggers(const Statement& resolved) const;
  void endUnitOfWork();

  // What the connection's functions and tables refer to outlives it.
  std::unique_ptr<Environment> environment_;
  DatabaseHandle database_;
  TemporaryTables temporary_;
  std::unique_ptr<SqliteCatalog> catalog_;
  bool catalogChanged_ = false;  // in this unit of work
};

}  // namespace orv::sqlite
