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
};

// Commits at the end; rolls back at the first failure, which it throws as Failure.
void runSql(const Settings& settings, const SqlOptions& options);

}  // namespace orvxml::command
