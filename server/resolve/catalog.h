// What a database holds: schemas, tables, columns, keys, distinct types, routines, packages, table
// spaces. Read from the database once and cached for the session; every DDL statement and every
// rollback over one raises `version()` and drops the cache, so a pointer got from the catalog is
// good until then. Compiled statements remember the version they were compiled at.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "server/syntax/ast.h"
#include "server/values/types.h"

namespace orv {

struct Column {
  std::string name;
  SqlType type;  // nullable included
  bool hasDefault = false;
  std::string defaultText;    // ORV SQL text of the default value
  std::string storedName;     // its name in the engine: differs when names differ in case only
  std::string storedDefault;  // the default value as the engine's SQL; empty when unknown
  bool isForeign = false;     // of another program's table: the type is no promise
  bool isUntyped = false;     // of another program: values are stored with types of their own
  int64_t generation = 0;     // of the catalog, when ALTER TABLE added it; 0: before all
};

struct Key {
  std::string name;
  std::vector<int> columns;  // positions in the table
};

struct ForeignKey {
  std::string name;
  std::vector<int> columns;
  std::string parentSchema;
  std::string parentTable;
  std::vector<std::string> parentColumns;
  std::string onDelete;
};

struct CheckConstraint {
  std::string name;
  std::string text;
};

struct Index {
  std::string schema;
  std::string name;
  std::string storedName;
  std::string tableSchema;
  std::string tableName;
  bool unique = false;
  std::vector<std::pair<std::string, bool>> columns;  // name, descending
  bool declared = false;                              // on a declared temporary table
};

struct Table {
  std::string schema;
  std::string name;
  char type = 'T';         // 'T' table, 'V' view, 'A' alias, 'S' system view (SYSCAT)
  std::string storedName;  // its name in the engine: "T" or "S.T"
  std::vector<Column> columns;
  std::optional<Key> primaryKey;
  std::vector<Key> uniqueKeys;
  std::vector<ForeignKey> foreignKeys;
  std::vector<CheckConstraint> checks;
  std::string tableSpace;
  std::string baseSchema, baseTable;  // aliases
  bool foreign = false;      // made by another program: types are read from its own DDL, and
                             // its names are folded, the storedNames being as it wrote them
  bool numbered = true;      // its rows have SQLite's numbers
  bool declared = false;     // a declared temporary table, which this session alone has
  bool keepsRows = false;    // declared: over a commit
  bool firesOthers = false;  // triggers of other programs: what they do is not known

  // -1 when there is none. Columns of other programs are found under every spelling.
  int columnIndex(std::string_view column) const;
};

struct DistinctType {
  std::string schema;
  std::string name;
  SqlType source;
  bool comparisons = false;
  int64_t generation = 0;  // of the catalog, when it was made
};

struct Procedure {
  std::string schema;
  std::string name;
  std::string specific;
  std::vector<ParameterDefinition> parameters;
  std::string library;  // "orvxml"
  std::string entry;    // "qrkShredXML"
  std::string parameterStyle;
};

// A registered function. Parameters and columns carry their distinct types and AS LOCATOR.
struct Function {
  FunctionKind kind = FunctionKind::Scalar;
  std::string schema;
  std::string name;
  std::string specific;  // unique among the routines of the schema
  std::vector<SqlType> parameters;
  SqlType result;                     // Scalar, Sourced: what a call gives
  SqlType returned;                   // Scalar: what the code gives: differs with CAST FROM
  std::vector<OutputColumn> columns;  // Table
  // External: Scalar and Table.
  std::string library;     // "orvxmlfn"
  std::string entry;       // "qrkExtractVarchar"
  int32_t scratchpad = 0;  // bytes; 0: none
  bool finalCall = false;
  bool dbInfo = false;
  bool deterministic = false;
  bool nullCall = true;
  // Sourced: the function behind it, registered or built in or made with a distinct type.
  std::string sourceSchema;
  std::string sourceName;
  std::vector<SqlType> sourceParameters;
  int64_t generation = 0;  // of the catalog, when it was made
};

// Above all generations: for what is being made.
inline constexpr int64_t kLatest = std::numeric_limits<int64_t>::max();

struct Trigger {
  std::string schema;
  std::string name;
  std::string tableSchema;
  std::string tableName;
  TriggerTime time = TriggerTime::After;
  TriggerEvent event = TriggerEvent::Insert;
  std::vector<std::string> updateColumns;
  std::string text;  // the whole CREATE TRIGGER statement
  // What its unqualified names mean: the session's settings when it was made.
  std::string defaultSchema;
  std::vector<std::string> functionPath;
  std::string storedName;        // its name in the engine, where it has something to do there
  int64_t generation = kLatest;  // of the catalog, when it was made
};

// How a view was made; its columns stand in the Table of its name.
struct View {
  std::string schema;
  std::string name;
  std::string text;  // the whole CREATE VIEW statement
  std::string defaultSchema;
  std::vector<std::string> functionPath;
  int64_t generation = kLatest;  // of the catalog, when it was made
};

struct TablePrivilege {
  std::string schema;
  std::string table;
  char granteeType = 'U';  // U(ser), G(roup)
  std::string grantee;
  std::string privilege;   // one of kTablePrivileges
  bool grantable = false;  // may be granted on
};

struct PackageSection {
  std::string name;
  std::string text;
};
struct Package {
  std::string qualifier;
  std::string name;
  std::string token;
};

// The schema of the declared temporary tables, and of nothing else.
inline constexpr std::string_view kDeclaredSchema = "SESSION";

// What a database holds, by exact schema and name: null when there is no such thing. Tables of
// other programs are found under their folded name and under every other spelling of it.
class CatalogContent {
 public:
  virtual ~CatalogContent() = default;

  virtual int databaseCodePage() const = 0;
  virtual const Table* findTable(std::string_view schema, std::string_view name) const = 0;
  virtual const Index* findIndex(std::string_view schema, std::string_view name) const = 0;
  virtual const DistinctType* findType(std::string_view schema, std::string_view name) const = 0;
  virtual const Procedure* findSpecificProcedure(std::string_view schema,
                                                 std::string_view specific) const = 0;
  virtual std::vector<const Procedure*> proceduresNamed(std::string_view schema,
                                                        std::string_view name) const = 0;
  virtual std::vector<const Function*> functionsNamed(std::string_view schema,
                                                      std::string_view name) const = 0;
  virtual const Function* findSpecificFunction(std::string_view schema,
                                               std::string_view specific) const = 0;
  // The tables that have foreign keys to this one.
  virtual std::vector<const Table*> childrenOf(const Table& parent) const = 0;
  // In the order of their creation, in which they fire.
  virtual std::vector<const Trigger*> triggersOn(const Table& table) const = 0;
  virtual const Trigger* findTrigger(std::string_view schema, std::string_view name) const = 0;
  virtual bool tableSpaceExists(std::string_view name) const = 0;
  virtual bool schemaExists(std::string_view name) const = 0;
  virtual std::optional<Package> findPackage(std::string_view qualifier,
                                             std::string_view name) const = 0;
};

// The content as the names of a statement mean it. An empty schema is the default schema; for types
// and routines it is those of the function path, in their order, and the default schema after them.
class Catalog {
 public:
  virtual ~Catalog() = default;
  Catalog(const Catalog&) = delete;
  Catalog& operator=(const Catalog&) = delete;

  virtual const CatalogContent& content() const = 0;
  virtual uint64_t version() const = 0;
  // The catalog behind the view that a definition has of it.
  virtual const Catalog& whole() const { return *this; }

  const std::string& defaultSchema() const { return defaultSchema_; }
  const std::vector<std::string>& functionPath() const { return path_; }

  int codePage() const { return content().databaseCodePage(); }
  const Table* findTable(std::string_view schema, std::string_view name) const;
  // How many of the table's columns, from the first, there are for the statement: all of them, but
  // in a definition those that there were when it was made.
  size_t columnsSeen(const Table& table) const;
  const DistinctType* findType(std::string_view schema, std::string_view name) const;
  const Procedure* findProcedure(std::string_view schema, std::string_view name,
                                 size_t parameters) const;
  const Procedure* findSpecificProcedure(std::string_view schema, std::string_view specific) const;
  // Of the first schema that has any.
  std::vector<const Procedure*> proceduresNamed(std::string_view schema,
                                                std::string_view name) const;
  // Of all schemas.
  std::vector<const Function*> functionsNamed(std::string_view schema, std::string_view name) const;
  const Function* findSpecificFunction(std::string_view schema, std::string_view specific) const;
  std::vector<const Table*> childrenOf(const Table& parent) const {
    return content().childrenOf(parent);
  }
  std::vector<const Trigger*> triggersOn(const Table& table) const {
    return content().triggersOn(table);
  }
  const Trigger* findTrigger(std::string_view schema, std::string_view name) const {
    return content().findTrigger(schemaOr(schema), name);
  }
  bool tableSpaceExists(std::string_view name) const { return content().tableSpaceExists(name); }
  bool schemaExists(std::string_view name) const { return content().schemaExists(name); }
  bool indexExists(std::string_view schema, std::string_view name) const {
    return content().findIndex(schemaOr(schema), name) != nullptr;
  }
  std::optional<Package> findPackage(std::string_view qualifier, std::string_view name) const {
    return content().findPackage(qualifier, name);
  }

 protected:
  Catalog() = default;
  // Of a definition: see DefinitionCatalog.
  Catalog(std::string defaultSchema, std::vector<std::string> path, int64_t generation)
      : defaultSchema_(std::move(defaultSchema)),
        path_(std::move(path)),
        generation_(generation),
        seesDeclared_(false) {}

  std::string defaultSchema_;
  std::vector<std::string> path_;

 private:
  std::string_view schemaOr(std::string_view schema) const {
    return schema.empty() ? std::string_view(defaultSchema_) : schema;
  }
  std::vector<std::string_view> searched(std::string_view schema) const;

  int64_t generation_ = kLatest;  // what is of it or later is not seen
  bool seesDeclared_ = true;
};

// The catalog as the text of a trigger or view sees it, which means for ever what it meant when it
// was made: names without a schema are those of its time, columns, functions and types that came
// later are unknown, and so are the declared temporary tables of a session. What is found belongs
// to the catalog behind it.
class DefinitionCatalog : public Catalog {
 public:
  DefinitionCatalog(const Catalog& base, std::string defaultSchema, std::vector<std::string> path,
                    int64_t generation = kLatest)
      : Catalog(std::move(defaultSchema), std::move(path), generation), base_(base.whole()) {}

  const CatalogContent& content() const override { return base_.content(); }
  uint64_t version() const override { return base_.version(); }
  const Catalog& whole() const override { return base_; }

 private:
  const Catalog& base_;
};

}  // namespace orv
