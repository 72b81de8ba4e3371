#include "functions/stored_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "functions/documents.h"

namespace orvxml::functions {
namespace {

constexpr mode_t kReadableByAll = 0644;

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

// With a '/' at its end.
std::string folderOf(const std::string& path) {
  const size_t end = path.rfind('/') + 1;
  return end == 0 ? "./" : path.substr(0, end);
}

// A file in the folder of another one, which disappears unless it takes the other's place.
class FileBeside {
 public:
  explicit FileBeside(const std::string& path)
      : name_(folderOf(path) + ".qrkXXXXXX"),
        file_(::mkostemp(name_.data(), O_CLOEXEC)),
        isThere_(file_.isOpen()) {}
  ~FileBeside() {
    if (isThere_) ::unlink(name_.c_str());
  }
  FileBeside(const FileBeside&) = delete;
  FileBeside& operator=(const FileBeside&) = delete;

  bool isThere() const { return isThere_; }
  const std::string& name() const { return name_; }

  bool write(std::string_view content, mode_t mode) {
    if (!file_.isOpen()) return false;
    while (!content.empty()) {
      const ssize_t written = ::write(file_.get(), content.data(), content.size());
      if (written <= 0) return false;
      content.remove_prefix(static_cast<size_t>(written));
    }
    return ::fchmod(file_.get(), mode) == 0 && ::fsync(file_.get()) == 0 && file_.close();
  }
  bool takePlaceOf(const std::string& path) {
    if (::rename(name_.c_str(), path.c_str()) != 0) return false;
    isThere_ = false;
    return true;
  }

 private:
  std::string name_;
  Descriptor file_;
  bool isThere_;
};

bool isOwn(uid_t owner) {
  return owner == ::geteuid() || owner == 0;
}

// Whether a file that somebody put into a folder may be used: the caller's own, root's, or that of
// the folder's owner. Whoever else can write there may have laid a trap.
bool isTrusted(uid_t owner, const std::string& path) {
  struct stat folder {};
  return isOwn(owner) || (::stat(folderOf(path).c_str(), &folder) == 0 && owner == folder.st_uid);
}

bool isSame(const Descriptor& a, const Descriptor& b) {
  constexpr size_t kPiece = 65536;
  std::string one(kPiece, '\0'), other(kPiece, '\0');
  for (;;) {
    const ssize_t count = ::read(a.get(), one.data(), kPiece);
    if (count < 0) return false;
    ssize_t taken = 0;
    while (taken < count) {
      const ssize_t more = ::read(b.get(), other.data(), static_cast<size_t>(count - taken));
      if (more <= 0 ||
          std::memcmp(one.data() + taken, other.data(), static_cast<size_t>(more)) != 0) {
        return false;
      }
      taken += more;
    }
    if (count == 0) return ::read(b.get(), other.data(), 1) == 0;
  }
}

bool hasContentOf(const std::string& path, const std::string& other) {
  const Descriptor a(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  const Descriptor b(::open(other.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!a.isOpen() || !b.isOpen() || ::fstat(a.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
      !isTrusted(status.st_uid, path) || !isSame(a, b)) {
    return false;
  }
  // As if it had been written: readable for all.
  if (status.st_uid == ::geteuid()) ::fchmod(a.get(), kReadableByAll);
  return true;
}

// The path that a name stands for, link by link. A link that is neither the caller's nor root's is
// refused, for it leads where its owner likes; so is a file of somebody who is not trusted.
std::string trustedPath(FunctionCall& call, const char* name) {
  constexpr int kMostLinks = 40;
  std::string path = name;
  for (int links = 0; links < kMostLinks; ++links) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) return path;
    const bool isLink = S_ISLNK(status.st_mode);
    if (!(isLink ? isOwn(status.st_uid) : isTrusted(status.st_uid, path))) break;
    if (!isLink) return path;
    char target[PATH_MAX];
    const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
    if (length <= 0) break;
    path = *target == '/' ? "" : folderOf(path);
    path.append(target, static_cast<size_t>(length));
  }
  call.failFile(name);
}

// A file in one of the folders for temporary files: those of the library, but the next one where
// one cannot be written.
std::unique_ptr<FileBeside> temporaryFile() {
  const char* const folders[] = {std::getenv("ORVQRKTEMP"), std::getenv("TMPDIR"), "/tmp"};
  for (const char* const folder : folders) {
    if (!folder || !*folder) continue;
    auto file = std::make_unique<FileBeside>(folder + std::string("/"));
    if (file->isThere()) return file;
  }
  return nullptr;
}

// In a folder that is not the caller's to write the file may have the content, or be writable.
void putInPlace(FunctionCall& call, const char* name, const std::string& path,
                const std::function<int(const char*)>& write) {
  if (const std::unique_ptr<FileBeside> copy = temporaryFile()) {
    call.check(write(copy->name().c_str()));
    if (hasContentOf(path, copy->name())) return;
  }
  if (::access(path.c_str(), W_OK) != 0) call.failFile(name);
  call.check(write(path.c_str()));
}

}  // namespace

std::string readFile(FunctionCall& call, const char* name, size_t limit, Msg tooLarge) {
  struct stat status;
  if (::stat(name, &status) != 0) call.fail(Msg::QRKC001E);
  requirePlainFile(call, name);
  const auto size = static_cast<size_t>(status.st_size);
  if (size > limit) call.fail(tooLarge);
  const Descriptor file(::open(name, O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) call.fail(Msg::QRKC000E);
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

void putFile(FunctionCall& call, const char* name, const std::function<int(const char*)>& write) {
  requirePlainFile(call, name);
  const std::string path = trustedPath(call, name);
  FileBeside fresh(path);
  if (!fresh.isThere()) return putInPlace(call, name, path, write);
  call.check(write(fresh.name().c_str()));
  if (hasContentOf(path, fresh.name()) || fresh.takePlaceOf(path)) return;
  call.failFile(name);
}

}  // namespace orvxml::functions
