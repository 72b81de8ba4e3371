// Which session a thread runs in. The slot outlives its session, so that whoever keeps one (a
// thread, a CLI connection) learns that the session is gone instead of using it.
#pragma once

#include <atomic>
#include <memory>

#include "orv/session.h"

namespace orv {

struct SessionSlot {
  std::atomic<Session*> session{nullptr};
};
using SessionSlotPtr = std::shared_ptr<SessionSlot>;

SessionSlotPtr currentSlot();  // null when no session was ever made current
void setCurrentSlot(SessionSlotPtr slot);

// The state of the current session; throws SqlError -1024 when there is none.
SessionState& requireSession();

// Makes a session current for a scope, such as a procedure call.
class CurrentSessionScope {
 public:
  explicit CurrentSessionScope(SessionSlotPtr slot) : previous_(currentSlot()) {
    setCurrentSlot(std::move(slot));
  }
  ~CurrentSessionScope() { setCurrentSlot(std::move(previous_)); }
  CurrentSessionScope(const CurrentSessionScope&) = delete;
  CurrentSessionScope& operator=(const CurrentSessionScope&) = delete;

 private:
  SessionSlotPtr previous_;
};

}  // namespace orv
