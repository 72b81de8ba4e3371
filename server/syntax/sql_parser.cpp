// The entry, the dispatch by the first word, and the statements about units of work and sessions.
#include "server/syntax/sql_parser.h"

#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {

std::unique_ptr<Statement> parseStatement(std::string_view text) {
  return Parser(text).parseWhole();
}

std::unique_ptr<Statement> Parser::parseWhole() {
  parseStatementBody();
  acceptSymbol(";");
  if (token().kind != TokenKind::End) unexpected("END-OF-STATEMENT");
  statement_->markers.resize(static_cast<size_t>(markers_));
  return std::move(statement_);
}

void Parser::parseStatementBody() {
  struct Entry {
    std::string_view word;
    void (*parse)(Parser&);
  };
  static constexpr Entry kStatements[] = {
      {"INSERT", [](Parser& p) { p.parseInsert(); }},
      {"UPDATE", [](Parser& p) { p.parseUpdate(); }},
      {"DELETE", [](Parser& p) { p.parseDelete(); }},
      {"CALL", [](Parser& p) { p.parseCall(); }},
      {"ROLLBACK", [](Parser& p) { p.parseRollback(); }},
      {"SAVEPOINT", [](Parser& p) { p.parseSavepoint(); }},
      {"RELEASE", [](Parser& p) { p.parseRelease(); }},
      {"SET", [](Parser& p) { p.parseSet(); }},
      {"CREATE", [](Parser& p) { p.parseCreate(); }},
      {"DECLARE", [](Parser& p) { p.parseDeclareTable(); }},
      {"DROP", [](Parser& p) { p.parseDrop(); }},
      {"ALTER", [](Parser& p) { p.parseAlterTable(); }},
      {"GRANT", [](Parser& p) { p.parseGrant("TO"); }},
      {"REVOKE", [](Parser& p) { p.parseGrant("FROM"); }},
  };
  if (queryFollows() || isSymbol("(")) {
    statement_->query = parseQuery();
    return parseQueryTail();
  }
  if (acceptWord("COMMIT")) {
    statement_->kind = StatementKind::Commit;
    acceptWord("WORK");
    return;
  }
  for (const Entry& entry : kStatements) {
    if (acceptWord(entry.word)) return entry.parse(*this);
  }
  for (const std::string_view word : {"ALLOCATE", "COMMENT", "CONNECT", "EXPLAIN", "LOCK", "MERGE",
                                      "REFRESH", "RENAME", "TRUNCATE", "WITH"}) {
    if (isWord(word)) throw SqlError(-142, {std::string(word)});
  }
  unexpected("<statement>");
}

// ROLLBACK [WORK] [TO SAVEPOINT name]
void Parser::parseRollback() {
  statement_->kind = StatementKind::Rollback;
  acceptWord("WORK");
  if (!acceptWord("TO")) return;
  expectWord("SAVEPOINT");
  statement_->name.name = parseName();
}

// SAVEPOINT name [UNIQUE] { ON ROLLBACK RETAIN (CURSORS | LOCKS) }
void Parser::parseSavepoint() {
  statement_->kind = StatementKind::Savepoint;
  statement_->name.name = parseName();
  statement_->unique = acceptWord("UNIQUE");
  while (acceptWords("ON ROLLBACK RETAIN")) {
    if (!acceptWord("CURSORS")) expectWord("LOCKS");
  }
}

// RELEASE [TO] SAVEPOINT name
void Parser::parseRelease() {
  statement_->kind = StatementKind::ReleaseSavepoint;
  acceptWord("TO");
  expectWord("SAVEPOINT");
  statement_->name.name = parseName();
}

// SET [CURRENT] [FUNCTION] PATH [=] .. | SET [CURRENT] SCHEMA [=] (name | 'name' | USER)
void Parser::parseSet() {
  if (acceptWords("CURRENT FUNCTION PATH") || acceptWords("CURRENT PATH") || acceptWord("PATH") ||
      acceptWord("CURRENT_PATH")) {
    return parseFunctionPath();
  }
  acceptWord("CURRENT");
  if (!acceptWord("SCHEMA") && !acceptWord("CURRENT_SCHEMA")) expectWord("SCHEMA");
  statement_->kind = StatementKind::SetSchema;
  acceptSymbol("=");
  statement_->name.name = parseSchema();
}

// A schema by its name; the user's own is an empty text.
std::string Parser::parseSchema() {
  if (acceptWord("USER")) return {};
  return token().kind == TokenKind::String ? parseStringConstant() : parseName();
}

// path: item {, item} with item: name | 'name' | USER | SYSTEM PATH
void Parser::parseFunctionPath() {
  statement_->kind = StatementKind::SetFunctionPath;
  acceptSymbol("=");
  do {
    if (acceptWords("SYSTEM PATH")) {
      statement_->path.insert(statement_->path.end(), {"SYSNTQ", "SYSFUN"});
    } else {
      statement_->path.push_back(parseSchema());
    }
  } while (acceptSymbol(","));
}

}  // namespace orv
