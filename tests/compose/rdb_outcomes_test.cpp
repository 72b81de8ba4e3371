// RDB_node mapping: what every failure says.
#include "tests/compose/rdb_mapping.h"

namespace orvxml::test {
namespace {

// ---- Failures: the code and the message of each, nothing composed, nothing left open.
struct FailureCase {
  const char* label;
  std::string dad;
  int code;
  const char* message;      // how it begins
  const char* reason = "";  // what it holds as well
};

TEST(RdbComposition, EveryFailureHasItsMessage) {
  const std::string t = top(table("t"));
  const std::string k = attributeOf("k", "t", "k");
  const auto root = [&](const std::string& content) { return mapping(element("r", t + content)); };
  std::string join;
  std::string wide = "create table w1 (a integer", wide2 = "create table w2 (a integer";
  for (int i = 0; i < 17; ++i) {
    const std::string name = "k" + std::to_string(i);
    wide += ", " + name + " integer";
    wide2 += ", " + name + " integer";
    join.append(i ? " AND w1." : "w1.").append(name).append(" = w2.").append(name);
  }
  const FailureCase cases[] = {
      {"no prolog", mapping(element("r", t + k), ""), -61, "QRKQ000E  prolog is missing"},
      {"a prolog that is none", mapping(element("r", t + k), "<prolog>no</prolog>"), -112,
       "QRKQ047E  Parser error on line 2"},
      {"no root_node",
       std::string("<DAD><Xcollection>") + kProlog + element("r", t + k) + "</Xcollection></DAD>",
       -61, "QRKQ000E  root_node is missing"},
      {"a repeating root without a table",
       mapping(repeated("r", "<RDB_node><condition/></RDB_node>")), -57,
       "QRKG001E  An internal error occured in build "},
      {"a repeating root of no table", mapping(repeated("r", t + element("e", element("x", k)))),
       -117, "QRKQ037E  Cannot generate r with multiple occurrences."},
      {"no such table",
       mapping(element("r", top(table("nowhere")) + attributeOf("k", "nowhere", "k"))), -133,
       "QRKQ053E  An SQL statement failed : ORV0204E", "NOWHERE"},
      {"no such column in a child table",
       mapping(element(
           "r", top(table("t") + table("c"), "t.k = c.k") + k + textOf("e", "c", "nothing"))),
       -57, "QRKG001E  An internal error occured in build ",
       "QRKQ053E  An SQL statement failed : "},
      {"an element without a name", root(k + element("", text(column("t", "v")))), -74,
       "QRKQ014E  An element_node element has no name."},
      {"an attribute without a name", root(k + element("e", attributeOf("", "t", "v"))), -66,
       "QRKQ006E  An attribute_node element has no name."},
      {"a name beyond the limit", root(k + textOf(std::string(64, 'e'), "t", "v")), -124,
       "QRKG017E  The limit for name eeee"},
      {"an attribute without a column", root(k + attribute("a", "")), -61,
       "QRKQ000E  RDB_NODE is missing from the DAD file."},
      {"a column without a name", root(k + attributeOf("a", "t", "")), -61,
       "QRKQ013E  The table or column element does not have a name"},
      {"a table that the top element does not list", root(k + textOf("e", "c", "v")), -76,
       "QRKQ016E  The table name in this RDB_node is not defined in the top element"},
      {"a table that no condition joins",
       mapping(element("r", top(table("t") + table("c")) + k + textOf("e", "c", "v"))), -111,
       "QRKQ035E  Invalid join condition in top RDB_node of DAD: C"},
      {"an element name that is none", root(k + textOf("1e", "t", "v")), -123,
       "QRKQ040E  The element name 1e in the DAD file is invalid."},
      {"an attribute name that is none", root(k + attributeOf("a b", "t", "v")), -123,
       "QRKQ040E  The element name a b in the DAD file is invalid."},
      {"two attributes of one name",
       root(k + element("e", attributeOf("a", "t", "v") + attributeOf("a", "t", "k"))), -127,
       "QRKQ045E  Subtree under element e contain multiple attributes named a."},
      {"a value of a table that is not open",
       mapping(element("r", top(table("t") + table("c"), "t.k = c.k") + k +
                                element("e", textOf("f", "c", "k") + textOf("g", "c", "v")))),
       -142, "QRKQ062E  No rows of result set for C are left to produce a XML value for g."},
      {"a parent whose query has not run",
       mapping(element("r", top(table("t") + table("c") + table("d"), "t.k = c.k AND c.k = d.k") +
                                k + element("w", element("x", textOf("d", "d", "k"))) +
                                element("c", text(column("c", "v"))))),
       -57, "QRKG001E  ", "QRKQ012E  Errors occurred in DAD."},
      {"17 columns to join a parent by",
       mapping(element("r", top(table("w1") + table("w2"), join) + attributeOf("a", "w1", "a") +
                                textOf("e", "w2", "a"))),
       -57, "QRKG001E  ",
       "QRKG017E  The limit for QRK_NUM_PARAMETERS of table W2 has been exceeded"},
      {"a value that XML cannot carry", root(k + textOf("e", "t", "bad")), -135,
       "QRKQ055E  ICU error: column BAD holds U+0001"},
  };
  ComposeDatabase db;
  db.runScript(
      "create table t (k integer, v varchar(9), bad varchar(9));"
      "create table c (k integer, v varchar(9)); create table d (k integer);"
      "insert into t values (1, 'v', '\x01'); insert into c values (1, 'c');"
      "insert into d values (1);" +
      wide + ");" + wide2 + "); insert into w1 (a) values (1);");
  const std::string fine = root(k);
  for (const FailureCase& c : cases) {
    SCOPED_TRACE(c.label);
    const ComposeOutcome outcome = db.compose(ComposeForm::List, {.source = c.dad});
    EXPECT_EQ(outcome.code, c.code) << outcome;
    EXPECT_TRUE(outcome.message.starts_with(c.message)) << outcome;
    EXPECT_NE(outcome.message.find(c.reason), std::string::npos) << outcome;
    EXPECT_EQ(outcome.document, std::nullopt);
    // No cursor is left open over the table.
    db.run("drop table d");
    db.run("create table d (k integer)");
    EXPECT_EQ(db.compose(ComposeForm::List, {.source = fine}).code, 0);
  }
}

// Documents that were made before stay in the unit of work.
TEST(RdbComposition, ARowThatCannotBeFetchedEndsIt) {
  ComposeDatabase db(819);
  db.runScript(
      "create table t (v varchar(9)); create table result (doc clob(1m));"
      "insert into t values ('a'), ('\xE4');");
  const std::string dad = mapping(element("t", top(table("t", "v")) + attributeOf("v", "t", "v")));
  const ComposeOutcome outcome = db.compose(ComposeForm::List, {.source = dad, .table = "result"});
  EXPECT_EQ(outcome.code, -57);
  // The server's words are the message.
  EXPECT_TRUE(outcome.message.starts_with("ORV")) << outcome;
  EXPECT_NE(outcome.message.find("SQLSTATE=22504"), std::string::npos) << outcome;
  EXPECT_EQ(db.rows("select doc from result").size(), 1U);
}

}  // namespace
}  // namespace orvxml::test
