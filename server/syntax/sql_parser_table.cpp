// Table definitions: CREATE TABLE and ALTER TABLE.
#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {

// create table: CREATE TABLE name elements options
void Parser::parseCreateTable() {
  statement_->kind = StatementKind::CreateTable;
  statement_->name = parseQualifiedName();
  parseTableElements();
  parseTableOptions();
}

// elements: ( element {, element} )
void Parser::parseTableElements() {
  expectSymbol("(");
  do {
    if (tableConstraintFollows()) {
      parseTableConstraint();
    } else {
      parseColumnDefinition();
    }
  } while (acceptSymbol(","));
  expectSymbol(")");
}

// options: { [INDEX | LONG] IN name | NOT LOGGED INITIALLY | DATA CAPTURE (NONE | CHANGES) }
void Parser::parseTableOptions() {
  for (;;) {
    if (acceptWord("IN")) {
      parseTableSpaceName();
    } else if (acceptWords("INDEX IN") || acceptWords("LONG IN")) {
      parseName();
    } else if (!acceptWords("NOT LOGGED INITIALLY") && !acceptWords("DATA CAPTURE NONE") &&
               !acceptWords("DATA CAPTURE CHANGES")) {
      return;
    }
  }
}

void Parser::parseTableSpaceName() {
  if (!statement_->tableSpace.empty()) throw SqlError(-628, {"IN"});
  statement_->tableSpace = parseName();
}

// alter table: ALTER TABLE name { ADD ( [COLUMN] column definition | constraint ) }
void Parser::parseAlterTable() {
  statement_->kind = StatementKind::AlterTable;
  expectWord("TABLE");
  statement_->name = parseQualifiedName();
  expectWord("ADD");
  do {
    if (tableConstraintFollows()) {
      parseTableConstraint();
    } else {
      acceptWord("COLUMN");
      parseColumnDefinition();
    }
  } while (acceptWord("ADD"));
}

bool Parser::tableConstraintFollows() const {
  return areWords("PRIMARY KEY") || areWords("FOREIGN KEY") ||
         (isWord("UNIQUE") && isSymbol("(", 1)) || (isWord("CHECK") && isSymbol("(", 1)) ||
         (isWord("CONSTRAINT") && isName(1) && token(2).kind == TokenKind::Word);
}

// constraint: [CONSTRAINT name] ( PRIMARY KEY columns | UNIQUE columns | CHECK ( condition )
//             | FOREIGN KEY [name] columns references )
void Parser::parseTableConstraint() {
  KeyDefinition key;
  if (acceptWord("CONSTRAINT")) key.constraint = parseName();
  if (acceptWords("PRIMARY KEY")) {
    key.columns = parseNameList();
  } else if (acceptWord("UNIQUE")) {
    key.kind = KeyDefinition::Kind::Unique;
    key.columns = parseNameList();
  } else if (acceptWords("FOREIGN KEY")) {
    key.kind = KeyDefinition::Kind::Foreign;
    if (isName()) key.constraint = parseName();
    key.columns = parseNameList();
    expectWord("REFERENCES");
    parseReferences(key);
  } else if (isWord("CHECK")) {
    key = parseCheck(std::move(key.constraint));
  } else {
    unexpected("PRIMARY KEY");
  }
  statement_->keys.push_back(std::move(key));
}

// references: name [columns] { ON (DELETE | UPDATE) action }
void Parser::parseReferences(KeyDefinition& key) {
  key.references = parseQualifiedName();
  if (isSymbol("(")) key.referencesColumns = parseNameList();
  while (acceptWord("ON")) {
    const bool onDelete = acceptWord("DELETE");
    if (!onDelete) expectWord("UPDATE");
    std::string action;
    if (acceptWords("NO ACTION")) {
      action = "NO ACTION";
    } else if (acceptWord("RESTRICT")) {
      action = "RESTRICT";
    } else if (onDelete && acceptWord("CASCADE")) {
      action = "CASCADE";
    } else if (onDelete && acceptWords("SET NULL")) {
      action = "SET NULL";
    } else {
      unexpected("NO ACTION");
    }
    if (onDelete) key.onDelete = std::move(action);
  }
}

// check: CHECK ( condition )
KeyDefinition Parser::parseCheck(std::string constraint) {
  KeyDefinition key;
  key.kind = KeyDefinition::Kind::Check;
  key.constraint = std::move(constraint);
  expectWord("CHECK");
  expectSymbol("(");
  const size_t begin = token().begin;
  key.check = parseCondition();
  key.checkText = text_.substr(begin, token().begin - begin);
  while (!key.checkText.empty() && key.checkText.back() == ' ') key.checkText.pop_back();
  expectSymbol(")");
  return key;
}

// column definition: name type { option }
void Parser::parseColumnDefinition() {
  ColumnDefinition column;
  column.offset = token().begin;
  column.name = parseName();
  ParsedType parsed = parseType();
  column.type = std::move(parsed.type);
  column.typeName = std::move(parsed.name);
  while (parseColumnOption(column)) {
  }
  statement_->columns.push_back(std::move(column));
}

// option: [NOT] LOGGED | [NOT] COMPACT | NOT NULL | NULL | [WITH] DEFAULT [..] | constraint
bool Parser::parseColumnOption(ColumnDefinition& column) {
  if (acceptWords("NOT NULL")) {
    column.notNull = true;
  } else if (isWord("WITH") || isWord("DEFAULT")) {
    if (column.withDefault) throw SqlError(-628, {"DEFAULT"});
    parseDefault(column);
  } else if (isWord("CONSTRAINT") || isWord("PRIMARY") || isWord("UNIQUE") || isWord("CHECK") ||
             isWord("REFERENCES")) {
    parseColumnConstraint(column);
  } else {
    return acceptWords("NOT LOGGED") || acceptWord("LOGGED") || acceptWords("NOT COMPACT") ||
           acceptWord("COMPACT") || acceptWord("NULL");
  }
  return true;
}

// column constraint: [CONSTRAINT name] (PRIMARY KEY | UNIQUE | CHECK ( .. ) | REFERENCES ..)
void Parser::parseColumnConstraint(ColumnDefinition& column) {
  KeyDefinition key;
  if (acceptWord("CONSTRAINT")) key.constraint = parseName();
  const bool named = !key.constraint.empty();
  key.columns = {column.name};
  if (isWord("CHECK")) {
    statement_->keys.push_back(parseCheck(std::move(key.constraint)));
    return;
  }
  if (acceptWords("PRIMARY KEY")) {
    if (!named) column.primaryKey = true;
  } else if (acceptWord("UNIQUE")) {
    key.kind = KeyDefinition::Kind::Unique;
    if (!named) column.unique = true;
  } else {
    expectWord("REFERENCES");
    key.kind = KeyDefinition::Kind::Foreign;
    parseReferences(key);
    const bool further = !column.references.name.empty();
    if (!named && !further) {
      column.references = std::move(key.references);
      column.referencesColumns = std::move(key.referencesColumns);
      column.onDelete = std::move(key.onDelete);
      return;
    }
    statement_->keys.push_back(std::move(key));
    return;
  }
  if (named) statement_->keys.push_back(std::move(key));
}

// default: [WITH] DEFAULT [constant | NULL | special register | function]
// A default of NULL is none.
void Parser::parseDefault(ColumnDefinition& column) {
  acceptWord("WITH");
  expectWord("DEFAULT");
  if (acceptWord("NULL")) return;
  column.withDefault = true;
  const bool ends =
      isSymbol(",") || isSymbol(")") || isSymbol(";") || token().kind == TokenKind::End;
  const bool option = isWord("NOT") || isWord("CONSTRAINT") || isWord("PRIMARY") ||
                      isWord("UNIQUE") || isWord("CHECK") || isWord("REFERENCES") ||
                      isWord("LOGGED") || isWord("COMPACT") || isWord("ADD");
  column.defaultValue = ends || option ? make(ExprKind::Null) : parseFactor();
}

}  // namespace orv
