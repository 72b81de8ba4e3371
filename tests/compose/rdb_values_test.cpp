// RDB_node mapping: how the values of every type and code page stand in the documents.
#include "tests/compose/rdb_mapping.h"

namespace orvxml::test {
namespace {

// What stands before the first column of the document of a table's one row.
TEST(RdbComposition, EveryTypeIsWrittenAsText) {
  const std::string large(30000, 'x');
  ComposeDatabase db;
  db.run(
      "create table t (k varchar(9), si smallint, i integer, b bigint, d decimal(9,2), r real,"
      " f double, c char(5), v varchar(9), l long varchar, x clob(1m), g graphic(3), h "
      "vargraphic(9),"
      " y dbclob(1k), da date, ti time, ts timestamp, o blob(9), w varchar(4) for bit data)");
  db.run(
      "insert into t values ('k', -1, 2147483647, -9223372036854775807, -12.50, 0.5, 1.5E10, 'ab',"
      " '<', 'long', '" +
      large +
      "&', G'abc', G'\xE2\x82\xAC\xF0\x9D\x84\x9E', G'large',"
      " '2024-02-29', '23.59.58', '2024-02-29-23.59.58.123456', BLOB('AB'), X'0102')");
  db.run("insert into t (k) values ('n')");
  std::string content;
  for (const char* name : {"si", "i", "b", "d", "r", "f", "c", "v", "l", "x", "g", "h", "y", "da",
                           "ti", "ts", "o", "w"}) {
    content += attributeOf(name, "t", name);
  }
  const std::string dad =
      mapping(element("t", top(table("t", "k")) + content + textOf("e", "t", "x")));
  const Documents documents = composedDocuments(db, dad, ComposeForm::List);
  ASSERT_EQ(documents.size(), 2U);
  EXPECT_EQ(
      documents[0],
      std::string(kHeader) +
          "\n<t si=\"-1\" i=\"2147483647\" b=\"-9223372036854775807\" d=\"-12.50\" r=\"5.0E-1\""
          " f=\"1.5E10\" c=\"ab   \" v=\"&lt;\" l=\"long\" x=\"" +
          large +
          "&amp;\" g=\"abc\" h=\"\xE2\x82\xAC\xF0\x9D\x84\x9E\" y=\"large\" da=\"2024-02-29\""
          " ti=\"23.59.58\" ts=\"2024-02-29-23.59.58.123456\" o=\"4142\" w=\"0102\">\n  <e>" +
          large + "&amp;</e>\n</t>");
  EXPECT_EQ(documents[1], std::string(kHeader) + "\n<t>\n  <e></e>\n</t>");
}

// Large objects at every level, and as the value that a child is joined by.
TEST(RdbComposition, LargeObjectsComeThroughLocators) {
  const DocumentCase large{
      "",
      "create table p (k clob(1k), v clob(1m)); create table c (p varchar(9), v clob(1m));"
      "insert into p values ('a', 'x'), ('b', ''), ('c', null);"
      "insert into c values ('a', 'a1'), ('a', null), ('a', 'a3'), ('b', 'b1');",
      mapping(element("p", top(table("p") + table("c", "p"), "p.k = c.p") +
                               attributeOf("v", "p", "v") + textOf("c", "c", "v"))),
      {"\n<p v=\"x\">\n  <c>a1</c>\n  <c></c>\n  <c>a3</c>\n</p>", "\n<p>\n  <c>b1</c>\n</p>",
       "\n<p>\n</p>"}};
  expectDocuments(large);
}

TEST(RdbComposition, NamesAndValuesAreInTheCodePageOfTheDatabase) {
  ComposeDatabase db(819);
  db.runScript("create table t (v varchar(9)); insert into t values ('\xC3\xA4<\xC3\x9F');");
  const auto compose = [&](const std::string& name) {
    const std::string dad =
        mapping(element("r", top(table("t")) + element(name, attributeOf("\xE9", "t", "v"))),
                "<prolog>?xml version=\"1.0\" encoding=\"ISO-8859-1\"?</prolog>");
    return db.compose(ComposeForm::List, {.source = dad});
  };
  EXPECT_EQ(compose("\xFC").document,
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<r>\n  <\xFC "
            "\xE9=\"\xE4&lt;\xDF\"></\xFC>\n</r>");
  const ComposeOutcome unwritable = compose("a&#1103;");
  EXPECT_EQ(unwritable.code, -123) << unwritable;
}

}  // namespace
}  // namespace orvxml::test
