// Messages that carry the server's words.
#include "src/server_access/cli_diagnostics.h"

#include <gtest/gtest.h>

#include "src/outcome/edge.h"

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
    char message[kMessageSize];
    reportFailure({.msg = message},
                  Failure::said(-1, std::string(c.front, '.')).with(std::string(c.text)));
    EXPECT_EQ(message + c.front, std::string(c.appended));
  }
}

// The handle that was asked for was never made: the server has no words about it.
TEST(CliDiagnosticsTest, WithoutWordsItIsAnInternalError) {
  const Failure failure = failureInServerWords(firstDiagnostic(SQL_HANDLE_STMT, SQL_NULL_HANDLE));
  EXPECT_TRUE(failure.is(Msg::QRKG001E));
  EXPECT_EQ(failure.code(), -57);
}

}  // namespace
}  // namespace orvxml
