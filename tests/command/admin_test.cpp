// Administration from the command line: a database, a column and a collection are enabled, used and
// disabled, as the mail example does it.
#include <nlohmann/json.hpp>

#include "tests/support/command_runner.h"
#include "tests/support/sqlite_file.h"

namespace orvxml::test {
namespace {

const std::string kMail = ORVXML_SOURCE_DIR "/examples/mail/";
const std::string kLanguages = ORVXML_SOURCE_DIR "/examples/iso_639/languages.dad";

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
  // Takes a package of the library out of the database.
  void unbind(const std::string& package) const {
    const std::string remove = R"(DELETE FROM "SYSNTQ.PACKAGES" WHERE NAME = ')" + package + "'";
    EXPECT_EQ(runSqlite(place_.path("test.db"), remove + "; SELECT changes()"),
              std::vector<std::string>{"1"});
  }
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
  EXPECT_NE(invalid.err.find("SQLSTATE=38X14\nreason: line 1, column 59: element 'mail' is not"),
            invalid.err.npos)
      << invalid.err;
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

  run({"disable-column", "mail", "doc"});
  run({"dtd", "remove", "mail.dtd"});
  run({"sql", "DROP TABLE mail"});
  run({"disable-db"});
  EXPECT_EQ(status()["enabled"], false);
}

TEST_F(CommandAdmin, FailuresChangeNothing) {
  enableMail();
  run({"enable-collection", "shelf", "--dad", kLanguages});
  EXPECT_EQ(status()["collections"][0]["collection"], "shelf");
  const nlohmann::json before = status();
  refuse({"enable-column", "absent", "doc", "--dad", kMail + "mail.dad"}, "QRKA016E");
  refuse({"disable-column", "mail", "id"}, "QRKA018E");
  refuse({"enable-collection", "shelf", "--dad", kLanguages}, "QRKA011E");
  const std::string dad = place_.write("x.dad", "<DAD/>");
  refuse({"enable-collection", "more", "--dad", dad}, dad + ":1:7: QRKQ000E");
  place_.write("x.dad", "<DAD>\n");
  refuse({"enable-column", "mail", "doc", "--dad", dad}, dad + ":2:1: QRKQ047E");
  place_.write("x.dad",
               "<DAD><Xcolumn><table name='mail_to'>\n<column name='c' type='date' path='/a' "
               "multi_occurrence='NO'/></table>\n<table name='t'>\n<column name='c' type='date' "
               "path='a' multi_occurrence='NO'/></table></Xcolumn></DAD>");
  refuse({"enable-column", "mail", "doc", "--dad", dad}, dad + ":4:62: QRKA060E");
  const std::string schema = place_.write("s.xsd", "<schema/>");
  const std::string validated = "<DAD><schemabindings><nonamespacelocation location=\"" + schema +
                                "\"/></schemabindings><validation>YES</validation>";
  run({"sql", "create table bare(doc orvxml.xmlvarchar)"});
  place_.write("x.dad", validated + "<Xcolumn/></DAD>");
  refuse({"enable-column", "bare", "doc", "--dad", dad}, schema + ":1:");
  place_.write("x.dad", validated + "<Xcollection><SQL_stmt/></Xcollection></DAD>");
  refuse({"enable-collection", "more", "--dad", dad}, "schema of the mapping " + dad);
  refuse({"disable-collection", "absent"}, "QRKQ028E");
  refuse({"disable-db"}, "to be disabled before: the column DOC of APP.MAIL");
  refuse({"dtd", "remove", "mail.dtd"}, "SQLSTATE=70010");
  refuse({"dtd", "remove", "other.dtd"}, "there is no DTD other.dtd");
  EXPECT_EQ(status(), before);
  const CommandResult json = place_.orvxml({"--json", "disable-collection", "absent"});
  EXPECT_EQ(json.status, 1);
  EXPECT_EQ(nlohmann::json::parse(json.out)["code"], -88);
}

TEST_F(CommandAdmin, WrongInputIsRefusedBeforeTheDatabaseIsTouched) {
  run({"create"});
  const std::string note(200, 'n');
  struct Case {
    std::vector<std::string> arguments;
    std::string text;
    int status = 1;
  };
  const Case kCases[] = {
      {{"enable-collection", "c"}, "--dad", 2},
      {{"enable-column", "t"}, "COLUMN", 2},
      {{"enable-column", "t", "c"}, "--dad", 2},
      {{"enable-collection", "c", "--dad", "absent.dad"}, "absent.dad: No such file"},
      {{"enable-collection", "c", "--dad", place_.write("empty.dad", "")}, "is empty"},
      {{"enable-collection", "c", "--dad", place_.path("")}, "is a directory"},
      {{"enable-collection", "c", "--dad", place_.write("bad.dad", "<DAD>\xFF")}, "not UTF-8"},
      {{"enable-collection", "c", "--dad", place_.write("big.dad", std::string(102401, 'x'))},
       "the mapping has 102401 bytes; at most 102400"},
      {{"enable-collection", "\xFF", "--dad", kLanguages}, "collection:1: byte 1 is not UTF-8"},
      {{"dtd", "add", "d", kMail + "mail.dtd"}, "not enabled"},
      {{"dtd", "add", "", kMail + "mail.dtd"}, "needs an id", 2},
      {{"dtd", "remove", "\xC3"}, "not UTF-8"},
      {{"dtd", "add", "d", place_.write("big.dtd", std::string(1048577, ' '))}, "1048577 bytes"},
      {{"--db", place_.path("absent.db"), "enable-db"}, "ORV1013E"},
      {{"--db", place_.write("note.txt", note), "status"}, "ORV1026E"},
      {{"--db", place_.path(""), "disable-db"}, "ORV1026E"},
      {{"--db", place_.path("new.db"), "create", "--code-page", "37"}, "code page 37"},
  };
  const std::string before = place_.read("test.db");
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    const CommandResult result = place_.orvxml(c.arguments);
    EXPECT_EQ(result.status, c.status);
    EXPECT_NE(result.err.find(c.text), result.err.npos) << result.err;
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(place_.read("test.db"), before);
  EXPECT_EQ(place_.read("note.txt"), note);
  EXPECT_FALSE(std::filesystem::exists(place_.path("new.db")));
}

// Disabling a collection deletes by its name alone; the column would go unnoticed. A collection is
// told by the schema as well.
TEST_F(CommandAdmin, ACollectionNamedLikeAColumnStaysWhileTheColumnIsEnabled) {
  run({"create", "--enable"});
  run({"sql",
       "create table s.qrk_collection (no integer not null primary key, doc orvxml.XMLVarchar, "
       "qrkroot_id integer); insert into s.qrk_collection values (1, null, 7)"});
  const std::string dad = place_.write(
      "x.dad",
      "<DAD><Xcollection><table name='no'/></Xcollection><Xcolumn><table name='side'><column "
      "name='c' type='date' path='/c' multi_occurrence='NO'/></table></Xcolumn></DAD>");
  run({"enable-column", "s.qrk_collection", "doc", "--dad", dad, "--schema", "s", "--root-id",
       "no"});
  run({"enable-collection", "DOC", "--dad", kLanguages});
  const nlohmann::json before = status();
  EXPECT_EQ(before["columns"][0]["sideTables"], nlohmann::json{"side"});
  for (const char* name : {"DOC", "DOC "}) {
    const CommandResult refused = place_.orvxml({"disable-collection", name});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("the column DOC of S.QRK_COLLECTION is enabled"), refused.err.npos);
  }
  EXPECT_EQ(status(), before);

  run({"sql", "create table side (c date, n integer); insert into side values (null, 1)"});
  refuse({"disable-column", "s.qrk_collection", "doc"}, "QRKA026E");
  EXPECT_EQ(
      place_.orvxml({"--quiet", "disable-column", "s.qrk_collection", "doc", "--schema", "s"}).err,
      place_.path("test.db") +
          ": warning: QRKROOT_ID of S.QRK_COLLECTION is emptied; rows with a "
          "value, which no trigger of this column fills: 1 [values-of-qrkroot-id]\n");
  EXPECT_EQ(run({"sql", "--csv", "select n from side"}), "N\r\n1\r\n");
  run({"disable-collection", "DOC"});
}

TEST_F(CommandAdmin, AMappingThatIsDamagedIsToldByTheStatus) {
  enableMail();
  run({"sql", "update orvxml.xml_usage set dad = '<x'"});
  const CommandResult shown = place_.orvxml({"--json", "status"});
  EXPECT_EQ(shown.status, 0);
  EXPECT_NE(shown.err.find("the mapping of column DOC of APP.MAIL cannot be read: QRKQ047E"),
            shown.err.npos)
      << shown.err;
  EXPECT_EQ(nlohmann::json::parse(shown.out)["columns"][0]["sideTables"], nullptr);
  refuse({"disable-column", "mail", "doc"}, "QRKA024E");
  refuse({"disable-column", "mail", "doc"}, "\nreason: its mapping: line 1, column ");
}

TEST_F(CommandAdmin, WarningsAndWhatGoesWithTheDatabase) {
  run({"create", "--enable"});
  const CommandResult again = place_.orvxml({"--quiet", "enable-db"});
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.err, "QRKA070W  The database has already been enabled.\n");
  const std::string longest(128, 'd');
  const std::string dtd = place_.write("long.dtd", std::string(60000, ' ') + "<!ELEMENT ü ANY>");
  run({"dtd", "add", longest, dtd});
  refuse({"dtd", "add", longest + 'd', dtd}, "SQLSTATE=22001");
  EXPECT_EQ(nlohmann::json::parse(run({"--json", "dtd", "list"})),
            nlohmann::json({{{"dtd", longest}, {"uses", 0}, {"bytes", 60017}}}));
  run({"enable-collection", "O'Neil \"ü\"", "--dad", kLanguages});
  refuse({"enable-collection", std::string(31, 'c'), "--dad", kLanguages}, "QRKQ032E");
  EXPECT_EQ(place_.orvxml({"disable-db"}).err,
            "QRKA036I  XML Annex has successfully disabled database test.\n"
            "gone: 1 collection\ngone: 1 DTD\n");
  const CommandResult disabled = place_.orvxml({"disable-db"});
  EXPECT_EQ(disabled.status, 0);
  EXPECT_EQ(disabled.err, "QRKA071W  The database is not enabled or has already been disabled.\n");
  EXPECT_EQ(run({"status"}),
            "database: " + place_.path("test.db") + "\ncode page: 1208\nenabled: no\n");
  EXPECT_EQ(run({"sql", "--csv", "select count(*) as n from language"}), "N\r\n0\r\n");
}

TEST_F(CommandAdmin, ADatabaseThatIsNotEnabledIsToldOf) {
  run({"create"});
  const std::string text = "the database is not enabled: run orvxml enable-db";
  refuse({"enable-collection", "c", "--dad", kLanguages}, text);
  refuse({"disable-collection", "c"}, text);
  refuse({"enable-column", "t", "c", "--dad", kMail + "mail.dad"}, text);
  refuse({"disable-column", "t", "c"}, text);
}

TEST_F(CommandAdmin, TableSpacesOfTheAdministrativeTables) {
  run({"create"});
  refuse({"enable-db", "--table-space", "NOWHERE"}, "QRKA004E");
  EXPECT_EQ(status()["enabled"], false);
  run({"sql", "create tablespace TS1; create tablespace TS2"});
  run({"enable-db", "--table-space", "TS1", "--table-space2", "TS2"});
  EXPECT_EQ(run({"sql", "--csv",
                 "select tabname, tbspace from syscat.tables where tabschema ="
                 " 'ORVXML' order by 1"}),
            "TABNAME,TBSPACE\r\nDTD_REF,TS1\r\nXML_USAGE,TS2\r\n");
}

// Whichever package is missing: the packages are bound and the call is made again.
TEST_F(CommandAdmin, MissingPackagesAreBound) {
  for (const std::string package : {"QRKSUWO", "QRKTAB", "QRKDB"}) {
    SCOPED_TRACE(package);
    std::filesystem::remove(place_.path("test.db"));
    run({"create"});
    const auto unbound = [&](const std::vector<std::string>& arguments) {
      unbind(package);
      run(arguments);
      run({"bind"});  // the call may not have missed it
    };
    unbound({"enable-db"});
    run({"dtd", "add", "mail.dtd", kMail + "mail.dtd"});
    run({"sql", "--file", kMail + "tables.sql"});
    unbound({"enable-column", "mail", "doc", "--dad", kMail + "mail.dad"});
    unbound({"enable-collection", "shelf", "--dad", kLanguages});
    EXPECT_EQ(status()["columns"].size() + status()["collections"].size(), 2u);
    unbound({"disable-column", "mail", "doc"});
    unbound({"disable-collection", "shelf"});
    run({"sql", "drop table mail"});
    unbound({"disable-db"});
    EXPECT_EQ(status()["enabled"], false);
  }
}

TEST_F(CommandAdmin, PackagesThatCannotBeBoundEndTheCall) {
  run({"create", "--enable"});
  unbind("QRKSUWO");
  place_.environment = {"ORVXML_HOME=/nowhere"};
  refuse({"disable-db"}, "QRKA073E  The database is not bound.");
  place_.environment.clear();
  EXPECT_EQ(status()["enabled"], true);
}

}  // namespace
}  // namespace orvxml::test
