// The subcommands that enable and disable databases, columns and collections. Each is one unit of
// work: committed when it succeeded, rolled back when it did not.
#pragma once

#include <string>

#include "settings.h"

namespace orvxml::command {

// Empty texts: not given.
struct EnableOptions {
  std::string table;   // as SQL writes it
  std::string schema;  // default schema of the call, as SQL writes it
  std::string name;    // column or collection
  std::string dad;     // file with the mapping
  std::string tableSpace;
  std::string tableSpace2;  // of ORVXML.XML_USAGE
  std::string view;
  std::string rootId;
};

// They throw Failure, which says that nothing was changed.
void enableDatabase(const Settings& settings, const EnableOptions& options);
void disableDatabase(const Settings& settings, const EnableOptions& options);
void enableColumn(const Settings& settings, const EnableOptions& options);
void disableColumn(const Settings& settings, const EnableOptions& options);
void enableCollection(const Settings& settings, const EnableOptions& options);
void disableCollection(const Settings& settings, const EnableOptions& options);

}  // namespace orvxml::command
