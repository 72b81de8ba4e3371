#include "server/values/utf8_text.h"

#include <unicode/utf8.h>

#include <cstring>

namespace orv {
namespace {

// Of a value in a message: what else the message tells shall fit beside it into the 70 bytes of a
// communication area.
constexpr size_t kMessageBytes = 32;

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool isAscii(std::string_view text) {
  const char* at = text.data();
  size_t left = text.size();
  for (; left >= 8; at += 8, left -= 8) {
    uint64_t word;
    std::memcpy(&word, at, 8);
    if (word & 0x8080808080808080u) return false;
  }
  for (; left > 0; ++at, --left) {
    if (static_cast<unsigned char>(*at) >= 0x80) return false;
  }
  return true;
}

size_t utf8CharacterLength(std::string_view text, size_t offset) {
  if (static_cast<unsigned char>(text[offset]) < 0x80) return 1;
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  size_t next = offset;
  UChar32 character;
  U8_NEXT(bytes, next, text.size(), character);
  return character < 0 ? 1 : next - offset;
}

bool isUtf8(std::string_view bytes) {
  if (isAscii(bytes)) return true;
  const auto* at = reinterpret_cast<const uint8_t*>(bytes.data());
  for (size_t i = 0; i < bytes.size();) {
    UChar32 character;
    U8_NEXT(at, i, bytes.size(), character);
    if (character < 0) return false;
  }
  return true;
}

std::string_view utf8Prefix(std::string_view text, size_t limit) {
  if (text.size() <= limit) return text;
  size_t end = limit;
  // At most three bytes back stands the first byte of the character that crosses the limit.
  size_t start = limit;
  while (start > 0 && limit - start < 3 && U8_IS_TRAIL(static_cast<uint8_t>(text[start]))) --start;
  if (start < limit && start + utf8CharacterLength(text, start) > limit) end = start;
  return text.substr(0, end);
}

int64_t utf16Units(std::string_view text) {
  if (isAscii(text)) return static_cast<int64_t>(text.size());
  int64_t units = 0;
  for (size_t i = 0; i < text.size();) {
    size_t length = utf8CharacterLength(text, i);
    units += length == 4 ? 2 : 1;
    i += length;
  }
  return units;
}

std::string_view utf16Prefix(std::string_view text, int64_t limit) {
  int64_t units = 0;
  size_t i = 0;
  while (i < text.size()) {
    size_t length = utf8CharacterLength(text, i);
    units += length == 4 ? 2 : 1;
    if (units > limit) break;
    i += length;
  }
  return text.substr(0, i);
}

std::string shortened(std::string_view value) {
  const std::string_view text = utf8Prefix(value, kMessageBytes);
  return isUtf8(text) ? std::string(text) : shortenedBinary(text);
}

std::string shortenedBinary(std::string_view value) {
  return "X'" + hexDigits(value.substr(0, kMessageBytes / 2)) + "'";
}

std::string foldAscii(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return folded;
}

std::string hexDigits(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (char c : bytes) {
    auto byte = static_cast<unsigned char>(c);
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 15]);
  }
  return text;
}

std::optional<std::string> bytesOfHex(std::string_view digits) {
  if (digits.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  bytes.reserve(digits.size() / 2);
  for (size_t i = 0; i < digits.size(); i += 2) {
    const int high = hexDigit(digits[i]);
    const int low = hexDigit(digits[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes += static_cast<char>(high * 16 + low);
  }
  return bytes;
}

}  // namespace orv
