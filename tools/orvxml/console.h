// What the command says on standard error: messages, notes and, on a terminal, a progress line.
// Standard output carries data alone and is written by whoever has the data.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orvxml::command {

// "where: text", or the text alone. A final newline of the text is dropped.
void printMessage(std::string_view where, std::string_view text);

// The same for a failure that came from the library, with a word of help where there is one.
void printFailure(std::string_view where, std::string_view text);

// "1 row", "2 rows".
std::string countText(int64_t count, const char* noun);

// Throws Failure when standard output did not take all that was written to it.
void checkOutput();

// The progress of a run over several documents: "12/5000 documents, 11 done, 1 failed, 350/s",
// rewritten in place and gone at the end. Nothing at all off a terminal or with one document.
class Progress {
 public:
  Progress(size_t total, bool wanted);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void documentEnded(bool ok);
  // Takes the line away before a message.
  void clear();
  // The same before data, where standard output shares the terminal.
  void clearForData();

 private:
  void draw();
  std::chrono::steady_clock::time_point start_, lastDrawn_;
  size_t total_;
  size_t done_ = 0;
  size_t failed_ = 0;
  int shownWidth_ = 0;
  bool active_;
  bool dataOnTerminal_;
};

}  // namespace orvxml::command
