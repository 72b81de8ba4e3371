// What every call of embedded SQL does around its work: an area for the outcome, the current
// session, the package check.
#pragma once

#include <string_view>

#include "orv/esql.h"
#include "server/session/communication_area.h"
#include "server/session/session_outcome.h"
#include "server/session/session_state.h"

namespace orv::esql {

inline constexpr std::string_view kPackageQualifier = "ORVXML";

// Notes a failure in the area, in the code page of the current session.
void report(sqlca& area, const SqlError& error) noexcept;
void reportNoRow(sqlca& area);

// Runs `action` and reports how it went.
template <class Action>
void reporting(sqlca& area, Action&& action) {
  resetArea(area);
  guarded(action, [&](const SqlError& error) { report(area, error); });
}

// Throws -805 unless the module's package is bound.
void requireBound(SessionState& session, const Module& module);

}  // namespace orv::esql
