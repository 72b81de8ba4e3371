#include "src/compose/sql_statement.h"

#include <cstring>

#include "orvxml/trace.h"
#include "src/foundation/text_cut.h"

namespace orvxml {

namespace {

SQLCHAR* cliText(const std::string& text) {
  return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str()));
}

struct Diagnostic {
  SQLCHAR state[kSqlStateSize] = "";
  SQLCHAR text[kMessageSize] = "";
};

Diagnostic firstDiagnostic(SQLSMALLINT type, SQLHANDLE handle) {
  Diagnostic diagnostic;
  SQLINTEGER nativeError = 0;
  SQLSMALLINT length = 0;
  SQLGetDiagRec(type, handle, 1, diagnostic.state, &nativeError, diagnostic.text,
                sizeof diagnostic.text, &length);
  return diagnostic;
}

const char* chars(const SQLCHAR* text) {
  return reinterpret_cast<const char*>(text);
}

// Stores the server's words as the message; an internal error when it has none.
void storeDiagnostic(const Report& report, const Diagnostic& diagnostic, const char* module,
                     int line) {
  failInternal(report, module, line);
  if (report.msg && *diagnostic.text) {
    std::memcpy(report.msg, diagnostic.text, sizeof diagnostic.text);
  }
}

}  // namespace

CliStatement::~CliStatement() {
  if (handle_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_STMT, handle_);
}

int CliStatement::allocate(SQLHDBC hdbc) {
  const SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_STMT, hdbc, &handle_);
  if (rc >= 0) return 0;
  handle_ = SQL_NULL_HANDLE;
  const Diagnostic diagnostic = firstDiagnostic(SQL_HANDLE_DBC, hdbc);
  QRK_TRACE(report_.ctx, "cannot allocate db handle rc = %d, sqlstate = %s", rc,
            chars(diagnostic.state));
  storeDiagnostic(report_, diagnostic, module_, __LINE__);
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
  return chars(firstDiagnostic(SQL_HANDLE_STMT, handle_).text);
}

void CliStatement::diagnose(int line) const {
  storeDiagnostic(report_, firstDiagnostic(SQL_HANDLE_STMT, handle_), module_, line);
}

int CliStatement::failWithDiagnostic(Msg message, int line) const {
  const std::string words = diagnostic();
  if (message == Msg::QRKG001E) {
    failInternal(report_, module_, line);
  } else {
    fail(report_, message);
  }
  if (!report_.msg) return -1;
  std::string whole = report_.msg + words;
  if (whole.size() >= kMessageSize) {
    whole.resize(kMessageSize - 1);
    whole.resize(wholeCharacters(whole));
  }
  std::memcpy(report_.msg, whole.c_str(), whole.size() + 1);
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
