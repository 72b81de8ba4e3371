// Trimming of white space at both ends of a text, in place: the length that is left, or -1 for a
// null text.
#pragma once

namespace orvxml {

int stripwhitespace(char* s);
int u_stripwhitespace(char16_t* s);

}  // namespace orvxml
