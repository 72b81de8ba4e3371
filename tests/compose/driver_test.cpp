// Whole compositions through the driver: from a mapping to rows of a result table or a CLOB.
#include <fnmatch.h>

#include "orvxml/composition.h"
#include "tests/foundation/call_context.h"
#include "tests/support/decompose_calls.h"

namespace orvxml::test {
namespace {

const char kDone[] = "QRKQ020I  XML successfully generated.";
const char kMaximum[] = "QRKQ003W  Result exceeds maximum.";
const char kProlog[] = "<prolog>?xml version=\"1.0\"?</prolog>";

std::string byQuery(const std::string& statement, const std::string& settings = "") {
  return "<DAD>" + settings + "<Xcollection><SQL_stmt>" + statement + "</SQL_stmt>" + kProlog +
         "<root_node><element_node name='o'><attribute_node name='id'><column name='ID'/>"
         "</attribute_node><text_node><column name='NAME'/></text_node></element_node></root_node>"
         "</Xcollection></DAD>";
}
const char kStatement[] = "SELECT id, name FROM o ORDER BY id";

std::string byTables(const std::string& settings = "") {
  const auto column = [](const char* name) {
    return std::string("<RDB_node><table name='O'/><column name='") + name + "'/></RDB_node>";
  };
  return "<DAD>" + settings + "<Xcollection>" + kProlog +
         "<root_node><element_node name='o'><RDB_node><table name='O' orderBy='ID'/></RDB_node>"
         "<attribute_node name='id'>" +
         column("ID") + "</attribute_node><text_node>" + column("NAME") +
         "</text_node></element_node></root_node></Xcollection></DAD>";
}

std::string document(int id, const std::string& name) {
  return "<?xml version=\"1.0\"?>\n<o id=\"" + std::to_string(id) + "\">" + name + "</o>";
}

struct Arguments {
  std::string dad = {};
  const char* table = nullptr;  // without one: CLOB mode
  std::string schema = "";
  std::string tabname = "R";
  const char* column = nullptr;
  const char* validColumn = nullptr;
  int overrideType = 0;
  const char* override = nullptr;
  int maxRows = 0;
  int addValidColumn = 1;
  int capacity = 1000;
  QrkLocation location = QRK_LOC_MEMORY;
};

class DriverTest : public testing::Test {
 protected:
  DriverTest() {
    db_.run("CREATE TABLE O (ID INTEGER NOT NULL, NAME VARCHAR(40))");
    db_.run("CREATE TABLE R (DOC CLOB(1M))");
    insert(1, "Ann");
    insert(2, "Bob");
    insert(3, "Cid");
  }
  // No cursor, no locator and no file is left of any composition.
  ~DriverTest() override {
    db_.run("DROP TABLE O");
    EXPECT_EQ(unittest::fileCount(folder_), 0u);
  }

  void insert(int id, const std::string& name) {
    db_.run("INSERT INTO O VALUES (" + std::to_string(id) + ", '" + name + "')");
  }

  void compose(const Arguments& a) {
    count_ = valid_ = 99;
    code_ = 99;
    std::string schema = a.schema, tabname = a.tabname;
    std::vector<char> area(static_cast<size_t>(a.capacity), '#');
    int32_t length = a.capacity;
    const bool toClob = a.table == nullptr;
    const int rc =
        qrkComposeXML(call_, a.dad.c_str(), a.location, a.table, schema.data(), tabname.data(),
                      a.column, a.validColumn, a.overrideType, a.override, a.maxRows, &count_,
                      toClob ? area.data() : nullptr, toClob ? &length : nullptr,
                      toClob ? &valid_ : nullptr, &code_, call_.msg, a.addValidColumn);
    EXPECT_EQ(rc != 0, code_ < 0) << rc << ' ' << code_;
    EXPECT_EQ(count_ == 99, code_ < 0);
    clob_ = toClob ? std::string(area.data(), static_cast<size_t>(length)) : "";
    schema_ = schema;
  }

  void expectOutcome(int code, const std::string& message) {
    EXPECT_EQ(code_, code);
    EXPECT_EQ(fnmatch(message.c_str(), withoutNewline(call_.msg).c_str(), 0), 0) << call_.msg;
  }

  Rows results(const std::string& table = "R") { return db_.rows("SELECT * FROM " + table); }
  // Empties the result table.
  void clear() { db_.run("DELETE FROM R", results().empty() ? 100 : 0); }

  const TemporaryFolder folder_;
  const unittest::Variable folderForFiles_{"ORVQRKTEMP", folder_.path().c_str()};
  DecomposeDatabase db_;
  CallContext call_;
  int32_t count_ = 0, valid_ = 0, code_ = 0;
  std::string clob_, schema_;
};

TEST_F(DriverTest, SettingsOfTheMapping) {
  const std::string location(2001, 'x');
  const auto schema = [](const std::string& place) {
    return "<schemabindings><nonamespacelocation location='" + place + "'/></schemabindings>";
  };
  struct Case {
    const char* label;
    std::string settings;
    int code;
    std::string message;
    int valid = -1;
  };
  const std::string both =
      "QRKQ057E  The schemabindings and dtdid tags cannot exist together in the DAD file.";
  const std::string noLocation =
      "QRKQ058E  The nonamespacelocation tag inside the schemabindings tag is missing in the DAD "
      "file.";
  const auto badValue = [](const std::string& value) {
    return "QRKA056E  The validation value " + value + " in the DAD file is invalid.";
  };
  const std::string blanks(57, ' ');
  const Case cases[] = {
      {"none", "", 0, kDone},
      {"off, between comments", "<!-- a -->\n<validation> nO </validation><!-- b -->", 0, kDone},
      {"on, without a DTD", "<validation> yEs</validation>", 0, kDone, 0},
      {"neither on nor off", "<validation>Maybe</validation>", -40, badValue("Maybe")},
      {"nothing", "<validation/>", -40, badValue("")},
      {"the longest value", "<validation>" + blanks + "no</validation>", 0, kDone},
      {"a longer value", "<validation> " + blanks + "no</validation>", -40, badValue("no")},
      {"DTD, then schema", "<dtdid>d</dtdid>" + schema("s"), -137, both},
      {"schema, then DTD", schema("s") + "<dtdid/>", -137, both},
      {"schema without a location", "<schemabindings><a/></schemabindings>", -138, noLocation},
      {"the longest location", schema(location), 0, kDone},
      {"a longer location", schema(location + "x"), -138, noLocation},
      {"a DTD of any length", "<dtdid>" + location + "</dtdid>", 0, kDone},
      {"an unknown element", "<Xcolumn/>", -123,
       "QRKQ040E  The element name Xcolumn in the DAD file is invalid."},
  };
  for (const Case& c : cases) {
    for (const std::string& dad : {byQuery(kStatement, c.settings), byTables(c.settings)}) {
      SCOPED_TRACE(std::string(c.label) + "\n" + dad);
      compose({.dad = dad});
      expectOutcome(c.code, c.message);
      EXPECT_EQ(valid_, c.valid);
      EXPECT_EQ(clob_, c.code == 0 ? document(1, "Ann") : "");
    }
  }
}

TEST_F(DriverTest, MappingsThatCannotBeRead) {
  compose({.dad = "<DAD>"});
  expectOutcome(-85, "QRKQ047E  Parser error on line 1 column *");
  compose({.dad = folder_.path("none.dad"), .location = QRK_LOC_FILE});
  expectOutcome(-103, "QRKC001E  The specified file is not found.");
  const TemporaryFolder mappings;
  compose({.dad = mappings.write("o.dad", byTables()), .location = QRK_LOC_FILE});
  expectOutcome(0, kDone);
  EXPECT_EQ(clob_, document(1, "Ann"));
}

TEST_F(DriverTest, ResultTables) {
  db_.run("CREATE TABLE THEIR.R (\"doc\" VARCHAR(100), N INTEGER)");
  db_.run("CREATE TABLE \"r\" (DOC VARCHAR(100))");
  db_.run("CREATE TABLE SMALL (DOC VARCHAR(10))");
  db_.run("CREATE ALIAS OTHER FOR R");
  db_.run(
      "DECLARE GLOBAL TEMPORARY TABLE SESSION.T (\"a d\" VARCHAR(100)) ON COMMIT PRESERVE ROWS");
  const Row ann{document(1, "Ann")};
  struct Case {
    const char* label;
    Arguments arguments;
    int code;
    std::string message;
    const char* stored = nullptr;  // the table that has the rows
  };
  const Case cases[] = {
      {"as written, its first column", {.table = "r"}, 0, kDone, "R"},
      {"a delimited name", {.table = "\"r\"", .tabname = "r"}, 0, kDone, "\"r\""},
      {"a schema in small letters",
       {.table = "their.r", .schema = "their", .column = "doc"},
       0,
       kDone,
       "THEIR.R"},
      {"no such table",
       {.table = "their.s", .schema = "THEIR", .tabname = "S"},
       -11,
       "*QRKA016E  The input table S does not exist."},
      {"no such column", {.table = "R", .column = "X"}, -57, "*QRKM001W  A ORV error occurred.\n*"},
      {"a column that is too small",
       {.table = "small", .tabname = "SMALL"},
       -77,
       "QRKQ017E  The column in the result table small is too small."},
      {"a temporary table",
       {.table = "session.t", .schema = "session", .tabname = "T", .column = "a d"},
       0,
       kDone,
       "SESSION.T"},
      {"an alias", {.table = "other", .tabname = "OTHER", .column = "DOC"}, 0, kDone, "R"},
      {"the first column behind an alias", {.table = "other", .tabname = "OTHER"}, 0, kDone, "R"},
      {"the first column of a temporary table",
       {.table = "session.t", .schema = "Session", .tabname = "T"},
       0,
       kDone,
       "SESSION.T"},
      {"no such temporary table",
       {.table = "session.s", .schema = "SESSION", .tabname = "S"},
       -11,
       "QRKA016E  The input table S does not exist."},
  };
  for (const Case& c : cases) {
    for (const std::string& dad : {byQuery(kStatement), byTables()}) {
      SCOPED_TRACE(std::string(c.label) + "\n" + dad);
      Arguments arguments = c.arguments;
      arguments.dad = dad;
      compose(arguments);
      if (c.code != -57 || dad == byQuery(kStatement)) expectOutcome(c.code, c.message);
      EXPECT_TRUE(std::none_of(schema_.begin(), schema_.end(), islower)) << schema_;
      if (!c.stored) continue;
      EXPECT_EQ(count_, 3);
      const Rows rows = results(c.stored);
      ASSERT_EQ(rows.size(), 3u);
      EXPECT_EQ(rows[0][0], ann[0]);
      db_.run(std::string("DELETE FROM ") + c.stored);
    }
  }
}

TEST_F(DriverTest, ValidationColumn) {
  const std::string settings = "<validation>YES</validation><dtdid>d.dtd</dtdid>";
  db_.run(
      "insert into orvxml.dtd_ref (dtdid, content, usage_count) values ('d.dtd',"
      " '<!ELEMENT o (#PCDATA)><!ATTLIST o id CDATA #REQUIRED>', 0)");
  db_.run("CREATE TABLE OWN (DOC VARCHAR(200), V INTEGER)");
  db_.run("DECLARE GLOBAL TEMPORARY TABLE T (DOC VARCHAR(200))");
  const std::string header =
      "<?xml version=\"1.0\"?>\n<!DOCTYPE o SYSTEM \"d.dtd\">\n<o id=\"1\">Ann</o>";
  const auto withDoctype = [](std::string dad) {
    return dad.insert(dad.find("<root_node>"), "<doctype>!DOCTYPE o SYSTEM \"d.dtd\"</doctype>");
  };
  for (const std::string& plain : {byQuery(kStatement, settings), byTables(settings)}) {
    const std::string dad = withDoctype(plain);
    SCOPED_TRACE(dad);
    compose({.dad = dad, .table = "r", .validColumn = ""});  // added, or there already
    expectOutcome(0, kDone);
    compose({.dad = dad, .table = "r", .maxRows = 1});
    expectOutcome(3, kMaximum);
    EXPECT_EQ(db_.rows("SELECT QRK_VALID FROM R"), (Rows{{"1"}, {"1"}, {"1"}, {"1"}}));
    EXPECT_EQ(results()[0][0], header);
    clear();
    compose(
        {.dad = dad, .table = "own", .tabname = "OWN", .validColumn = "V", .addValidColumn = 0});
    expectOutcome(0, kDone);
    EXPECT_EQ(db_.rows("SELECT V FROM OWN"), (Rows{{"1"}, {"1"}, {"1"}}));
    compose({.dad = dad, .table = "own", .tabname = "OWN", .addValidColumn = 0});
    expectOutcome(-134, "QRKQ054E  Invalid input parameter: NULL");
    compose({.dad = dad, .table = "session.t", .schema = "SESSION", .tabname = "T"});
    expectOutcome(-8, "*QRKA013E  Attempt to alter table session.t failed.");
    db_.run("DELETE FROM OWN");
    compose({.dad = dad});
    expectOutcome(0, kDone);
    EXPECT_EQ(clob_, header);
    EXPECT_EQ(valid_, 1);
  }
}

TEST_F(DriverTest, Statements) {
  const std::string longColumn(kStatementLimit, 'x');
  const std::string blanks(kStatementLimit - 100, ' ');
  const char kNoOrder[] = "QRKQ018E  The ORDER BY clause is missing from the SQL statement.";
  const char kTooLong[] = "QRKQ038E  The SQL statement is too long: sql_stmt > MAX_STMT_LEN.";
  struct Case {
    const char* label;
    std::string statement;
    int code;
    std::string message;
    std::string document = {};
  };
  const Case cases[] = {
      {"lines and tabs", "\n SELECT id,\tname\nFROM o\n ORDER BY\n id\n", 0, kDone,
       document(1, "Ann")},
      {"small letters", "select id, name from o order by id", 0, kDone, document(1, "Ann")},
      {"mixed letters", "select id, name from o Order By id", -78, kNoOrder},
      {"no clause", "select id, name from o", -78, kNoOrder},
      {"nothing behind the words", "select id, name from o ORDER BY", -78, kNoOrder},
      {"no keys", "select id, name from o ORDER BY  ", -64, "QRKQ004E  *"},
      {"CDATA", "<![CDATA[SELECT id, name FROM o WHERE id > 2 ORDER BY id]]>", 0, kDone,
       document(3, "Cid")},
      {"text, a comment and CDATA",
       "SELECT id, name FROM o<!-- c --><![CDATA[ WHERE id < 2]]>"
       " ORDER BY id",
       0, kDone, document(1, "Ann")},
      {"the last clause counts",
       "SELECT id, name FROM o WHERE name &lt;&gt; ' ORDER BY x' AND id = 2 ORDER BY id", 0, kDone,
       document(2, "Bob")},
      {"nothing", "", -62, "QRKQ001E  Invalid SQL statement for XML generation."},
      {"blanks", " \n ", -62, "QRKQ001E  Invalid SQL statement for XML generation."},
      {"no statement at all", "rubbish ORDER BY id", -62, "QRKQ001E  *"},
      {"no such table", "SELECT id FROM nowhere ORDER BY id", -62, "QRKQ001E  *"},
      {"long", "SELECT id, name FROM o" + blanks + " ORDER BY id", 0, kDone, document(1, "Ann")},
      {"too long", "SELECT id, name FROM o WHERE name = '" + longColumn + "' ORDER BY id", -121,
       kTooLong},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    compose({.dad = byQuery(c.statement)});
    expectOutcome(c.code, c.message);
    EXPECT_EQ(clob_, c.document);
  }
}

TEST_F(DriverTest, Overrides) {
  const std::string query = byQuery(kStatement), tables = byTables();
  const char kOther[] = "SELECT id, name FROM o WHERE id = 2 order by id";
  struct Case {
    const char* label;
    std::string dad;
    int type;
    const char* text;
    int code;
    std::string message;
    std::string document = {};
  };
  const Case cases[] = {
      {"none", query, NO_OVERRIDE, kOther, 0, kDone, document(1, "Ann")},
      {"a statement", query, SQL_OVERRIDE, kOther, 0, kDone, document(2, "Bob")},
      {"a statement of another type", query, XML_OVERRIDE, kOther, 0, kDone, document(2, "Bob")},
      {"no statement", query, SQL_OVERRIDE, nullptr, -62, "QRKQ001E  *"},
      {"no text of the code page", query, SQL_OVERRIDE, "SELECT '\xff' FROM o ORDER BY id", -62,
       "QRKQ001E  *"},
      {"a condition", tables, XML_OVERRIDE, "/o/@id > 2", 0, kDone, document(3, "Cid")},
      {"a path that selects nothing", tables, XML_OVERRIDE, "/p/@id > 2", 5,
       "QRKQ041W  XML document successfully generated.  One or more override paths specified is "
       "invalid and ignored.",
       document(1, "Ann")},
      {"a statement for tables", tables, SQL_OVERRIDE, kOther, -99,
       "QRKQ030E  Wrong XML override syntax."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    compose({.dad = c.dad, .overrideType = c.type, .override = c.text});
    expectOutcome(c.code, c.message);
    EXPECT_EQ(clob_, c.document);
  }
}

TEST_F(DriverTest, MaximumOfDocuments) {
  struct Case {
    int maximum;
    int code;
    int documents;
  };
  const Case cases[] = {{0, 0, 3}, {1, 3, 1}, {2, 3, 2}, {3, 3, 3}, {4, 0, 3}};
  for (const Case& c : cases) {
    for (const std::string& dad : {byQuery(kStatement), byTables()}) {
      SCOPED_TRACE(std::to_string(c.maximum) + "\n" + dad);
      compose({.dad = dad, .table = "R", .maxRows = c.maximum});
      expectOutcome(c.code, c.code ? kMaximum : kDone);
      EXPECT_EQ(count_, c.documents);
      EXPECT_EQ(results().size(), static_cast<size_t>(c.documents));
      clear();
      compose({.dad = dad, .maxRows = c.maximum});
      expectOutcome(c.code, c.code ? kMaximum : kDone);
      EXPECT_EQ(count_, c.documents);
      EXPECT_EQ(clob_, document(1, "Ann"));
    }
  }
  compose({.dad = byQuery(kStatement), .table = "R", .maxRows = -1});
  expectOutcome(3, kMaximum);
  EXPECT_EQ(count_, 0);
}

TEST_F(DriverTest, ObjectsWithoutDocuments) {
  insert(3, "Dee");  // the same object as before
  db_.run("DELETE FROM O WHERE ID = 2");
  compose({.dad = byQuery("SELECT NULLIF(id, 1) AS id, name FROM o ORDER BY id"), .table = "R"});
  expectOutcome(0, kDone);
  EXPECT_EQ(count_, 1);
  EXPECT_EQ(results().size(), 1u);
  db_.run("DELETE FROM O");
  for (const std::string& dad : {byQuery(kStatement), byTables()}) {
    compose({.dad = dad});
    expectOutcome(0, kDone);
    EXPECT_EQ(count_, 0);
    EXPECT_EQ(clob_, "");
    EXPECT_EQ(valid_, -1);
  }
}

TEST_F(DriverTest, ClobsAndFailuresReturnNothingHalf) {
  const std::string ann = document(1, "Ann");
  for (const std::string& dad : {byQuery(kStatement), byTables()}) {
    SCOPED_TRACE(dad);
    const int size = static_cast<int>(ann.size());
    for (const int capacity : {0, size - 1, size}) {
      compose({.dad = dad, .capacity = capacity});
      EXPECT_EQ(code_, capacity < size ? -124 : 0);
      EXPECT_EQ(clob_, capacity < size ? "" : ann);
    }
  }
  // Composed after the first document was returned, and refused.
  insert(4, "a\x01");
  compose({.dad = byQuery(kStatement)});
  EXPECT_EQ(code_, -135);
  EXPECT_EQ(clob_, "");
}

TEST_F(DriverTest, DocumentsOfEverySizeAndTheUnitOfWork) {
  db_.run("CREATE TABLE L (ID INTEGER NOT NULL, NAME CLOB(100K))");
  for (const int size : {16000, 16340, 16400, 32700, 33000, 90000}) {
    const std::string part(static_cast<size_t>(size / 4), 'n');
    db_.run("INSERT INTO L VALUES (" + std::to_string(size) + ", CAST('" + part +
            "' AS CLOB(100K)) || '" + part + "' || '" + part + "' || '" + part + "')");
  }
  EXPECT_FALSE(db_.session().commit().failed());
  db_.run("INSERT INTO R VALUES ('mine')");
  compose({.dad = byQuery("SELECT id, name FROM l ORDER BY id"), .table = "R"});
  expectOutcome(0, kDone);
  Rows expected{{"mine"}};
  for (const int size : {16000, 16340, 16400, 32700, 33000, 90000}) {
    expected.push_back({document(size, std::string(static_cast<size_t>(size), 'n'))});
  }
  EXPECT_EQ(results(), expected);
  // A failure takes nothing from the caller, whose unit of work goes on.
  db_.run("INSERT INTO L VALUES (99999, 'a\x01')");
  compose({.dad = byQuery("SELECT id, name FROM l WHERE id > 90000 ORDER BY id"), .table = "R"});
  EXPECT_EQ(code_, -135);
  EXPECT_EQ(results(), expected);
  EXPECT_FALSE(db_.session().rollback().failed());
  EXPECT_EQ(results(), Rows{});
}

}  // namespace
}  // namespace orvxml::test
