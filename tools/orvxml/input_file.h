// Files that the command reads. A file is read whole, once; one that changes meanwhile is refused.
#pragma once

#include <string>

namespace orvxml::command {

// "<stdin>" for "-", else the path itself: how messages name an input.
std::string inputName(const std::string& path);

// The bytes of a file; "-" is standard input. Throws Failure when it is missing, a directory,
// unreadable, empty, or changes while it is read.
std::string readWhole(const std::string& path);

}  // namespace orvxml::command
