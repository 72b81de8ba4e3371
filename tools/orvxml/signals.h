// What the command does about signals. One that ends it takes along what was begun and not
// finished: a file that stands under a temporary name, a folder that is being filled. The database
// sees to its own unit of work. SIGINT and SIGTERM say so; with SIGHUP and SIGPIPE nobody may be
// there to read it. A write beyond the limit on file sizes fails like one to a
// full disk, with a message.
#pragma once

#include <cstddef>
#include <string>

namespace orvxml::command {

// Call once, before anything is written. Signals that are ignored already stay so.
void handleSignals();

// The one file that is being written under a temporary name; empty: none.
void noteUnfinishedFile(const std::string& path);

// The folder that is being filled with `documents` files 000001.xml and so on; empty: none. `made`:
// it was not there before.
void noteUnfinishedFolder(const std::string& path, bool made, size_t documents);

}  // namespace orvxml::command
