// The handles of the call-level interface. A handle is a number: the place in a table and a
// generation, so that a freed or invented number is recognised on every call. Finding a handle
// takes no lock; making and freeing one does.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orv/sqlcli.h"
#include "server/session/current_session.h"
#include "server/session/prepared_statement.h"
#include "server/session/value_area.h"

namespace orv::cli {

struct DiagnosticRecord {
  std::string state;
  SQLINTEGER nativeError;
  std::string text;  // UTF-8
};

struct Handle {
  explicit Handle(SQLSMALLINT handleType) : type(handleType) {}
  virtual ~Handle() = default;

  const SQLSMALLINT type;
  SQLHANDLE number = SQL_NULL_HANDLE;
  std::vector<DiagnosticRecord> diagnostics;  // of the last call
};

struct Environment : Handle {
  Environment() : Handle(SQL_HANDLE_ENV) {}
  int connections = 0;
};

struct Connection : Handle {
  explicit Connection(Environment& owner) : Handle(SQL_HANDLE_DBC), environment(owner) {}

  // The session behind the connection; throws -1024 when it is gone.
  SessionState& session() const;

  Environment& environment;
  SessionSlotPtr slot;  // null when not connected
  std::vector<SQLHSTMT> statements;
};

// What SQLBindParameter and SQLBindCol note: read or written when the statement runs.
struct Binding {
  SQLSMALLINT cType = 0;  // 0: not bound
  SQLPOINTER value = nullptr;
  SQLINTEGER capacity = 0;
  SQLINTEGER* indicator = nullptr;
};

struct StatementHandle : Handle {
  explicit StatementHandle(Connection& owner) : Handle(SQL_HANDLE_STMT), connection(owner) {}

  bool hasCursor() const { return executed && prepared->isOpen(); }

  Connection& connection;
  std::unique_ptr<PreparedStatement> prepared;
  bool executed = false;            // then `prepared` is there
  std::vector<Binding> parameters;  // survive another prepare, as do the columns
  std::vector<Binding> columns;
  std::vector<ValueStorage> storage;  // one per parameter
  std::string preparedText;           // of `prepared`, as the caller gave it
  std::string valueText;              // of the fetched value at hand, where it needs room
  std::string nativeText;
};

// SQL_NULL_HANDLE when the table is full.
SQLHANDLE addHandle(std::unique_ptr<Handle> handle);
void removeHandle(SQLHANDLE number);
// Null for a number that is no live handle.
Handle* findHandle(SQLHANDLE number);

template <class T>
T* findHandleOf(SQLHANDLE number, SQLSMALLINT type) {
  Handle* const handle = findHandle(number);
  return handle && handle->type == type ? static_cast<T*>(handle) : nullptr;
}
inline Environment* environment(SQLHENV number) {
  return findHandleOf<Environment>(number, SQL_HANDLE_ENV);
}
inline Connection* connection(SQLHDBC number) {
  return findHandleOf<Connection>(number, SQL_HANDLE_DBC);
}
inline StatementHandle* statement(SQLHSTMT number) {
  return findHandleOf<StatementHandle>(number, SQL_HANDLE_STMT);
}

}  // namespace orv::cli
