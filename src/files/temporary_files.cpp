// Temporary files: where they go, what they are called, and how they are made. A name is free when
// it is given out; the file is then created exclusively, so that nobody can slip another one in.
// TMPDIR stays as it is, for the environment belongs to the whole process.
#include "src/files/temporary_files.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "orvxml/buffer.h"
#include "orvxml/trace.h"

namespace orvxml {
namespace {

constexpr const char* kDefaultDirectory = "/tmp";
constexpr const char* kDirectoryVariable = "ORVQRKTEMP";
constexpr const char* kSystemVariable = "TMPDIR";
constexpr std::string_view kPrefix = "qrk";
constexpr std::string_view kSuffixCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
constexpr size_t kSuffixLength = 6;
constexpr int kAttempts = 100;
constexpr mode_t kOwnerOnly = 0600;

bool isDirectory(const char* name) {
  struct stat status;
  return ::stat(name, &status) == 0 && S_ISDIR(status.st_mode);
}

// The directory of the call's own setting wins over TMPDIR only where both were set when the call
// began; TMPDIR wins over the default; a directory that does not exist never counts.
std::string_view temporaryDirectory(const QrkStruct* ctx) {
  const char* own = ctx ? ctx->tempDir : nullptr;
  const bool ownWins = own && ctx->savedTmpdirEnv;
  const char* system = ownWins ? nullptr : std::getenv(kSystemVariable);
  std::string_view chosen = kDefaultDirectory;
  if (system && isDirectory(system)) {
    chosen = system;
  } else if (own && isDirectory(own)) {
    chosen = own;
  }
  while (chosen.size() > 1 && chosen.back() == '/') chosen.remove_suffix(1);
  return chosen;
}

bool isFree(const char* name) {
  struct stat status;
  return ::lstat(name, &status) != 0 && errno == ENOENT;
}

bool fillSuffix(char* suffix) {
  uint64_t random;
  if (::getrandom(&random, sizeof random, 0) != static_cast<ssize_t>(sizeof random)) return false;
  for (size_t i = 0; i < kSuffixLength; ++i) {
    suffix[i] = kSuffixCharacters[random % kSuffixCharacters.size()];
    random /= kSuffixCharacters.size();
  }
  return true;
}

char* duplicate(std::string_view prefix, const char* value) {
  const size_t length = std::strlen(value);
  auto* copy = static_cast<char*>(std::malloc(prefix.size() + length + 1));
  if (!copy) return nullptr;
  std::memcpy(copy, prefix.data(), prefix.size());
  std::memcpy(copy + prefix.size(), value, length + 1);
  return copy;
}

// Keeps a copy of the variable's value in `kept`, unless it has one. False out of memory.
bool keepVariable(char*& kept, std::string_view prefix, const char* variable) {
  const char* value = kept ? nullptr : std::getenv(variable);
  if (!value) return true;
  kept = duplicate(prefix, value);
  return kept != nullptr;
}

FILE* createExclusively(const char* name, const char* mode) {
  const int append = *mode == 'a' ? O_APPEND : 0;
  const int fd = ::open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | append, kOwnerOnly);
  if (fd < 0) return nullptr;
  FILE* stream = ::fdopen(fd, mode);
  if (!stream) {
    ::close(fd);
    std::remove(name);
  }
  return stream;
}

}  // namespace

int qrkGetTmpDir(QrkStruct* ctx) {
  const bool kept = keepVariable(ctx->savedTmpdirEnv, "TMPDIR=", kSystemVariable) &&
                    keepVariable(ctx->tempDir, "", kDirectoryVariable);
  return kept ? 0 : codeOf(Msg::QRKG002E);
}

char* qrk_tempFilename(QrkStruct* ctx) {
  const std::string_view directory = temporaryDirectory(ctx);
  const size_t stem = directory.size() + 1 + kPrefix.size();
  auto* name = static_cast<char*>(std::malloc(stem + kSuffixLength + 1));
  if (!name) return nullptr;
  std::memcpy(name, directory.data(), directory.size());
  name[directory.size()] = '/';
  std::memcpy(name + directory.size() + 1, kPrefix.data(), kPrefix.size());
  name[stem + kSuffixLength] = 0;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!fillSuffix(name + stem)) break;
    if (isFree(name)) return name;
  }
  QRK_TRACE(ctx, "tempnam failed. errno=%d", errno);
  std::free(name);
  return nullptr;
}

TemporaryFile createTemporaryFile(QrkStruct* ctx, const char* mode, bool& nameless) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    char* name = qrk_tempFilename(ctx);
    nameless = name == nullptr;
    if (nameless) return {};
    if (FILE* stream = createExclusively(name, mode)) return {name, stream};
    const bool taken = errno == EEXIST;
    std::free(name);
    if (!taken) return {};
  }
  return {};
}

}  // namespace orvxml
