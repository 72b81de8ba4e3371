// Values in memory in the layouts of sqlda.h: how host variables, descriptor areas and procedure
// parameters hold them. Text there is in the code page of the database; a locator is one of the
// session. Files, which host variables alone may name, are not known here.
#pragma once

#include <cstdint>
#include <string>

#include "server/session/session_state.h"
#include "server/values/types.h"

namespace orv {

struct ValueArea {
  int16_t type;      // code of sqlda.h, even
  int64_t capacity;  // as sqllen; large objects: bytes
  char* data;
  int32_t* lobLength = nullptr;  // large objects: where the length stands; null: before the data
};

// Even code of a possibly odd one.
constexpr int16_t baseTypeCode(int16_t code) {
  return static_cast<int16_t>(code & ~1);
}

// The type code's declared length as a sqlvar gives it; 0 for large objects.
int16_t descriptorLength(const SqlType& type);
// Bytes that a value of the type takes in its layout.
int64_t layoutSize(const SqlType& type);

bool isLargeObjectCode(int16_t type);
bool isLocatorCode(int16_t type);

// What a loaded value rests on.
struct ValueStorage {
  std::string text;
  LocatorValue::Bytes shared;
};

// Reads a value that is not null. `binary`: character data is taken as bytes. Throws -311 for a
// length out of bounds, -302 (22024) for text without its terminator, -191 for text that does not
// convert, -423 for locators, -804 for a type that is not known.
ValueView loadFromArea(const ValueArea& area, bool binary, SessionState& session,
                       ValueStorage& storage);

// Bytes that the whole value has, and whether it had to be cut.
struct Stored {
  int64_t length = 0;
  bool cut = false;
};

// Writes a value that is not null. Throws -303 for types that do not go together, -304 for a number
// out of range, -433 (22001) for a large object beyond its capacity.
Stored storeInArea(const ValueArea& area, const ValueView& value, const SqlType& type,
                   SessionState& session);

// The same for character data that is in the database code page already.
Stored storeNativeInArea(const ValueArea& area, std::string_view native, SessionState& session);

}  // namespace orv
