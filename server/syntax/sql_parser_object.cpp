// CREATE and DROP of everything but tables and routines.
#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {

// create: CREATE ( TABLE .. | [UNIQUE] INDEX .. | ALIAS .. | DISTINCT TYPE .. | TABLESPACE ..
//                | SCHEMA name | PROCEDURE .. | FUNCTION .. | VIEW .. | TRIGGER .. )
void Parser::parseCreate() {
  if (acceptWord("TABLE")) return parseCreateTable();
  if (isWord("INDEX") || areWords("UNIQUE INDEX")) return parseCreateIndex();
  if (acceptWord("ALIAS")) return parseCreateAlias();
  if (acceptWords("DISTINCT TYPE")) return parseCreateDistinctType();
  if (acceptWord("PROCEDURE")) return parseCreateProcedure();
  if (acceptWord("FUNCTION")) return parseCreateFunction();
  if (acceptWord("VIEW")) return parseCreateView();
  if (acceptWord("TRIGGER")) return parseCreateTrigger();
  if (acceptWord("SCHEMA")) {
    statement_->kind = StatementKind::CreateSchema;
    statement_->name.name = parseName();
    if (acceptWord("AUTHORIZATION")) parseName();
    return;
  }
  for (const std::string_view kind :
       {"TABLESPACE", "REGULAR TABLESPACE", "LONG TABLESPACE", "LARGE TABLESPACE",
        "USER TEMPORARY TABLESPACE", "SYSTEM TEMPORARY TABLESPACE"}) {
    if (acceptWords(kind)) return parseCreateTableSpace();
  }
  unexpected("<object type>");
}

// create index: CREATE [UNIQUE] INDEX name ON table ( column [ASC | DESC] {, ..} )
void Parser::parseCreateIndex() {
  statement_->kind = StatementKind::CreateIndex;
  statement_->unique = acceptWord("UNIQUE");
  expectWord("INDEX");
  statement_->name = parseQualifiedName();
  expectWord("ON");
  statement_->indexedTable = parseQualifiedName();
  expectSymbol("(");
  do {
    std::string column = parseName();
    const bool descending = acceptWord("DESC");
    if (!descending) acceptWord("ASC");
    statement_->indexColumns.emplace_back(std::move(column), descending);
  } while (acceptSymbol(","));
  expectSymbol(")");
}

// create alias: CREATE ALIAS name FOR table
void Parser::parseCreateAlias() {
  statement_->kind = StatementKind::CreateAlias;
  statement_->name = parseQualifiedName();
  expectWord("FOR");
  statement_->base = parseQualifiedName();
}

// create view: CREATE VIEW name [ ( column {, column} ) ] AS query
void Parser::parseCreateView() {
  statement_->kind = StatementKind::CreateView;
  statement_->name = parseQualifiedName();
  if (isSymbol("(")) statement_->viewColumns = parseNameList();
  expectWord("AS");
  statement_->query = parseQuery();
}

// create distinct type: CREATE DISTINCT TYPE name AS type [WITH COMPARISONS]
void Parser::parseCreateDistinctType() {
  statement_->kind = StatementKind::CreateDistinctType;
  statement_->name = parseQualifiedName();
  expectWord("AS");
  std::optional<SqlType> source = parseBuiltInType();
  if (!source) unexpected("<built-in type>");
  statement_->sourceType = std::move(*source);
  statement_->withComparisons = acceptWords("WITH COMPARISONS");
}

// create table space: CREATE TABLESPACE name ...
// Only the name counts: where the data lies is the engine's business.
void Parser::parseCreateTableSpace() {
  statement_->kind = StatementKind::CreateTableSpace;
  statement_->name.name = parseName();
  while (token().kind != TokenKind::End && !isSymbol(";")) advance();
}

// drop: DROP ( TABLE | INDEX | ALIAS | VIEW | TRIGGER | DISTINCT TYPE | TYPE | TABLESPACE | SCHEMA
// )
//       name [RESTRICT]
//     | DROP [SPECIFIC] (PROCEDURE | FUNCTION) ..
void Parser::parseDrop() {
  struct Entry {
    std::string_view word;
    StatementKind kind;
    bool qualified;
  };
  static constexpr Entry kObjects[] = {
      {"TABLE", StatementKind::DropTable, true},
      {"INDEX", StatementKind::DropIndex, true},
      {"ALIAS", StatementKind::DropAlias, true},
      {"VIEW", StatementKind::DropView, true},
      {"TRIGGER", StatementKind::DropTrigger, true},
      {"TYPE", StatementKind::DropDistinctType, true},
      {"TABLESPACE", StatementKind::DropTableSpace, false},
      {"SCHEMA", StatementKind::DropSchema, false},
  };
  const bool specific = acceptWord("SPECIFIC");
  if (acceptWord("PROCEDURE")) return parseDropRoutine(StatementKind::DropProcedure, specific);
  if (acceptWord("FUNCTION")) return parseDropRoutine(StatementKind::DropFunction, specific);
  if (specific) unexpected("FUNCTION");
  if (isWord("DISTINCT") && isWord("TYPE", 1)) advance();
  for (const Entry& entry : kObjects) {
    if (!acceptWord(entry.word)) continue;
    statement_->kind = entry.kind;
    if (entry.qualified) {
      statement_->name = parseQualifiedName();
    } else {
      statement_->name.name = parseName();
    }
    acceptWord("RESTRICT");
    return;
  }
  unexpected("<object type>");
}

}  // namespace orv
