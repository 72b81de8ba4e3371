// Environments and connections.
#include <algorithm>

#include "server/clients/cli/diagnostics.h"

using namespace orv::cli;

namespace {

SQLHANDLE numbered(std::unique_ptr<Handle> handle) {
  const SQLHANDLE number = addHandle(std::move(handle));
  if (number == SQL_NULL_HANDLE) throw CliError("HY014");
  return number;
}

SQLRETURN allocateEnvironment(SQLHANDLE* output) {
  SQLRETURN result = SQL_ERROR;
  orv::guarded(
      [&] {
        *output = addHandle(std::make_unique<Environment>());
        if (*output != SQL_NULL_HANDLE) result = SQL_SUCCESS;
      },
      [](const orv::SqlError&) {});
  return result;
}

SQLRETURN allocateConnection(Environment& parent, SQLHANDLE* output) {
  if (!output) throw CliError("HY009");
  *output = numbered(std::make_unique<Connection>(parent));
  ++parent.connections;
  return SQL_SUCCESS;
}

SQLRETURN allocateStatement(Connection& parent, SQLHANDLE* output) {
  if (!output) throw CliError("HY009");
  if (!parent.slot) throw CliError("08003");
  parent.session();
  auto made = std::make_unique<StatementHandle>(parent);
  // Listed before it is numbered, so that no live handle is ever missing from the list.
  parent.statements.push_back(SQL_NULL_HANDLE);
  const SQLHANDLE number = addHandle(std::move(made));
  if (number == SQL_NULL_HANDLE) {
    parent.statements.pop_back();
    throw CliError("HY014");
  }
  parent.statements.back() = *output = number;
  return SQL_SUCCESS;
}

SQLRETURN freeEnvironment(Environment& handle) {
  if (handle.connections > 0) throw CliError("HY010");
  removeHandle(handle.number);
  return SQL_SUCCESS;
}

void freeStatements(Connection& handle) {
  for (const SQLHSTMT number : handle.statements) removeHandle(number);
  handle.statements.clear();
}

SQLRETURN freeConnection(Connection& handle) {
  if (handle.slot) throw CliError("HY010");
  --handle.environment.connections;
  removeHandle(handle.number);
  return SQL_SUCCESS;
}

SQLRETURN freeStatement(StatementHandle& handle) {
  auto& siblings = handle.connection.statements;
  siblings.erase(std::find(siblings.begin(), siblings.end(), handle.number));
  removeHandle(handle.number);
  return SQL_SUCCESS;
}

SQLRETURN setAutocommit(SQLINTEGER value) {
  if (value == SQL_AUTOCOMMIT_OFF) return SQL_SUCCESS;
  throw CliError(value == SQL_AUTOCOMMIT_ON ? "HYC00" : "HY024");
}

bool isNullName(const SQLCHAR* name, SQLSMALLINT length) {
  if (length < 0 && length != SQL_NTS) throw CliError("HY090");
  return !name || length == 0 || (length == SQL_NTS && *name == 0);
}

}  // namespace

SQLRETURN SQLAllocHandle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output) {
  if (output) *output = SQL_NULL_HANDLE;
  if (type == SQL_HANDLE_ENV) return output ? allocateEnvironment(output) : SQLRETURN{SQL_ERROR};
  if (type == SQL_HANDLE_DBC) {
    Environment* const parent = environment(input);
    return call(parent, [&] { return allocateConnection(*parent, output); });
  }
  if (type == SQL_HANDLE_STMT) {
    Connection* const parent = connection(input);
    return call(parent, [&] { return allocateStatement(*parent, output); });
  }
  return call(findHandle(input), []() -> SQLRETURN { throw CliError("HY092"); });
}

SQLRETURN SQLFreeHandle(SQLSMALLINT type, SQLHANDLE number) {
  Handle* const handle = findHandle(number);
  if (!handle || handle->type != type) return SQL_INVALID_HANDLE;
  // A handle that is freed successfully is gone: nothing of it may be touched afterwards.
  return call(handle, [&] {
    if (type == SQL_HANDLE_ENV) return freeEnvironment(static_cast<Environment&>(*handle));
    if (type == SQL_HANDLE_DBC) return freeConnection(static_cast<Connection&>(*handle));
    return freeStatement(static_cast<StatementHandle&>(*handle));
  });
}

SQLRETURN SQLSetConnectOption(SQLHDBC number, SQLUSMALLINT option, SQLINTEGER value) {
  return call(connection(number), [&] {
    if (option != SQL_AUTOCOMMIT) throw CliError("HY092");
    return setAutocommit(value);
  });
}

// The attribute SQL_ATTR_CODE_PAGE_CONVERSION, 0 or 1, is accepted: what crosses the interface is
// in the code page of the database in either case, double-byte values included.
SQLRETURN SQLSetConnectAttr(SQLHDBC number, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER) {
  return call(connection(number), [&]() -> SQLRETURN {
    const auto given = reinterpret_cast<intptr_t>(value);
    if (attribute == SQL_AUTOCOMMIT) return setAutocommit(static_cast<SQLINTEGER>(given));
    if (attribute != SQL_ATTR_CODE_PAGE_CONVERSION) throw CliError("HY092");
    if (given != 0 && given != 1) throw CliError("HY024");
    return SQL_SUCCESS;
  });
}

SQLRETURN SQLConnect(SQLHDBC number, SQLCHAR* server, SQLSMALLINT serverLength, SQLCHAR* user,
                     SQLSMALLINT userLength, SQLCHAR* password, SQLSMALLINT passwordLength) {
  Connection* const handle = connection(number);
  return call(handle, [&]() -> SQLRETURN {
    if (handle->slot) throw CliError("08002");
    const bool own = isNullName(server, serverLength);
    isNullName(user, userLength);
    isNullName(password, passwordLength);
    if (!own) throw CliError("08001");
    orv::requireSession();
    handle->slot = orv::currentSlot();
    return SQL_SUCCESS;
  });
}

SQLRETURN SQLDisconnect(SQLHDBC number) {
  Connection* const handle = connection(number);
  return call(handle, [&]() -> SQLRETURN {
    if (!handle->slot) throw CliError("08003");
    freeStatements(*handle);
    handle->slot.reset();
    return SQL_SUCCESS;
  });
}
