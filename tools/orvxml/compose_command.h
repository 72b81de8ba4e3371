// The subcommand compose: rows into documents.
#pragma once

#include <optional>
#include <string>

#include "settings.h"

namespace orvxml::command {

struct ComposeOptions {
  std::string dad;  // file of the mapping; exactly one of dad and collection is given
  std::string collection;
  std::optional<std::string> overrideSql, overrideXml;  // one at most
  int maxRows = 0;                                      // 0: no limit

  bool keepGoing = false;  // leave out documents that a value makes impossible

  // Where the documents go; without any the first one goes to standard output.
  std::string output;     // a file for the first one, or for all that are wrapped
  std::string wrap;       // an element for all of them, in the file or on standard output
  std::string outputDir;  // a folder for all of them
  std::string into;       // a table for all of them
  std::string column, validColumn;
};

// Reports on standard error. Returns kDone, or kFailed when nothing was composed or something was
// left out; throws Failure.
ExitStatus runCompose(const Settings& settings, const ComposeOptions& options);

}  // namespace orvxml::command
