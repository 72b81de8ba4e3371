// A statement of the call-level interface as composition uses it: it frees itself, and its failures
// are told in the server's words.
#pragma once

#include <string>

#include "src/outcome/failure.h"

namespace orvxml {

class CliStatement {
 public:
  explicit CliStatement(QrkStruct* ctx) : ctx_(ctx) {}
  ~CliStatement();
  CliStatement(const CliStatement&) = delete;
  CliStatement& operator=(const CliStatement&) = delete;

  void allocate(SQLHDBC hdbc);
  SQLHSTMT handle() const { return handle_; }
  SQLRETURN prepare(const std::string& text);
  // Both note that there is a cursor to close.
  SQLRETURN execute();
  SQLRETURN executeDirect(const std::string& text);

  // The text of the first diagnostic record of the last call; empty when there is none.
  std::string diagnostic() const;
  // Of the last call: failureInServerWords, or an internal error with these words behind it.
  Failure failure(SourcePlace where = SourcePlace::here()) const;
  Failure internalFailure(SourcePlace where = SourcePlace::here()) const;

  void closeCursor();
  // Closes the cursor and frees the handle.
  void close();

 private:
  SQLRETURN opened(SQLRETURN rc);

  QrkStruct* const ctx_;
  SQLHSTMT handle_ = SQL_NULL_HANDLE;
  bool hasCursor_ = false;
};

}  // namespace orvxml
