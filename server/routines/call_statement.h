// CALL: from a statement or a list of values to a procedure's outputs.
#pragma once

#include <optional>
#include <vector>

#include "server/session/session_state.h"
#include "server/values/owned_value.h"

namespace orv {

struct CallOutputs {
  std::vector<OutputColumn> columns;  // one per OUT and INOUT parameter
  std::vector<OwnedValue> values;
};

// Runs a resolved CALL. `markers` holds the value of each parameter marker, converted to its type;
// only output parameters may do without. Arguments that are expressions are evaluated first.
CallOutputs runCallStatement(SessionState& session, Statement& call,
                             const std::vector<std::optional<ValueView>>& markers);

// Calls `procedure` with one value per parameter (ignored for OUT). The result has one value per
// parameter, null for IN. The procedure runs in this session and its unit of work.
std::vector<OwnedValue> callProcedure(SessionState& session, const Procedure& procedure,
                                      const std::vector<ValueView>& inputs);

}  // namespace orv
