// The texts of the server layer's own messages: one row per SQLCODE with its default SQLSTATE.
// %1, %2, ... stand for the message tokens.
#pragma once

#include <string_view>

namespace orv {

struct MessageText {
  int sqlcode;
  std::string_view sqlstate;
  std::string_view text;
};

// Null for an SQLCODE that the layer does not give.
const MessageText* findMessage(int sqlcode);

}  // namespace orv
