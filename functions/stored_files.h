// Files as the storage functions read and write them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "functions/function_frame.h"

namespace orvxml::functions {

// The bytes of a file. QRKC001E when there is none, QRKC000E or QRKC002E when it cannot be read,
// `tooLarge` beyond `limit` bytes.
std::string readFile(FunctionCall& call, const char* name, size_t limit, Msg tooLarge);

// Makes the file `name` or replaces it, as one step: `write(beside)` fills a file of another name
// in the same folder, returns 0 or reports, and a failure leaves what was there; in a folder that
// cannot be written the file is written in place. A file that has the content already is kept, so
// that users who share it need not be able to write it. A link that belongs neither to the caller
// nor to root, or a file that belongs to neither of them nor to the folder's owner, is refused
// (QRKC000E).
void putFile(FunctionCall& call, const char* name, const std::function<int(const char*)>& write);

// Replaces the content of an existing file as one step: the new content is written beside it and
// takes its place and its permissions when it is complete. A failure (QRKC003E) leaves the old one.
void replaceFile(FunctionCall& call, const char* name, std::string_view content);

}  // namespace orvxml::functions
