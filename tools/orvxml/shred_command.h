// The subcommand shred: documents into rows, each document one unit of work.
#pragma once

#include <string>
#include <vector>

#include "settings.h"

namespace orvxml::command {

struct ShredOptions {
  std::string dad;  // file of the mapping; exactly one of dad and collection is given
  std::string collection;
  std::vector<std::string> documents;  // "-": standard input
  bool keepGoing = false;              // go on with the next document after a failed one
  bool verify = false;                 // compose what went in and compare
  bool strict = false;                 // take a warning, or anything not taken, for a failure
};

// Reports every document on standard output, its message and the rows by table, and throws nothing
// for a document that fails. Returns kDone, or kFailed when a document failed.
ExitStatus runShred(const Settings& settings, const ShredOptions& options);

}  // namespace orvxml::command
