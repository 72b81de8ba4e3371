// Declared temporary tables.
#include <algorithm>

#include "server/resolve/resolver_impl.h"
#include "server/values/sql_error.h"

namespace orv {

// A stored table of the same name is hidden by the declared one, and no obstacle.
void Resolver::resolveDeclareTable() {
  QualifiedName& name = statement_.name;
  if (!name.schema.empty() && name.schema != kDeclaredSchema) throw SqlError(-79, {display(name)});
  name.resolvedSchema = kDeclaredSchema;
  const std::string shown = name.resolvedSchema + "." + name.name;
  const Table* present = catalog_.findTable(kDeclaredSchema, name.name);
  if (present && present->declared) {
    if (!statement_.replace) throw SqlError(-601, {shown, "TABLE"});
    statement_.table = present;
  }
  requireTableSpace();
  if (!statement_.base.name.empty()) {
    statement_.pattern = &findTable(statement_.base);
    return;
  }
  Table self;
  self.schema = name.resolvedSchema;
  self.name = name.name;
  resolveColumnDefinitions();
  addDefinitions(self);
  rejectForeignKeys(shown);
  resolveChecks(self);
}

// The engine's foreign keys do not lead from a session's tables to the stored ones.
void Resolver::rejectForeignKeys(const std::string& table) const {
  const bool any = std::ranges::any_of(statement_.columns,
                                       [](const ColumnDefinition& column) {
                                         return !column.references.name.empty();
                                       }) ||
                   std::ranges::any_of(statement_.keys, [](const KeyDefinition& key) {
                     return key.kind == KeyDefinition::Kind::Foreign;
                   });
  if (any) throw SqlError(-526, {"FOREIGN KEY", table});
}

void Resolver::requireStored(const Table& table, std::string_view action) const {
  if (!table.declared) return;
  throw SqlError(-526, {std::string(action), table.schema + "." + table.name});
}

}  // namespace orv
