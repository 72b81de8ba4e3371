// One SQLite connection and its statements, as owners that release themselves, and the one place
// where SQLite's outcomes become SqlErrors.
#pragma once

#include <sqlite3.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "server/values/sql_error.h"

namespace orv::sqlite {

// A failure inside one of our own SQL functions travels as the error text of the function, which
// is all that SQLite carries: this writes it, and failure() reads it back.
void reportFailure(sqlite3_context* context, const SqlError& error);
std::string failureText(const SqlError& error);
// The same for exhausted memory. SQLite's own way of saying it would give up the whole unit of
// work.
void reportNoMemory(sqlite3_context* context) noexcept;
const char* noMemoryText() noexcept;

// Names what a constraint's violation is about; see ConstraintNames in constraint_failure.h.
using ConstraintReader = std::function<SqlError(int extendedCode, std::string_view text)>;

// The failure `rc` (an extended result code) of the connection as an SqlError. Violated constraints
// go to `constraints` where there is one.
SqlError failure(sqlite3* database, int rc, const ConstraintReader* constraints = nullptr);

// sqlite3_step(), which waits a few seconds for another connection's lock. SQLite itself does not
// when the unit of work has read already, lest two wait for each other: here the wait is bounded.
// SQLITE_BUSY_SNAPSHOT, when what was read has changed since, comes at once: no wait would end it.
int stepOrWait(sqlite3_stmt* statement);

struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, Finalize>;
// `flags`: of sqlite3_prepare_v3().
StatementHandle prepareStatement(sqlite3* database, std::string_view sql, unsigned flags = 0);

// A prepared statement of the engine's own: catalog queries, DDL, savepoints. Values are bound in
// order from 1.
class Command {
 public:
  Command(sqlite3* database, std::string_view sql)
      : database_(database), statement_(prepareStatement(database, sql)) {}

  // Texts, single letters as texts, and whatever else is a number.
  template <class... Values>
  Command& bind(const Values&... values) {
    (bindOne(values), ...);
    return *this;
  }
  // True while there is a row. Throws on failure, the statement being reset.
  bool step(const ConstraintReader* constraints = nullptr);
  void run(const ConstraintReader* constraints = nullptr);
  void reset();

  std::string text(int column) const;  // empty for NULL
  int64_t integer(int column) const;
  bool isNull(int column) const;
  // Good until the next step.
  sqlite3_value* value(int column) const { return sqlite3_column_value(statement_.get(), column); }

 private:
  template <class Value>
  void bindOne(const Value& value) {
    if constexpr (std::is_convertible_v<const Value&, std::string_view>) {
      bindText(value);
    } else if constexpr (std::is_same_v<Value, char>) {
      bindText({&value, 1});
    } else {
      bindNumber(static_cast<int64_t>(value));
    }
  }
  void bindText(std::string_view text);
  void bindNumber(int64_t number);

  sqlite3* database_;
  StatementHandle statement_;
  int bound_ = 0;
};

// Runs one statement without values or result.
void execute(sqlite3* database, std::string_view sql);
// The same, with a say in what a violated constraint means.
void executeChecked(sqlite3* database, std::string_view sql, const ConstraintReader& constraints);

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
using DatabaseHandle = std::unique_ptr<sqlite3, CloseDatabase>;

// ":memory:", a database of one connection.
bool isMemory(const std::string& path);

// Makes the database `path` with what `fill` puts into it. It is there whole or not at all,
// whenever the process ends. -1005 when there is a file already, -1051 when none can be made.
void createDatabase(const std::string& path, const std::function<void(sqlite3*)>& fill);

// Opens `path` and sets the connection up: constraints checked, strings never mistaken for names,
// no changes to the file but through SQL. The file must exist (-1013) and be a database (-1026).
// One that nobody can write is read without locks.
DatabaseHandle openDatabase(const std::string& path);

}  // namespace orv::sqlite
