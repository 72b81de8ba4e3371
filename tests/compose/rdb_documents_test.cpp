// RDB_node mapping: which elements and attributes come out of which rows, to the byte.
#include "tests/compose/rdb_mapping.h"

namespace orvxml::test {
namespace {

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
      "integer);insert into box values (10, 5); insert into orders values (1, 'Acme'), (2, 'Bee');"
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
        "no=\"157\"></Part>\n</Order>",
        "\n<Order key=\"2\">\n  <Part no=\"200\"></Part>\n</Order>"}},
      {"it is asked for again for every row, and no value of an earlier row comes back",
       stock,
       order(key + element("Part", attributeOf("color", "part", "color") +
                                       attributeOf("place", "stock", "place") +
                                       element("At", text(column("stock", "place")))),
             stocked),
       {"\n<Order key=\"1\">\n  <Part color=\"red\" place=\"north\">\n    <At>north</At>\n  "
        "</Part>\n  <Part color=\"blue\">\n    <At></At>\n  </Part>\n"
        "  <Part color=\"grey\" place=\"south\">\n    <At>south</At>\n  </Part>\n</Order>",
        "\n<Order key=\"2\">\n  <Part color=\"red\" place=\"north\">\n    <At>north</At>\n  "
        "</Part>\n</Order>"}},
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

}  // namespace
}  // namespace orvxml::test
