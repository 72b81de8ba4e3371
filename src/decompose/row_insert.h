// Inserts the rows of one table with one prepared statement, parameters bound anew for each row.
#pragma once

#include <vector>

#include "src/decompose/row_list.h"
#include "src/outcome/failure.h"

namespace orvxml {

class RowInserter {
 public:
  RowInserter(QrkStruct* ctx, const rel* relinfo, const tab& table)
      : ctx_(ctx), rel_(relinfo), table_(table) {}
  ~RowInserter();
  RowInserter(const RowInserter&) = delete;
  RowInserter& operator=(const RowInserter&) = delete;

  void prepare();
  void insert(const Value* row);  // qrkrow_to_stmt
  void close();                   // frees the statement; throws when that fails
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
  void describe(int index);
  void bindParameter(int index, const Value& value);
  bool converts(int index, const Value& value) const;
  void dropShiftBytes(const char*& text, SQLINTEGER& length) const;
  Failure failure(SQLRETURN rc, const char* what, SourcePlace where = SourcePlace::here()) const;

  QrkStruct* ctx_;
  const rel* rel_;
  const tab& table_;
  SQLHSTMT hstmt_ = SQL_NULL_HANDLE;
  int faulty_ = -1;                        // the parameter that the last row failed at
  std::vector<Description> descriptions_;  // of the parameters met so far
  std::vector<SQLINTEGER> indicators_;
};

}  // namespace orvxml
