#include <dlfcn.h>

#include "tests/support/admin_calls.h"
#include "tests/support/instance_trace.h"

namespace orvxml::test {
namespace {

const CallOutcome kEnabled{0, "QRKA006I  The database SHOP was enabled successfully."};
const CallOutcome kAlready{5, "QRKA070W  The database has already been enabled."};
const CallOutcome kDisabled{0, "QRKA036I  XML Annex has successfully disabled database SHOP."};
const CallOutcome kNotEnabled{
    6, "QRKA071W  The database is not enabled or has already been disabled."};
const CallOutcome kNull{-60, "QRKG004E  Invalid null parameter."};

constexpr char kSetUpCalls[] =
    "create procedure enableIn(in dbName varchar(18), in tableSpace varchar(128),"
    " in tableSpace2 varchar(128), out returnCode integer, out returnMsg varchar(1024))"
    " external name 'orvxml!qrkEnableDB' language C parameter style ORVDARI;"
    "create procedure enable(in dbName varchar(18), out returnCode integer,"
    " out returnMsg varchar(1024))"
    " external name 'orvxml!qrkEnableDB' language C parameter style ORVDARI;";

struct Setting {
  const char* label;
  int codePage = 1208;
  bool byCall = false;
  const char* before = "";  // statements
  Text tableSpace = std::nullopt, tableSpace2 = std::nullopt;
  const char *dtdRefIn = "NULL", *xmlUsageIn = "NULL";
};

const Setting kSettings[] = {
    {"UnicodeDatabase", 1208},
    {"SingleByteDatabase", 819},
    {"DoubleByteDatabase", 943},
    {"TypeOfAnotherLength", 1208, false,
     "create distinct type orvxml.XMLVarchar as varchar(5000) with comparisons"},
    {"BothTypesOfOtherLengths", 819, false,
     "create distinct type orvxml.XMLVarchar as varchar(32672) with comparisons;"
     "create distinct type orvxml.XMLCLOB as clob(1M)"},
    {"OneTableSpace", 1208, false, "create tablespace TS1", "TS1", std::nullopt, "TS1", "TS1"},
    {"TwoTableSpaces", 1208, false, "create tablespace TS1; create tablespace TS2", "TS1", "TS2",
     "TS1", "TS2"},
    {"SecondTableSpaceAlone", 1208, false, "create tablespace TS2", "", "TS2", "NULL", "TS2"},
    {"FixedTableSpaceOfOneTable", 1208, false, "create tablespace QRKDTDRF", std::nullopt,
     std::nullopt, "QRKDTDRF", "NULL"},
    {"GivenTableSpaceBeforeTheFixedOne", 1208, false,
     "create tablespace QRKXMLUS; create tablespace TS1", "TS1", "", "TS1", "TS1"},
    {"Called", 1208, true},
    {"CalledWithTableSpaces", 819, true, "create tablespace TS1", "TS1", std::nullopt, "TS1",
     "TS1"},
};

class EnabledDatabase : public AdminDatabase {
 public:
  explicit EnabledDatabase(const Setting& setting)
      : AdminDatabase(setting.codePage), setting_(setting) {
    for (const char* script : {kSetUpCalls, setting.before}) {
      for (const orv::ScriptStatement& statement : orv::splitScript(script)) run(statement.text);
    }
    commit();
  }

  CallOutcome enableAsSet() {
    const bool inSpaces = setting_.tableSpace || setting_.tableSpace2;
    const Text name = "SHOP";
    if (!setting_.byCall) return enable(name, setting_.tableSpace, setting_.tableSpace2);
    if (!inSpaces) return call(schema(), "ENABLE", {name});
    return call(schema(), "ENABLEIN", {name, setting_.tableSpace, setting_.tableSpace2});
  }
  CallOutcome disableAsSet() {
    return setting_.byCall ? call("ORVXML", "QRKDISABLEDB", {"SHOP"}) : disable();
  }

 private:
  std::string schema() { return rows("values current schema").front().front(); }

  const Setting& setting_;
};

void expectWhatEnablingMakes(EnabledDatabase& db, const Setting& setting) {
  const bool doubleByte = setting.codePage != 819;
  EXPECT_EQ(db.count("syscat.functions where funcschema = 'ORVXML'"), doubleByte ? 100 : 84);
  EXPECT_EQ(db.count("syscat.procedures where procschema = 'ORVXML'"), 13);
  EXPECT_EQ(db.count("syscat.triggers where trigschema = 'ORVXML'"), 3);
  EXPECT_EQ(db.count("syscat.datatypes where typeschema = 'ORVXML'"), doubleByte ? 4 : 3);
  EXPECT_EQ(
      db.rows("select tabname, tbspace from syscat.tables where tabschema = 'ORVXML' order by 1"),
      (Rows{{"DTD_REF", setting.dtdRefIn}, {"XML_USAGE", setting.xmlUsageIn}}));
}

class DatabaseSettingTest : public testing::TestWithParam<Setting> {};
INSTANTIATE_TEST_SUITE_P(, DatabaseSettingTest, testing::ValuesIn(kSettings),
                         [](const auto& setting) { return setting.param.label; });

// What is there by the end is what was there at the start, whichever way it ends.
TEST_P(DatabaseSettingTest, DisablingLeavesWhatWasThereBeforeEnabling) {
  const Setting& setting = GetParam();
  EnabledDatabase db(setting);
  const Catalog before = db.catalog();
  EXPECT_EQ(db.disable(), kNotEnabled);

  EXPECT_EQ(db.enableAsSet(), kEnabled);
  expectWhatEnablingMakes(db, setting);
  db.rollback();
  EXPECT_EQ(db.catalog(), before);

  EXPECT_EQ(db.enableAsSet(), kEnabled);
  db.commit();
  const Catalog enabled = db.catalog();
  expectWhatEnablingMakes(db, setting);
  EXPECT_EQ(db.enableAsSet(), kAlready);
  EXPECT_EQ(db.catalog(), enabled);

  EXPECT_EQ(db.disableAsSet(), kDisabled);
  EXPECT_EQ(db.catalog(), before);
  EXPECT_EQ(db.disable(), kNotEnabled);
  db.rollback();
  EXPECT_EQ(db.catalog(), enabled);

  EXPECT_EQ(db.disableAsSet(), kDisabled);
  db.commit();
  EXPECT_EQ(db.enableAsSet(), kEnabled);
  EXPECT_EQ(db.catalog(), enabled);
}

// The names that stand in the statements are those that the libraries have.
TEST(DatabaseTest, EveryRoutineHasItsEntryPoint) {
  AdminDatabase db;
  ASSERT_EQ(db.enable(), kEnabled);
  void* const libraries[] = {dlopen(ORVXML_BINARY_DIR "/lib/liborvxml.so.1", RTLD_LAZY),
                             dlopen(ORVXML_BINARY_DIR "/lib/liborvxmlfn.so.1", RTLD_LAZY)};
  for (void* library : libraries) ASSERT_NE(library, nullptr) << dlerror();
  Rows routines = db.rows(
      "select implementation, specificname from syscat.functions"
      " where origin = 'E'");
  for (Row& row : db.rows("select implementation, specificname from syscat.procedures")) {
    routines.push_back(std::move(row));
  }
  EXPECT_EQ(routines.size(), 112u);
  for (const Row& routine : routines) {
    const size_t mark = routine[0].find('!');
    void* const library = libraries[routine[0].substr(0, mark) == "orvxmlfn" ? 1 : 0];
    EXPECT_NE(dlsym(library, routine[0].substr(mark + 1).c_str()), nullptr) << routine[1];
  }
}

TEST(DatabaseTest, NamesInMessagesHaveEightCharacters) {
  struct Case {
    const char *name, *shown;
  };
  const Case kCases[] = {
      {"%s%n%d%s9", "%s%n%d%s"},
      {"\u00fc\u00fc\u00fc\u00fc\u00fc\u00fc\u00fc\u20ac9",
       "\u00fc\u00fc\u00fc\u00fc\u00fc\u00fc\u00fc\u20ac"},
  };
  AdminDatabase db;
  for (const Case& c : kCases) {
    const std::string shown = c.shown;
    EXPECT_EQ(db.enable(c.name).message,
              "QRKA006I  The database " + shown + " was enabled successfully.");
    EXPECT_EQ(db.disable(c.name).message,
              "QRKA036I  XML Annex has successfully disabled database " + shown + ".");
  }
}

TEST(DatabaseTest, NullNamesAreRefused) {
  AdminDatabase db;
  const Catalog before = db.catalog();
  EXPECT_EQ(db.enable(std::nullopt), kNull);
  EXPECT_EQ(db.enable(std::nullopt, "TS1", std::nullopt), kNull);
  EXPECT_EQ(db.disable(std::nullopt), kNull);
  EXPECT_EQ(db.catalog(), before);
  ASSERT_EQ(db.enable(), kEnabled);
  EXPECT_EQ(
      db.call("ORVXML", "QRKDISABLEDB", {std::nullopt}),
      (CallOutcome{-14, "QRKA019E  A input parameter required to enable the column is null."}));
}

// The server's text, QRKM001W and the library's own, with the code of the failing statement.
void expectServerFailure(const CallOutcome& outcome, int code, const std::string& serverText,
                         const std::string& ownText) {
  EXPECT_EQ(outcome.code, code) << outcome;
  EXPECT_TRUE(outcome.message.find(serverText) < outcome.message.find("\nQRKM001W  A ORV error"))
      << outcome;
  EXPECT_TRUE(outcome.message.ends_with("occurred.\n" + ownText)) << outcome;
}

TEST(DatabaseTest, AStatementThatFailsEndsEnabling) {
  struct Case {
    const char* label;
    const char* before;
    Text tableSpace;
    int code;
    const char* token;
    const char* trace;
  };
  const Case kCases[] = {
      {"a type that must be new", "create distinct type orvxml.XMLFile as varchar(20)",
       std::nullopt, -601, "XMLFILE", "Enable Database Stmt I  3 failed."},
      {"a table space that is not there", "values 1", "NOWHERE", -204, "NOWHERE",
       "Enable Database Stmt I  77 failed."},
      {"a table space that is no name", "values 1", "\"", -10, "",
       "Enable Database Stmt I  77 failed."},
      {"an object of the last list", "create distinct type orvxml.XMLDBCLOB as varchar(20)",
       std::nullopt, -601, "XMLDBCLOB", "Enable Database Stmt II 0 failed."},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    AdminDatabase db;
    db.run(c.before);
    db.commit();
    const Catalog before = db.catalog();
    InstanceTrace trace;
    expectServerFailure(db.enable("SHOP", c.tableSpace, std::nullopt), c.code, c.token,
                        "QRKA004E  Cannot enable database SHOP.");
    EXPECT_NE(trace.text().find(c.trace), std::string::npos);
    EXPECT_NE(db.catalog(), before) << "what ran before stays until the caller decides";
    db.rollback();
    EXPECT_EQ(db.catalog(), before);
  }
}

TEST(DatabaseTest, WhatIsInUseKeepsTheDatabaseFromBeingDisabled) {
  struct Case {
    const char *statement, *token;
    int code;
  };
  const Case kCases[] = {
      {"create table letters (text orvxml.XMLVarchar)", "XMLVARCHAR", -478},
      {"create table letters (text orvxml.XMLFile)", "XMLFILE", -478},
      {"create table letters (text orvxml.XMLDBCLOB)", "XMLDBCLOB", -478},
      {"drop table orvxml.dtd_ref", "DTDREF_DELETE", -204},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.statement);
    AdminDatabase db;
    ASSERT_EQ(db.enable(), kEnabled);
    db.run(c.statement);
    db.commit();
    const Catalog before = db.catalog();
    expectServerFailure(db.disable(), c.code, c.token, "QRKA007E  Cannot disable database SHOP.");
    db.rollback();
    EXPECT_EQ(db.catalog(), before);
  }
}

// Types of other lengths stay where they are, with what is stored in them: it is the triggers that
// keep an enabled column from losing its functions.
TEST(DatabaseTest, AnEnabledColumnOfAnOlderTypeKeepsTheDatabaseEnabled) {
  AdminDatabase db;
  db.run("create distinct type orvxml.XMLVarchar as varchar(5000) with comparisons");
  ASSERT_EQ(db.enable(), kEnabled);
  db.run("create table letters (text orvxml.XMLVarchar)");
  const std::string dad =
      "<DAD><validation>NO</validation><Xcolumn><table name='side'>"
      "<column name='a' type='integer' path='/a' multi_occurrence='NO'/></table></Xcolumn></DAD>";
  const CallOutcome column =
      db.call("ORVXML", "QRKENABLECOLUMN",
              {"SHOP", "LETTERS", "TEXT", dad, std::nullopt, std::nullopt, std::nullopt});
  ASSERT_EQ(column.code, 0) << column;
  db.run("insert into letters (text) values (orvxml.XMLVarchar('<a>5</a>'))");
  db.commit();
  const Catalog before = db.catalog();
  expectServerFailure(db.disable(), -478, "depends on it",
                      "QRKA007E  Cannot disable database SHOP.");
  db.rollback();
  EXPECT_EQ(db.catalog(), before);
  EXPECT_EQ(db.rows("select a from side"), (Rows{{"5"}}));

  EXPECT_EQ(db.call("ORVXML", "QRKDISABLECOLUMN", {"SHOP", "LETTERS", "TEXT"}).code, 0);
  EXPECT_EQ(db.disable(), kDisabled);
  EXPECT_EQ(db.rows("select varchar(text) from letters"), (Rows{{"<a>5</a>"}}));
}

TEST(DatabaseTest, ADatabaseWithoutThePackagesSaysSo) {
  AdminDatabase db(1208, ":memory:", false);
  for (const CallOutcome& outcome : {db.enable(), db.disable()}) {
    expectServerFailure(
        outcome, -104, "QRKSUWO",
        "QRKA073E  The database is not bound. Please bind the database before enabling it.");
  }
}

TEST(DatabaseTest, AServerHasNoNameAndNothingOfDoubleByteData) {
  AdminDatabase db;
  db.run("create distinct type orvxml.XMLFile as varchar(20) with comparisons");
  db.commit();
  char names[] = "FIRST,SECOND";
  char* const none = nullptr;
  EXPECT_EQ(callList(&qrkDisableServer_STP), kNotEnabled);
  EXPECT_EQ(callList(&qrkEnableServer_STP, names, none),
            (CallOutcome{0, "QRKA006I  The database  was enabled successfully."}));
  EXPECT_EQ(db.count("syscat.datatypes where typeschema = 'ORVXML'"), 3);
  EXPECT_EQ(callList(&qrkEnableServer_STP, none, names), kAlready);
  EXPECT_EQ(callList(&qrkDisableServer_STP),
            (CallOutcome{0, "QRKA036I  XML Annex has successfully disabled database ."}));
  EXPECT_EQ(db.count("syscat.datatypes where typeschema = 'ORVXML'"), 0);
}

TEST(DatabaseTest, DtdsInUseAreGuarded) {
  AdminDatabase db;
  ASSERT_EQ(db.enable(), kEnabled);
  const std::string row = "insert into orvxml.dtd_ref (dtdid, content, usage_count) values ";
  db.run(row + "('a', orvxml.XMLCLOB('<!ELEMENT a EMPTY>'), 0)");
  struct Case {
    std::string statement;
    std::string text;  // empty: the statement succeeds
  };
  const Case kCases[] = {
      {row + "('b', orvxml.XMLCLOB(''), 1)", "The usage_count must be 0 when inserted."},
      {"update orvxml.dtd_ref set usage_count = 2", "Illegal update on DTD or its usage count."},
      {"update orvxml.dtd_ref set usage_count = usage_count + 1", ""},
      {"update orvxml.dtd_ref set author = 'me'", "Illegal update on DTD or its usage count."},
      {"delete from orvxml.dtd_ref", "This DTD is used by others."},
      {"update orvxml.dtd_ref set usage_count = usage_count - 1", ""},
      {"delete from orvxml.dtd_ref", ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.statement);
    const orv::Outcome outcome = db.session().run(c.statement).outcome;
    EXPECT_EQ(outcome.sqlcode, c.text.empty() ? 0 : -438);
    EXPECT_EQ(outcome.sqlstate, c.text.empty() ? "00000" : "70010");
    EXPECT_NE(outcome.message.find(c.text), std::string::npos) << outcome.message;
  }
}

}  // namespace
}  // namespace orvxml::test
