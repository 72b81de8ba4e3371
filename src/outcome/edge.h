// The edge of the library: where what its inside throws becomes what a signature gives, a code, an
// SQLSTATE and a message.
#pragma once

#include <type_traits>
#include <utility>

#include "src/outcome/failure.h"

namespace orvxml {

// Writes message, code and SQLSTATE of the failure where `report` wants them.
void writeFailure(const Report& report, const Failure& failure);
// The message alone.
std::string messageOf(QrkStruct* ctx, const Failure& failure);
// Writes the failure, and tells the listener what it is of and where. Returns the code.
int reportFailure(const Report& report, const Failure& failure);
// The same for the exception that is handled: memory that was wanting is QRKG002E, what nobody
// knows an internal error.
int reportCaught(const Report& report);

// Runs `work`, which throws. Returns what it returns, an int, or 0; or the code of its failure.
template <class Work>
int atEdge(const Report& report, Work&& work) {
  try {
    if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
      std::forward<Work>(work)();
      return 0;
    } else {
      return std::forward<Work>(work)();
    }
  } catch (...) {
    return reportCaught(report);
  }
}

// The same where the signature gives -1 for every failure.
template <class Work>
int statusAtEdge(const Report& report, Work&& work) {
  bool isDone = false;
  const int result = atEdge(report, [&] {
    if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
      std::forward<Work>(work)();
      isDone = true;
      return 0;
    } else {
      const int status = std::forward<Work>(work)();
      isDone = true;
      return status;
    }
  });
  return isDone ? result : -1;
}

}  // namespace orvxml
