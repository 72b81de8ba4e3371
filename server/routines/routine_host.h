// Runs the routines of one session: its procedure calls, and for its engine the calls of registered
// functions. The code runs in this process, in this session and its unit of work; what a function
// may do wrong short of destroying the process fails its statement and nothing else.
#pragma once

#include <memory>
#include <vector>

#include "server/session/routines.h"

namespace orv {

class FunctionCall;

// Calls laid out for a function that no use holds. A use in a trigger ends with the row, and the
// next row's use finds the memory of the last one ready.
class IdleCalls {
 public:
  explicit IdleCalls(SessionState& session);
  ~IdleCalls();
  IdleCalls(const IdleCalls&) = delete;
  IdleCalls& operator=(const IdleCalls&) = delete;

  // A call with a blank scratchpad. -444 when the code is not found.
  std::unique_ptr<FunctionCall> take(const Function& function);
  void keep(std::unique_ptr<FunctionCall> call) noexcept;

 private:
  SessionState& session_;
  std::vector<std::unique_ptr<FunctionCall>> calls_;
};

class RoutineHost final : public Routines {
 public:
  // The session outlives the host and every use.
  explicit RoutineHost(SessionState& session) : session_(session), idleCalls_(session) {}

  CallOutputs run(Statement& call, const std::vector<std::optional<ValueView>>& markers) override;
  // -444 when the code is not found.
  std::unique_ptr<ScalarFunctionUse> useScalar(const Function& function) override;
  std::unique_ptr<TableFunctionUse> useTable(const Function& function) override;

 private:
  SessionState& session_;
  IdleCalls idleCalls_;
};

std::unique_ptr<Routines> makeRoutineHost(SessionState& session);

}  // namespace orv
