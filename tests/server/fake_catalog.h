// A catalog in memory, filled by the test, for what needs names and types but no database.
#pragma once

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

#include "server/resolve/catalog.h"
#include "server/resolve/resolver.h"
#include "server/syntax/sql_parser.h"

namespace orv {

class FakeCatalog : public Catalog {
 public:
  // Adds a table from "S.T" and column definitions in SQL ("A INTEGER NOT NULL, B CHAR(3)").
  Table& addTable(const std::string& schema, const std::string& name,
                  const std::string& definitions) {
    const auto statement =
        parseStatement("CREATE TABLE \"" + schema + "\".\"" + name + "\"(" + definitions + ")");
    Table& table = tables.emplace_back();
    table.schema = schema;
    table.name = name;
    table.storedName = schema == schema_ ? name : schema + "." + name;
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
    return table;
  }

  std::unique_ptr<Statement> resolved(const std::string& text) const {
    auto statement = parseStatement(text);
    resolve(*statement, *this);
    return statement;
  }

  void addType(const std::string& schema, const std::string& name, const SqlType& source) {
    types.push_back({schema, name, source, true});
  }

  void addProcedure(const std::string& text) {
    const auto statement = parseStatement(text);
    Procedure& procedure = procedures.emplace_back();
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
    Function& function = functions.emplace_back();
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

  uint64_t version() const override { return 1; }
  int codePage() const override { return 1208; }
  const std::string& defaultSchema() const override { return schema_; }

  const Table* findTable(std::string_view schema, std::string_view name) const override {
    return find(tables, schema.empty() ? schema_ : schema, name);
  }
  const DistinctType* findType(std::string_view schema, std::string_view name) const override {
    if (!schema.empty()) return find(types, schema, name);
    for (const std::string& part : path) {
      if (const DistinctType* type = find(types, part, name)) return type;
    }
    return nullptr;
  }
  const Procedure* findProcedure(std::string_view schema, std::string_view name,
                                 size_t parameters) const override {
    for (const Procedure* candidate : proceduresNamed(schema, name)) {
      if (candidate->parameters.size() == parameters) return candidate;
    }
    return nullptr;
  }
  const Procedure* findSpecificProcedure(std::string_view schema,
                                         std::string_view specific) const override {
    for (const Procedure& procedure : procedures) {
      if (procedure.schema == schema && procedure.specific == specific) return &procedure;
    }
    return nullptr;
  }
  std::vector<const Procedure*> proceduresNamed(std::string_view schema,
                                                std::string_view name) const override {
    std::vector<const Procedure*> found;
    for (const Procedure& procedure : procedures) {
      const bool wanted = schema.empty() || procedure.schema == schema;
      if (wanted && procedure.name == name) found.push_back(&procedure);
    }
    return found;
  }
  std::vector<const Function*> functionsNamed(std::string_view schema,
                                              std::string_view name) const override {
    std::vector<const Function*> found;
    const auto addFrom = [&](std::string_view from) {
      for (const Function& function : functions) {
        if (function.schema == from && function.name == name) found.push_back(&function);
      }
    };
    if (!schema.empty()) {
      addFrom(schema);
    } else {
      std::ranges::for_each(path, addFrom);
    }
    return found;
  }
  const Function* findSpecificFunction(std::string_view schema,
                                       std::string_view specific) const override {
    for (const Function& function : functions) {
      const bool wanted = schema.empty() || function.schema == schema;
      if (wanted && function.specific == specific) return &function;
    }
    return nullptr;
  }
  std::vector<const Table*> childrenOf(const Table& parent) const override {
    std::vector<const Table*> found;
    for (const Table& table : tables) {
      for (const ForeignKey& key : table.foreignKeys) {
        if (key.parentSchema == parent.schema && key.parentTable == parent.name) {
          found.push_back(&table);
          break;
        }
      }
    }
    return found;
  }
  std::vector<const Trigger*> triggersOn(const Table& table) const override {
    std::vector<const Trigger*> found;
    for (const Trigger& trigger : triggers) {
      const bool fires = trigger.tableSchema == table.schema && trigger.tableName == table.name;
      if (fires) found.push_back(&trigger);
    }
    return found;
  }
  const Trigger* findTrigger(std::string_view schema, std::string_view name) const override {
    return find(triggers, schema.empty() ? schema_ : schema, name);
  }
  bool tableSpaceExists(std::string_view) const override { return false; }
  bool schemaExists(std::string_view name) const override { return name == schema_; }
  bool indexExists(std::string_view, std::string_view) const override { return false; }
  std::optional<Package> findPackage(std::string_view, std::string_view) const override {
    return std::nullopt;
  }
  const std::vector<std::string>& functionPath() const override { return path; }

  std::vector<std::string> path{"ORVXML", "SYSNTQ", "SYSFUN"};
  std::deque<Table> tables;
  std::deque<DistinctType> types;
  std::deque<Procedure> procedures;
  std::deque<Function> functions;
  std::deque<Trigger> triggers;

 private:
  template <typename Object>
  static const Object* find(const std::deque<Object>& objects, std::string_view schema,
                            std::string_view name) {
    const auto at = std::ranges::find_if(objects, [&](const Object& object) {
      return object.schema == schema && object.name == name;
    });
    return at == objects.end() ? nullptr : &*at;
  }

  std::string schema_ = "USER1";
};

}  // namespace orv
