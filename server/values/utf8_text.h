// Small questions about UTF-8 text that several conversions share. A character is never split;
// malformed bytes count as one character each.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

bool isUtf8(std::string_view bytes);
bool isAscii(std::string_view text);

// Bytes of the character that begins at `offset`.
size_t utf8CharacterLength(std::string_view text, size_t offset);
// The longest beginning of whole characters within `limit` bytes.
std::string_view utf8Prefix(std::string_view text, size_t limit);

// Length in UTF-16 code units, and the longest beginning within `limit` of them.
int64_t utf16Units(std::string_view text);
std::string_view utf16Prefix(std::string_view text, int64_t limit);

// The beginning of a value for a message: at most 32 bytes, as the literal X'...' when these are no
// text.
std::string shortened(std::string_view value);
std::string shortenedBinary(std::string_view value);  // always as the literal

// Upper case for ASCII letters only, as engines that ignore the case of names compare them.
std::string foldAscii(std::string_view name);

std::string hexDigits(std::string_view bytes);
// The bytes of an even number of hexadecimal digits, nothing for any other text.
std::optional<std::string> bytesOfHex(std::string_view digits);

}  // namespace orv
