// Calls registered functions for the engine of one session. The code runs in this process, in this
// session and its unit of work; what a function may do wrong short of destroying the process fails
// its statement and nothing else.
#pragma once

#include <memory>

#include "server/engine/engine.h"

namespace orv {

class SessionState;

class RoutineHost final : public FunctionHost {
 public:
  // The session outlives the host and every use.
  explicit RoutineHost(SessionState& session) : session_(session) {}

  // -444 when the code is not found.
  std::unique_ptr<ScalarFunctionUse> useScalar(const Function& function) override;
  std::unique_ptr<TableFunctionUse> useTable(const Function& function) override;

 private:
  SessionState& session_;
};

}  // namespace orv
