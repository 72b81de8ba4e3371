#include "server/session/session_outcome.h"

namespace orv {
namespace {

const SqlError kOutOfMemory(-954);

}  // namespace

const SqlError& outOfMemory() {
  return kOutOfMemory;
}

Outcome outcomeOf(const SqlError& error) {
  return {error.sqlcode(), error.sqlstate(), error.tokens(), error.what()};
}

Outcome outcomeOf(int sqlcode, std::vector<std::string> tokens) {
  if (sqlcode == 0) return {};
  return outcomeOf(SqlError(sqlcode, std::move(tokens)));
}

}  // namespace orv
