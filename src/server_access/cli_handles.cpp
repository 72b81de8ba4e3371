#include "src/server_access/cli_handles.h"

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/server_access/cli_diagnostics.h"

namespace orvxml {

struct CliConnection::SetUpStep {
  const char* what;    // for the message
  const char* traced;  // for the trace
};

CliConnection::~CliConnection() {
  if (connected_) SQLDisconnect(hdbc_);
  if (hdbc_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_DBC, hdbc_);
  if (henv_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_ENV, henv_);
}

int CliConnection::failed(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE* handle, const char* what,
                          int line) {
  return qrkCLIError(ctx_, rc, type, handle, what, module_, line, msg_);
}

// The trace names the failed step of the set-up before the message does.
int CliConnection::setUpFailed(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE* handle,
                               const SetUpStep& step, int line) {
  QRK_TRACE(ctx_, "%s rc = %d, sqlstate = %s", step.traced, rc,
            firstDiagnostic(type, *handle).state);
  return failed(rc, type, handle, step.what, line);
}

int CliConnection::open() {
  if (int code = allocate()) return code;
  if (int code = connect()) return code;
  QRK_TRACE(ctx_, "CLI setup completed.");
  return 0;
}

int CliConnection::allocate() {
  SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &henv_);
  if (rc < 0) {
    QRK_TRACE(ctx_, "cannot allocate environment handle rc = %d", rc);
    return failed(rc, SQL_HANDLE_ENV, &henv_, "SQLAllocHandle for henv", __LINE__);
  }
  rc = SQLAllocHandle(SQL_HANDLE_DBC, henv_, &hdbc_);
  if (rc < 0) {
    constexpr SetUpStep kStep = {"SQLAllocHandle for hdbc", "cannot allocate db handle"};
    return setUpFailed(rc, SQL_HANDLE_ENV, &henv_, kStep, __LINE__);
  }
  return 0;
}

int CliConnection::connect() {
  SQLRETURN rc = SQLSetConnectOption(hdbc_, SQL_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF);
  if (rc < 0) {
    constexpr SetUpStep kStep = {"SQLSetConnectOption autocommit_off",
                                 "SQLSetConnectOption autocommit_off: db"};
    return setUpFailed(rc, SQL_HANDLE_DBC, &hdbc_, kStep, __LINE__);
  }
  // A server that does not know the attribute behaves as if it were set.
  if (ctx_->codePages->dbCodePage == kUtf8CodePage) {
    SQLSetConnectAttr(hdbc_, SQL_ATTR_CODE_PAGE_CONVERSION, nullptr, SQL_IS_INTEGER);
  }
  rc = SQLConnect(hdbc_, nullptr, SQL_NTS, nullptr, SQL_NTS, nullptr, SQL_NTS);
  if (rc < 0) {
    constexpr SetUpStep kStep = {"SQLConnect null", "cannot connect to db"};
    return setUpFailed(rc, SQL_HANDLE_DBC, &hdbc_, kStep, __LINE__);
  }
  connected_ = true;
  return 0;
}

int CliConnection::close(int code) {
  if (connected_) {
    connected_ = false;
    const SQLRETURN rc = SQLDisconnect(hdbc_);
    if (rc < 0) code = failed(rc, SQL_HANDLE_DBC, &hdbc_, "SQLDisconnect for hdbc", __LINE__);
  }
  if (hdbc_ != SQL_NULL_HANDLE) {
    const SQLRETURN rc = SQLFreeHandle(SQL_HANDLE_DBC, hdbc_);
    if (rc < 0) code = failed(rc, SQL_HANDLE_DBC, &hdbc_, "SQLFreeHandle for hdbc", __LINE__);
    hdbc_ = SQL_NULL_HANDLE;
  }
  if (henv_ != SQL_NULL_HANDLE) {
    const SQLRETURN rc = SQLFreeHandle(SQL_HANDLE_ENV, henv_);
    if (rc < 0) code = failed(rc, SQL_HANDLE_ENV, &henv_, "SQLFreeHandle for henv", __LINE__);
    henv_ = SQL_NULL_HANDLE;
  }
  return code;
}

ServerConnection::~ServerConnection() {
  if (connected_) SQLDisconnect(hdbc_);
  if (hdbc_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_DBC, hdbc_);
  if (henv_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_ENV, henv_);
}

namespace {

// The trace names the failed step of the set-up before the message does.
Failure setUpFailure(QrkStruct* ctx, SQLRETURN rc, SQLSMALLINT type, SQLHANDLE handle,
                     const char* what, const char* traced,
                     std::source_location where = std::source_location::current()) {
  QRK_TRACE(ctx, "%s rc = %d, sqlstate = %s", traced, rc, firstDiagnostic(type, handle).state);
  return cliFailure(ctx, rc, type, handle, what, nullptr, where);
}

}  // namespace

void ServerConnection::open() {
  allocate();
  connect();
  QRK_TRACE(ctx_, "CLI setup completed.");
}

void ServerConnection::allocate() {
  SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &henv_);
  if (rc < 0) {
    QRK_TRACE(ctx_, "cannot allocate environment handle rc = %d", rc);
    throw cliFailure(ctx_, rc, SQL_HANDLE_ENV, henv_, "SQLAllocHandle for henv");
  }
  rc = SQLAllocHandle(SQL_HANDLE_DBC, henv_, &hdbc_);
  if (rc < 0) {
    throw setUpFailure(ctx_, rc, SQL_HANDLE_ENV, henv_, "SQLAllocHandle for hdbc",
                       "cannot allocate db handle");
  }
}

void ServerConnection::connect() {
  SQLRETURN rc = SQLSetConnectOption(hdbc_, SQL_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF);
  if (rc < 0) {
    throw setUpFailure(ctx_, rc, SQL_HANDLE_DBC, hdbc_, "SQLSetConnectOption autocommit_off",
                       "SQLSetConnectOption autocommit_off: db");
  }
  // A server that does not know the attribute behaves as if it were set.
  if (ctx_->codePages->dbCodePage == kUtf8CodePage) {
    SQLSetConnectAttr(hdbc_, SQL_ATTR_CODE_PAGE_CONVERSION, nullptr, SQL_IS_INTEGER);
  }
  rc = SQLConnect(hdbc_, nullptr, SQL_NTS, nullptr, SQL_NTS, nullptr, SQL_NTS);
  if (rc < 0) {
    throw setUpFailure(ctx_, rc, SQL_HANDLE_DBC, hdbc_, "SQLConnect null", "cannot connect to db");
  }
  connected_ = true;
}

void ServerConnection::close() {
  std::optional<Failure> last;
  if (connected_) {
    connected_ = false;
    const SQLRETURN rc = SQLDisconnect(hdbc_);
    if (rc < 0) last = cliFailure(ctx_, rc, SQL_HANDLE_DBC, hdbc_, "SQLDisconnect for hdbc");
  }
  if (hdbc_ != SQL_NULL_HANDLE) {
    const SQLRETURN rc = SQLFreeHandle(SQL_HANDLE_DBC, hdbc_);
    if (rc < 0) last = cliFailure(ctx_, rc, SQL_HANDLE_DBC, hdbc_, "SQLFreeHandle for hdbc");
    hdbc_ = SQL_NULL_HANDLE;
  }
  if (henv_ != SQL_NULL_HANDLE) {
    const SQLRETURN rc = SQLFreeHandle(SQL_HANDLE_ENV, henv_);
    if (rc < 0) last = cliFailure(ctx_, rc, SQL_HANDLE_ENV, henv_, "SQLFreeHandle for henv");
    henv_ = SQL_NULL_HANDLE;
  }
  if (last) throw *std::move(last);
}

}  // namespace orvxml
