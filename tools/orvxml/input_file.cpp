#include "input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "settings.h"

namespace orvxml::command {

namespace {

class OpenFile {
 public:
  explicit OpenFile(const std::string& path)
      : descriptor_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~OpenFile() {
    if (descriptor_ > STDIN_FILENO) close(descriptor_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

struct stat statusOf(int descriptor, const std::string& name) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) throw Failure(name, std::strerror(errno));
  return status;
}

void readToEnd(int descriptor, const std::string& name, std::string& content) {
  constexpr size_t kChunk = size_t{1} << 16;
  size_t used = 0;
  if (content.size() < kChunk) content.resize(kChunk);
  for (;;) {
    if (used == content.size()) content.resize(content.size() * 2);
    const ssize_t got = read(descriptor, content.data() + used, content.size() - used);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw Failure(name, std::string("cannot be read: ") + std::strerror(errno));
    if (got == 0) break;
    used += static_cast<size_t>(got);
  }
  content.resize(used);
}

bool sameVersion(const struct stat& a, const struct stat& b) {
  return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
         a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

std::string inputName(const std::string& path) {
  return path == "-" ? "<stdin>" : path;
}

std::string readWhole(const std::string& path) {
  const std::string name = inputName(path);
  const OpenFile file(path);
  if (file.get() < 0) throw Failure(name, std::strerror(errno));
  const struct stat before = statusOf(file.get(), name);
  if (S_ISDIR(before.st_mode)) throw Failure(name, "is a directory");

  std::string content;
  // One byte more than the size, so that the end of the file is seen without growing.
  if (S_ISREG(before.st_mode)) content.resize(static_cast<size_t>(before.st_size) + 1);
  readToEnd(file.get(), name, content);
  if (S_ISREG(before.st_mode) && !sameVersion(before, statusOf(file.get(), name))) {
    throw Failure(name, "changed while it was read");
  }
  if (content.empty()) throw Failure(name, "is empty");
  return content;
}

}  // namespace orvxml::command
