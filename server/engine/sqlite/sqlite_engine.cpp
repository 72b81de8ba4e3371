// What is done in which order. A unit of work takes hold of one state of the file with its first
// statement that reads or changes, and the catalog follows that state. A definition runs within a
// savepoint of its own; what it may have taken from triggers and views is examined before it stays.
#include "server/engine/sqlite/sqlite_engine.h"

#include <unistd.h>

#include "server/engine/sqlite/catalog/catalog_store.h"
#include "server/engine/sqlite/definition.h"
#include "server/engine/sqlite/definition_users.h"
#include "server/engine/sqlite/engine_statement.h"
#include "server/engine/sqlite/functions/routine_calls.h"
#include "server/engine/sqlite/render/renderer.h"
#include "server/engine/sqlite/triggers/search_indexes.h"
#include "server/engine/sqlite/triggers/trigger_definition.h"

namespace orv::sqlite {
namespace {

constexpr std::string_view kChangeSavepoint = "SYSNTQ.CHANGE";
constexpr std::string_view kDefaultSchema = "APP";

// Removes the file of a database that was created and cannot be opened.
class CreatedFile {
 public:
  explicit CreatedFile(const std::string& path) : path_(path) {}
  ~CreatedFile() {
    if (!kept_) ::unlink(path_.c_str());
  }
  CreatedFile(const CreatedFile&) = delete;
  CreatedFile& operator=(const CreatedFile&) = delete;
  void keep() { kept_ = true; }

 private:
  std::string path_;
  bool kept_ = false;
};

DatabaseHandle createOrOpen(const std::string& path, const EngineOptions& options) {
  const auto fill = [&](sqlite3* database) {
    execute(database, "BEGIN IMMEDIATE");
    createCatalogTables(database, options.codePage, kDefaultSchema);
    execute(database, "COMMIT");
  };
  if (options.create && !isMemory(path)) createDatabase(path, fill);
  DatabaseHandle database = openDatabase(path);
  if (options.create && isMemory(path)) fill(database.get());
  return database;
}

}  // namespace

SqliteEngine::SqliteEngine(const std::string& path, const EngineOptions& options)
    : environment_(std::make_unique<Environment>(options.create ? options.codePage : 1208,
                                                 [this] { return catalog_->data(); })),
      database_(createOrOpen(path, options)),
      temporary_(database_.get()) {
  CreatedFile created(path);
  if (!options.create || isMemory(path)) created.keep();
  sqlite3* database = database_.get();
  registerCollation(database);
  registerConversions(database, *environment_);
  registerArithmetic(database, *environment_);
  registerAggregates(database, *environment_);
  registerStrings(database, *environment_);
  registerNumbers(database, *environment_);
  registerTriggerFunctions(database, *environment_);
  registerScalarCalls(database, *environment_);
  registerTableCalls(database, *environment_);
  registerSystemTables(database, environment_->catalog);
  catalog_ = std::make_unique<SqliteCatalog>(database, temporary_);
  environment_->setCodePage(catalog_->codePage());
  created.keep();
}

bool SqliteEngine::inUnitOfWork() const {
  return sqlite3_get_autocommit(database_.get()) == 0;
}

bool SqliteEngine::seesOneState() const {
  return sqlite3_txn_state(database_.get(), "main") != SQLITE_TXN_NONE;
}

void SqliteEngine::lookForChanges() {
  if (!seesOneState()) catalog_->lookForChanges();
}

// To look for changes is to read, which takes hold of a state.
void SqliteEngine::begin(Access access) {
  const bool begins = !inUnitOfWork();
  if (!begins && (access == Access::None || seesOneState())) return;
  if (begins) {
    catalogChanged_ = false;
    if (access == Access::None) catalog_->lookForChanges();
    execute(database_.get(), access == Access::Changes ? "BEGIN IMMEDIATE" : "BEGIN");
  }
  if (access == Access::None) return;
  try {
    catalog_->lookForChanges();
  } catch (...) {
    if (begins) execute(database_.get(), "ROLLBACK");
    throw;
  }
}

void SqliteEngine::commit() {
  if (!inUnitOfWork()) return;
  const bool temporary = !temporary_.none();
  if (temporary) savepointCommand("SAVEPOINT", kChangeSavepoint);
  try {
    temporary_.deleteRows();
    execute(database_.get(), "COMMIT");
  } catch (...) {
    if (temporary) undoChange();
    throw;
  }
  endUnitOfWork();
}

void SqliteEngine::rollback() {
  if (inUnitOfWork()) execute(database_.get(), "ROLLBACK");
  if (catalogChanged_) catalog_->invalidate();
  endUnitOfWork();
}

void SqliteEngine::endUnitOfWork() {
  if (catalogChanged_) temporary_.forgetDropped();
  catalogChanged_ = false;
}

void SqliteEngine::savepointCommand(std::string_view verb, std::string_view name) {
  SqlText sql;
  sql << Verbatim{verb} << " " << Name{name};
  try {
    execute(database_.get(), sql.text());
  } catch (const SqlError& error) {
    bool unknown =
        !error.tokens().empty() && error.tokens().front().starts_with("no such savepoint");
    if (unknown) throw SqlError(-880, {std::string(name)});
    throw;
  }
}

void SqliteEngine::savepoint(std::string_view name) {
  savepointCommand("SAVEPOINT", name);
}

void SqliteEngine::releaseSavepoint(std::string_view name) {
  savepointCommand("RELEASE", name);
}

void SqliteEngine::rollbackToSavepoint(std::string_view name) {
  savepointCommand("ROLLBACK TO", name);
  if (catalogChanged_) catalog_->invalidate();
}

std::unique_ptr<EngineStatement> SqliteEngine::prepare(const Statement& resolved) {
  std::shared_ptr<const CatalogData> data = catalog_->data();
  Renderer renderer(*data, catalog_->defaultSchema());
  renderer.statement(resolved);
  SqliteStatement::Program program;
  if (resolved.hasResult()) {
    const std::vector<OutputColumn>& columns = resolved.query->columns;
    for (size_t i = 0; i < columns.size(); ++i) {
      const bool isForeign = foreignColumn(*resolved.query, i) != nullptr;
      program.columns.push_back({columns[i].type, columns[i].name, isForeign});
    }
  }
  program.condition = renderer.conditionQuery();
  program.requiredMarkers = renderer.requiredMarkers();
  program.sql = renderer.take();
  return std::make_unique<SqliteStatement>(database_.get(), *environment_, std::move(program),
                                           ConstraintNames(resolved, data));
}

template <typename Change>
void SqliteEngine::changeCatalog(Change change) {
  begin(Access::None);
  savepointCommand("SAVEPOINT", kChangeSavepoint);
  try {
    change();
    savepointCommand("RELEASE", kChangeSavepoint);
  } catch (...) {
    undoChange();
    catalog_->invalidate();
    throw;
  }
  catalogChanged_ = true;
  catalog_->invalidate();
}

void SqliteEngine::undoChange() {
  if (!inUnitOfWork()) return;
  savepointCommand("ROLLBACK TO", kChangeSavepoint);
  savepointCommand("RELEASE", kChangeSavepoint);
}

template <typename Change>
void SqliteEngine::changeStored(Change change) {
  changeCatalog([&] {
    sqlite3* database = database_.get();
    createCatalogTables(database, catalog_->codePage(), catalog_->data()->defaultSchema);
    change();
    raiseCatalogGeneration(database);
  });
}

void SqliteEngine::applyDdl(const Statement& resolved) {
  if (resolved.kind == StatementKind::Grant && !resolved.table) return;
  // The tree points into the content that it was resolved with.
  std::shared_ptr<const CatalogData> data = catalog_->data();
  const std::string& schema = catalog_->defaultSchema();
  if (TemporaryTables::concerns(resolved, *data)) {
    changeCatalog([&] { temporary_.apply(*data, schema, resolved); });
  } else {
    changeStored([&] { define(*data, resolved); });
  }
}

void SqliteEngine::define(const CatalogData& data, const Statement& resolved) {
  const DefinitionUsers users(resolved, data, *catalog_);
  const bool before = changesBeforeTriggers(resolved);
  const bool searching = changesSearches(resolved, data);
  applyDefinition(database_.get(), data, catalog_->defaultSchema(), catalog_->functionPath(),
                  resolved);
  if (!users.any() && !before && !searching) return;
  catalog_->invalidate();
  const std::shared_ptr<const CatalogData> changed = catalog_->data();
  users.requireUnchanged(*changed, *catalog_);
  if (before) recompileTriggers(database_.get(), *changed, *catalog_);
  if (searching) keepSearchIndexes(database_.get(), *changed, *catalog_);
}

// Whether statements come to set columns of new rows that they did not set, or no more.
bool SqliteEngine::changesBeforeTriggers(const Statement& resolved) const {
  if (resolved.kind == StatementKind::CreateTrigger) return setsColumns(*resolved.trigger);
  if (resolved.kind != StatementKind::DropTrigger) return false;
  const Trigger& dropped = *resolved.droppedTrigger;
  return dropped.time == TriggerTime::Before && dropped.event != TriggerEvent::Delete;
}

void SqliteEngine::setFunctionPath(std::vector<std::string> path) {
  catalog_->setFunctionPath(std::move(path));
}

void SqliteEngine::setDefaultSchema(std::string schema) {
  catalog_->setDefaultSchema(std::move(schema));
}

void SqliteEngine::bindPackage(const Package& package,
                               const std::vector<PackageSection>& sections) {
  changeStored([&] { recordPackage(database_.get(), package, sections); });
}

}  // namespace orv::sqlite
