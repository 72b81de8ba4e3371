// Files as the storage functions read and write them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "functions/function_frame.h"

namespace orvxml::functions {

// The bytes of a file. QRKC001E when there is none, QRKC000E or QRKC002E when it cannot be read,
// `tooLarge` beyond `limit` bytes.
std::string readFile(FunctionCall& call, const char* name, size_t limit, Msg tooLarge);

// Replaces the content of an existing file as one step: the new content is written beside it and
// takes its place and its permissions when it is complete. A failure (QRKC003E) leaves the old one.
void replaceFile(FunctionCall& call, const char* name, std::string_view content);

}  // namespace orvxml::functions
