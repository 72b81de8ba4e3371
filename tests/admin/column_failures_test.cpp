// What enabling a column refuses, with the message of each.
#include <algorithm>
#include <cstdlib>

#include "orvxml/packages.h"
#include "src/admin/random_name.h"
#include "tests/admin/column_database.h"

namespace orvxml::test {
namespace {

std::string sideTableOf(const std::string& name, const std::string& column,
                        const std::string& occurrence = "NO") {
  return columnDad(sideTable(name, sideColumn(column, "date", "/a", occurrence)));
}

// Nobody counts the uses of DTDs any more.
constexpr char kNoUpdateOfDtds[] =
    "create trigger t no cascade before update on orvxml.dtd_ref referencing new as n for each row "
    "mode orvsql when (n.usage_count >= 0) signal sqlstate '75001' ('no')";
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
  const std::string tooManyColumns = columnDad(
      sideTable("side", sideColumn("c", "date", "/a", "YES") + sideColumn("d", "date", "/a")));
  const Case cases[] = {
      {"no table", {.dad = plain, .table = std::nullopt}, told(Msg::QRKG004E)},
      {"no mapping", {}, told(Msg::QRKG004E)},
      {"a column name at its limit",
       {.dad = plain, .column = long30},
       told(Msg::QRKA017E, {std::string(30, 'C'), "LETTERS"})},
      {"a column name beyond its limit", {.dad = plain, .column = long31}, told(Msg::QRKQ032E)},
      {"a table name at its limit",
       {.dad = plain, .table = std::string(30, 's') + "." + std::string(128, 't')},
       told(Msg::QRKA016E, {std::string(128, 'T')})},
      {"a table name beyond its limit", {.dad = plain, .table = long129}, told(Msg::QRKQ031E)},
      {"a schema name beyond its limit",
       {.dad = plain, .table = std::string(31, 's') + ".letters"},
       told(Msg::QRKQ031E)},
      {"a name in characters of two bytes beyond its limit",
       {.dad = plain, .table = "ü" + std::string(127, 't')},
       told(Msg::QRKQ031E)},
      {"a qualified name with too many quotes",
       {.dad = plain,
        .table = "\"" + std::string(30, 's') + "\".\"" + std::string(126, 't') + "\""},
       told(Msg::QRKQ031E)},
      {"no column name", {.dad = plain, .column = ""}, told(Msg::QRKA017E, {"", "letters"})},
      {"no table name", {.dad = plain, .table = ""}, told(Msg::QRKA016E, {""})},
      {"a table name that is none",
       {.dad = plain, .table = "a.b.c"},
       told(Msg::QRKA016E, {"a.b.c"})},
      {"a column name that is none",
       {.dad = plain, .column = "1"},
       told(Msg::QRKA017E, {"1", "letters"})},
      {"a root id that is none",
       {.dad = plain, .rootid = "a b"},
       told(Msg::QRKA014E, {"a b", "letters"})},
      {"a root id beside the key",
       {.dad = plain, .rootid = "doc"},
       told(Msg::QRKA014E, {"doc", "letters"})},
      {"a root id in a longer key",
       {.dad = plain, .rootid = "a", .table = "composite"},
       told(Msg::QRKA014E, {"a", "composite"})},
      {"a root id without a key",
       {.dad = plain, .rootid = "QRKROOT_ID", .table = "other_root"},
       told(Msg::QRKA014E, {"QRKROOT_ID", "other_root"})},
      {"a root id column of another type",
       {.dad = plain, .table = "other_root"},
       told(Msg::QRKA015E, {"other_root"})},
      {"a view", {.dad = plain, .table = "shown"}, byServer(Msg::QRKA013E, {"shown"})},
      {"a collection's mapping", {.dad = "<DAD><Xcollection/></DAD>"}, told(Msg::QRKA009E)},
      {"no such DTD", {.dad = settings("<dtdid>x.dtd</dtdid>")}, told(Msg::QRKA010E, {"x.dtd"})},
      {"a large mapping",
       {.dad = settings("<!--" + std::string(150'000, 'c') + "-->")},
       byServer(Msg::QRKA011E)},
      {"no table of DTDs",
       {.dad = settings("<dtdid>x.dtd</dtdid>")},
       byServer(Msg::QRKA010E, {"x.dtd"}),
       "drop table orvxml.dtd_ref"},
      {"no column for suffixes",
       {.dad = plain},
       byServer(Msg::QRKA062E, {"DOC", "LETTERS"}),
       "drop table orvxml.xml_usage; create table orvxml.xml_usage (col_name char(30))"},
      {"a side table without columns",
       {.dad = columnDad("<table name='t'/>")},
       told(Msg::QRKA058E, {"(NULL)"})},
      {"a path that is none", {.dad = oneColumn("date", "a")}, told(Msg::QRKA060E, {"a", "c"})},
      {"an occurrence that is none",
       {.dad = oneColumn("date", "/a", "any")},
       told(Msg::QRKA061E, {"ANY", "c"})},
      {"graphic", {.dad = oneColumn("Graphic(3)")}, told(Msg::QRKG005E)},
      {"no type", {.dad = oneColumn("money")}, byServer(Msg::QRKA046E, {"side"})},
      {"a type without extraction", {.dad = oneColumn("bigint")}, byServer(Msg::QRKA048E)},
      {"two columns with a row each value", {.dad = tooManyColumns}, byServer(Msg::QRKA048E)},
      {"a side table that is there",
       {.dad = sideTableOf("letters", "c")},
       byServer(Msg::QRKA046E, {"letters"})},
      {"a side table that hides the new row",
       {.dad = sideTableOf("NewRow", "c")},
       told(Msg::QRKA057E, {"NewRow"})},
      {"a side table that hides the old row",
       {.dad = sideTableOf("app.oldrow", "c")},
       told(Msg::QRKA057E, {"app.oldrow"})},
      {"a side table that is none",
       {.dad = sideTableOf("a.b.c", "c")},
       byServer(Msg::QRKA046E, {"a.b.c"})},
      {"no such table space",
       {.dad = plain, .tableSpace = "nowhere"},
       byServer(Msg::QRKA046E, {"side"})},
      {"a view that is there", {.dad = plain, .view = "shown"}, byServer(Msg::QRKA021E, {"shown"})},
      {"a view of nothing", {.dad = columnDad(""), .view = "v"}, byServer(Msg::QRKA021E, {"v"})},
      {"a view whose name with the schema is too long to be kept",
       {.dad = plain, .view = std::string(30, 's') + '.' + std::string(98, 'v')},
       byServer(Msg::QRKA011E)},
      {"a DTD whose uses nobody may count",
       {.dad = settings("<dtdid>d.dtd</dtdid>")},
       byServer(Msg::QRKA012E),
       kNoUpdateOfDtds},
      {"no function that validates",
       {.dad = settings("<dtdid>d.dtd</dtdid><validation>YES</validation>")},
       byServer(Msg::QRKA053E),
       "drop specific function orvxml.ValidateVarchar"},
      {"a view name that is too long to be kept",
       {.dad = plain, .view = std::string(129, 'v')},
       byServer(Msg::QRKA021E, {std::string(129, 'v')})},
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
    for (const orv::ScriptStatement& s : orv::splitScript(c.before)) db.run(s.text);
    expectOutcome(db.enableColumn(c.arguments), c.expected);
    db.rollback();
    EXPECT_EQ(db.catalog(), before);
  }
}

// The mapping's own faults come with the code of their SQLSTATE, which is that of the first of
// them.
TEST(ColumnFailuresTest, MappingsThatCannotBeRead) {
  ColumnDatabase db;
  const std::pair<std::string, std::string> cases[] = {
      {columnDad("", "<validation>maybe</validation>"),
       "QRKA056E  The validation value maybe in the DAD file is invalid."},
      {columnDad("<table/>"), "QRKA057E  A side table name (NULL) in DAD is invalid."},
      {columnDad("", "<schemabindings/>"), qrkMsgTable[static_cast<size_t>(Msg::QRKQ058E)]},
  };
  for (const auto& [dad, message] : cases) {
    EXPECT_EQ(db.enableColumn({.dad = dad}), (CallOutcome{codeOf(Msg::QRKA056E), message}));
  }
  const auto location = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "ü";
    return columnDad("", "<schemabindings><nonamespacelocation location='" + text +
                             "'/></schemabindings><validation>YES</validation>");
  };
  EXPECT_EQ(db.enableColumn({.dad = location(500)}), enabled());
  db.rollback();
  EXPECT_EQ(db.enableColumn({.dad = location(501)}).code, codeOf(Msg::QRKG017E));
  db.rollback();
  const CallOutcome broken = db.enableColumn({.dad = "<DAD>"});
  EXPECT_LT(broken.code, 0);
  EXPECT_TRUE(broken.message.starts_with("QRKQ047E  Parser error on line 1 column "))
      << broken.message;
}

TEST(ColumnFailuresTest, NullParametersOfTheRegisteredProcedures) {
  ColumnDatabase db;
  const std::string dad = oneColumn("date");
  const Expected nullInput = told(Msg::QRKA019E);
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

TEST(ColumnFailuresTest, TextsThatAreTooLong) {
  const auto columns = [](int count, int pathLength, const std::string& occurrence) {
    const std::string path(static_cast<size_t>(pathLength), 'p');
    std::string text;
    for (int i = 0; i < count; ++i) {
      text += sideColumn("c" + std::to_string(i), "date", '/' + path, occurrence);
    }
    return text;
  };
  const std::string longest = std::string(30, 's') + '.' + std::string(128, 't');
  const std::tuple<std::string, Text, std::string> cases[] = {
      {sideTable("side", columns(7000, 1, "YES")), std::nullopt, "CREATE TABLE side"},
      {sideTable("side", columns(300, 200, "NO")), std::nullopt, "CREATE TRIGGER APP.J"},
      {sideTable(longest, columns(450, 1, "NO")), "v", "CREATE VIEW v AS SELECT"},
  };
  ColumnDatabase db;
  const Catalog before = db.catalog();
  for (const auto& [mapping, view, start] : cases) {
    const CallOutcome outcome = db.enableColumn({.dad = columnDad(mapping), .view = view});
    EXPECT_EQ(outcome.code, codeOf(Msg::QRKQ038E));
    const std::string text = "QRKQ038E  The SQL statement is too long: " + start;
    EXPECT_EQ(outcome.message.substr(0, text.size()), text);
    db.rollback();
    EXPECT_EQ(db.catalog(), before);
  }
}

// The suffixes that the next columns get.
std::vector<std::string> nextSuffixes(size_t count) {
  constexpr unsigned kSeed = 7;
  std::vector<std::string> suffixes(count, std::string(7, ' '));
  callRandOnce(nullptr);
  std::srand(kSeed);
  for (std::string& suffix : suffixes) qrk_GetRandName(nullptr, suffix.data(), 7);
  std::srand(kSeed);
  return suffixes;
}

// A suffix that another column has is drawn anew, 26 times at most.
TEST(ColumnFailuresTest, SuffixesOfOtherColumns) {
  const std::string plain = oneColumn("date");
  ColumnDatabase db;
  for (const size_t taken : {0U, 1U, 25U, 26U}) {
    const std::vector<std::string> suffixes = nextSuffixes(taken + 1);
    for (size_t i = 0; i < taken; ++i) {
      db.run(
          "insert into orvxml.xml_usage (table_schema, table_name, col_name, access_mode, "
          "validation, trigger_suffix) values ('S', 'T', 'C" +
          std::to_string(i) + "', 0, 0, '" + suffixes[i] + "')");
    }
    EXPECT_EQ(db.enableColumn({.dad = plain}), enabled());
    EXPECT_EQ(db.rows("select trigger_suffix from orvxml.xml_usage where col_name = 'DOC'"),
              (Rows{{suffixes[std::min<size_t>(taken, 25)] + ' '}}));
    db.rollback();
  }
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
  expectOutcome(enable(), told(Msg::QRKQ052E));
  expectOutcome(callList(&qrkDisableColumn_STP, &table[0], &column[0]), told(Msg::QRKQ052E));

  // The package for columns is another program's.
  ColumnDatabase db;
  const std::string folder = bindList().substr(0, bindList().rfind('/') + 1);
  std::string package = readFile(folder + "qrkcol.bnd");
  package.replace(package.find(kQrkcol.token), 8, "QCO00000");
  const TemporaryFolder other;
  other.write("qrkcol.bnd", package);
  sqlca area{};
  sqlabndx(other.write("@other.lst", "qrkcol.bnd").c_str(), nullptr, nullptr, &area);
  EXPECT_EQ(area.sqlcode, 0);
  expectOutcome(db.enableColumn({.dad = oneColumn("date")}), byServer(Msg::QRKA073E));
  expectOutcome(db.enableColumn({.dad = oneColumn("date"), .table = "app.letters"}),
                byServer(Msg::QRKA073E));
  expectOutcome(db.disableColumn(), byServer(Msg::QRKA073E));
}

}  // namespace
}  // namespace orvxml::test
