// Cutting a text that has to fit a field.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvxml/context.h"

namespace orvxml {

// Bytes of `text`, which was cut at its end, without the first bytes of a character of which the
// rest is missing. The text is in the database code page; without a context or its code pages it is
// taken for UTF-8, and one in another code page loses three bytes at most.
size_t wholeCharacters(const QrkStruct* ctx, std::string_view text);

}  // namespace orvxml
