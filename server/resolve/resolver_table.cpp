// Definitions of tables, indexes, aliases and views.
#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

#include "server/resolve/catalog.h"
#include "server/resolve/resolver_impl.h"
#include "server/syntax/tree_walk.h"
#include "server/values/sql_error.h"
#include "server/values/type_rules.h"

namespace orv {
namespace {

std::string keyName(const std::string& constraint, const std::vector<std::string>& columns) {
  if (!constraint.empty()) return constraint;
  std::string name;
  for (const std::string& column : columns) name += (name.empty() ? "" : ",") + column;
  return name;
}

bool isKeyOf(const Table& table, std::vector<int> columns) {
  std::ranges::sort(columns);
  const auto equal = [&](const Key& key) {
    std::vector<int> sorted = key.columns;
    std::ranges::sort(sorted);
    return sorted == columns;
  };
  return (table.primaryKey && equal(*table.primaryKey)) ||
         std::ranges::any_of(table.uniqueKeys, equal);
}

std::string objectType(char type) {
  return type == 'A' ? "ALIAS" : type == 'T' ? "TABLE" : "VIEW";
}

// Whether it calls what cannot stand in a definition that the engine evaluates by itself.
bool callsRoutine(const Expr& expr) {
  bool found = false;
  walk(expr, [&](const Expr& part) {
    found = found || part.routine || part.function == kGenerateUnique;
    return found ? Walk::Skip : Walk::Enter;
  });
  return found;
}

std::vector<std::string> columnNames(const Table& table, const std::vector<int>& columns) {
  std::vector<std::string> names;
  names.reserve(columns.size());
  for (const int column : columns) names.push_back(table.columns[static_cast<size_t>(column)].name);
  return names;
}

}  // namespace

void Resolver::resolveCreateTable() {
  QualifiedName& name = statement_.name;
  requireNewTableName(name);
  requireTableSpace();
  Table self;
  self.schema = name.resolvedSchema;
  self.name = name.name;
  resolveColumnDefinitions();
  addDefinitions(self);
  resolveForeignKeys(self);
  resolveChecks(self);
}

// Tables, views and aliases have their names among themselves.
void Resolver::requireNewTableName(QualifiedName& name) const {
  name.resolvedSchema = schemaOf(name);
  requireSchemaOfUsers(name.resolvedSchema, name);
  if (name.resolvedSchema == kDeclaredSchema) throw SqlError(-79, {display(name)});
  if (const Table* taken = catalog_.findTable(name.schema, name.name)) {
    throw SqlError(-601, {display(name), objectType(taken->type)});
  }
}

void Resolver::requireTableSpace() const {
  const std::string& name = statement_.tableSpace;
  if (!name.empty() && !catalog_.tableSpaceExists(name)) throw SqlError(-204, {name});
}

void Resolver::resolveAlterTable() {
  const Table& table = findChangeableTable(statement_.name, "ALTER TABLE");
  requireStored(table, "ALTER TABLE");
  statement_.table = &table;
  resolveColumnDefinitions();
  for (const ColumnDefinition& column : statement_.columns) {
    if (column.notNull && !column.withDefault) throw SqlError(-193, {column.name});
  }
  Table self = table;
  addDefinitions(self);
  resolveForeignKeys(self);
  resolveChecks(self);
}

void Resolver::resolveColumnDefinitions() {
  for (ColumnDefinition& column : statement_.columns) {
    resolveTypeName(column.type, column.typeName);
    column.type.nullable = !column.notNull;
    if (column.withDefault) resolveDefault(column);
  }
}

// A default is made of constants, special registers and built-in functions of them.
void Resolver::resolveDefault(ColumnDefinition& column) {
  if (column.defaultValue->kind == ExprKind::Null) return;
  walk(*column.defaultValue, [&](const Expr& expr) {
    const bool allowed =
        expr.kind != ExprKind::Column && expr.kind != ExprKind::Marker && !expr.query;
    if (!allowed) throw SqlError(-574, {column.name});
    return Walk::Enter;
  });
  Scope scope;
  resolveExpr(column.defaultValue, scope);
  const bool fits = baseAssignable(column.type, column.defaultValue->type, unicode());
  if (!fits || callsRoutine(*column.defaultValue)) {
    throw SqlError(-574, {column.name});
  }
}

// Adds the statement's columns and keys to `table`, which is what the table will then be.
void Resolver::addDefinitions(Table& table) const {
  for (const ColumnDefinition& definition : statement_.columns) {
    if (table.columnIndex(definition.name) >= 0) throw SqlError(-612, {definition.name});
    Column& column = table.columns.emplace_back();
    column.name = definition.name;
    column.type = definition.type;
  }
  for (const ColumnDefinition& column : statement_.columns) {
    KeyDefinition key;
    key.columns = {column.name};
    if (column.primaryKey) addKey(table, key);
    key.kind = KeyDefinition::Kind::Unique;
    if (column.unique) addKey(table, key);
  }
  for (const KeyDefinition& key : statement_.keys) addKey(table, key);
}

void Resolver::addKey(Table& table, const KeyDefinition& key) const {
  using Kind = KeyDefinition::Kind;
  if (key.kind != Kind::Primary && key.kind != Kind::Unique) return;
  Key added{key.constraint, keyColumns(table, key.columns)};
  for (const int column : added.columns) {
    const Column& member = table.columns[static_cast<size_t>(column)];
    if (member.type.nullable) throw SqlError(-542, {member.name});
    if (isLargeObject(member.type.kind)) throw SqlError(-134, {member.name});
  }
  if (key.kind == Kind::Unique) {
    table.uniqueKeys.push_back(std::move(added));
    return;
  }
  if (table.primaryKey) throw SqlError(-624, {table.schema + "." + table.name});
  table.primaryKey = std::move(added);
}

std::vector<int> Resolver::keyColumns(const Table& table,
                                      const std::vector<std::string>& columns) const {
  std::vector<int> positions;
  for (const std::string& column : columns) {
    const int index = table.columnIndex(column);
    if (index < 0) throw SqlError(-205, {column, table.schema + "." + table.name});
    if (std::ranges::find(positions, index) != positions.end()) throw SqlError(-121, {column});
    positions.push_back(index);
  }
  return positions;
}

// ---------------------------------------------------------------- foreign keys

void Resolver::resolveForeignKeys(const Table& self) {
  for (ColumnDefinition& column : statement_.columns) {
    if (column.references.name.empty()) continue;
    resolveForeignKey(self, {column.name}, column.references, column.referencesColumns, {});
  }
  for (KeyDefinition& key : statement_.keys) {
    if (key.kind != KeyDefinition::Kind::Foreign) continue;
    resolveForeignKey(self, key.columns, key.references, key.referencesColumns, key.constraint);
  }
}

// The parent's key columns must be a primary or unique key; without names they are the primary key.
void Resolver::resolveForeignKey(const Table& self, const std::vector<std::string>& columns,
                                 QualifiedName& parentName, std::vector<std::string>& parentColumns,
                                 const std::string& constraint) {
  const std::vector<int> child = keyColumns(self, columns);
  const bool itself = schemaOf(parentName) == self.schema && parentName.name == self.name;
  if (itself) parentName.resolvedSchema = self.schema;
  const Table& parent = itself ? self : findTable(parentName);
  requireStored(parent, "REFERENCES");
  parentName.name = parent.name;  // the name may be an alias
  const std::string shown = keyName(constraint, columns);
  if (parentColumns.empty()) {
    if (!parent.primaryKey) throw SqlError(-573, {shown, parent.schema + "." + parent.name});
    parentColumns = columnNames(parent, parent.primaryKey->columns);
  }
  const std::vector<int> key = keyColumns(parent, parentColumns);
  if (child.size() != key.size()) throw SqlError(-538, {shown});
  if (!isKeyOf(parent, key)) throw SqlError(-573, {shown, parent.schema + "." + parent.name});
  for (size_t i = 0; i < key.size(); ++i) {
    const SqlType& own = self.columns[static_cast<size_t>(child[i])].type;
    const SqlType& referenced = parent.columns[static_cast<size_t>(key[i])].type;
    const bool fits = sameDistinct(own, referenced) && baseComparable(own, referenced, unicode());
    if (!fits) throw SqlError(-538, {shown});
  }
}

// ---------------------------------------------------------------- check constraints

void Resolver::resolveChecks(const Table& self) {
  const bool anyCheck =
      std::ranges::any_of(statement_.keys, [](const KeyDefinition& key) { return !!key.check; });
  if (!anyCheck) return;
  statement_.target = std::make_unique<TableRef>();
  TableRef& target = *statement_.target;
  target.name = {self.schema, self.name, self.schema};
  target.alias = self.name;
  for (const Column& column : self.columns) target.columns.push_back({column.name, column.type});
  Scope scope;
  scope.tables.push_back(&target);
  for (KeyDefinition& key : statement_.keys) {
    if (!key.check) continue;
    const SqlError invalid(-546, {keyName(key.constraint, {key.checkText})});
    walk(*key.check, [&](const Expr& expr) {
      const bool allowed = expr.kind != ExprKind::Marker && !expr.query;
      if (!allowed) throw invalid;
      return Walk::Enter;
    });
    resolveExpr(key.check, scope);
    if (callsRoutine(*key.check)) throw invalid;
  }
}

// ---------------------------------------------------------------- indexes and DROP TABLE

void Resolver::resolveCreateIndex() {
  QualifiedName& name = statement_.name;
  const Table& table = findChangeableTable(statement_.indexedTable, "CREATE INDEX");
  statement_.table = &table;
  const bool own = table.declared && name.schema.empty();
  name.resolvedSchema = own ? std::string(kDeclaredSchema) : schemaOf(name);
  requireSchemaOfUsers(name.resolvedSchema, name);
  if (catalog_.indexExists(name.resolvedSchema, name.name)) {
    throw SqlError(-601, {name.resolvedSchema + "." + name.name, "INDEX"});
  }
  std::vector<std::string> columns;
  for (const auto& [column, descending] : statement_.indexColumns) columns.push_back(column);
  for (const int column : keyColumns(table, columns)) {
    const Column& member = table.columns[static_cast<size_t>(column)];
    if (isLargeObject(member.type.kind)) throw SqlError(-134, {member.name});
  }
}

void Resolver::resolveDropIndex() {
  QualifiedName& name = statement_.name;
  name.resolvedSchema = schemaOf(name);
  if (!catalog_.indexExists(name.resolvedSchema, name.name)) {
    throw SqlError(-204, {display(name)});
  }
}

// The object itself, never what an alias stands for.
const Table& Resolver::findObject(QualifiedName& name, char type) const {
  const Table* table = catalog_.findTable(name.schema, name.name);
  if (!table) throw SqlError(-204, {display(name)});
  if (table->type == 'S') throw SqlError(-607, {"DROP " + objectType(type), display(name)});
  if (table->type != type) {
    throw SqlError(-159, {display(name), objectType(table->type), objectType(type)});
  }
  name.resolvedSchema = table->schema;
  return *table;
}

void Resolver::resolveDropTable() {
  statement_.table = &findObject(statement_.name, 'T');
}

// ---------------------------------------------------------------- aliases

// What an alias stands for may be an alias in its turn.
void Resolver::resolveCreateAlias() {
  requireNewTableName(statement_.name);
  QualifiedName& base = statement_.base;
  statement_.table = catalog_.findTable(base.schema, base.name);
  if (!statement_.table) throw SqlError(-204, {display(base)});
  requireStored(*statement_.table, "CREATE ALIAS");
}

void Resolver::resolveDropAlias() {
  statement_.table = &findObject(statement_.name, 'A');
}

// ---------------------------------------------------------------- views

void Resolver::resolveCreateView() {
  requireNoMarkers();
  requireNewTableName(statement_.name);
  const DefinitionCatalog own(catalog_, catalog_.defaultSchema(), catalog_.functionPath());
  Resolver(statement_, own).resolveQueryStatement();
  nameViewColumns();
}

// Columns of the query that are called by their number have no name that a view could have.
void Resolver::nameViewColumns() {
  const Columns& columns = statement_.query->columns;
  std::vector<std::string>& names = statement_.viewColumns;
  const bool listed = !names.empty();
  if (listed && names.size() != columns.size()) throw SqlError(-158, {display(statement_.name)});
  std::set<std::string_view> taken;
  for (size_t i = 0; i < columns.size(); ++i) {
    const std::string& name = listed ? names[i] : columns[i].name;
    const bool first = taken.insert(name).second;
    if (listed && !first) throw SqlError(-612, {name});
    if (!first || (!listed && name == std::to_string(i + 1))) {
      throw SqlError(-153, {display(statement_.name)});
    }
  }
  if (listed) return;
  for (const OutputColumn& column : columns) names.push_back(column.name);
}

void Resolver::resolveDropView() {
  statement_.table = &findObject(statement_.name, 'V');
}

}  // namespace orv
