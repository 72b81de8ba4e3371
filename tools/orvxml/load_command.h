// `orvxml load`: puts files as documents into a column, each as a row of its own.
#pragma once

#include <string>
#include <vector>

#include "settings.h"

namespace orvxml::command {

struct LoadOptions {
  std::string table, column;       // as SQL writes them
  std::vector<std::string> files;  // "-" is standard input
  // Other columns of the row. "COLUMN=TEXT": the same text in each row; "COLUMN=PATH": the value
  // that a location path selects in the document; "COLUMN=FIRST": consecutive numbers.
  std::vector<std::string> texts, paths;
  std::string number;
  std::string nameColumn;  // takes the file's name, without its folder
  bool keepGoing = false;
  bool allOrNothing = false;
};

// Returns kFailed when a document was refused; throws Failure for what concerns all of them.
ExitStatus runLoad(const Settings& settings, const LoadOptions& options);

}  // namespace orvxml::command
