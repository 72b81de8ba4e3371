// How the subcommands that read documents tell what is wrong with one of several.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "given_mapping.h"
#include "input_file.h"
#include "local_context.h"
#include "settings.h"

namespace orvxml::command {

struct Problem {
  std::string where;  // in front of the message
  std::string message;
  std::optional<Position> position;  // in the document
};

// The failure of the last call in `context`, at its place in `document`. Without a message the
// SQLSTATE has to do.
Problem problemIn(const std::string& document, const LocalContext& context);

// Calls `work` for each document in turn; it returns a Problem, or nothing when all is well. What
// is wrong, a file that cannot be read included, is told on standard error and, with --json, as an
// object on standard output; it does not end the run. Returns kDone, or kFailed after a problem.
ExitStatus forEachDocument(const Settings& settings, const std::vector<std::string>& paths,
                           const std::function<std::optional<Problem>(StreamedFile&)>& work);

// The fields that begin the JSON object of a document, without its closing brace.
std::string jsonHead(const std::string& document, bool ok);

}  // namespace orvxml::command
