// Procedures, and what functions have in common with them.
#include <algorithm>

#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

// Options that say how the procedure behaves, read over: the server calls every procedure alike.
constexpr std::string_view kBehaviour[] = {"NOT DETERMINISTIC",
                                           "DETERMINISTIC",
                                           "NOT VARIANT",
                                           "VARIANT",
                                           "NOT FENCED",
                                           "FENCED",
                                           "NOT NULL CALL",
                                           "NULL CALL",
                                           "CALLED ON NULL INPUT",
                                           "NO SQL",
                                           "CONTAINS SQL",
                                           "READS SQL DATA",
                                           "MODIFIES SQL DATA",
                                           "NO EXTERNAL ACTION",
                                           "EXTERNAL ACTION",
                                           "NO DBINFO",
                                           "DBINFO",
                                           "PROGRAM TYPE SUB",
                                           "PROGRAM TYPE MAIN",
                                           "THREADSAFE",
                                           "NOT THREADSAFE",
                                           "INHERIT SPECIAL REGISTERS"};

constexpr std::string_view kParameterStyles[] = {"ORVDARI", "ORVSQL"};

}  // namespace

// create procedure: CREATE PROCEDURE name [ ( [parameter {, parameter}] ) ] { option }
// An external name is needed; without one the entry would be anyone's guess.
void Parser::parseCreateProcedure() {
  statement_->kind = StatementKind::CreateProcedure;
  ProcedureDefinition& procedure = statement_->procedure;
  procedure.name = parseQualifiedName();
  statement_->name = procedure.name;
  if (acceptSymbol("(") && !acceptSymbol(")")) {
    do {
      procedure.parameters.push_back(parseParameter());
    } while (acceptSymbol(","));
    expectSymbol(")");
  }
  while (parseProcedureOption(procedure)) {
  }
  if (procedure.externalName.empty()) unexpected("EXTERNAL NAME");
  if (procedure.parameterStyle.empty()) procedure.parameterStyle = "ORVSQL";
}

// parameter: [IN | OUT | INOUT] [name] type [AS LOCATOR]
ParameterDefinition Parser::parseParameter() {
  ParameterDefinition parameter;
  const auto isMode = [this](std::string_view word) { return isWord(word) && isName(1); };
  if (isMode("IN")) {
    advance();
  } else if (isMode("OUT")) {
    parameter.mode = ParameterDefinition::Mode::Out;
    advance();
  } else if (isMode("INOUT")) {
    parameter.mode = ParameterDefinition::Mode::InOut;
    advance();
  }
  parseNamedType(parameter);
  return parameter;
}

// named type: [name] type [AS LOCATOR]
void Parser::parseNamedType(ParameterDefinition& parameter) {
  static constexpr std::string_view kTypesAlone[] = {"LONG VARCHAR", "LONG VARGRAPHIC",
                                                     "DOUBLE PRECISION", "CHAR LARGE OBJECT",
                                                     "CHARACTER LARGE OBJECT"};
  const bool typeAlone =
      std::ranges::any_of(kTypesAlone, [this](std::string_view words) { return areWords(words); });
  if (isName(1) && !typeAlone && !isWord("AS", 1) && !isWord("FOR", 1) && !isWord("VARYING", 1)) {
    parameter.name = parseName();
  }
  parseLocatorType(parameter);
}

// locator type: type [AS LOCATOR]
void Parser::parseLocatorType(ParameterDefinition& parameter) {
  ParsedType parsed = parseType();
  parameter.type = std::move(parsed.type);
  parameter.typeName = std::move(parsed.name);
  parameter.type.locator = acceptWords("AS LOCATOR");
}

bool Parser::parseProcedureOption(ProcedureDefinition& procedure) {
  if (parseNamedProcedureOption(procedure)) return true;
  for (const std::string_view words : kBehaviour) {
    if (acceptWords(words)) return true;
  }
  const bool resultSets =
      areWords("RESULT SETS") || areWords("RESULT SET") || areWords("DYNAMIC RESULT");
  if (!resultSets) return false;
  acceptWord("DYNAMIC");
  at_ += 2;
  parseInteger();
  return true;
}

// named option: SPECIFIC name | EXTERNAL NAME 'library!entry' | LANGUAGE C | PARAMETER STYLE word
bool Parser::parseNamedProcedureOption(ProcedureDefinition& procedure) {
  if (acceptWord("SPECIFIC")) {
    QualifiedName specific = parseQualifiedName();
    procedure.specific = std::move(specific.name);
    procedure.specificSchema = std::move(specific.schema);
  } else if (acceptWords("EXTERNAL NAME")) {
    procedure.externalName = parseExternalName();
  } else if (acceptWord("LANGUAGE")) {
    expectWord("C");
  } else if (acceptWords("PARAMETER STYLE")) {
    if (acceptWord("GENERAL")) {
      procedure.parameterStyle = acceptWords("WITH NULLS") ? "GENERAL WITH NULLS" : "GENERAL";
      return true;
    }
    const auto* style = std::ranges::find_if(
        kParameterStyles, [this](std::string_view word) { return isWord(word); });
    if (style == std::end(kParameterStyles)) unexpected("<parameter style>");
    procedure.parameterStyle = *style;
    advance();
  } else {
    return false;
  }
  return true;
}

std::string Parser::parseExternalName() {
  return token().kind == TokenKind::String ? parseStringConstant() : parseName("<string>");
}

// drop routine: DROP (PROCEDURE | FUNCTION) name [ ( [type {, type}] ) ]
//             | DROP SPECIFIC (PROCEDURE | FUNCTION) name
void Parser::parseDropRoutine(StatementKind kind, bool specific) {
  statement_->kind = kind;
  statement_->specific = specific;
  statement_->name = parseQualifiedName();
  if (!specific && isSymbol("(")) {
    statement_->dropSignatureGiven = true;
    statement_->dropSignature = parseSignature();
  }
  acceptWord("RESTRICT");
}

// signature: ( [named type {, named type}] )
std::vector<ParameterDefinition> Parser::parseSignature() {
  std::vector<ParameterDefinition> types;
  expectSymbol("(");
  if (acceptSymbol(")")) return types;
  do {
    parseNamedType(types.emplace_back());
  } while (acceptSymbol(","));
  expectSymbol(")");
  return types;
}

}  // namespace orv
