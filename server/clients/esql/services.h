// What liborvapie asks of liborv.
#pragma once

#include <string>

#include "orv/platform.h"
#include "orv/sqlca.h"

namespace orv {

// The message of an area, its tokens filled in; empty for success.
ORV_API std::string messageOf(const sqlca& area);

// Binds a bind file or every file of a list into the database of the current session.
ORV_API void bindInto(const char* path, sqlca& area);

}  // namespace orv
