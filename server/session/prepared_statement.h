// One user's hold on a statement: its compilation (shared by text), an engine statement of its own,
// and the open result. The order of use is start(), bind() for every marker, run(), and for a query
// fetch() and column(), then close(). It may be started again and again; when the catalog changed
// in between, it compiles itself anew.
//
// It may outlive its session: then every use gives -1024.
#pragma once

#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/session/session_state.h"
#include "server/values/owned_value.h"
#include "server/values/sql_error.h"

namespace orv {

class PreparedStatement {
 public:
  PreparedStatement(SessionState& session, std::string_view text);
  ~PreparedStatement();
  PreparedStatement(const PreparedStatement&) = delete;
  PreparedStatement& operator=(const PreparedStatement&) = delete;

  bool belongsTo(const SessionState& session) const;
  // Whether to prepare `text` in `session` would give this very statement again.
  bool isFor(const SessionState& session, std::string_view text) const;
  const Compilation& compilation() const { return *compilation_; }
  StatementKind kind() const { return compilation_->statement->kind; }
  bool hasResult() const { return !columns().empty(); }
  // Of the query, or the outputs of a procedure call.
  const std::vector<OutputColumn>& columns() const;
  size_t markerCount() const { return compilation_->markers.size(); }

  void start();
  // Converts `value` to the marker's type. Its text need only stay valid until run() returns.
  void bind(int marker, const ValueView& value);
  void run();

  bool isOpen() const { return state_ != State::Idle; }
  bool fetch();
  // Of the row that fetch() found; valid until the next call on this session.
  ValueView column(int index);
  // How messages name a column of that row: "NOTE, row 3".
  std::string placeOf(int index) const;
  void close();
  int64_t rowCount() const { return rowCount_; }

 private:
  friend class SessionState;
  enum class State : uint8_t { Idle, Walking, InMemory, Finished };
  using Row = std::vector<OwnedValue>;

  SessionState& session() const;  // throws -1024 when it is gone
  void runPrepared();
  void runCall();
  void countInserted();
  bool fetchFromEngine();
  bool fetchFromMemory();
  void leaseEngineStatement();
  void returnEngineStatement();
  void readAhead();
  void detach();

  SessionState* session_;  // null when the session is gone
  CompilationPtr compilation_;
  std::unique_ptr<EngineStatement> engineStatement_;
  State state_ = State::Idle;
  int64_t rowCount_ = 0;
  int64_t row_ = 0;                // fetched, from 1
  std::vector<ValueView> values_;  // one per marker, converted
  std::vector<bool> bound_;
  std::vector<std::string> storage_;   // one per marker
  std::vector<OutputColumn> outputs_;  // of a call
  std::list<Row> rows_;                // read ahead, or the outputs of a call
  Row currentRow_;
  std::optional<SqlError> failure_;  // that ended the reading ahead
};

}  // namespace orv
