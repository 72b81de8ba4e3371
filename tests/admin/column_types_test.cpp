// Root ids and side-table columns of every type; documents that were there before, come late or go.
#include "tests/admin/column_database.h"

namespace orvxml::test {
namespace {

std::string note(const std::string& attributes, const std::string& values) {
  return "orvxml.XMLVarchar('<n " + attributes + ">" + values + "</n>')";
}

// The root id of a side table is of the key's own type, and finds its rows.
TEST(ColumnTypesTest, KeysOfEveryType) {
  const std::pair<std::string, std::string> keys[] = {
      {"smallint", "1"},
      {"integer", "1"},
      {"bigint", "9223372036854775807"},
      {"decimal(9,2)", "1.50"},
      {"real", "0.5"},
      {"double", "0.1"},
      {"char(5)", "'it''s'"},
      {"varchar(9)", "'a  b '"},
      {"char(3) for bit data", "'a''c'"},
      {"char(3) for bit data", "x'FF00C3'"},
      {"varchar(3) for bit data", "'ab'"},
      {"date", "'2026-11-24'"},
      {"time", "'12:30:00'"},
      {"timestamp", "'2026-11-24-12.30.00.123456'"},
      {"graphic(3)", "'ab'"},
      {"vargraphic(3)", "'ab'"},
      {"sku", "sku(1)"},
  };
  ColumnDatabase db;
  db.run("create distinct type sku as integer with comparisons");
  db.commit();
  const std::string dad = columnDad(sideTable("one", sideColumn("w", "varchar(9)", "/n/w")) +
                                    sideTable("many", sideColumn("p", "integer", "/n/p", "YES")));
  for (const auto& [type, value] : keys) {
    SCOPED_TRACE(type);
    db.run("create table keyed (k " + type + " not null primary key, doc orvxml.XMLVarchar)");
    const Catalog before = db.catalog();
    EXPECT_EQ(db.enableColumn({.dad = dad, .view = "v", .rootid = "k", .table = "keyed"}),
              enabled());
    EXPECT_EQ(db.rows("select distinct typeschema, typename, length, scale from syscat.columns "
                      "where colname = 'K'")
                  .size(),
              1U);
    db.run("insert into keyed values (" + value + ", " + note("", "<w>a</w><p>1</p>") + ")");
    db.run("update keyed set doc = " + note("", "<w>b</w><p>2</p><p>3</p>") +
           " where k = " + value);
    EXPECT_EQ(db.rows("select w, p from v order by p"), (Rows{{"b", "2"}, {"b", "3"}}));
    db.run("delete from keyed");
    EXPECT_EQ(db.count("one, many"), 0);
    EXPECT_EQ(db.disableColumn(ColumnForm::List, "doc", "keyed"), disabled());
    EXPECT_EQ(db.catalog(), before);
    db.rollback();
  }
}

TEST(ColumnTypesTest, ColumnsOfEveryType) {
  struct Case {
    std::string type, text;
    std::string value = "";  // as the server shows it; empty: enabling fails
  };
  const std::string blanks(253 - 12, ' ');
  const Case cases[] = {
      {"varchar(9)", "it&apos;&apos;s", "it''s"},
      {"VarChar (9) not null", "a", "a"},
      {"varchar(9) for bit data", "ab", "ab"},
      {"char(5)", "ab", "ab   "},
      {"character(3) default &apos;x&apos;", "ab", "ab "},
      {"Clob(1k)", "ab", "<v>ab</v>"},
      {"smallint", "-7", "-7"},
      {"Integer", "7", "7"},
      {"real", "0.5", "5.0E-1"},
      {"double", "0.5", "5.0E-1"},
      {"decimal", "7", "7"},
      {"Decimal(7, 2)", "0.129", "0.12"},
      {"decimal(7,2" + blanks + ")", "1", "1.00"},
      {"date", "2026-11-24", "2026-11-24"},
      {"time", "12:30:00", "12.30.00"},
      {"timestamp", "2026-11-24-12.30.00.123456", "2026-11-24-12.30.00.123456"},
      {"int", "7"},
      {"dec(7,2)", "7"},
      {"bigint", "7"},
      {"float", "7"},
      {"long varchar", "a"},
      {"blob(1k)", "a"},
      {"sku", "1"},
      {" date", "2026-11-24"},
      {"integer not null", "1"},
  };
  ColumnDatabase db;
  db.run("create distinct type sku as integer with comparisons");
  db.commit();
  const Catalog before = db.catalog();
  for (const Case& c : cases) {
    for (const char* occurrence : {"NO", "YES"}) {
      SCOPED_TRACE(c.type + ' ' + occurrence);
      const std::string dad =
          columnDad(sideTable("s", sideColumn("c", c.type, "/n/v", occurrence)));
      const CallOutcome outcome = db.enableColumn({.dad = dad, .rootid = "no"});
      if (c.value.empty()) {
        EXPECT_EQ(outcome.code, codeOf(Msg::QRKA048E)) << outcome.message;
        db.rollback();
        continue;
      }
      EXPECT_EQ(outcome, enabled());
      db.run("insert into letters values (1, " + note("", "<v>" + c.text + "</v>") + ")");
      EXPECT_EQ(db.rows("select c from s"), (Rows{{c.value}}));
      db.run("update letters set doc = doc");
      EXPECT_EQ(db.rows("select c from s"), (Rows{{c.value}}));
      EXPECT_EQ(db.disableColumn(), disabled());
      EXPECT_EQ(db.catalog(), before);
      db.rollback();
    }
  }
}

// Quotes in a path reach the extraction as they were written, and a path may fill its field.
TEST(ColumnTypesTest, PathsWithQuotesAndOfFullLength) {
  const std::string longest(253 - 3, 'x');
  const std::string dad = columnDad(
      sideTable("one", sideColumn("c", "varchar(9)", "/n[@b=&quot;o'x''&quot;]/w") +
                           sideColumn("d", "varchar(9)", "/n/" + longest)) +
      sideTable("many", sideColumn("e", "varchar(9)", "/n[@b=&quot;o'x''&quot;]/w", "YES")));
  ColumnDatabase db;
  EXPECT_EQ(db.enableColumn({.dad = dad, .rootid = "no"}), enabled());
  const std::string document =
      note("b=\"o&apos;x&apos;&apos;\"", "<w>a</w><" + longest + ">b</" + longest + ">");
  for (const std::string& statement : {"insert into letters values (1, " + document + ")",
                                       "update letters set doc = " + document}) {
    db.run(statement);
    EXPECT_EQ(db.rows("select c, d, e from one, many"), (Rows{{"a", "b", "a"}}));
  }
}

}  // namespace
}  // namespace orvxml::test
