// Reading procedures and functions, each with the types of its own.
#include <map>

#include "server/catalog/declared_type.h"
#include "server/engine/sqlite/catalog/catalog_store.h"

namespace orv::sqlite {
namespace {

using RoutineName = std::pair<std::string, std::string>;  // schema, specific name

// TYPE, TYPESCHEMA, TYPENAME and LOCATOR from a column on.
SqlType readType(const Command& row, int first) {
  SqlType type = declaredType(row.text(first));
  type.distinctSchema = row.text(first + 1);
  type.distinctName = row.text(first + 2);
  type.locator = row.integer(first + 3) != 0;
  return type;
}

std::unique_ptr<Function> readFunction(const Command& row) {
  auto function = std::make_unique<Function>();
  function->schema = row.text(0);
  function->name = row.text(1);
  function->specific = row.text(2);
  function->kind = static_cast<FunctionKind>(row.integer(3));
  function->library = row.text(4);
  function->entry = row.text(5);
  function->scratchpad = static_cast<int32_t>(row.integer(6));
  function->finalCall = row.integer(7) != 0;
  function->dbInfo = row.integer(8) != 0;
  function->deterministic = row.integer(9) != 0;
  function->nullCall = row.integer(10) != 0;
  function->sourceSchema = row.text(11);
  function->sourceName = row.text(12);
  return function;
}

void addType(Function& function, const Command& row) {
  SqlType type = readType(row, 4);
  switch (static_cast<FunctionTypeRole>(row.text(2).front())) {
    case FunctionTypeRole::Parameter:
      return function.parameters.push_back(std::move(type));
    case FunctionTypeRole::SourceParameter:
      return function.sourceParameters.push_back(std::move(type));
    case FunctionTypeRole::Column:
      return function.columns.push_back({row.text(3), std::move(type)});
    case FunctionTypeRole::Result:
      function.result = std::move(type);
      break;
    case FunctionTypeRole::Returned:
      function.returned = std::move(type);
  }
}

}  // namespace

void loadProcedures(sqlite3* database, CatalogData& data) {
  std::map<RoutineName, Procedure*> bySpecific;
  Command rows(database, R"(SELECT SCHEMA, NAME, SPECIFIC, LIBRARY, ENTRY, STYLE
                            FROM "SYSNTQ.PROCEDURES" ORDER BY rowid)");
  while (rows.step()) {
    auto procedure = std::make_unique<Procedure>();
    procedure->schema = rows.text(0);
    procedure->name = rows.text(1);
    procedure->specific = rows.text(2);
    procedure->library = rows.text(3);
    procedure->entry = rows.text(4);
    procedure->parameterStyle = rows.text(5);
    bySpecific[{procedure->schema, procedure->specific}] = procedure.get();
    data.procedures.push_back(std::move(procedure));
  }
  Command parameters(database, R"(SELECT SCHEMA, SPECIFIC, MODE, NAME, TYPE, TYPESCHEMA, TYPENAME,
                                  LOCATOR FROM "SYSNTQ.PARAMETERS"
                                  ORDER BY SCHEMA, SPECIFIC, POSITION)");
  while (parameters.step()) {
    auto owner = bySpecific.find({parameters.text(0), parameters.text(1)});
    if (owner == bySpecific.end()) continue;
    ParameterDefinition parameter;
    parameter.mode = static_cast<ParameterDefinition::Mode>(parameters.integer(2));
    parameter.name = parameters.text(3);
    parameter.type = readType(parameters, 4);
    owner->second->parameters.push_back(std::move(parameter));
  }
}

void loadFunctions(sqlite3* database, CatalogData& data) {
  std::map<RoutineName, Function*> bySpecific;
  Command rows(database, R"(SELECT SCHEMA, NAME, SPECIFIC, KIND, LIBRARY, ENTRY, SCRATCHPAD,
                            FINALCALL, DBINFO, DETERMINISTIC, NULLCALL, SOURCESCHEMA, SOURCENAME
                            FROM "SYSNTQ.FUNCTIONS" ORDER BY rowid)");
  while (rows.step()) {
    auto function = readFunction(rows);
    bySpecific[{function->schema, function->specific}] = function.get();
    data.functions.push_back(std::move(function));
  }
  Command types(database, R"(SELECT SCHEMA, SPECIFIC, ROLE, NAME, TYPE, TYPESCHEMA, TYPENAME,
                             LOCATOR FROM "SYSNTQ.FUNCTIONTYPES"
                             ORDER BY SCHEMA, SPECIFIC, ROLE, POSITION)");
  while (types.step()) {
    auto owner = bySpecific.find({types.text(0), types.text(1)});
    if (owner != bySpecific.end()) addType(*owner->second, types);
  }
}

}  // namespace orv::sqlite
