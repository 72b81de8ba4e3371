// Message retrieval and package binding (liborvapie).
#pragma once

#include <cstdint>

#include "orv/platform.h"
#include "orv/sqlca.h"

extern "C" {

// Writes the message text for `area` into `buffer`, terminated, with its tokens filled in and
// wrapped at `lineWidth` bytes (0: one line) and with a line feed at its end; cut on a character
// boundary where `capacity` is too small. `messageFile` is kept for the interface and not read.
// Returns the bytes written without terminator; 0 when the SQLCODE is 0; -1 for a null argument.
ORV_API int sqlaintp_api(char* buffer, int16_t capacity, int16_t lineWidth, const char* messageFile,
                         const sqlca* area);

struct sqlopt_entry {
  uint32_t type;
  uint32_t value;
};
struct sqlopt_header {
  uint32_t allocated;
  uint32_t used;
};
struct sqlopt {
  sqlopt_header header;
  sqlopt_entry option[1];
};

// Binds a bind file, or every bind file of a list (a name that begins with '@' in its last path
// component), into the database of the current session: records package, consistency token and
// sections. Names in a list are relative to the list's folder, one a line or joined by '+'.
// A package that is bound already is replaced. Every file of a list is checked before the first is
// bound. Outcome in
// `area`, and returned: 0, or -4 (file not readable), -4930 (malformed bind file), -1024 (no
// session). Binding takes part in the session's unit of work.
ORV_API int sqlabndx(const char* bindFile, const char* messageFile, const sqlopt* options,
                     sqlca* area);
}
