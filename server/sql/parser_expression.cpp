// Values and search conditions. Both are one grammar, because an opening parenthesis does not tell
// which of them it holds; requireValue() and requirePredicate() tell them apart afterwards.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "server/sql/parser_impl.h"
#include "server/sql/sql_error.h"
#include "server/sql/utf8_text.h"

namespace orv {
namespace {

constexpr int64_t kMaxPrecision = 31;

bool isPredicate(const Expr& expr) {
  switch (expr.kind) {
    case ExprKind::Compare:
    case ExprKind::And:
    case ExprKind::Or:
    case ExprKind::Not:
    case ExprKind::IsNull:
    case ExprKind::Between:
    case ExprKind::In:
    case ExprKind::Like:
    case ExprKind::Exists:
    case ExprKind::Quantified:
      return true;
    default:
      return false;
  }
}

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

ExprPtr Parser::makeAt(ExprKind kind, size_t offset) const {
  auto expr = std::make_unique<Expr>();
  expr->kind = kind;
  expr->offset = offset;
  return expr;
}

ExprPtr Parser::make(ExprKind kind) const {
  return makeAt(kind, token().begin);
}

void Parser::addArgument(Expr& parent, ExprPtr argument) const {
  parent.height = std::max(parent.height, argument->height + 1);
  if (parent.height > kMaxNesting) throw SqlError(-101);
  parent.args.push_back(std::move(argument));
}

void Parser::setQuery(Expr& parent, QueryPtr query) const {
  parent.height = std::max(parent.height, query->height + 1);
  if (parent.height > kMaxNesting) throw SqlError(-101);
  parent.query = std::move(query);
}

ExprPtr Parser::binary(ExprKind kind, std::string op, ExprPtr left, ExprPtr right) const {
  ExprPtr expr = makeAt(kind, left->offset);
  expr->op = std::move(op);
  requireValue(*left);
  requireValue(*right);
  addArgument(*expr, std::move(left));
  addArgument(*expr, std::move(right));
  return expr;
}

void Parser::requireValue(const Expr& expr) const {
  if (isPredicate(expr)) unexpected("<value>");
}

void Parser::requirePredicate(const Expr& expr) const {
  if (!isPredicate(expr)) unexpected("<comparison>");
}

ExprPtr Parser::parseValue() {
  ExprPtr expr = parseSum();
  requireValue(*expr);
  return expr;
}

ExprPtr Parser::parseCondition() {
  ExprPtr expr = parseOr();
  requirePredicate(*expr);
  return expr;
}

// or: and { OR and }
ExprPtr Parser::parseOr() {
  ExprPtr first = parseAnd();
  if (!isWord("OR")) return first;
  requirePredicate(*first);
  ExprPtr expr = makeAt(ExprKind::Or, first->offset);
  addArgument(*expr, std::move(first));
  while (acceptWord("OR")) {
    ExprPtr next = parseAnd();
    requirePredicate(*next);
    addArgument(*expr, std::move(next));
  }
  return expr;
}

// and: not { AND not }
ExprPtr Parser::parseAnd() {
  ExprPtr first = parseNot();
  if (!isWord("AND")) return first;
  requirePredicate(*first);
  ExprPtr expr = makeAt(ExprKind::And, first->offset);
  addArgument(*expr, std::move(first));
  while (acceptWord("AND")) {
    ExprPtr next = parseNot();
    requirePredicate(*next);
    addArgument(*expr, std::move(next));
  }
  return expr;
}

// not: { NOT } predicate
// Two NOTs are none, so one node is enough for any number of them.
ExprPtr Parser::parseNot() {
  const size_t offset = token().begin;
  bool seen = false;
  bool negate = false;
  while (acceptWord("NOT")) {
    seen = true;
    negate = !negate;
  }
  ExprPtr operand = parsePredicate();
  if (seen) requirePredicate(*operand);
  if (!negate) return operand;
  ExprPtr expr = makeAt(ExprKind::Not, offset);
  addArgument(*expr, std::move(operand));
  return expr;
}

// predicate: sum [ comparison | [NOT] between | [NOT] in | [NOT] like | IS [NOT] NULL ]
ExprPtr Parser::parsePredicate() {
  ExprPtr operand = parseSum();
  if (token().kind == TokenKind::Symbol) {
    static constexpr std::string_view kComparisons[] = {"=", "<>", "<", ">", "<=", ">="};
    for (const std::string_view op : kComparisons) {
      if (isSymbol(op)) return parseComparison(std::move(operand));
    }
    return operand;
  }
  if (isWord("IS")) return parseIsNull(std::move(operand));
  const size_t ahead = isWord("NOT") ? 1 : 0;
  if (isWord("BETWEEN", ahead)) return parseBetween(std::move(operand));
  if (isWord("IN", ahead)) return parseIn(std::move(operand));
  if (isWord("LIKE", ahead)) return parseLike(std::move(operand));
  return operand;
}

// comparison: op sum | op ( ANY | SOME | ALL ) ( query )
ExprPtr Parser::parseComparison(ExprPtr left) {
  requireValue(*left);
  std::string op = token().text;
  advance();
  const bool any = isWord("ANY") || isWord("SOME");
  if ((any || isWord("ALL")) && isSymbol("(", 1) && queryFollows(2)) {
    at_ += 2;
    const size_t offset = left->offset;
    ExprPtr expr = parseSubquery(ExprKind::Quantified);
    expr->offset = offset;
    expr->op = std::move(op);
    expr->text = any ? "ANY" : "ALL";
    addArgument(*expr, std::move(left));
    return expr;
  }
  return binary(ExprKind::Compare, std::move(op), std::move(left), parseSum());
}

// between: BETWEEN sum AND sum
ExprPtr Parser::parseBetween(ExprPtr operand) {
  requireValue(*operand);
  ExprPtr expr = makeAt(ExprKind::Between, operand->offset);
  expr->negated = acceptWord("NOT");
  expectWord("BETWEEN");
  addArgument(*expr, std::move(operand));
  addArgument(*expr, parseValue());
  expectWord("AND");
  addArgument(*expr, parseValue());
  return expr;
}

// in: IN ( query ) | IN ( value {, value} ) | IN value
ExprPtr Parser::parseIn(ExprPtr operand) {
  requireValue(*operand);
  const size_t offset = operand->offset;
  const bool negated = acceptWord("NOT");
  expectWord("IN");
  ExprPtr expr;
  if (isSymbol("(") && queryFollows(1)) {
    advance();
    expr = parseSubquery(ExprKind::In);
    addArgument(*expr, std::move(operand));
  } else {
    expr = makeAt(ExprKind::In, offset);
    addArgument(*expr, std::move(operand));
    const bool list = acceptSymbol("(");
    do {
      addArgument(*expr, parseValue());
    } while (list && acceptSymbol(","));
    if (list) expectSymbol(")");
  }
  expr->offset = offset;
  expr->negated = negated;
  return expr;
}

// like: LIKE sum [ESCAPE sum]
ExprPtr Parser::parseLike(ExprPtr operand) {
  requireValue(*operand);
  ExprPtr expr = makeAt(ExprKind::Like, operand->offset);
  expr->negated = acceptWord("NOT");
  expectWord("LIKE");
  addArgument(*expr, std::move(operand));
  addArgument(*expr, parseValue());
  if (acceptWord("ESCAPE")) addArgument(*expr, parseValue());
  return expr;
}

// is null: IS [NOT] NULL
ExprPtr Parser::parseIsNull(ExprPtr operand) {
  requireValue(*operand);
  ExprPtr expr = makeAt(ExprKind::IsNull, operand->offset);
  expectWord("IS");
  expr->negated = acceptWord("NOT");
  expectWord("NULL");
  addArgument(*expr, std::move(operand));
  return expr;
}

// sum: term { ( + | - | || | CONCAT ) term }
ExprPtr Parser::parseSum() {
  return parseSumFrom(parseTerm());
}

ExprPtr Parser::parseSumFrom(ExprPtr left) {
  for (;;) {
    if (isSymbol("+") || isSymbol("-")) {
      std::string op = token().text;
      advance();
      left = binary(ExprKind::Arithmetic, std::move(op), std::move(left), parseTerm());
    } else if (acceptSymbol("||") || acceptWord("CONCAT")) {
      left = binary(ExprKind::Concat, "||", std::move(left), parseTerm());
    } else {
      return left;
    }
  }
}

// term: factor { ( * | / ) factor }
ExprPtr Parser::parseTerm() {
  return parseTermFrom(parseFactor());
}

ExprPtr Parser::parseTermFrom(ExprPtr left) {
  while (isSymbol("*") || isSymbol("/")) {
    std::string op = token().text;
    advance();
    left = binary(ExprKind::Arithmetic, std::move(op), std::move(left), parseFactor());
  }
  return left;
}

// factor: { + | - } primary
// Two minus signs are none.
ExprPtr Parser::parseFactor() {
  const size_t offset = token().begin;
  bool seen = false;
  bool negate = false;
  while (isSymbol("+") || isSymbol("-")) {
    seen = true;
    if (isSymbol("-")) negate = !negate;
    advance();
  }
  ExprPtr operand = parsePrimary();
  if (seen) requireValue(*operand);
  if (!negate) return operand;
  ExprPtr expr = makeAt(ExprKind::Negate, offset);
  addArgument(*expr, std::move(operand));
  return expr;
}

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

// Whether the parenthesised value just read is the left operand of an operator.
bool Parser::operatorFollows() const {
  static constexpr std::string_view kOperators[] = {"+", "-", "*", "/", "||"};
  for (const std::string_view op : kOperators) {
    if (isSymbol(op)) return true;
  }
  return isWord("CONCAT");
}

}  // namespace orv
