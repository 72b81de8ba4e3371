// The queries of SQL mapping at work: the top query, whose rows are the objects of a call, and
// below it the child queries of deeper levels, each restricted to the current row of its parent. A
// query is prepared, described and bound once a call, at its first use, and run again for every row
// of its parent: its parameters are bound to the very buffers of the parent's columns.
//
// Every column has a buffer of its own that is at least as large as its values; columns of type
// CLOB have a locator. Rows with equal keys that follow each other are one object.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvxml/utilities.h"
#include "src/compose/column_buffers.h"
#include "src/compose/composition.h"
#include "src/compose/level_map.h"
#include "src/compose/sql_statement.h"

namespace orvxml {

// What the queries of one call share.
struct SqlCall {
  QrkStruct* ctx;
  SQLHDBC hdbc;
  const level_map& levelMap;
  const xercesc::DOMNode* statement = nullptr;  // in the mapping, for messages
};

struct ResultColumn {
  std::string name;
  SQLSMALLINT type = 0;
  std::unique_ptr<char, FreeMemory> data;  // terminated text; null for a CLOB
  SQLINTEGER capacity = 0;                 // bytes of `data`
  SQLINTEGER indicator = 0;
  SQLINTEGER locator = 0;  // of a CLOB; 0: none is held

  bool isNull() const { return indicator == SQL_NULL_DATA; }
  bool isLargeObject() const { return isFetchedByLocator(type); }
  // Of a value that is no large object; empty when it is null.
  std::string_view text() const;
};

class LevelQuery {
 public:
  // `parent` null: the top query. `base` is the query that it selects from.
  LevelQuery(const SqlCall& call, LevelQuery* parent, int level, std::string base);
  ~LevelQuery();
  LevelQuery(const LevelQuery&) = delete;
  LevelQuery& operator=(const LevelQuery&) = delete;

  void open();  // the top query

  // The child query of a deeper level, made at its first use.
  LevelQuery& child(int level);
  // Runs a child query for the current row of its parent.
  void run();
  // Goes to the next row whose key differs from the last one; false at the end.
  bool qrkFetchNextObj();
  // Ends the rows of a child query.
  void endRows();
  // Ends the rows of all child queries, whether they are at their end or not.
  void endChildRows();
  // The current row by its keys, in UTF-8: "C = 1, D = 2".
  std::string rowName() const;
  // Releases everything, children first.
  void close();

  int level() const { return level_; }
  // The column of this name (exact match), or -1.
  int findColumn(std::string_view name) const;
  const ResultColumn& column(int index) const { return columns_[static_cast<size_t>(index)]; }
  const std::string& text() const { return text_; }

 private:
  // A restriction to the value of a column of the parent. A null one has no rows.
  struct Parameter {
    ResultColumn* column;
    bool hasLength;  // the indicator gives it
    SQLINTEGER indicator;
  };

  void prepareChild();
  void bindParameters();
  void bindParameter(SQLUSMALLINT number);
  void bindDescribed(SQLUSMALLINT number, ResultColumn& column, SQLSMALLINT type, SQLUINTEGER size,
                     SQLSMALLINT digits);
  void traceParameter(const char* call, SQLUSMALLINT number, const std::string& name) const;
  void bindColumns();
  void bindColumn(SQLUSMALLINT number, ResultColumn& column);
  SQLRETURN examined(SQLRETURN rc);
  bool isNewKey(const ResultColumn& key);
  void warnOfBlanks(const ResultColumn& key);
  // The last refusal of the server, if there was one.
  std::optional<sqlca> releaseLocators();
  void freeLocators();

  const SqlCall& call_;
  LevelQuery* parent_;
  int level_;
  std::string base_;
  std::string text_;
  std::vector<std::string> restrictions_;  // the name of the column behind each parameter
  CliStatement statement_;
  std::vector<Parameter> parameters_;
  std::vector<ResultColumn> columns_;
  std::vector<ResultColumn*> largeObjects_;
  bool hasLastKey_ = false;
  bool lastKeyIsNull_ = false;
  std::string lastKey_;
  std::optional<std::string> keyBeforeLast_;  // where the last one differs in blanks alone
  std::map<int, std::unique_ptr<LevelQuery>> children_;
};

// Code pages in which double-byte parameters travel as character data.
int isUCSEUC(int32_t codePage);

}  // namespace orvxml
