// What a mapping says that makes other rows or documents than its writer means is told, with the
// place; and a mapping that is as it should be is not complained of.
#include "src/dad/mapping_traps.h"

#include "tests/dad/mapping_model_for_test.h"
#include "tests/support/database.h"

namespace orvxml {
namespace {

using namespace unittest;
using test::attributeOf, test::textOf;

std::string listed(const std::string& names, const std::string& condition = "") {
  std::string tables;
  for (const char name : names) tables += std::string("<table name='") + name + "'/>";
  return condition.empty() ? tables : tables + "<condition>" + condition + "</condition>";
}

std::string conditional(const std::string& name, const std::string& condition) {
  return attribute(name, column("a", name, "<condition>" + condition + "</condition>"));
}

struct Case {
  const char* label;
  std::string dad;
  std::vector<std::string> warnings;  // the beginning of each
};

void expectWarnings(const Case& c, MappingPurpose purpose) {
  SCOPED_TRACE(c.label);
  const Mapping mapping(c.dad, purpose);
  ASSERT_EQ(mapping.code, 0) << mapping.message();
  Heard heard;
  {
    const Listening listening(heard);
    CallContext call;
    tellTraps(MappingSurvey(&call.ctx, mapping.model, mapping.element(u"element_node"), purpose));
  }
  std::vector<std::string> begun = heard.warnings;
  for (size_t i = 0; i < begun.size() && i < c.warnings.size(); ++i) {
    begun[i].resize(std::min(begun[i].size(), c.warnings[i].size()));
  }
  EXPECT_EQ(begun, c.warnings);
  for (const std::string& warning : heard.warnings) EXPECT_EQ(warning.find('\n'), warning.npos);
}

// An element with a row of `table`: its attribute and what stands in it.
std::string row(const std::string& name, const std::string& table, const std::string& attributeName,
                const std::string& content = "") {
  return repeated(name, attributeOf(attributeName, table, attributeName) + content);
}

TEST(MappingTrapsTest, DocumentsIntoRows) {
  const std::string ab = listed("ab", "a.k = b.k");
  const std::string k = attributeOf("k", "a", "k");
  const Case cases[] = {
      {"a mapping as it should be",
       collection(listed("abc", "a.k = b.k AND b.v = c.v"),
                  k + textOf("n", "a", "n") + row("e", "b", "v", row("f", "c", "w"))),
       {}},
      {"groups and a group that stands for the row",
       collection(ab,
                  k + element("all", repeated("g", textOf("v", "b", "v") + textOf("w", "b", "w")))),
       {}},
      {"one record in two half rows",
       collection(listed("a"), textOf("k", "a", "k") + textOf("n", "a", "n")),
       {"record-in-two-rows 13 the text of <n> stands outside <k>, which stands for a row of A"}},
      {"an attribute outside the row's element",
       collection(listed("a"), textOf("k", "a", "k") + element("e", attributeOf("n", "a", "n"))),
       {"record-in-two-rows 13 the attribute n of <e> stands outside <k>"}},
      {"a text beside the row's element, inside a row of another table",
       collection(ab, k + textOf("v", "b", "v") + textOf("w", "b", "w")),
       {"record-in-two-rows 19 the text of <w> stands outside <v>"}},
      {"a text in a group with rows of another table",
       collection(ab,
                  textOf("p", "a", "k") + element("g", row("g", "b", "v") + textOf("o", "a", "n"))),
       {"record-in-two-rows 21 the text of <o> stands outside <p>"}},
      {"the same with a name that both have",
       collection(
           ab, textOf("p", "a", "k") +
                   element("g", row("g", "b", "v", textOf("o", "b", "w")) + textOf("o", "a", "n"))),
       {"value-of-another-table 26 the text of <o> goes into B.W, not into A.N"}},
      {"an RDB_node and a value on one element",
       collection(listed("a"), k + element("e", column("a", "v") + attributeOf("n", "a", "n"))),
       {"part-ignored 12 <e> holds mapped values"}},
      {"two tables on one element",
       collection(listed("ab"), k + attributeOf("v", "b", "v")),
       {"value-not-taken 8 the attribute k of <doc> is never read, A.K stays NULL: <doc> stands "
        "for "
        "a row of B, and of A it cannot"}},
      {"rows below a mapped text",
       collection(ab, k + element("p", test::text(column("a", "p")) + row("e", "b", "v"))),
       {"value-not-taken 19 the attribute v of <e> is never read, B.V stays NULL: <p> counts as "
        "part "
        "of A"}},
      {"an element named like an attribute of a table that is listed later",
       collection(listed("abc", "a.k = b.k AND a.k = c.k"),
                  k + row("s", "b", "v") + row("e", "c", "s")),
       {"value-not-taken 15 the attribute v of <s> is never read, B.V stays NULL: <s> counts as "
        "part of C"}},
      {"one name for two columns",
       collection(listed("a"), k + textOf("n", "a", "n") + element("e", textOf("n", "a", "other"))),
       {"name-mapped-twice 18 the text of <n> goes into A.N, not into A.OTHER"}},
      {"no join",
       collection(listed("ab"), k + row("e", "b", "v")),
       {"table-not-joined 12 no condition joins B to the tables around it"}},
      {"a join of neighbours",
       collection(ab, row("d", "a", "k") + row("e", "b", "v")),
       {"join-of-neighbours 8 the join A.K = B.K is passed over: <d> and <e> stand beside"}},
      {"an OR that others do not bind",
       collection(listed("a"), conditional("k", "k = 1 OR k = 2") + conditional("n", "n > 0")),
       {"or-without-parentheses 11 conditions stand beside each other"}},
      {"a table twice, with a schema and without, and a key too long",
       collection("<table name='a'/><table name='A'/><table name='s.a'/><table name='b' key='" +
                      std::string(1024, 'k') + "'/>",
                  k),
       {"part-ignored 7 A is listed already", "table-with-and-without-schema 8 S.A and A",
        "table-with-and-without-schema 8 S.A and A", "part-ignored 9 key has more than 1023"}},
      {"parts that are not listened to",
       "<DAD><Xcollection><root_node>" +
           element("doc", test::top(listed("a", "a.k = a.k") + "<condition/>") +
                              attribute("k", column("a", "k", "<column name='k' type='INT'/>"))) +
           element("doc2", "") + "</root_node></Xcollection></DAD>",
       {"part-ignored 8 only the first condition", "part-ignored 13 only the last column",
        "part-ignored 14 a document has one root"}},
      {"two texts of an element",
       collection(listed("a"),
                  k + element("n", test::text(column("a", "n")) + test::text(column("a", "m")))),
       {"part-ignored 16 <n> has one text", "name-mapped-twice 16"}},
  };
  for (const Case& c : cases) expectWarnings(c, kForDecomposition);
}

TEST(MappingTrapsTest, ForeignKeysThatAreCaughtOnTheWay) {
  const std::string ab = listed("ab", "a.k = b.k");
  const Case cases[] = {
      {"by an attribute in between",
       collection(ab, attributeOf("k", "a", "k") +
                          element("list", attributeOf("k", "a", "z") + row("e", "b", "v"))),
       {"name-mapped-twice 14 the attribute k of <list> goes into A.K",
        "key-from-in-between 14 B.K takes the value from here"}},
      {"by a text of the row itself",
       collection(ab, attributeOf("z", "a", "z") + element("p", textOf("n", "a", "k")) +
                          element("list", row("e", "b", "v", element("q", textOf("n", "b", "w"))))),
       {"key-from-in-between 26 B.K takes the value from here"}},
      {"not by what stands behind",
       collection(ab, attributeOf("z", "a", "z") + element("p", textOf("n", "a", "k")) +
                          row("e", "b", "v", element("q", textOf("n", "b", "w")))),
       {}},
  };
  for (const Case& c : cases) expectWarnings(c, kForDecomposition);
}

TEST(MappingTrapsTest, RowsIntoDocuments) {
  test::Database database;
  for (const char name : std::string("abc")) {
    database.run(std::string("CREATE TABLE ") + name + " (k INTEGER, v INTEGER)");
  }
  const std::string ab = listed("ab", "a.k = b.k");
  const std::string k = attributeOf("k", "a", "k");
  const Case cases[] = {
      {"a mapping as it should be",
       collection(listed("abc", "a.k = b.k AND b.v = c.v"),
                  k + textOf("n", "a", "n") + row("e", "b", "v", row("f", "c", "w"))),
       {}},
      {"what a row refers to, on its own element",
       collection(ab, k + attributeOf("v", "b", "v")),
       {}},
      {"rows of an element whose name the row around it has as well",
       collection(listed("abc", "a.k = b.k AND b.v = c.v"),
                  k + row("x", "b", "v", row("x", "c", "w"))),
       {"rows-left-out 19 <x> is written once, not once for each row of C: its name belongs to B"}},
      {"rows whose query an attribute has started",
       collection(ab, k + attributeOf("p", "b", "v") + row("p", "b", "k")),
       {"rows-left-out 17 <p> is written once, not once for each row of B: an attribute has"}},
      {"an attribute's query that is open for the second row of a repeated element",
       collection(listed("abc", "a.k = b.k AND b.v = c.v"),
                  k + row("l", "b", "v",
                          row("x", "c", "v") + element("e", attributeOf("c", "b", "k") +
                                                                attributeOf("w", "c", "k")))),
       {"rows-left-out 19 <x> is written once, not once for each row of C: an attribute has"}},
      {"rows of a table whose name stands elsewhere as well",
       collection(
           listed("abc", "a.k = b.k AND a.k = c.k"),
           k + element("bill", row("addr", "b", "v")) + element("ship", row("addr", "c", "w"))),
       {"rows-of-another-element 21 <addr> is written once for each row of B"}},
      {"a root and a group without values of their own",
       test::dad(element(
           "docs", test::top(listed("ab", "a.k = b.k")) +
                       repeated("grp", element("in", row("a", "a", "k", row("e", "b", "v")))))),
       {"rows-left-out 9 <grp> is written once, not once for each row of A: its name is not"}},
      {"a group in a row, and an attribute of a table that is not open",
       collection(ab, k + repeated("grp", element("in", textOf("e", "b", "v")) +
                                              attributeOf("x", "b", "k"))),
       {"rows-left-out 13 <grp> is written once", "rows-left-out 15 <e> is written once"}},
      {"an OR at the table of the documents",
       collection(ab,
                  k + attribute("v", column("a", "v", "<condition>v = 1 or v = 2</condition>")) +
                      row("e", "b", "v")),
       {}},
      {"an element that is written empty, and one name for two columns",
       collection(listed("a"),
                  k + element("whole", column("a", "v")) + element("e", textOf("k", "a", "v"))),
       {"element-written-empty 11 <whole> is stored whole",
        "name-mapped-twice 17 the text of <k> is written from A.K, not from A.V"}},
      {"an open OR beside a join",
       collection(ab, k + repeated("e", attribute("v", column("b", "v",
                                                              "<condition>v = 1 or (v = 2)"
                                                              "</condition>")))),
       {"or-without-parentheses 18 conditions stand beside each other, joined by AND: this OR lets "
        "rows pass that the others exclude, even rows of other parents"}},
      {"an orderBy too long",
       collection("<table name='a' orderBy='" + std::string(2560, 'k') + "'/>", k),
       {"part-ignored 6 orderBy has more than 2559"}},
  };
  for (const Case& c : cases) expectWarnings(c, kForComposition);

  const auto unjoined = [](const std::string& dad) {
    const Mapping mapping(dad, kForComposition);
    CallContext call;
    const tab* table = unjoinedTable(
        MappingSurvey(&call.ctx, mapping.model, mapping.element(u"element_node"), kForComposition));
    return std::string(table ? table->name : "");
  };
  EXPECT_EQ(unjoined(collection(listed("ab"), k + row("e", "b", "v"))), "B");
  EXPECT_EQ(unjoined(collection(listed("ab"), k + attributeOf("v", "b", "v"))), "B");
  EXPECT_EQ(unjoined(collection(ab, k + row("e", "b", "v"))), "");
  const std::string both =
      k + repeated("e", attributeOf("w", "c", "k") + attributeOf("v", "b", "v"));
  const std::string chain = "a.k = b.k AND b.v = c.v";
  EXPECT_EQ(unjoined(collection(listed("abc", chain), both)), "");
  EXPECT_EQ(unjoined(collection(listed("acb", chain), both)), "C");
  EXPECT_EQ(unjoined(collection(listed("abc", chain),
                                k + row("e", "b", "v") + repeated("f", textOf("w", "c", "k")))),
            "C");
  EXPECT_EQ(unjoined(collection(listed("ab"), row("d", "a", "k") + row("e", "b", "v"))), "");
}

}  // namespace
}  // namespace orvxml
