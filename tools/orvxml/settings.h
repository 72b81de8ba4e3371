// What the command line says for every subcommand, and how a subcommand ends.
#pragma once

#include <stdexcept>
#include <string>

namespace orvxml::command {

enum ExitStatus : int { kDone = 0, kFailed = 1, kWrongUse = 2 };

// What every message says when memory ran out.
inline constexpr char kOutOfMemory[] = "out of memory";

struct Settings {
  std::string database;  // path or URL; empty when neither --db nor ORVXML_DB gives one
  bool json = false;
  bool quiet = false;  // leave out everything but data, warnings and errors
};

// Ends a subcommand, or the work on one document, with a message. `where` goes in front of the
// text: a file, "file:line" or "file:line:column"; it may be empty.
class Failure : public std::runtime_error {
 public:
  Failure(std::string where, const std::string& text, ExitStatus status = kFailed)
      : std::runtime_error(text), where_(std::move(where)), status_(status) {}
  const std::string& where() const { return where_; }
  ExitStatus status() const { return status_; }

 private:
  std::string where_;
  ExitStatus status_;
};

}  // namespace orvxml::command
