// The encoding of a document's file.
#pragma once

#include <string>
#include <string_view>

#include "functions/function_frame.h"

namespace orvxml::functions {

// `document`, whose XML declaration came from the file `name`, in the encoding and with the byte
// order mark that the file has. Characters that the encoding lacks come as references: the file's
// own are all in it, so that only new text of elements and attributes can hold one.
std::string inEncodingOf(FunctionCall& call, const char* name, std::u16string_view document);

}  // namespace orvxml::functions
