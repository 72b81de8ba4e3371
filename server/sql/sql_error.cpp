#include "server/sql/sql_error.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "server/sql/message_texts.h"

namespace orv {
namespace {

constexpr std::string_view kUnknownState = "58004";
constexpr std::string_view kUnknownText = "The statement failed.  Details: \"%1\".";

std::string fillIn(std::string_view text, const std::vector<std::string>& tokens) {
  std::string filled;
  for (size_t i = 0; i < text.size(); ++i) {
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
