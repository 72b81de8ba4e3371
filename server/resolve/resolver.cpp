// The entry, and the statements that change rows or call a procedure.
#include "server/resolve/resolver.h"

#include <algorithm>
#include <cctype>

#include "server/resolve/resolver_impl.h"
#include "server/values/sql_error.h"
#include "server/values/type_rules.h"

namespace orv {
namespace {

constexpr int kMaxAliasChain = 16;

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(
      a, b, [](unsigned char x, unsigned char y) { return std::toupper(x) == std::toupper(y); });
}

OutputColumn outputColumn(const Column& column) {
  return {column.name, column.type};
}

}  // namespace

void resolve(Statement& statement, const Catalog& catalog) {
  Resolver(statement, catalog).run();
}

// Statements that are not listed hold no names of the catalog.
void Resolver::run() {
  using Kind = StatementKind;
  struct Step {
    Kind kind;
    void (Resolver::*resolve)();
  };
  static constexpr Step kSteps[] = {
      {Kind::Select, &Resolver::resolveQueryStatement},
      {Kind::Insert, &Resolver::resolveInsert},
      {Kind::Update, &Resolver::resolveUpdate},
      {Kind::Delete, &Resolver::resolveDelete},
      {Kind::Call, &Resolver::resolveCall},
      {Kind::CreateTable, &Resolver::resolveCreateTable},
      {Kind::DeclareTable, &Resolver::resolveDeclareTable},
      {Kind::AlterTable, &Resolver::resolveAlterTable},
      {Kind::DropTable, &Resolver::resolveDropTable},
      {Kind::CreateIndex, &Resolver::resolveCreateIndex},
      {Kind::DropIndex, &Resolver::resolveDropIndex},
      {Kind::CreateAlias, &Resolver::resolveCreateAlias},
      {Kind::DropAlias, &Resolver::resolveDropAlias},
      {Kind::CreateView, &Resolver::resolveCreateView},
      {Kind::DropView, &Resolver::resolveDropView},
      {Kind::CreateTrigger, &Resolver::resolveCreateTrigger},
      {Kind::DropTrigger, &Resolver::resolveDropTrigger},
      {Kind::CreateDistinctType, &Resolver::resolveCreateType},
      {Kind::DropDistinctType, &Resolver::resolveDropType},
      {Kind::CreateTableSpace, &Resolver::resolveTableSpace},
      {Kind::DropTableSpace, &Resolver::resolveTableSpace},
      {Kind::CreateSchema, &Resolver::resolveSchema},
      {Kind::DropSchema, &Resolver::resolveSchema},
      {Kind::CreateProcedure, &Resolver::resolveCreateProcedure},
      {Kind::DropProcedure, &Resolver::resolveDropProcedure},
      {Kind::CreateFunction, &Resolver::resolveCreateFunction},
      {Kind::DropFunction, &Resolver::resolveDropFunction},
      {Kind::Grant, &Resolver::resolveGrant},
  };
  for (const Step& step : kSteps) {
    if (step.kind == statement_.kind) (this->*step.resolve)();
  }
  for (const MarkerInfo& marker : statement_.markers) {
    if (marker.type.kind == TypeKind::Unknown) throw SqlError(-418);
  }
}

void Resolver::resolveQueryStatement() {
  resolveQuery(*statement_.query, outer_);
  settleRest(*statement_.query);
}

// ---------------------------------------------------------------- names

const std::string& Resolver::schemaOf(const QualifiedName& name) const {
  return name.schema.empty() ? catalog_.defaultSchema() : name.schema;
}

std::string Resolver::display(const QualifiedName& name) const {
  return schemaOf(name) + "." + name.name;
}

// The table behind a name, which may be an alias of an alias.
const Table& Resolver::findTable(QualifiedName& name) {
  const Table* table = catalog_.findTable(name.schema, name.name);
  for (int i = 0; table && table->type == 'A' && i < kMaxAliasChain; ++i) {
    table = catalog_.findTable(table->baseSchema, table->baseTable);
  }
  if (!table || table->type == 'A') throw SqlError(-204, {display(name)});
  name.resolvedSchema = table->schema;
  return *table;
}

const Table& Resolver::findChangeableTable(QualifiedName& name, std::string_view action) {
  const Table& table = findTable(name);
  const std::string shown = table.schema + "." + table.name;
  if (table.type == 'S') throw SqlError(-607, {std::string(action), shown});
  if (table.type == 'V') throw SqlError(-150, {shown});
  return table;
}

Resolver::Columns Resolver::columnsOf(const Table& table) const {
  Columns columns;
  for (size_t i = 0; i < catalog_.columnsSeen(table); ++i) {
    columns.push_back(outputColumn(table.columns[i]));
  }
  return columns;
}

// Engines write aliases beside the target's stored name, which must not hide behind one of them.
std::string Resolver::nextAlias() {
  std::string alias;
  do {
    alias = "T" + std::to_string(++aliases_);
  } while (statement_.table && equalsIgnoringCase(alias, statement_.table->storedName));
  return alias;
}

void Resolver::resolveTypeName(SqlType& type, const QualifiedName& name) {
  if (!name.name.empty()) {
    const DistinctType* distinct = catalog_.findType(name.schema, name.name);
    if (!distinct) throw SqlError(-204, {display(name)});
    type.kind = distinct->source.kind;
    type.length = distinct->source.length;
    type.scale = distinct->source.scale;
    type.distinctSchema = distinct->schema;
    type.distinctName = distinct->name;
  }
  checkGraphic(type);
}

void Resolver::checkGraphic(const SqlType& type) const {
  if (isGraphic(type.kind) && !supportsGraphic(catalog_.codePage())) {
    throw SqlError(-1216, {std::to_string(catalog_.codePage())});
  }
}

// ---------------------------------------------------------------- INSERT

void Resolver::resolveInsert() {
  const Table& table = findChangeableTable(statement_.name, "INSERT");
  statement_.table = &table;
  fillInsertColumns(table);
  Columns target;
  for (const int index : statement_.insertColumnIndexes) {
    target.push_back(outputColumn(table.columns[static_cast<size_t>(index)]));
  }
  Query& query = *statement_.query;
  resolveQuery(query, outer_, &target);
  if (query.columns.size() != target.size()) throw SqlError(-117);
  for (size_t i = 0; i < target.size(); ++i) {
    settleColumn(query, i, target[i].type);
    if (query.kind == QueryKind::Values) {
      for (const auto& row : query.rows) checkAssignable(*row[i], target[i]);
    } else {
      const bool constant =
          query.kind == QueryKind::Select && isConstantOrMarker(*query.items[i].expr);
      checkAssignable(query.columns[i].type, constant, target[i]);
    }
  }
  addBeforeTriggers(TriggerEvent::Insert);
}

void Resolver::fillInsertColumns(const Table& table) {
  std::vector<std::string>& names = statement_.insertColumns;
  if (names.empty()) {
    for (const OutputColumn& column : columnsOf(table)) names.push_back(column.name);
  }
  std::vector<bool> taken(table.columns.size());
  for (const std::string& name : names) {
    const int index = table.columnIndex(name);
    if (index < 0) throw SqlError(-206, {name});
    const auto position = static_cast<size_t>(index);
    if (taken[position]) throw SqlError(-121, {name});
    taken[position] = true;
    statement_.insertColumnIndexes.push_back(index);
  }
}

// ---------------------------------------------------------------- UPDATE, DELETE

void Resolver::resolveTarget(std::string_view action) {
  const Table& table = findChangeableTable(statement_.name, action);
  statement_.table = &table;
  TableRef& target = *statement_.target;
  target.name.resolvedSchema = table.schema;
  target.table = &table;
  target.alias = table.storedName;
  target.columns = columnsOf(table);
}

void Resolver::resolveUpdate() {
  resolveTarget("UPDATE");
  Scope scope;
  scope.outer = outer_;
  scope.tables.push_back(statement_.target.get());
  resolveAssignments(statement_.assignments, statement_.target->columns, scope);
  if (statement_.where) resolveExpr(statement_.where, scope);
  addBeforeTriggers(TriggerEvent::Update);
}

// `columns`: those of the statement's table.
void Resolver::resolveAssignments(std::vector<Assignment>& assignments, const Columns& columns,
                                  Scope& scope) {
  std::vector<bool> taken(columns.size());
  for (Assignment& assignment : assignments) {
    assignment.columnIndex = statement_.table->columnIndex(assignment.column);
    const auto position = static_cast<size_t>(assignment.columnIndex);
    const bool known = assignment.columnIndex >= 0 && position < columns.size();
    if (!known) throw SqlError(-206, {assignment.column});
    if (taken[position]) throw SqlError(-121, {assignment.column});
    taken[position] = true;
    if (assignment.value->kind == ExprKind::Default) continue;
    resolveExpr(assignment.value, scope);
    assign(assignment.value, columns[position]);
  }
}

void Resolver::resolveDelete() {
  resolveTarget("DELETE");
  Scope scope;
  scope.outer = outer_;
  scope.tables.push_back(statement_.target.get());
  if (statement_.where) resolveExpr(statement_.where, scope);
}

void Resolver::assign(ExprPtr& value, const OutputColumn& column) {
  giveType(*value, column.type);
  checkAssignable(*value, column);
}

void Resolver::checkAssignable(const Expr& value, const OutputColumn& column) const {
  if (value.kind == ExprKind::Default || value.kind == ExprKind::Null) return;
  checkAssignable(value.type, isConstantOrMarker(value), column);
}

// A distinct type takes its own values, values of its source type, and constants and markers that
// its source type takes.
void Resolver::checkAssignable(const SqlType& type, bool constant,
                               const OutputColumn& column) const {
  bool fits = baseAssignable(column.type, type, unicode());
  if (!sameDistinct(type, column.type)) {
    const bool sourceType = varyingType(type).kind == varyingType(column.type).kind;
    fits = fits && !type.isDistinct() && (sourceType || constant);
  }
  if (!fits) throw SqlError(-408, {column.name});
}

// ---------------------------------------------------------------- CALL

void Resolver::resolveCall() {
  QualifiedName& name = statement_.name;
  std::vector<ExprPtr>& arguments = statement_.callArguments;
  const Procedure* procedure = catalog_.findProcedure(name.schema, name.name, arguments.size());
  if (!procedure) {
    throw SqlError(-440, {name.schema.empty() ? name.name : name.schema + "." + name.name});
  }
  statement_.routine = procedure;
  name.resolvedSchema = procedure->schema;
  Scope scope;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const ParameterDefinition& parameter = procedure->parameters[i];
    resolveExpr(arguments[i], scope);
    if (parameter.mode != ParameterDefinition::Mode::In && arguments[i]->kind != ExprKind::Marker) {
      throw SqlError(-469, {procedure->name, std::to_string(i + 1)});
    }
    assign(arguments[i], {parameter.name, parameter.type});
  }
}

}  // namespace orv
