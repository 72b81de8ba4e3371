// How values come out of SQLite's arguments and go into its results. Texts are copied into results:
// what they stand in is used again by the next call.
#include "server/engine/sqlite/functions/function_support.h"

namespace orv::sqlite {

void setResult(sqlite3_context* context, const ValueView& value) {
  switch (value.kind) {
    case ValueView::Kind::Null:
      sqlite3_result_null(context);
      break;
    case ValueView::Kind::Integer:
      sqlite3_result_int64(context, value.integer);
      break;
    case ValueView::Kind::Double:
      sqlite3_result_double(context, value.number);
      break;
    case ValueView::Kind::Text:
      sqlite3_result_text64(context, value.text.empty() ? "" : value.text.data(), value.text.size(),
                            SQLITE_TRANSIENT, SQLITE_UTF8);
      break;
    case ValueView::Kind::Blob:
      sqlite3_result_blob64(context, value.text.empty() ? "" : value.text.data(), value.text.size(),
                            SQLITE_TRANSIENT);
      break;
  }
}

Environment& environmentOf(sqlite3_context* context) {
  return *static_cast<Environment*>(sqlite3_user_data(context));
}

bool anyNull(sqlite3_value** values, int count) {
  for (int i = 0; i < count; ++i) {
    if (sqlite3_value_type(values[i]) == SQLITE_NULL) return true;
  }
  return false;
}

std::string_view textArgument(sqlite3_value* value) {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
  if (!bytes) return {};
  return {bytes, static_cast<size_t>(sqlite3_value_bytes(value))};
}

void registerFunctions(sqlite3* database, Environment& environment,
                       std::span<const FunctionEntry> entries) {
  for (const FunctionEntry& entry : entries) {
    int flags = SQLITE_UTF8 | SQLITE_INNOCUOUS | SQLITE_DETERMINISTIC;
    int rc = sqlite3_create_function_v2(database, entry.name, entry.arguments, flags, &environment,
                                        entry.function, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) throw failure(database, rc);
  }
}

}  // namespace orv::sqlite
