// One call of a procedure: from a list of values to its outputs.
#pragma once

#include <vector>

#include "server/session/session_state.h"

namespace orv {

// Calls `procedure` with one value per parameter (ignored for OUT). The result has one value per
// parameter, null for IN. The procedure runs in this session and its unit of work.
std::vector<OwnedValue> callProcedure(SessionState& session, const Procedure& procedure,
                                      const std::vector<ValueView>& inputs);

}  // namespace orv
