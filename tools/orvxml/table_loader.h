// An INSERT of one row, prepared once and run for many, in the session's unit of work.
#pragma once

#include <string>
#include <vector>

#include "orv/session.h"
#include "orv/sqlcli.h"

namespace orvxml::command {

class RowInsert {
 public:
  // The session is the thread's current one. Throws Failure, with `where` in front.
  RowInsert(orv::Session& session, const std::string& where, const std::string& table,
            const std::vector<std::string>& columns);
  ~RowInsert();
  RowInsert(const RowInsert&) = delete;
  RowInsert& operator=(const RowInsert&) = delete;

  // One value for each column, in the database's code page. Returns the outcome of the statement,
  // its message in UTF-8.
  orv::Outcome run(const std::vector<std::string>& values);

 private:
  orv::Outcome outcome(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE handle) const;
  void require(SQLRETURN rc, SQLSMALLINT type, SQLHANDLE handle, const std::string& where);
  void release();

  orv::Session& session_;
  SQLHENV environment_ = SQL_NULL_HANDLE;
  SQLHDBC connection_ = SQL_NULL_HANDLE;
  SQLHSTMT statement_ = SQL_NULL_HANDLE;
};

}  // namespace orvxml::command
