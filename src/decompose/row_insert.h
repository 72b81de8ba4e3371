// Inserts the rows of one table with one prepared statement, parameters bound anew for each row.
#pragma once

#include <vector>

#include "src/decompose/row_list.h"

namespace orvxml {

class RowInserter {
 public:
  RowInserter(QrkStruct* ctx, const rel* relinfo, const tab& table, char* msg)
      : ctx_(ctx), rel_(relinfo), table_(table), msg_(msg) {}
  ~RowInserter();
  RowInserter(const RowInserter&) = delete;
  RowInserter& operator=(const RowInserter&) = delete;

  // All return 0 or the message's code.
  int prepare();
  int qrkrow_to_stmt(const Value* row);
  int close();  // frees the statement and reports when that fails
  // After a row that was refused: the parameter whose value is at fault, -1 when that is not known.
  int faultyParameter(const Value* row);

 private:
  // What the server says about a parameter; the same for every row.
  struct Description {
    SQLSMALLINT type = 0;
    SQLUINTEGER size = 0;
    SQLSMALLINT digits = 0;
    SQLSMALLINT nullable = 0;
  };

  int parameterCount() const { return table_.num_col + table_.num_fk; }
  int describe(int index);
  int bindParameter(int index, const Value& value);
  int tooLarge(int index);
  bool converts(int index, const Value& value) const;
  void dropShiftBytes(const char*& text, SQLINTEGER& length) const;
  int failed(SQLRETURN rc, const char* what, int line);

  QrkStruct* ctx_;
  const rel* rel_;
  const tab& table_;
  char* msg_;
  SQLHSTMT hstmt_ = SQL_NULL_HANDLE;
  int faulty_ = -1;                        // the parameter that the last row failed at
  std::vector<Description> descriptions_;  // of the parameters met so far
  std::vector<SQLINTEGER> indicators_;
};

}  // namespace orvxml
