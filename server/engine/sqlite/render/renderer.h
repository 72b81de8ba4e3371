// Writes resolved trees as SQLite's SQL.
//
// Three ideas carry it. Every value is written so that it arrives in the storage class of its type:
// integers as INTEGER, REAL and DOUBLE as REAL, DECIMAL as canonical TEXT, binary as BLOB, all else
// as TEXT. Columns of subqueries are called "C1", "C2", ... by position, because their own names
// may be missing or repeated. Whatever SQLite would do by rules of its own (comparison of decimals,
// padding, division, conversion) is written with our collations and functions.
//
// No part of a tree is written twice: nested parts that are would grow without bound.
#pragma once

#include <string>
#include <vector>

#include "server/catalog/catalog_data.h"
#include "server/engine/sqlite/connection/sql_text.h"
#include "server/syntax/ast.h"
#include "server/values/value_conversion.h"

namespace orv::sqlite {

class NewRowText;  // triggers/new_row_text.h

class Renderer {
 public:
  // `currentSchema` is what CURRENT SCHEMA gives.
  Renderer(const CatalogData& catalog, const std::string& currentSchema)
      : catalog_(catalog), currentSchema_(currentSchema) {}
  // For the definition of `self`: its columns are written bare.
  Renderer(const CatalogData& catalog, const std::string& currentSchema, const Table& self)
      : catalog_(catalog), currentSchema_(currentSchema), self_(&self) {}

  // Select, Insert, Update, Delete.
  void statement(const Statement& statement);
  void query(const Query& q) { query(q, {}); }
  void viewQuery(const Query& q);
  void expression(const Expr& e);
  // The value as one of `type`, converted where it is not certain to be one already. A failure
  // names `target`, the column that is assigned to, where there is one.
  void converted(const Expr& e, const SqlType& type, ConversionMode mode,
                 std::string_view target = {});
  // CREATE TRIGGER with what the engine does of a trigger: all but setting columns of the new row,
  // which the statements that fire it do themselves. False when nothing is left.
  bool trigger(std::string_view storedName, const Table& table, const TriggerDefinition& trigger);

  // The SQL text of each column of a transition row, by position in its table.
  using RowTexts = std::vector<std::string>;
  // From now on columns of `row` are written so. The texts stay where they are meanwhile.
  void setRow(const TableRef* row, const RowTexts& texts);
  // What expression() and converted() would write, apart from the rest.
  std::string textOf(const Expr& e);
  std::string textOf(const Expr& e, const SqlType& type);

  std::string take() { return out_.take(); }
  // A query that must give a row for the statement to be run at all; empty when there is none.
  const std::string& conditionQuery() const { return condition_; }
  // Markers that must not be null, because SQLite would take a null for "the next number".
  const std::vector<int>& requiredMarkers() const { return requiredMarkers_; }

 private:
  // How two values compare.
  enum class Comparison { Plain, Text, Decimal, Floating, Bytes };
  static Comparison comparisonOf(const SqlType& a, const SqlType& b);
  static Comparison commonComparison(const Expr& value, const Expr& e, size_t first, size_t last,
                                     size_t step);
  static std::string_view castFor(const SqlType& type, Comparison comparison);

  // A column of a query's result that only rows with this value of it are asked for. The query may
  // give other rows as well: whoever asks tests it once more.
  struct Restriction {
    size_t column;
    const Expr* value;
  };
  using Restrictions = std::vector<Restriction>;
  static Restrictions restrictionsOf(const TableRef& derived, const Query& q,
                                     const Restrictions& outer);

  // ---- render_query.cpp
  void query(const Query& q, const Restrictions& restrictions);
  void select(const Query& q, const Restrictions& restrictions);
  void selectBody(const Query& q, const Restrictions& restrictions = {});
  void values(const Query& q);
  void setOperation(const Query& q, const Restrictions& restrictions);
  void multisetOperation(const Query& q, const Restrictions& restrictions);
  void setOperand(const Query& q, bool direct, const Restrictions& restrictions);
  void restricted(const Query& q, const Restrictions& restrictions);
  void from(const Query& q, const Restrictions& restrictions);
  void tableRef(const TableRef& table, const Restrictions& restrictions = {});
  void derived(const TableRef& table, const Restrictions& restrictions);
  void tableCall(const TableRef& table);
  void tableCallOnce(const TableRef& table);
  void join(const TableRef& table);
  void orderBy(const Query& q);
  void columnList(size_t count);

  // ---- render_expression.cpp
  void literal(const Expr& e, bool negative);
  void column(const Expr& e);
  void specialRegister(const Expr& e);
  void negate(const Expr& e);
  void arithmetic(const Expr& e);
  void concat(const Expr& e);
  void chain(const Expr& e, size_t first, size_t last);
  void operand(const Expr& e, Comparison comparison);
  void comparison(const Expr& a, std::string_view op, const Expr& b);
  void collation(Comparison comparison, bool columnDecides);
  void gathered(const Expr& e);
  void gatheredTexts(const SqlType& type);
  void between(const Expr& e);
  void inList(const Expr& e);
  void inQuery(const Expr& e);
  void like(const Expr& e);
  void scalar(const Expr& e);
  void quantified(const Expr& e);
  void caseExpression(const Expr& e);
  void typeArguments(const SqlType& type);
  void argumentList(const Expr& e);

  // ---- render_columns.cpp
  void value(const Expr& e);
  void storedAs(const Expr& e, const Column& column);
  void cast(const Expr& e);

  // ---- render_function.cpp
  void function(const Expr& e);
  void scalarCall(const Expr& e);
  void callArguments(const Function& routine, const std::vector<ExprPtr>& arguments);
  void aggregate(const Expr& e);
  void average(const Expr& e);
  void aggregateCall(std::string_view name, const Expr& e);
  void length(const Expr& e);
  void nullIf(const Expr& e);
  bool unitFunction(const Expr& e);

  // ---- triggers/render_trigger.cpp
  void triggerStep(const TriggerStep& step);

  // ---- triggers/render_before_triggers.cpp
  void insertTriggered(const Statement& s);
  bool insertTriggeredRows(const Statement& s, const std::vector<int>& targets);
  std::vector<std::vector<const Expr*>> valueRows(const Query& q);
  bool updateTriggered(const Statement& s);
  void updateTriggeredRows(const Statement& s);
  NewRowText updatedRow(const Statement& s);
  void assignRow(const Statement& s, const NewRowText& row);
  void guardedKey(const Table& table, const Column& column, const std::string& text);

  // ---- render_dml.cpp
  void insert(const Statement& s);
  void condition(const Expr& where);
  void insertRow(const Statement& s, const std::vector<ExprPtr>& row);
  void insertSelect(const Statement& s);
  void insertThrough(const Statement& s);
  void omittedKey(const Statement& s, Comma& comma);
  void update(const Statement& s);
  void updateFromValues(const Statement& s);
  void remove(const Statement& s);
  void assigned(const Expr& e, const Table& table, const Column& column, bool always);
  void stored(const Expr& e, const Table& table, const Column& column);

  const CatalogData& catalog_;
  const std::string& currentSchema_;
  const Table* self_ = nullptr;
  // The one row VALUES of an INSERT whose values are written in place of its columns.
  const TableRef* inlined_ = nullptr;
  bool inTrigger_ = false;
  // Keys that may not be null are tested elsewhere.
  bool keysUnguarded_ = false;
  std::vector<std::pair<const TableRef*, const RowTexts*>> rows_;
  SqlText out_;
  std::string condition_;
  std::vector<int> requiredMarkers_;
};

// The column of a base table that a column expression stands for, through subqueries; null when it
// stands for something else.
const Column* baseColumn(const Expr& e);
// The column of another program whose values, as they are stored, an expression or a column of a
// query may give; null when there is none.
const Column* foreignColumn(const Expr& e);
const Column* foreignColumn(const Query& q, size_t index);
// Whether texts are compared as the column says that they come from.
bool bringsCollation(const Expr& e);

// A value that may be written in every place where its column is named.
bool isSmall(const Expr& value);
// SELECT over one row of TABLE(VALUES(...)), with or without WHERE; the row's source, else null.
const TableRef* singleRowSource(const Query& q);
bool isBareValues(const Query& q);
// SQLite keeps a single INTEGER key in place of its row number.
bool isRowNumber(const Table& table, const Column& column);
// A name of the row's number that no column hides.
std::string_view rowNumberName(const Table& table);
// What a row gets in a column that nothing is given for.
std::string defaultText(const Column& column);
std::string qualifiedColumn(const Table& table, const Column& column);
// A column of a stored table, qualified by SQL text, in the form of its type.
std::string storedColumn(std::string_view qualifier, const Table& table, const Column& column);
// A query between these is run before, and apart from, what it is written in. No table can have
// the name.
inline constexpr std::string_view kOnce = "WITH \"SYSNTQ.ONCE\" AS MATERIALIZED (";
inline constexpr std::string_view kOnceEnd = ") SELECT * FROM \"SYSNTQ.ONCE\"";

}  // namespace orv::sqlite
