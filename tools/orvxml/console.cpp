#include "console.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "settings.h"

namespace orvxml::command {

namespace {

constexpr std::chrono::milliseconds kRedrawInterval{100};

}  // namespace

void printMessage(std::string_view where, std::string_view text) {
  while (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  std::fflush(stdout);
  std::fprintf(stderr, "%.*s%s%.*s\n", static_cast<int>(where.size()), where.data(),
               where.empty() ? "" : ": ", static_cast<int>(text.size()), text.data());
}

void printFailure(std::string_view where, std::string_view text) {
  printMessage(where, text);
  if (text.find("ORV0805E") == std::string_view::npos) return;
  printMessage("", "the database lacks the library's packages: run orvxml bind");
}

std::string countText(int64_t count, const char* noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

void checkOutput() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return;
  throw Failure("", std::string("cannot write the output: ") + std::strerror(errno));
}

Progress::Progress(size_t total, bool wanted)
    : start_(std::chrono::steady_clock::now()),
      lastDrawn_(start_),
      total_(total),
      active_(wanted && total > 1 && isatty(STDERR_FILENO)),
      dataOnTerminal_(isatty(STDOUT_FILENO)) {}

void Progress::documentEnded(bool ok) {
  ++(ok ? done_ : failed_);
  if (active_ && std::chrono::steady_clock::now() - lastDrawn_ >= kRedrawInterval) draw();
}

void Progress::draw() {
  lastDrawn_ = std::chrono::steady_clock::now();
  const double seconds = std::chrono::duration<double>(lastDrawn_ - start_).count();
  const size_t ended = done_ + failed_;
  std::fflush(stdout);
  const int width = std::fprintf(stderr, "\r%zu/%zu documents, %zu done, %zu failed, %.0f/s", ended,
                                 total_, done_, failed_, static_cast<double>(ended) / seconds);
  for (int i = width; i < shownWidth_; ++i) std::fputc(' ', stderr);
  shownWidth_ = width;
}

void Progress::clearForData() {
  if (dataOnTerminal_) clear();
}

void Progress::clear() {
  if (shownWidth_ == 0) return;
  std::fprintf(stderr, "\r%*s\r", shownWidth_, "");
  shownWidth_ = 0;
}

}  // namespace orvxml::command
