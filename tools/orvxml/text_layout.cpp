#include "text_layout.h"

#include <unicode/uchar.h>

#include <cstdint>

#include "text_encoding.h"

namespace orvxml::command {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

size_t widthOf(UChar32 character) {
  if (character < 0x300) return 1;
  switch (u_charType(character)) {
    case U_NON_SPACING_MARK:
    case U_ENCLOSING_MARK:
    case U_FORMAT_CHAR:
      return 0;
    default:
      break;
  }
  const int32_t width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

// Calls `visit(character, bytes)` for each character; an ill-formed sequence has character < 0.
template <class Visit>
void forEachCharacter(std::string_view utf8, Visit visit) {
  size_t at = 0;
  while (at < utf8.size()) {
    const size_t start = at;
    const UChar32 character = nextCharacter(utf8, at);
    visit(character, utf8.substr(start, at - start));
  }
}

void appendEscape(std::string& out, UChar32 control) {
  switch (control) {
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default:
      out += "\\x";
      out += kHexDigits[(control >> 4) & 0xF];
      out += kHexDigits[control & 0xF];
  }
}

}  // namespace

size_t displayWidth(std::string_view utf8) {
  size_t width = 0;
  forEachCharacter(utf8, [&](UChar32 character, std::string_view) { width += widthOf(character); });
  return width;
}

std::string onOneLine(std::string_view utf8) {
  std::string result;
  result.reserve(utf8.size());
  forEachCharacter(utf8, [&](UChar32 character, std::string_view bytes) {
    if (character < 0) {
      result += "\xEF\xBF\xBD";
    } else if (character < 0x20 || (character >= 0x7F && character < 0xA0)) {
      appendEscape(result, character);
    } else {
      result += bytes;
    }
  });
  return result;
}

std::string hexDigits(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size() * 2);
  for (const char byte : bytes) {
    result += kHexDigits[(static_cast<uint8_t>(byte) >> 4) & 0xF];
    result += kHexDigits[static_cast<uint8_t>(byte) & 0xF];
  }
  return result;
}

}  // namespace orvxml::command
