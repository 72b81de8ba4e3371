// Values in memory in the layouts of sqlda.h: how host variables, descriptor areas and procedure
// parameters hold them. Text there is in the code page of the database.
#pragma once

#include <cstdint>
#include <string>

#include "server/clients/hostvars/large_object_file.h"
#include "server/engine/engine.h"
#include "server/session/session_state.h"
#include "server/values/types.h"

namespace orv {

struct HostArea {
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
int64_t hostSize(const SqlType& type);

bool isLargeObjectCode(int16_t type);
bool isLocatorCode(int16_t type);
bool isFileCode(int16_t type);

// What a loaded value rests on.
struct HostStorage {
  std::string text;
  LocatorValue::Bytes shared;
  FileBytes file;
};

// Reads a value that is not null. `binary`: character data is taken as bytes. Throws -311 for a
// length out of bounds, -302 (22024) for text without its terminator, -191 for text that does not
// convert, -423 and -452 for locators and files, -804 for a type that is not known.
ValueView loadHostValue(const HostArea& area, bool binary, SessionState& session,
                        HostStorage& storage);

// Bytes that the whole value has, and whether it had to be cut.
struct Stored {
  int64_t length = 0;
  bool cut = false;
};

// Writes a value that is not null. Throws -303 for types that do not go together, -304 for a number
// out of range, -433 (22001) for a large object beyond its capacity.
Stored storeHostValue(const HostArea& area, const ValueView& value, const SqlType& type,
                      SessionState& session);

// The same for character data that is in the database code page already.
Stored storeNativeText(const HostArea& area, std::string_view native, SessionState& session);

// For a value that was cut: -433 when it is longer than its column was described, which a column of
// another program's table may be. Whoever took the description's word would never know.
// `length`: bytes in the database's code page.
void requireDescribedLength(const ValueView& value, size_t length, const SqlType& type);

}  // namespace orv
