#include "server/syntax/lexer.h"

#include <gtest/gtest.h>

#include <string>

#include "server/values/sql_error.h"

namespace orv {
namespace {

// Each token as a letter for its kind and its text: "w:ABC s:<>".
std::string tokens(const std::string& text) {
  constexpr char kLetters[] = {'w', 'd', 'i', 'n', 'f', 't', 'x', 'g', '?', 's', 'e'};
  std::string all;
  for (const Token& token : scan(text)) {
    if (token.kind == TokenKind::End) break;
    if (!all.empty()) all += ' ';
    all += std::string(1, kLetters[static_cast<size_t>(token.kind)]) + ':' + token.text;
  }
  return all;
}

TEST(LexerTest, TextsSplitIntoTokens) {
  struct Case {
    const char* label;
    std::string text, expected;
  };
  const Case kCases[] = {
      {"words fold, delimited words do not", "abc \"aBc\"\"d\"", "w:ABC d:aBc\"d"},
      {"special letters", "a_1$#@ _b #c", "w:A_1$#@ w:_B w:#C"},
      {"letters beyond ASCII fold too",
       "stra\xC3\x9F"
       "e \xC3\xA4\xCF\x89",
       "w:STRA\xC3\x9F"
       "E w:\xC3\x84\xCE\xA9"},
      {"full-width letters do not", "\xEF\xBD\x81", "w:\xEF\xBD\x81"},
      {"numbers", "1 1. .5 1.50 1e5 .5E-3 1.e+2", "i:1 n:1. n:.5 n:1.50 f:1e5 f:.5E-3 f:1.e+2"},
      {"a number ends at an operator", "1+2,3)", "i:1 s:+ i:2 s:, i:3 s:)"},
      {"strings", "'it''s' X'4a4B' x'' G'ab' n'c' N 'd'", "t:it's x:JK x: g:ab g:c w:N t:d"},
      {"operators in one spelling", "^= != <> \xC2\xAC= ^< !> <= >= || < > =",
       "s:<> s:<> s:<> s:<> s:>= s:<= s:<= s:>= s:|| s:< s:> s:="},
      {"comments are blanks", "a--x\nb/*y/*z*/'*/c--", "w:A w:B w:C"},
      {"ideographic space",
       "a\xE3\x80\x80"
       "b",
       "w:A w:B"},
      {"punctuation", "?(a.*);:b", "?:? s:( w:A s:. s:* s:) s:; s:: w:B"},
      {"nothing", " \t\r\n", ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(tokens(c.text), c.expected);
  }
}

TEST(LexerTest, MalformedTextsAreRefused) {
  struct Case {
    std::string text;
    int sqlcode;
    std::string token;
  };
  const Case kCases[] = {
      {"SELECT 'abc", -10, "'abc"},
      {"SELECT \"abc", -10, "\"abc"},
      {"a /* /* */", -10, "/* /* */"},
      {"12abc", -103, "12abc"},
      {"1.2.3", -103, "1.2.3"},
      {"1E", -103, "1E"},
      {"1e+x", -103, "1e+x"},
      {"X'4'", -105, "X'4'"},
      {"X'zz'", -105, "X'zz'"},
      {"a \"\"", -104, "\"\""},
      {"a \x01", -7, "\x01"},
      {"a % b", -7, "%"},
      {"a ^ b", -7, "^"},
      {"a \xC2\xA7", -7, "\xC2\xA7"},
      {"a \xFF", -7, "?"},
      {"'" + std::string(kMaxStringBytes + 1, 'x') + "'", -102, "'xxxxxxxxxxxxxxxxxxx"},
      {std::string(kMaxNameBytes + 1, 'x'), -107, "xxxxxxxxxxxxxxxxxxxx"},
      {std::string(kMaxStatementBytes + 1, ' '), -101, ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text.substr(0, 40));
    try {
      scan(c.text);
      ADD_FAILURE() << "accepted";
    } catch (const SqlError& error) {
      EXPECT_EQ(error.sqlcode(), c.sqlcode);
      EXPECT_EQ(error.tokens().empty() ? "" : error.tokens()[0], c.token);
    }
  }
  EXPECT_EQ(tokens(std::string(kMaxNameBytes, 'a')), "w:" + std::string(kMaxNameBytes, 'A'));
}

TEST(MessageTest, TokensAreFilledIntoTheTextOfTheirCode) {
  const SqlError undefined(-204, {"S.T"});
  EXPECT_EQ(std::string(undefined.what()),
            "ORV0204E  \"S.T\" is an undefined name.  SQLSTATE=42704");
  EXPECT_EQ(messageText(236, "01005", {"1", "3"}),
            "ORV0236W  The descriptor area has \"1\" entries; \"3\" are needed for the columns.  "
            "SQLSTATE=01005");
  EXPECT_EQ(SqlError(-1216, {"819"}).sqlstate(), "56031");
  EXPECT_EQ(std::string(SqlError(-99999, {"x%1"}).what()),
            "ORV99999E  The statement failed.  Details: \"x%1\".  SQLSTATE=58004");
  EXPECT_EQ(SqlError(-438, "70010", {"no"}).sqlstate(), "70010");
}

}  // namespace
}  // namespace orv
