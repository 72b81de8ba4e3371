// Statements that change rows, and CALL.
#include "server/syntax/sql_parser_impl.h"

namespace orv {

// insert: INSERT INTO name [ ( column {, column} ) ] query
void Parser::parseInsert() {
  statement_->kind = StatementKind::Insert;
  expectWord("INTO");
  statement_->name = parseQualifiedName();
  if (isSymbol("(") && !queryFollows(1) && !isSymbol("(", 1)) {
    statement_->insertColumns = parseNameList();
  }
  statement_->query = parseQuery();
  parseQueryTail();
}

// The target of UPDATE and DELETE: name [ [AS] correlation ]
void Parser::parseTargetCorrelation() {
  statement_->target = std::make_unique<TableRef>();
  statement_->target->offset = token().begin;
  statement_->name = parseQualifiedName();
  statement_->target->name = statement_->name;
  if (acceptWord("AS") || (isName() && !isWord("SET") && !isWord("WHERE") && !isWord("WITH"))) {
    statement_->target->correlation = parseName();
  }
}

// update: UPDATE target SET assignment {, assignment} [WHERE condition]
void Parser::parseUpdate() {
  statement_->kind = StatementKind::Update;
  parseTargetCorrelation();
  expectWord("SET");
  statement_->assignments = parseAssignments(false);
  if (acceptWord("WHERE")) statement_->where = parseCondition();
  parseQueryTail();
}

// assignment: column = (value | DEFAULT) | ( column {, column} ) = ( value {, value} )
// column: name | correlation . name, the latter in triggers only
std::vector<Assignment> Parser::parseAssignments(bool ofTrigger) {
  std::vector<Assignment> assignments;
  do {
    std::vector<QualifiedName> columns;
    const bool list = acceptSymbol("(");
    do {
      columns.push_back(ofTrigger ? parseQualifiedName() : QualifiedName{{}, parseName(), {}});
    } while (list && acceptSymbol(","));
    if (list) expectSymbol(")");
    expectSymbol("=");
    const size_t valuesAt = at_;
    std::vector<ExprPtr> values;
    if (list || isWord("DEFAULT")) {
      values = parseValuesRow();
    } else {
      values.push_back(parseValue());
    }
    if (values.size() != columns.size()) unexpectedAt(valuesAt, "<one value for each column>");
    for (size_t i = 0; i < columns.size(); ++i) {
      Assignment& assignment = assignments.emplace_back();
      assignment.column = std::move(columns[i].name);
      assignment.qualifier = std::move(columns[i].schema);
      assignment.value = std::move(values[i]);
    }
  } while (acceptSymbol(","));
  return assignments;
}

// delete: DELETE FROM target [WHERE condition]
void Parser::parseDelete() {
  statement_->kind = StatementKind::Delete;
  expectWord("FROM");
  parseTargetCorrelation();
  if (acceptWord("WHERE")) statement_->where = parseCondition();
  parseQueryTail();
}

// call: CALL name [ ( [value {, value}] ) ]
void Parser::parseCall() {
  statement_->kind = StatementKind::Call;
  statement_->name = parseQualifiedName();
  if (!acceptSymbol("(") || acceptSymbol(")")) return;
  do {
    statement_->callArguments.push_back(parseValue());
  } while (acceptSymbol(","));
  expectSymbol(")");
}

}  // namespace orv
