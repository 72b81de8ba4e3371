// The procedures of an enabled database through CALL in `orvxml sql`, as a user calls them: files
// by name, output parameters as question marks.
#include <algorithm>

#include "tests/support/command_runner.h"

namespace orvxml::test {
namespace {

const std::string kMail = ORVXML_SOURCE_DIR "/examples/mail/";

// Shelves of books, by two tables.
const std::string kDad =
    "<DAD><validation>NO</validation><Xcollection><prolog>?xml version=\"1.0\"?</prolog>"
    "<root_node><element_node name='shelf'><RDB_node><table name='SHELF' key='ID' orderBy='ID'/>"
    "<table name='BOOK' key='TITLE' orderBy='TITLE'/><condition>SHELF.ID = BOOK.ID</condition>"
    "</RDB_node><attribute_node name='id'><RDB_node><table name='SHELF'/>"
    "<column name='ID' type='INTEGER'/></RDB_node></attribute_node>"
    "<element_node name='book' multi_occurrence='YES'><text_node><RDB_node><table name='BOOK'/>"
    "<column name='TITLE' type='VARCHAR(20)'/></RDB_node></text_node></element_node>"
    "</element_node></root_node></Xcollection></DAD>";

std::string shelf(int id, const std::string& title) {
  return "<?xml version=\"1.0\"?>\n<shelf id=\"" + std::to_string(id) + "\">\n  <book>" + title +
         "</book>\n</shelf>";
}

class CommandCall : public testing::Test {
 protected:
  void SetUp() override {
    // Longer than a literal may be.
    std::string comment = "<!--";
    for (int i = 0; i < 30000; ++i) comment += "ü";
    place_.write("shelf.dad", kDad + comment + "-->");
    place_.write("one.xml", shelf(1, "Ωmega"));
    place_.directory = place_.path("");
    ASSERT_EQ(place_.orvxml({"create", "--enable"}).status, 0);
  }

  CommandResult sql(const std::string& script) const {
    return place_.orvxml({"sql", "--quiet", "--csv", "--set-file", "dad=shelf.dad", "--set-file",
                          "doc=one.xml", "--set", "name=L'x", script});
  }
  // The lines that a script writes; it must succeed.
  std::string lines(const std::string& script) const {
    const CommandResult result = sql(script);
    EXPECT_EQ(result.status, 0) << result.err;
    std::string text = result.out;
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
  }
  void makeTables() const {
    lines(
        "create table shelf (id integer not null primary key);"
        "create table book (title varchar(20) not null, id integer not null references shelf)");
  }

  Workplace place_;
};

const std::string kOutcome = "RETURNCODE,RETURNMSG\n0,";
const std::string kShredded = kOutcome + "QRKQ025I  XML decomposed successfully.\n";
const std::string kCounted =
    "NUMROWS,RETURNCODE,RETURNMSG\n1,0,QRKQ020I  XML successfully generated.\n";

TEST_F(CommandCall, ColumnsAndTheDatabase) {
  ASSERT_EQ(place_.orvxml({"dtd", "add", "mail.dtd", kMail + "mail.dtd"}).status, 0);
  ASSERT_EQ(place_.orvxml({"sql", "--file", kMail + "tables.sql"}).status, 0);
  const CommandResult enabled = place_.orvxml(
      {"sql", "--set-file", "dad=" + kMail + "mail.dad",
       "call orvxml.qrkEnableColumn('x', 'mail', 'DOC', :dad, null, 'mail_view', null, ?, ?)"});
  EXPECT_EQ(enabled.status, 0);
  EXPECT_EQ(enabled.err, "");
  EXPECT_EQ(enabled.out,
            "RETURNCODE | RETURNMSG\n"
            "-----------+------------------------------\n"
            "         0 | QRKA022I  Column DOC enabled.\n");
  ASSERT_EQ(place_.orvxml({"sql", "--file", kMail + "mails.sql"}).status, 0);
  EXPECT_EQ(lines("select sender from mail_head order by sender"), "SENDER\nAda\nBarbara\n");
  EXPECT_EQ(lines("call orvxml.qrkDisableColumn('x', 'mail', 'DOC', ?, ?)"),
            kOutcome + "QRKA034I  XML Annex has successfully disabled column DOC.\n");
  EXPECT_NE(sql("select sender from mail_head").status, 0);

  const std::string disable = "call orvxml.qrkDisableDB('warehouse_of_books', ?, ?)";
  const CommandResult used = sql(disable);
  EXPECT_EQ(used.status, 1);
  EXPECT_NE(used.err.find("QRKA007E  Cannot disable database warehous."), used.err.npos)
      << used.err;
  EXPECT_EQ(lines("drop table mail; " + disable),
            kOutcome + "QRKA036I  XML Annex has successfully disabled database warehous.\n");
  EXPECT_EQ(lines("select count(*) as n from syscat.procedures where procschema = 'ORVXML'"),
            "N\n0\n");
}

// Within the unit of work that enables it, and in those behind its COMMIT.
TEST_F(CommandCall, CollectionsByTheirNames) {
  const std::string enable = "call orvxml.qrkEnableCollection('x', :name, :dad, null, ?, ?);";
  const std::string enabled =
      kOutcome + "QRKA067I  XML Annex has successfully enabled collection L'x.\n";
  const std::string use =
      "call orvxml.qrkInsertXML(:name, :doc, ?, ?);"
      "call orvxml.qrkRetrieveXML(:name, 'result', 0, null, 0, ?, ?, ?);"
      "call orvxml.qrkRetrieveXML(:name, 'result', 'doc', null, 0, null, 0, ?, ?, ?);"
      "select count(*) as n, count(distinct varchar(doc)) as d from result;"
      "call orvxml.qrkRetrieveXMLClob(:name, 0, null, ?, ?, ?, ?, ?);"
      "delete from result; delete from book; delete from shelf;";
  const std::string used =
      kShredded + kCounted + kCounted + "N,D\n2,1\n" +
      "RESULTDOC,VALID,NUMDOCS,RETURNCODE,RETURNMSG\n\"" +
      "<?xml version=\"\"1.0\"\"?>\n<shelf id=\"\"1\"\">\n" +
      "  <book>Ωmega</book>\n</shelf>\",,1,0,QRKQ020I  XML successfully generated.\n";
  lines("create table result (doc clob(1M))");
  EXPECT_EQ(lines(enable + use), enabled + used);
  EXPECT_EQ(lines(use), used);
  EXPECT_EQ(lines("commit;" + use + "commit;" + use), used + used);
  EXPECT_EQ(lines("call orvxml.qrkDisableCollection('x', :name, ?, ?)"),
            kOutcome + "QRKA066I  XML Annex has successfully disabled collection L'x.\n");
  const CommandResult gone = sql(use);
  EXPECT_EQ(gone.status, 1);
  EXPECT_EQ(gone.err,
            "<argument 1>:1: QRKQ028E  Cannot find the collection L'x in the XML_USAGE table.\n");
}

TEST_F(CommandCall, MappingsPassedWithTheCall) {
  makeTables();
  lines("create table result (doc clob(1M), valid integer)");
  EXPECT_EQ(lines("call orvxml.qrkShredXML(:dad, :doc, ?, ?)"), kShredded);
  EXPECT_EQ(lines("select * from book"), "TITLE,ID\nΩmega,1\n");
  EXPECT_EQ(lines("call orvxml.qrkGenXML(:dad, 'result', 0, null, 0, ?, ?, ?)"), kCounted);
  EXPECT_EQ(lines("call orvxml.qrkGenXML(:dad, 'result', 'DOC', 'VALID', 0, null, 0, ?, ?, ?)"),
            kCounted);
  EXPECT_EQ(lines("select count(*) as n from result where varchar(doc) = :doc"), "N\n2\n");
  const CommandResult json =
      place_.orvxml({"--json", "sql", "--set-file", "dad=shelf.dad",
                     "call orvxml.qrkGenXMLClob(:dad, 2, '/shelf/@id = 7', ?, ?, ?, ?, ?)"});
  EXPECT_EQ(json.status, 0) << json.err;
  EXPECT_EQ(json.out,
            "[\n  {\"RESULTDOC\": \"\", \"VALID\": null, \"NUMDOCS\": 0, \"RETURNCODE\": 0, "
            "\"RETURNMSG\": \"QRKQ020I  XML successfully generated.\"}\n]\n");
}

// A call that fails by its return code undoes the script like a statement that fails.
TEST_F(CommandCall, AFailedCallUndoesTheScript) {
  makeTables();
  lines("insert into shelf values (1)");
  const CommandResult result =
      sql("insert into shelf values (2);\ncall orvxml.qrkShredXML(:dad, :doc, ?, ?);\n"
          "insert into shelf values (3)");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("<argument 1>:2: QRKG006E"), result.err.npos) << result.err;
  EXPECT_NE(result.out.find("RETURNCODE,RETURNMSG"), result.out.npos) << "shown all the same";
  EXPECT_EQ(lines("select id from shelf"), "ID\n1\n");
}

TEST_F(CommandCall, NamesStandForValuesOutsideQuotesAndComments) {
  struct Case {
    const char *script, *out;
  };
  const Case kCases[] = {
      {"values :name", "1\r\nL'x\r\n"},
      {"values ':name' || :name || ':name'", "1\r\n:nameL'x:name\r\n"},
      {"select count(*) as \":name\" from syscat.tables where 1 = 0", ":name\r\n0\r\n"},
      {"values /* :no /* :no */ ' */ :name -- ' :no\n", "1\r\nL'x\r\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.script);
    const CommandResult result = sql(c.script);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, c.out);
  }
  struct Wrong {
    std::vector<std::string> arguments;
    const char* text;
    int status;
  };
  const Wrong kWrong[] = {
      {{"--set", "name=x", "values 1; values :names"},
       ":names has no value: give it with --set or --set-file",
       2},
      {{"--set", "dad", "values 1"}, "dad", 2},
      {{"--set", "d d=1", "values 1"}, "d d=1", 2},
      {{"--set", "d=1", "--set-file", "d=one.xml", "values 1"}, "two values for d", 2},
      {{"--set-file", "d=absent.xml", "values 1"}, "absent.xml: ", 1},
      {{"--set-file", "d=.", "values 1"}, "is a directory", 1},
      {{"--set", "d=\xC3(", "values :d"}, "UTF-8", 1},
  };
  for (const Wrong& w : kWrong) {
    SCOPED_TRACE(w.text);
    std::vector<std::string> arguments{"sql"};
    arguments.insert(arguments.end(), w.arguments.begin(), w.arguments.end());
    const CommandResult result = place_.orvxml(arguments);
    EXPECT_EQ(result.status, w.status);
    EXPECT_NE(result.err.find(w.text), result.err.npos) << result.err;
    EXPECT_EQ(result.out, "");
  }
}

}  // namespace
}  // namespace orvxml::test
