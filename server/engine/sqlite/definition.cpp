// The list of definitions, each with the smaller ones that need no file of their own. Nothing is
// checked here that the resolver could check: what is left are things that others still use (-478),
// and what the engine cannot do.
#include "server/engine/sqlite/definition.h"

#include <algorithm>

#include "server/engine/sqlite/catalog/catalog_store.h"
#include "server/engine/sqlite/catalog/index_definition.h"
#include "server/engine/sqlite/catalog/table_definition.h"
#include "server/engine/sqlite/catalog/view_definition.h"
#include "server/engine/sqlite/connection/sql_text.h"
#include "server/engine/sqlite/functions/routine_calls.h"
#include "server/engine/sqlite/triggers/trigger_definition.h"

namespace orv::sqlite {
namespace {

std::string qualified(std::string_view schema, std::string_view name) {
  return std::string(schema) + "." + std::string(name);
}

[[noreturn]] void failInUse(std::string object, std::string user) {
  throw SqlError(-478, {std::move(object), std::move(user)});
}

void createIndex(sqlite3* database, const CatalogData& catalog, const Statement& statement) {
  Index index = indexOf(statement);
  index.storedName = storedNameFor(database, catalog, index.schema, index.name);
  createStoredIndex(database, index, *statement.table);
  recordSchema(database, index.schema);
  recordIndex(database, index);
}

// An index that carries a key stays as long as the key.
void dropIndex(sqlite3* database, const CatalogData& catalog, const Statement& statement) {
  const Index& index = *catalog.findIndex(statement.name.resolvedSchema, statement.name.name);
  const Table* table = catalog.findTable(index.tableSchema, index.tableName);
  if (table) {
    auto carries = [&](const Key& key) { return key.name == index.name; };
    bool key = (table->primaryKey && carries(*table->primaryKey)) ||
               std::any_of(table->uniqueKeys.begin(), table->uniqueKeys.end(), carries);
    if (key) failInUse(qualified(index.schema, index.name), qualified(table->schema, table->name));
  }
  execute(database, dropText({"INDEX"}, index.storedName));
  eraseIndex(database, index);
}

void createType(sqlite3* database, const Statement& statement) {
  DistinctType type;
  type.schema = statement.name.resolvedSchema;
  type.name = statement.name.name;
  type.source = statement.sourceType;
  type.comparisons = statement.withComparisons;
  recordSchema(database, type.schema);
  recordType(database, type);
}

bool isOfType(const SqlType& type, const DistinctType& distinct) {
  return type.distinctSchema == distinct.schema && type.distinctName == distinct.name;
}

// By its types, or by a function behind it that was made with the type.
bool dependsOn(const Function& function, const DistinctType& distinct) {
  const auto isOf = [&](const SqlType& type) { return isOfType(type, distinct); };
  return isOf(function.result) || std::ranges::any_of(function.parameters, isOf) ||
         std::ranges::any_of(function.sourceParameters, isOf) ||
         std::ranges::any_of(function.columns, isOf, &OutputColumn::type) ||
         (function.sourceSchema == distinct.schema && function.sourceName == distinct.name);
}

void dropType(sqlite3* database, const CatalogData& catalog, const Statement& statement) {
  const DistinctType& type = *catalog.findType(statement.name.resolvedSchema, statement.name.name);
  for (const auto& table : catalog.tables) {
    for (const Column& column : table->columns) {
      if (isOfType(column.type, type)) {
        failInUse(qualified(type.schema, type.name), qualified(table->schema, table->name));
      }
    }
  }
  for (const auto& procedure : catalog.procedures) {
    for (const ParameterDefinition& parameter : procedure->parameters) {
      if (isOfType(parameter.type, type)) {
        failInUse(qualified(type.schema, type.name),
                  qualified(procedure->schema, procedure->specific));
      }
    }
  }
  for (const auto& function : catalog.functions) {
    if (dependsOn(*function, type)) {
      failInUse(qualified(type.schema, type.name), qualified(function->schema, function->specific));
    }
  }
  eraseType(database, type);
}

void createTableSpace(sqlite3* database, const Statement& statement) {
  Command(database, R"(INSERT INTO "SYSNTQ.TABLESPACES" VALUES(?))")
      .bind(statement.name.name)
      .run();
}

void dropTableSpace(sqlite3* database, const CatalogData& catalog, const Statement& statement) {
  for (const auto& table : catalog.tables) {
    if (table->tableSpace == statement.name.name) {
      failInUse(statement.name.name, qualified(table->schema, table->name));
    }
  }
  Command(database, R"(DELETE FROM "SYSNTQ.TABLESPACES" WHERE NAME=?)")
      .bind(statement.name.name)
      .run();
}

template <typename Objects>
void requireNoneIn(const Objects& objects, const std::string& schema) {
  for (const auto& object : objects) {
    if (object->schema == schema) failInUse(schema, qualified(object->schema, object->name));
  }
}

void dropSchema(sqlite3* database, const CatalogData& catalog, const Statement& statement) {
  const std::string& schema = statement.name.name;
  requireNoneIn(catalog.tables, schema);
  requireNoneIn(catalog.types, schema);
  requireNoneIn(catalog.procedures, schema);
  requireNoneIn(catalog.functions, schema);
  requireNoneIn(catalog.indexes, schema);
  requireNoneIn(catalog.triggers, schema);
  Command(database, R"(DELETE FROM "SYSNTQ.SCHEMAS" WHERE NAME=?)").bind(schema).run();
}

void createAlias(sqlite3* database, const Statement& statement) {
  recordSchema(database, statement.name.resolvedSchema);
  recordAlias(database, statement.name.resolvedSchema, statement.name.name, *statement.table);
}

void createProcedure(sqlite3* database, const Statement& statement) {
  const ProcedureDefinition& definition = statement.procedure;
  Procedure procedure;
  procedure.schema = definition.name.resolvedSchema;
  procedure.name = definition.name.name;
  procedure.specific = definition.specific;
  procedure.parameters = definition.parameters;
  procedure.parameterStyle = definition.parameterStyle;
  size_t mark = definition.externalName.find('!');
  procedure.library = definition.externalName.substr(0, mark);
  procedure.entry = definition.externalName.substr(mark + 1);
  recordSchema(database, procedure.schema);
  recordProcedure(database, procedure);
}

// What the engine's one table for all table functions takes.
void requireCallable(const Function& function) {
  if (function.kind != FunctionKind::Table) return;
  const auto limit = [&](size_t count, size_t most, std::string_view of) {
    if (count <= most) return;
    throw SqlError(-451, {qualified(function.schema, function.name),
                          "TABLE with more than " + std::to_string(most) + " " + std::string(of)});
  };
  limit(function.parameters.size(), kMaxTableFunctionArguments, "parameters");
  limit(function.columns.size(), kMaxTableFunctionColumns, "columns");
}

std::vector<SqlType> typesOf(const std::vector<ParameterDefinition>& parameters) {
  std::vector<SqlType> types;
  types.reserve(parameters.size());
  for (const ParameterDefinition& parameter : parameters) types.push_back(parameter.type);
  return types;
}

void createFunction(sqlite3* database, const Statement& statement) {
  const FunctionDefinition& definition = statement.function;
  Function function;
  function.kind = definition.kind;
  function.schema = definition.name.resolvedSchema;
  function.name = definition.name.name;
  function.specific = definition.specific;
  function.parameters = typesOf(definition.parameters);
  function.result = definition.result.type;
  function.returned = definition.castFrom ? definition.castFrom->type : definition.result.type;
  for (const ParameterDefinition& column : definition.columns) {
    function.columns.push_back({column.name, column.type});
  }
  if (function.kind == FunctionKind::Sourced) {
    function.sourceSchema = definition.source.resolvedSchema;
    function.sourceName = definition.source.name;
    function.sourceParameters = typesOf(definition.sourceParameters);
  } else {
    const size_t mark = definition.externalName.find('!');
    function.library = definition.externalName.substr(0, mark);
    function.entry = definition.externalName.substr(mark + 1);
  }
  function.scratchpad = definition.scratchpad;
  function.finalCall = definition.finalCall;
  function.dbInfo = definition.dbInfo;
  function.deterministic = definition.deterministic;
  function.nullCall = definition.nullCall;
  requireCallable(function);
  recordSchema(database, function.schema);
  recordFunction(database, function);
}

bool isSourceOf(const Function& source, const Function& function) {
  return function.kind == FunctionKind::Sourced && function.sourceSchema == source.schema &&
         function.sourceName == source.name &&
         std::ranges::equal(function.sourceParameters, source.parameters, sameType);
}

void dropFunction(sqlite3* database, const CatalogData& catalog, const Function& dropped) {
  for (const auto& function : catalog.functions) {
    if (isSourceOf(dropped, *function)) {
      failInUse(qualified(dropped.schema, dropped.specific),
                qualified(function->schema, function->specific));
    }
  }
  eraseFunction(database, dropped);
}

}  // namespace

void applyDefinition(sqlite3* database, const CatalogData& catalog,
                     const std::string& currentSchema, const std::vector<std::string>& functionPath,
                     const Statement& statement) {
  TableDefinition table(database, catalog, currentSchema, statement);
  switch (statement.kind) {
    case StatementKind::CreateTable:
      return table.create();
    case StatementKind::AlterTable:
      return table.alter();
    case StatementKind::DropTable:
      return table.drop();
    case StatementKind::CreateIndex:
      return createIndex(database, catalog, statement);
    case StatementKind::DropIndex:
      return dropIndex(database, catalog, statement);
    case StatementKind::CreateAlias:
      return createAlias(database, statement);
    case StatementKind::DropAlias:
      return eraseAlias(database, *statement.table);
    case StatementKind::CreateView:
      return createView(database, catalog, currentSchema, functionPath, statement);
    case StatementKind::DropView:
      return dropView(database, *statement.table);
    case StatementKind::CreateTrigger:
      return createTrigger(database, catalog, currentSchema, functionPath, statement);
    case StatementKind::DropTrigger:
      return dropTrigger(database, *statement.droppedTrigger);
    case StatementKind::Grant:
      return statement.grant.revoke ? erasePrivileges(database, *statement.table, statement.grant)
                                    : recordPrivileges(database, *statement.table, statement.grant);
    case StatementKind::CreateDistinctType:
      return createType(database, statement);
    case StatementKind::DropDistinctType:
      return dropType(database, catalog, statement);
    case StatementKind::CreateTableSpace:
      return createTableSpace(database, statement);
    case StatementKind::DropTableSpace:
      return dropTableSpace(database, catalog, statement);
    case StatementKind::CreateSchema:
      return recordSchema(database, statement.name.name);
    case StatementKind::DropSchema:
      return dropSchema(database, catalog, statement);
    case StatementKind::CreateProcedure:
      return createProcedure(database, statement);
    case StatementKind::DropProcedure:
      return eraseProcedure(database, *statement.routine);
    case StatementKind::CreateFunction:
      return createFunction(database, statement);
    case StatementKind::DropFunction:
      return dropFunction(database, catalog, *statement.droppedFunction);
    default:
      throw SqlError(-901, {"not a definition"});
  }
}

}  // namespace orv::sqlite
