#include "input_file.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "settings.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

constexpr size_t kPiece = size_t{1} << 18;
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

[[noreturn]] void failTooLarge(const std::string& name, size_t limit) {
  const bool gigabytes = limit >= size_t{1} << 30;
  // The largest limit is a few bytes short of its gigabytes.
  throw Failure(name, "is larger than " + std::to_string((limit + 16) >> (gigabytes ? 30 : 20)) +
                          (gigabytes ? " GB" : " MB"));
}

// Hands over the content piece by piece. Pipes and devices have no size to judge before, and a file
// may grow: the limit holds while reading.
template <class Take>
void readPieces(int descriptor, const std::string& name, size_t limit, Take take) {
  std::string piece(kPiece, '\0');
  size_t taken = 0;
  for (;;) {
    const ssize_t got = read(descriptor, piece.data(), piece.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failReading(name);
    if (got == 0) return;
    taken += static_cast<size_t>(got);
    if (taken > limit) failTooLarge(name, limit);
    take(std::string_view(piece).substr(0, static_cast<size_t>(got)));
  }
}

bool sameVersion(const struct stat& a, const struct stat& b) {
  return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
         a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

struct stat openedStatus(const OpenFile& file, const std::string& name, size_t limit) {
  if (file.get() < 0) throw Failure(name, std::strerror(errno));
  const struct stat status = statusOf(file.get(), name);
  if (S_ISDIR(status.st_mode)) throw Failure(name, "is a directory");
  if (S_ISREG(status.st_mode) && static_cast<size_t>(status.st_size) > limit) {
    failTooLarge(name, limit);
  }
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
int copyOf(int descriptor, const std::string& name, size_t limit) {
  const char* folder = std::getenv("TMPDIR");
  std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/orvxml-XXXXXX";
  OpenFile copy(mkostemp(pattern.data(), O_CLOEXEC));
  if (copy.get() < 0) failCopying();
  unlink(pattern.c_str());
  readPieces(descriptor, name, limit, [&](std::string_view piece) { writeAll(copy.get(), piece); });
  return copy.release();
}

std::string contentOf(int descriptor, const std::string& name, size_t expected, size_t limit) {
  try {
    std::string content;
    content.reserve(expected);
    readPieces(descriptor, name, limit, [&](std::string_view piece) { content += piece; });
    return content;
  } catch (const std::bad_alloc&) {
    throw Failure(name, kOutOfMemory);
  }
}

}  // namespace

std::string inputName(const std::string& path) {
  return path == "-" ? "<stdin>" : path;
}

std::string readWhole(const std::string& path, size_t limit) {
  const std::string name = inputName(path);
  const OpenFile file(openInput(path));
  const struct stat before = openedStatus(file, name, limit);
  const size_t expected = S_ISREG(before.st_mode) ? static_cast<size_t>(before.st_size) : 0;
  std::string content = contentOf(file.get(), name, expected, limit);
  if (S_ISREG(before.st_mode) && !sameVersion(before, statusOf(file.get(), name))) {
    throw Failure(name, "changed while it was read");
  }
  if (content.empty()) throw Failure(name, "is empty");
  return content;
}

StreamedFile::StreamedFile(const std::string& path, size_t limit)
    : name_(inputName(path)), file_(openInput(path)), location_(path) {
  status_ = openedStatus(file_, name_, limit);
  const bool named = path != "-" && S_ISREG(status_.st_mode);
  if (!named) {
    file_.reset(copyOf(file_.get(), name_, limit));
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
