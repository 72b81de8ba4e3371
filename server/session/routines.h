// What a session needs of those who run routines for it: the procedures of its CALL statements, and
// the registered functions that its engine asks for. Whoever makes a session says who that is.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "server/engine/engine.h"
#include "server/values/owned_value.h"

namespace orv {

class SessionState;

struct CallOutputs {
  std::vector<OutputColumn> columns;  // one per OUT and INOUT parameter
  std::vector<OwnedValue> values;
};

class Routines : public FunctionHost {
 public:
  // Runs a resolved CALL. `markers` holds the value of each parameter marker, converted to its
  // type; only output parameters may do without. Arguments that are expressions are evaluated
  // first.
  virtual CallOutputs run(Statement& call,
                          const std::vector<std::optional<ValueView>>& markers) = 0;
};

using MakeRoutines = std::unique_ptr<Routines> (*)(SessionState& session);

}  // namespace orv
