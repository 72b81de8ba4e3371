#include "server/session/communication_area.h"

#include <algorithm>
#include <cstring>

namespace orv {
namespace {

constexpr char kSeparator = static_cast<char>(0xFF);

void addToken(sqlca& area, std::string_view token, bool first, const CodePage* codePage) {
  const size_t used = static_cast<size_t>(area.sqlerrml);
  size_t room = sizeof area.sqlerrmc - used;
  if (!first) {
    if (room == 0) return;
    area.sqlerrmc[used] = kSeparator;
    ++area.sqlerrml;
    --room;
  }
  std::string storage;
  try {
    if (codePage) token = codePage->fromUtf8(token, storage);
  } catch (const SqlError&) {
    token = "?";  // an outcome is reported even when its token does not convert
  }
  static const CodePage kUtf8(1208);
  const size_t length = (codePage ? *codePage : kUtf8).cut(token, room);
  char* const at = area.sqlerrmc + area.sqlerrml;
  // A character of a token may have the separator's byte; it must not move the tokens behind it.
  std::replace_copy(token.data(), token.data() + length, at, kSeparator, '?');
  area.sqlerrml = static_cast<int16_t>(area.sqlerrml + static_cast<int16_t>(length));
}

}  // namespace

void resetArea(sqlca& area) {
  std::memset(&area, 0, sizeof area);
  std::memcpy(area.sqlcaid, "SQLCA   ", sizeof area.sqlcaid);
  area.sqlcabc = sizeof area;
  std::memset(area.sqlerrmc, ' ', sizeof area.sqlerrmc);
  std::memcpy(area.sqlerrp, "ORVSQL  ", sizeof area.sqlerrp);
  std::memset(area.sqlwarn, ' ', sizeof area.sqlwarn);
  std::memset(area.sqlstate, '0', sizeof area.sqlstate);
}

void fillArea(sqlca& area, int sqlcode, std::string_view sqlstate,
              const std::vector<std::string>& tokens, const CodePage* codePage) {
  area.sqlcode = sqlcode;
  std::memset(area.sqlstate, '0', sizeof area.sqlstate);
  std::memcpy(area.sqlstate, sqlstate.data(), std::min(sqlstate.size(), sizeof area.sqlstate));
  std::memset(area.sqlerrmc, ' ', sizeof area.sqlerrmc);
  area.sqlerrml = 0;
  for (size_t i = 0; i < tokens.size(); ++i) addToken(area, tokens[i], i == 0, codePage);
  if (sqlcode > 0 && sqlcode != 100) area.sqlwarn[0] = 'W';
}

void fillArea(sqlca& area, const SqlError& outcome, const CodePage* codePage) {
  fillArea(area, outcome.sqlcode(), outcome.sqlstate(), outcome.tokens(), codePage);
}

std::vector<std::string> tokensOf(const sqlca& area) {
  std::vector<std::string> tokens;
  const auto used = std::clamp<int>(area.sqlerrml, 0, sizeof area.sqlerrmc);
  std::string_view rest(area.sqlerrmc, static_cast<size_t>(used));
  while (!rest.empty()) {
    const size_t end = std::min(rest.find(kSeparator), rest.size());
    tokens.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return tokens;
}

SqlError errorFrom(const sqlca& area) {
  std::string state(area.sqlstate, sizeof area.sqlstate);
  const auto isStateCharacter = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
  };
  if (!std::all_of(state.begin(), state.end(), isStateCharacter)) state = "58004";
  std::vector<std::string> tokens = tokensOf(area);
  for (std::string& token : tokens) {
    if (!isValidUtf8(token)) token.clear();
  }
  return SqlError(area.sqlcode, state, std::move(tokens));
}

}  // namespace orv
