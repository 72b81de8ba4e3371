// Messages that carry the server's words.
#include "src/server_access/cli_diagnostics.h"

#include <gtest/gtest.h>

namespace orvxml {
namespace {

TEST(CliDiagnosticsTest, WhatIsAppendedIsCutWhereTheMessageIsFull) {
  const struct {
    const char* label;
    size_t front;
    const char* text;
    const char* appended;
  } cases[] = {
      {"nothing there", 0, "words\n", "words\n"},
      {"it fits", 1018, "words", "words"},
      {"one byte too long", 1019, "words", "wor\n"},
      {"never inside a character", 1018, "wor\u20ac", "wor\n"},
      {"room for the end of the line", 1022, "words", "\n"},
      {"no room", 1023, "words", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    std::string message(c.front, '.');
    message.resize(kMessageSize);
    appendToMessage({.msg = message.data()}, c.text);
    EXPECT_EQ(message.c_str() + c.front, std::string(c.appended));
  }
}

// The handle that was asked for was never made: the server has no words about it.
TEST(CliDiagnosticsTest, WithoutWordsItIsAnInternalError) {
  char msg[kMessageSize] = "";
  int code = 0;
  const CliDiagnostic none = firstDiagnostic(SQL_HANDLE_STMT, SQL_NULL_HANDLE);
  EXPECT_EQ(failInServerWords({nullptr, msg, &code}, none, "qrkmodule", 1), -57);
  EXPECT_EQ(code, -57);
  EXPECT_TRUE(std::string(msg).starts_with("QRKG001E  ")) << msg;
}

}  // namespace
}  // namespace orvxml
