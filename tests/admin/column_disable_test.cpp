// What disabling a column refuses, with the message of each.
#include "tests/admin/column_database.h"

namespace orvxml::test {
namespace {

TEST(ColumnDisableTest, Disabling) {
  ColumnDatabase db;
  expectOutcome(db.disableColumn(), told(Msg::QRKA018E));
  expectOutcome(db.disableColumn(ColumnForm::List, std::nullopt), told(Msg::QRKG004E));
  expectOutcome(db.disableColumn(ColumnForm::List, std::string(31, 'c')), told(Msg::QRKQ032E));
  expectOutcome(db.disableColumn(ColumnForm::List, "1"), told(Msg::QRKA017E, {"1", "letters"}));
  db.addDtd("d", "<!ELEMENT a ANY>");
  const std::string dad = columnDad(sideTable("side", sideColumn("c", "date", "/a")),
                                    "<dtdid>d</dtdid><validation>YES</validation>");
  EXPECT_EQ(db.enableColumn({.dad = dad, .view = "v"}), enabled());
  db.insert(1, "<!DOCTYPE a SYSTEM \"d\"><a>2026-11-24</a>");
  db.commit();
  struct Case {
    std::string statement;  // what somebody did by hand
    Expected expected;
  };
  const Case cases[] = {
      {"update orvxml.xml_usage set dad = null", told(Msg::QRKC004E, {"-1"})},
      {"update orvxml.xml_usage set dad = '<DAD/>'", told(Msg::QRKA024E)},
      {"drop table orvxml.xml_usage;"
       "create table orvxml.xml_usage (table_schema char(30), table_name char(30), col_name "
       "char(30),"
       " dad clob(1k), default_view char(30), dtdid char(30), trigger_suffix char(8));"
       "insert into orvxml.xml_usage (table_schema, table_name, col_name, dad)"
       " values ('APP', 'LETTERS', 'DOC', '<DAD/>')",
       told(Msg::QRKA024E)},
      {"drop table orvxml.xml_usage; create table orvxml.xml_usage (col_name char(30))",
       byServer(Msg::QRKA024E)},
      {"create view w as select c from side", byServer(Msg::QRKA026E, {"side"})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.statement);
    for (const orv::ScriptStatement& s : orv::splitScript(c.statement)) db.run(s.text);
    expectOutcome(db.disableColumn(), c.expected);
    db.rollback();
  }
  EXPECT_EQ(db.disableColumn(), disabled());
}

// The trigger of the root ids is looked for by its name alone, and dropped in the table's schema.
TEST(ColumnDisableTest, DisablingBesideATriggerOfAnotherSchema) {
  ColumnDatabase db;
  EXPECT_EQ(db.enableColumn({.dad = oneColumn("date"), .rootid = "no"}), enabled());
  const std::string suffix =
      db.rows("select trigger_suffix from orvxml.xml_usage").at(0).at(0).substr(0, 7);
  db.run("create trigger other.H" + suffix +
         " after delete on letters referencing old as o for each row mode orvsql begin atomic"
         " delete from letters where no = o.no; end");
  db.commit();
  expectOutcome(db.disableColumn(), byServer(Msg::QRKA027E));
  db.rollback();
  db.run("drop trigger other.H" + suffix);
  EXPECT_EQ(db.disableColumn(), disabled());
}

TEST(ColumnDisableTest, AKeyWithTheNameOfTheRootId) {
  ColumnDatabase db;
  db.run("create table keyed (QRKROOT_ID integer not null primary key, doc orvxml.XMLVarchar)");
  EXPECT_EQ(db.enableColumn({.dad = oneColumn("date"), .rootid = "QRKROOT_ID", .table = "keyed"}),
            enabled());
  db.run("insert into keyed values (1, orvxml.XMLVarchar('<a>2026-11-24</a>'))");
  db.commit();
  expectOutcome(db.disableColumn(ColumnForm::List, "doc", "keyed"), byServer(Msg::QRKA031E));
  db.rollback();
  db.run("delete from keyed");
  EXPECT_EQ(db.disableColumn(ColumnForm::List, "doc", "keyed"), disabled());
}

// Under another default schema the mapping's names mean tables of somebody else.
TEST(ColumnDisableTest, DisablingSparesTheTablesOfOthers) {
  ColumnDatabase db;
  EXPECT_EQ(db.enableColumn({.dad = oneColumn("date")}), enabled());
  db.run("set schema other");
  for (const char* columns : {"qrkroot_id char(13)", "c date, no integer"}) {
    db.run(std::string("create table other.side (") + columns + ")");
    db.commit();
    expectOutcome(db.disableColumn(ColumnForm::List, "doc", "app.letters"),
                  told(Msg::QRKA026E, {"side"}));
    db.rollback();
    db.run("drop table other.side");
  }
  expectOutcome(db.disableColumn(ColumnForm::List, "doc", "app.letters"),
                byServer(Msg::QRKA026E, {"side"}));
  db.rollback();
  db.run("set schema app");
  db.run("drop trigger app.H" +
         db.rows("select trigger_suffix from orvxml.xml_usage").at(0).at(0).substr(0, 7));
  EXPECT_EQ(db.disableColumn(), disabled());
}

}  // namespace
}  // namespace orvxml::test
