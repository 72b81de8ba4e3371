#include "src/text/trimming.h"

#include <cstring>
#include <string_view>

#include <unicode/uchar.h>

namespace orvxml {

namespace {

template <class Char, class IsSpace>
int trim(Char* text, IsSpace isSpace) {
  if (!text) return -1;
  const std::basic_string_view<Char> all(text);
  size_t begin = 0;
  size_t end = all.size();
  while (begin < end && isSpace(text[begin])) ++begin;
  while (end > begin && isSpace(text[end - 1])) --end;
  std::memmove(text, text + begin, (end - begin) * sizeof(Char));
  text[end - begin] = 0;
  return static_cast<int>(end - begin);
}

}  // namespace

int stripwhitespace(char* s) {
  return trim(s, [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); });
}

int u_stripwhitespace(char16_t* s) {
  return trim(s, [](char16_t c) { return u_isWhitespace(c) != 0; });
}

}  // namespace orvxml
