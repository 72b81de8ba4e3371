// The tables of the mapping model as RDB_node composition uses them. A table has one SELECT
// statement, made at its first use; its markers are bound to the current rows of its parent tables,
// which are the tables of a smaller level that it is joined to. So running it again yields the rows
// that belong to the parents' present rows.
//
// A row lives in the buffers of the table's descriptor until the next one is fetched. When a parent
// moves to another row, the row is forgotten: its values are null from then on.
#pragma once

#include <bit>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "src/dad/mapping_model.h"
#include "src/outcome/failure.h"

namespace orvxml {

class TableQueries;

// Where the value of a column stands in its table's present row.
class ColumnValue {
 public:
  ColumnValue(const tab& table, int column)
      : length_(&table.lengths[column]),
        data_(table.descriptor->sqlvar[column].sqldata),
        isLargeObject_((table.descriptor->sqlvar[column].sqltype & ~1) == orv::kSqlClobLocator),
        name_(table.col2xml[column].col) {}

  bool isNull() const { return *length_ == SQL_NULL_DATA; }
  bool isLargeObject() const { return isLargeObject_; }
  std::string_view text() const { return {data_, static_cast<size_t>(*length_)}; }
  int32_t locator() const { return *reinterpret_cast<const int32_t*>(data_); }
  std::string_view columnName() const { return name_; }

 private:
  const int32_t* length_;
  const char* data_;
  bool isLargeObject_;
  std::string_view name_;
};

class TableQuery {
 public:
  TableQuery(QrkStruct* ctx, TableQueries& all, SQLHDBC hdbc, tab& table, TableBits self)
      : ctx_(ctx), all_(all), hdbc_(hdbc), table_(table), self_(self) {}
  ~TableQuery();
  TableQuery(const TableQuery&) = delete;
  TableQuery& operator=(const TableQuery&) = delete;

  tab& table() const { return table_; }
  // The set of just this table.
  TableBits self() const { return self_; }

  // Runs the query, which is made and bound to its parents when this is the first time (`level`:
  // the table's level from then on). No row is fetched yet.
  void open(int level);
  // Goes to the next row; hasRow() tells whether there was one. The values of the last row stay for
  // the tables that are joined to them.
  void fetch();
  // Forgets no row.
  void close();

  // A cursor stands open: over the rows that an element repeats for, or on the single row of an
  // attribute.
  bool isOpen() const { return table_.cursor_open != 0; }
  bool hasRow() const { return hasRow_; }
  // The rows are being walked by an element that encloses what is written now.
  bool isWalked() const { return isWalked_; }
  void setWalked(bool walked) { isWalked_ = walked; }

  // The row by its first values, in UTF-8: "C = 1 and D = 2 of T". It has columns once it is open.
  std::string rowName(QrkStruct* ctx) const;

  // Binds marker `number` of `child` to a column of this table.
  void supply(TableQuery& child, int number, int column);

 private:
  void prepare(int level);
  // Of a call on the statement: `what` names it.
  void require(SQLRETURN rc, const char* what, SourcePlace where = SourcePlace::here()) const;
  void describeColumns(bool isRoot);
  void describeColumn(int column, bool isRoot);
  void execute();
  // The last refusal of the server, if there was one.
  std::optional<sqlca> releaseLocators();
  void freeLocators();
  bool freeLocator(int column, sqlca& area);
  void forgetRow();
  void forgetDependentRows();

  QrkStruct* const ctx_;
  TableQueries& all_;
  const SQLHDBC hdbc_;
  tab& table_;
  const TableBits self_;
  bool hasRow_ = false;
  bool hasValues_ = false;  // of the row that was fetched last
  bool isWalked_ = false;
  std::vector<const int32_t*> parameterLengths_;  // of the parents' values, one per marker
  std::vector<TableQuery*> dependents_;           // tables that are bound to this one's rows
  std::vector<int> largeObjects_;                 // columns that are fetched as locators
};

// The tables of one composition, in the order of the model.
class TableQueries {
 public:
  TableQueries(QrkStruct* ctx, SQLHDBC hdbc, rel& model);

  TableQuery& at(int index) { return queries_[static_cast<size_t>(index)]; }
  TableQuery& of(const tab* table);
  rel& model() const { return model_; }
  TableQuery& first(TableBits set) { return at(std::countr_zero(set)); }
  // The first table of the set that has no open cursor; null when there is none.
  TableQuery* firstClosed(TableBits set);
  // The tables whose top element is called so, and those that the name belongs to at all.
  TableBits withTopElement(const char* name) const;
  TableBits containing(QrkStruct* ctx, const char* name) const;
  // The rows that are being written, by their first columns, in UTF-8: "in the row C = 1 of T";
  // empty when there is none.
  std::string rowsAtHand(QrkStruct* ctx) const;
  // Gives up a document: closes all but the query of the documents.
  void closeAllBut(const TableQuery& documents);
  // Closes what attributes left open.
  void closeAttributeQueries();
  // Closes what a failure left open, without a word about it.
  void closeAfterFailure();

 private:
  rel& model_;
  std::deque<TableQuery> queries_;  // addresses stay
};

// ---- The statement of a table (rdb_statement.cpp).
// Appends schema, if there is one, and table as delimited identifiers with their periods.
void prefix_qualification(std::string& out, const tab& table);
// The table's level, or -1 when the model does not have it.
int32_t getLevel(QrkStruct* ctx, rel* relinfo, const char* schema, const char* table);
// Writes, prepares and binds the statement.
void qrkGenSQL(QrkStruct* ctx, TableQueries& queries, TableQuery& query);
// The server refused the statement on this handle: QRKQ053E with its words.
Failure refusedStatement(SQLHSTMT statement);

}  // namespace orvxml
