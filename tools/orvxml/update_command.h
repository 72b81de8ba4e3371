// The subcommand update: a document with the text or the attribute that a location path selects
// replaced.
#pragma once

#include <optional>
#include <string>

#include "settings.h"

namespace orvxml::command {

struct UpdateOptions {
  std::string path;  // the location path
  std::optional<std::string> value;
  std::string document;  // "-": standard input
  std::string output;    // a file, which may be the document's; empty: standard output
};

// Returns kDone, or kFailed after a document that cannot be read; throws Failure.
ExitStatus runUpdate(const Settings& settings, const UpdateOptions& options);

}  // namespace orvxml::command
