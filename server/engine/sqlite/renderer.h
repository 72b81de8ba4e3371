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
#include "server/engine/sqlite/sql_text.h"
#include "server/sql/ast.h"
#include "server/sql/value_conversion.h"

namespace orv::sqlite {

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
  void expression(const Expr& e);
  // The value as one of `type`, converted where it is not certain to be one already.
  void converted(const Expr& e, const SqlType& type, ConversionMode mode);

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
  void query(const Query& q, const Restrictions& restrictions = {});
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

  const CatalogData& catalog_;
  const std::string& currentSchema_;
  const Table* self_ = nullptr;
  // The one row VALUES of an INSERT whose values are written in place of its columns.
  const TableRef* inlined_ = nullptr;
  SqlText out_;
  std::string condition_;
  std::vector<int> requiredMarkers_;
};

// The column of a base table that a column expression stands for, through subqueries; null when it
// stands for something else.
const Column* baseColumn(const Expr& e);

}  // namespace orv::sqlite
