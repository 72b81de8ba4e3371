// Everything is read at once and kept until the file's schema or the generation of our tables shows
// a change. A search of one object at a time would be an engine's query for each name of a
// statement.
#include "server/engine/sqlite/catalog/sqlite_catalog.h"

#include "server/catalog/system_views.h"
#include "server/engine/sqlite/catalog/catalog_store.h"

namespace orv::sqlite {

SqliteCatalog::SqliteCatalog(sqlite3* database, const TemporaryTables& temporary)
    : database_(database),
      temporary_(temporary),
      readDataVersion_(database, "PRAGMA data_version"),
      readSchemaVersion_(database, "PRAGMA schema_version") {
  dataVersion_ = readNumber(readDataVersion_);
  defaultSchema_ = data()->defaultSchema;
  path_ = {std::string(kSystemSchema), "SYSFUN", defaultSchema_};
}

int64_t SqliteCatalog::readNumber(Command& command) const {
  int64_t number = command.step() ? command.integer(0) : 0;
  command.reset();
  return number;
}

std::shared_ptr<const CatalogData> SqliteCatalog::data() const {
  if (data_) return data_;
  // All of it of one state of the file.
  const bool own = sqlite3_get_autocommit(database_) != 0;
  if (own) execute(database_, "BEGIN");
  try {
    schemaVersion_ = readNumber(readSchemaVersion_);
    generation_ = catalogGeneration(database_);
    data_ = loadCatalog(database_, temporary_, foreignColumns_);
  } catch (...) {
    if (own) execute(database_, "ROLLBACK");
    throw;
  }
  if (own) execute(database_, "COMMIT");
  return data_;
}

void SqliteCatalog::invalidate() {
  ++version_;
  if (data_) previous_ = std::move(data_);
  data_.reset();
}

void SqliteCatalog::lookForChanges() {
  int64_t dataVersion = readNumber(readDataVersion_);
  if (dataVersion == dataVersion_) return;
  dataVersion_ = dataVersion;
  if (!data_) return;
  if (readNumber(readSchemaVersion_) != schemaVersion_ ||
      catalogGeneration(database_) != generation_) {
    invalidate();
  }
}

}  // namespace orv::sqlite
