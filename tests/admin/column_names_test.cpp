// Columns whose names and types are at the edge of what the server takes: what can be enabled works
// through insert, update and delete, and goes without a trace.
#include "tests/admin/column_database.h"

namespace orvxml::test {
namespace {

// A table with one document column, and the names of what its mapping makes. In SQL as somebody
// writes it; in the mapping the quotes become entities.
struct Names {
  std::string label;
  std::string table, column, key, side, sideColumn, many, manyColumn, view;
};

std::string attribute(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '"' ? "&quot;" : c == '&' ? "&amp;" : c == '<' ? "&lt;" : std::string(1, c);
  }
  return escaped;
}

std::string mapping(const Names& n) {
  return columnDad(
      sideTable(attribute(n.side), sideColumn(attribute(n.sideColumn), "varchar(20)", "/n/w")) +
          sideTable(attribute(n.many),
                    sideColumn(attribute(n.manyColumn), "varchar(20)", "/n/p", "YES")),
      "<dtdid>n.dtd</dtdid><validation>YES</validation>");
}

std::string note(const std::string& word, const std::string& part) {
  return "orvxml.XMLVarchar('<!DOCTYPE n SYSTEM \"n.dtd\"><n><w>" + word + "</w><p>" + part +
         "</p><p>z</p></n>')";
}

// One document comes, changes and goes; the side tables follow.
void expectSideTablesFollow(ColumnDatabase& db, const Names& n) {
  const auto expect = [&](const Rows& side, const Rows& many) {
    EXPECT_EQ(db.rows("select " + n.sideColumn + " from " + n.side), side);
    EXPECT_EQ(db.rows("select " + n.manyColumn + " from " + n.many + " order by qrk_seqno"), many);
    EXPECT_EQ(db.rows("select " + n.sideColumn + ", " + n.manyColumn + " from " + n.view).size(),
              many.size());
  };
  const std::string into = "insert into " + n.table + " (" + n.key + ", " + n.column + ") values ";
  db.run(into + "(1, " + note("one", "a") + ")");
  db.run(into + "(2, " + note("two", "b") + ")");
  db.run("update " + n.table + " set " + n.column + " = " + note("three", "c") + " where " + n.key +
         " = 1");
  db.run("delete from " + n.table + " where " + n.key + " = 2");
  expect({{"three"}}, {{"c"}, {"z"}});
  db.run("delete from " + n.table);
  expect({}, {});
}

// With the generated root id or, with `ownKey`, with the table's.
void expectWorks(ColumnDatabase& db, const Names& n, ColumnForm form, bool ownKey) {
  SCOPED_TRACE(n.label + (ownKey ? ", own key" : ", generated root id"));
  db.run("create table " + n.table + " (" + n.key + " integer not null primary key, " + n.column +
         " orvxml.XMLVarchar, QRKROOT_ID char(13) for bit data)");
  const Catalog before = db.catalog();
  EXPECT_EQ(db.enableColumn({.dad = mapping(n),
                             .view = n.view,
                             .rootid = ownKey ? Text(n.key) : Text(),
                             .table = n.table,
                             .column = n.column,
                             .form = form}),
            enabled(n.column));
  expectSideTablesFollow(db, n);
  EXPECT_EQ(db.disableColumn(form, n.column, n.table), disabled(n.column));
  EXPECT_EQ(db.catalog(), before);
  db.run("drop table " + n.table);
}

std::string quoted(const std::string& name) {
  return '"' + name + '"';
}

constexpr char kDtd[] = "<!ELEMENT n (w, p*)><!ELEMENT w (#PCDATA)><!ELEMENT p (#PCDATA)>";

TEST(ColumnNamesTest, NamesOfEverySpellingWork) {
  const Names cases[] = {
      {"marks inside", quoted("a.b \"\"c\"\""), quoted("x.y"), quoted("k l"), quoted("s.t"),
       quoted("p\"\"q"), quoted("m'n"), quoted("o--p"), quoted("v /* w")},
      {"words of SQL", quoted("TABLE"), quoted("SELECT"), quoted("FROM"), quoted("WHERE"),
       quoted("SET"), quoted("VALUES"), quoted("ORDER"), quoted("USER")},
      {"words of the triggers", "newrow", "newrow", "dtdid", "x", "returnedvarchar", "y", "content",
       "oldrow"},
      {"other schemas", quoted("my app") + ".notes", "doc", "no", quoted("SELECT") + ".side",
       "word", quoted("other \"\"one\"\"") + "." + quoted("t.u"), "part", quoted("my app") + ".v"},
      {"other languages", "größe", "prüfung", "schlüssel", "seite", "straße", "viele", "übrig",
       "sicht"},
  };
  for (const int codePage : {1208, 819}) {
    SCOPED_TRACE(codePage);
    ColumnDatabase db(codePage);
    db.addDtd("n.dtd", kDtd);
    for (const Names& n : cases) {
      expectWorks(db, n, ColumnForm::Call, false);
      expectWorks(db, n, ColumnForm::Call, true);
    }
  }
}

// Limits count the bytes of the names as they are written, in the code page of the database.
TEST(ColumnNamesTest, TheLongestNamesWork) {
  const Names wide[] = {
      {"characters of two bytes", quoted(repeat("ü", 64)), quoted(repeat("ü", 14)),
       quoted(repeat("ö", 64)), quoted(repeat("s", 15)) + "." + quoted(repeat("é", 64)),
       quoted(repeat("ü", 62) + "&'<"), quoted(repeat("m", 128)), quoted(repeat("ö", 63)),
       quoted(repeat("ä", 63))},
      {"schemas", quoted(repeat("z", 30)) + "." + quoted(repeat("t", 125)), repeat("c", 30),
       quoted(repeat("k", 128)), quoted(repeat("s", 30)) + "." + repeat("t", 127), repeat("c", 128),
       repeat("m", 128), repeat("d", 128), repeat("z", 30) + "." + repeat("v", 97)},
  };
  ColumnDatabase db;
  db.addDtd("n.dtd", kDtd);
  for (const Names& n : wide) {
    expectWorks(db, n, ColumnForm::List, false);
    expectWorks(db, n, ColumnForm::List, true);
  }
  const Names narrow{"characters of one byte", repeat("ü", 64), repeat("ö", 30),
                     repeat("ä", 64),          repeat("é", 64), repeat("ç", 64),
                     repeat("ñ", 64),          repeat("ó", 64), repeat("á", 64)};
  ColumnDatabase latin(819);
  latin.addDtd("n.dtd", kDtd);
  expectWorks(latin, narrow, ColumnForm::Call, false);
  expectWorks(latin, narrow, ColumnForm::Call, true);
}

}  // namespace
}  // namespace orvxml::test
