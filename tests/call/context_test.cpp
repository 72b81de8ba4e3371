#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "orv/session.h"
#include "src/call/procedure_frame.h"
#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using unittest::CallContext;
using unittest::Variable;

TEST(ContextTest, TheThresholdHasAFloor) {
  const std::pair<const char*, int> cases[] = {
      {nullptr, 131072},          {"1000", 131072},      {"-5", 131072},
      {"many", 131072},           {"", 131072},          {"500000", 500000},
      {"99999999999", INT32_MAX}, {" 500000\n", 500000}, {" ", 131072},
  };
  for (const auto& [value, expected] : cases) {
    const Variable variable("ORVQRK_MIN_TMPFILE_SIZE", value);
    CallContext call;
    EXPECT_EQ(call.ctx.fileThreshold, expected) << (value ? value : "unset");
  }
}

TEST(ContextTest, AContextIsReleasedWhateverHappens) {
  char state[kSqlStateSize] = "";
  EXPECT_EQ(qrkInit(nullptr, CALL_FROM_STP, nullptr, state, nullptr), -58);
  EXPECT_STREQ(state, "38X10");

  const Variable directory("ORVQRKTEMP", "/tmp");
  CallContext unknown("no-such-encoding");
  EXPECT_EQ(unknown.rc, -119);
  EXPECT_STREQ(unknown.state, "38X38");
  EXPECT_EQ(unknown.ctx.codePages, nullptr);
  EXPECT_EQ(unknown.ctx.tempDir, nullptr);
  EXPECT_EQ(CallContext("UTF-8", 1046).rc, -119);

  CallContext call;
  ASSERT_EQ(call.rc, 0);
  QrkCodePages* pages = call.ctx.codePages;
  EXPECT_EQ(qrkInit(&call.ctx, CALL_FROM_UDF, nullptr, state, nullptr), 0);
  EXPECT_EQ(call.ctx.codePages, pages);
}

TEST(ContextTest, AProcedureSaysWhyItCannotBegin) {
  const std::string control = "/tmp/qrk" + test::instanceName() + ".ctl";
  const std::pair<int, std::string> outcomes[] = {
      {-1, "QRKC000E  Unable to open the specified file.\n"},
      {-102, "QRKA076E  XML Annex trace instance ID invalid.\n"},
      {-119, "\nQRKM001W  A ORV error occurred.\nQRKG008E  Locale (none) is not supported.\n"}};
  for (const auto& [code, text] : outcomes) {
    const Variable instance("ORVINSTANCE", code == -102 ? nullptr : test::instanceName().c_str());
    char msg[kMessageSize] = "";
    Call call;
    call.msg = msg;
    if (code == -1) {
      ASSERT_EQ(::mkfifo(control.c_str(), 0600), 0);
    }
    EXPECT_EQ(detail::beginCall(call), code);
    std::filesystem::remove(control);
    EXPECT_TRUE(std::string(msg).ends_with(text)) << msg;
  }
}

TEST(ContextTest, AProcedureHasOneCodePage) {
  const Variable instance("ORVINSTANCE", test::instanceName().c_str());
  for (const int codePage : {1208, 819}) {
    orv::Outcome outcome;
    const auto session = orv::Session::create(":memory:", codePage, outcome);
    ASSERT_NE(session, nullptr) << outcome.message;
    session->makeCurrent();
    QrkStruct ctx{};
    char state[kSqlStateSize] = "";
    ASSERT_EQ(qrkInit(&ctx, CALL_FROM_STP, nullptr, state, nullptr), 0);
    EXPECT_EQ(ctx.codePages->dbCodePage, codePage);
    EXPECT_EQ(ctx.codePages->appCodePage, codePage);
    EXPECT_EQ(ctx.codePages->dbConverter, ctx.codePages->appConverter);
    EXPECT_EQ(qrkExit(&ctx, state), 0);
  }
}

TEST(ContextTest, AFunctionHasTwo) {
  CallContext call("ISO-8859-1", 954);
  ASSERT_EQ(call.rc, 0);
  EXPECT_EQ(call.ctx.codePages->appCodePage, 819);
  EXPECT_EQ(call.ctx.codePages->dbCodePage, 33722);
  CallContext same("ISO-8859-1", 819);
  EXPECT_EQ(same.ctx.codePages->dbConverter, same.ctx.codePages->appConverter);
}

}  // namespace
}  // namespace orvxml
