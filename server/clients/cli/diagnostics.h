// How the calls of the call-level interface report: each one clears the diagnostics of its handle,
// does its work, and turns what it throws into a record.
#pragma once

#include <string_view>

#include "server/clients/cli/handles.h"
#include "server/session/session_outcome.h"

namespace orv::cli {

// A failure of the interface itself, not of a statement.
class CliError {
 public:
  explicit CliError(const char* state) : state_(state) {}
  const char* state() const { return state_; }

 private:
  const char* state_;
};

void addRecord(Handle& handle, const SqlError& error);
// A record of the interface's own, with the text that belongs to the SQLSTATE.
void addRecord(Handle& handle, std::string_view state);

// Runs `work`, which returns the result code, on behalf of `handle`.
template <class Work>
SQLRETURN call(Handle* handle, Work&& work) noexcept {
  if (!handle) return SQL_INVALID_HANDLE;
  if (!handle->diagnostics.empty()) handle->diagnostics.clear();
  SQLRETURN result = SQL_ERROR;
  guarded(
      [&] {
        try {
          result = work();
        } catch (const CliError& error) {
          result = SQL_ERROR;
          addRecord(*handle, error.state());
        }
      },
      [&](const SqlError& error) {
        result = SQL_ERROR;
        addRecord(*handle, error);
      });
  return result;
}

}  // namespace orv::cli
