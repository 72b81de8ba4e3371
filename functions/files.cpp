#include "functions/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "functions/documents.h"

namespace orvxml::functions {
namespace {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  bool isOpen() const { return fd_ >= 0; }
  bool close() {
    const bool closed = fd_ >= 0 && ::close(fd_) == 0;
    fd_ = -1;
    return closed;
  }

 private:
  int fd_;
};

// Disappears unless it takes the place of another file.
class FileBeside {
 public:
  explicit FileBeside(const std::string& path)
      : name_(path.substr(0, path.rfind('/') + 1) + ".qrkXXXXXX"),
        file_(::mkostemp(name_.data(), O_CLOEXEC)) {}
  ~FileBeside() {
    if (file_.isOpen() || isComplete_) ::unlink(name_.c_str());
  }
  FileBeside(const FileBeside&) = delete;
  FileBeside& operator=(const FileBeside&) = delete;

  bool write(std::string_view content, mode_t mode) {
    if (!file_.isOpen()) return false;
    while (!content.empty()) {
      const ssize_t written = ::write(file_.get(), content.data(), content.size());
      if (written <= 0) return false;
      content.remove_prefix(static_cast<size_t>(written));
    }
    if (::fchmod(file_.get(), mode) != 0 || ::fsync(file_.get()) != 0) return false;
    isComplete_ = true;
    return file_.close();
  }
  bool takePlaceOf(const std::string& path) {
    if (::rename(name_.c_str(), path.c_str()) != 0) return false;
    isComplete_ = false;
    return true;
  }

 private:
  std::string name_;
  Descriptor file_;
  bool isComplete_ = false;  // and lies beside the other file still
};

}  // namespace

std::string readFile(FunctionCall& call, const char* name, size_t limit, Msg tooLarge) {
  struct stat status;
  if (::stat(name, &status) != 0) call.fail(Msg::QRKC001E);
  requirePlainFile(call, name);
  Descriptor file(::open(name, O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) call.fail(Msg::QRKC000E);
  const auto size = static_cast<size_t>(status.st_size);
  if (size > limit) call.fail(tooLarge);
  std::string content(size, '\0');
  size_t taken = 0;
  while (taken < size) {
    const ssize_t count = ::read(file.get(), content.data() + taken, size - taken);
    if (count <= 0) call.fail(Msg::QRKC002E);
    taken += static_cast<size_t>(count);
  }
  return content;
}

void replaceFile(FunctionCall& call, const char* name, std::string_view content) {
  char path[PATH_MAX];
  struct stat status;
  if (!::realpath(name, path) || ::stat(path, &status) != 0) call.fail(Msg::QRKC001E);
  FileBeside replacement(path);
  if (!replacement.write(content, status.st_mode & 07777) || !replacement.takePlaceOf(path)) {
    call.fail(Msg::QRKC003E);
  }
}

}  // namespace orvxml::functions
