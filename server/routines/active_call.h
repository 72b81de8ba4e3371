// A routine runs: its session is current in this thread, and the routines that call one another are
// counted.
#pragma once

#include "server/session/session_state.h"
#include "server/values/sql_error.h"

namespace orv {

class ActiveCall {
 public:
  // -724 when routines are too deep in one another. `kind` is "PROCEDURE" or "FUNCTION".
  ActiveCall(SessionState& session, const char* kind) : session_(session), scope_(session.slot()) {
    if (session.activeCalls >= kMaxDepth) throw SqlError(-724, {kind});
    ++session_.activeCalls;
  }
  ~ActiveCall() { --session_.activeCalls; }
  ActiveCall(const ActiveCall&) = delete;
  ActiveCall& operator=(const ActiveCall&) = delete;

 private:
  static constexpr int kMaxDepth = 16;
  SessionState& session_;
  CurrentSessionScope scope_;
};

}  // namespace orv
