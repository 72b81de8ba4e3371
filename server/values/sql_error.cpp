#include "server/values/sql_error.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "server/values/message_texts.h"

namespace orv {
namespace {

constexpr std::string_view kUnknownState = "58004";
constexpr std::string_view kUnknownText = "The statement failed.  Details: \"%1\".";

// Which token the first place in `text` is for; npos when there is none.
size_t placeToken(std::string_view text) {
  const size_t at = text.find('%');
  return at + 1 < text.size() ? static_cast<size_t>(text[at + 1] - '1') : std::string_view::npos;
}

std::string fillIn(std::string_view text, const std::vector<std::string>& tokens) {
  std::string filled;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '{') {
      const size_t end = std::min(text.find('}', i), text.size() - 1);
      const std::string_view part = text.substr(i + 1, end - i - 1);
      if (placeToken(part) < tokens.size()) filled += fillIn(part, tokens);
      i = end;
      continue;
    }
    const bool place =
        text[i] == '%' && i + 1 < text.size() && text[i + 1] >= '1' && text[i + 1] <= '9';
    if (!place) {
      filled += text[i];
      continue;
    }
    const size_t token = static_cast<size_t>(text[++i] - '1');
    if (token < tokens.size()) filled += tokens[token];
  }
  return filled;
}

}  // namespace

SqlError::SqlError(int sqlcode, std::vector<std::string> tokens)
    : SqlError(sqlcode, sqlstateOf(sqlcode), std::move(tokens)) {}

SqlError::SqlError(int sqlcode, std::string_view sqlstate, std::vector<std::string> tokens)
    : sqlcode_(sqlcode),
      sqlstate_(sqlstate),
      tokens_(std::move(tokens)),
      text_(messageText(sqlcode_, sqlstate_, tokens_)) {}

SqlError atPlace(const SqlError& error, std::string place) {
  const MessageText* message = findMessage(error.sqlcode());
  const size_t open = message ? message->text.find('{') : std::string_view::npos;
  if (open == std::string_view::npos || place.empty()) return error;
  const size_t number = placeToken(message->text.substr(open));
  std::vector<std::string> tokens = error.tokens();
  if (tokens.size() > number) return error;  // it knows better
  tokens.resize(number);
  tokens.push_back(std::move(place));
  return SqlError(error.sqlcode(), error.sqlstate(), std::move(tokens));
}

std::string_view sqlstateOf(int sqlcode) {
  const MessageText* message = findMessage(sqlcode);
  return message ? message->sqlstate : kUnknownState;
}

std::string messageText(int sqlcode, std::string_view sqlstate,
                        const std::vector<std::string>& tokens) {
  const MessageText* message = findMessage(sqlcode);
  char identifier[32];
  std::snprintf(identifier, sizeof identifier, "ORV%04lld%c  ", std::llabs(sqlcode),
                sqlcode < 0 ? 'E' : 'W');
  return identifier + fillIn(message ? message->text : kUnknownText, tokens) +
         "  SQLSTATE=" + std::string(sqlstate);
}

}  // namespace orv
