#include "server/session/current_session.h"

#include "server/session/session_state.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

SessionSlotPtr& threadSlot() {
  thread_local SessionSlotPtr slot;
  return slot;
}

}  // namespace

SessionSlotPtr currentSlot() {
  return threadSlot();
}

void setCurrentSlot(SessionSlotPtr slot) {
  threadSlot() = std::move(slot);
}

SessionState& requireSession() {
  Session* session = Session::current();
  if (!session) throw SqlError(-1024);
  return session->state();
}

void Session::makeCurrent() {
  setCurrentSlot(state_->slot());
}

Session* Session::current() {
  const SessionSlotPtr& slot = threadSlot();
  return slot ? slot->session.load(std::memory_order_acquire) : nullptr;
}

}  // namespace orv
