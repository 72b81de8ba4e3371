// UTF-8 one code point at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orv {

inline constexpr char32_t kInvalidUtf8 = 0xFFFFFFFF;

// The code point that begins at byte `at` (which lies within the text); `next` becomes the byte
// after it. Bytes that are no UTF-8 give kInvalidUtf8 and move on by one.
inline char32_t decodeUtf8(std::string_view text, size_t at, size_t& next) {
  const auto byte = [&](size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  next = at + 1;
  const unsigned first = byte(at);
  if (first < 0x80) return first;
  const size_t trailing = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
  if (first < 0xC2 || first > 0xF4) return kInvalidUtf8;
  char32_t c = first & (0x3FU >> trailing);
  for (size_t i = 1; i <= trailing; ++i) {
    if ((byte(at + i) & 0xC0U) != 0x80U) return kInvalidUtf8;
    c = (c << 6) | (byte(at + i) & 0x3FU);
  }
  constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
  if (c < kSmallest[trailing] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return kInvalidUtf8;
  next = at + 1 + trailing;
  return c;
}

inline void appendUtf8(std::string& out, char32_t c) {
  const auto trail = [&](int shift) { out += static_cast<char>(0x80U | ((c >> shift) & 0x3FU)); };
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0U | (c >> 6));
    trail(0);
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0U | (c >> 12));
    trail(6);
    trail(0);
  } else {
    out += static_cast<char>(0xF0U | (c >> 18));
    trail(12);
    trail(6);
    trail(0);
  }
}

// Whether a character begins at byte `at`; the end of the text counts.
inline bool isCharacterStart(std::string_view text, size_t at) {
  return at >= text.size() || (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U;
}

}  // namespace orv
