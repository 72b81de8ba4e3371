#include "src/compose/sql_statement.h"

#include "orvxml/trace.h"
#include "src/outcome/all_steps.h"
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

void CliStatement::allocate(SQLHDBC hdbc) {
  const SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_STMT, hdbc, &handle_);
  if (rc >= 0) return;
  handle_ = SQL_NULL_HANDLE;
  const CliDiagnostic diagnostic = firstDiagnostic(SQL_HANDLE_DBC, hdbc);
  QRK_TRACE(ctx_, "cannot allocate db handle rc = %d, sqlstate = %s", rc, diagnostic.state);
  throw failureInServerWords(diagnostic);
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

Failure CliStatement::failure(SourcePlace where) const {
  return failureInServerWords(firstDiagnostic(SQL_HANDLE_STMT, handle_), where);
}

Failure CliStatement::internalFailure(SourcePlace where) const {
  return Failure::internal(nullptr, where).with(diagnostic());
}

void CliStatement::closeCursor() {
  if (!hasCursor_) return;
  hasCursor_ = false;
  if (SQLCloseCursor(handle_) < 0) throw failure();
}

void CliStatement::close() {
  if (handle_ == SQL_NULL_HANDLE) return;
  AllSteps steps;
  steps.run([&] { closeCursor(); }).run([&] {
    if (SQLFreeHandle(SQL_HANDLE_STMT, handle_) < 0) throw failure();
  });
  handle_ = SQL_NULL_HANDLE;
  steps.end();
}

}  // namespace orvxml
