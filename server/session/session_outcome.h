// From what happened inside to the outcome that the host sees.
#pragma once

#include <exception>
#include <new>

#include "orv/session.h"
#include "server/values/sql_error.h"

namespace orv {

Outcome outcomeOf(const SqlError& error);
Outcome outcomeOf(int sqlcode, std::vector<std::string> tokens = {});

// Made beforehand, for when there is no memory to make one.
const SqlError& outOfMemory();

// Runs `action` and hands what it threw to `report` as an SqlError; nothing escapes. -954 for want
// of memory, -901 for anything unforeseen. `report` notes the failure before it does anything that
// may itself fail.
template <class Action, class Report>
void guarded(Action&& action, Report&& report) noexcept {
  try {
    try {
      action();
    } catch (const SqlError& error) {
      report(error);
    } catch (const std::bad_alloc&) {
      report(outOfMemory());
    } catch (const std::exception& error) {
      report(SqlError(-901, {error.what()}));
    }
  } catch (...) {
    try {
      report(outOfMemory());
    } catch (...) {  // the failure is noted; its text is lost for want of memory
      return;
    }
  }
}

}  // namespace orv
