// How wide text is in a terminal's columns, and how it is shown inside one line.
#pragma once

#include <string>
#include <string_view>

namespace orvxml::command {

// Columns that UTF-8 text takes: wide characters two, combining and invisible ones none.
size_t displayWidth(std::string_view utf8);

// The text with its control characters as escapes ("\n", "\t", "\x01") and its ill-formed bytes
// replaced, so that one value stays in one line.
std::string onOneLine(std::string_view utf8);

// Bytes as pairs of hexadecimal digits.
std::string hexDigits(std::string_view bytes);

}  // namespace orvxml::command
