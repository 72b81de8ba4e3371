// The subcommand status: what is enabled in a database.
#pragma once

#include "settings.h"

namespace orvxml::command {

// Shows whether the database is enabled, its columns with their side tables and triggers, its
// collections, and its DTDs with their use counts: as tables or as one JSON object. Throws Failure.
void showStatus(const Settings& settings);

}  // namespace orvxml::command
