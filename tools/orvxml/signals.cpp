#include "signals.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <string_view>

namespace orvxml::command {

namespace {

constexpr size_t kDigits = 20;
constexpr size_t kFewestDigits = 6;
constexpr std::string_view kExtension = ".xml";

// A handler reads them whenever it is called: a path counts only while it is whole.
struct Path {
  std::atomic<bool> whole = false;
  char text[PATH_MAX] = "";

  void set(const std::string& path) {
    whole = false;
    if (path.empty() || path.size() >= sizeof text) return;
    std::memcpy(text, path.c_str(), path.size() + 1);
    whole = true;
  }
};

Path unfinishedFile;
Path unfinishedFolder;
std::atomic<bool> folderWasMade = false;
std::atomic<size_t> documentCount = 0;

static_assert(std::atomic<size_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

void say(std::string_view text) {
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

// "FOLDER/000001.xml", by hand: a handler may call next to nothing.
void removeDocument(size_t number) {
  char path[PATH_MAX + kDigits + 8];
  const size_t length = std::strlen(unfinishedFolder.text);
  std::memcpy(path, unfinishedFolder.text, length);
  char* at = path + length;
  *at++ = '/';
  char digits[kDigits];
  size_t count = 0;
  for (; number > 0 || count < kFewestDigits; number /= 10) {
    digits[count++] = static_cast<char>('0' + number % 10);
  }
  while (count > 0) *at++ = digits[--count];
  std::memcpy(at, kExtension.data(), kExtension.size());
  at[kExtension.size()] = '\0';
  unlink(path);
}

void removeUnfinished() {
  if (unfinishedFile.whole) unlink(unfinishedFile.text);
  if (!unfinishedFolder.whole) return;
  for (size_t number = 1; number <= documentCount; ++number) removeDocument(number);
  if (folderWasMade) rmdir(unfinishedFolder.text);
}

// The handler is reset by now: the signal that is raised again ends the process when this returns.
void endBySignal(int number) {
  removeUnfinished();
  if (number == SIGINT) say("\norvxml: interrupted: what was not finished is undone\n");
  if (number == SIGTERM) say("orvxml: terminated: what was not finished is undone\n");
  raise(number);
}

}  // namespace

void handleSignals() {
  signal(SIGXFSZ, SIG_IGN);
  struct sigaction action {};
  action.sa_handler = endBySignal;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    struct sigaction before {};
    const bool ignored = sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
    if (!ignored) sigaction(number, &action, nullptr);
  }
}

void noteUnfinishedFile(const std::string& path) {
  unfinishedFile.set(path);
}

void noteUnfinishedFolder(const std::string& path, bool made, size_t documents) {
  // While documents are added the folder stays what it is.
  const bool same = !path.empty() && unfinishedFolder.whole && path == unfinishedFolder.text;
  if (!same) unfinishedFolder.whole = false;
  folderWasMade = made;
  documentCount = documents;
  if (!same) unfinishedFolder.set(path);
}

}  // namespace orvxml::command
