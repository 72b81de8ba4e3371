// Finding the code of a routine: 'library!entry' of its external name.
#pragma once

#include <string>

namespace orv {

// The address of `entry` in library `name`: lib<name>.so.1 or lib<name>.so in the folder of the
// server layer itself, else where the loader looks. Libraries stay loaded. -444 with the routine's
// name and what was not found; a library name must be plain (letters, digits, _ and -).
void* findRoutineEntry(const std::string& library, const std::string& entry,
                       const std::string& routine);

}  // namespace orv
