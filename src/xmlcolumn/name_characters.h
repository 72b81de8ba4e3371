// The characters that XML 1.0 (its first four editions) allows in names.
#pragma once

namespace orvxml {

bool isNameStart(char16_t ch);      // Letter, "_" or ":"
bool isNameCharacter(char16_t ch);  // also Digit, CombiningChar, Extender, "." and "-"

}  // namespace orvxml
