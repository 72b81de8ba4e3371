#include "server/clients/hostvars/large_object_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "server/values/sql_error.h"

namespace orv {
namespace {

constexpr size_t kMaxLargeObject = 0x7FFFFFFF;

[[noreturn]] void refuse(const std::string& name, const std::string& reason) {
  throw SqlError(-452, {name, reason});
}

std::string checkedName(const SqlFileReference& reference) {
  const size_t length = reference.name_length;
  if (length == 0 || length > sizeof reference.name) refuse("", "name length");
  std::string name(reference.name, length);
  if (name.find('\0') != std::string::npos) refuse("", "name");
  return name;
}

// An open regular file. Opening never waits, as it would for a named pipe.
class RegularFile {
 public:
  RegularFile(const std::string& name, int flags) : name_(name) {
    file_ = ::open(name.c_str(), flags | O_CLOEXEC | O_NONBLOCK, S_IRUSR | S_IWUSR);
    struct stat status {};
    if (file_ < 0 || ::fstat(file_, &status) != 0) fail();
    size_ = static_cast<size_t>(std::max<off_t>(status.st_size, 0));
    if (!S_ISREG(status.st_mode)) refuseAndClose("not a regular file");
  }
  ~RegularFile() { close(); }
  RegularFile(const RegularFile&) = delete;
  RegularFile& operator=(const RegularFile&) = delete;

  size_t size() const { return size_; }

  FileBytes readAll() {
    if (size_ > kMaxLargeObject) refuse(name_, "too large");
    FileBytes bytes{std::make_unique_for_overwrite<char[]>(size_)};
    while (bytes.size < size_) {
      const ssize_t count = ::read(file_, bytes.data.get() + bytes.size, size_ - bytes.size);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail();
      if (count == 0) break;
      bytes.size += static_cast<size_t>(count);
    }
    return bytes;
  }

  // Whether a byte at `offset` or later is no blank.
  bool hasText(int64_t offset) {
    std::array<char, 4096> piece;
    while (true) {
      const ssize_t count = ::pread(file_, piece.data(), piece.size(), offset);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail();
      if (count == 0) return false;
      const std::string_view bytes(piece.data(), static_cast<size_t>(count));
      if (bytes.find_first_not_of(' ') != std::string_view::npos) return true;
      offset += count;
    }
  }

  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::write(file_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail();
      bytes.remove_prefix(static_cast<size_t>(count));
    }
    const int file = file_;
    file_ = -1;
    if (::close(file) != 0) fail();
  }

 private:
  void close() {
    if (file_ >= 0) ::close(file_);
    file_ = -1;
  }

  [[noreturn]] void refuseAndClose(const std::string& reason) {
    close();
    refuse(name_, reason);
  }

  [[noreturn]] void fail() {
    const int error = errno;
    close();
    if (error == ENOSPC || error == EDQUOT) throw SqlError(-968);
    refuse(name_, std::strerror(error));
  }

  std::string name_;
  int file_ = -1;
  size_t size_ = 0;
};

RegularFile toRead(const SqlFileReference& reference) {
  const std::string name = checkedName(reference);
  if (reference.file_options != kFileRead) refuse(name, "option");
  return RegularFile(name, O_RDONLY);
}

}  // namespace

FileBytes readLargeObjectFile(const SqlFileReference& reference) {
  return toRead(reference).readAll();
}

bool reachesBeyond(const SqlFileReference& reference, int64_t limit) {
  return toRead(reference).hasText(limit);
}

void writeLargeObjectFile(SqlFileReference& reference, std::string_view bytes) {
  const std::string name = checkedName(reference);
  int flags = O_WRONLY | O_CREAT;
  if (reference.file_options == kFileCreate)
    flags |= O_EXCL;
  else if (reference.file_options == kFileOverwrite)
    flags |= O_TRUNC;
  else if (reference.file_options == kFileAppend)
    flags |= O_APPEND;
  else
    refuse(name, "option");
  RegularFile(name, flags).write(bytes);
  reference.data_length = static_cast<uint32_t>(bytes.size());
}

}  // namespace orv
