#include "server/session/session_state.h"

#include <algorithm>

#include "server/session/prepared_statement.h"

namespace orv {

SessionState::SessionState(std::unique_ptr<Engine> engine, std::string databaseName,
                           MakeRoutines makeRoutines)
    : routines_(makeRoutines(*this)),
      engine_(std::move(engine)),
      codePage_(engine_->catalog().codePage()),
      textLength_(engine_->catalog().codePage()),
      databaseName_(std::move(databaseName)),
      authorizationId_(engine_->catalog().defaultSchema()) {
  engine_->setFunctionHost(routines_.get());
}

SessionState::~SessionState() {
  closeStatements();
}

void SessionState::closeStatements() {
  for (PreparedStatement* statement : live_) statement->detach();
  live_.clear();
  statements_.clear();
}

void SessionState::enroll(PreparedStatement& statement) {
  live_.push_back(&statement);
}

void SessionState::withdraw(PreparedStatement& statement) {
  const auto at = std::find(live_.rbegin(), live_.rend(), &statement);
  *at = live_.back();
  live_.pop_back();
}

void SessionState::begin(Access access) {
  const bool begins = !engine_->inUnitOfWork();
  if (begins) requireUnitOfWork();
  rollingBackAtLocks([&] { engine_->begin(access); });
  if (!begins) return;
  isWorking_ = true;
  countsAtBegin_ = insertCounts_.mark();
}

void SessionState::requireUnitOfWork() {
  if (!isWorking_ || engine_->inUnitOfWork()) return;
  rollback();
  throw SqlError(-1476);
}

void SessionState::commit() {
  readAheadAll();
  requireUnitOfWork();
  rollingBackAtLocks([&] { engine_->commit(); });
  endUnitOfWork();
}

void SessionState::rollback() {
  readAheadAll();
  if (isWorking_ || engine_->inUnitOfWork()) {
    engine_->rollback();
    insertCounts_.restore(countsAtBegin_);
  }
  knownPackages_.clear();
  endUnitOfWork();
}

void SessionState::endUnitOfWork() {
  isWorking_ = false;
  locators_.clear();
  savepoints_.clear();
}

template <class Predicate>
void SessionState::readAheadWhere(Predicate disturbs) {
  using State = PreparedStatement::State;
  std::vector<PreparedStatement*> walking;
  std::ranges::copy_if(live_, std::back_inserter(walking), [&](const PreparedStatement* statement) {
    return statement->state_ == State::Walking && disturbs(*statement);
  });
  // Functions that a result calls may run statements and end others.
  for (PreparedStatement* statement : walking) {
    if (std::ranges::find(live_, statement) != live_.end()) statement->readAhead();
  }
}

void SessionState::readAheadAll() {
  readAheadWhere([](const PreparedStatement&) { return true; });
}

void SessionState::protectResults(const TableUsage& change) {
  readAheadWhere([&](const PreparedStatement& statement) {
    return statement.compilation_->usage.conflictsWith(change);
  });
}

// The user's own schema stands as an empty text.
std::vector<std::string> SessionState::withUser(std::vector<std::string> schemas) const {
  std::ranges::replace(schemas, std::string(), authorizationId_);
  return schemas;
}

void SessionState::runDirectly(const Statement& resolved) {
  switch (resolved.kind) {
    case StatementKind::Commit:
      return commit();
    case StatementKind::Rollback:
      return resolved.name.name.empty() ? rollback() : rollbackTo(resolved.name.name);
    case StatementKind::Savepoint:
      return setSavepoint(resolved.name.name, resolved.unique);
    case StatementKind::ReleaseSavepoint:
      return releaseSavepoint(resolved.name.name);
    case StatementKind::SetFunctionPath:
      statements_.clear();
      return engine_->setFunctionPath(withUser(resolved.path));
    case StatementKind::SetSchema:
      statements_.clear();
      return engine_->setDefaultSchema(withUser({resolved.name.name}).front());
    default:
      break;
  }
  readAheadAll();
  begin();
  engine_->applyDdl(resolved);
  statements_.clear();
}

std::vector<SessionState::Savepoint>::iterator SessionState::findSavepoint(
    const std::string& name) {
  const auto at = std::find_if(savepoints_.rbegin(), savepoints_.rend(),
                               [&](const Savepoint& point) { return point.name == name; });
  if (at == savepoints_.rend()) throw SqlError(-880, {name});
  return at.base() - 1;
}

void SessionState::setSavepoint(const std::string& name, bool unique) {
  const bool taken = std::any_of(savepoints_.begin(), savepoints_.end(),
                                 [&](const Savepoint& point) { return point.name == name; });
  if (unique && taken) throw SqlError(-881, {name});
  begin();
  engine_->savepoint(name);
  savepoints_.push_back({name, insertCounts_.mark()});
}

void SessionState::releaseSavepoint(const std::string& name) {
  requireUnitOfWork();
  const auto at = findSavepoint(name);
  engine_->releaseSavepoint(name);
  savepoints_.erase(at, savepoints_.end());
}

void SessionState::rollbackTo(const std::string& name) {
  requireUnitOfWork();
  const auto at = findSavepoint(name);
  readAheadAll();
  engine_->rollbackToSavepoint(name);
  insertCounts_.restore(at->counts);
  savepoints_.erase(at + 1, savepoints_.end());
  knownPackages_.clear();
}

void SessionState::requirePackage(std::string_view qualifier, std::string_view name,
                                  std::string_view token) {
  for (const Package& known : knownPackages_) {
    if (known.name == name && known.token == token && known.qualifier == qualifier) return;
  }
  begin();
  std::optional<Package> bound =
      rollingBackAtLocks([&] { return catalog().findPackage(qualifier, name); });
  if (!bound || bound->token != token) {
    const std::string qualified = std::string(qualifier) + "." + std::string(name);
    throw SqlError(-805, {qualified, std::string(token)});
  }
  knownPackages_.push_back(std::move(*bound));
}

void SessionState::bindPackage(const Package& package,
                               const std::vector<PackageSection>& sections) {
  readAheadAll();
  begin(Access::Changes);
  rollingBackAtLocks([&] { engine_->bindPackage(package, sections); });
  knownPackages_.clear();
}

}  // namespace orv
