#include "input_file.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "settings.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

constexpr size_t kChunk = size_t{1} << 16;
constexpr size_t kLongestName = 255;  // bytes

[[noreturn]] void failReading(const std::string& name) {
  throw Failure(name, std::string("cannot be read: ") + std::strerror(errno));
}

[[noreturn]] void failCopying() {
  throw Failure("", std::string("cannot write a temporary file: ") + std::strerror(errno));
}

// The descriptor of the path, or -1.
int openInput(const std::string& path) {
  return path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

struct stat statusOf(int descriptor, const std::string& name) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) throw Failure(name, std::strerror(errno));
  return status;
}

void readToEnd(int descriptor, const std::string& name, std::string& content) {
  size_t used = 0;
  if (content.size() < kChunk) content.resize(kChunk);
  for (;;) {
    if (used == content.size()) content.resize(content.size() * 2);
    const ssize_t got = read(descriptor, content.data() + used, content.size() - used);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failReading(name);
    if (got == 0) break;
    used += static_cast<size_t>(got);
  }
  content.resize(used);
}

bool sameVersion(const struct stat& a, const struct stat& b) {
  return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
         a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

struct stat openedStatus(const OpenFile& file, const std::string& name) {
  if (file.get() < 0) throw Failure(name, std::strerror(errno));
  const struct stat status = statusOf(file.get(), name);
  if (S_ISDIR(status.st_mode)) throw Failure(name, "is a directory");
  return status;
}

void writeAll(int descriptor, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = write(descriptor, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) failCopying();
    content.remove_prefix(static_cast<size_t>(written));
  }
}

// The descriptor of a new file without a name, with the same content.
int copyOf(int descriptor, const std::string& name) {
  const char* folder = std::getenv("TMPDIR");
  std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/orvxml-XXXXXX";
  OpenFile copy(mkostemp(pattern.data(), O_CLOEXEC));
  if (copy.get() < 0) failCopying();
  unlink(pattern.c_str());
  std::string chunk(kChunk, '\0');
  for (;;) {
    const ssize_t got = read(descriptor, chunk.data(), chunk.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failReading(name);
    if (got == 0) return copy.release();
    writeAll(copy.get(), std::string_view(chunk).substr(0, static_cast<size_t>(got)));
  }
}

}  // namespace

std::string inputName(const std::string& path) {
  return path == "-" ? "<stdin>" : path;
}

std::string readWhole(const std::string& path) {
  const std::string name = inputName(path);
  const OpenFile file(openInput(path));
  const struct stat before = openedStatus(file, name);
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

StreamedFile::StreamedFile(const std::string& path)
    : name_(inputName(path)), file_(openInput(path)), location_(path) {
  status_ = openedStatus(file_, name_);
  const bool named = path != "-" && S_ISREG(status_.st_mode);
  if (!named) {
    file_.reset(copyOf(file_.get(), name_));
    status_ = statusOf(file_.get(), name_);
  }
  if (status_.st_size == 0) throw Failure(name_, "is empty");
  // The library takes names of a limited length in UTF-8.
  if (!named || path.size() > kLongestName || !isUtf8(path)) {
    location_ = "/proc/self/fd/" + std::to_string(file_.get());
  }
}

void StreamedFile::requireUnchanged() const {
  if (sameVersion(status_, statusOf(file_.get(), name_))) return;
  throw Failure(name_, "changed while it was read");
}

}  // namespace orvxml::command
