// CREATE TRIGGER.
#include <algorithm>

#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

// Five digits or capital letters, of no class that means success, a warning or the end of data.
bool isErrorState(std::string_view state) {
  const bool shaped = state.size() == 5 && std::ranges::all_of(state, [](char c) {
                        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
                      });
  return shaped && !state.starts_with("00") && !state.starts_with("01") && !state.starts_with("02");
}

}  // namespace

// create trigger: CREATE TRIGGER name (NO CASCADE BEFORE | AFTER) event ON table [REFERENCING ..]
//                 FOR EACH ROW MODE ORVSQL [WHEN ( condition )] body
void Parser::parseCreateTrigger() {
  statement_->kind = StatementKind::CreateTrigger;
  statement_->name = parseQualifiedName();
  statement_->trigger = std::make_shared<TriggerDefinition>();
  TriggerDefinition& trigger = *statement_->trigger;
  trigger.time = acceptWords("NO CASCADE BEFORE") ? TriggerTime::Before : TriggerTime::After;
  if (trigger.time == TriggerTime::After) expectWord("AFTER");
  parseTriggerEvent(trigger);
  expectWord("ON");
  statement_->indexedTable = parseQualifiedName();
  if (acceptWord("REFERENCING")) parseReferencing(trigger);
  for (const std::string_view word : {"FOR", "EACH", "ROW", "MODE", "ORVSQL"}) expectWord(word);
  if (acceptWord("WHEN")) {
    expectSymbol("(");
    trigger.when = parseCondition();
    expectSymbol(")");
  }
  parseTriggerBody(trigger);
}

// event: INSERT | DELETE | UPDATE [OF column {, column}]
void Parser::parseTriggerEvent(TriggerDefinition& trigger) {
  if (acceptWord("INSERT")) {
    trigger.event = TriggerEvent::Insert;
  } else if (acceptWord("DELETE")) {
    trigger.event = TriggerEvent::Delete;
  } else {
    expectWord("UPDATE");
    trigger.event = TriggerEvent::Update;
    if (!acceptWord("OF")) return;
    do {
      trigger.updateColumns.push_back(parseName());
    } while (acceptSymbol(","));
  }
}

// referencing: REFERENCING { (OLD | NEW) [AS] name }, each once at most
void Parser::parseReferencing(TriggerDefinition& trigger) {
  do {
    const bool old = isWord("OLD");
    if (!old && !isWord("NEW")) unexpected("NEW");
    advance();
    acceptWord("AS");
    std::string& name = old ? trigger.oldName : trigger.newName;
    if (!name.empty()) throw SqlError(-628, {old ? "OLD" : "NEW"});
    name = parseName();
  } while (isWord("OLD") || isWord("NEW"));
}

// body: step | BEGIN ATOMIC { step ; } END
void Parser::parseTriggerBody(TriggerDefinition& trigger) {
  if (!acceptWord("BEGIN")) {
    trigger.steps.push_back(parseTriggerStep());
    return;
  }
  expectWord("ATOMIC");
  while (!acceptWord("END")) {
    trigger.steps.push_back(parseTriggerStep());
    expectSymbol(";");
  }
}

// step: SET assignment {, assignment} | SIGNAL .. | INSERT .. | UPDATE .. | DELETE .. | query
TriggerStep Parser::parseTriggerStep() {
  TriggerStep step;
  if (acceptWord("SET")) {
    step.kind = TriggerStep::Kind::Set;
    step.assignments = parseAssignments(true);
  } else if (acceptWord("SIGNAL")) {
    step.kind = TriggerStep::Kind::Signal;
    parseSignal(step);
  } else {
    step.statement = parseNestedStatement();
  }
  return step;
}

// signal: SIGNAL SQLSTATE 'state' [ ( 'text' ) | SET MESSAGE_TEXT = 'text' ]
void Parser::parseSignal(TriggerStep& step) {
  expectWord("SQLSTATE");
  acceptWord("VALUE");
  step.sqlState = parseStringConstant();
  if (!isErrorState(step.sqlState)) throw SqlError(-435, {step.sqlState});
  if (acceptSymbol("(")) {
    step.text = parseStringConstant();
    expectSymbol(")");
  } else if (acceptWord("SET")) {
    expectWord("MESSAGE_TEXT");
    expectSymbol("=");
    step.text = parseStringConstant();
  }
}

// A statement of its own within the one that is parsed.
std::unique_ptr<Statement> Parser::parseNestedStatement() {
  const bool allowed =
      isWord("INSERT") || isWord("UPDATE") || isWord("DELETE") || queryFollows() || isSymbol("(");
  if (!allowed) unexpected("<triggered statement>");
  auto nested = std::make_unique<Statement>();
  std::swap(statement_, nested);
  const size_t begin = token().begin;
  parseStatementBody();
  statement_->text = text_.substr(begin, tokens_[at_ - 1].end - begin);
  std::swap(statement_, nested);
  return nested;
}

}  // namespace orv
