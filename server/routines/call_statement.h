// CALL: from a statement or a list of values to a procedure's outputs.
#pragma once

#include <optional>
#include <vector>

#include "server/session/session_state.h"

namespace orv {

// See Routines::run().
CallOutputs runCallStatement(SessionState& session, Statement& call,
                             const std::vector<std::optional<ValueView>>& markers);

// Calls `procedure` with one value per parameter (ignored for OUT). The result has one value per
// parameter, null for IN. The procedure runs in this session and its unit of work.
std::vector<OwnedValue> callProcedure(SessionState& session, const Procedure& procedure,
                                      const std::vector<ValueView>& inputs);

}  // namespace orv
