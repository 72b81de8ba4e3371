// RDB_node mapping: which documents come out of which tables, to the byte, which statements are
// sent for them, and what every failure says.
#include <filesystem>

#include "orvxml/composition.h"
#include "orvxml/trace.h"
#include "tests/decompose/mapping_texts.h"
#include "tests/support/composed_documents.h"
#include "tests/support/temporary_folder.h"

namespace orvxml::test {
namespace {

using Documents = std::vector<std::string>;

const char kProlog[] = "<prolog>?xml version=\"1.0\"?</prolog>";
const char kHeader[] = "<?xml version=\"1.0\"?>";

std::string mapping(const std::string& root, const std::string& prolog = kProlog) {
  return "<DAD><Xcollection>" + prolog + "<root_node>" + root + "</root_node></Xcollection></DAD>";
}
std::string table(const std::string& name, const std::string& orderBy = "") {
  return "<table name='" + name + "' orderBy='" + orderBy + "'/>";
}
std::string top(const std::string& tables, const std::string& condition = "") {
  return "<RDB_node>" + tables +
         (condition.empty() ? "" : "<condition>" + condition + "</condition>") + "</RDB_node>";
}
std::string textOf(const std::string& name, const std::string& from, const std::string& col) {
  return element(name, text(column(from, col)));
}
std::string attributeOf(const std::string& name, const std::string& from, const std::string& col) {
  return attribute(name, column(from, col));
}
std::string conditional(const std::string& from, const std::string& col, const std::string& more) {
  return "<RDB_node><table name='" + from + "'/><column name='" + col + "'/><condition>" + more +
         "</condition></RDB_node>";
}

// Orders with their parts, and how the parts are shipped.
const char kOrders[] =
    "create table orders (k integer, customer varchar(20), clerk integer);"
    "create table part (o integer, k integer, color varchar(10));"
    "create table ship (p integer, mode varchar(10));"
    "create table clerk (k integer, name varchar(20));"
    "insert into orders values (1, 'Acme', 7), (2, 'Bee & Co', null);"
    "insert into part values (1, 156, 'red'), (1, 157, null), (2, 200, '');"
    "insert into ship values (156, 'AIR'), (156, 'RAIL'), (157, 'SEA');"
    "insert into clerk values (7, 'Kim');";
const std::string kOrdersAndParts =
    top(table("orders", "k") + table("part", "k"), "orders.k = part.o");

std::string order(const std::string& content, const std::string& tables = kOrdersAndParts) {
  return mapping(element("Order", tables + content));
}

struct DocumentCase {
  const char* label;
  const char* script;
  std::string dad;
  Documents documents;  // without the header
};

void expectDocuments(const DocumentCase& c, int codePage = 1208) {
  SCOPED_TRACE(c.label);
  ComposeDatabase db(codePage);
  db.runScript(c.script);
  Documents documents = composedDocuments(db, c.dad, ComposeForm::List);
  for (std::string& document : documents) {
    ASSERT_TRUE(document.starts_with(kHeader)) << document;
    document.erase(0, sizeof kHeader - 1);
  }
  EXPECT_EQ(documents, c.documents);
}

TEST(RdbComposition, ElementsFollowTheRowsOfTheirTables) {
  const std::string key = attributeOf("key", "orders", "k");
  const std::string part =
      element("Part", attributeOf("color", "part", "color") + textOf("key", "part", "k"),
              " multi_occurrence='YES'");
  const std::string ships = textOf("Mode", "ship", "mode");
  const std::string three = top(table("orders", "k") + table("part", "k") + table("ship", "mode"),
                                "orders.k = part.o AND part.k = ship.p");
  const DocumentCase cases[] = {
      {"a child element per row; null and empty values",
       kOrders,
       order(key + textOf("Customer", "orders", "customer") + part),
       {"\n<Order key=\"1\">\n  <Customer>Acme</Customer>\n  <Part color=\"red\">\n"
        "    <key>156</key>\n  </Part>\n  <Part>\n    <key>157</key>\n  </Part>\n</Order>",
        "\n<Order key=\"2\">\n  <Customer>Bee &amp; Co</Customer>\n  <Part>\n    <key>200</key>\n"
        "  </Part>\n</Order>"}},
      {"three levels, keys that are no part of the document",
       kOrders,
       order(attributeOf("customer", "orders", "customer") +
                 element("Part", attributeOf("color", "part", "color") + ships),
             three),
       {"\n<Order customer=\"Acme\">\n  <Part color=\"red\">\n    <Mode>AIR</Mode>\n"
        "    <Mode>RAIL</Mode>\n  </Part>\n  <Part>\n    <Mode>SEA</Mode>\n  </Part>\n</Order>",
        "\n<Order customer=\"Bee &amp; Co\">\n  <Part>\n  </Part>\n</Order>"}},
      {"trivial wrappers are written once, around no rows as well",
       kOrders,
       order(key + element("Parts", element("All", element("Part", attributeOf("p", "part", "k") +
                                                                       element("By", ships)))),
             three),
       {"\n<Order key=\"1\">\n  <Parts>\n    <All>\n      <Part p=\"156\">\n        <By>\n"
        "          <Mode>AIR</Mode>\n          <Mode>RAIL</Mode>\n        </By>\n      </Part>\n"
        "      <Part p=\"157\">\n        <By>\n          <Mode>SEA</Mode>\n        </By>\n"
        "      </Part>\n    </All>\n  </Parts>\n</Order>",
        "\n<Order key=\"2\">\n  <Parts>\n    <All>\n      <Part p=\"200\">\n        <By>\n"
        "        </By>\n      </Part>\n    </All>\n  </Parts>\n</Order>"}},
      {"an element that repeats and only groups others stands for the row",
       kOrders,
       order(key + repeated("Part", textOf("color", "part", "color") + textOf("k", "part", "k"))),
       {"\n<Order key=\"1\">\n  <Part>\n    <color>red</color>\n    <k>156</k>\n  </Part>\n"
        "  <Part>\n    <color></color>\n    <k>157</k>\n  </Part>\n</Order>",
        "\n<Order key=\"2\">\n  <Part>\n    <color></color>\n    <k>200</k>\n  </Part>\n</Order>"}},
      {"a trivial root is one document around all rows",
       kOrders,
       mapping(element(
           "Orders", kOrdersAndParts +
                         element("Order", key + element("Part", attributeOf("no", "part", "k"))))),
       {"\n<Orders>\n  <Order key=\"1\">\n    <Part no=\"156\"></Part>\n    <Part "
        "no=\"157\"></Part>"
        "\n  </Order>\n  <Order key=\"2\">\n    <Part no=\"200\"></Part>\n  </Order>\n</Orders>"}},
      {"siblings of several tables",
       kOrders,
       order(
           key + element("Part", attributeOf("no", "part", "k")) +
               element("Clerk", attributeOf("id", "clerk", "k") + textOf("Name", "clerk", "name")) +
               textOf("Customer", "orders", "customer"),
           top(table("orders", "k") + table("part", "k") + table("clerk"),
               "orders.k = part.o AND orders.clerk = clerk.k")),
       {"\n<Order key=\"1\">\n  <Part no=\"156\"></Part>\n  <Part no=\"157\"></Part>\n"
        "  <Clerk id=\"7\">\n    <Name>Kim</Name>\n  </Clerk>\n  <Customer>Acme</Customer>\n"
        "</Order>",
        "\n<Order key=\"2\">\n  <Part no=\"200\"></Part>\n  <Customer>Bee &amp; Co</Customer>\n"
        "</Order>"}},
      {"one table at two places of the document",
       kOrders,
       order(key + element("A", element("Part", attributeOf("no", "part", "k"))) +
             element("B", element("Part", textOf("Color", "part", "color")))),
       {"\n<Order key=\"1\">\n  <A>\n    <Part no=\"156\"></Part>\n    <Part no=\"157\"></Part>\n"
        "  </A>\n  <B>\n    <Part>\n      <Color>red</Color>\n    </Part>\n    <Part>\n"
        "      <Color></Color>\n    </Part>\n  </B>\n</Order>",
        "\n<Order key=\"2\">\n  <A>\n    <Part no=\"200\"></Part>\n  </A>\n  <B>\n    <Part>\n"
        "      <Color></Color>\n    </Part>\n  </B>\n</Order>"}},
      {"one element, one value",
       kOrders,
       mapping(element("c", top(table("orders", "k")) + text(column("orders", "customer")))),
       {"\n<c>Acme</c>", "\n<c>Bee &amp; Co</c>"}},
  };
  for (const DocumentCase& c : cases) expectDocuments(c);
}

// Values that another table supplies, by a query of their own or by the row of an enclosing
// element.
TEST(RdbComposition, AttributesAndTextsOfOtherTables) {
  const std::string three = top(table("orders", "k") + table("part", "k") + table("clerk"),
                                "orders.k = part.o AND orders.clerk = clerk.k");
  const std::string key = attributeOf("key", "orders", "k");
  const char stock[] =
      "create table orders (k integer, customer varchar(20));"
      "create table part (o integer, k integer, color varchar(10));"
      "create table stock (p integer, place varchar(10)); create table box (p integer, size "
      "integer);"
      "insert into box values (10, 5); insert into orders values (1, 'Acme'), (2, 'Bee');"
      "insert into part values (1, 10, 'red'), (1, 11, 'blue'), (1, 12, 'grey'), (2, 10, 'red');"
      "insert into stock values (10, 'north'), (12, 'south');";
  const std::string stocked =
      top(table("orders", "k") + table("part", "k") + table("box") + table("stock"),
          "orders.k = part.o AND part.k = box.p AND part.k = stock.p");
  const DocumentCase cases[] = {
      {"an attribute of another table, with a row and without one",
       kOrders,
       order(key + attributeOf("clerk", "clerk", "name") +
                 element("Part", attributeOf("no", "part", "k")),
             three),
       {"\n<Order key=\"1\" clerk=\"Kim\">\n  <Part no=\"156\"></Part>\n  <Part "
        "no=\"157\"></Part>\n"
        "</Order>",
        "\n<Order key=\"2\">\n  <Part no=\"200\"></Part>\n</Order>"}},
      {"it is asked for again for every row, and no value of an earlier row comes back",
       stock,
       order(key + element("Part", attributeOf("color", "part", "color") +
                                       attributeOf("place", "stock", "place") +
                                       element("At", text(column("stock", "place")))),
             stocked),
       {"\n<Order key=\"1\">\n  <Part color=\"red\" place=\"north\">\n    <At>north</At>\n  "
        "</Part>\n"
        "  <Part color=\"blue\">\n    <At></At>\n  </Part>\n"
        "  <Part color=\"grey\" place=\"south\">\n    <At>south</At>\n  </Part>\n</Order>",
        "\n<Order key=\"2\">\n  <Part color=\"red\" place=\"north\">\n    <At>north</At>\n  "
        "</Part>\n"
        "</Order>"}},
      {"a value does not outlive the row that its query belonged to",
       stock,
       order(key + element("Part", attributeOf("color", "part", "color") +
                                       element("Box", attributeOf("size", "box", "size") +
                                                          attributeOf("at", "stock", "place")) +
                                       textOf("Last", "stock", "place")),
             stocked),
       {"\n<Order key=\"1\">\n  <Part color=\"red\">\n    <Box size=\"5\" at=\"north\"></Box>\n"
        "    <Last>north</Last>\n  </Part>\n  <Part color=\"blue\">\n    <Last></Last>\n  </Part>\n"
        "  <Part color=\"grey\">\n    <Last></Last>\n  </Part>\n</Order>",
        "\n<Order key=\"2\">\n  <Part color=\"red\">\n    <Box size=\"5\" at=\"north\"></Box>\n"
        "    <Last>north</Last>\n  </Part>\n</Order>"}},
      {"attributes and texts of the tables of enclosing elements",
       kOrders,
       order(key +
             element("Part",
                     attributeOf("no", "part", "k") + attributeOf("by", "orders", "customer") +
                         textOf("Order", "orders", "k") + textOf("Color", "part", "color"))),
       {"\n<Order key=\"1\">\n  <Part no=\"156\" by=\"Acme\">\n    <Order>1</Order>\n"
        "    <Color>red</Color>\n  </Part>\n  <Part no=\"157\" by=\"Acme\">\n    <Order>1</Order>\n"
        "    <Color></Color>\n  </Part>\n</Order>",
        "\n<Order key=\"2\">\n  <Part no=\"200\" by=\"Bee &amp; Co\">\n    <Order>2</Order>\n"
        "    <Color></Color>\n  </Part>\n</Order>"}},
      {"an attribute behind text and elements of the mapping stands in the tag",
       kOrders,
       order(key + textOf("Customer", "orders", "customer") +
             attributeOf("clerk", "orders", "clerk")),
       {"\n<Order key=\"1\" clerk=\"7\">\n  <Customer>Acme</Customer>\n</Order>",
        "\n<Order key=\"2\">\n  <Customer>Bee &amp; Co</Customer>\n</Order>"}},
  };
  for (const DocumentCase& c : cases) expectDocuments(c);
}

TEST(RdbComposition, NamesConditionsAndKeys) {
  const DocumentCase cases[] = {
      {"two key columns, one of them mapped; a null joins nothing",
       "create table p (a integer, b integer); create table c (a integer, b integer, v varchar(9));"
       "insert into p values (1, 1), (1, 2), (2, null);"
       "insert into c values (1, 1, 'one'), (1, 2, 'two'), (2, null, 'none'), (2, 1, 'no');",
       mapping(element("p", top(table("p", "a, b") + table("c"), "p.a = c.a AND p.b = c.b") +
                                attributeOf("a", "p", "a") + textOf("v", "c", "v"))),
       {"\n<p a=\"1\">\n  <v>one</v>\n</p>", "\n<p a=\"1\">\n  <v>two</v>\n</p>",
        "\n<p a=\"2\">\n</p>"}},
      {"delimited names with quotes, blanks and small letters, in a schema",
       "create table \"my s\".\"a\"\"b\" (\"X Y\" integer, \"q\"\"\" varchar(9));"
       "create table \"my s\".c (\"X Y\" integer, v varchar(9));"
       "insert into \"my s\".\"a\"\"b\" values (1, '\"''<>');"
       "insert into \"my s\".c values (1, '&');",
       mapping(element(
           "d", top("<table name='\"my s\".\"a\"\"b\"'/><table name='\"my s\".c'/>",
                    "\"my s\".\"a\"\"b\".\"X Y\" = \"my s\".c.\"X Y\"") +
                    attribute("q",
                              "<RDB_node><table name='\"my s\".\"a\"\"b\"'/>"
                              "<column name='\"q\"\"\"'/></RDB_node>") +
                    element("v", text("<RDB_node><table name='\"my s\".C'/><column name='v'/>"
                                      "</RDB_node>")))),
       {"\n<d q=\"&quot;&apos;&lt;&gt;\">\n  <v>&amp;</v>\n</d>"}},
      {"join columns with small letters",
       "create table a (\"my k\" integer, k integer); create table b (\"my k\" integer, k integer);"
       "insert into a values (1, 5), (2, 6); insert into b values (2, 7), (2, 8);",
       mapping(element("a", top(table("a", "k") + table("b", "k"), "a.\"my k\" = b.\"my k\"") +
                                attributeOf("k", "a", "k") + textOf("b", "b", "k"))),
       {"\n<a k=\"5\">\n</a>", "\n<a k=\"6\">\n  <b>7</b>\n  <b>8</b>\n</a>"}},
      {"conditions of columns and of a parent stand together",
       kOrders,
       order(attribute("key", conditional("orders", "k", "orders.k = 1")) +
             element("Part", attributeOf("no", "part", "k") +
                                 element("c", text(conditional("part", "color",
                                                               "part.color is not null"))))),
       {"\n<Order key=\"1\">\n  <Part no=\"156\">\n    <c>red</c>\n  </Part>\n</Order>"}},
  };
  for (const DocumentCase& c : cases) expectDocuments(c);
}

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

// ---- The statements.
class TracedStatements {
 public:
  TracedStatements() {
    EXPECT_EQ(qrkTraceOn(nullptr, folder(), instance_.data(), message_, &code_), 0);
  }
  ~TracedStatements() { EXPECT_EQ(qrkTraceOff(nullptr, instance_.data(), message_, &code_), 0); }
  TracedStatements(const TracedStatements&) = delete;
  TracedStatements& operator=(const TracedStatements&) = delete;

  std::vector<std::string> all() const {
    constexpr std::string_view kStart = "qrkGenSQL:\t\t";
    std::vector<std::string> statements;
    for (const auto& file : std::filesystem::directory_iterator(folder_.path())) {
      const std::string trace = readFile(file.path());
      for (size_t at = trace.find(kStart); at != std::string::npos; at = trace.find(kStart, at)) {
        at += kStart.size();
        statements.push_back(trace.substr(at, trace.find('\n', at) - at));
      }
    }
    return statements;
  }

 private:
  char* folder() { return const_cast<char*>(folder_.path().c_str()); }

  TemporaryFolder folder_;
  std::string instance_ = instanceName();
  char message_[kMessageSize] = "";
  int code_ = 0;
};

// Each table has one statement for all rows and documents.
TEST(RdbComposition, StatementsToTheBlank) {
  ComposeDatabase db;
  db.runScript(kOrders);
  db.runScript(
      "create table s.p (a integer, b integer); create table s.c (a integer, b integer, v integer);"
      "insert into s.p values (1, 1);");
  const std::string shop = order(
      attributeOf("key", "orders", "k") + textOf("Customer", "orders", "customer") +
          element("Part", attributeOf("color", "part", "color") + textOf("key", "part", "k") +
                              element("Ship", text(column("ship", "mode")))) +
          element("Clerk", text(column("clerk", "name"))),
      top(table("orders", "k desc") + table("part") + table("ship", "mode, p") + table("clerk"),
          "orders.k = part.o and part.k = ship.p and clerk.k = orders.clerk"));
  const std::string keys = mapping(
      element("p", top(table("s.p") + table("s.c", "v"), "s.p.a = s.c.a AND s.c.b = s.p.b") +
                       attribute("a", conditional("s.p", "a", "s.p.a > 0")) +
                       element("c", text(conditional("s.c", "v", "v is null")))));
  const struct {
    const char* label;
    std::string dad;
    std::vector<std::string> statements;
  } cases[] = {
      {"joins, orders, join columns that only children need",
       shop,
       {R"(SELECT "ORDERS"."K", "ORDERS"."CUSTOMER", "ORDERS"."CLERK" FROM "ORDERS")"
        " ORDER BY k desc",
        R"(SELECT "PART"."COLOR", "PART"."K" FROM "PART" WHERE "PART"."O" = ? )",
        R"(SELECT "CLERK"."NAME" FROM "CLERK" WHERE "CLERK"."K" = ? )",
        R"(SELECT "SHIP"."MODE" FROM "SHIP" WHERE "SHIP"."P" = ?  ORDER BY mode, p)"}},
      {"schemas, conditions, a key of two columns",
       keys,
       {R"(SELECT "S"."P"."A", "S"."P"."B" FROM "S"."P" WHERE s.p.a > 0)",
        R"(SELECT "S"."C"."V" FROM "S"."C" WHERE v is null AND "S"."C"."A" = ?  AND "S"."C"."B" = )"
        "?  ORDER BY v"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    TracedStatements traced;
    const ComposeOutcome outcome = db.compose(ComposeForm::List, {.source = c.dad});
    EXPECT_EQ(outcome.code, 0) << outcome;
    std::vector<std::string> statements = traced.all();
    EXPECT_TRUE(std::is_permutation(statements.begin(), statements.end(), c.statements.begin(),
                                    c.statements.end()))
        << testing::PrintToString(statements);
  }
}

// ---- Counts and warnings.
TEST(RdbComposition, CountsAndWarnings) {
  ComposeDatabase db;
  db.runScript("create table t (k integer); create table result (doc clob(1m))");
  for (int i = 1; i <= 5; ++i) db.run("insert into t values (" + std::to_string(i) + ")");
  const std::string dad = mapping(element("t", top(table("t", "k")) + attributeOf("k", "t", "k")));
  const char* const kDone = "QRKQ020I  XML successfully generated.";
  const char* const kMaximum = "QRKQ003W  Result exceeds maximum.";
  const char* const kUnused =
      "QRKQ041W  XML document successfully generated.  One or more override paths specified is "
      "invalid and ignored.";
  const struct {
    const char* label;
    ComposeArguments arguments;
    int code, count;
    const char* message;
    size_t stored;
  } cases[] = {
      {"all", {.table = "result"}, 0, 5, kDone, 5},
      {"fewer than the maximum", {.table = "result", .maxRows = 6}, 0, 5, kDone, 5},
      {"the maximum", {.table = "result", .maxRows = 2}, 3, 2, kMaximum, 2},
      {"as many as the maximum", {.table = "result", .maxRows = 5}, 3, 5, kMaximum, 5},
      {"an override",
       {.table = "result", .overrideType = XML_OVERRIDE, .override = "/t/@k > 3"},
       0,
       2,
       kDone,
       2},
      {"an override of no column, and the maximum",
       {.table = "result", .overrideType = XML_OVERRIDE, .override = "/x > 3", .maxRows = 1},
       5,
       1,
       kUnused,
       1},
      {"no document",
       {.table = "result", .overrideType = XML_OVERRIDE, .override = "/t/@k > 5"},
       0,
       0,
       kDone,
       0},
      {"a document of five rows", {}, 0, 5, kDone, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    db.session().run("delete from result");
    ComposeArguments arguments = c.arguments;
    arguments.source = dad;
    const ComposeOutcome outcome = db.compose(ComposeForm::List, arguments);
    EXPECT_EQ(outcome.code, c.code) << outcome;
    EXPECT_EQ(outcome.message, c.message);
    EXPECT_EQ(outcome.count, c.count);
    EXPECT_EQ(db.rows("select doc from result").size(), c.stored);
    if (arguments.table) continue;
    EXPECT_EQ(outcome.document, std::string(kHeader) + "\n<t k=\"1\"></t>");
  }
}

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
       mapping(element("r", top(table("t") + table("c") + table("d"), "c.k = d.k") + k +
                                element("w", element("x", textOf("d", "d", "k"))) +
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

TEST(RdbComposition, MappingsAreAsDeepAsTheParserTakesThem) {
  std::string content = attributeOf("k", "t", "k"), inner = "<e k=\"1\"></e>";
  content = element("e", content);
  std::string before, after;
  constexpr size_t kDepth = 950;
  for (size_t i = 0; i < kDepth; ++i) {
    if (i + 1 == kDepth) content.insert(0, top(table("t")));
    content = element("e", content);
    const std::string lineStart = "\n" + std::string(2 * i, ' ');
    before.append(lineStart).append("<e>");
    after.insert(0, lineStart + "</e>");
  }
  ComposeDatabase db;
  db.runScript("create table t (k integer); insert into t values (1)");
  const Documents documents = composedDocuments(db, mapping(content), ComposeForm::List);
  ASSERT_EQ(documents.size(), 1U);
  const std::string lineStart = "\n" + std::string(2 * kDepth, ' ');
  EXPECT_TRUE(documents[0] == kHeader + before + lineStart + inner + after);
}

TEST(RdbComposition, TheResultColumnIsLookedForInTheCatalog) {
  ComposeDatabase db;
  db.runScript("create table t (k integer); create table result (doc clob(1m))");
  const ComposeOutcome outcome =
      db.compose(ComposeForm::List,
                 {.source = mapping(element("t", top(table("t")) + attributeOf("k", "t", "k"))),
                  .table = "result",
                  .column = "nothing",
                  .validColumn = ""});
  EXPECT_EQ(outcome.code, -69);
  EXPECT_EQ(outcome.message,
            "QRKQ021E  Table RESULT does not have column NOTHING.\n"
            "QRKQ009E  Result table result does not exist.");
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

TEST(RdbComposition, StatementsOfAnyLengthThatTheServerTakes) {
  // With 297 columns and without an ORDER BY clause the statement has 65,453 bytes.
  const std::string name(100, 'T'), col(113, 'C');
  std::string values;
  for (int i = 0; i < 296; ++i) values += textOf("e" + std::to_string(i), name, col);
  ComposeDatabase db;
  db.runScript("create table " + name + " (" + col + " integer); insert into " + name +
               " values (1)");
  const auto composeOrderedBy = [&](const std::string& orderBy) {
    const std::string dad =
        mapping(element("r", top(table(name, orderBy)) + attributeOf("a", name, col) + values));
    return db.compose(ComposeForm::List, {.source = dad});
  };
  const ComposeOutcome fits = composeOrderedBy("1" + std::string(70, ' '));
  EXPECT_EQ(fits.code, 0) << fits;
  const ComposeOutcome tooLong = composeOrderedBy("1" + std::string(71, ' '));
  EXPECT_EQ(tooLong.code, -121);
  EXPECT_EQ(tooLong.message, "QRKQ038E  The SQL statement is too long: sql_stmt > MAX_STMT_LEN.");
}

}  // namespace
}  // namespace orvxml::test
