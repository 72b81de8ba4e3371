// Files that the command reads, either whole and once, or by the library as a stream. A file that
// changes meanwhile is refused.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace orvxml::command {

// "<stdin>" for "-", else the path itself: how messages name an input.
std::string inputName(const std::string& path);

// The bytes of a file; "-" is standard input. Throws Failure when it is missing, a directory,
// unreadable, empty, or changes while it is read.
std::string readWhole(const std::string& path);

// An open descriptor; standard input is left open.
class OpenFile {
 public:
  explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
  ~OpenFile() { reset(-1); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  int get() const { return descriptor_; }
  void reset(int descriptor) {
    if (descriptor_ > STDIN_FILENO) close(descriptor_);
    descriptor_ = descriptor;
  }
  // From here on the caller closes it.
  int release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_;
};

// A file that the library opens by name and reads as a stream, in the encoding that it declares.
// Standard input, and whatever else can be read only once, is copied into a temporary file, which
// has no name of its own and so never stays behind.
class StreamedFile {
 public:
  // "-" is standard input. Throws Failure as readWhole does.
  explicit StreamedFile(const std::string& path);
  const std::string& name() const { return name_; }  // in messages
  // The name for the library, in UTF-8; good as long as this object lives.
  char* location() { return location_.data(); }
  const std::string& location() const { return location_; }
  // After reading: throws Failure when the file is no longer what it was.
  void requireUnchanged() const;

 private:
  std::string name_;
  OpenFile file_;
  struct stat status_ {};
  std::string location_;
};

}  // namespace orvxml::command
