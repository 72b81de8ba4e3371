// CREATE FUNCTION.
#include <algorithm>

#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

constexpr int32_t kDefaultScratchpad = 100;
constexpr int64_t kMaxScratchpad = 32767;

// Clauses that are words alone. Those without `apply` are read over: every function is called in
// this process, by one thread at a time.
struct Words {
  std::string_view words;
  std::string_view clause;  // of those with the same name one may be given
  void (*apply)(FunctionDefinition&);
};
constexpr Words kWords[] = {
    {"NOT DETERMINISTIC", "DETERMINISTIC", [](FunctionDefinition& f) { f.deterministic = false; }},
    {"DETERMINISTIC", "DETERMINISTIC", [](FunctionDefinition& f) { f.deterministic = true; }},
    {"NOT VARIANT", "DETERMINISTIC", [](FunctionDefinition& f) { f.deterministic = true; }},
    {"VARIANT", "DETERMINISTIC", [](FunctionDefinition& f) { f.deterministic = false; }},
    {"NOT NULL CALL", "NULL CALL", [](FunctionDefinition& f) { f.nullCall = false; }},
    {"RETURNS NULL ON NULL INPUT", "NULL CALL", [](FunctionDefinition& f) { f.nullCall = false; }},
    {"NULL CALL", "NULL CALL", [](FunctionDefinition& f) { f.nullCall = true; }},
    {"CALLED ON NULL INPUT", "NULL CALL", [](FunctionDefinition& f) { f.nullCall = true; }},
    {"NO FINAL CALL", "FINAL CALL", [](FunctionDefinition& f) { f.finalCall = false; }},
    {"FINAL CALL", "FINAL CALL", [](FunctionDefinition& f) { f.finalCall = true; }},
    {"NO DBINFO", "DBINFO", [](FunctionDefinition& f) { f.dbInfo = false; }},
    {"DBINFO", "DBINFO", [](FunctionDefinition& f) { f.dbInfo = true; }},
    {"NO SCRATCHPAD", "SCRATCHPAD", [](FunctionDefinition& f) { f.scratchpad = 0; }},
    {"NOT FENCED", "FENCED", nullptr},
    {"FENCED", "FENCED", nullptr},
    {"NOT THREADSAFE", "THREADSAFE", nullptr},
    {"THREADSAFE", "THREADSAFE", nullptr},
    {"NO SQL", "SQL", nullptr},
    {"CONTAINS SQL", "SQL", nullptr},
    {"READS SQL DATA", "SQL", nullptr},
    {"MODIFIES SQL DATA", "SQL", nullptr},
    {"NO EXTERNAL ACTION", "EXTERNAL ACTION", nullptr},
    {"EXTERNAL ACTION", "EXTERNAL ACTION", nullptr},
    {"ALLOW PARALLEL", "PARALLEL", nullptr},
    {"DISALLOW PARALLEL", "PARALLEL", nullptr},
};

// Clauses that go on after their words, or lead to a part of their own.
constexpr std::string_view kClauses[] = {"RETURNS",       "SOURCE",     "SPECIFIC",
                                         "EXTERNAL NAME", "LANGUAGE",   "PARAMETER STYLE",
                                         "SCRATCHPAD",    "CARDINALITY"};

constexpr std::string_view kClausesOfSourced[] = {"RETURNS", "SOURCE", "SPECIFIC"};

}  // namespace

// create function: CREATE FUNCTION name signature { clause }, with one RETURNS among the clauses
// and either an EXTERNAL NAME or a SOURCE.
void Parser::parseCreateFunction() {
  statement_->kind = StatementKind::CreateFunction;
  FunctionDefinition& function = statement_->function;
  function.name = parseQualifiedName();
  statement_->name = function.name;
  function.parameters = parseSignature();
  std::vector<std::string_view> given;
  for (;;) {
    const std::string_view clause = parseFunctionOption(function);
    if (clause.empty()) break;
    if (std::ranges::find(given, clause) != given.end()) {
      throw SqlError(-628, {std::string(clause)});
    }
    given.push_back(clause);
  }
  if (std::ranges::find(given, "RETURNS") == given.end()) unexpected("RETURNS");
  if (function.kind == FunctionKind::Sourced) {
    for (const std::string_view clause : given) {
      if (std::ranges::find(kClausesOfSourced, clause) == std::end(kClausesOfSourced)) {
        throw SqlError(-628, {std::string(clause)});
      }
    }
    if (function.castFrom || !function.columns.empty()) throw SqlError(-628, {"SOURCE"});
  } else if (function.externalName.empty()) {
    unexpected("EXTERNAL NAME");
  }
}

// The name of the clause that stood here; empty when none did.
std::string_view Parser::parseFunctionOption(FunctionDefinition& function) {
  for (const Words& option : kWords) {
    if (!acceptWords(option.words)) continue;
    if (option.apply) option.apply(function);
    return option.clause;
  }
  for (const std::string_view clause : kClauses) {
    if (!acceptWords(clause)) continue;
    parseFunctionClause(clause, function);
    return clause;
  }
  return {};
}

// SPECIFIC name | EXTERNAL NAME 'library!entry' | LANGUAGE C | PARAMETER STYLE ORVSQL
// | SCRATCHPAD [bytes] | CARDINALITY rows | RETURNS .. | SOURCE ..
void Parser::parseFunctionClause(std::string_view clause, FunctionDefinition& function) {
  if (clause == "RETURNS") {
    parseReturns(function);
  } else if (clause == "SOURCE") {
    parseSource(function);
  } else if (clause == "SPECIFIC") {
    QualifiedName specific = parseQualifiedName();
    function.specific = std::move(specific.name);
    function.specificSchema = std::move(specific.schema);
  } else if (clause == "EXTERNAL NAME") {
    function.externalName = parseExternalName();
  } else if (clause == "LANGUAGE") {
    expectWord("C");
  } else if (clause == "PARAMETER STYLE") {
    expectWord("ORVSQL");
  } else if (clause == "SCRATCHPAD") {
    function.scratchpad = parseScratchpadSize();
  } else {
    parseInteger();
  }
}

int32_t Parser::parseScratchpadSize() {
  if (token().kind != TokenKind::Integer) return kDefaultScratchpad;
  const size_t number = at_;
  const int64_t bytes = parseInteger();
  if (bytes < 1 || bytes > kMaxScratchpad) {
    unexpectedAt(number, "1 to " + std::to_string(kMaxScratchpad));
  }
  return static_cast<int32_t>(bytes);
}

// returns: RETURNS ( locator type [CAST FROM locator type]
//                  | TABLE ( name locator type {, name locator type} ) )
void Parser::parseReturns(FunctionDefinition& function) {
  if (isWord("TABLE") && isSymbol("(", 1)) return parseReturnedColumns(function);
  parseLocatorType(function.result);
  if (acceptWords("CAST FROM")) parseLocatorType(function.castFrom.emplace());
}

void Parser::parseReturnedColumns(FunctionDefinition& function) {
  function.kind = FunctionKind::Table;
  at_ += 2;
  do {
    ParameterDefinition& column = function.columns.emplace_back();
    column.name = parseName();
    parseLocatorType(column);
  } while (acceptSymbol(","));
  expectSymbol(")");
}

// source: SOURCE ( SPECIFIC name | name [signature] )
void Parser::parseSource(FunctionDefinition& function) {
  function.kind = FunctionKind::Sourced;
  function.sourceIsSpecific = acceptWord("SPECIFIC");
  function.source = parseQualifiedName();
  if (!function.sourceIsSpecific && isSymbol("(")) {
    function.sourceSignatureGiven = true;
    function.sourceParameters = parseSignature();
  }
}

}  // namespace orv
