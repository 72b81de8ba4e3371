// Texts between quotation marks in SQL.
#pragma once

#include <string>
#include <string_view>

namespace orvxml {

// `text` between two marks, those in it doubled.
template <class Char>
std::basic_string<Char> quotedBy(Char mark, std::basic_string_view<Char> text) {
  std::basic_string<Char> quoted(1, mark);
  for (const Char c : text) quoted.append(c == mark ? 2 : 1, c);
  quoted.push_back(mark);
  return quoted;
}

// A string constant of SQL.
inline std::string literalText(std::string_view text) {
  return quotedBy('\'', text);
}
// A name as a delimited identifier.
inline std::string delimitedName(std::string_view name) {
  return quotedBy('"', name);
}

}  // namespace orvxml
