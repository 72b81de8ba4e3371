// Everything is read at once and kept until the file's schema or the generation of our tables shows
// a change. A search of one object at a time would be an engine's query for each name of a
// statement.
#include "server/engine/sqlite/catalog/sqlite_catalog.h"

#include <algorithm>

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

void SqliteCatalog::setFunctionPath(std::vector<std::string> path) {
  path_ = std::move(path);
  ++version_;
}

void SqliteCatalog::setDefaultSchema(std::string schema) {
  defaultSchema_ = std::move(schema);
  ++version_;
}

const std::string& SqliteCatalog::defaultSchema() const {
  return defaultSchema_;
}

const Table* SqliteCatalog::findTable(std::string_view schema, std::string_view name) const {
  return data()->findTable(schema.empty() ? std::string_view(defaultSchema_) : schema, name);
}

template <typename Find>
auto SqliteCatalog::search(std::string_view schema, Find find) const -> decltype(find(schema)) {
  if (!schema.empty()) return find(schema);
  for (const std::string& candidate : path_) {
    if (auto found = find(candidate)) return found;
  }
  return find(defaultSchema_);
}

const DistinctType* SqliteCatalog::findType(std::string_view schema, std::string_view name) const {
  return search(schema, [&](std::string_view s) { return data()->findType(s, name); });
}

const Procedure* SqliteCatalog::findProcedure(std::string_view schema, std::string_view name,
                                              size_t parameters) const {
  return search(schema,
                [&](std::string_view s) { return data()->findProcedure(s, name, parameters); });
}

const Procedure* SqliteCatalog::findSpecificProcedure(std::string_view schema,
                                                      std::string_view specific) const {
  return search(schema,
                [&](std::string_view s) { return data()->findSpecificProcedure(s, specific); });
}

std::vector<const Procedure*> SqliteCatalog::proceduresNamed(std::string_view schema,
                                                             std::string_view name) const {
  if (!schema.empty()) return data()->proceduresNamed(schema, name);
  for (const std::string& candidate : path_) {
    auto found = data()->proceduresNamed(candidate, name);
    if (!found.empty()) return found;
  }
  return data()->proceduresNamed(defaultSchema_, name);
}

std::vector<const Function*> SqliteCatalog::functionsNamed(std::string_view schema,
                                                           std::string_view name) const {
  if (!schema.empty()) return data()->functionsNamed(schema, name);
  std::vector<const Function*> all;
  for (const std::string& candidate : path_) {
    const auto found = data()->functionsNamed(candidate, name);
    all.insert(all.end(), found.begin(), found.end());
  }
  if (std::ranges::find(path_, defaultSchema_) == path_.end()) {
    const auto found = data()->functionsNamed(defaultSchema_, name);
    all.insert(all.end(), found.begin(), found.end());
  }
  return all;
}

const Function* SqliteCatalog::findSpecificFunction(std::string_view schema,
                                                    std::string_view specific) const {
  return search(schema,
                [&](std::string_view s) { return data()->findSpecificFunction(s, specific); });
}

std::vector<const Table*> SqliteCatalog::childrenOf(const Table& parent) const {
  return data()->childrenOf(parent);
}

std::vector<const Trigger*> SqliteCatalog::triggersOn(const Table& table) const {
  return data()->triggersOn(table);
}

const Trigger* SqliteCatalog::findTrigger(std::string_view schema, std::string_view name) const {
  return data()->findTrigger(schema.empty() ? std::string_view(defaultSchema_) : schema, name);
}

bool SqliteCatalog::tableSpaceExists(std::string_view name) const {
  return data()->tableSpaces.contains(name);
}

bool SqliteCatalog::schemaExists(std::string_view name) const {
  return data()->schemas.contains(name) || name == kSystemSchema || name == kSystemViewSchema;
}

bool SqliteCatalog::indexExists(std::string_view schema, std::string_view name) const {
  return data()->findIndex(schema.empty() ? std::string_view(defaultSchema_) : schema, name) !=
         nullptr;
}

std::optional<Package> SqliteCatalog::findPackage(std::string_view qualifier,
                                                  std::string_view name) const {
  for (const Package& package : data()->packages) {
    if (package.qualifier == qualifier && package.name == name) return package;
  }
  return std::nullopt;
}

}  // namespace orv::sqlite
