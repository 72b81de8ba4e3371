// Lets one of the calls fail by which this process changes files: a database's, its log's, any
// library's; or lets the process die there. The definitions behind this stand in front of the
// system's own. What the standard streams write does not count.
#pragma once

namespace orvxml::test {

enum class FileFault {
  Death,      // the process is killed before the change
  TornDeath,  // a write is half done then
  Failure,    // once
  FullDisk,   // from there on files do not grow any more: a write is half done, the next ones fail
};

// Arms the fault for the `countdown`-th change from here on; 0: never.
void armFile(FileFault fault, long countdown);

// Ends it. The changes since.
long disarmFile();

}  // namespace orvxml::test
