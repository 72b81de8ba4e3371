// Location paths as options of a subcommand.
#pragma once

#include <string>

#include "local_context.h"

namespace orvxml::command {

// Throws Failure with kWrongUse when the library does not take the location path.
void requirePath(LocalContext& context, std::string& path);

}  // namespace orvxml::command
