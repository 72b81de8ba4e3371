#include "src/text/sql_scanner.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using unittest::CallContext;

struct Token {
  int32_t type;
  std::u16string source;
  std::string text;
  bool operator==(const Token&) const = default;
};

void PrintTo(const Token& token, std::ostream* out) {
  *out << token.type << " '" << std::string(token.source.begin(), token.source.end()) << "' '"
       << token.text << "'";
}

std::vector<Token> tokensOf(QrkStruct* ctx, const char16_t* text) {
  std::vector<Token> tokens;
  QrkSqlToken token;
  for (qrkGetSqlToken(ctx, &text, &token); token.type != Type_EOF;
       qrkGetSqlToken(ctx, &text, &token)) {
    tokens.push_back({token.type, std::u16string(token.startptr, token.endptr + 1), token.text});
  }
  return tokens;
}

TEST(SqlScannerTest, TokensByClass) {
  const std::u16string word(511, u'w');
  const std::u16string longWord = word + u"w";
  struct Case {
    const char* label;
    std::u16string text;
    std::vector<Token> tokens;
  };
  const Case cases[] = {
      {"nothing", u" \t\r\n", {}},
      {"words fold", u"aé x1", {{3, u"aé", "AÉ"}, {3, u"x1", "X1"}}},
      {"delimited words do not", u"\"a \"\"b\"c", {{2, u"\"a \"\"b\"", "a \"b"}, {3, u"c", "C"}}},
      {"strings", u"N'it''s' ''x", {{4, u"N'it''s'", ""}, {4, u"''", ""}, {3, u"x", "X"}}},
      {"a prefix alone is a word", u"n x", {{3, u"n", "N"}, {3, u"x", "X"}}},
      {"unterminated", u"'abc", {{-2, u"'abc", ""}}},
      {"unterminated name", u"\"abc\"\"", {{-2, u"\"abc\"\"", ""}}},
      {"prefix at the end", u"x'", {{-2, u"x'", ""}}},
      {"numbers",
       u"12 1.5 1. .5e-3 1E+2",
       {{5, u"12", ""}, {6, u"1.5", ""}, {6, u"1.", ""}, {7, u".5e-3", ""}, {7, u"1E+2", ""}}},
      {"no numbers",
       u"12abc 1e+ 2e",
       {{-4, u"12abc", ""}, {-4, u"1e", ""}, {8, u"+", ""}, {-4, u"2e", ""}}},
      {"operators",
       u"a<=b<>||^=\u00AC>!<",
       {{3, u"a", "A"},
        {9, u"<=", ""},
        {3, u"b", "B"},
        {9, u"<>", ""},
        {9, u"||", ""},
        {9, u"^=", ""},
        {9, u"\u00AC>", ""},
        {9, u"!<", ""}}},
      {"delimiters",
       u"a<b.|",
       {{3, u"a", "A"}, {8, u"<", ""}, {3, u"b", "B"}, {8, u".", ""}, {8, u"|", ""}}},
      {"too long", word, {{-1, word, ""}}},
      {"too long to read", longWord, {{-1, longWord, ""}}},
      {"255 bytes fit", word.substr(256), {{3, word.substr(256), std::string(255, 'W')}}},
      {"256 do not", word.substr(255), {{-1, word.substr(255), ""}}},
      {"half a pair", u"\"\xD800\"", {{-3, u"\"\xD800\"", ""}}},
  };
  CallContext call;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(tokensOf(&call.ctx, c.text.c_str()), c.tokens);
  }
}

TEST(SqlScannerTest, NamesSplitLikeTheServerSplitsThem) {
  const std::string w128(128, 'w');
  const std::string W128(128, 'W');
  struct Case {
    const char* label;
    std::string text;
    int rc;
    std::string schema;
    std::string table;
    int columnRc;
  };
  const Case cases[] = {
      {"ordinary words fold", "myschema.MyTab", 0, "MYSCHEMA", "MYTAB", -109},
      {"delimited words keep their case", "\"my schema\".\"a\"\"b\"", 0, "my schema", "a\"b", -109},
      {"one part", " t ", 0, "", "T", 0},
      {"a third part", "a.b.c", -109, "", "", -109},
      {"a period wants a name", "a.", -113, "", "", -109},
      {"no name", "", -113, "", "", -113},
      {"a number", "12", -113, "", "", -113},
      {"the longest table", w128, 0, "", W128, 0},
      {"a longer one", w128 + "w", -114, "", "", -114},
      {"a longer schema", std::string(31, 's') + ".t", -114, "", "", -114},
      {"more than a name", "t x", -109, "", "", -109},
      {"more than a name may have", w128 + "." + w128, -114, "", "", -114},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    CallContext call;
    char schema[kSchemaSize] = "#";
    char table[kTableSize] = "#";
    char column[kColumnSize] = "#";
    EXPECT_EQ(
        qrkParseQualTbl(&call.ctx, c.text.c_str(), schema, sizeof schema, table, sizeof table),
        c.rc);
    if (c.rc == 0) {
      EXPECT_EQ(schema, c.schema);
      EXPECT_EQ(table, c.table);
    }
    if (c.label == std::string("a longer schema")) continue;
    EXPECT_EQ(qrkParseCol(&call.ctx, c.text.c_str(), column, sizeof column), c.columnRc);
    if (c.columnRc == 0) {
      EXPECT_EQ(column, c.table);
    }
  }
}

TEST(SqlScannerTest, AnAbsentSchemaIsNoEmptyOne) {
  EXPECT_EQ(cmpQualTblName(nullptr, nullptr, "T", "T"), 0);
  EXPECT_EQ(cmpQualTblName(nullptr, "", "T", "T"), -1);
  EXPECT_LT(cmpQualTblName("A", "B", "T", "S"), 0);
  EXPECT_GT(cmpQualTblName("A", "A", "T", "S"), 0);
  EXPECT_EQ(wcmpQualTblName(u"A", u"A", u"T", u"T"), 0);
  EXPECT_EQ(wcmpQualTblName(u"", nullptr, u"T", u"T"), -1);
}

TEST(SqlScannerTest, WhiteSpaceOutsideQuotesIsOneBlank) {
  char16_t query[] = u"  SELECT  a,\t'x  y''  '\n FROM \"T  1\" ";
  qrkCleanQueryUcs(query);
  EXPECT_EQ(std::u16string(query), u"SELECT a, 'x  y''  ' FROM \"T  1\" ");
  char16_t open[] = u"a  'b  c";
  qrkCleanQueryUcs(open);
  EXPECT_EQ(std::u16string(open), u"a 'b  c");
  EXPECT_EQ(CallContext().report([] { qrkCleanQueryUcs(nullptr); }), -57);
}

TEST(SqlScannerTest, NamesAreWrittenDelimitedWithinTheirBuffer) {
  CallContext call;
  char out[16];
  char* at = out;
  qrkAddOutputSqlId(&call.ctx, &at, out + sizeof out, "ab\"c");
  EXPECT_EQ(std::string(out, at), "\"ab\"\"c\"");
  safetyadd(at, out + sizeof out, ".", 1);
  qrkAddOutputSqlId(&call.ctx, &at, out + sizeof out, "x");
  EXPECT_EQ(std::string(out), "\"ab\"\"c\".\"x\"");

  qrkAddOutputSqlId(&call.ctx, &at, out + sizeof out, "abc");
  EXPECT_EQ(at, out + sizeof out);
  safetyadd(at, out + sizeof out, "", 0);
  qrkAddOutputSqlId(&call.ctx, &at, out + sizeof out, "");
  EXPECT_EQ(at, out + sizeof out);

  char large[2000];
  const std::pair<std::string, char*> cases[] = {
      {std::string(265, 'n'), large + 267},
      {std::string(266, 'n'), large + sizeof large},
      {std::string(259, '"'), large + 520},
      {std::string(260, '"'), large + sizeof large},
      {"\xC3", kWriteError},
  };
  for (const auto& [name, expected] : cases) {
    at = large;
    qrkAddOutputSqlId(&call.ctx, &at, large + sizeof large, name.c_str());
    EXPECT_EQ(static_cast<void*>(at), static_cast<void*>(expected)) << name;
  }
  safetyadd(at, large + sizeof large, "x", 1);
  EXPECT_EQ(static_cast<void*>(at), static_cast<void*>(kWriteError));
}

}  // namespace
}  // namespace orvxml
