// The handles of the call-level interface that a test or a routine works with.
#pragma once

#include "orv/sqlcli.h"

namespace orv::test {

struct CliHandles {
  CliHandles() {
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
  }
  ~CliHandles() {
    SQLDisconnect(dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
  }
  CliHandles(const CliHandles&) = delete;
  CliHandles& operator=(const CliHandles&) = delete;

  // To the current session, with a statement. False when that fails.
  bool connect() {
    return SQLConnect(dbc, nullptr, SQL_NTS, nullptr, SQL_NTS, nullptr, SQL_NTS) == SQL_SUCCESS &&
           SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt) == SQL_SUCCESS;
  }

  SQLHENV env = 0;
  SQLHDBC dbc = 0;
  SQLHSTMT stmt = 0;
};

}  // namespace orv::test
