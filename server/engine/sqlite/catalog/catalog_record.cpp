// Writing the catalog: our tables, and the rows of one object at a time.
#include "server/engine/sqlite/catalog/catalog_store.h"
#include "server/engine/sqlite/connection/sql_text.h"

namespace orv::sqlite {
namespace {

constexpr int kFormat = 1;

constexpr std::string_view kCatalogTables[] = {
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.DATABASE"(NAME TEXT PRIMARY KEY, VALUE TEXT NOT NULL))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.SCHEMAS"(NAME TEXT PRIMARY KEY))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.TABLESPACES"(NAME TEXT PRIMARY KEY))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.TABLES"(STORED TEXT PRIMARY KEY, SCHEMA TEXT NOT NULL,
       NAME TEXT NOT NULL, TABLESPACE TEXT NOT NULL, UNIQUE(SCHEMA, NAME)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.COLUMNS"(STORED TEXT NOT NULL, STOREDCOLUMN TEXT NOT NULL,
       NAME TEXT NOT NULL, TYPE TEXT NOT NULL, TYPESCHEMA TEXT NOT NULL, TYPENAME TEXT NOT NULL,
       HASDEFAULT INTEGER NOT NULL, DEFAULTTEXT TEXT NOT NULL, STOREDDEFAULT TEXT NOT NULL,
       PRIMARY KEY(STORED, STOREDCOLUMN)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.KEYS"(STORED TEXT NOT NULL, NAME TEXT NOT NULL,
       KIND TEXT NOT NULL, COLUMNS TEXT NOT NULL, PARENTSCHEMA TEXT NOT NULL,
       PARENTTABLE TEXT NOT NULL, PARENTCOLUMNS TEXT NOT NULL, ONDELETE TEXT NOT NULL,
       TEXT TEXT NOT NULL))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.INDEXES"(STORED TEXT PRIMARY KEY, SCHEMA TEXT NOT NULL,
       NAME TEXT NOT NULL, STOREDTABLE TEXT NOT NULL))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.ALIASES"(SCHEMA TEXT NOT NULL, NAME TEXT NOT NULL,
       BASESCHEMA TEXT NOT NULL, BASENAME TEXT NOT NULL, PRIMARY KEY(SCHEMA, NAME)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.TYPES"(SCHEMA TEXT NOT NULL, NAME TEXT NOT NULL,
       SOURCE TEXT NOT NULL, COMPARISONS INTEGER NOT NULL, PRIMARY KEY(SCHEMA, NAME)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.PROCEDURES"(SCHEMA TEXT NOT NULL, NAME TEXT NOT NULL,
       SPECIFIC TEXT NOT NULL, LIBRARY TEXT NOT NULL, ENTRY TEXT NOT NULL, STYLE TEXT NOT NULL,
       PRIMARY KEY(SCHEMA, SPECIFIC)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.PARAMETERS"(SCHEMA TEXT NOT NULL, SPECIFIC TEXT NOT NULL,
       POSITION INTEGER NOT NULL, MODE INTEGER NOT NULL, NAME TEXT NOT NULL, TYPE TEXT NOT NULL,
       TYPESCHEMA TEXT NOT NULL, TYPENAME TEXT NOT NULL, LOCATOR INTEGER NOT NULL,
       PRIMARY KEY(SCHEMA, SPECIFIC, POSITION)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.FUNCTIONS"(SCHEMA TEXT NOT NULL, NAME TEXT NOT NULL,
       SPECIFIC TEXT NOT NULL, KIND INTEGER NOT NULL, LIBRARY TEXT NOT NULL, ENTRY TEXT NOT NULL,
       SCRATCHPAD INTEGER NOT NULL, FINALCALL INTEGER NOT NULL, DBINFO INTEGER NOT NULL,
       DETERMINISTIC INTEGER NOT NULL, NULLCALL INTEGER NOT NULL, SOURCESCHEMA TEXT NOT NULL,
       SOURCENAME TEXT NOT NULL, PRIMARY KEY(SCHEMA, SPECIFIC)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.FUNCTIONTYPES"(SCHEMA TEXT NOT NULL,
       SPECIFIC TEXT NOT NULL, ROLE TEXT NOT NULL, POSITION INTEGER NOT NULL, NAME TEXT NOT NULL,
       TYPE TEXT NOT NULL, TYPESCHEMA TEXT NOT NULL, TYPENAME TEXT NOT NULL,
       LOCATOR INTEGER NOT NULL, PRIMARY KEY(SCHEMA, SPECIFIC, ROLE, POSITION)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.TRIGGERS"(SCHEMA TEXT NOT NULL, NAME TEXT NOT NULL,
       STORED TEXT NOT NULL, TABLESCHEMA TEXT NOT NULL, TABLENAME TEXT NOT NULL,
       TIME INTEGER NOT NULL, EVENT INTEGER NOT NULL, COLUMNS TEXT NOT NULL, TEXT TEXT NOT NULL,
       DEFAULTSCHEMA TEXT NOT NULL, FUNCTIONPATH TEXT NOT NULL, POSITION INTEGER PRIMARY KEY,
       UNIQUE(SCHEMA, NAME)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.VIEWS"(SCHEMA TEXT NOT NULL, NAME TEXT NOT NULL,
       TEXT TEXT NOT NULL, DEFAULTSCHEMA TEXT NOT NULL, FUNCTIONPATH TEXT NOT NULL,
       PRIMARY KEY(SCHEMA, NAME)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.PRIVILEGES"(SCHEMA TEXT NOT NULL, NAME TEXT NOT NULL,
       GRANTEETYPE TEXT NOT NULL, GRANTEE TEXT NOT NULL, PRIVILEGE TEXT NOT NULL,
       GRANTABLE INTEGER NOT NULL, PRIMARY KEY(SCHEMA, NAME, GRANTEETYPE, GRANTEE, PRIVILEGE)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.GENERATIONS"(KIND TEXT NOT NULL, OWNER TEXT NOT NULL,
       NAME TEXT NOT NULL, GENERATION INTEGER NOT NULL, PRIMARY KEY(KIND, OWNER, NAME)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.PACKAGES"(QUALIFIER TEXT NOT NULL, NAME TEXT NOT NULL,
       TOKEN TEXT NOT NULL, PRIMARY KEY(QUALIFIER, NAME)))",
    R"(CREATE TABLE IF NOT EXISTS "SYSNTQ.SECTIONS"(QUALIFIER TEXT NOT NULL, PACKAGE TEXT NOT NULL,
       NAME TEXT NOT NULL, TEXT TEXT NOT NULL, PRIMARY KEY(QUALIFIER, PACKAGE, NAME)))",
};

// A type without its distinct name, as DDL writes it.
std::string sourceText(SqlType type) {
  type.distinctSchema.clear();
  type.distinctName.clear();
  return typeText(type);
}

// `name`: of a table function's column.
void insertFunctionType(sqlite3* database, const Function& function, FunctionTypeRole role,
                        int64_t position, std::string_view name, const SqlType& type) {
  const char letter = static_cast<char>(role);
  Command(database, R"(INSERT INTO "SYSNTQ.FUNCTIONTYPES" VALUES(?,?,?,?,?,?,?,?,?))")
      .bind(function.schema, function.specific, letter, position, name, sourceText(type),
            type.distinctSchema, type.distinctName, type.locator)
      .run();
}

void insertFunctionTypes(sqlite3* database, const Function& function, FunctionTypeRole role,
                         const std::vector<SqlType>& types) {
  int64_t position = 0;
  for (const SqlType& type : types) {
    insertFunctionType(database, function, role, position++, "", type);
  }
}

std::string columnList(const Table& table, const std::vector<int>& columns) {
  std::vector<std::string> names;
  names.reserve(columns.size());
  for (int column : columns) names.push_back(table.columns[static_cast<size_t>(column)].name);
  return nameList(names);
}

void insertKey(sqlite3* database, const Table& table, std::string_view name, char kind,
               const std::string& columns, const ForeignKey& foreign, std::string_view text) {
  Command(database, R"(INSERT INTO "SYSNTQ.KEYS" VALUES(?,?,?,?,?,?,?,?,?))")
      .bind(table.storedName, name, kind, columns, foreign.parentSchema, foreign.parentTable,
            nameList(foreign.parentColumns), foreign.onDelete, text)
      .run();
}

}  // namespace

void createCatalogTables(sqlite3* database, int codePage, std::string_view defaultSchema) {
  for (std::string_view sql : kCatalogTables) execute(database, sql);
  auto setting = [&](std::string_view name, const std::string& value) {
    Command(database, R"(INSERT OR IGNORE INTO "SYSNTQ.DATABASE" VALUES(?,?))")
        .bind(name, value)
        .run();
  };
  setting("FORMAT", std::to_string(kFormat));
  setting("CODEPAGE", std::to_string(codePage));
  setting("DEFAULTSCHEMA", std::string(defaultSchema));
  setting("GENERATION", "1");
}

bool hasCatalogTables(sqlite3* database) {
  return Command(database, "SELECT 1 FROM sqlite_schema WHERE name='SYSNTQ.DATABASE'").step();
}

int64_t catalogGeneration(sqlite3* database) {
  if (!hasCatalogTables(database)) return 0;
  Command command(
      database, R"(SELECT CAST(VALUE AS INTEGER) FROM "SYSNTQ.DATABASE" WHERE NAME='GENERATION')");
  return command.step() ? command.integer(0) : 0;
}

void raiseCatalogGeneration(sqlite3* database) {
  execute(database,
          R"(UPDATE "SYSNTQ.DATABASE" SET VALUE=CAST(VALUE AS INTEGER)+1 WHERE NAME='GENERATION')");
}

void recordSchema(sqlite3* database, std::string_view schema) {
  Command(database, R"(INSERT OR IGNORE INTO "SYSNTQ.SCHEMAS" VALUES(?))").bind(schema).run();
}

void recordTable(sqlite3* database, const Table& table) {
  // Another program may have dropped a table of this name and left our rows.
  eraseTable(database, table);
  Command(database, R"(INSERT OR REPLACE INTO "SYSNTQ.TABLES" VALUES(?,?,?,?))")
      .bind(table.storedName, table.schema, table.name, table.tableSpace)
      .run();
  for (size_t i = 0; i < table.columns.size(); ++i) recordColumn(database, table, i);
  if (table.primaryKey) recordKey(database, table, 'P', *table.primaryKey);
  for (const Key& key : table.uniqueKeys) recordKey(database, table, 'U', key);
  for (const ForeignKey& key : table.foreignKeys) recordForeignKey(database, table, key);
  for (const CheckConstraint& check : table.checks) recordCheck(database, table, check);
}

void recordColumn(sqlite3* database, const Table& table, size_t column) {
  const Column& c = table.columns[column];
  Command(database, R"(INSERT INTO "SYSNTQ.COLUMNS" VALUES(?,?,?,?,?,?,?,?,?))")
      .bind(table.storedName, c.storedName, c.name, sourceText(c.type), c.type.distinctSchema,
            c.type.distinctName, c.hasDefault, c.defaultText, c.storedDefault)
      .run();
}

void recordKey(sqlite3* database, const Table& table, char kind, const Key& key) {
  insertKey(database, table, key.name, kind, columnList(table, key.columns), {}, "");
}

void recordForeignKey(sqlite3* database, const Table& table, const ForeignKey& key) {
  insertKey(database, table, key.name, 'F', columnList(table, key.columns), key, "");
}

void recordCheck(sqlite3* database, const Table& table, const CheckConstraint& check) {
  insertKey(database, table, check.name, 'C', "", {}, check.text);
}

void eraseTable(sqlite3* database, const Table& table) {
  for (std::string_view sql : {R"(DELETE FROM "SYSNTQ.TABLES" WHERE STORED=?)",
                               R"(DELETE FROM "SYSNTQ.COLUMNS" WHERE STORED=?)",
                               R"(DELETE FROM "SYSNTQ.KEYS" WHERE STORED=?)",
                               R"(DELETE FROM "SYSNTQ.INDEXES" WHERE STOREDTABLE=?)"}) {
    Command(database, sql).bind(table.storedName).run();
  }
  Command(database, R"(DELETE FROM "SYSNTQ.PRIVILEGES" WHERE SCHEMA=? AND NAME=?)")
      .bind(table.schema, table.name)
      .run();
  eraseColumnGenerations(database, table);
  eraseTriggersOf(database, table);
}

void eraseForeignKey(sqlite3* database, const Table& table, const ForeignKey& key) {
  Command(database, R"(DELETE FROM "SYSNTQ.KEYS" WHERE STORED=? AND NAME=? AND KIND='F')")
      .bind(table.storedName, key.name)
      .run();
}

void recordIndex(sqlite3* database, const Index& index) {
  Command(database, R"(INSERT OR REPLACE INTO "SYSNTQ.INDEXES" VALUES(?,?,?,
                       (SELECT tbl_name FROM sqlite_schema WHERE type='index' AND name=?1)))")
      .bind(index.storedName, index.schema, index.name)
      .run();
}

void eraseIndex(sqlite3* database, const Index& index) {
  Command(database, R"(DELETE FROM "SYSNTQ.INDEXES" WHERE STORED=?)").bind(index.storedName).run();
}

void recordAlias(sqlite3* database, std::string_view schema, std::string_view name,
                 const Table& base) {
  Command(database, R"(INSERT INTO "SYSNTQ.ALIASES" VALUES(?,?,?,?))")
      .bind(schema, name, base.schema, base.name)
      .run();
}

void eraseAlias(sqlite3* database, const Table& alias) {
  Command(database, R"(DELETE FROM "SYSNTQ.ALIASES" WHERE SCHEMA=? AND NAME=?)")
      .bind(alias.schema, alias.name)
      .run();
}

void recordType(sqlite3* database, const DistinctType& type) {
  Command(database, R"(INSERT INTO "SYSNTQ.TYPES" VALUES(?,?,?,?))")
      .bind(type.schema, type.name, sourceText(type.source), type.comparisons)
      .run();
  recordGeneration(database, Aged::Type, type.schema, type.name);
}

void eraseType(sqlite3* database, const DistinctType& type) {
  Command(database, R"(DELETE FROM "SYSNTQ.TYPES" WHERE SCHEMA=? AND NAME=?)")
      .bind(type.schema, type.name)
      .run();
  eraseGeneration(database, Aged::Type, type.schema, type.name);
}

void recordProcedure(sqlite3* database, const Procedure& procedure) {
  Command(database, R"(INSERT INTO "SYSNTQ.PROCEDURES" VALUES(?,?,?,?,?,?))")
      .bind(procedure.schema, procedure.name, procedure.specific, procedure.library,
            procedure.entry, procedure.parameterStyle)
      .run();
  int64_t position = 0;
  for (const ParameterDefinition& parameter : procedure.parameters) {
    Command(database, R"(INSERT INTO "SYSNTQ.PARAMETERS" VALUES(?,?,?,?,?,?,?,?,?))")
        .bind(procedure.schema, procedure.specific, position++, parameter.mode, parameter.name,
              sourceText(parameter.type), parameter.type.distinctSchema,
              parameter.type.distinctName, parameter.type.locator)
        .run();
  }
}

void eraseProcedure(sqlite3* database, const Procedure& procedure) {
  for (std::string_view sql :
       {R"(DELETE FROM "SYSNTQ.PROCEDURES" WHERE SCHEMA=? AND SPECIFIC=?)",
        R"(DELETE FROM "SYSNTQ.PARAMETERS" WHERE SCHEMA=? AND SPECIFIC=?)"}) {
    Command(database, sql).bind(procedure.schema, procedure.specific).run();
  }
}

void recordFunction(sqlite3* database, const Function& function) {
  Command(database, R"(INSERT INTO "SYSNTQ.FUNCTIONS" VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?))")
      .bind(function.schema, function.name, function.specific, function.kind, function.library,
            function.entry, function.scratchpad, function.finalCall, function.dbInfo,
            function.deterministic, function.nullCall, function.sourceSchema, function.sourceName)
      .run();
  recordGeneration(database, Aged::Function, function.schema, function.specific);
  using Role = FunctionTypeRole;
  insertFunctionTypes(database, function, Role::Parameter, function.parameters);
  insertFunctionTypes(database, function, Role::SourceParameter, function.sourceParameters);
  if (function.kind == FunctionKind::Table) {
    int64_t position = 0;
    for (const OutputColumn& column : function.columns) {
      insertFunctionType(database, function, Role::Column, position++, column.name, column.type);
    }
    return;
  }
  insertFunctionType(database, function, Role::Result, 0, "", function.result);
  if (function.kind == FunctionKind::Scalar) {
    insertFunctionType(database, function, Role::Returned, 0, "", function.returned);
  }
}

void eraseFunction(sqlite3* database, const Function& function) {
  for (std::string_view sql :
       {R"(DELETE FROM "SYSNTQ.FUNCTIONS" WHERE SCHEMA=? AND SPECIFIC=?)",
        R"(DELETE FROM "SYSNTQ.FUNCTIONTYPES" WHERE SCHEMA=? AND SPECIFIC=?)"}) {
    Command(database, sql).bind(function.schema, function.specific).run();
  }
  eraseGeneration(database, Aged::Function, function.schema, function.specific);
}

void recordPackage(sqlite3* database, const Package& package,
                   const std::vector<PackageSection>& sections) {
  Command(database, R"(DELETE FROM "SYSNTQ.SECTIONS" WHERE QUALIFIER=? AND PACKAGE=?)")
      .bind(package.qualifier, package.name)
      .run();
  Command(database, R"(INSERT OR REPLACE INTO "SYSNTQ.PACKAGES" VALUES(?,?,?))")
      .bind(package.qualifier, package.name, package.token)
      .run();
  Command insert(database, R"(INSERT OR REPLACE INTO "SYSNTQ.SECTIONS" VALUES(?,?,?,?))");
  for (const PackageSection& section : sections) {
    insert.bind(package.qualifier, package.name, section.name, section.text).run();
  }
}

}  // namespace orv::sqlite
