// Texts as tests need them.
#pragma once

#include <string>
#include <string_view>

namespace orvxml::test {

inline std::string repeat(std::string_view text, size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  while (times-- > 0) all += text;
  return all;
}

inline bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != text.npos;
}

// A literal of SQL with this value.
inline std::string literal(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) quoted.append(c == '\'' ? 2 : 1, c);
  return quoted + "'";
}

// The bytes of a text in UTF-16, without a mark.
inline std::string utf16(std::u16string_view text, bool bigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit);
    bytes += {bigEndian ? high : low, bigEndian ? low : high};
  }
  return bytes;
}
inline std::string utf16(std::string_view latin1, bool bigEndian) {
  std::u16string units;
  for (const char c : latin1) units += static_cast<unsigned char>(c);
  return utf16(units, bigEndian);
}

}  // namespace orvxml::test
