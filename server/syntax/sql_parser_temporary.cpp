// Declared temporary tables.
#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {

// declare: DECLARE GLOBAL TEMPORARY TABLE name ( elements | LIKE table ) options
void Parser::parseDeclareTable() {
  statement_->kind = StatementKind::DeclareTable;
  for (const std::string_view word : {"GLOBAL", "TEMPORARY", "TABLE"}) expectWord(word);
  statement_->name = parseQualifiedName();
  if (acceptWord("LIKE")) {
    statement_->base = parseQualifiedName();
  } else {
    parseTableElements();
  }
  parseDeclareOptions();
}

// options: { ON COMMIT (DELETE | PRESERVE) ROWS | [NOT] LOGGED | WITH REPLACE | IN name }
// A rollback undoes changes of logged and other tables alike.
void Parser::parseDeclareOptions() {
  bool onCommit = false;
  for (;;) {
    if (acceptWords("ON COMMIT")) {
      if (std::exchange(onCommit, true)) throw SqlError(-628, {"ON COMMIT"});
      statement_->keepRows = acceptWord("PRESERVE");
      if (!statement_->keepRows) expectWord("DELETE");
      expectWord("ROWS");
    } else if (acceptWords("WITH REPLACE")) {
      statement_->replace = true;
    } else if (acceptWord("IN")) {
      parseTableSpaceName();
    } else if (!acceptWords("NOT LOGGED") && !acceptWord("LOGGED")) {
      return;
    }
  }
}

}  // namespace orv
