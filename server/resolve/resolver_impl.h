// The resolver behind resolve(). One class holds the statement, the catalog and the counters; its
// members are spread over resolver.cpp (statements that change rows, CALL), resolver_query.cpp,
// resolver_expression.cpp, resolver_typing.cpp (markers, nulls and operands that must agree),
// resolver_function.cpp (built-in functions), resolver_routine.cpp (calls of registered functions),
// resolver_table.cpp (tables and views), resolver_temporary.cpp, resolver_trigger.cpp,
// resolver_function_definition.cpp and resolver_object.cpp (other DDL).
//
// A marker or NULL has the type Unknown until its context gives it one: an expression is resolved
// first, and whoever needs its type then calls giveType() on it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/resolve/built_in_functions.h"
#include "server/resolve/catalog.h"
#include "server/syntax/ast.h"

namespace orv {

// The schema that the built-in functions belong to.
inline constexpr std::string_view kBuiltInSchema = "SYSNTQ";

// The tables whose columns an expression may name, and those of the queries around it.
struct Scope {
  const Scope* outer = nullptr;
  Query* query = nullptr;  // the one that they belong to; null in a statement's own clauses
  std::vector<TableRef*> tables;
  size_t firstVisible = 0;  // ON sees the tables of its own join only
  bool aggregatesAllowed = false;
  bool inAggregate = false;
  bool hasAggregate = false;
};

class Resolver {
 public:
  // `outer`: the rows that a statement within a trigger sees. `aliases`: how many row sources have
  // a name already in the statement around this one.
  Resolver(Statement& statement, const Catalog& catalog, const Scope* outer = nullptr,
           int aliases = 0)
      : statement_(statement), catalog_(catalog), outer_(outer), aliases_(aliases) {}
  void run();

  static std::shared_ptr<TriggerDefinition> resolveRecorded(const Trigger& recorded,
                                                            const Catalog& catalog, int& aliases);

 private:
  // The columns of the target of INSERT: what its values are called and typed by.
  using Columns = std::vector<OutputColumn>;

  // ---- names
  const Table& findTable(QualifiedName& name);
  Columns columnsOf(const Table& table) const;
  const Table& findChangeableTable(QualifiedName& name, std::string_view action);
  const std::string& schemaOf(const QualifiedName& name) const;
  std::string display(const QualifiedName& name) const;
  std::string nextAlias();
  void resolveTypeName(SqlType& type, const QualifiedName& name);
  void checkGraphic(const SqlType& type) const;
  bool unicode() const { return catalog_.codePage() == 1208; }

  // ---- statements that change rows
  void resolveInsert();
  void fillInsertColumns(const Table& table);
  void resolveUpdate();
  void resolveDelete();
  void resolveTarget(std::string_view action);
  void resolveCall();
  void resolveAssignments(std::vector<Assignment>& assignments, const Columns& columns,
                          Scope& scope);
  void assign(ExprPtr& value, const OutputColumn& column);
  void checkAssignable(const Expr& value, const OutputColumn& column) const;
  void checkAssignable(const SqlType& type, bool constant, const OutputColumn& column) const;

  // ---- triggers
  void resolveCreateTrigger();
  void resolveDropTrigger();
  void requireNoMarkers() const;
  void resolveTriggerDefinition();
  void checkReferencing(const TriggerDefinition& trigger) const;
  std::unique_ptr<TableRef> makeTransition(const std::string& name, bool unchecked);
  void resolveStep(const TriggerDefinition& trigger, TriggerStep& step, Scope& rows);
  void resolveSet(const TriggerDefinition& trigger, TriggerStep& step, Scope& rows);
  void addBeforeTriggers(TriggerEvent event);
  bool assignsOneOf(const std::vector<std::string>& columns) const;

  // ---- queries
  void resolveQueryStatement();
  void resolveQuery(Query& query, const Scope* outer, const Columns* target = nullptr);
  void resolveSelect(Query& query, const Scope* outer, const Columns* target);
  void resolveValues(Query& query, const Scope* outer, const Columns* target);
  void resolveSetOperation(Query& query, const Scope* outer, const Columns* target);
  void resolveFrom(TableRef& table, Scope& scope, const Columns* target);
  void resolveJoin(TableRef& join, Scope& scope);
  void resolveDerived(TableRef& table, const Scope* outer, const Columns* target);
  void expandStars(Query& query, const Scope& scope);
  void addStarColumns(const SelectItem& item, const Scope& scope, std::vector<SelectItem>& items);
  void resolveOrderBy(Query& query, Scope* scope);
  void resolveOrderItem(Query& query, OrderItem& item, Scope* scope);
  int outputColumnNamed(const Query& query, std::string_view name) const;
  void checkGrouping(const Query& query, const Scope& scope) const;
  void rejectLargeObjects(const std::vector<OutputColumn>& columns) const;
  void rejectLargeObject(const Expr& expr, std::string_view what) const;
  void settleColumn(Query& query, size_t column, const SqlType& type);
  void convertColumn(Query& query, size_t column, const SqlType& type);
  void settleRest(Query& query);

  // ---- expressions
  void resolveArgs(Expr& expr, Scope& scope);
  void resolveExpr(ExprPtr& expr, Scope& scope);
  void resolveNode(ExprPtr& expr, Scope& scope);
  void raiseHeight(Expr& expr) const;
  bool resolveLeaf(Expr& expr, const Scope& scope) const;
  void resolveOperator(Expr& expr);
  void resolveColumn(Expr& expr, const Scope& scope) const;
  bool findColumn(Expr& expr, const Scope& scope) const;
  void findForeignColumn(Expr& expr, const TableRef& table) const;
  bool names(const TableRef& table, std::string_view schema, std::string_view name) const;
  void resolveRegister(Expr& expr) const;
  void resolveNegate(Expr& expr);
  void resolveArithmetic(Expr& expr);
  void resolveConcat(Expr& expr);
  void resolveLike(Expr& expr);
  void resolveQueryExpr(Expr& expr, Scope& scope);
  void resolveCase(Expr& expr, Scope& scope);
  void resolveCast(Expr& expr);

  // ---- typing
  void giveType(Expr& expr, const SqlType& type);
  void giveTypeToArgs(Expr& expr, const SqlType& type);
  void requireType(Expr& expr);
  void compareAll(Expr& expr, std::string_view op, size_t first, size_t step = 1);
  void checkComparable(const Expr& a, const Expr& b, std::string_view op) const;
  bool hasComparisons(const SqlType& type) const;
  SqlType combine(const std::vector<ExprPtr*>& values, int sqlcode,
                  const std::vector<std::string>& tokens);
  void convertTo(ExprPtr& expr, const SqlType& type) const;
  void wrapInCast(ExprPtr& expr, const SqlType& type) const;

  // ---- functions
  void resolveFunction(ExprPtr& expr, Scope& scope);
  void resolveStripSide(Expr& expr) const;
  void checkArguments(Expr& expr, const BuiltInFunction& function);
  void resolveAggregate(Expr& expr, const BuiltInFunction& function, Scope& scope);
  const BuiltInFunction* builtInFor(const Expr& call) const;
  std::optional<std::vector<int>> builtInSteps(const Expr& call) const;
  void callBuiltIn(Expr& expr);
  void callTypeFunction(Expr& expr);
  bool isBackFunction(const Expr& call, const SqlType& argument) const;
  void typeResult(Expr& expr, const BuiltInFunction& function);
  SqlType resultType(Expr& expr, const BuiltInFunction& function);
  void turnIntoCast(Expr& expr, const BuiltInFunction& function);
  int64_t constantArgument(const Expr& expr, size_t index) const;

  // ---- registered functions
  const Function* chooseRoutine(const Expr& call) const;
  bool precedesBuiltIns(const Function& function, const Expr& call) const;
  const Function* findRoutine(const QualifiedName& name,
                              const std::vector<SqlType>& parameters) const;
  void callRoutine(ExprPtr& expr, const Function& chosen);
  void passToSource(Expr& call, const Function& function);
  void castTo(ExprPtr& expr, const SqlType& type) const;
  void resolveTableFunction(TableRef& table, Scope& scope);

  // ---- definitions
  void resolveCreateTable();
  void requireNewTableName(QualifiedName& name) const;
  void requireTableSpace() const;
  void resolveDeclareTable();
  void rejectForeignKeys(const std::string& table) const;
  void requireStored(const Table& table, std::string_view action) const;
  void resolveAlterTable();
  void resolveColumnDefinitions();
  void resolveDefault(ColumnDefinition& column);
  void addDefinitions(Table& table) const;
  void addKey(Table& table, const KeyDefinition& key) const;
  std::vector<int> keyColumns(const Table& table, const std::vector<std::string>& columns) const;
  void resolveForeignKeys(const Table& self);
  void resolveForeignKey(const Table& self, const std::vector<std::string>& columns,
                         QualifiedName& parentName, std::vector<std::string>& parentColumns,
                         const std::string& constraint);
  void resolveChecks(const Table& self);
  void resolveCreateIndex();
  void resolveDropIndex();
  void resolveDropTable();
  void resolveCreateAlias();
  void resolveDropAlias();
  void resolveCreateView();
  void nameViewColumns();
  void resolveDropView();
  const Table& findObject(QualifiedName& name, char type) const;
  void resolveCreateType();
  void resolveDropType();
  void resolveTableSpace();
  void resolveSchema();
  void resolveCreateProcedure();
  void resolveDropProcedure();
  void requireExternalName(const std::string& external, const QualifiedName& routine) const;
  void giveSpecificName(std::string& specific, const QualifiedName& routine) const;
  void requireSpecificSchema(const std::string& schema, const QualifiedName& routine) const;
  void resolveCreateFunction();
  void resolveFunctionTypes(FunctionDefinition& function);
  void checkFunctionType(const FunctionDefinition& function, const SqlType& type) const;
  void requireNewSignature(const FunctionDefinition& function) const;
  void resolveSource(FunctionDefinition& function);
  const Function* findSource(FunctionDefinition& function);
  SqlType builtInSource(FunctionDefinition& function);
  void resolveDropFunction();
  void requireSchemaOfUsers(const std::string& schema, const QualifiedName& object) const;
  void resolveGrant();
  void resolveNamed(bool exists, bool wanted, std::string_view type) const;

  Statement& statement_;
  const Catalog& catalog_;
  const Scope* outer_;
  int aliases_;
  int typedMarkers_ = 0;
};

// The same value wherever both can be evaluated: equal columns, constants and operators.
bool sameExpr(const Expr& a, const Expr& b);
bool isConstantOrMarker(const Expr& expr);
// The name as the statement writes it.
std::string shown(const QualifiedName& name);

}  // namespace orv
