// The trace line about a call that throws: what the call came to, as a code.
#pragma once

#include <type_traits>

#include "orvxml/trace.h"
#include "src/outcome/failure.h"

namespace orvxml {

// Runs `work` and returns what it returns. The one argument of `format` is a long: 0, or the code
// of the failure, which goes on.
template <class Work>
auto traced(QrkStruct* ctx, const char* format, Work&& work,
            const char* function = __builtin_FUNCTION()) {
  const auto trace = [&](int code) {
    if (!tracing(ctx)) return;
    qrkDebugPrintFunction(ctx, "%s:\t\t", function);
    qrkDebugPrintFunction(ctx, format, static_cast<long>(code));
    qrkDebugPrintFunction(ctx, "\n");
  };
  try {
    if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
      work();
      trace(0);
    } else {
      auto result = work();
      trace(0);
      return result;
    }
  } catch (const Failure& failure) {
    trace(failure.code());
    throw;
  }
}

}  // namespace orvxml
