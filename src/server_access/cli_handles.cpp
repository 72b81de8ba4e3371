#include "src/server_access/cli_handles.h"

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/server_access/cli_diagnostics.h"

namespace orvxml {

ServerConnection::~ServerConnection() {
  if (connected_) SQLDisconnect(hdbc_);
  if (hdbc_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_DBC, hdbc_);
  if (henv_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_ENV, henv_);
}

Failure ServerConnection::setUpFailure(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE handle,
                                       const char* what, const char* traced,
                                       SourcePlace where) const {
  QRK_TRACE(ctx_, "%s rc = %d, sqlstate = %s", traced, rc, firstDiagnostic(type, handle).state);
  return cliFailure(ctx_, rc, type, handle, what, module_, where);
}

void ServerConnection::open() {
  allocate();
  connect();
  QRK_TRACE(ctx_, "CLI setup completed.");
}

void ServerConnection::allocate() {
  SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &henv_);
  if (rc < 0) {
    QRK_TRACE(ctx_, "cannot allocate environment handle rc = %d", rc);
    throw cliFailure(ctx_, rc, SQL_HANDLE_ENV, henv_, "SQLAllocHandle for henv", module_);
  }
  rc = SQLAllocHandle(SQL_HANDLE_DBC, henv_, &hdbc_);
  if (rc < 0) {
    throw setUpFailure(rc, SQL_HANDLE_ENV, henv_, "SQLAllocHandle for hdbc",
                       "cannot allocate db handle");
  }
}

void ServerConnection::connect() {
  SQLRETURN rc = SQLSetConnectOption(hdbc_, SQL_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF);
  if (rc < 0) {
    throw setUpFailure(rc, SQL_HANDLE_DBC, hdbc_, "SQLSetConnectOption autocommit_off",
                       "SQLSetConnectOption autocommit_off: db");
  }
  // A server that does not know the attribute behaves as if it were set.
  if (ctx_->codePages->dbCodePage == kUtf8CodePage) {
    SQLSetConnectAttr(hdbc_, SQL_ATTR_CODE_PAGE_CONVERSION, nullptr, SQL_IS_INTEGER);
  }
  rc = SQLConnect(hdbc_, nullptr, SQL_NTS, nullptr, SQL_NTS, nullptr, SQL_NTS);
  if (rc < 0) {
    throw setUpFailure(rc, SQL_HANDLE_DBC, hdbc_, "SQLConnect null", "cannot connect to db");
  }
  connected_ = true;
}

void ServerConnection::close() {
  std::optional<Failure> last;
  if (connected_) {
    connected_ = false;
    const SQLRETURN rc = SQLDisconnect(hdbc_);
    if (rc < 0)
      last = cliFailure(ctx_, rc, SQL_HANDLE_DBC, hdbc_, "SQLDisconnect for hdbc", module_);
  }
  if (hdbc_ != SQL_NULL_HANDLE) {
    const SQLRETURN rc = SQLFreeHandle(SQL_HANDLE_DBC, hdbc_);
    if (rc < 0)
      last = cliFailure(ctx_, rc, SQL_HANDLE_DBC, hdbc_, "SQLFreeHandle for hdbc", module_);
    hdbc_ = SQL_NULL_HANDLE;
  }
  if (henv_ != SQL_NULL_HANDLE) {
    const SQLRETURN rc = SQLFreeHandle(SQL_HANDLE_ENV, henv_);
    if (rc < 0)
      last = cliFailure(ctx_, rc, SQL_HANDLE_ENV, henv_, "SQLFreeHandle for henv", module_);
    henv_ = SQL_NULL_HANDLE;
  }
  if (last) throw *std::move(last);
}

}  // namespace orvxml
