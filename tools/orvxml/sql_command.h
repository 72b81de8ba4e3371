// The subcommand sql: runs statements in one unit of work and shows their results.
#pragma once

#include <string>
#include <vector>

#include "settings.h"

namespace orvxml::command {

struct SqlOptions {
  std::vector<std::string> statements;  // each may hold several, separated by semicolons
  std::string file;                     // "-": standard input; empty and no statements: the same
  bool csv = false;
  // What ":NAME" stands for: "NAME=TEXT", and "NAME=FILE" for the text of a file.
  std::vector<std::string> texts, textFiles;
};

// Commits at the end; rolls back at the first failure, which it throws as Failure. A CALL whose
// output parameter RETURNCODE is negative is one.
void runSql(const Settings& settings, const SqlOptions& options);

}  // namespace orvxml::command
