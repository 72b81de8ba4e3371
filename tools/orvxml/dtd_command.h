// The subcommand dtd: the DTDs registered in an enabled database, which validation uses by their
// ids.
#pragma once

#include <string>

#include "settings.h"

namespace orvxml::command {

// Registers the DTD of a file under an id that is not in use yet. Throws Failure.
void addDtd(const Settings& settings, const std::string& id, const std::string& file);
// A DTD that is used stays. Throws Failure.
void removeDtd(const Settings& settings, const std::string& id);
// Ids, the number of uses, and the length in bytes of each DTD.
void listDtds(const Settings& settings);

}  // namespace orvxml::command
