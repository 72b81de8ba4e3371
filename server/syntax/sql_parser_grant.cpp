// GRANT and REVOKE.
#include <algorithm>
#include <array>

#include "server/syntax/sql_parser_impl.h"

namespace orv {
namespace {

// What privileges of other kinds are on. A table may have such a name, too: then what comes next
// is no name.
constexpr std::array<std::string_view, 11> kOtherObjects = {
    "SCHEMA", "INDEX",    "PACKAGE",  "PROGRAM", "FUNCTION", "PROCEDURE",
    "METHOD", "SPECIFIC", "SEQUENCE", "TYPE",    "SERVER"};

}  // namespace

// grant: GRANT privileges ON [TABLE] name TO grantee {, grantee} [WITH GRANT OPTION]
//      | REVOKE privileges ON [TABLE] name FROM grantee {, grantee} [BY ALL]
// Privileges on other objects are read over.
void Parser::parseGrant(std::string_view preposition) {
  statement_->kind = StatementKind::Grant;
  if (!isName()) unexpected("<privilege>");
  if (!isGrantOnTable(preposition)) return parseOtherGrant(preposition);
  GrantDefinition& grant = statement_->grant;
  grant.revoke = preposition == "FROM";
  parsePrivileges(grant);
  expectWord("ON");
  if (isWord("TABLE") && isName(1) && !isWord(preposition, 1)) advance();
  statement_->name = parseQualifiedName();
  expectWord(preposition);
  do {
    grant.grantees.push_back(parseGrantee());
  } while (acceptSymbol(","));
  if (grant.revoke) {
    acceptWords("BY ALL");
  } else {
    grant.grantable = acceptWords("WITH GRANT OPTION");
  }
}

bool Parser::isGrantOnTable(std::string_view preposition) const {
  size_t on = 0;
  while (!isWord("ON", on)) {
    if (token(on).kind == TokenKind::End || isWord(preposition, on)) return false;
    ++on;
  }
  if (isWord("DATABASE", on + 1)) return false;
  const bool other =
      std::ranges::any_of(kOtherObjects, [&](auto word) { return isWord(word, on + 1); });
  return !other || !isName(on + 2) || isWord(preposition, on + 2);
}

// privileges: ALL [PRIVILEGES] | privilege {, privilege}
// privilege: a word, and for REFERENCES and UPDATE [ ( column {, column} ) ]
void Parser::parsePrivileges(GrantDefinition& grant) {
  if (acceptWord("ALL")) {
    acceptWord("PRIVILEGES");
    grant.all = true;
    return;
  }
  do {
    const auto word =
        std::ranges::find_if(kTablePrivileges, [&](auto privilege) { return isWord(privilege); });
    if (word == std::end(kTablePrivileges)) unexpected("<privilege>");
    advance();
    const bool ofColumns = (*word == "REFERENCES" || *word == "UPDATE") && isSymbol("(");
    if (ofColumns) {
      parseNameList();
    } else {
      grant.privileges.emplace_back(*word);
    }
  } while (acceptSymbol(","));
}

// grantee: [USER | GROUP] name | PUBLIC
Grantee Parser::parseGrantee() {
  if (acceptWord("PUBLIC")) return {'G', "PUBLIC"};
  const bool typed = (isWord("USER") || isWord("GROUP")) && isName(1);
  const char type = typed && isWord("GROUP") ? 'G' : 'U';
  if (typed) advance();
  return {type, parseName()};
}

void Parser::parseOtherGrant(std::string_view preposition) {
  while (!isWord(preposition)) {
    if (token().kind == TokenKind::End || isSymbol(";")) unexpected(preposition);
    advance();
  }
  advance();
  if (!isName()) unexpected("<identifier>");
  while (token().kind != TokenKind::End && !isSymbol(";")) advance();
}

}  // namespace orv
