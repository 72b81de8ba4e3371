#include "tests/faults/file_changes.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace orvxml::test {

namespace {

FileFault armed = FileFault::Death;
long faultAt = 0;
long changes = 0;

bool isFault() {
  return ++changes == faultAt;
}

int fail(int error) {
  errno = error;
  return -1;
}

int die() {
  return ::kill(::getpid(), SIGKILL);
}

// A change other than a write.
template <class... Args>
int change(long number, Args... args) {
  if (isFault() && armed != FileFault::FullDisk) {
    return armed == FileFault::Failure ? fail(EIO) : die();
  }
  return static_cast<int>(::syscall(number, args...));
}

// Writes `size` bytes by `write(size)`.
template <class Write>
ssize_t writing(size_t size, Write write) {
  const bool fault = isFault();
  if (armed == FileFault::FullDisk && faultAt > 0 && changes > faultAt) return fail(ENOSPC);
  if (!fault) return write(size);
  if (armed == FileFault::Failure) return fail(EIO);
  const ssize_t written = armed == FileFault::Death ? 0 : write(size / 2);
  return armed == FileFault::FullDisk ? written : die();
}

}  // namespace

void armFile(FileFault fault, long countdown) {
  armed = fault;
  faultAt = countdown;
  changes = 0;
}

long disarmFile() {
  faultAt = 0;
  return changes;
}

}  // namespace orvxml::test

using orvxml::test::change;
using orvxml::test::writing;

#pragma GCC visibility push(default)
extern "C" {
ssize_t write(int fd, const void* data, size_t size) {
  return writing(size, [&](size_t part) { return ::syscall(SYS_write, fd, data, part); });
}
ssize_t pwrite64(int fd, const void* data, size_t size, off64_t offset) {
  return writing(size,
                 [&](size_t part) { return ::syscall(SYS_pwrite64, fd, data, part, offset); });
}
ssize_t pwrite(int fd, const void* data, size_t size, off_t offset) {
  return pwrite64(fd, data, size, offset);
}
int ftruncate64(int fd, off64_t size) noexcept {
  return change(SYS_ftruncate, fd, size);
}
int ftruncate(int fd, off_t size) noexcept {
  return ftruncate64(fd, size);
}
int fsync(int fd) {
  return change(SYS_fsync, fd);
}
int fdatasync(int fd) {
  return change(SYS_fdatasync, fd);
}
int unlink(const char* name) noexcept {
  return change(SYS_unlink, name);
}
int rename(const char* from, const char* to) noexcept {
  return change(SYS_rename, from, to);
}
}
#pragma GCC visibility pop
