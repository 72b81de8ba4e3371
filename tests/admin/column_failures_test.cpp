// What enabling and disabling a column refuse, with the message of each.
#include "orvxml/messages.h"
#include "tests/admin/column_database.h"

namespace orvxml::test {
namespace {

// Code and message: the whole, or its beginning and end around the server's own text.
struct Expected {
  Msg message;
  std::string text;  // of the message, where it has arguments
  bool fromServer = false;
};

void expectOutcome(const CallOutcome& outcome, const Expected& expected) {
  const std::string text =
      expected.text.empty() ? qrkMsgTable[static_cast<size_t>(expected.message)] : expected.text;
  EXPECT_EQ(outcome.code, codeOf(expected.message)) << outcome.message;
  if (!expected.fromServer) {
    EXPECT_EQ(outcome.message, text);
    return;
  }
  EXPECT_TRUE(outcome.message.starts_with("ORV")) << outcome.message;
  EXPECT_TRUE(outcome.message.ends_with("QRKM001W  A ORV error occurred.\n" + text))
      << outcome.message;
}

std::string oneColumn(const std::string& type, const std::string& path = "/a",
                      const std::string& occurrence = "NO") {
  return columnDad(sideTable("side", sideColumn("c", type, path, occurrence)));
}

// Nobody changes rows of a table any more.
constexpr char kNoUpdateOfDtds[] =
    "create trigger t no cascade before update on orvxml.dtd_ref referencing new as n for each row "
    "mode orvsql when (n.usage_count >= 0) signal sqlstate '75001' ('no')";
constexpr char kNoUpdateOfLetters[] =
    "create trigger t no cascade before update on letters referencing new as n for each row mode "
    "orvsql when (n.no >= 0) signal sqlstate '75001' ('no')";
constexpr char kNoDeletionOfUses[] =
    "create trigger t no cascade before delete on orvxml.xml_usage referencing old as o for each "
    "row mode orvsql when (o.access_mode = 0) signal sqlstate '75001' ('no')";

TEST(ColumnFailuresTest, Enabling) {
  struct Case {
    const char* label;
    ColumnArguments arguments;
    Expected expected;
    const char* before = "";  // what somebody does first
  };
  const std::string long30(30, 'c'), long31(31, 'c'), long129(129, 't');
  const std::string plain = oneColumn("date");
  const auto settings = [](const std::string& text) { return columnDad("", text); };
  const auto rootid = [](const std::string& name, const std::string& table) {
    return "QRKA014E  The specified root ID column: " + name +
           " is not a single primary key of table " + table + ".";
  };
  const std::string tooManyColumns = columnDad(
      sideTable("side", sideColumn("c", "date", "/a", "YES") + sideColumn("d", "date", "/a")));
  const Case cases[] = {
      {"no table", {.dad = plain, .table = std::nullopt}, {Msg::QRKG004E, ""}},
      {"no mapping", {}, {Msg::QRKG004E, ""}},
      {"a column name at its limit",
       {.dad = plain, .column = long30},
       {Msg::QRKA017E, "QRKA017E  The input column " + std::string(30, 'C') +
                           " does not exist in the specified table LETTERS."}},
      {"a column name beyond its limit", {.dad = plain, .column = long31}, {Msg::QRKQ032E, ""}},
      {"a table name beyond its limit", {.dad = plain, .table = long129}, {Msg::QRKQ031E, ""}},
      {"a table name that is none",
       {.dad = plain, .table = "a.b.c"},
       {Msg::QRKA016E, "QRKA016E  The input table a.b.c does not exist."}},
      {"a column name that is none",
       {.dad = plain, .column = "1"},
       {Msg::QRKA017E,
        "QRKA017E  The input column 1 does not exist in the specified table "
        "letters."}},
      {"a root id that is none",
       {.dad = plain, .rootid = "a b"},
       {Msg::QRKA014E, rootid("a b", "letters")}},
      {"a root id beside the key",
       {.dad = plain, .rootid = "doc"},
       {Msg::QRKA014E, rootid("doc", "letters")}},
      {"a root id in a longer key",
       {.dad = plain, .rootid = "a", .table = "composite"},
       {Msg::QRKA014E, rootid("a", "composite")}},
      {"a root id without a key",
       {.dad = plain, .rootid = "QRKROOT_ID", .table = "other_root"},
       {Msg::QRKA014E, rootid("QRKROOT_ID", "other_root")}},
      {"a root id column of another type",
       {.dad = plain, .table = "other_root"},
       {Msg::QRKA015E, "QRKA015E  The column QRKROOT_ID already exists in table other_root."}},
      {"a view",
       {.dad = plain, .table = "shown"},
       {Msg::QRKA013E, "QRKA013E  Attempt to alter table shown failed.", true}},
      {"a collection's mapping", {.dad = "<DAD><Xcollection/></DAD>"}, {Msg::QRKA009E, ""}},
      {"no such DTD",
       {.dad = settings("<dtdid>x.dtd</dtdid>")},
       {Msg::QRKA010E, "QRKA010E  Attempt to find DTD ID x.dtd failed."}},
      {"validation against nothing",
       {.dad = settings("<validation>YES</validation>")},
       {Msg::QRKQ000E, "QRKQ000E  dtdid is missing from the DAD file."}},
      {"a side table without columns",
       {.dad = columnDad("<table name='t'/>")},
       {Msg::QRKA058E, "QRKA058E  A column name (NULL) in the DAD file is invalid."}},
      {"a path that is none",
       {.dad = oneColumn("date", "a")},
       {Msg::QRKA060E, "QRKA060E  The path attribute a of c in the DAD file is invalid."}},
      {"an occurrence that is none",
       {.dad = oneColumn("date", "/a", "any")},
       {Msg::QRKA061E,
        "QRKA061E  The multi_occurrence attribute ANY of c in the DAD file is "
        "invalid."}},
      {"graphic", {.dad = oneColumn("Graphic(3)")}, {Msg::QRKG005E, ""}},
      {"no type",
       {.dad = oneColumn("money")},
       {Msg::QRKA046E, "QRKA046E  Unable to create the side table side.", true}},
      {"a type without extraction", {.dad = oneColumn("bigint")}, {Msg::QRKA048E, "", true}},
      {"two columns with a row each value", {.dad = tooManyColumns}, {Msg::QRKA048E, "", true}},
      {"no such table space",
       {.dad = plain, .tableSpace = "nowhere"},
       {Msg::QRKA046E, "QRKA046E  Unable to create the side table side.", true}},
      {"a view that is there",
       {.dad = plain, .view = "shown"},
       {Msg::QRKA021E, "QRKA021E  Cannot create the default view shown.", true}},
      {"a view of nothing",
       {.dad = columnDad(""), .view = "v"},
       {Msg::QRKA021E, "QRKA021E  Cannot create the default view v.", true}},
      {"a DTD whose uses nobody may count",
       {.dad = settings("<dtdid>d.dtd</dtdid>")},
       {Msg::QRKA012E, "", true},
       kNoUpdateOfDtds},
      {"no function that validates",
       {.dad = settings("<dtdid>d.dtd</dtdid><validation>YES</validation>")},
       {Msg::QRKA053E, "", true},
       "drop specific function orvxml.ValidateVarchar"},
      {"a view name that is too long to be kept",
       {.dad = plain, .view = std::string(129, 'v')},
       {Msg::QRKA021E, "QRKA021E  Cannot create the default view " + std::string(129, 'v') + ".",
        true}},
  };
  ColumnDatabase db;
  db.run(
      "create table composite (a integer not null, b integer not null, doc orvxml.XMLVarchar, "
      "primary key (a, b))");
  db.run("create table other_root (QRKROOT_ID char(12), doc orvxml.XMLVarchar)");
  db.addDtd("d.dtd", "<!ELEMENT a ANY>");
  db.run("create view shown as select no, doc from letters");
  db.commit();
  const Catalog before = db.catalog();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    if (*c.before) db.run(c.before);
    expectOutcome(db.enableColumn(c.arguments), c.expected);
    db.rollback();
    EXPECT_EQ(db.catalog(), before);
  }
}

// The mapping's own faults come with the code of their SQLSTATE.
TEST(ColumnFailuresTest, MappingsThatCannotBeRead) {
  ColumnDatabase db;
  const CallOutcome nameless =
      db.enableColumn({.dad = columnDad("<table name='t'><column/></table>")});
  EXPECT_EQ(nameless, (CallOutcome{codeOf(Msg::QRKA056E),
                                   "QRKA058E  A column name (NULL) in the DAD file is invalid."}));
  const CallOutcome broken = db.enableColumn({.dad = "<DAD>"});
  EXPECT_LT(broken.code, 0);
  EXPECT_TRUE(broken.message.starts_with("QRKQ047E  Parser error on line 1 column "))
      << broken.message;
}

TEST(ColumnFailuresTest, NullParametersOfTheRegisteredProcedures) {
  ColumnDatabase db;
  const std::string dad = oneColumn("date");
  const Expected nullInput{Msg::QRKA019E, ""};
  for (const ColumnArguments& a :
       {ColumnArguments{.dad = dad, .table = std::nullopt}, ColumnArguments{},
        ColumnArguments{.dad = dad, .column = std::nullopt}}) {
    ColumnArguments registered = a;
    registered.form = ColumnForm::Call;
    expectOutcome(db.enableColumn(registered), nullInput);
  }
  expectOutcome(db.disableColumn(ColumnForm::Call, std::nullopt), nullInput);
  expectOutcome(db.disableColumn(ColumnForm::Call, "doc", std::nullopt), nullInput);
}

TEST(ColumnFailuresTest, EnablingTwice) {
  ColumnDatabase db;
  EXPECT_EQ(db.enableColumn({.dad = oneColumn("date")}), enabled());
  db.commit();
  expectOutcome(
      db.enableColumn({.dad = columnDad(sideTable("more", sideColumn("c", "date", "/a")))}),
      {Msg::QRKA011E, "", true});
  db.rollback();
  EXPECT_EQ(db.disableColumn(), disabled());
}

TEST(ColumnFailuresTest, Disabling) {
  ColumnDatabase db;
  expectOutcome(db.disableColumn(), {Msg::QRKA018E, ""});
  expectOutcome(db.disableColumn(ColumnForm::List, std::nullopt), {Msg::QRKG004E, ""});
  expectOutcome(db.disableColumn(ColumnForm::List, std::string(31, 'c')), {Msg::QRKQ032E, ""});
  expectOutcome(db.disableColumn(ColumnForm::List, "1"),
                {Msg::QRKA017E,
                 "QRKA017E  The input column 1 does not exist in the specified table "
                 "letters."});
  db.addDtd("d", "<!ELEMENT a ANY>");
  const std::string dad = columnDad(sideTable("side", sideColumn("c", "date", "/a")),
                                    "<dtdid>d</dtdid><validation>YES</validation>");
  EXPECT_EQ(db.enableColumn({.dad = dad, .view = "v"}), enabled());
  db.insert(1, "<!DOCTYPE a SYSTEM \"d\"><a>2026-11-24</a>");
  const std::string suffix =
      db.rows("select trigger_suffix from orvxml.xml_usage").at(0).at(0).substr(0, 7);
  db.commit();
  struct Case {
    std::string statement;  // what somebody did by hand
    Expected expected;
  };
  const auto dropTrigger = [&](const std::string& letter) {
    return "drop trigger " + letter + suffix;
  };
  const Case cases[] = {
      {"drop view v", {Msg::QRKA025E, "QRKA025E  Cannot drop the default view v.", true}},
      {"update orvxml.xml_usage set dad = null",
       {Msg::QRKC004E,
        "QRKC004E  Unable to operate the "
        "LOB Locator: rc=-1."}},
      {"update orvxml.xml_usage set dad = '<DAD/>'", {Msg::QRKA024E, ""}},
      {dropTrigger("J"), {Msg::QRKA028E, "", true}},
      {dropTrigger("D"), {Msg::QRKA029E, "", true}},
      {dropTrigger("U"), {Msg::QRKA030E, "", true}},
      {dropTrigger("V"), {Msg::QRKA051E, "", true}},
      {dropTrigger("W"), {Msg::QRKA052E, "", true}},
      {kNoUpdateOfLetters, {Msg::QRKA031E, "", true}},
      {kNoUpdateOfDtds, {Msg::QRKA032E, "", true}},
      {kNoDeletionOfUses, {Msg::QRKA033E, "", true}},
      {"create view w as select c from side",
       {Msg::QRKA026E, "QRKA026E  Unable to drop the side table side.", true}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.statement);
    for (const orv::ScriptStatement& s : orv::splitScript(c.statement)) db.run(s.text);
    expectOutcome(db.disableColumn(), c.expected);
    db.rollback();
  }
  EXPECT_EQ(db.disableColumn(), disabled());
}

TEST(ColumnFailuresTest, DatabasesThatAreNotReady) {
  AdminDatabase empty;
  char table[] = "t", column[] = "c";
  ClobArgument dad(oneColumn("date"));
  const auto enable = [&] {
    return callList(&qrkEnableColumn_STP, &table[0], &column[0], dad.get(),
                    static_cast<char*>(nullptr), static_cast<char*>(nullptr),
                    static_cast<char*>(nullptr));
  };
  expectOutcome(enable(), {Msg::QRKQ052E, ""});
  expectOutcome(callList(&qrkDisableColumn_STP, &table[0], &column[0]), {Msg::QRKQ052E, ""});
}

}  // namespace
}  // namespace orvxml::test
