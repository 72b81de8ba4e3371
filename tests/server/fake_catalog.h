// A catalog in memory, filled by the test, for what needs names and types but no database.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "server/catalog/catalog_data.h"
#include "server/resolve/resolver.h"
#include "server/syntax/sql_parser.h"

namespace orv {

class FakeCatalog : public Catalog {
 public:
  FakeCatalog() {
    defaultSchema_ = "USER1";
    path_ = {"ORVXML", "SYSNTQ", "SYSFUN"};
  }

  // Adds a table from "S.T" and column definitions in SQL ("A INTEGER NOT NULL, B CHAR(3)").
  Table& addTable(const std::string& schema, const std::string& name,
                  const std::string& definitions) {
    const auto statement =
        parseStatement("CREATE TABLE \"" + schema + "\".\"" + name + "\"(" + definitions + ")");
    Table& table = add(data_.tables);
    table.schema = schema;
    table.name = name;
    table.storedName = schema == defaultSchema_ ? name : schema + "." + name;
    for (const ColumnDefinition& definition : statement->columns) {
      Column& column = table.columns.emplace_back();
      column.name = definition.name;
      column.type = definition.type;
      const DistinctType* distinct = findType(definition.typeName.schema, definition.typeName.name);
      if (distinct) {
        column.type = distinct->source;
        column.type.distinctSchema = distinct->schema;
        column.type.distinctName = distinct->name;
      }
      column.type.nullable = !definition.notNull;
    }
    for (const KeyDefinition& key : statement->keys) {
      Key added{key.constraint, {}};
      for (const std::string& column : key.columns) {
        added.columns.push_back(table.columnIndex(column));
      }
      if (key.kind == KeyDefinition::Kind::Primary) table.primaryKey = added;
      if (key.kind == KeyDefinition::Kind::Unique) table.uniqueKeys.push_back(added);
    }
    data_.index();
    return table;
  }

  std::unique_ptr<Statement> resolved(const std::string& text) const {
    auto statement = parseStatement(text);
    resolve(*statement, *this);
    return statement;
  }

  void addType(const std::string& schema, const std::string& name, const SqlType& source) {
    add(data_.types) = {schema, name, source, true};
  }

  void addProcedure(const std::string& text) {
    const auto statement = parseStatement(text);
    Procedure& procedure = add(data_.procedures);
    procedure.schema = statement->name.schema;
    procedure.name = statement->name.name;
    procedure.specific = statement->procedure.specific;
    procedure.parameters = statement->procedure.parameters;
  }

  // CREATE FUNCTION, recorded as an engine does.
  const Function& addFunction(const std::string& text) {
    const auto statement = parseStatement(text);
    resolve(*statement, *this);
    const FunctionDefinition& definition = statement->function;
    Function& function = add(data_.functions);
    function.kind = definition.kind;
    function.schema = definition.name.resolvedSchema;
    function.name = definition.name.name;
    function.specific = definition.specific;
    for (const auto& parameter : definition.parameters) {
      function.parameters.push_back(parameter.type);
    }
    function.result = definition.result.type;
    function.returned = definition.castFrom.value_or(definition.result).type;
    for (const auto& column : definition.columns) {
      function.columns.push_back({column.name, column.type});
    }
    function.deterministic = definition.deterministic;
    function.sourceSchema = definition.source.resolvedSchema;
    function.sourceName = definition.source.name;
    for (const auto& parameter : definition.sourceParameters) {
      function.sourceParameters.push_back(parameter.type);
    }
    return function;
  }

  const CatalogContent& content() const override { return data_; }
  uint64_t version() const override { return 1; }
  void setFunctionPath(std::vector<std::string> path) { path_ = std::move(path); }
  void addTrigger(Trigger trigger) { add(data_.triggers) = std::move(trigger); }

 private:
  template <typename Object>
  static Object& add(std::vector<std::unique_ptr<Object>>& objects) {
    return *objects.emplace_back(std::make_unique<Object>());
  }

  CatalogData data_;
};

}  // namespace orv
