// Operators and predicates. Values and search conditions are one grammar, because an opening
// parenthesis does not tell which of them it holds; requireValue() and requirePredicate() tell them
// apart afterwards.
#include <algorithm>

#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

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

// Whether the parenthesised value just read is the left operand of an operator.
bool Parser::operatorFollows() const {
  static constexpr std::string_view kOperators[] = {"+", "-", "*", "/", "||"};
  for (const std::string_view op : kOperators) {
    if (isSymbol(op)) return true;
  }
  return isWord("CONCAT");
}

}  // namespace orv
