// The host's interface: a thin cover of SessionState that turns failures into outcomes.
#include "orv/session.h"

#include <malloc.h>

#include <exception>

#include "server/routines/call_procedure.h"
#include "server/routines/routine_host.h"
#include "server/session/prepared_statement.h"
#include "server/session/session_outcome.h"
#include "server/session/session_state.h"

namespace orv {
namespace {

// "sample" for "sqlite:/data/sample.db".
std::string nameFromUrl(std::string_view url) {
  std::string_view name = url;
  if (const size_t slash = name.find_last_of('/'); slash != std::string_view::npos) {
    name.remove_prefix(slash + 1);
  } else if (const size_t scheme = name.find(':'); scheme != std::string_view::npos && scheme > 0) {
    name.remove_prefix(scheme + 1);
  }
  if (const size_t dot = name.find_last_of('.'); dot != std::string_view::npos && dot > 0) {
    name = name.substr(0, dot);
  }
  if (name == ":memory:") return "MEMORY";
  return std::string(name);
}

// The process of a server keeps what memory a large document took for the next one: giving it back
// to the system and taking it anew costs more than storing the document.
void keepFreedMemory() {
  constexpr int kLargestBlock = 32 << 20;
  constexpr int kLargestRest = 64 << 20;
  static const bool isSet =
      mallopt(M_MMAP_THRESHOLD, kLargestBlock) && mallopt(M_TRIM_THRESHOLD, kLargestRest);
  (void)isSet;
}

std::unique_ptr<SessionState> openState(std::string_view url, const EngineOptions& options) {
  keepFreedMemory();
  return std::make_unique<SessionState>(openEngine(url, options), nameFromUrl(url),
                                        makeRoutineHost);
}

// Runs `action`, and says in `outcome` how it went.
template <class Action>
void into(Outcome& outcome, Action&& action) {
  outcome = {};
  guarded(action, [&](const SqlError& error) {
    outcome.sqlcode = error.sqlcode();
    outcome = outcomeOf(error);
  });
}

ColumnClass columnClass(TypeKind kind) {
  if (isNumeric(kind)) return ColumnClass::Number;
  return isBinary(kind) ? ColumnClass::Binary : ColumnClass::Text;
}

std::vector<ResultColumn> describeResult(const std::vector<OutputColumn>& columns) {
  std::vector<ResultColumn> result;
  result.reserve(columns.size());
  for (const OutputColumn& column : columns) {
    result.push_back({column.name, typeText(column.type), columnClass(column.type.kind)});
  }
  return result;
}

ResultValue resultValue(const ValueView& value, const SqlType& type) {
  if (value.kind == ValueView::Kind::Null) return std::nullopt;
  if (value.kind == ValueView::Kind::Blob && isBinary(type.kind)) return std::string(value.text);
  std::string storage;
  return std::string(valueText(value, type, storage));
}

using OnColumns = std::function<void(const std::vector<ResultColumn>&)>;
using OnRow = std::function<bool(std::vector<ResultValue>&)>;

// Hands the rows over; false when there was none.
bool deliver(PreparedStatement& statement, const OnRow& onRow) {
  const std::vector<OutputColumn>& columns = statement.columns();
  bool any = false;
  std::vector<ResultValue> row;
  while (statement.fetch()) {
    any = true;
    row.clear();
    for (size_t i = 0; i < columns.size(); ++i) {
      row.push_back(resultValue(statement.column(static_cast<int>(i)), columns[i].type));
    }
    if (!onRow(row)) break;
  }
  statement.close();
  return any;
}

}  // namespace

Session::Session(std::unique_ptr<SessionState> state) : state_(std::move(state)) {
  state_->slot()->session.store(this, std::memory_order_release);
}

Session::~Session() {
  state_->closeStatements();
  state_->slot()->session.store(nullptr, std::memory_order_release);
}

std::unique_ptr<Session> Session::create(std::string_view url, int codePage, Outcome& outcome) {
  std::unique_ptr<Session> session;
  into(outcome, [&] {
    CodePage checked(codePage);
    EngineOptions options;
    options.create = true;
    options.codePage = codePage;
    session.reset(new Session(openState(url, options)));
  });
  return session;
}

std::unique_ptr<Session> Session::open(std::string_view url, Outcome& outcome) {
  std::unique_ptr<Session> session;
  into(outcome, [&] { session.reset(new Session(openState(url, EngineOptions{}))); });
  return session;
}

Result Session::run(std::string_view text) {
  std::vector<ResultColumn> columns;
  std::vector<std::vector<ResultValue>> rows;
  Result result = run(
      text, [&](const std::vector<ResultColumn>& described) { columns = described; },
      [&](std::vector<ResultValue>& row) {
        rows.push_back(std::move(row));
        return true;
      });
  result.columns = std::move(columns);
  if (!result.outcome.failed()) result.rows = std::move(rows);
  return result;
}

Result Session::run(std::string_view text, const OnColumns& onColumns, const OnRow& onRow) {
  Result result;
  std::exception_ptr fromHost;
  const auto host = [&](auto&& call) {
    try {
      return call();
    } catch (...) {
      fromHost = std::current_exception();
      throw;
    }
  };
  into(result.outcome, [&] {
    CurrentSessionScope scope(state_->slot());
    const StatementWarning warnings(*state_);
    PreparedStatement statement(*state_, text);
    statement.start();
    statement.run();
    if (statement.hasResult()) {
      result.columns = describeResult(statement.columns());
      if (onColumns) host([&] { onColumns(result.columns); });
      const auto row = [&](std::vector<ResultValue>& values) {
        return !onRow || host([&] { return onRow(values); });
      };
      if (!deliver(statement, row)) result.outcome = outcomeOf(100);
    } else {
      result.rowCount = statement.rowCount();
      if (changesRows(statement.kind()) && result.rowCount == 0) result.outcome = outcomeOf(100);
    }
    const std::optional<SqlError>& warning = state_->warning();
    if (warning && result.outcome.sqlcode == 0) result.outcome = outcomeOf(*warning);
  });
  if (fromHost) std::rethrow_exception(fromHost);
  return result;
}

CallResult Session::call(std::string_view schema, std::string_view name,
                         const std::vector<Argument>& arguments) {
  CallResult result;
  into(result.outcome, [&] {
    CurrentSessionScope scope(state_->slot());
    state_->begin();
    const Procedure* found = state_->catalog().findProcedure(schema, name, arguments.size());
    if (!found) throw SqlError(-440, {std::string(name)});
    std::vector<ValueView> values;
    for (size_t i = 0; i < arguments.size(); ++i) {
      const std::optional<std::string>& value = arguments[i].value;
      const bool binary = isBinary(found->parameters[i].type.kind);
      if (!value)
        values.push_back(ValueView::null());
      else
        values.push_back(binary ? ValueView::ofBlob(*value) : ValueView::ofText(*value));
    }
    const Procedure procedure = *found;
    const std::vector<OwnedValue> outputs = callProcedure(*state_, procedure, values);
    for (size_t i = 0; i < outputs.size(); ++i) {
      const ParameterDefinition& parameter = procedure.parameters[i];
      result.names.push_back(parameter.name);
      result.outputs.push_back(resultValue(outputs[i].view(), parameter.type));
    }
  });
  return result;
}

Outcome Session::beginChange() {
  Outcome outcome;
  into(outcome, [&] { state_->begin(Access::Changes); });
  return outcome;
}

Outcome Session::commit() {
  Outcome outcome;
  into(outcome, [&] { state_->commit(); });
  return outcome;
}

Outcome Session::rollback() {
  Outcome outcome;
  into(outcome, [&] { state_->rollback(); });
  return outcome;
}

int Session::codePage() const {
  return state_->codePage().number();
}

const std::string& Session::databaseName() const {
  return state_->databaseName();
}

std::vector<std::pair<std::string, int64_t>> Session::insertCounts() const {
  return state_->insertCounts().all();
}

void Session::resetInsertCounts() {
  state_->insertCounts().reset();
}

}  // namespace orv
