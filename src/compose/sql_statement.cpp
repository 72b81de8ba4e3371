#include "src/compose/sql_statement.h"

#include "orvxml/trace.h"
#include "src/server_access/cli_diagnostics.h"

namespace orvxml {

namespace {

SQLCHAR* cliText(const std::string& text) {
  return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str()));
}

}  // namespace

CliStatement::~CliStatement() {
  if (handle_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_STMT, handle_);
}

int CliStatement::allocate(SQLHDBC hdbc) {
  const SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_STMT, hdbc, &handle_);
  if (rc >= 0) return 0;
  handle_ = SQL_NULL_HANDLE;
  const CliDiagnostic diagnostic = firstDiagnostic(SQL_HANDLE_DBC, hdbc);
  QRK_TRACE(report_.ctx, "cannot allocate db handle rc = %d, sqlstate = %s", rc, diagnostic.state);
  failInServerWords(report_, diagnostic, module_, __LINE__);
  return rc;
}

SQLRETURN CliStatement::prepare(const std::string& text) {
  return SQLPrepare(handle_, cliText(text), SQL_NTS);
}

SQLRETURN CliStatement::opened(SQLRETURN rc) {
  hasCursor_ = rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO;
  return rc;
}

SQLRETURN CliStatement::execute() {
  return opened(SQLExecute(handle_));
}

SQLRETURN CliStatement::executeDirect(const std::string& text) {
  return opened(SQLExecDirect(handle_, cliText(text), SQL_NTS));
}

std::string CliStatement::diagnostic() const {
  return firstDiagnostic(SQL_HANDLE_STMT, handle_).text;
}

void CliStatement::diagnose(int line) const {
  failInServerWords(report_, firstDiagnostic(SQL_HANDLE_STMT, handle_), module_, line);
}

int CliStatement::failWith(Msg message) const {
  const std::string words = diagnostic();
  fail(report_, message);
  if (report_.msg) appendToMessage(report_, words);
  return -1;
}

int CliStatement::failInternally(int line) const {
  const std::string words = diagnostic();
  failInternal(report_, module_, line);
  if (report_.msg) appendToMessage(report_, words);
  return -1;
}

int CliStatement::closeCursor() {
  if (!hasCursor_) return 0;
  hasCursor_ = false;
  if (SQLCloseCursor(handle_) >= 0) return 0;
  diagnose(__LINE__);
  return -1;
}

int CliStatement::close() {
  if (handle_ == SQL_NULL_HANDLE) return 0;
  int result = closeCursor();
  if (SQLFreeHandle(SQL_HANDLE_STMT, handle_) < 0) {
    diagnose(__LINE__);
    result = -1;
  }
  handle_ = SQL_NULL_HANDLE;
  return result;
}

}  // namespace orvxml
