// Procedures.
#include <algorithm>

#include "server/sql/parser_impl.h"
#include "server/sql/sql_error.h"

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
  const bool typeAlone =
      areWords("LONG VARCHAR") || areWords("LONG VARGRAPHIC") || areWords("DOUBLE PRECISION");
  if (isName(1) && !typeAlone && !isWord("AS", 1) && !isWord("FOR", 1) && !isWord("VARYING", 1)) {
    parameter.name = parseName();
  }
  ParsedType parsed = parseType();
  parameter.type = std::move(parsed.type);
  parameter.typeName = std::move(parsed.name);
  parameter.type.locator = acceptWords("AS LOCATOR");
  return parameter;
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
    procedure.externalName =
        token().kind == TokenKind::String ? parseStringConstant() : parseName("<string>");
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

// drop procedure: DROP PROCEDURE name [ ( [type {, type}] ) ] | DROP SPECIFIC PROCEDURE name
void Parser::parseDropProcedure(bool specific) {
  statement_->kind = StatementKind::DropProcedure;
  statement_->specific = specific;
  statement_->name = parseQualifiedName();
  if (!specific && acceptSymbol("(")) {
    statement_->dropSignatureGiven = true;
    if (!isSymbol(")")) {
      do {
        statement_->dropSignature.push_back(parseParameter());
      } while (acceptSymbol(","));
    }
    expectSymbol(")");
  }
  acceptWord("RESTRICT");
}

}  // namespace orv
