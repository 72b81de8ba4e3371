#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "settings.h"
#include "signals.h"

namespace orvxml::command {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kForEverybody = 0666;  // less what the user's mask takes away
constexpr std::string_view kExtension = ".xml";
constexpr size_t kPending = 65536;  // bytes that are written at once

// "000001.xml"
bool isNumberedDocument(const std::string& name) {
  if (!name.ends_with(kExtension)) return false;
  const size_t digits = name.size() - kExtension.size();
  return digits >= 6 && std::all_of(name.begin(), name.begin() + static_cast<ptrdiff_t>(digits),
                                    [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : name_(path), path_(path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) throw Failure(name_, "is a directory");
  if (fs::exists(status)) {
    if (!fs::is_regular_file(status)) throw Failure(name_, "is no plain file");
    // A link stays what it is.
    path_ = fs::canonical(path, error).string();
    if (error) throw Failure(name_, error.message());
  }
  const fs::path target(path_);
  const std::string hidden =
      '.' + target.filename().string() + '.' + std::to_string(getpid()) + ".tmp";
  temporary_ = (target.parent_path() / hidden).string();
  noteUnfinishedFile(temporary_);
  descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kForEverybody);
  if (descriptor_ < 0) fail("cannot be written");
  if (fs::exists(status)) fchmod(descriptor_, static_cast<mode_t>(status.permissions()));
}

OutputFile::~OutputFile() {
  discard();
}

void OutputFile::fail(const char* what) const {
  throw Failure(name_, std::string(what) + ": " + std::strerror(errno));
}

void OutputFile::discard() {
  if (descriptor_ < 0) return;
  close(descriptor_);
  unlink(temporary_.c_str());
  noteUnfinishedFile("");
  descriptor_ = -1;
}

void OutputFile::write(std::string_view content) {
  if (pending_.size() + content.size() <= kPending) {
    pending_.append(content);
    return;
  }
  writeOut(pending_);
  pending_.clear();
  writeOut(content);
}

void OutputFile::writeOut(std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = ::write(descriptor_, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail("cannot be written");
    content.remove_prefix(static_cast<size_t>(written));
  }
}

void OutputFile::commit() {
  writeOut(pending_);
  const int closed = close(descriptor_);
  descriptor_ = -1;
  const bool done = closed == 0 && std::rename(temporary_.c_str(), path_.c_str()) == 0;
  const int reason = errno;
  noteUnfinishedFile("");
  if (done) return;
  unlink(temporary_.c_str());
  errno = reason;
  fail("cannot be written");
}

OutputFolder::OutputFolder(const std::string& path) : path_(path) {
  std::error_code error;
  made_ = fs::create_directory(path, error);
  if (error) throw Failure(path, error.message());
  noteUnfinishedFolder(path, made_, 0);
  if (made_) return;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end;
       entry.increment(error)) {
    if (isNumberedDocument(entry->path().filename().string())) {
      noteUnfinishedFolder("", false, 0);
      throw Failure(path, "holds numbered documents already");
    }
  }
  if (error) throw Failure(path, error.message());
}

void OutputFolder::keep() {
  kept_ = true;
  noteUnfinishedFolder("", false, 0);
}

OutputFolder::~OutputFolder() {
  if (kept_) return;
  std::error_code ignored;
  for (size_t number = 1; number <= written_; ++number) fs::remove(fileName(number), ignored);
  if (made_) fs::remove(path_, ignored);
  noteUnfinishedFolder("", false, 0);
}

std::string OutputFolder::fileName(size_t number) const {
  char name[32];
  std::snprintf(name, sizeof name, "%06zu.xml", number);
  return (fs::path(path_) / name).string();
}

std::unique_ptr<OutputFile> OutputFolder::next() const {
  return std::make_unique<OutputFile>(fileName(written_ + 1));
}

void OutputFolder::commit(OutputFile& file) {
  noteUnfinishedFolder(path_, made_, written_ + 1);
  file.commit();
  ++written_;
}

}  // namespace orvxml::command
