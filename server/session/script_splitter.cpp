// Splits a script at the semicolons that end statements. What hides a semicolon: a '...' or "..."
// with its doubled quotes, a comment from -- to the end of the line or between /* and */ (these
// nest), and the body of a trigger, from BEGIN ATOMIC to its END; CASE ... END inside a body
// counts.
#include <cctype>

#include "orv/session.h"

namespace orv {
namespace {

bool isWordCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return std::isalnum(byte) || c == '_' || c == '$' || c == '#' || c == '@' || byte >= 0x80;
}

class ScriptSplitter {
 public:
  explicit ScriptSplitter(std::string_view script) : script_(script) {}

  std::vector<ScriptStatement> split() {
    while (at_ < script_.size()) step();
    finish();
    return std::move(statements_);
  }

 private:
  void step() {
    const char c = script_[at_];
    if (c == '\'' || c == '"') {
      begin();
      skipQuoted(c);
    } else if (script_.substr(at_, 2) == "--") {
      while (at_ < script_.size() && script_[at_] != '\n') ++at_;
    } else if (script_.substr(at_, 2) == "/*") {
      skipComment();
    } else if (c == ';' && depth_ == 0) {
      finish();
      ++at_;
    } else if (isWordCharacter(c)) {
      begin();
      word();
    } else {
      if (!std::isspace(static_cast<unsigned char>(c))) begin();
      advance(1);
    }
  }

  // The statement starts with the first character that is neither blank nor comment.
  void begin() {
    if (started_) return;
    started_ = true;
    start_ = at_;
    startLine_ = line_;
  }

  void finish() {
    if (started_) {
      std::string_view text = script_.substr(start_, at_ - start_);
      while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
        text.remove_suffix(1);
      }
      statements_.push_back({std::string(text), startLine_});
    }
    started_ = false;
    depth_ = 0;
    afterBegin_ = false;
  }

  void advance(size_t count) {
    for (const size_t end = std::min(at_ + count, script_.size()); at_ < end; ++at_) {
      if (script_[at_] == '\n') ++line_;
    }
  }

  void skipQuoted(char quote) {
    advance(1);
    while (at_ < script_.size() && script_[at_] != quote) advance(1);
    advance(1);
  }

  // One that does not end belongs to a statement, which fails.
  void skipComment() {
    const size_t start = at_;
    const int startLine = line_;
    int nesting = 0;
    do {
      if (script_.substr(at_, 2) == "/*") {
        ++nesting;
        advance(2);
      } else if (script_.substr(at_, 2) == "*/") {
        --nesting;
        advance(2);
      } else {
        advance(1);
      }
    } while (nesting > 0 && at_ < script_.size());
    if (nesting == 0 || started_) return;
    started_ = true;
    start_ = start;
    startLine_ = startLine;
  }

  void word() {
    std::string text;
    while (at_ < script_.size() && isWordCharacter(script_[at_])) {
      text += static_cast<char>(std::toupper(static_cast<unsigned char>(script_[at_++])));
    }
    if (depth_ == 0) {
      if (afterBegin_ && text == "ATOMIC") depth_ = 1;
    } else if (text == "CASE") {
      ++depth_;
    } else if (text == "END") {
      --depth_;
    }
    afterBegin_ = text == "BEGIN";
  }

  std::string_view script_;
  size_t at_ = 0;
  int line_ = 1;
  bool started_ = false;
  size_t start_ = 0;
  int startLine_ = 1;
  int depth_ = 0;            // open BEGIN ATOMIC and CASE
  bool afterBegin_ = false;  // the last word was BEGIN
  std::vector<ScriptStatement> statements_;
};

}  // namespace

std::vector<ScriptStatement> splitScript(std::string_view script) {
  return ScriptSplitter(script).split();
}

}  // namespace orv
