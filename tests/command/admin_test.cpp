// Administration from the command line: a database, a column and a collection are enabled, used and
// disabled, as the mail example does it.
#include <sqlite3.h>
#include <nlohmann/json.hpp>

#include "tests/support/command_runner.h"

namespace orvxml::test {
namespace {

const std::string kMail = ORVXML_SOURCE_DIR "/examples/mail/";

class CommandAdmin : public testing::Test {
 protected:
  // What goes to standard output of a command that must succeed.
  std::string run(const std::vector<std::string>& arguments, const std::string& input = "") const {
    const CommandResult result = place_.orvxml(arguments, input);
    EXPECT_EQ(result.status, 0) << arguments.front() << ": " << result.err;
    return result.out;
  }
  // Fails with a message that begins so, and says that nothing was changed.
  void refuse(const std::vector<std::string>& arguments, const std::string& text) const {
    SCOPED_TRACE(arguments.front());
    const CommandResult result = place_.orvxml(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find(text), result.err.npos) << result.err;
    EXPECT_NE(result.err.find("rolled back"), result.err.npos) << result.err;
  }
  nlohmann::json status() const { return nlohmann::json::parse(run({"--json", "status"})); }
  void enableMail() const {
    run({"create", "--enable"});
    run({"dtd", "add", "mail.dtd", kMail + "mail.dtd"});
    run({"sql", "--file", kMail + "tables.sql"});
    run({"enable-column", "mail", "doc", "--dad", kMail + "mail.dad", "--view", "mail_view"});
  }

  Workplace place_;
};

TEST_F(CommandAdmin, AnEnabledColumnKeepsItsSideTables) {
  enableMail();
  EXPECT_EQ(run({"sql", "--csv", "--file", kMail + "mails.sql"}),
            "ID,SENDER,SENT,KB,RECEIVER\r\n"
            "1,Ada,2026-11-23,12.50,Edsger\r\n"
            "1,Ada,2026-11-23,12.50,Grace\r\n"
            "2,Barbara,2026-11-24,3.00,Ada\r\n");
  const CommandResult invalid = place_.orvxml({"sql", "--file", kMail + "invalid.sql"});
  EXPECT_EQ(invalid.status, 1);
  EXPECT_NE(invalid.err.find("SQLSTATE=38X14"), invalid.err.npos) << invalid.err;
  EXPECT_EQ(run({"sql", "--csv", "SELECT COUNT(*) AS N FROM mail_to"}), "N\r\n3\r\n");

  const nlohmann::json enabled = status();
  ASSERT_EQ(enabled["columns"].size(), 1u);
  const nlohmann::json& column = enabled["columns"][0];
  EXPECT_EQ(column["table"], "APP.MAIL");
  EXPECT_EQ(column["sideTables"], (nlohmann::json{"mail_head", "mail_size", "mail_to"}));
  EXPECT_EQ(column["triggers"].size(), 6u);
  EXPECT_EQ(column["validated"], true);
  EXPECT_EQ(enabled["dtds"][0]["uses"], 1);

  refuse({"enable-column", "mail", "doc", "--dad", kMail + "mail.dad"}, "QRKA");
  const CommandResult used = place_.orvxml({"dtd", "remove", "mail.dtd"});
  EXPECT_EQ(used.status, 1);
  EXPECT_NE(used.err.find("SQLSTATE=70010"), used.err.npos) << used.err;

  run({"disable-column", "mail", "doc"});
  run({"dtd", "remove", "mail.dtd"});
  run({"sql", "DROP TABLE mail"});
  run({"disable-db"});
  EXPECT_EQ(status()["enabled"], false);
}

TEST_F(CommandAdmin, FailuresChangeNothing) {
  enableMail();
  run({"enable-collection", "shelf", "--dad", ORVXML_SOURCE_DIR "/examples/iso_639/languages.dad"});
  EXPECT_EQ(status()["collections"][0]["collection"], "shelf");
  refuse({"enable-column", "absent", "doc", "--dad", kMail + "mail.dad"}, "QRKA016E");
  refuse({"disable-column", "mail", "id"}, "QRKA018E");
  refuse({"disable-collection", "absent"}, "QRKQ028E");
  refuse({"disable-db"}, "QRKA007E");  // the table of documents has a column of its types
  EXPECT_EQ(status()["columns"].size(), 1u);
  run({"disable-collection", "shelf"});
  EXPECT_EQ(place_.orvxml({"enable-column", "mail", "doc"}).status, 2);
}

TEST_F(CommandAdmin, MissingPackagesAreBound) {
  run({"create"});
  sqlite3* file = nullptr;
  ASSERT_EQ(sqlite3_open(place_.path("test.db").c_str(), &file), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(file, R"(DELETE FROM "SYSNTQ.PACKAGES")", nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(file);
  run({"enable-db"});
  EXPECT_EQ(status()["enabled"], true);
}

}  // namespace
}  // namespace orvxml::test
