// The subcommand extract: the values that a location path selects in documents.
#pragma once

#include <string>
#include <vector>

#include "settings.h"

namespace orvxml::command {

struct ExtractOptions {
  std::string path;                    // the location path
  bool markup = false;                 // the selected elements as they are, tags included
  bool one = false;                    // each document has exactly one value
  bool nullSeparated = false;          // values end with a NUL character, not with a newline
  std::vector<std::string> documents;  // "-": standard input
};

// Writes the values of each document to standard output. Returns kDone, or kFailed when a document
// could not be read or, with `one`, does not have exactly one value.
ExitStatus runExtract(const Settings& settings, const ExtractOptions& options);

}  // namespace orvxml::command
