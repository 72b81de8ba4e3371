// Whole compositions through the driver: from a mapping to rows of a result table or a CLOB.
#include <fnmatch.h>

#include "src/compose/composition.h"
#include "src/outcome/edge.h"
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
  std::string column = "";
  std::string validColumn = "";
  int overrideType = 0;
  const char* override = nullptr;
  int maxRows = 0;
  bool addsValidColumn = true;
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
    EXPECT_TRUE(folder_.isEmpty());
  }

  void insert(int id, const char* name) {
    db_.run("INSERT INTO O VALUES (" + std::to_string(id) + ", '" + name + "')");
  }

  void compose(const Arguments& a) {
    std::vector<char> area(static_cast<size_t>(a.capacity), '#');
    CompositionRequest request{.dad = a.dad.c_str(),
                               .dadLoctype = a.location,
                               .overrideType = a.overrideType,
                               .override = a.override,
                               .maxRows = a.maxRows};
    if (a.table) {
      request.table = {a.table, a.schema, a.tabname, a.column, a.validColumn, a.addsValidColumn};
    } else {
      request.clob = area.data();
      request.clobCapacity = a.capacity;
    }
    Composed composed;
    *call_.msg = '\0';
    code_ = atEdge(Report{call_, call_.msg}, [&] {
      composed = qrkComposeXML(call_, request);
      return report(Report{call_, call_.msg}, composed.outcome);
    });
    count_ = composed.documents;
    valid_ = composed.valid;
    clob_ = std::string(area.data(), static_cast<size_t>(composed.clobLength));
    if (code_ < 0 && !a.table) {
      EXPECT_EQ(area.front(), '\0');
    }
  }

  void expectOutcome(int code, const std::string& message) {
    EXPECT_EQ(code_, code);
    EXPECT_EQ(fnmatch(message.c_str(), withoutNewline(call_.msg).c_str(), 0), 0) << call_.msg;
  }

  Rows results(const std::string& table = "R") { return db_.rows("SELECT * FROM " + table); }
  // Empties the result table.
  void clear() { db_.run("DELETE FROM R", results().empty() ? 100 : 0); }

  const TemporaryFolder folder_;
  const Variable folderForFiles_{"ORVQRKTEMP", folder_.path().c_str()};
  DecomposeDatabase db_;
  CallContext call_;
  int32_t count_ = 0, valid_ = 0, code_ = 0;
  std::string clob_;
};

TEST_F(DriverTest, SettingsOfTheMapping) {
  const std::string location(2001, 'x'), blanks(57, ' ');
  const auto schema = [](const std::string& place) {
    return "<schemabindings><nonamespacelocation location='" + place + "'/></schemabindings>";
  };
  const auto validation = [](const std::string& value) {
    return "<validation>" + value + "</validation>";
  };
  struct Case {
    const char* label;
    std::string settings;
    int code;
    std::string message;
    int valid = -1;
  };
  const Case cases[] = {
      {"off, between comments", "<!-- a -->" + validation(" nO ") + "<!-- b -->", 0, kDone},
      {"on, without a DTD", validation("\n yEs"), 0, kDone, 0},
      {"neither on nor off", validation("Maybe"), -40, "QRKA056E  The validation value Maybe *"},
      {"the longest value", validation(blanks + "no"), 0, kDone},
      {"a longer value", validation(blanks + " no"), -40, "QRKA056E  The validation value no *"},
      {"DTD, then schema", "<dtdid>d</dtdid>" + schema("s"), -137, "QRKQ057E  *"},
      {"no location", "<schemabindings><a/></schemabindings>", -138, "QRKQ058E  *"},
      {"the longest location", schema(location), 0, kDone},
      {"a longer location", schema(location + "x"), -61,
       "QRKQ000E  location of nonamespacelocation *"},
      {"a DTD of any length", "<dtdid>" + location + "</dtdid>", 0, kDone},
      {"an unknown element", "<Xcolumn/>", -123, "QRKQ040E  The element name Xcolumn *"},
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
  db_.run("DECLARE GLOBAL TEMPORARY TABLE T (\"a d\" VARCHAR(100)) ON COMMIT PRESERVE ROWS");
  struct Case {
    const char* label;
    const char* table;
    const char* schema;
    const char* tabname;
    const char* column;
    int code;
    const char* message;
  };
  const char kFailed[] = "*QRKM001W  A ORV error occurred.\n*";
  const Case cases[] = {
      {"its first column", "r", "", "R", "", 0, kDone},
      {"a delimited name", "\"r\"", "", "r", "", 0, kDone},
      {"a schema in small letters", "their.r", "their", "R", "doc", 0, kDone},
      {"an alias", "other", "", "OTHER", "DOC", 0, kDone},
      {"the first column behind an alias", "other", "", "OTHER", "", 0, kDone},
      {"a temporary table", "session.t", "Session", "T", "a d", 0, kDone},
      {"its first column", "session.t", "session", "T", "", 0, kDone},
      {"no such table", "their.s", "THEIR", "S", "", -11, "*QRKA016E  The input table S *"},
      {"nor this one", "session.s", "SESSION", "S", "", -11, "QRKA016E  The input table S *"},
      {"a small column", "small", "", "SMALL", "DOC", -77, "QRKQ017E  * result table small is *"},
      {"no such column", "R", "", "R", "X", -57, kFailed},
  };
  for (const Case& c : cases) {
    for (const bool usesTables : {false, true}) {
      const std::string dad = usesTables ? byTables() : byQuery(kStatement);
      SCOPED_TRACE(std::string(c.label) + "\n" + dad);
      compose({dad, c.table, c.schema, c.tabname, c.column});
      if (usesTables && c.code == -57) {  // the model of tables looks for the column itself
        expectOutcome(-69, "QRKQ021E  *\nQRKQ009E  *");
      } else {
        expectOutcome(c.code, c.message);
      }
      if (c.code != 0) continue;
      EXPECT_EQ(count_, 3);
      const Rows rows = results(c.table);
      ASSERT_EQ(rows.size(), 3u);
      EXPECT_EQ(rows[0][0], document(1, "Ann"));
      db_.run(std::string("DELETE FROM ") + c.table);
    }
  }
  // The current schema counts, whatever the user's name is.
  db_.run("SET CURRENT SCHEMA THEIR");
  compose({byQuery("SELECT id, name FROM APP.o ORDER BY id"), "r", "", "R"});
  expectOutcome(0, kDone);
  db_.run("SET CURRENT SCHEMA APP");
}

TEST_F(DriverTest, ValidationColumn) {
  const std::string settings = "<validation>YES</validation><dtdid>d.dtd</dtdid>";
  db_.run("CREATE TABLE OWN (DOC VARCHAR(200), V INTEGER)");
  db_.run("DECLARE GLOBAL TEMPORARY TABLE T (DOC VARCHAR(200))");
  for (const std::string& dad : {byQuery(kStatement, settings), byTables(settings)}) {
    SCOPED_TRACE(dad);
    compose({
        .dad = dad,
        .table = "r",
    });  // added, or there already
    expectOutcome(0, kDone);
    compose({.dad = dad, .table = "r", .maxRows = 1});
    expectOutcome(3, kMaximum);
    EXPECT_EQ(db_.rows("SELECT QRK_VALID FROM R"), (Rows{{"0"}, {"0"}, {"0"}, {"0"}}));
    clear();
    compose({.dad = dad,
             .table = "own",
             .tabname = "OWN",
             .validColumn = "V",
             .addsValidColumn = false});
    expectOutcome(0, kDone);
    EXPECT_EQ(db_.rows("SELECT V FROM OWN"), (Rows{{"0"}, {"0"}, {"0"}}));
    compose({.dad = dad, .table = "own", .tabname = "OWN", .addsValidColumn = false});
    expectOutcome(-134, "QRKQ054E  Invalid input parameter: NULL");
    compose({.dad = dad, .table = "session.t", .schema = "SESSION", .tabname = "T"});
    expectOutcome(-8, "*QRKA013E  Attempt to alter table session.t failed.");
    db_.run("DELETE FROM OWN");
    compose({.dad = dad});
    expectOutcome(0, kDone);
    EXPECT_EQ(valid_, 0);
  }
}

TEST_F(DriverTest, StatementsAndOverrides) {
  const std::string longColumn(kStatementLimit, 'x'), blanks(kStatementLimit - 100, ' ');
  const std::string ann = document(1, "Ann"), bob = document(2, "Bob"), cid = document(3, "Cid");
  const std::string query = byQuery(kStatement), tables = byTables();
  const auto ofSize = [](size_t size) {
    const std::string part(20000, 'x');
    std::string base = "SELECT id, name FROM o WHERE '" + part + "' = '" + part + "' AND '' != '";
    return base.append(size - base.size() - 1, 'y') + "'";
  };
  // What stands around a statement in the query that reads its objects.
  const size_t most = kStatementLimit - 1 -
                      std::strlen("SELECT \"ID\", \"NAME\" FROM () qrk_tab_exp ORDER BY \"ID\"");
  static const char kOther[] = "SELECT id, name FROM o WHERE id = 2 order by id";
  struct Case {
    const char* label;
    std::string dad;
    int code;
    const char* message;
    std::string document = {};
    int type = NO_OVERRIDE;
    const char* text = kOther;
  };
  const Case cases[] = {
      {"lines", byQuery("\n SELECT id,\tname\nFROM o\n ORDER BY\n id\n"), 0, kDone, ann},
      {"small letters", byQuery("select id, name from o order by id"), 0, kDone, ann},
      {"mixed letters", byQuery("select id, name from o Order By id"), -78, "QRKQ018E  *"},
      {"nothing behind the words", byQuery("select id from o ORDER BY"), -78, "QRKQ018E  *"},
      {"no keys", byQuery("select id from o ORDER BY  "), -64, "QRKQ004E  *"},
      {"text, a comment and CDATA",
       byQuery("SELECT id, name FROM o<!-- c --><![CDATA[ WHERE id < 2]]> ORDER BY id"), 0, kDone,
       ann},
      {"the last clause counts",
       byQuery("SELECT id, name FROM o WHERE name != ' ORDER BY x' AND id = 2 ORDER BY id"), 0,
       kDone, bob},
      {"nothing", byQuery(""), -62, "QRKQ001E  *"},
      {"blanks", byQuery(" \n "), -62, "QRKQ001E  *"},
      {"no statement at all", byQuery("rubbish ORDER BY id"), -62, "QRKQ001E  *"},
      {"long", byQuery("SELECT id, name FROM o" + blanks + " ORDER BY id"), 0, kDone, ann},
      {"as long as the query of its objects can be", byQuery(ofSize(most) + " ORDER BY id"), 0,
       kDone, ann},
      {"longer", byQuery(ofSize(most + 1) + " ORDER BY id"), -121, "QRKQ038E  *"},
      {"65,535 bytes", byQuery(ofSize(65535 - 12) + " ORDER BY id"), -121, "QRKQ038E  *"},
      {"too long", byQuery("SELECT " + longColumn + " FROM o ORDER BY id"), -121,
       "QRKQ038E  The SQL statement is too long: sql_stmt > MAX_STMT_LEN."},
      {"an override", query, 0, kDone, bob, SQL_OVERRIDE},
      {"an override of another type", query, 0, kDone, bob, XML_OVERRIDE},
      {"a missing override", query, -62, "QRKQ001E  *", "", SQL_OVERRIDE, nullptr},
      {"no text", query, -62, "QRKQ001E  *", "", SQL_OVERRIDE, "\xff ORDER BY id"},
      {"a condition", tables, 0, kDone, cid, XML_OVERRIDE, "/o/@id > 2"},
      {"an unused condition", tables, 5, "QRKQ041W  *", ann, XML_OVERRIDE, "/p > 2"},
      {"a statement for tables", tables, -99, "QRKQ030E  *", "", SQL_OVERRIDE},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    compose({.dad = c.dad, .overrideType = c.type, .override = c.text});
    expectOutcome(c.code, c.message);
    EXPECT_EQ(clob_, c.document);
  }
}

TEST_F(DriverTest, OverridesThatAreCutOff) {
  const std::string overrides[] = {
      "SELECT id, name FROM o WHERE name = 'Cid' ORDER BY id",
      "/o/@id > 1 AND /o/@id NO_CONDITION AND /o = 'Cid' AND /o <> 'x AND y'"};
  const std::string dads[] = {byQuery(kStatement), byTables()};
  for (const int type : {SQL_OVERRIDE, XML_OVERRIDE}) {
    const std::string& whole = overrides[type - 1];
    for (size_t length = 0; length <= whole.size(); ++length) {
      const std::string text = whole.substr(0, length);
      SCOPED_TRACE(text);
      compose({.dad = dads[type - 1], .overrideType = type, .override = text.c_str()});
      EXPECT_STRNE(call_.msg, "");
      if (code_ < 0 || count_ == 0) {
        EXPECT_EQ(clob_, "");
      } else {
        EXPECT_TRUE(fnmatch("*<o id=\"[123]\">[ABC]*</o>", clob_.c_str(), 0) == 0) << clob_;
      }
    }
    expectOutcome(0, kDone);
    EXPECT_EQ(clob_, document(3, "Cid"));
  }
}

// Statements that the session knows from before are no good any more.
TEST_F(DriverTest, ColumnsThatVanishOrChange) {
  const Arguments both[] = {{.dad = byQuery(kStatement), .table = "R", .column = "DOC"},
                            {.dad = byTables(), .table = "R", .column = "DOC"}};
  const auto composeBoth = [&](std::vector<int> codes, const std::string& message) {
    for (const Arguments& arguments : both) {
      SCOPED_TRACE(arguments.dad);
      compose(arguments);
      expectOutcome(codes[static_cast<size_t>(&arguments - both)], message);
    }
  };
  const auto replace = [&](const std::string& table, const std::string& columns) {
    db_.run("DROP TABLE " + table);
    db_.run("CREATE TABLE " + table + " (" + columns + ")");
  };
  composeBoth({0, 0}, kDone);
  replace("O", "ID INTEGER NOT NULL, TITLE VARCHAR(40)");
  db_.run("INSERT INTO O VALUES (1, 'Ann')");
  composeBoth({-62, -133}, "QRKQ0*NAME\" is not valid in the context in which it is used.  *");
  replace("O", "NAME CLOB(9), MORE CHAR(1), ID DECIMAL(5,2)");
  db_.run("INSERT INTO O VALUES ('Bob', '-', 2)");
  replace("R", "N INTEGER, DOC VARCHAR(99)");
  composeBoth({0, 0}, kDone);
  const std::string bob = "<?xml version=\"1.0\"?>\n<o id=\"2.00\">Bob</o>";
  EXPECT_EQ(results(), (Rows{{"NULL", bob}, {"NULL", bob}}));
  replace("R", "N INTEGER, PAPER VARCHAR(99)");
  composeBoth({-57, -69}, "*");
  EXPECT_EQ(results(), Rows{});
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

TEST_F(DriverTest, FailuresReturnNothing) {
  const std::string ann = document(1, "Ann");
  const int size = static_cast<int>(ann.size());
  for (const std::string& dad : {byQuery(kStatement), byTables()}) {
    compose({.dad = dad, .capacity = size});
    EXPECT_EQ(clob_, ann);
    compose({.dad = dad, .capacity = size - 1});
    EXPECT_EQ(code_, -124);
    EXPECT_EQ(clob_, "");
  }
  insert(4, "a\x01");  // refused when the first document has been returned
  compose({.dad = byQuery(kStatement)});
  EXPECT_EQ(code_, -135);
  EXPECT_EQ(clob_, "");
}

TEST_F(DriverTest, TheUnitOfWorkGoesOn) {
  EXPECT_FALSE(db_.session().commit().failed());
  db_.run("INSERT INTO R VALUES ('mine')");
  compose({.dad = byQuery(kStatement), .table = "R", .maxRows = 1});
  insert(0, "a\x01");
  for (const std::string& dad : {byQuery(kStatement), byTables()}) {
    compose({.dad = dad, .table = "R"});
    EXPECT_EQ(code_, -135);
    EXPECT_EQ(results(), (Rows{{"mine"}, {document(1, "Ann")}}));
  }
  EXPECT_FALSE(db_.session().rollback().failed());
  EXPECT_EQ(results(), Rows{});
}

TEST(DriverSetUpTest, AConnectionThatFailsIsTracedAndReported) {
  const TemporaryFolder folder;
  auto db = std::make_unique<Database>();
  CallContext call;
  call.get()->traceFile = std::fopen(folder.path("trace").c_str(), "w");
  call.get()->traceOn = 1;
  db.reset();
  EXPECT_EQ(atEdge(Report{call, call.msg}, [&] { qrkComposeXML(call, {.dad = "<DAD/>"}); }), -57);
  EXPECT_EQ(fnmatch("QRKG006E  Internal Error SQLSTATE=08003, RC=-1, *CLIMSG=ORV*", call.msg, 0), 0)
      << call.msg;
  const std::string trace = readFile(folder.path("trace"));
  EXPECT_NE(trace.find(":\t\tcannot connect to db rc = -1, sqlstate = 08003\n"), trace.npos)
      << trace;
}

}  // namespace
}  // namespace orvxml::test
