// The subcommand validate: documents judged by a DTD or a schema.
#pragma once

#include <string>
#include <vector>

#include "settings.h"

namespace orvxml::command {

struct ValidateOptions {
  std::string dtd;                     // a file; exactly one of dtd and schema is given
  std::string schema;                  // a file
  std::vector<std::string> documents;  // "-": standard input
};

// Tells "FILE: valid" on standard output or the first error on standard error. Returns kDone, or
// kFailed when a document is not valid or cannot be read; throws Failure.
ExitStatus runValidate(const Settings& settings, const ValidateOptions& options);

}  // namespace orvxml::command
