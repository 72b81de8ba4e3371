// Messages and outcomes: what a caller reads, and what does not fit.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using unittest::CallContext;
using unittest::Folder;
using unittest::Variable;

int indexOf(Msg message) {
  return static_cast<int>(message);
}

int formatAt(QrkStruct* ctx, char* out, Msg message, int used, ...) {
  va_list args;
  va_start(args, used);
  const int written = qrkVsprint(ctx, out, indexOf(message), used, args);
  va_end(args);
  return written;
}

TEST(MessageTest, FitsItsCaller) {
  const std::string start = "QRKQ054E  Invalid input parameter: ";
  const std::string longText(2000, 'x');
  const std::string euros = "€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€€";  // 3 bytes each
  std::string pairs;
  for (int i = 0; i < 16; ++i) pairs += "\x83\x41";
  struct Case {
    const char* label;
    CALL_FROM caller;
    std::string argument;
    int used;
    std::string expected;
    int codePage = 1208;
  };
  const Case cases[] = {
      {"a procedure reads the whole text", CALL_FROM_STP, "abc", 0, start + "abc\n"},
      {"the working buffer ends the text", CALL_FROM_STP, longText, 0,
       start + longText.substr(0, 1022 - start.size()) + "\n"},
      {"what is used is no room", CALL_FROM_STP, "abc", 1000, "QRKQ054E  Invalid inpu\n"},
      {"one byte holds the terminator", CALL_FROM_STP, "abc", 1023, ""},
      {"no room, no text", CALL_FROM_STP, "abc", 1025, "untouched"},
      {"a function reads 69 characters", CALL_FROM_UDF, longText, 0,
       start + longText.substr(0, 69 - start.size()) + "\n"},
      {"69 characters pass whole", CALL_FROM_UDF, std::string(34, 'y'), 0,
       start + std::string(34, 'y') + "\n"},
      {"no character is split", CALL_FROM_UDF, euros, 0, start + euros.substr(0, 33) + "\n"},
      {"nor one of another code page", CALL_FROM_UDF, "a" + pairs + pairs, 0,
       start + "a" + pairs + "\n", 943},
      {"nor in a longer text", CALL_FROM_STP, "ab" + euros, 1024 - 43, start + "ab€\n"},
      {"an argument is never a format", CALL_FROM_STP, "%s%n%d", 0, start + "%s%n%d\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    CallContext call("UTF-8", c.codePage, c.caller);
    std::strcpy(call.msg, "untouched");
    const int written = formatAt(&call.ctx, call.msg, Msg::QRKQ054E, c.used, c.argument.c_str());
    EXPECT_EQ(call.msg, c.expected);
    if (c.expected != "untouched") {
      EXPECT_EQ(written, static_cast<int>(c.expected.size()));
    }
  }
  EXPECT_EQ(qrkSprint(nullptr, nullptr, -1), -1);
  EXPECT_EQ(qrkSprint(nullptr, nullptr, kMessageCount), -1);
}

TEST(MessageTest, ComesFromTheCatalogWhenItsPlaceholdersMatch) {
  const Folder folder;
  folder.write("qrk.msg",
               "$set 1\n"
               "5 QRKA004E  Datenbank %s geht nicht.\n"
               "8 QRKA007E  %s und %s\n"
               "10 QRKA009E  %n\n"
               "17 QRKA016E  100%% von %s\n");
  const std::string command = "gencat " + folder.path("qrk.cat") + " " + folder.path("qrk.msg");
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "no gencat";
  const Variable language("LANG", nullptr);
  const Variable path("NLSPATH", folder.path("%N").c_str());
  struct Case {
    Msg message;
    const char* expected;
  };
  const Case cases[] = {
      {Msg::QRKA004E, "QRKA004E  Datenbank X geht nicht.\n"},
      {Msg::QRKA007E, "QRKA007E  Cannot disable database X.\n"},
      {Msg::QRKA009E, "QRKA009E  Xcolumn tag is not specified in the DAD file.\n"},
      {Msg::QRKA016E, "QRKA016E  100% von X\n"},
      {Msg::QRKA003E, "QRKA003E  Cannot connect to database X.\n"},
  };
  for (const Case& c : cases) {
    char text[kMessageSize];
    qrkSprint(nullptr, text, indexOf(c.message), "X");
    EXPECT_STREQ(text, c.expected);
  }
}

TEST(MessageTest, AFailureSetsCodeStateAndTextTogether) {
  CallContext call;
  const int rc = fail({&call.ctx, call.msg, &call.code, call.state}, Msg::QRKQ022E, "C", "S.T", 12);
  EXPECT_EQ(rc, -82);
  EXPECT_EQ(call.code, -82);
  EXPECT_STREQ(call.state, "00000");
  EXPECT_STREQ(call.msg, "QRKQ022E  Column C of S.T should have type 12.\n");

  SQLHANDLE none = SQL_NULL_HANDLE;
  EXPECT_EQ(qrkCLIError(&call.ctx, -2, SQL_HANDLE_STMT, &none, "fetch", "qrkrdbi", 77, call.msg),
            -57);
  EXPECT_EQ(std::string(call.msg),
            std::string("QRKG006E  Internal Error SQLSTATE=, RC=-2, build ") + buildStamp() +
                ", file qrkrdbi, line 77 CLIMSG=.\n");
}

TEST(MessageTest, TheServersTextStandsInFront) {
  sqlca area{};
  area.sqlcode = -204;
  std::memcpy(area.sqlerrmc, "S.T", 3);
  area.sqlerrml = 3;
  std::memcpy(area.sqlstate, "42704", 5);
  CallContext call;
  const auto fail = [&] { throw Failure::ofServer(area, Msg::QRKA016E, "S.T"); };
  EXPECT_EQ(call.report(fail), -11);
  const std::string text = call.msg;
  const std::string tail =
      "QRKM001W  A ORV error occurred.\nQRKA016E  The input table S.T does not exist.\n";
  EXPECT_TRUE(text.ends_with(tail)) << text;
  EXPECT_GT(text.size(), tail.size());

  area.sqlcode = 0;
  call.report(fail);
  EXPECT_STREQ(call.msg, "QRKA016E  The input table S.T does not exist.\n");

  area.sqlcode = -204;
  call.ctx.callFrom = CALL_FROM_UDF;
  call.report(fail);
  EXPECT_STREQ(call.msg, "QRKA016E  The input table S.T does not exist.\n");
}

TEST(MessageTest, StatesGiveTheirFirstCode) {
  const std::pair<const char*, int> cases[] = {
      {"00000", 0}, {"38X13", -85}, {"38X18", -57},
      {"01HX0", 1}, {"38x34", -56}, {"38X34", std::numeric_limits<int>::min()},
  };
  for (const auto& [state, expected] : cases) {
    int code = 99;
    qrkStateToCode(nullptr, &code, state);
    EXPECT_EQ(code, expected) << state;
  }
}

TEST(MessageTest, TokensAreCountedFromOne) {
  sqlca area{};
  std::memcpy(area.sqlerrmc,
              "DB\xFF"
              "1208\xFF\xFF",
              9);
  std::memset(area.sqlerrmc + 9, 'x', sizeof area.sqlerrmc - 9);
  char out[71] = "kept";
  EXPECT_EQ(get_sqlerrmc_token(nullptr, 5, &area, out), -1);
  EXPECT_EQ(get_sqlerrmc_token(nullptr, 0, &area, out), -1);
  EXPECT_STREQ(out, "kept");
  const std::pair<int, std::string> cases[] = {
      {1, "DB"}, {2, "1208"}, {3, ""}, {4, std::string(61, 'x')}};
  for (const auto& [number, expected] : cases) {
    EXPECT_EQ(get_sqlerrmc_token(nullptr, number, &area, out), 0);
    EXPECT_EQ(out, expected);
  }
}

}  // namespace
}  // namespace orvxml
