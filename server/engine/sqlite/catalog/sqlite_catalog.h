// The Catalog of one connection: its content is read from the file once and kept until it changes.
#pragma once

#include <memory>

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
  const CatalogContent& content() const override { return *data(); }
  // Forgets the content after a change or the rollback of one.
  void invalidate();
  // Forgets it when another connection has changed the catalog since the last look. Within a
  // transaction this takes hold of the state that it sees, outside it leaves no lock.
  void lookForChanges();

  void setFunctionPath(std::vector<std::string> path) {
    path_ = std::move(path);
    ++version_;
  }
  void setDefaultSchema(std::string schema) {
    defaultSchema_ = std::move(schema);
    ++version_;
  }
  uint64_t version() const override { return version_; }

 private:
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
};

}  // namespace orv::sqlite
