// The inside of a session: the engine and everything that belongs to one connection above it. Its
// parts: the statement cache, the open results, the unit of work with its savepoints, the locators,
// the insert counts and the bound packages. Everything throws SqlError; the edges (session, CLI,
// embedded SQL) turn that into outcomes.
//
// Changes must not disturb a result that is being walked: before DDL, a rollback, a commit, or a
// change of a table that it reads, an open result is read ahead into memory.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "server/engine/engine.h"
#include "server/session/code_page.h"
#include "server/session/current_session.h"
#include "server/session/insert_counts.h"
#include "server/session/locator_table.h"
#include "server/session/routines.h"
#include "server/session/statement_cache.h"
#include "server/values/sql_error.h"
#include "server/values/value_conversion.h"

namespace orv {

class PreparedStatement;

class SessionState {
 public:
  SessionState(std::unique_ptr<Engine> engine, std::string databaseName, MakeRoutines makeRoutines);
  ~SessionState();
  SessionState(const SessionState&) = delete;
  SessionState& operator=(const SessionState&) = delete;

  Engine& engine() { return *engine_; }
  Routines& routines() { return *routines_; }
  Catalog& catalog() { return engine_->catalog(); }
  const CodePage& codePage() const { return codePage_; }
  const TextLength& textLength() const { return textLength_; }
  const std::string& databaseName() const { return databaseName_; }
  const std::string& authorizationId() const { return authorizationId_; }
  StatementCache& statements() { return statements_; }
  LocatorTable& locators() { return locators_; }
  InsertCounts& insertCounts() { return insertCounts_; }
  const SessionSlotPtr& slot() const { return slot_; }

  // Lets the catalog follow what other sessions have committed, as far as it may.
  void lookForChanges() { engine_->lookForChanges(); }
  // Begins a unit of work unless one is under way, for a statement that is about to do this. When
  // the engine has lost the one that was, by a failure that it could only end so, the next
  // statement or COMMIT gives -1476: what comes then is not taken for its second half.
  void begin(Access access = Access::None);
  // Runs what may meet a lock. When it fails by one, the SQLCODE -911 says that the unit of work is
  // rolled back, and so it is.
  template <class Action>
  decltype(auto) rollingBackAtLocks(Action&& action) {
    try {
      return action();
    } catch (const SqlError& error) {
      if (error.sqlcode() == kRolledBack) rollback();
      throw;
    }
  }
  void commit();
  void rollback();

  // Runs a statement that is neither prepared by the engine nor a CALL.
  void runDirectly(const Statement& resolved);

  // Reads ahead every open result that `change` would disturb.
  void protectResults(const TableUsage& change);

  // The package must be bound in the database with this token: otherwise -805.
  void requirePackage(std::string_view qualifier, std::string_view name, std::string_view token);
  void bindPackage(const Package& package, const std::vector<PackageSection>& sections);

  // Live statements, for the registrations that PreparedStatement makes.
  void enroll(PreparedStatement& statement);
  void withdraw(PreparedStatement& statement);

  int activeCalls = 0;  // routine calls under way

  // What a function first warned of in the statement under way.
  const std::optional<SqlError>& warning() const { return warning_; }
  void warn(SqlError warning) {
    if (!warning_) warning_ = std::move(warning);
  }

  // Ends every statement while functions can still be called.
  void closeStatements();

 private:
  friend class StatementWarning;
  static constexpr int kRolledBack = -911;

  struct Savepoint {
    std::string name;
    InsertCounts::Mark counts;
  };

  // Open results for which the predicate holds.
  template <class Predicate>
  void readAheadWhere(Predicate disturbs);
  void readAheadAll();
  void endUnitOfWork();
  void requireUnitOfWork();
  std::vector<std::string> withUser(std::vector<std::string> schemas) const;
  void setSavepoint(const std::string& name, bool unique);
  void releaseSavepoint(const std::string& name);
  void rollbackTo(const std::string& name);
  std::vector<Savepoint>::iterator findSavepoint(const std::string& name);

  std::unique_ptr<Routines> routines_;  // outlives the engine, which asks for functions
  std::unique_ptr<Engine> engine_;
  CodePage codePage_;
  TextLength textLength_;
  std::string databaseName_;
  std::string authorizationId_;
  StatementCache statements_;
  LocatorTable locators_;
  InsertCounts insertCounts_;
  InsertCounts::Mark countsAtBegin_;
  std::vector<Savepoint> savepoints_;
  bool isWorking_ = false;              // a unit of work has begun and was not seen to end
  std::vector<Package> knownPackages_;  // found bound in this unit of work or before
  std::vector<PreparedStatement*> live_;
  SessionSlotPtr slot_ = std::make_shared<SessionSlot>();
  std::optional<SqlError> warning_;
};

// One statement or call, which has warnings of its own: those of the statement around it are put
// aside.
class StatementWarning {
 public:
  explicit StatementWarning(SessionState& session)
      : session_(session), outer_(std::exchange(session.warning_, std::nullopt)) {}
  ~StatementWarning() { session_.warning_ = std::move(outer_); }
  StatementWarning(const StatementWarning&) = delete;
  StatementWarning& operator=(const StatementWarning&) = delete;

 private:
  SessionState& session_;
  std::optional<SqlError> outer_;
};

}  // namespace orv
