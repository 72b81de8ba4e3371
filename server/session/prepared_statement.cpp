#include "server/session/prepared_statement.h"

#include <algorithm>
#include <new>

#include "server/syntax/lexer.h"
#include "server/values/utf8.h"

namespace orv {

namespace {

bool converts(const CodePage& codePage, const std::string& text) {
  std::string native;
  try {
    codePage.fromUtf8(text, native);
    return true;
  } catch (const SqlError&) {
    return false;
  }
}

// An ordinary name is stored in capitals. One that the code page lacks would make a name that
// nobody can write again: -7.
void checkCapitals(const CodePage& codePage, std::string_view text) {
  const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (codePage.isUtf8() || std::all_of(text.begin(), text.end(), isAscii)) return;
  for (const Token& token : scan(text)) {
    if (token.kind != TokenKind::Word || converts(codePage, token.text)) continue;
    const std::string_view word = text.substr(token.begin, token.end - token.begin);
    for (size_t at = 0, next = 0; at < word.size(); at = next) {
      decodeUtf8(word, at, next);
      const std::string letter(word.substr(at, next - at));
      if (!converts(codePage, foldName(letter))) {
        throw SqlError(-7, {letter, std::string(word.substr(0, at))});
      }
    }
  }
}

CompilationPtr compiled(SessionState& session, std::string_view text) {
  session.lookForChanges();
  StatementCache& statements = session.statements();
  if (CompilationPtr known = statements.find(text, session.catalog())) return known;
  checkCapitals(session.codePage(), text);
  return statements.get(text, session.catalog());
}

}  // namespace

PreparedStatement::PreparedStatement(SessionState& session, std::string_view text)
    : session_(&session), compilation_(compiled(session, text)) {
  session.enroll(*this);
}

PreparedStatement::~PreparedStatement() {
  if (!session_) return;
  returnEngineStatement();
  session_->withdraw(*this);
}

SessionState& PreparedStatement::session() const {
  if (!session_) throw SqlError(-1024);
  return *session_;
}

const std::vector<OutputColumn>& PreparedStatement::columns() const {
  return kind() == StatementKind::Call ? outputs_ : compilation_->columns();
}

void PreparedStatement::start() {
  SessionState& here = session();
  close();
  // From here on others' changes wait, and what they did before is known.
  const Access access = compilation_->usage.access;
  if (access != Access::None) here.begin(access);
  if (compilation_->catalogVersion != here.catalog().version()) {
    engineStatement_.reset();
    compilation_ = here.statements().get(compilation_->text, here.catalog());
  }
  const size_t markers = markerCount();
  if (values_.size() != markers) {
    values_.resize(markers);
    storage_.resize(markers);
  }
  bound_.assign(markers, false);
  rowCount_ = 0;
  row_ = 0;
}

void PreparedStatement::bind(int marker, const ValueView& value) {
  const size_t at = static_cast<size_t>(marker);
  if (at >= values_.size()) throw SqlError(-313);
  const SqlType& type = compilation_->statement->markers[at].type;
  std::string& storage = storage_[at];
  ValueView& converted = values_[at];
  converted =
      convertValue(value, type, session().textLength(), ConversionMode::Assignment, storage);
  bound_[at] = true;
  const bool borrowed = !converted.text.empty() && converted.text.data() != storage.data();
  if (borrowed && compilation_->statement->hasResult()) {
    storage.assign(converted.text);  // a query reads it while its rows are fetched
    converted.text = storage;
  }
}

void PreparedStatement::run() {
  SessionState& here = session();
  here.rollingBackAtLocks([&] {
    if (compilation_->isPrepared()) {
      runPrepared();
    } else if (kind() == StatementKind::Call) {
      runCall();
    } else {
      here.runDirectly(*compilation_->statement);
    }
  });
}

void PreparedStatement::runPrepared() {
  for (const bool isBound : bound_) {
    if (!isBound) throw SqlError(-313);
  }
  SessionState& here = session();
  const bool query = compilation_->statement->hasResult();
  if (!query) here.protectResults(compilation_->usage);
  here.begin();
  if (!engineStatement_) leaseEngineStatement();
  try {
    for (size_t i = 0; i < values_.size(); ++i) {
      engineStatement_->bind(static_cast<int>(i), values_[i]);
    }
    if (query) {
      state_ = State::Walking;
      return;
    }
    while (engineStatement_->step()) {
    }
    rowCount_ = engineStatement_->changes();
  } catch (...) {
    engineStatement_->reset();
    throw;
  }
  engineStatement_->reset();
  countInserted();
}

void PreparedStatement::runCall() {
  SessionState& here = session();
  std::vector<std::optional<ValueView>> given(values_.size());
  for (size_t i = 0; i < values_.size(); ++i) {
    if (bound_[i]) given[i] = values_[i];
  }
  here.begin();
  CallOutputs outputs = here.routines().run(*compilation_->statement, given);
  outputs_ = std::move(outputs.columns);
  if (outputs_.empty()) return;
  rows_.push_back(std::move(outputs.values));
  state_ = State::InMemory;
}

void PreparedStatement::countInserted() {
  Compilation& compiled = *compilation_;
  if (rowCount_ == 0 || compiled.insertedTable.empty()) return;
  InsertCounts& counts = session_->insertCounts();
  if (compiled.insertGeneration != counts.generation()) {
    compiled.insertSlot = counts.slot(compiled.insertedTable);
    compiled.insertGeneration = counts.generation();
  }
  counts.add(compiled.insertSlot, rowCount_);
}

bool PreparedStatement::belongsTo(const SessionState& session) const {
  return session_ == &session;
}

bool PreparedStatement::isFor(const SessionState& session, std::string_view text) const {
  return belongsTo(session) && compilation_->isPrepared() && compilation_->text == text &&
         compilation_->catalogVersion == session_->catalog().version();
}

bool PreparedStatement::fetch() {
  session();
  if (state_ == State::Idle) throw SqlError(-501);
  if (state_ == State::Finished) return false;
  const bool found = session_->rollingBackAtLocks(
      [&] { return state_ == State::Walking ? fetchFromEngine() : fetchFromMemory(); });
  if (found) ++row_;
  return found;
}

std::string PreparedStatement::placeOf(int index) const {
  return columns()[static_cast<size_t>(index)].name + ", row " + std::to_string(row_);
}

// A failure ends the walk: stepping again would begin it anew.
bool PreparedStatement::fetchFromEngine() {
  state_ = State::Finished;
  if (!engineStatement_->step()) {
    engineStatement_->reset();
    return false;
  }
  state_ = State::Walking;
  return true;
}

bool PreparedStatement::fetchFromMemory() {
  if (rows_.empty()) {
    state_ = State::Finished;
    if (failure_) throw SqlError(*failure_);
    return false;
  }
  currentRow_ = std::move(rows_.front());
  rows_.pop_front();
  return true;
}

ValueView PreparedStatement::column(int index) {
  if (state_ == State::Walking) return engineStatement_->column(index);
  return currentRow_.at(static_cast<size_t>(index)).view();
}

void PreparedStatement::close() {
  if (state_ == State::Idle) return;
  if (state_ == State::Walking) engineStatement_->reset();
  rows_.clear();
  currentRow_.clear();
  failure_.reset();
  state_ = State::Idle;
}

void PreparedStatement::readAhead() {
  if (state_ != State::Walking) return;
  // A function that the rows call may run statements, which must not step this one as well.
  state_ = State::Finished;
  const size_t count = columns().size();
  try {
    while (engineStatement_->step()) {
      Row& row = rows_.emplace_back();
      row.reserve(count);
      for (size_t i = 0; i < count; ++i) {
        row.emplace_back(engineStatement_->column(static_cast<int>(i)));
      }
    }
  } catch (const SqlError& error) {
    failure_ = error;
  }
  engineStatement_->reset();
  state_ = State::InMemory;
}

void PreparedStatement::leaseEngineStatement() {
  auto& idle = compilation_->idle;
  if (idle.empty()) {
    engineStatement_ = session_->engine().prepare(*compilation_->statement);
    return;
  }
  engineStatement_ = std::move(idle.back());
  idle.pop_back();
}

void PreparedStatement::returnEngineStatement() {
  if (!engineStatement_) return;
  close();
  try {
    compilation_->idle.push_back(std::move(engineStatement_));
  } catch (const std::bad_alloc&) {  // then the next user prepares anew
    engineStatement_.reset();
  }
}

// The session ends: whatever belongs to its engine goes first.
void PreparedStatement::detach() {
  close();
  engineStatement_.reset();
  compilation_->idle.clear();
  session_ = nullptr;
}

}  // namespace orv
