#include "server/clients/cli/diagnostics.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace orv::cli {
namespace {

constexpr SQLINTEGER kOwnError = -99999;

struct StateText {
  std::string_view state;
  std::string_view text;
};

constexpr std::array kStates{
    StateText{"01004", "The value was cut to fit its variable."},
    StateText{"07001", "The number of variables is not the number of parameter markers."},
    StateText{"07002", "A parameter marker is not bound."},
    StateText{"07005", "The statement has no result."},
    StateText{"07009", "There is no such parameter or column."},
    StateText{"08001", "Only the session of the running procedure can be connected to."},
    StateText{"08002", "The connection is in use."},
    StateText{"08003", "The connection is not open."},
    StateText{"22002", "The value is null and the column has no indicator."},
    StateText{"24000", "The cursor is in the wrong state for this call."},
    StateText{"HY001", "There is not enough memory."},
    StateText{"HY003", "The type of the variable is not known."},
    StateText{"HY004", "The SQL type is not known."},
    StateText{"HY009", "A null pointer is not allowed here."},
    StateText{"HY010", "The calls came in an order that is not allowed."},
    StateText{"HY014", "There are no more handles."},
    StateText{"HY024", "The value of the option is not allowed."},
    StateText{"HY090", "A length is negative or too large."},
    StateText{"HY092", "The option or handle type is not known."},
    StateText{"HY105", "Only input parameters can be bound."},
    StateText{"HYC00", "The option is not supported."},
};

std::string_view textOf(std::string_view state) {
  const auto at = std::find_if(kStates.begin(), kStates.end(),
                               [&](const StateText& entry) { return entry.state == state; });
  return at == kStates.end() ? std::string_view() : at->text;
}

// The code page in which the handle's texts go out; null for UTF-8.
const CodePage* codePageOf(const Handle& handle) {
  const Connection* connection = nullptr;
  if (handle.type == SQL_HANDLE_DBC) connection = static_cast<const Connection*>(&handle);
  if (handle.type == SQL_HANDLE_STMT) {
    connection = &static_cast<const StatementHandle&>(handle).connection;
  }
  if (!connection || !connection->slot) return nullptr;
  Session* const session = connection->slot->session.load(std::memory_order_acquire);
  return session ? &session->state().codePage() : nullptr;
}

SQLRETURN copyText(const Handle& handle, const DiagnosticRecord& record, SQLCHAR* text,
                   SQLSMALLINT capacity, SQLSMALLINT* length) {
  static const CodePage kUtf8(1208);
  const CodePage* codePage = codePageOf(handle);
  std::string storage;
  std::string_view native = record.text;
  if (codePage) native = codePage->fromUtf8(record.text, storage);
  if (length) *length = static_cast<SQLSMALLINT>(std::min<size_t>(native.size(), 0x7FFF));
  if (!text || capacity == 0) return SQL_SUCCESS;
  const size_t room = static_cast<size_t>(capacity) - 1;
  const size_t fitting = (codePage ? *codePage : kUtf8).cut(native, room);
  std::memcpy(text, native.data(), fitting);
  text[fitting] = 0;
  return fitting < native.size() ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

}  // namespace

void addRecord(Handle& handle, const SqlError& error) {
  handle.diagnostics.push_back({error.sqlstate(), error.sqlcode(), error.what()});
}

void addRecord(Handle& handle, std::string_view state) {
  std::string text = "ORVCLI  " + std::string(textOf(state)) + "  SQLSTATE=" + std::string(state);
  const bool warning = state.starts_with("01");
  handle.diagnostics.push_back({std::string(state), warning ? 0 : kOwnError, std::move(text)});
}

}  // namespace orv::cli

using namespace orv::cli;

SQLRETURN SQLGetDiagRec(SQLSMALLINT type, SQLHANDLE number, SQLSMALLINT record, SQLCHAR* state,
                        SQLINTEGER* nativeError, SQLCHAR* text, SQLSMALLINT textCapacity,
                        SQLSMALLINT* textLength) {
  const Handle* const handle = findHandle(number);
  if (!handle || handle->type != type) return SQL_INVALID_HANDLE;
  if (record < 1 || textCapacity < 0) return SQL_ERROR;
  if (static_cast<size_t>(record) > handle->diagnostics.size()) return SQL_NO_DATA;
  const DiagnosticRecord& found = handle->diagnostics[static_cast<size_t>(record) - 1];
  if (state) {
    std::memset(state, 0, 6);
    found.state.copy(reinterpret_cast<char*>(state), 5);
  }
  if (nativeError) *nativeError = found.nativeError;
  SQLRETURN result = SQL_ERROR;
  orv::guarded([&] { result = copyText(*handle, found, text, textCapacity, textLength); },
               [](const orv::SqlError&) {});
  return result;
}
