#include <fstream>

#include "orvxml/buffer.h"
#include "tests/support/admin_calls.h"

namespace orvxml::test {
namespace {

// Runs `work` and returns what it wrote to standard error.
template <class Work>
std::string standardError(Work&& work) {
  testing::internal::CaptureStderr();
  work();
  return testing::internal::GetCapturedStderr();
}

class ConnectionTest : public testing::Test {
 protected:
  ConnectionTest() { context_.callFrom = CALL_FROM_STP; }

  // A database in a file, with nothing bound.
  void makeDatabase() {
    orv::Outcome outcome;
    ASSERT_NE(orv::Session::create(path_, 1208, outcome), nullptr) << outcome.message;
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.path() + "/shop.db";
  QrkStruct context_{};
  sqlca area_{};
};

TEST_F(ConnectionTest, ConnectsWithAndWithoutAUser) {
  makeDatabase();
  struct User {
    const char *name, *password;
  };
  for (const User& user :
       {User{"", ""}, User{"me", ""}, User{"me", "secret"}, User{nullptr, "x"}}) {
    EXPECT_EQ(qrkConnectToDB(&context_, &area_, path_.c_str(), user.name, user.password), 0);
    EXPECT_EQ(area_.sqlcode, 0);
    EXPECT_NE(orv::Session::current(), nullptr);
    EXPECT_EQ(qrkDisconnectDB(&context_, &area_), 0);
    EXPECT_EQ(orv::Session::current(), nullptr);
  }
  EXPECT_EQ(qrkDisconnectDB(&context_, &area_), -1);
  EXPECT_EQ(area_.sqlcode, -1024);
}

TEST_F(ConnectionTest, ARefusedConnectSaysWhy) {
  context_ = {};  // a caller need not set it up
  for (const char* name : {path_.c_str(), "", "/"}) {
    const std::string text =
        standardError([&] { EXPECT_EQ(qrkConnectToDB(&context_, &area_, name, "", ""), -1); });
    EXPECT_LT(area_.sqlcode, 0);
    EXPECT_EQ(text.substr(0, 3), "ORV") << text;
    EXPECT_TRUE(
        text.ends_with("\nQRKM001W  A ORV error occurred.\nQRKA003E  Cannot connect to"
                       " database " +
                       std::string(name) + ".\n"))
        << text;
  }
}

TEST_F(ConnectionTest, BindListsAreFoundInTheInstallation) {
  char path[kPathSize] = "unwritten";
  {
    const Variable home("HOME", nullptr);
    EXPECT_EQ(qrkGetBindCliDir(&context_, path), -102);
    EXPECT_STREQ(path, "unwritten");
  }
  const Variable home("HOME", "/home/owner");
  EXPECT_EQ(qrkGetBindCliDir(&context_, path), 0);
  EXPECT_STREQ(path, "/home/owner/sqllib/bnd/@orvcli.lst");
  EXPECT_EQ(qrkGetBindDir(&context_, path), 0);
  EXPECT_EQ(path, bindList());
  const std::string longest(kPathSize - 1 - std::string("/share/orvxml/bnd/@qrkbind.lst").size(),
                            'p');
  const Variable installed("ORVXML_HOME", longest.c_str());
  EXPECT_EQ(qrkGetBindDir(&context_, path), 0);
  EXPECT_EQ(path, longest + "/share/orvxml/bnd/@qrkbind.lst");
  const Variable longer("ORVXML_HOME", (longest + "p").c_str());
  EXPECT_EQ(qrkGetBindDir(&context_, path), -57);
  EXPECT_EQ(qrkGetBindDir(&context_, nullptr), -57);
  EXPECT_EQ(qrkGetBindCliDir(&context_, nullptr), -57);
}

TEST_F(ConnectionTest, PackagesAreBoundOnceAProcess) {
  AdminDatabase db(1208, ":memory:", false);
  char msg[kMessageSize] = "";
  int alreadyBound = 0;
  EXPECT_EQ(standardError([&] { EXPECT_EQ(autoBind(&context_, msg, &alreadyBound), 0); }), "");
  EXPECT_EQ(alreadyBound, 1);
  EXPECT_EQ(db.rows("select pkgname from syscat.packages where pkgschema = 'ORVXML' order by 1"),
            (Rows{{"QRKCNUWO"},
                  {"QRKCOL"},
                  {"QRKCOLL"},
                  {"QRKCOMP"},
                  {"QRKDB"},
                  {"QRKLM"},
                  {"QRKRCOMP"},
                  {"QRKRDBI"},
                  {"QRKSCOMP"},
                  {"QRKSQLDA"},
                  {"QRKSUWO"},
                  {"QRKTAB"}}));
  EXPECT_EQ(db.enable().code, 0);
  db.rollback();
  const std::string again =
      standardError([&] { EXPECT_EQ(autoBind(&context_, msg, &alreadyBound), -1); });
  EXPECT_EQ(again,
            "QRKA072E  XML Annex couldn't find the bind files. Bind the database before"
            " enabling it.\n");
  EXPECT_EQ(msg, again);
  EXPECT_EQ(db.count("syscat.packages"), 0) << "nothing was bound again";
}

// The list of the call-level interface is bound when it is there, whatever comes of it.
TEST_F(ConnectionTest, TheListOfTheCallLevelInterfaceNeverFailsTheCall) {
  const Variable home("HOME", folder_.path().c_str());
  std::filesystem::create_directories(folder_.path() + "/sqllib/bnd");
  struct Case {
    const char* label;
    const char* content;
    const char* packages;
  };
  const std::string package = "ORVBIND 1\npackage CLI\ntoken 12345678\nsections 0\nend\n";
  std::ofstream(folder_.path() + "/sqllib/bnd/cli.bnd") << package;
  for (const Case& c : {Case{"good", "cli.bnd\n", "13"}, Case{"bad", "none.bnd\n", "12"}}) {
    SCOPED_TRACE(c.label);
    std::ofstream(folder_.path() + "/sqllib/bnd/@orvcli.lst") << c.content;
    AdminDatabase db(1208, ":memory:", false);
    char msg[kMessageSize] = "";
    int alreadyBound = 0;
    EXPECT_EQ(autoBind(&context_, msg, &alreadyBound), 0) << msg;
    EXPECT_EQ(db.rows("select count(*) from syscat.packages"), (Rows{{c.packages}}));
  }
}

TEST_F(ConnectionTest, AListThatCannotBeBoundFailsTheCall) {
  struct Case {
    const char* label;
    std::string home;
    const char* text;
  };
  const Case kCases[] = {
      {"no list", folder_.path(),
       "QRKA073E  The database is not bound. Please bind the database before enabling it.\n"},
      {"no path", std::string(2000, 'p'),
       "QRKA072E  XML Annex couldn't find the bind files. Bind the database before enabling it.\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    const Variable installed("ORVXML_HOME", c.home.c_str());
    AdminDatabase db(1208, ":memory:", false);
    char msg[kMessageSize] = "";
    int alreadyBound = 0;
    const std::string text =
        standardError([&] { EXPECT_EQ(autoBind(&context_, msg, &alreadyBound), -1); });
    EXPECT_EQ(text, c.text);
    EXPECT_EQ(text, msg);
    EXPECT_EQ(alreadyBound, 0);
  }
}

}  // namespace
}  // namespace orvxml::test
