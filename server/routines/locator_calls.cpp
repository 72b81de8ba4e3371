// The locator calls of user-defined functions, on the session that the function runs in. Bytes are
// in the code page of the database.
#include <algorithm>
#include <limits>

#include "orv/sqlda.h"
#include "orv/sqludf.h"
#include "server/session/session_outcome.h"
#include "server/session/session_state.h"
#include "server/values/double_bytes.h"

namespace {

using orv::LocatorKind;
using orv::LocatorValue;
using orv::SessionState;
using orv::SqlError;

template <class Work>
int answering(Work&& work) {
  int code = 0;
  orv::guarded([&] { work(orv::requireSession()); },
               [&](const SqlError& error) { code = error.sqlcode(); });
  return code;
}

LocatorValue& valueOf(SessionState& session, const sqludf_locator* locator) {
  if (!locator) throw SqlError(-423, {"null"});
  return session.locators().find(*locator);
}

LocatorKind kindOf(int type) {
  switch (type) {
    case orv::kSqlClob:
      return LocatorKind::Clob;
    case orv::kSqlBlob:
      return LocatorKind::Blob;
    case orv::kSqlDbclob:
      return LocatorKind::DbClob;
    default:
      throw SqlError(-804, {"type"});
  }
}

}  // namespace

int sqludf_length(const sqludf_locator* locator, int32_t* length) {
  return answering([&](SessionState& session) {
    if (!length) throw SqlError(-804, {"length"});
    *length = 0;
    *length = static_cast<int32_t>(valueOf(session, locator).nativeView(session.codePage()).size());
  });
}

// What lies beyond the end of the value is not returned.
int sqludf_substr(const sqludf_locator* locator, int32_t start, int32_t length,
                  unsigned char* buffer, int32_t* returned) {
  return answering([&](SessionState& session) {
    if (!buffer || !returned) throw SqlError(-804, {"buffer"});
    *returned = 0;
    if (start < 1 || length < 0) throw SqlError(-138);
    LocatorValue& value = valueOf(session, locator);
    const std::string_view bytes = value.nativeView(session.codePage());
    const size_t from = std::min(static_cast<size_t>(start - 1), bytes.size());
    const size_t count = std::min(static_cast<size_t>(length), bytes.size() - from);
    char* const to = reinterpret_cast<char*>(buffer);
    if (value.kind() == LocatorKind::DbClob) {
      orv::copyTurned(bytes, from, count, to);
    } else {
      bytes.copy(to, count, from);
    }
    *returned = static_cast<int32_t>(count);
  });
}

int sqludf_append(const sqludf_locator* locator, const unsigned char* data, int32_t length,
                  int32_t* appended) {
  return answering([&](SessionState& session) {
    if (appended) *appended = 0;
    if (length < 0 || (length > 0 && !data)) throw SqlError(-804, {"data"});
    LocatorValue& value = valueOf(session, locator);
    const bool units = value.kind() == LocatorKind::DbClob;
    if (units && length % 2 != 0) throw SqlError(-804, {"length"});
    const size_t size = value.nativeView(session.codePage()).size();
    if (size + static_cast<size_t>(length) > std::numeric_limits<int32_t>::max()) {
      throw SqlError(-433, {std::to_string(size) + " bytes"});
    }
    const std::string_view piece(reinterpret_cast<const char*>(data), static_cast<size_t>(length));
    if (units) {
      std::string turned(piece);
      orv::turnUnits(turned.data(), turned.size());
      value.append(turned, session.codePage());
    } else if (!piece.empty()) {
      value.append(piece, session.codePage());
    }
    if (appended) *appended = length;
  });
}

int sqludf_create_locator(int type, sqludf_locator** locator) {
  return answering([&](SessionState& session) {
    if (!locator) throw SqlError(-804, {"locator"});
    *locator = nullptr;
    const int32_t number = session.locators().add(LocatorValue(kindOf(type)));
    *locator = session.locators().address(number);
  });
}

int sqludf_free_locator(const sqludf_locator* locator) {
  return answering([&](SessionState& session) {
    if (!locator) throw SqlError(-423, {"null"});
    session.locators().free(*locator);
  });
}
