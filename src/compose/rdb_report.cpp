#include "src/compose/rdb_report.h"

#include <cstring>
#include <string>

#include "src/server_access/cli_diagnostics.h"

namespace orvxml {

int RdbReport::failedAlso(Msg message, const char* argument) const {
  const std::string first = msg;
  failed(message, argument);
  const std::string second = msg;
  std::memcpy(msg, first.c_str(), first.size() + 1);
  appendToMessage(report(), second);
  return -1;
}

int RdbReport::internal(int line) const {
  failInternal(report(), kRdbModule, line);
  return -1;
}

int RdbReport::internalBecause(int line) const {
  const std::string reason = msg;
  internal(line);
  appendToMessage(report(), reason);
  return -1;
}

int RdbReport::serverWords(SQLSMALLINT type, SQLHANDLE handle, int line) const {
  failInServerWords(report(), firstDiagnostic(type, handle), kRdbModule, line);
  return -1;
}

int RdbReport::cli(SQLRETURN rc, SQLHSTMT hstmt, const char* what, int line) const {
  *errCode = qrkCLIError(ctx, rc, SQL_HANDLE_STMT, &hstmt, what, kRdbModule, line, msg);
  return -1;
}

int RdbReport::statement(SQLHSTMT hstmt) const {
  return failed(Msg::QRKQ053E, firstDiagnostic(SQL_HANDLE_STMT, hstmt).text);
}

}  // namespace orvxml
