// Cutting a text that has to fit a field.
#pragma once

#include <cstddef>
#include <string_view>

namespace orvxml {

// Bytes of `text`, which was cut at its end, without the first bytes of a UTF-8 character of which
// the rest is missing. A text in another code page loses three bytes at most.
size_t wholeCharacters(std::string_view text);

}  // namespace orvxml
