// A string constant of SQL.
#pragma once

#include <string>
#include <string_view>

namespace orvxml {

inline std::string literalText(std::string_view text) {
  std::string literal = "'";
  for (const char c : text) literal.append(c == '\'' ? 2 : 1, c);
  return literal + '\'';
}

}  // namespace orvxml
