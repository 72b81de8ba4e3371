#include "statement_values.h"

#include <algorithm>
#include <string_view>

#include "input_file.h"
#include "open_database.h"
#include "settings.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

size_t nameEnd(std::string_view text, size_t at) {
  while (at < text.size() && isNameCharacter(text[at])) ++at;
  return at;
}

struct Pair {
  std::string name, value;
};

Pair pairOf(const char* option, const std::string& argument) {
  const size_t mark = std::min(argument.find('='), argument.size());
  if (mark == 0 || mark == argument.size() || nameEnd(argument, 0) != mark) {
    throw Failure(option, "not NAME=...: " + argument, kWrongUse);
  }
  return {argument.substr(0, mark), argument.substr(mark + 1)};
}

// The end of what begins at `at` and hides colons: a quoted text or name, or a comment, which
// nests. `at` itself when nothing of that kind begins there.
size_t hiddenEnd(std::string_view text, size_t at) {
  const char c = text[at];
  if (c == '\'' || c == '"') return std::min(text.find(c, at + 1), text.size() - 1) + 1;
  if (text.substr(at, 2) == "--") return std::min(text.find('\n', at), text.size());
  if (text.substr(at, 2) != "/*") return at;
  int nesting = 0;
  do {
    const std::string_view two = text.substr(at, 2);
    nesting += two == "/*" ? 1 : two == "*/" ? -1 : 0;
    at += two == "/*" || two == "*/" ? 2 : 1;
  } while (nesting > 0 && at < text.size());
  return at;
}

}  // namespace

StatementValues::StatementValues(const std::vector<std::string>& texts,
                                 const std::vector<std::string>& files) {
  for (const std::string& argument : texts) {
    const Pair pair = pairOf("--set", argument);
    add(pair.name, plainTextAsUtf8("--set " + pair.name, pair.value));
  }
  for (const std::string& argument : files) {
    const Pair pair = pairOf("--set-file", argument);
    add(pair.name, documentAsUtf8(inputName(pair.value), readWhole(pair.value)));
  }
}

void StatementValues::add(const std::string& name, const std::string& value) {
  if (!texts_.emplace(name, sqlText(value)).second) {
    throw Failure("", "two values for " + name, kWrongUse);
  }
}

std::string StatementValues::applyTo(const std::string& statement, const std::string& where) const {
  const std::string_view text = statement;
  std::string applied;
  size_t at = 0;
  while (at < text.size()) {
    const size_t hidden = hiddenEnd(text, at);
    if (hidden > at) {
      applied += text.substr(at, hidden - at);
      at = hidden;
      continue;
    }
    const size_t end = text[at] == ':' ? nameEnd(text, at + 1) : at;
    if (end <= at + 1) {
      applied += text[at++];
      continue;
    }
    const std::string name(text.substr(at + 1, end - at - 1));
    const auto value = texts_.find(name);
    if (value == texts_.end()) {
      throw Failure(where, ":" + name + " has no value: give it with --set or --set-file",
                    kWrongUse);
    }
    applied += value->second;
    at = end;
  }
  return applied;
}

}  // namespace orvxml::command
