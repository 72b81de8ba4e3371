// The values of host variables: in memory as a ValueArea holds them, or in a file that the variable
// names instead.
#pragma once

#include "server/clients/hostvars/large_object_file.h"
#include "server/session/value_area.h"

namespace orv {

bool isFileCode(int16_t type);

// What a loaded value rests on.
struct HostStorage : ValueStorage {
  FileBytes file;
};

// As loadFromArea(), storeInArea() and storeNativeInArea(), and -452 for files.
ValueView loadHostValue(const ValueArea& area, bool binary, SessionState& session,
                        HostStorage& storage);
Stored storeHostValue(const ValueArea& area, const ValueView& value, const SqlType& type,
                      SessionState& session);
Stored storeNativeText(const ValueArea& area, std::string_view native, SessionState& session);

// For a value that was cut: -433 when it is longer than its column was described, which a column of
// another program's table may be. Whoever took the description's word would never know.
// `length`: bytes in the database's code page.
void requireDescribedLength(const ValueView& value, size_t length, const SqlType& type);

}  // namespace orv
