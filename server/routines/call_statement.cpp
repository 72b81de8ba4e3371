// CALL: the arguments that are expressions evaluated, the procedure called, its outputs named.
#include "server/routines/call_procedure.h"
#include "server/routines/routine_host.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

using Mode = ParameterDefinition::Mode;

bool isBareMarker(const Expr& expr) {
  return expr.kind == ExprKind::Marker;
}

bool containsMarker(const Expr& expr) {
  if (isBareMarker(expr)) return true;
  for (const ExprPtr& argument : expr.args) {
    if (argument && containsMarker(*argument)) return true;
  }
  return false;
}

// Evaluates the arguments that are expressions: as one row of VALUES, which borrows them from the
// statement and gives them back.
class ArgumentEvaluation {
 public:
  ArgumentEvaluation(Statement& call) : call_(call) {
    values_.kind = StatementKind::Select;
    values_.query = std::make_unique<Query>();
    values_.query->kind = QueryKind::Values;
    auto& row = values_.query->rows.emplace_back();
    for (size_t i = 0; i < call.callArguments.size(); ++i) {
      ExprPtr& argument = call.callArguments[i];
      if (isBareMarker(*argument)) continue;
      if (containsMarker(*argument) || argument->query) throw SqlError(-418);
      values_.query->columns.push_back({std::to_string(i + 1), argument->type});
      positions_.push_back(i);
    }
    for (const size_t position : positions_) row.push_back(std::move(call.callArguments[position]));
  }

  ~ArgumentEvaluation() {
    for (size_t i = 0; i < positions_.size(); ++i) {
      call_.callArguments[positions_[i]] = std::move(values_.query->rows[0][i]);
    }
  }

  ArgumentEvaluation(const ArgumentEvaluation&) = delete;
  ArgumentEvaluation& operator=(const ArgumentEvaluation&) = delete;

  // Stores each value at its argument's position.
  void run(Engine& engine, std::vector<OwnedValue>& into) {
    if (positions_.empty()) return;
    const std::unique_ptr<EngineStatement> row = engine.prepare(values_);
    if (!row->step()) throw SqlError(-901, {"VALUES gave no row"});
    for (size_t i = 0; i < positions_.size(); ++i) {
      into[positions_[i]] = OwnedValue(row->column(static_cast<int>(i)));
    }
    row->reset();
  }

 private:
  Statement& call_;
  Statement values_;
  std::vector<size_t> positions_;
};

ValueView markerValue(const Expr& marker, const ParameterDefinition& parameter,
                      const std::vector<std::optional<ValueView>>& markers) {
  const auto& value = markers.at(static_cast<size_t>(marker.markerIndex));
  if (value) return *value;
  if (parameter.mode != Mode::Out) throw SqlError(-313);
  return ValueView::null();
}

}  // namespace

CallOutputs RoutineHost::run(Statement& call,
                             const std::vector<std::optional<ValueView>>& markers) {
  const Procedure procedure = *call.routine;  // the call may change the catalog
  const size_t count = procedure.parameters.size();
  if (call.callArguments.size() != count) throw SqlError(-440, {procedure.name});
  std::vector<OwnedValue> evaluated(count);
  ArgumentEvaluation(call).run(session_.engine(), evaluated);
  std::vector<ValueView> inputs;
  for (size_t i = 0; i < count; ++i) {
    const Expr& argument = *call.callArguments[i];
    inputs.push_back(isBareMarker(argument)
                         ? markerValue(argument, procedure.parameters[i], markers)
                         : evaluated[i].view());
  }
  std::vector<OwnedValue> results = callProcedure(session_, procedure, inputs);
  CallOutputs outputs;
  for (size_t i = 0; i < count; ++i) {
    const ParameterDefinition& parameter = procedure.parameters[i];
    if (parameter.mode == Mode::In) continue;
    const std::string number = std::to_string(outputs.columns.size() + 1);
    outputs.columns.push_back({parameter.name.empty() ? number : parameter.name, parameter.type});
    outputs.values.push_back(std::move(results[i]));
  }
  return outputs;
}

}  // namespace orv
