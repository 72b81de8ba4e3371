// What went wrong inside, before it is known in which form the caller wants to hear of it.
#pragma once

#include <new>

#include "orvxml/context.h"

namespace orvxml {

struct Problem {
  // Msg{}: none. Its text has no argument, or the number alone.
  Msg message = Msg{};
  int detail = 0;

  explicit operator bool() const { return message != Msg{}; }
};

// 0, or -1 with the message.
inline int reported(const Report& report, const Problem& problem) {
  return problem ? failed(report, problem.message, problem.detail) : 0;
}

// The same with the message's index in place of its text.
inline int indexed(QrkStruct* ctx, const Problem& problem, char* sqlState, int* msgIndex) {
  if (!problem) return 0;
  *msgIndex = static_cast<int>(problem.message);
  return failed(Report{.ctx = ctx, .sqlState = sqlState}, problem.message);
}

// Work that may run out of memory, at the border of the library.
template <class Work>
Problem attempt(Work&& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return {Msg::QRKG002E};
  }
}
template <class Work>
int guarded(const Report& report, Work&& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return failed(report, Msg::QRKG002E);
  }
}

}  // namespace orvxml
