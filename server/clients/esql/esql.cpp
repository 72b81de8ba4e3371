// Embedded SQL: static sections, dynamic statements, cursors, locators.
#include "orv/esql.h"

#include <cstring>
#include <optional>

#include "server/clients/esql/large_object_query.h"
#include "server/clients/esql/runtime.h"
#include "server/clients/esql/variables.h"
#include "server/session/prepared_statement.h"
#include "server/session/session_state.h"

namespace orv::esql {
namespace {

std::string_view sectionText(const Module& module, std::string_view name) {
  for (const Section& section : module.sections) {
    if (name == section.name) return section.text;
  }
  throw SqlError(-805, {std::string(module.package) + "." + std::string(name)});
}

void begin(PreparedStatement& statement, const BoundVariables& input, SessionState& session) {
  std::vector<HostStorage> storage;
  statement.start();
  bindInput(statement, input, session, storage);
  statement.run();
}

void fetchOnlyRow(PreparedStatement& statement, const BoundVariables& output, SessionState& session,
                  sqlca& area) {
  if (!statement.fetch()) {
    statement.close();
    return reportNoRow(area);
  }
  storeRow(statement, output, session, area);
  area.sqlerrd[2] = 1;
  const bool more = statement.fetch();
  statement.close();
  if (more) throw SqlError(-811);
}

void runOnce(PreparedStatement& statement, const BoundVariables& input,
             const BoundVariables& output, SessionState& session, sqlca& area) {
  if (const auto answer = LargeObjectAnswer::find(statement.compilation(), input, session)) {
    if (answer->store(output, session)) noteCut(area);
    return;
  }
  begin(statement, input, session);
  if (statement.hasResult()) return fetchOnlyRow(statement, output, session, area);
  area.sqlerrd[2] = static_cast<int32_t>(statement.rowCount());
  if (changesRows(statement.kind()) && statement.rowCount() == 0) reportNoRow(area);
}

}  // namespace

void report(sqlca& area, const SqlError& error) noexcept {
  area.sqlcode = error.sqlcode();
  Session* const session = Session::current();
  fillArea(area, error, session ? &session->state().codePage() : nullptr);
}

void reportNoRow(sqlca& area) {
  report(area, SqlError(100));
}

void requireBound(SessionState& session, const Module& module) {
  session.requirePackage(kPackageQualifier, module.package, module.token);
}

void execute(const Module& module, std::string_view name, Variables input, Variables output,
             sqlca& area) {
  reporting(area, [&] {
    SessionState& session = requireSession();
    requireBound(session, module);
    PreparedStatement statement(session, sectionText(module, name));
    runOnce(statement, fromVariables(input), fromVariables(output), session, area);
  });
}

void executeImmediate(const Module& module, std::string_view native, sqlca& area) {
  reporting(area, [&] {
    SessionState& session = requireSession();
    requireBound(session, module);
    std::string storage;
    PreparedStatement statement(session, session.codePage().toUtf8(native, storage));
    if (statement.compilation().statement->hasResult()) throw SqlError(-84);
    runOnce(statement, {}, {}, session, area);
  });
}

// ------------------------------------------------------------------ dynamic statements

class StatementState {
 public:
  explicit StatementState(const Module& owner) : module(owner) {}

  const Module module;
  std::unique_ptr<PreparedStatement> prepared;
};

namespace {

// The statement prepared in the current session; `otherwise` when there is none.
PreparedStatement& preparedHere(const std::shared_ptr<StatementState>& state, SessionState& session,
                                int otherwise) {
  requireBound(session, state->module);
  if (!state->prepared || !state->prepared->belongsTo(session)) throw SqlError(otherwise);
  return *state->prepared;
}

void executePrepared(const std::shared_ptr<StatementState>& state, const BoundVariables& input,
                     sqlca& area) {
  SessionState& session = requireSession();
  PreparedStatement& statement = preparedHere(state, session, -518);
  if (statement.compilation().statement->hasResult()) throw SqlError(-518);
  runOnce(statement, input, {}, session, area);
}

}  // namespace

Statement::Statement(const Module& module) : state_(std::make_shared<StatementState>(module)) {}
Statement::~Statement() = default;

void Statement::prepare(std::string_view native, sqlca& area) {
  reporting(area, [&] {
    SessionState& session = requireSession();
    requireBound(session, state_->module);
    std::string storage;
    const std::string_view text = session.codePage().toUtf8(native, storage);
    if (state_->prepared && state_->prepared->isFor(session, text)) return;
    state_->prepared.reset();
    state_->prepared = std::make_unique<PreparedStatement>(session, text);
  });
}

void Statement::describe(sqlda* descriptor, sqlca& area) {
  reporting(area, [&] {
    const PreparedStatement& statement = preparedHere(state_, requireSession(), -516);
    const std::vector<OutputColumn>& columns = statement.compilation().columns();
    const int warning = describeColumns(columns, descriptor);
    if (warning == 0) return;
    report(area,
           SqlError(warning, {std::to_string(descriptor->sqln), std::to_string(columns.size())}));
  });
}

void Statement::execute(Variables input, sqlca& area) {
  reporting(area, [&] { executePrepared(state_, fromVariables(input), area); });
}

void Statement::execute(const sqlda* input, sqlca& area) {
  reporting(area, [&] { executePrepared(state_, fromDescriptor(input), area); });
}

// ------------------------------------------------------------------ cursors

class CursorState {
 public:
  CursorState(const Module& owner, std::string_view section) : module_(owner), section_(section) {}
  explicit CursorState(std::shared_ptr<StatementState> statement)
      : module_(statement->module), statement_(std::move(statement)) {}

  void open(const BoundVariables& input) {
    if (isOpen()) throw SqlError(-502);
    SessionState& session = requireSession();
    requireBound(session, module_);
    query_ = std::make_unique<PreparedStatement>(session, text(session));
    if (!query_->compilation().statement->hasResult()) {
      query_.reset();
      throw SqlError(-517);
    }
    answer_ = LargeObjectAnswer::find(query_->compilation(), input, session);
    open_ = true;
    delivered_ = false;
    if (answer_) return;
    try {
      begin(*query_, input, session);
    } catch (...) {
      open_ = false;
      throw;
    }
  }

  void fetch(const BoundVariables& output, sqlca& area) {
    SessionState& session = requireSession();
    if (!isOpen() || !query_->belongsTo(session)) throw SqlError(-501);
    if (answer_) return fetchAnswer(output, session, area);
    if (!query_->fetch()) return reportNoRow(area);
    storeRow(*query_, output, session, area);
    area.sqlerrd[2] = 1;
  }

  void close() {
    if (!isOpen()) throw SqlError(-501);
    open_ = false;
    answer_.reset();
    query_->close();
  }

 private:
  bool isOpen() const { return open_; }

  std::string text(SessionState& session) const {
    if (!statement_) return std::string(sectionText(module_, section_));
    return preparedHere(statement_, session, -514).compilation().text;
  }

  void fetchAnswer(const BoundVariables& output, SessionState& session, sqlca& area) {
    if (delivered_) return reportNoRow(area);
    if (answer_->store(output, session)) noteCut(area);
    delivered_ = true;
    area.sqlerrd[2] = 1;
  }

  const Module module_;
  const std::string section_;
  const std::shared_ptr<StatementState> statement_;  // null for a static section
  std::unique_ptr<PreparedStatement> query_;
  std::optional<LargeObjectAnswer> answer_;  // instead of a walk over the query
  bool open_ = false;
  bool delivered_ = false;  // the answer has been fetched
};

Cursor::Cursor(const Module& module, std::string_view section)
    : state_(std::make_unique<CursorState>(module, section)) {}
Cursor::Cursor(Statement& statement) : state_(std::make_unique<CursorState>(statement.state_)) {}
Cursor::~Cursor() = default;

void Cursor::open(Variables input, sqlca& area) {
  reporting(area, [&] { state_->open(fromVariables(input)); });
}

void Cursor::fetch(Variables output, sqlca& area) {
  reporting(area, [&] { state_->fetch(fromVariables(output), area); });
}

void Cursor::fetch(sqlda* output, sqlca& area) {
  reporting(area, [&] { state_->fetch(fromDescriptor(output), area); });
}

void Cursor::close(sqlca& area) {
  reporting(area, [&] { state_->close(); });
}

void freeLocator(int32_t locator, sqlca& area) {
  reporting(area, [&] { requireSession().locators().free(locator); });
}

}  // namespace orv::esql
