// Failures as text.
#pragma once

#include <string>
#include <type_traits>
#include <utility>

#include "server/values/sql_error.h"

namespace orv {

// "-803 23505 token,token"
inline std::string failureText(const SqlError& error) {
  std::string shown = std::to_string(error.sqlcode()) + " " + error.sqlstate();
  std::string separator = " ";
  for (const std::string& token : error.tokens()) shown += std::exchange(separator, ",") + token;
  return shown;
}

// The text that `action` gives, "ok" when it gives none, or that of its failure.
template <class Action>
std::string outcomeOf(const Action& action) {
  try {
    if constexpr (std::is_void_v<decltype(action())>) {
      action();
      return "ok";
    } else {
      return std::string(action());
    }
  } catch (const SqlError& error) {
    return failureText(error);
  }
}

}  // namespace orv
