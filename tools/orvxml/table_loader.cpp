#include "table_loader.h"

#include "settings.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

std::string insertText(const std::string& table, const std::vector<std::string>& columns) {
  std::string names, markers;
  for (const std::string& column : columns) {
    names += (names.empty() ? "" : ", ") + column;
    markers += markers.empty() ? "?" : ", ?";
  }
  return "INSERT INTO " + table + " (" + names + ") VALUES (" + markers + ")";
}

}  // namespace

RowInsert::RowInsert(orv::Session& session, const std::string& where, const std::string& table,
                     const std::vector<std::string>& columns)
    : session_(session) {
  try {
    require(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_), SQL_HANDLE_ENV,
            environment_, where);
    require(SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_), SQL_HANDLE_ENV,
            environment_, where);
    SQLSetConnectOption(connection_, SQL_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF);
    require(SQLConnect(connection_, nullptr, SQL_NTS, nullptr, SQL_NTS, nullptr, SQL_NTS),
            SQL_HANDLE_DBC, connection_, where);
    require(SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement_), SQL_HANDLE_DBC, connection_,
            where);
    std::string text = toCodePage(where, insertText(table, columns), session_.codePage());
    require(SQLPrepare(statement_, reinterpret_cast<SQLCHAR*>(text.data()),
                       static_cast<SQLINTEGER>(text.size())),
            SQL_HANDLE_STMT, statement_, where);
  } catch (...) {
    release();
    throw;
  }
}

RowInsert::~RowInsert() {
  release();
}

void RowInsert::release() {
  if (statement_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_STMT, statement_);
  if (connection_ != SQL_NULL_HANDLE) {
    SQLDisconnect(connection_);
    SQLFreeHandle(SQL_HANDLE_DBC, connection_);
  }
  if (environment_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_ENV, environment_);
}

orv::Outcome RowInsert::outcome(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE handle) const {
  orv::Outcome outcome;
  if (rc >= 0) return outcome;
  char state[6] = "", text[2048] = "";
  SQLINTEGER code = 0;
  SQLSMALLINT length = 0;
  SQLGetDiagRec(type, handle, 1, reinterpret_cast<SQLCHAR*>(state), &code,
                reinterpret_cast<SQLCHAR*>(text), sizeof text, &length);
  outcome.sqlcode = code < 0 ? code : -1;
  outcome.sqlstate = state;
  outcome.message = fromCodePage(text, session_.codePage());
  return outcome;
}

void RowInsert::require(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE handle,
                        const std::string& where) {
  if (rc < 0) throw Failure(where, outcome(rc, type, handle).message);
}

orv::Outcome RowInsert::run(const std::vector<std::string>& values) {
  std::vector<SQLINTEGER> lengths(values.size());
  for (size_t i = 0; i < values.size(); ++i) {
    lengths[i] = static_cast<SQLINTEGER>(values[i].size());
    const SQLRETURN rc =
        SQLBindParameter(statement_, static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT, SQL_C_CHAR,
                         SQL_VARCHAR, static_cast<SQLUINTEGER>(values[i].size()), 0,
                         const_cast<char*>(values[i].data()), lengths[i], &lengths[i]);
    if (rc < 0) return outcome(rc, SQL_HANDLE_STMT, statement_);
  }
  return outcome(SQLExecute(statement_), SQL_HANDLE_STMT, statement_);
}

}  // namespace orvxml::command
