// The subcommands create, bind and trace.
#pragma once

#include <string>

#include "settings.h"

namespace orvxml::command {

// Makes a new database with the packages bound, and enables it. Nothing is left behind when that
// fails.
void createDatabase(const Settings& settings, int codePage, bool enable);
void bindDatabase(const Settings& settings);
void traceOn(const Settings& settings, const std::string& directory);
void traceOff(const Settings& settings);

}  // namespace orvxml::command
