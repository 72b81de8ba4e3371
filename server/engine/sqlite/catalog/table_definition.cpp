// The definition is put together as a Table of the catalog first; texts for SQLite and rows for our
// tables are both made from that. ALTER adds to the Table that there is and stores what came in
// addition, where a constraint is held against the rows before it is written down.
#include "server/engine/sqlite/catalog/table_definition.h"

#include <algorithm>

#include "server/engine/sqlite/catalog/catalog_store.h"
#include "server/engine/sqlite/catalog/index_definition.h"
#include "server/engine/sqlite/connection/sql_text.h"
#include "server/engine/sqlite/render/renderer.h"
#include "server/values/utf8_text.h"

namespace orv::sqlite {
namespace {

// DEFAULT NULL, as opposed to a bare WITH DEFAULT, which the tree shows by a null as well.
bool isWrittenNull(const std::string& text, const Expr& value) {
  return value.kind == ExprKind::Null && foldAscii(text.substr(value.offset, 4)) == "NULL";
}

bool changesWithTime(const Expr& e) {
  if (e.kind == ExprKind::SpecialRegister && e.op.starts_with("CURRENT") &&
      e.op != "CURRENT SCHEMA") {
    return true;
  }
  return std::any_of(e.args.begin(), e.args.end(),
                     [](const ExprPtr& argument) { return changesWithTime(*argument); });
}

// SELECT 1 ... found a row.
bool anyRow(sqlite3* database, const SqlText& sql) {
  return Command(database, sql.text()).step();
}

}  // namespace

std::set<std::string, std::less<>> takenNames(sqlite3* database) {
  std::set<std::string, std::less<>> taken;
  Command rows(database, "SELECT name FROM sqlite_schema");
  while (rows.step()) taken.insert(foldAscii(rows.text(0)));
  return taken;
}

std::string storedNameFor(sqlite3* database, const CatalogData& catalog, std::string_view schema,
                          std::string_view name) {
  auto taken = takenNames(database);
  // Those that only set columns have a name there, but nothing of it.
  for (const auto& trigger : catalog.triggers) taken.insert(foldAscii(trigger->storedName));
  std::string wanted(name);
  if (schema != catalog.defaultSchema) wanted.insert(0, std::string(schema) + ".");
  // The names of the catalog's own tables, and what SQLite calls the rows in triggers.
  const std::string folded = foldAscii(wanted);
  if (folded.starts_with("SYSNTQ.") || folded == "OLD" || folded == "NEW") wanted.insert(0, "_");
  return uniqueStoredName(wanted, taken);
}

void TableDefinition::create() {
  const QualifiedName& name = statement_.name;
  define(storedNameFor(database_, catalog_, name.resolvedSchema, name.name));
  recordSchema(database_, table_.schema);
  recordTable(database_, table_);
}

Table TableDefinition::declare(std::string storedName) {
  table_.declared = true;
  table_.keepsRows = statement_.keepRows;
  if (statement_.pattern) copyColumns(*statement_.pattern);
  define(std::move(storedName));
  return std::move(table_);
}

void TableDefinition::define(std::string storedName) {
  table_.schema = statement_.name.resolvedSchema;
  table_.name = statement_.name.name;
  table_.storedName = std::move(storedName);
  table_.tableSpace = statement_.tableSpace;
  for (const ColumnDefinition& definition : statement_.columns) addColumn(definition);
  addKeys();
  execute(database_, createTableText(table_, catalog_, checks_));
}

// Keys stay behind; a default goes along when the engine knows its value.
void TableDefinition::copyColumns(const Table& pattern) {
  table_.columns = pattern.columns;
  for (Column& column : table_.columns) {
    column.storedName = uniqueStoredName(column.name, takenColumns_);
  }
}

void TableDefinition::addColumn(const ColumnDefinition& definition) {
  Column column;
  column.name = definition.name;
  column.storedName = uniqueStoredName(definition.name, takenColumns_);
  column.type = definition.type;
  if (definition.withDefault) setDefault(column, definition);
  table_.columns.push_back(std::move(column));
}

void TableDefinition::setDefault(Column& column, const ColumnDefinition& definition) {
  column.hasDefault = true;
  const Expr& value = *definition.defaultValue;
  if (isWrittenNull(statement_.text, value)) {
    column.defaultText = "NULL";
    return;
  }
  if (value.kind == ExprKind::Null) return setSystemDefault(column);
  Renderer renderer(catalog_, currentSchema_);
  renderer.converted(value, column.type, ConversionMode::Assignment);
  std::string sql = renderer.take();
  if (!changesWithTime(value)) return setConstantDefault(column, sql);
  column.storedDefault = sql;
  column.defaultText = value.kind == ExprKind::SpecialRegister ? value.op : sql;
}

// A constant is stored as the literal of its value, so that other programs can use the default.
void TableDefinition::setConstantDefault(Column& column, const std::string& sql) {
  Command command(database_, "SELECT quote(" + sql + ")");
  command.step();
  column.storedDefault = command.text(0);
  column.defaultText = column.storedDefault;
  if (column.type.kind == TypeKind::Decimal) {
    std::erase(column.defaultText, '\'');
  }
}

// WITH DEFAULT alone: zero, the empty string, the current date or time.
void TableDefinition::setSystemDefault(Column& column) {
  Expr value;
  value.kind = ExprKind::Literal;
  value.type.kind = TypeKind::Varchar;
  if (isNumeric(column.type.kind)) {
    value.type.kind = TypeKind::Integer;
    value.text = "0";
  } else if (isBinary(column.type.kind)) {
    value.type.kind = TypeKind::VarcharBits;
  } else if (isDatetime(column.type.kind)) {
    value.kind = ExprKind::SpecialRegister;
    value.type = column.type;
    value.op = "CURRENT " + typeName(column.type);
  }
  Renderer renderer(catalog_, currentSchema_);
  renderer.converted(value, column.type, ConversionMode::Assignment);
  std::string sql = renderer.take();
  if (value.kind == ExprKind::Literal) return setConstantDefault(column, sql);
  column.storedDefault = sql;
  column.defaultText = value.op;
}

std::vector<int> TableDefinition::positions(const std::vector<std::string>& columns) const {
  std::vector<int> result;
  result.reserve(columns.size());
  for (const std::string& column : columns) result.push_back(table_.columnIndex(column));
  return result;
}

std::string TableDefinition::constraintName(const std::string& given, std::string_view suffix) {
  if (!given.empty()) {
    // Constraints of one table differ in their names.
    if (!takenConstraints_.insert(given).second) throw SqlError(-601, {given, "CONSTRAINT"});
    return given;
  }
  std::string base = table_.name + "_" + std::string(suffix);
  std::string name = base;
  for (int n = 2; !takenConstraints_.insert(name).second; ++n) name = base + std::to_string(n);
  return name;
}

// Named constraints first, so that generated names keep clear of them.
void TableDefinition::addKeys() {
  for (const KeyDefinition& key : statement_.keys) addKey(key);
  for (const ColumnDefinition& column : statement_.columns) {
    KeyDefinition key;
    key.columns = {column.name};
    if (column.primaryKey) addKey(key);
    key.kind = KeyDefinition::Kind::Unique;
    if (column.unique) addKey(key);
    if (column.references.name.empty()) continue;
    key.kind = KeyDefinition::Kind::Foreign;
    key.references = column.references;
    key.referencesColumns = column.referencesColumns;
    key.onDelete = column.onDelete;
    addKey(key);
  }
}

void TableDefinition::addKey(const KeyDefinition& definition) {
  switch (definition.kind) {
    case KeyDefinition::Kind::Primary:
      table_.primaryKey =
          Key{constraintName(definition.constraint, "PK"), positions(definition.columns)};
      break;
    case KeyDefinition::Kind::Unique:
      table_.uniqueKeys.push_back(
          {constraintName(definition.constraint, "UK"), positions(definition.columns)});
      break;
    case KeyDefinition::Kind::Foreign:
      addForeignKey(definition);
      break;
    case KeyDefinition::Kind::Check: {
      Renderer renderer(catalog_, currentSchema_, table_);
      renderer.expression(*definition.check);
      std::string name = constraintName(definition.constraint, "CK");
      table_.checks.push_back({name, definition.checkText});
      checks_.push_back({name, renderer.take()});
    }
  }
}

void TableDefinition::addForeignKey(const KeyDefinition& definition) {
  ForeignKey key;
  key.name = constraintName(definition.constraint, "FK");
  key.columns = positions(definition.columns);
  key.parentSchema = definition.references.resolvedSchema;
  key.parentTable = definition.references.name;
  key.parentColumns = definition.referencesColumns;
  key.onDelete = definition.onDelete;
  table_.foreignKeys.push_back(std::move(key));
}

// ---------------------------------------------------------------- ALTER TABLE

void TableDefinition::alter() {
  table_ = *statement_.table;
  for (const Column& column : table_.columns) takenColumns_.insert(foldAscii(column.storedName));
  if (table_.primaryKey) takenConstraints_.insert(table_.primaryKey->name);
  for (const Key& key : table_.uniqueKeys) takenConstraints_.insert(key.name);
  for (const ForeignKey& key : table_.foreignKeys) takenConstraints_.insert(key.name);
  for (const CheckConstraint& check : table_.checks) takenConstraints_.insert(check.name);
  const Table before = table_;

  for (const ColumnDefinition& definition : statement_.columns) addColumn(definition);
  addKeys();
  for (size_t i = before.columns.size(); i < table_.columns.size(); ++i) {
    addStoredColumn(table_.columns[i]);
    recordColumn(database_, table_, i);
    recordGeneration(database_, Aged::Column, table_.storedName, table_.columns[i].storedName);
  }
  if (table_.primaryKey && !before.primaryKey) addUniqueIndex(*table_.primaryKey, 'P');
  for (size_t i = before.uniqueKeys.size(); i < table_.uniqueKeys.size(); ++i) {
    addUniqueIndex(table_.uniqueKeys[i], 'U');
  }
  for (size_t i = before.foreignKeys.size(); i < table_.foreignKeys.size(); ++i) {
    addStoredForeignKey(table_.foreignKeys[i]);
  }
  for (size_t i = 0; i < checks_.size(); ++i) {
    addStoredCheck(checks_[i], table_.checks[before.checks.size() + i]);
  }
}

// SQLite adds columns with constant defaults only: for others the rows get the present value, and
// the definition the expression.
void TableDefinition::addStoredColumn(const Column& column) {
  SqlText sql;
  sql << "ALTER TABLE " << Name{table_.storedName} << " ADD COLUMN ";
  bool changing =
      column.storedDefault.starts_with("strftime") || column.storedDefault.starts_with("(strftime");
  if (!changing) {
    sql << Verbatim{columnText(column)};
    execute(database_, sql.text());
    return;
  }
  Column constant = column;
  setConstantDefault(constant, column.storedDefault);
  sql << Verbatim{columnText(constant)};
  execute(database_, sql.text());
  SqlText fill;
  fill << "UPDATE " << Name{table_.storedName} << " SET " << Name{column.storedName} << "="
       << Name{column.storedName};
  // The rows get what they lacked; nobody has changed them.
  sqlite3_db_config(database_, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  try {
    execute(database_, fill.text());
  } catch (...) {
    sqlite3_db_config(database_, SQLITE_DBCONFIG_ENABLE_TRIGGER, 1, nullptr);
    throw;
  }
  sqlite3_db_config(database_, SQLITE_DBCONFIG_ENABLE_TRIGGER, 1, nullptr);
  replaceText(database_, table_.storedName, columnText(constant), columnText(column));
}

void TableDefinition::addUniqueIndex(const Key& key, char kind) {
  auto taken = takenNames(database_);
  Index index;
  index.storedName = uniqueStoredName(key.name, taken);
  index.unique = true;
  for (int column : key.columns) {
    index.columns.emplace_back(table_.columns[static_cast<size_t>(column)].name, false);
  }
  createStoredIndex(database_, index, table_);
  recordKey(database_, table_, kind, key);
}

void TableDefinition::addStoredForeignKey(const ForeignKey& key) {
  bool self = key.parentSchema == table_.schema && key.parentTable == table_.name;
  const Table* parent = self ? &table_ : catalog_.findTable(key.parentSchema, key.parentTable);
  SqlText orphans;
  orphans << "SELECT 1 FROM " << Name{table_.storedName} << " AS \"C\" WHERE NOT EXISTS (SELECT 1 "
          << "FROM " << Name{parent->storedName} << " AS \"P\" WHERE ";
  for (size_t i = 0; i < key.columns.size(); ++i) {
    const Column& child = table_.columns[static_cast<size_t>(key.columns[i])];
    auto parentColumn = static_cast<size_t>(parent->columnIndex(key.parentColumns[i]));
    if (i > 0) orphans << " AND ";
    orphans << "\"P\"." << Name{parent->columns[parentColumn].storedName} << "=\"C\"."
            << Name{child.storedName};
  }
  orphans << ")";
  for (int column : key.columns) {
    orphans << " AND \"C\"." << Name{table_.columns[static_cast<size_t>(column)].storedName}
            << " IS NOT NULL";
  }
  if (anyRow(database_, orphans)) throw SqlError(-667, "23520", {key.name});
  addConstraint(database_, table_.storedName, foreignKeyText(table_, key, catalog_));
  recordForeignKey(database_, table_, key);
}

void TableDefinition::addStoredCheck(const RenderedCheck& check,
                                     const CheckConstraint& constraint) {
  SqlText broken;
  broken << "SELECT 1 FROM " << Name{table_.storedName} << " WHERE NOT (" << Verbatim{check.sql}
         << ")";
  if (anyRow(database_, broken)) throw SqlError(-544, "23512", {check.name});
  addConstraint(database_, table_.storedName, checkText(check));
  recordCheck(database_, table_, constraint);
}

// ---------------------------------------------------------------- DROP TABLE

// Foreign keys of other tables go with their parent; their rows stay.
void TableDefinition::drop() {
  const Table& table = *statement_.table;
  for (const auto& child : catalog_.tables) {
    if (child.get() == &table) continue;
    for (const ForeignKey& key : child->foreignKeys) {
      if (catalog_.findTable(key.parentSchema, key.parentTable) == &table) detachChild(*child, key);
    }
  }
  execute(database_, dropText({"TABLE"}, table.storedName));
  eraseTable(database_, table);
}

void TableDefinition::detachChild(const Table& child, const ForeignKey& key) {
  bool removed =
      removeConstraint(database_, child.storedName, foreignKeyText(child, key, catalog_));
  if (!removed) {
    // Written by another program in words of its own.
    throw SqlError(-478, {statement_.table->schema + "." + statement_.table->name,
                          child.schema + "." + child.name});
  }
  eraseForeignKey(database_, child, key);
}

}  // namespace orv::sqlite
