// What the sources of our SQL functions share: reading arguments, and the barrier that turns what
// is thrown inside a function into its failure.
#pragma once

#include <new>
#include <optional>
#include <span>
#include <string_view>

#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/engine/sqlite/functions/decimal.h"
#include "server/engine/sqlite/functions/engine_functions.h"

namespace orv::sqlite {

using FunctionBody = void (*)(sqlite3_context*, int, sqlite3_value**);

template <FunctionBody body>
void guarded(sqlite3_context* context, int count, sqlite3_value** values) {
  try {
    body(context, count, values);
  } catch (const SqlError& error) {
    reportFailure(context, error);
  } catch (const std::bad_alloc&) {
    reportNoMemory(context);
  }
}

// All functions are deterministic.
struct FunctionEntry {
  const char* name;
  int arguments;  // -1: any number
  FunctionBody function;
};

void registerFunctions(sqlite3* database, Environment& environment,
                       std::span<const FunctionEntry> entries);

Environment& environmentOf(sqlite3_context* context);
bool anyNull(sqlite3_value** values, int count);
// The argument as text, whatever its kind; empty for NULL.
std::string_view textArgument(sqlite3_value* value);
// The argument as an exact number; -802 when it has more digits than arithmetic takes.
Decimal decimalArgument(sqlite3_value* value);

}  // namespace orv::sqlite
