// The Catalog of one connection: the cached content, what the session has set (default schema,
// function path), and the version that tells when either changed.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "server/catalog/catalog_data.h"
#include "server/engine/sqlite/catalog/foreign_columns.h"
#include "server/engine/sqlite/catalog/temporary_tables.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"

namespace orv::sqlite {

class SqliteCatalog : public Catalog {
 public:
  SqliteCatalog(sqlite3* database, const TemporaryTables& temporary);

  // The content, read when it is not there. The pointer keeps it alive over later changes.
  std::shared_ptr<const CatalogData> data() const;
  // Forgets the content after a change or the rollback of one.
  void invalidate();
  // Forgets it when another connection has changed the catalog since the last look. Within a
  // transaction this takes hold of the state that it sees, outside it leaves no lock.
  void lookForChanges();

  void setFunctionPath(std::vector<std::string> path);
  void setDefaultSchema(std::string schema);

  uint64_t version() const override { return version_; }
  int codePage() const override { return data()->codePage; }
  const std::string& defaultSchema() const override;
  const Table* findTable(std::string_view schema, std::string_view name) const override;
  const DistinctType* findType(std::string_view schema, std::string_view name) const override;
  const Procedure* findProcedure(std::string_view schema, std::string_view name,
                                 size_t parameters) const override;
  const Procedure* findSpecificProcedure(std::string_view schema,
                                         std::string_view specific) const override;
  std::vector<const Procedure*> proceduresNamed(std::string_view schema,
                                                std::string_view name) const override;
  std::vector<const Function*> functionsNamed(std::string_view schema,
                                              std::string_view name) const override;
  const Function* findSpecificFunction(std::string_view schema,
                                       std::string_view specific) const override;
  std::vector<const Table*> childrenOf(const Table& parent) const override;
  std::vector<const Trigger*> triggersOn(const Table& table) const override;
  const Trigger* findTrigger(std::string_view schema, std::string_view name) const override;
  bool tableSpaceExists(std::string_view name) const override;
  bool schemaExists(std::string_view name) const override;
  bool indexExists(std::string_view schema, std::string_view name) const override;
  std::optional<Package> findPackage(std::string_view qualifier,
                                     std::string_view name) const override;
  const std::vector<std::string>& functionPath() const override { return path_; }

 private:
  // The schemas to search for a type or routine: the given one, or those of the function path.
  template <typename Find>
  auto search(std::string_view schema, Find find) const -> decltype(find(schema));
  int64_t readNumber(Command& command) const;

  sqlite3* database_;
  const TemporaryTables& temporary_;
  uint64_t version_ = 1;
  mutable std::shared_ptr<const CatalogData> data_;
  // Trees that were resolved before the last change may still be in use when it is noticed.
  std::shared_ptr<const CatalogData> previous_;
  mutable ForeignColumns foreignColumns_;
  mutable int64_t schemaVersion_ = 0;
  mutable int64_t generation_ = 0;
  int64_t dataVersion_ = 0;
  mutable Command readDataVersion_;
  mutable Command readSchemaVersion_;
  std::string defaultSchema_;
  std::vector<std::string> path_;
};

}  // namespace orv::sqlite
