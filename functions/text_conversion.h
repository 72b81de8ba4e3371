// Texts between UTF-16 and the code pages of a call.
#pragma once

#include <string>
#include <string_view>

#include "functions/function_frame.h"

namespace orvxml::functions {

UErrorCode toUnicode(UConverter* from, std::string_view text, std::u16string& out);
UErrorCode fromUnicode(UConverter* to, std::u16string_view text, std::string& out);

// The same where a text that does not convert is a failure of the call (QRKQ055E).
std::u16string toUnicode(FunctionCall& call, UConverter* from, std::string_view text);
std::string fromUnicode(FunctionCall& call, UConverter* to, std::u16string_view text);

}  // namespace orvxml::functions
