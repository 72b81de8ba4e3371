// The recursive-descent parser behind parseStatement(). One class holds the tokens and the cursor;
// its members are spread over one file per group of statements: sql_parser.cpp (dispatch and units
// of work), sql_parser_support.cpp (tokens, names, errors), sql_parser_expression.cpp and
// sql_parser_primary.cpp, sql_parser_query.cpp, sql_parser_change.cpp (INSERT, UPDATE, DELETE,
// CALL), sql_parser_type.cpp, sql_parser_table.cpp, sql_parser_temporary.cpp, sql_parser_object.cpp
// (other DDL), sql_parser_routine.cpp, sql_parser_function.cpp and sql_parser_trigger.cpp.
//
// No rule ever backtracks, so that parsing takes time in proportion to the text. Two things bound
// the stack: `Nesting` counts the open rules, and every node knows its height.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "server/syntax/ast.h"
#include "server/syntax/lexer.h"

namespace orv {

// A built-in type, or the name of a type that the catalog knows.
struct ParsedType {
  SqlType type;
  QualifiedName name;  // empty for a built-in type
};

class Parser {
 public:
  explicit Parser(std::string_view text);
  std::unique_ptr<Statement> parseWhole();

 private:
  using QueryOrTable = std::variant<QueryPtr, std::unique_ptr<TableRef>>;

  class Nesting {
   public:
    explicit Nesting(Parser& parser);
    ~Nesting() { --parser_.nesting_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

   private:
    Parser& parser_;
  };

  // ---- tokens
  const Token& token(size_t ahead = 0) const;
  void advance() { ++at_; }
  bool isWord(std::string_view word, size_t ahead = 0) const;
  bool isSymbol(std::string_view symbol, size_t ahead = 0) const;
  bool isName(size_t ahead = 0) const;
  bool areWords(std::string_view words) const;  // the next tokens are these, "NOT NULL"
  bool acceptWord(std::string_view word);       // consume it when it is next
  bool acceptWords(std::string_view words);
  bool acceptSymbol(std::string_view symbol);
  void expectWord(std::string_view word);
  void expectSymbol(std::string_view symbol);
  std::string_view textOf(const Token& token) const;
  [[noreturn]] void unexpected(std::string_view expected) const;
  [[noreturn]] void unexpectedAt(size_t index, std::string_view expected) const;

  // ---- names and constants
  std::string parseName(std::string_view expected = "<identifier>");
  QualifiedName parseQualifiedName();
  std::vector<std::string> parseNameList();  // ( name, ... )
  int64_t parseInteger();
  std::string parseStringConstant();

  // ---- expressions
  ExprPtr parseValue();      // a value: no bare predicate
  ExprPtr parseCondition();  // a search condition
  ExprPtr parseOr();
  ExprPtr parseAnd();
  ExprPtr parseNot();
  ExprPtr parsePredicate();
  ExprPtr parseComparison(ExprPtr left);
  ExprPtr parseBetween(ExprPtr operand);
  ExprPtr parseIn(ExprPtr operand);
  ExprPtr parseLike(ExprPtr operand);
  ExprPtr parseIsNull(ExprPtr operand);
  ExprPtr parseSum();
  ExprPtr parseSumFrom(ExprPtr left);
  ExprPtr parseTerm();
  ExprPtr parseTermFrom(ExprPtr left);
  ExprPtr parseFactor();
  ExprPtr parsePrimary();
  ExprPtr parseParenthesis();
  ExprPtr parseLiteral();
  ExprPtr parseWordPrimary();
  ExprPtr parseSpecialRegister();
  ExprPtr parseCase();
  ExprPtr parseCast();
  ExprPtr parseTrim();
  ExprPtr parseExists();
  ExprPtr parseNamed();  // function or column
  ExprPtr parseFunction();
  ExprPtr parseColumn();
  ExprPtr parseSubquery(ExprKind kind);  // after (: query )
  bool operatorFollows() const;

  ExprPtr make(ExprKind kind) const;
  ExprPtr makeAt(ExprKind kind, size_t offset) const;
  void addArgument(Expr& parent, ExprPtr argument) const;
  void setQuery(Expr& parent, QueryPtr query) const;
  ExprPtr binary(ExprKind kind, std::string op, ExprPtr left, ExprPtr right) const;
  void requireValue(const Expr& expr) const;
  void requirePredicate(const Expr& expr) const;

  // ---- queries
  QueryPtr parseQuery();  // with ORDER BY and FETCH FIRST
  QueryPtr parseQueryRest(QueryPtr first);
  QueryPtr parseSetOperation(int minimum, QueryPtr first);
  QueryPtr parseQueryOperand();
  QueryPtr parseSelect();
  QueryPtr parseValues();
  std::vector<ExprPtr> parseValuesRow();
  void parseSelectItem(Query& query);
  void parseFrom(Query& query);
  void parseGroupBy(Query& query);
  void parseOrderAndFetch(Query& query);
  void parseQueryTail();  // isolation and cursor clauses, without effect
  std::unique_ptr<TableRef> parseTableReference();
  std::unique_ptr<TableRef> parseJoins(std::unique_ptr<TableRef> left);
  std::optional<JoinKind> parseJoinOperator();
  std::unique_ptr<TableRef> parseTablePrimary();
  std::unique_ptr<TableRef> parseTableFunctionOrQuery();
  std::unique_ptr<TableRef> makeDerived(QueryPtr query, size_t offset);
  QueryOrTable parseQueryOrTable();
  void parseCorrelation(TableRef& table);
  bool queryFollows(size_t ahead = 0) const;
  bool queryContinues() const;
  void addHeight(Query& query, int below) const;

  // ---- statements
  void parseStatementBody();
  void parseRollback();
  void parseSavepoint();
  void parseRelease();
  void parseSet();
  void parseFunctionPath();
  std::string parseSchema();
  void parseGrant(std::string_view preposition);
  bool isGrantOnTable(std::string_view preposition) const;
  void parsePrivileges(GrantDefinition& grant);
  Grantee parseGrantee();
  void parseOtherGrant(std::string_view preposition);
  void parseInsert();
  void parseUpdate();
  void parseDelete();
  void parseCall();
  std::vector<Assignment> parseAssignments(bool ofTrigger);
  void parseTargetCorrelation();
  void parseCreate();
  void parseDrop();
  void parseAlterTable();
  void parseCreateTable();
  void parseDeclareTable();
  void parseDeclareOptions();
  void parseCreateIndex();
  void parseCreateAlias();
  void parseCreateDistinctType();
  void parseCreateTableSpace();
  void parseCreateProcedure();
  void parseCreateFunction();
  void parseCreateView();
  void parseCreateTrigger();
  void parseDropRoutine(StatementKind kind, bool specific);

  // ---- types and table definitions
  ParsedType parseType();
  std::optional<SqlType> parseBuiltInType();
  SqlType parseCharacterType(std::string_view word);
  SqlType parseLongType();
  SqlType parseGraphicType(TypeKind kind);
  SqlType parseDecimalType();
  SqlType parseFloatType();
  int64_t parseLength(int64_t fallback, int64_t maximum, std::string_view name);
  bool parseForBitData();
  void parseColumnDefinition();
  bool parseColumnOption(ColumnDefinition& column);
  void parseColumnConstraint(ColumnDefinition& column);
  void parseDefault(ColumnDefinition& column);
  void parseTableConstraint();
  bool tableConstraintFollows() const;
  KeyDefinition parseCheck(std::string constraint);
  void parseReferences(KeyDefinition& key);
  void parseTableElements();
  void parseTableOptions();
  void parseTableSpaceName();

  // ---- routines
  ParameterDefinition parseParameter();
  void parseNamedType(ParameterDefinition& parameter);
  void parseLocatorType(ParameterDefinition& parameter);
  std::vector<ParameterDefinition> parseSignature();
  bool parseProcedureOption(ProcedureDefinition& procedure);
  bool parseNamedProcedureOption(ProcedureDefinition& procedure);
  std::string parseExternalName();
  std::string_view parseFunctionOption(FunctionDefinition& function);
  void parseFunctionClause(std::string_view clause, FunctionDefinition& function);
  void parseReturns(FunctionDefinition& function);
  void parseReturnedColumns(FunctionDefinition& function);
  void parseSource(FunctionDefinition& function);
  int32_t parseScratchpadSize();

  // ---- triggers
  void parseTriggerEvent(TriggerDefinition& trigger);
  void parseReferencing(TriggerDefinition& trigger);
  void parseTriggerBody(TriggerDefinition& trigger);
  TriggerStep parseTriggerStep();
  void parseSignal(TriggerStep& step);
  std::unique_ptr<Statement> parseNestedStatement();

  std::string_view text_;
  std::vector<Token> tokens_;
  size_t at_ = 0;
  int nesting_ = 0;
  int markers_ = 0;
  std::unique_ptr<Statement> statement_;
};

}  // namespace orv
