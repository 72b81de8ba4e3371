// Files that the command reads, either whole and once, or by the library as a stream. A file that
// changes meanwhile is refused, and so is one beyond its limit: before anything of it is read where
// its size is known, else as soon as more has come from a pipe or a device.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <string>
#include <utility>

namespace orvxml::command {

// Bytes of documents and scripts, and of mappings, DTDs and schemas.
inline constexpr size_t kLargestInput = 0x7FFFFFF0;
inline constexpr size_t kLargestMapping = size_t{16} << 20;

// "<stdin>" for "-", else the path itself: how messages name an input.
std::string inputName(const std::string& path);

// The bytes of a file; "-" is standard input. Throws Failure when it is missing, a directory,
// unreadable, empty, larger than `limit` bytes or than memory, or changes while it is read.
std::string readWhole(const std::string& path, size_t limit = kLargestInput);

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
  explicit StreamedFile(const std::string& path, size_t limit = kLargestInput);
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
