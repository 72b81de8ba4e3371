// A statement of the call-level interface as SQL mapping uses it: it frees itself, and its failures
// are told in the server's words.
#pragma once

#include <string>

#include "orvxml/context.h"

namespace orvxml {

class CliStatement {
 public:
  CliStatement(const Report& report, const char* module) : report_(report), module_(module) {}
  ~CliStatement();
  CliStatement(const CliStatement&) = delete;
  CliStatement& operator=(const CliStatement&) = delete;

  // 0, or the CLI status with the server's diagnostics as the message.
  int allocate(SQLHDBC hdbc);
  SQLHSTMT handle() const { return handle_; }
  SQLRETURN prepare(const std::string& text);
  // Both note that there is a cursor to close.
  SQLRETURN execute();
  SQLRETURN executeDirect(const std::string& text);

  // The text of the first diagnostic record of the last call; empty when there is none.
  std::string diagnostic() const;
  // Makes the diagnostics of the last call the message, with the code of a failed CLI call.
  void diagnose(int line) const;
  // Report `message`, or an internal error, with the diagnostics of the last call behind it. Return
  // -1.
  int failWith(Msg message) const;
  int failInternally(int line) const;

  // 0, or -1 with the diagnostics.
  int closeCursor();
  // Closes the cursor and frees the handle. 0, or -1 with the diagnostics.
  int close();

 private:
  SQLRETURN opened(SQLRETURN rc);

  const Report& report_;
  const char* module_;
  SQLHSTMT handle_ = SQL_NULL_HANDLE;
  bool hasCursor_ = false;
};

}  // namespace orvxml
