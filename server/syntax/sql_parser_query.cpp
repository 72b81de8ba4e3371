// Queries and the tables they read.
#include <algorithm>

#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

// Words that go on with the statement after a table, a query or a select item, and therefore are
// no correlation or column names unless AS or quotation marks say so.
constexpr std::string_view kContinuations[] = {
    "WHERE", "GROUP", "HAVING", "ORDER", "UNION", "EXCEPT",   "INTERSECT", "FETCH", "WITH",
    "FOR",   "ON",    "JOIN",   "INNER", "LEFT",  "RIGHT",    "FULL",      "CROSS", "SET",
    "FROM",  "INTO",  "AS",     "AND",   "OR",    "OPTIMIZE", "VALUES",    "SELECT"};

struct Joining {
  std::string_view word;
  JoinKind kind;
  bool outer;  // OUTER may follow
};
constexpr Joining kJoinings[] = {{"INNER", JoinKind::Inner, false},
                                 {"LEFT", JoinKind::Left, true},
                                 {"RIGHT", JoinKind::Right, true},
                                 {"FULL", JoinKind::Full, true}};

// INTERSECT binds more tightly than UNION and EXCEPT.
constexpr int kUnionLevel = 1;
constexpr int kIntersectLevel = 2;

bool isContinuation(const Token& token) {
  if (token.kind != TokenKind::Word) return false;
  for (const std::string_view word : kContinuations) {
    if (token.text == word) return true;
  }
  return false;
}

int setOperationLevel(const Token& token) {
  if (token.kind != TokenKind::Word) return 0;
  if (token.text == "UNION" || token.text == "EXCEPT") return kUnionLevel;
  return token.text == "INTERSECT" ? kIntersectLevel : 0;
}

}  // namespace

bool Parser::queryFollows(size_t ahead) const {
  return isWord("SELECT", ahead) || isWord("VALUES", ahead);
}

// Whether a complete query in parentheses goes on after them.
bool Parser::queryContinues() const {
  return setOperationLevel(token()) > 0 || areWords("ORDER BY") || areWords("FETCH FIRST");
}

void Parser::addHeight(Query& query, int below) const {
  query.height = std::max(query.height, below + 1);
  if (query.height > kMaxNesting) throw SqlError(-101);
}

// query: set operation [ORDER BY ..] [FETCH FIRST ..]
QueryPtr Parser::parseQuery() {
  const Nesting nesting(*this);
  return parseQueryRest(parseQueryOperand());
}

QueryPtr Parser::parseQueryRest(QueryPtr first) {
  QueryPtr query = parseSetOperation(kUnionLevel, std::move(first));
  parseOrderAndFetch(*query);
  return query;
}

// set operation: operand { ( UNION | EXCEPT | INTERSECT ) [ALL | DISTINCT] operand }
QueryPtr Parser::parseSetOperation(int minimum, QueryPtr first) {
  QueryPtr left = std::move(first);
  for (;;) {
    const int level = setOperationLevel(token());
    if (level < minimum || level == 0) return left;
    auto query = std::make_unique<Query>();
    query->kind = QueryKind::SetOperation;
    query->op = token().text;
    advance();
    query->all = acceptWord("ALL");
    if (!query->all) acceptWord("DISTINCT");
    query->left = std::move(left);
    query->right = parseSetOperation(level + 1, parseQueryOperand());
    addHeight(*query, std::max(query->left->height, query->right->height));
    left = std::move(query);
  }
}

// operand: SELECT .. | VALUES .. | ( query )
QueryPtr Parser::parseQueryOperand() {
  if (isWord("SELECT")) return parseSelect();
  if (isWord("VALUES")) return parseValues();
  if (!acceptSymbol("(")) unexpected("<query>");
  QueryPtr query = parseQuery();
  expectSymbol(")");
  return query;
}

// select: SELECT [ALL | DISTINCT] item {, item} FROM .. [WHERE ..] [GROUP BY ..] [HAVING ..]
QueryPtr Parser::parseSelect() {
  auto query = std::make_unique<Query>();
  expectWord("SELECT");
  query->distinct = acceptWord("DISTINCT");
  if (!query->distinct) acceptWord("ALL");
  do {
    parseSelectItem(*query);
  } while (acceptSymbol(","));
  parseFrom(*query);
  if (acceptWord("WHERE")) {
    query->where = parseCondition();
    addHeight(*query, query->where->height);
  }
  parseGroupBy(*query);
  if (acceptWord("HAVING")) {
    query->having = parseCondition();
    addHeight(*query, query->having->height);
  }
  return query;
}

// item: * | [schema .] table . * | value [ [AS] name ]
void Parser::parseSelectItem(Query& query) {
  SelectItem item;
  const bool oneStar = isName() && isSymbol(".", 1) && isSymbol("*", 2);
  const bool twoStar = isName() && isSymbol(".", 1) && isSymbol(".", 3) && isSymbol("*", 4);
  if (acceptSymbol("*")) {
    item.star = true;
  } else if (oneStar || twoStar) {
    item.star = true;
    if (twoStar) {
      item.starQualifier.schema = parseName();
      advance();
    }
    item.starQualifier.name = parseName();
    at_ += 2;
  } else {
    item.expr = parseValue();
    addHeight(query, item.expr->height);
    if (acceptWord("AS")) {
      item.as = parseName();
    } else if (isName() && !isContinuation(token())) {
      item.as = parseName();
    }
  }
  query.items.push_back(std::move(item));
}

// from: FROM table reference {, table reference}
void Parser::parseFrom(Query& query) {
  expectWord("FROM");
  do {
    std::unique_ptr<TableRef> table = parseTableReference();
    addHeight(query, table->height);
    query.from.push_back(std::move(table));
  } while (acceptSymbol(","));
}

void Parser::parseGroupBy(Query& query) {
  if (!isWord("GROUP")) return;
  advance();
  expectWord("BY");
  do {
    query.groupBy.push_back(parseValue());
    addHeight(query, query.groupBy.back()->height);
  } while (acceptSymbol(","));
}

// order and fetch: [ORDER BY value [ASC | DESC] {, ..}] [FETCH FIRST [n] (ROW | ROWS) ONLY]
void Parser::parseOrderAndFetch(Query& query) {
  if (acceptWords("ORDER BY")) {
    if (!query.orderBy.empty()) throw SqlError(-628, {"ORDER BY"});
    do {
      OrderItem item;
      item.expr = parseValue();
      addHeight(query, item.expr->height);
      item.descending = acceptWord("DESC");
      if (!item.descending) acceptWord("ASC");
      query.orderBy.push_back(std::move(item));
    } while (acceptSymbol(","));
  }
  if (acceptWords("FETCH FIRST")) {
    if (query.fetchFirst) throw SqlError(-628, {"FETCH FIRST"});
    query.fetchFirst = token().kind == TokenKind::Integer ? parseInteger() : 1;
    if (!acceptWord("ROWS")) expectWord("ROW");
    expectWord("ONLY");
  }
}

// query tail: { WITH (UR | CS | RS | RR) | FOR (READ | FETCH) ONLY | OPTIMIZE FOR n (ROW | ROWS) }
void Parser::parseQueryTail() {
  for (;;) {
    if (acceptWord("WITH")) {
      if (!acceptWord("UR") && !acceptWord("CS") && !acceptWord("RS")) expectWord("RR");
    } else if (acceptWord("FOR")) {
      if (!acceptWord("READ")) expectWord("FETCH");
      expectWord("ONLY");
    } else if (acceptWords("OPTIMIZE FOR")) {
      parseInteger();
      if (!acceptWord("ROWS")) expectWord("ROW");
    } else {
      return;
    }
  }
}

// values: VALUES row {, row}
QueryPtr Parser::parseValues() {
  auto query = std::make_unique<Query>();
  query->kind = QueryKind::Values;
  expectWord("VALUES");
  do {
    query->rows.push_back(parseValuesRow());
    for (const ExprPtr& value : query->rows.back()) addHeight(*query, value->height);
  } while (acceptSymbol(","));
  return query;
}

// row: value | ( value {, value} ), where a value may be DEFAULT
// One value in parentheses may turn out to be the left operand of an operator.
std::vector<ExprPtr> Parser::parseValuesRow() {
  const auto item = [this] {
    if (!isWord("DEFAULT") || isSymbol("(", 1) || isSymbol(".", 1)) return parseValue();
    ExprPtr expr = make(ExprKind::Default);
    advance();
    return expr;
  };
  std::vector<ExprPtr> row;
  if (!isSymbol("(") || queryFollows(1)) {
    row.push_back(item());
    return row;
  }
  advance();
  do {
    row.push_back(item());
  } while (acceptSymbol(","));
  if (row.size() == 1 && row.front()->kind == ExprKind::Scalar && queryContinues()) {
    setQuery(*row.front(), parseQueryRest(std::move(row.front()->query)));
  }
  expectSymbol(")");
  if (row.size() == 1 && operatorFollows()) {
    row.front() = parseSumFrom(parseTermFrom(std::move(row.front())));
  }
  return row;
}

// table reference: primary { [INNER | (LEFT | RIGHT | FULL) [OUTER]] JOIN reference ON condition }
std::unique_ptr<TableRef> Parser::parseTableReference() {
  return parseJoins(parseTablePrimary());
}

std::unique_ptr<TableRef> Parser::parseJoins(std::unique_ptr<TableRef> left) {
  for (;;) {
    const size_t offset = token().begin;
    const std::optional<JoinKind> kind = parseJoinOperator();
    if (!kind) return left;
    auto join = std::make_unique<TableRef>();
    join->kind = RefKind::Join;
    join->join = *kind;
    join->offset = offset;
    join->left = std::move(left);
    join->right = parseTablePrimary();
    expectWord("ON");
    join->on = parseCondition();
    join->height = 1 + std::max({join->left->height, join->right->height, join->on->height});
    if (join->height > kMaxNesting) throw SqlError(-101);
    left = std::move(join);
  }
}

std::optional<JoinKind> Parser::parseJoinOperator() {
  if (acceptWord("JOIN")) return JoinKind::Inner;
  for (const Joining& joining : kJoinings) {
    const bool outer = joining.outer && isWord("OUTER", 1);
    if (!isWord(joining.word) || !isWord("JOIN", outer ? 2 : 1)) continue;
    at_ += outer ? 3 : 2;
    return joining.kind;
  }
  return std::nullopt;
}

// primary: name [correlation] | TABLE ( .. ) [correlation] | ( query ) [correlation] | ( reference
// )
std::unique_ptr<TableRef> Parser::parseTablePrimary() {
  const Nesting nesting(*this);
  if (isWord("TABLE") && isSymbol("(", 1)) return parseTableFunctionOrQuery();
  const size_t offset = token().begin;
  if (isSymbol("(")) {
    QueryOrTable found = parseQueryOrTable();
    if (auto* table = std::get_if<std::unique_ptr<TableRef>>(&found)) return std::move(*table);
    return makeDerived(std::move(std::get<QueryPtr>(found)), offset);
  }
  auto table = std::make_unique<TableRef>();
  table->offset = offset;
  if (isContinuation(token())) unexpected("<table>");
  table->name = parseQualifiedName();
  parseCorrelation(*table);
  return table;
}

std::unique_ptr<TableRef> Parser::makeDerived(QueryPtr query, size_t offset) {
  auto table = std::make_unique<TableRef>();
  table->kind = RefKind::Derived;
  table->offset = offset;
  table->height = query->height + 1;
  if (table->height > kMaxNesting) throw SqlError(-101);
  table->query = std::move(query);
  parseCorrelation(*table);
  return table;
}

// ( query ) or ( table reference ): an inner pair of parentheses may be the start of either.
Parser::QueryOrTable Parser::parseQueryOrTable() {
  const Nesting nesting(*this);
  expectSymbol("(");
  if (queryFollows()) {
    QueryPtr query = parseQuery();
    expectSymbol(")");
    return query;
  }
  if (!isSymbol("(")) {
    std::unique_ptr<TableRef> table = parseTableReference();
    expectSymbol(")");
    return table;
  }
  const size_t offset = token().begin;
  QueryOrTable inner = parseQueryOrTable();
  if (auto* query = std::get_if<QueryPtr>(&inner)) {
    if (queryContinues()) *query = parseQueryRest(std::move(*query));
    if (acceptSymbol(")")) return inner;
    inner = makeDerived(std::move(*query), offset);
  }
  std::unique_ptr<TableRef> table =
      parseJoins(std::move(std::get<std::unique_ptr<TableRef>>(inner)));
  expectSymbol(")");
  return table;
}

// TABLE ( query ) [correlation] | TABLE ( function ( [value {, value}] ) ) [correlation]
std::unique_ptr<TableRef> Parser::parseTableFunctionOrQuery() {
  const size_t offset = token().begin;
  at_ += 2;
  if (queryFollows() || isSymbol("(")) {
    QueryPtr query = parseQuery();
    expectSymbol(")");
    return makeDerived(std::move(query), offset);
  }
  auto table = std::make_unique<TableRef>();
  table->kind = RefKind::TableFunction;
  table->offset = offset;
  table->name = parseQualifiedName();
  expectSymbol("(");
  if (!isSymbol(")")) {
    do {
      table->functionArgs.push_back(parseValue());
      table->height = std::max(table->height, table->functionArgs.back()->height + 1);
    } while (acceptSymbol(","));
  }
  expectSymbol(")");
  expectSymbol(")");
  if (table->height > kMaxNesting) throw SqlError(-101);
  parseCorrelation(*table);
  return table;
}

// correlation: [AS] name [ ( column {, column} ) ]
void Parser::parseCorrelation(TableRef& table) {
  if (acceptWord("AS")) {
    table.correlation = parseName();
  } else if (isName() && !isContinuation(token())) {
    table.correlation = parseName();
  } else {
    return;
  }
  if (isSymbol("(")) table.columnNames = parseNameList();
}

}  // namespace orv
