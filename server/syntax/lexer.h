// From text to tokens. The whole statement is split at once; the parser then walks the tokens by
// index. Ordinary words come folded to upper case, code point by code point, as names are stored;
// full-width letters stay as they are. Delimited words keep their case.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

enum class TokenKind : uint8_t {
  Word,           // ordinary identifier or keyword; text is folded
  Delimited,      // "identifier"; text without quotes
  Integer,        // 12
  Decimal,        // 1.5  .5  1.
  Float,          // 1E5
  String,         // 'text'; text without quotes
  HexString,      // X'41'; text is the bytes
  GraphicString,  // G'text' or N'text'
  Marker,         // ?
  Symbol,         // operator or punctuation; text in one spelling: "<>" for "^=", "!=" and "¬="
  End,
};

struct Token {
  TokenKind kind = TokenKind::End;
  std::string text;
  size_t begin = 0;  // bytes of the statement's text: [begin, end)
  size_t end = 0;
};

inline constexpr size_t kMaxStatementBytes = size_t{2} * 1024 * 1024;
inline constexpr size_t kMaxNameBytes = 128;
inline constexpr size_t kMaxStringBytes = 32672;

// The last token is always End. Comments (-- to the end of the line, nested /* */) are blanks.
// Throws SqlError: -101 text over kMaxStatementBytes, -107 a name over kMaxNameBytes, -102 a string
// over kMaxStringBytes, -10 a string or delimited name without end, -103 a malformed number, -105 a
// malformed hexadecimal string, -104 an empty name, -7 a character that begins no token.
std::vector<Token> scan(std::string_view text);

// A name as an ordinary word is stored.
std::string foldName(std::string_view name);

}  // namespace orv
