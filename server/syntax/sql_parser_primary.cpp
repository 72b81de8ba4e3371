// What operators work on: constants, columns, functions, special registers, CASE, CAST and queries
// in parentheses.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"

namespace orv {
namespace {

// A special register, its spelling in two words or one, and how the tree calls it.
struct Register {
  std::string_view first;
  std::string_view second;
  std::string_view op;
};
constexpr Register kRegisters[] = {
    {"CURRENT", "DATE", "CURRENT DATE"},
    {"CURRENT", "TIME", "CURRENT TIME"},
    {"CURRENT", "TIMESTAMP", "CURRENT TIMESTAMP"},
    {"CURRENT", "SCHEMA", "CURRENT SCHEMA"},
    {"CURRENT", "SQLID", "CURRENT SCHEMA"},
    {"CURRENT", "USER", "USER"},
    {"CURRENT_DATE", "", "CURRENT DATE"},
    {"CURRENT_TIME", "", "CURRENT TIME"},
    {"CURRENT_TIMESTAMP", "", "CURRENT TIMESTAMP"},
    {"CURRENT_SCHEMA", "", "CURRENT SCHEMA"},
    {"CURRENT_USER", "", "USER"},
    {"SESSION_USER", "", "USER"},
    {"SYSTEM_USER", "", "USER"},
    {"USER", "", "USER"},
};

// INTEGER, BIGINT or DECIMAL by the number of digits.
SqlType integerType(std::string_view digits) {
  const size_t first = std::min(digits.find_first_not_of('0'), digits.size() - 1);
  const std::string_view significant = digits.substr(first);
  SqlType type;
  type.nullable = false;
  int64_t value = 0;
  const char* end = significant.data() + significant.size();
  if (std::from_chars(significant.data(), end, value).ec == std::errc{}) {
    type.kind = value <= INT32_MAX ? TypeKind::Integer : TypeKind::BigInt;
    return type;
  }
  type.kind = TypeKind::Decimal;
  type.length = static_cast<int64_t>(significant.size());
  return type;
}

SqlType decimalType(std::string_view text) {
  SqlType type;
  type.nullable = false;
  type.kind = TypeKind::Decimal;
  const size_t point = text.find('.');
  type.length = static_cast<int64_t>(text.size()) - (point == std::string_view::npos ? 0 : 1);
  if (point != std::string_view::npos) type.scale = static_cast<int>(text.size() - point - 1);
  return type;
}

// "1." and ".5" as "1" and "0.5".
std::string plainDecimal(std::string text) {
  if (text.front() == '.') text.insert(text.begin(), '0');
  if (text.back() == '.') text.pop_back();
  return text;
}
}  // namespace

// primary: literal | ? | ( ... ) | case | cast | exists | special register | function | column
ExprPtr Parser::parsePrimary() {
  const Nesting nesting(*this);
  switch (token().kind) {
    case TokenKind::Marker: {
      ExprPtr expr = make(ExprKind::Marker);
      expr->markerIndex = markers_++;
      advance();
      return expr;
    }
    case TokenKind::Symbol:
      if (isSymbol("(")) return parseParenthesis();
      unexpected("<value>");
    case TokenKind::Word:
      return parseWordPrimary();
    case TokenKind::Delimited:
      return parseNamed();
    case TokenKind::End:
      unexpected("<value>");
    default:
      return parseLiteral();
  }
}

// parenthesis: ( or ) | ( query )
// What begins as a query in parentheses may go on as a combination of queries.
ExprPtr Parser::parseParenthesis() {
  expectSymbol("(");
  if (queryFollows()) return parseSubquery(ExprKind::Scalar);
  ExprPtr expr = parseOr();
  if (expr->kind == ExprKind::Scalar && queryContinues()) {
    setQuery(*expr, parseQueryRest(std::move(expr->query)));
  }
  expectSymbol(")");
  return expr;
}

// The rest after ( : query )
ExprPtr Parser::parseSubquery(ExprKind kind) {
  ExprPtr expr = make(kind);
  setQuery(*expr, parseQuery());
  expectSymbol(")");
  return expr;
}

ExprPtr Parser::parseLiteral() {
  ExprPtr expr = make(ExprKind::Literal);
  const Token& literal = token();
  expr->text = literal.text;
  expr->type.nullable = false;
  expr->type.length = static_cast<int64_t>(literal.text.size());
  switch (literal.kind) {
    case TokenKind::Integer:
      expr->type = integerType(literal.text);
      break;
    case TokenKind::Decimal:
      expr->text = plainDecimal(literal.text);
      expr->type = decimalType(expr->text);
      break;
    case TokenKind::Float:
      expr->type.kind = TypeKind::Double;
      expr->type.length = 0;
      break;
    case TokenKind::String:
      expr->type.kind = TypeKind::Varchar;
      break;
    case TokenKind::HexString:
      expr->type.kind = TypeKind::VarcharBits;
      break;
    default:
      expr->type.kind = TypeKind::VarGraphic;
      expr->type.length = utf16Units(literal.text);
      break;
  }
  const bool tooManyDigits =
      expr->type.kind == TypeKind::Decimal && expr->type.length > kMaxPrecision;
  const bool infinite =
      expr->type.kind == TypeKind::Double && std::isinf(std::strtod(literal.text.c_str(), nullptr));
  if (tooManyDigits || infinite) throw SqlError(-405, {literal.text.substr(0, 60)});
  advance();
  return expr;
}

ExprPtr Parser::parseWordPrimary() {
  if (isSymbol("(", 1)) {
    if (isWord("CASE")) return parseCase();
    if (isWord("CAST")) return parseCast();
    if (isWord("EXISTS")) return parseExists();
    if (isWord("TRIM")) return parseTrim();
    return parseFunction();
  }
  if (isSymbol(".", 1)) return parseNamed();
  if (isWord("CASE")) return parseCase();
  if (isWord("NULL")) {
    ExprPtr expr = make(ExprKind::Null);
    advance();
    return expr;
  }
  if (ExprPtr expr = parseSpecialRegister()) return expr;
  static constexpr std::string_view kNeverColumns[] = {
      "SELECT",  "FROM", "WHERE", "GROUP", "ORDER", "HAVING", "UNION",   "EXCEPT", "INTERSECT",
      "AND",     "OR",   "NOT",   "WHEN",  "THEN",  "ELSE",   "END",     "IN",     "LIKE",
      "BETWEEN", "IS",   "AS",    "ON",    "SET",   "VALUES", "DISTINCT"};
  for (const std::string_view word : kNeverColumns) {
    if (isWord(word)) unexpected("<value>");
  }
  return parseColumn();
}

// Null when none stands here.
ExprPtr Parser::parseSpecialRegister() {
  for (const Register& entry : kRegisters) {
    const size_t words = entry.second.empty() ? 1 : 2;
    if (!isWord(entry.first) || (words == 2 && !isWord(entry.second, 1))) continue;
    ExprPtr expr = make(ExprKind::SpecialRegister);
    expr->op = entry.op;
    at_ += words;
    return expr;
  }
  return nullptr;
}

// case: CASE [value] WHEN .. THEN .. { WHEN .. THEN .. } [ELSE ..] END
// With an operand the WHENs are values, without one search conditions.
ExprPtr Parser::parseCase() {
  ExprPtr expr = make(ExprKind::Case);
  expectWord("CASE");
  expr->hasOperand = !isWord("WHEN");
  if (expr->hasOperand) addArgument(*expr, parseValue());
  do {
    expectWord("WHEN");
    addArgument(*expr, expr->hasOperand ? parseValue() : parseCondition());
    expectWord("THEN");
    addArgument(*expr, parseValue());
  } while (isWord("WHEN"));
  expr->hasElse = acceptWord("ELSE");
  if (expr->hasElse) addArgument(*expr, parseValue());
  expectWord("END");
  return expr;
}

// cast: CAST ( value AS type )
ExprPtr Parser::parseCast() {
  ExprPtr expr = make(ExprKind::Cast);
  expectWord("CAST");
  expectSymbol("(");
  addArgument(*expr, parseValue());
  expectWord("AS");
  ParsedType target = parseType();
  expr->type = std::move(target.type);
  expr->name = std::move(target.name);
  expectSymbol(")");
  return expr;
}

// trim: TRIM ( [ [LEADING | TRAILING | BOTH] [value] FROM ] value )
// The tree has it as STRIP(value, 'L' | 'T' | 'B', character).
ExprPtr Parser::parseTrim() {
  ExprPtr expr = make(ExprKind::Function);
  expr->name.name = "STRIP";
  at_ += 2;
  ExprPtr side = make(ExprKind::Literal);
  const bool sided = isWord("LEADING") || isWord("TRAILING") || isWord("BOTH");
  side->text = sided ? token().text.substr(0, 1) : "B";
  side->type = makeType(TypeKind::Varchar, 1);
  side->type.nullable = false;
  if (sided) advance();
  ExprPtr character;
  if (!acceptWord("FROM")) {
    ExprPtr first = parseValue();
    if (!sided && acceptSymbol(")")) {
      addArgument(*expr, std::move(first));
      return expr;
    }
    expectWord("FROM");
    character = std::move(first);
  }
  addArgument(*expr, parseValue());
  addArgument(*expr, std::move(side));
  if (character) addArgument(*expr, std::move(character));
  expectSymbol(")");
  return expr;
}

// exists: EXISTS ( query )
ExprPtr Parser::parseExists() {
  const size_t offset = token().begin;
  expectWord("EXISTS");
  expectSymbol("(");
  ExprPtr expr = parseSubquery(ExprKind::Exists);
  expr->offset = offset;
  return expr;
}

ExprPtr Parser::parseNamed() {
  const bool function = isSymbol("(", 1) || (isSymbol(".", 1) && isSymbol("(", 3));
  return function ? parseFunction() : parseColumn();
}

// function: name ( [ * | [DISTINCT | ALL] value {, value} ] )
ExprPtr Parser::parseFunction() {
  ExprPtr expr = make(ExprKind::Function);
  expr->name = parseQualifiedName();
  expectSymbol("(");
  if (isSymbol("*") && isSymbol(")", 1)) {
    addArgument(*expr, make(ExprKind::Star));
    advance();
  } else if (!isSymbol(")")) {
    expr->distinct = acceptWord("DISTINCT");
    if (!expr->distinct) acceptWord("ALL");
    do {
      addArgument(*expr, parseValue());
    } while (acceptSymbol(","));
  }
  expectSymbol(")");
  return expr;
}

// column: [ [schema .] table . ] name
ExprPtr Parser::parseColumn() {
  ExprPtr expr = make(ExprKind::Column);
  expr->name.name = parseName("<value>");
  for (int parts = 1; parts < 3 && acceptSymbol("."); ++parts) {
    expr->name.schema = std::move(expr->qualifier);
    expr->qualifier = std::move(expr->name.name);
    expr->name.name = parseName();
  }
  return expr;
}

}  // namespace orv
