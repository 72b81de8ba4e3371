// The host's side of the ORV server layer: what the server process itself, a SQL shell or a test
// does. A Session is one connection to one database with one unit of work. Autocommit does not
// exist: changes are pending until commit() or rollback(); closing a session rolls back.
//
// A session belongs to one thread at a time. makeCurrent() makes it the session that procedures,
// SQL/CLI null connections and embedded SQL of this thread run in.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orv/platform.h"

namespace orv {

// The outcome of one statement or call.
struct Outcome {
  int sqlcode = 0;  // 0 success, 100 no row, > 0 warning, < 0 failure
  std::string sqlstate = "00000";
  std::vector<std::string> tokens;  // what the message's text is about
  std::string message;              // "ORV0204E  ..." with tokens filled in; empty on success
  bool failed() const { return sqlcode < 0; }
};

enum class ColumnClass { Number, Text, Binary };

struct ResultColumn {
  std::string name;
  std::string typeName;  // e.g. "VARCHAR(30)", "DECIMAL(10,2)", "ORVXML.XMLCLOB"
  ColumnClass columnClass;
};

// A value as text: UTF-8 for character data (whatever the database code page), bytes for binary.
using ResultValue = std::optional<std::string>;

struct Result {
  Outcome outcome;
  std::vector<ResultColumn> columns;  // empty for statements without a result
  std::vector<std::vector<ResultValue>> rows;
  int64_t rowCount = 0;  // rows inserted, updated or deleted
};

// One argument of a procedure call. For output parameters `value` is ignored on input.
struct Argument {
  std::optional<std::string> value;  // text (UTF-8), decimal text for numbers
};

struct CallResult {
  Outcome outcome;
  std::vector<ResultValue> outputs;  // one per parameter; input parameters stay empty
  std::vector<std::string> names;    // parameter names
};

class SessionState;

class ORV_API Session {
 public:
  // Makes a new database and opens it. `url` is a path or "sqlite:PATH"; ":memory:" is a database
  // of this session alone. An existing file is refused (-1005) and left untouched. `codePage` is
  // the code page of the database: any that ICU opens by its number.
  static std::unique_ptr<Session> create(std::string_view url, int codePage, Outcome& outcome);

  // Opens an existing database, this layer's own or any SQLite file; its tables are those of the
  // default schema. Null with -1013 when there is none, -1026 when the file is no database.
  static std::unique_ptr<Session> open(std::string_view url, Outcome& outcome);

  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void makeCurrent();
  static Session* current();

  // Runs one statement (without its semicolon). `text` is UTF-8. Parameter markers may stand only
  // for the output parameters of a CALL, whose values are then the one row of the result.
  Result run(std::string_view text);
  // As `run`, but hands each row to `onRow` as it comes and keeps none; `onRow` returns false to
  // stop. `onColumns` is called once before the first row.
  Result run(std::string_view text,
             const std::function<void(const std::vector<ResultColumn>&)>& onColumns,
             const std::function<bool(std::vector<ResultValue>&)>& onRow);

  // Calls a registered procedure: one argument per parameter in order.
  CallResult call(std::string_view schema, std::string_view name,
                  const std::vector<Argument>& arguments);

  // Begins a unit of work that is going to change the database, whatever it reads before, and waits
  // for its turn: so it does not fail because others have changed the database after it has read.
  // No effect within a unit of work that has read or changed something.
  Outcome beginChange();
  Outcome commit();
  Outcome rollback();

  int codePage() const;
  const std::string& databaseName() const;

  // Rows inserted since the session opened or since the last resetInsertCounts() and not rolled
  // back, by table ("T" or "S.T"), in the order of the first insert.
  std::vector<std::pair<std::string, int64_t>> insertCounts() const;
  void resetInsertCounts();

  SessionState& state() { return *state_; }

 private:
  explicit Session(std::unique_ptr<SessionState> state);
  std::unique_ptr<SessionState> state_;
};

// Splits a script into statements at semicolons outside quotes, comments and BEGIN ATOMIC ... END.
// Each with the line (from 1) on which it starts. Empty statements are left out.
struct ScriptStatement {
  std::string text;
  int line;
};
ORV_API std::vector<ScriptStatement> splitScript(std::string_view script);

}  // namespace orv
