// The mapping model: tables, columns, joins, foreign keys and top elements from DADs; what a DAD
// may not say, and how much of it.
#include <cstring>
#include <map>

#include "src/compose/composition.h"
#include "tests/dad/mapping_model_for_test.h"
#include "tests/support/database.h"
#include "tests/support/texts.h"

namespace orvxml {
namespace {

using test::repeat;
using namespace unittest;

// "table: column=xml@level..." of every table, with the foreign keys as "column>table column".
std::string describe(const rel& model) {
  std::string out;
  for (int i = 0; i < model.num_of_tables; ++i) {
    const tab& table = *model.tab[i];
    out += std::string(table.schema) + "." + table.name + " top=" + table.top_element;
    for (int c = 0; c < table.num_col; ++c) {
      const col2xml_entry& entry = table.col2xml[c];
      const char kind = entry.xmlType == QRK_ATTRIBUTE ? '@'
                        : entry.xmlType == QRK_TEXT    ? '='
                                                       : '*';
      out += std::string(" ") + entry.col + kind + entry.xml + std::to_string(entry.xmlLevel);
    }
    for (int f = 0; f < table.num_fk; ++f) {
      out += std::string(" ") + table.fk[f].column->col + ">" + table.fk[f].parent->col;
    }
    out += "\n";
  }
  return out;
}

TEST(MappingModelTest, OrdersPartsAndShipments) {
  const Mapping mapping(collection(
      "<table name='order_tab' key='order_key \"b\"'/><table name='s.part_tab'/>"
      "<table name='\"ship Tab\"' orderBy='MODE, \"Date\"'/>"
      "<condition>order_tab.order_key = s.part_tab.order_key AND\n"
      "  s.part_tab.\"key\"=\"ship Tab\".part_key</condition>",
      attribute("key", column("order_tab", "order_key")) + "\n" + "<element_node name='customer'>" +
          textElement("name", column("order_tab", "customer_name")) + "</element_node>" +
          repeated("part", attribute("key", column("S.PART_TAB", "\"key\"")) +
                               repeated("shipment",
                                        textElement("mode", column("\"ship Tab\"", "mode")) +
                                            textElement("note", column("\"ship Tab\"", "n"))))));
  ASSERT_EQ(mapping.code, 0) << mapping.message();
  EXPECT_EQ(describe(mapping.model),
            ".ORDER_TAB top=doc ORDER_KEY@key0 CUSTOMER_NAME=name2\n"
            "S.PART_TAB top=part key@key1 ORDER_KEY>ORDER_KEY\n"
            ".ship Tab top=shipment MODE=mode3 N=note3 PART_KEY>key\n");
  const rel& model = mapping.model;
  EXPECT_EQ(model.num_cond, 2);
  EXPECT_EQ(model.tab[1]->num_join, 2);
  EXPECT_EQ(model.tab[0]->level, 0);
  EXPECT_EQ(model.tab[1]->level, 1);
  EXPECT_EQ(model.tab[2]->level, 3);
  EXPECT_EQ(model.tab[0]->pri_key.num, 2);
  EXPECT_STREQ(model.tab[0]->pri_key.name[1], "b");
  EXPECT_STREQ(model.tab[2]->orderBy, "MODE, \"Date\"");
  EXPECT_STREQ(model.top_elements[2], "shipment");
  EXPECT_TRUE(isInTab(nullptr, model.tab[2], "note"));
  EXPECT_FALSE(isInTab(nullptr, model.tab[2], "part"));
}

TEST(MappingModelTest, TopElements) {
  const std::string tables = "<table name='a'/><table name='b'/>";
  const std::string text = textElement("t", column("a", "x"));
  struct Case {
    const char* label;
    std::string content;
    const char* topOfA;
  };
  const Case cases[] = {
      {"the element of a text", text, "t"},
      {"a repeating group of it", repeated("g", text), "g"},
      {"groups of groups", repeated("h", repeated("g", text)), "h"},
      {"a single group is none", "<element_node name='g'>" + text + "</element_node>", "t"},
      {"a group that carries a value is none",
       repeated("g", attribute("v", column("a", "y")) + text), "g"},
      {"nor one that holds another table", repeated("g", text + textElement("u", column("b", "z"))),
       "t"},
      {"an element that is a column of its own",
       "<element_node name='whole'>" + column("a", "doc") + "</element_node>", "whole"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Mapping mapping(collection(tables, c.content));
    ASSERT_EQ(mapping.code, 0) << mapping.message();
    EXPECT_STREQ(mapping.model.tab[0]->top_element, c.topOfA);
  }
}

TEST(MappingModelTest, ForeignKeysFollowTheChainUpwards) {
  // c has no column for b's key: its value is a's, which b's key joins to.
  const std::string tables = "<table name='a'/><table name='b'/><table name='c'/><condition>";
  const std::string content = attribute("k", column("a", "k")) +
                              repeated("e", attribute("v", column("b", "v")) +
                                                repeated("f", attribute("w", column("c", "w"))));
  const Mapping chained(collection(tables + "a.k=b.k AND b.k=c.k</condition>", content));
  ASSERT_EQ(chained.code, 0) << chained.message();
  EXPECT_STREQ(chained.model.tab[2]->fk[0].column->col, "K");
  EXPECT_EQ(chained.model.tab[2]->fk[0].parent, &chained.model.tab[0]->col2xml[0]);

  struct Case {
    const char* label;
    const char* condition;
    const char* message;
  };
  const Case cases[] = {
      {"the chain ends nowhere", "b.z=c.k", "QRKA059E  The type UNKNOWN of column K in the DAD"},
      {"a cycle", "b.z=c.k AND c.k=b.y AND b.y=b.z", "QRKA059E  The type UNKNOWN of column K"},
      {"the column is mapped itself", "a.k=b.v",
       "QRKQ056E  Element/attribute v cannot be mapped to the column designated as part of the "
       "foreign key (column V in table B).\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Mapping mapping(collection(tables + c.condition + "</condition>", content));
    EXPECT_LT(mapping.code, 0);
    EXPECT_EQ(mapping.message().find(c.message), 0u) << mapping.message();
    EXPECT_EQ(mapping.heard.place.substr(0, 2), "9 ");
  }
}

TEST(MappingModelTest, JoinConditions) {
  const std::string longName(31, 's');
  const std::string longTable(129, 't');
  struct Case {
    const char* label;
    std::string condition;
    int code;
    std::string message;
  };
  const Case cases[] = {
      {"any case, any white space", "a.x\n=  b.y and B.Z = A.X", 0, ""},
      {"the same column twice", "a.x = A.X", 0, ""},
      {"white space only", "  \n ", 0, ""},
      {"OR", "A.X = B.Y OR A.X = B.Z", -110,
       "QRKQ034E  Invalid condition element in top RDB_node of DAD: OR A.X = B.Z "},
      {"no equality", "A.X > B.Y", -110,
       "QRKQ034E  Invalid condition element in top RDB_node of "
       "DAD: > B.Y "},
      {"no name on the left", "'x' = B.Y", -110, "QRKQ034E"},
      {"a quoted AND", "A.X = B.Y \"AND\" A.X = B.Y", -110, "QRKQ034E"},
      {"ends after AND", "A.X = B.Y AND", -110, "QRKQ034E"},
      {"no name on the right", "A.X = 1", -75, "QRKQ015E"},
      {"four parts", "A.X = q.s.B.Y", -110, "QRKQ034E"},
      {"an unknown table", "A.X = C.Y", -75, "QRKQ015E"},
      {"no table at all", "A.X = Y", -75, "QRKQ015E"},
      {"escaped twice", "A.X &amp;eq; B.Y", -110, "QRKQ034E"},
      {"a long schema", longName + ".A.X = B.Y", -115, "QRKQ036E"},
      {"a long table", longTable + ".X = B.Y", -100, "QRKQ031E"},
      {"a long column", "A." + longTable + " = B.Y", -101, "QRKQ032E"},
      {"a quotation too long for the message", "A.X = B.Y " + repeat("\xC3\xA9", 200), -110,
       "QRKQ034E  Invalid condition element in top RDB_node of DAD: " + repeat("\xC3\xA9", 149) +
           " "},
      {"too long a condition", "A.X = B.Y" + std::string(3991, ' '), -124,
       "QRKG017E  The limit for QRK_CONDITION_LENGTH has been exceeded in build "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Mapping mapping(
        collection("<table name='a'/><table name='b'/><condition>" + c.condition + "</condition>",
                   attribute("x", column("a", "x"))));
    EXPECT_EQ(mapping.code, c.code);
    EXPECT_EQ(mapping.message().substr(0, c.message.size()), c.message);
    // The condition, and the equality that is wrong.
    EXPECT_EQ(mapping.heard.place.substr(0, 2), c.code == 0 ? "" : "8 ");
  }
}

TEST(MappingModelTest, FaultsOfADad) {
  const std::string table = "<table name='t'/>";
  const std::string item = attribute("i", column("t", "c"));
  struct Case {
    const char* label;
    std::string dad;
    int code;
    const char* message;
    const char* place;  // the beginning
  };
  const Case cases[] = {
      {"no RDB_node", "<DAD><element_node name='r'/></DAD>", -61,
       "QRKQ000E  RDB_node is missing from the DAD file.\n", "1 "},
      {"an empty top RDB_node", collection("", ""), -61,
       "QRKQ000E  table & column is missing from the DAD file.\n", "5 "},
      {"a nameless table", collection("<table/>", item), -73, "QRKQ013E", "6 table without a name"},
      {"a table name of 164 characters",
       collection("<table name='" + std::string(164, 't') + "'/>", item), -73, "QRKQ013E",
       "6 table with a name of more than 163 characters"},
      {"a table name of three parts", collection("<table name='a.b.c'/>", item), -109,
       "QRKQ033E  Invalid identifier starting at a.b.c \n", "6 table"},
      {"a table name of two words", collection("<table name='a b'/><table/>", item), -73,
       "QRKQ013E", "7 table without a name"},
      {"a key that is no name", collection("<table name='t' key='a 1'/>", item), -113,
       "QRKQ033E  Invalid identifier starting at a 1 \n", "6 table"},
      {"a key too long", collection("<table name='t' key='" + std::string(128, 'k') + "'/>", item),
       -114, "QRKQ033E", "6 table"},
      {"a leaf without RDB_node", collection(table, "<attribute_node name='i'/>"), -61,
       "QRKQ000E  RDB_NODE is missing from the DAD file.\n", "7 attribute i"},
      {"an empty RDB_node", collection(table, attribute("i", "<RDB_node/>")), -61,
       "QRKQ000E  table & column is missing from the DAD file.\n", "8 attribute i"},
      {"no table for an attribute",
       collection(table, attribute("i", "<RDB_node><column name='c' type='INT'/></RDB_node>")), -70,
       "QRKQ010E  RDB_node of i does not have a table in the DAD file. \n", "7 "},
      {"no table for a text",
       collection(table, textElement("e", "<RDB_node><column name='c' type='INT'/></RDB_node>")),
       -70, "QRKQ010E  RDB_node of e does not have a table in the DAD file. \n", "8 "},
      {"no column for a text",
       collection(table, textElement("e", "<RDB_node>" + table + "</RDB_node>")), -71,
       "QRKQ011E  RDB_node element of e does not have a column in the DAD file. \n", "8 "},
      {"a nameless column",
       collection(table, attribute("i", "<RDB_node>" + table + "<column type='INT'/></RDB_node>")),
       -61, "QRKQ013E", "10 column without a name"},
      {"a column without type",
       collection(table, attribute("i", "<RDB_node>" + table + "<column name='c'/></RDB_node>")),
       -61, "QRKQ013E", "10 column c without a type"},
      {"a column name of two words", collection(table, attribute("i", column("t", "a b"))), -109,
       "QRKQ033E  Invalid identifier starting at a b \n", "7 attribute i"},
      {"an empty condition", collection(table, attribute("i", column("t", "c", "<condition/>"))),
       -57, "QRKG001E", "11 an empty condition"},
      {"an unlisted table", collection(table, attribute("i", column("u", "c"))), -76, "QRKQ016E",
       "8 attribute i: U is not listed"},
      {"a schema too many", collection(table, attribute("i", column("s.t", "c"))), -76, "QRKQ016E",
       "8 attribute i: S.T is not listed"},
      {"a long type",
       collection(table, attribute("i", "<RDB_node>" + table + "<column name='c' type='" +
                                            std::string(27, 'T') + "'/></RDB_node>")),
       -43, "QRKA059E  The type TTTTTTTTTTTTTTTTTTTTTTTTTTT of column C in the DAD file is",
       "7 attribute i"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Mapping mapping(c.dad);
    EXPECT_EQ(mapping.code, c.code);
    EXPECT_EQ(mapping.message().find(c.message), 0u) << mapping.message();
    EXPECT_EQ(mapping.heard.place.find(c.place), 0u) << mapping.heard.place;
  }
  rel none{};
  CallContext call;
  EXPECT_EQ(call.report([&] { qrkSetRel(&call.ctx, &none, {}, kForComposition); }), -61);
  EXPECT_STREQ(call.msg, "QRKQ000E  root_node is missing from the DAD file.\n");
  qrkFreeRel(&call.ctx, &none);
}

std::string manyTables(int count) {
  std::string tables;
  for (int i = 0; i < count; ++i) tables += "<table name='t" + std::to_string(i) + "'/>";
  return tables;
}

std::string manyColumns(int count) {
  std::string content;
  for (int i = 0; i < count; ++i) {
    content += attribute("i", column("t0", "c" + std::to_string(i)));
  }
  return content;
}

std::string conditionOf(const std::string& name, int bytes) {
  return attribute(
      "i", column("t0", name,
                  "<condition>" + std::string(static_cast<size_t>(bytes), 'c') + "</condition>"));
}

std::string manyForeignKeys(int count) {
  std::string condition;
  for (int i = 0; i < count; ++i) {
    if (i > 0) condition += " AND ";
    condition += "t0.k" + std::to_string(i) + "=t1.f" + std::to_string(i);
  }
  std::string content;
  for (int i = 0; i < count; ++i) content += attribute("i", column("t0", "k" + std::to_string(i)));
  return collection(manyTables(2) + "<condition>" + condition + "</condition>",
                    content + repeated("e", attribute("i", column("t1", "c"))));
}

TEST(MappingModelTest, LimitsAreReportedNotExceeded) {
  const std::string name63(63, 'n');
  struct Case {
    const char* limit;  // as the message names it; null: a message of its own
    const char* id;
    std::string fits, exceeds;
  };
  const Case cases[] = {
      {"QRK_NUMTAB_IN_REL", "QRKG017E", collection(manyTables(30), manyColumns(1)),
       collection(manyTables(31), manyColumns(1))},
      {nullptr, "QRKQ039E", collection(manyTables(1), manyColumns(500)),
       collection(manyTables(1), manyColumns(501))},
      {"QRK_NUM_KEYS", "QRKG017E",
       collection("<table name='t0' key='" + repeat("k ", 16) + "'/>", manyColumns(1)),
       collection("<table name='t0' key='" + repeat("k ", 17) + "'/>", manyColumns(1))},
      {"QRK_CONDITION_SIZE of table T0", "QRKG017E",
       collection(manyTables(1), conditionOf("a", 501) + conditionOf("b", 501)),
       collection(manyTables(1), conditionOf("a", 501) + conditionOf("b", 502))},
      {"QRK_CONDITION_SIZE", "QRKG017E", collection(manyTables(1), conditionOf("a", 1000)),
       collection(manyTables(1), conditionOf("a", 1001))},
      {"name n", "QRKG017E", collection(manyTables(1), attribute(name63, column("t0", "c"))),
       collection(manyTables(1), attribute(name63 + "n", column("t0", "c")))},
      {"name n", "QRKG017E", collection(manyTables(1), manyColumns(1), name63),
       collection(manyTables(1), manyColumns(1), name63 + "n")},
      {"QRK_NUM_FK", "QRKG017E", manyForeignKeys(16), manyForeignKeys(17)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.limit ? c.limit : c.id);
    const Mapping fits(c.fits);
    EXPECT_EQ(fits.code, 0) << fits.message();
    const Mapping exceeds(c.exceeds);
    EXPECT_NE(exceeds.code, 0);
    EXPECT_EQ(exceeds.message().find(c.id), 0u) << exceeds.message();
    if (c.limit) {
      EXPECT_NE(exceeds.message().find(std::string("limit for ") + c.limit), std::string::npos)
          << exceeds.message();
    }
  }
}

TEST(MappingModelTest, TextsStandWholeInTheDatabaseCodePage) {
  // 40 characters: 80 bytes in one code page, 40 in the other.
  const std::string dad =
      collection(manyTables(1), attribute(repeat("\xC3\xA9", 40), column("t0", "c")));
  EXPECT_EQ(Mapping(dad).code, -124);
  const Mapping latin(dad, kForDecomposition, nullptr, "ISO-8859-1", 819);
  EXPECT_EQ(latin.code, 0) << latin.message();
  EXPECT_EQ(std::string(latin.model.tab[0]->col2xml[0].xml), std::string(40, '\xE9'));

  const std::string table = "<table name='t'/>";
  const auto refusal = [](const std::string& mapping, MappingPurpose purpose) {
    return Mapping(mapping, purpose, nullptr, "ISO-8859-1", 819).message();
  };
  const std::string euro = collection(table, attribute("a&#8364;", column("t", "c")));
  EXPECT_EQ(refusal(euro, kForDecomposition), "QRKQ006E  An attribute_node element has no name.\n");
  EXPECT_EQ(refusal(euro, kForComposition),
            "QRKQ040E  The element name a? in the DAD file is invalid.\n");
  EXPECT_EQ(refusal(collection(table, attribute("a", "<RDB_node>" + table +
                                                         "<column name='c' type='CHAR(9)&#8364;'/>"
                                                         "</RDB_node>")),
                    kForDecomposition),
            "QRKA059E  The type CHAR(9)? of column c in the DAD file is invalid.\n");
  EXPECT_EQ(refusal(collection("<table name='t' orderBy='c DESC, d&#8364;'/>",
                               attribute("a", column("t", "c"))),
                    kForComposition),
            "QRKQ055E  ICU error: orderBy of table T does not convert\n");
}

TEST(MappingModelTest, ComposingTakesConditionsAndJoinTypes) {
  test::Database database;
  database.run("CREATE TABLE a (x DECIMAL(9,2), v INTEGER)");
  database.run("CREATE TABLE b (y VARCHAR(30), w INTEGER)");
  const std::string tables = "<table name='a'/><table name='b'/><condition>a.x = b.y</condition>";
  const std::string content = attribute("v", column("a", "v", "<condition>v\n >  1</condition>")) +
                              attribute("x", column("a", "x", "<condition>x = 'a  b'</condition>"));
  const Mapping mapping(collection(tables, content), kForComposition);
  ASSERT_EQ(mapping.code, 0) << mapping.message();
  EXPECT_STREQ(mapping.model.tab[0]->condition, "v > 1 AND x = 'a  b'");
  EXPECT_STREQ(mapping.model.tab[0]->join_info[0].type, "VARCHAR");
  EXPECT_STREQ(mapping.model.tab[1]->join_info[0].type, "VARCHAR");
  EXPECT_EQ(mapping.model.tab[0]->num_fk, 0);

  const Mapping unknown(collection("<table name='a'/><table name='b'/>"
                                   "<condition>a.x = b.none</condition>",
                                   content),
                        kForComposition);
  EXPECT_EQ(unknown.code, -81);
  EXPECT_EQ(unknown.message().find("QRKQ021E"), 0u) << unknown.message();
}

TEST(MappingModelTest, OverridesReplaceTheConditionsOfTheColumnsTheySelect) {
  const std::string own = "<condition>own</condition>";
  const std::string dad = collection("<table name='s.\"t\"\"t\"'/>",
                                     attribute("i", column("s.\"t\"\"t\"", "i", own)) +
                                         textElement("e", column("s.\"t\"\"t\"", "e", own)) +
                                         textElement("e", column("s.\"t\"\"t\"", "e2", own)));
  const std::string t = " \"S\".\"t\"\"t\".", unchanged = "own AND own AND own";
  struct Case {
    const char* label;
    const char* overrides;
    std::string condition;
    std::vector<int> used;
  };
  const Case cases[] = {
      {"none", nullptr, unchanged, {}},
      {"an attribute", "/doc/@i = 1", t + "\"I\" = 1 AND own AND own", {1}},
      {"the first of two elements", "/doc/e > 2", "own AND " + t + "\"E\" > 2 AND own", {1}},
      {"both elements",
       "/doc/e > 2 AND //e < 9",
       "own AND " + t + "\"E\" > 2 AND " + t + "\"E\" < 9 AND own",
       {1, 1}},
      {"removed", "/doc/e NO_CONDITION", "own AND own", {1}},
      {"removed, then replaced",
       "/doc/e NO_CONDITION AND /doc/e > 2",
       "own AND " + t + "\"E\" > 2 AND own",
       {1, 1}},
      {"an element is no attribute", "/doc/@e = 1", unchanged, {0}},
      {"an attribute is no element", "/doc/i = 1", unchanged, {0}},
      {"the parent of a text is not it", "/doc = 1", unchanged, {0}},
      {"paths that do not compile, and would match by what they have in front",
       "/doc/i@i = 1 AND /doc[@x]/e = 1 AND /doc/e[@x] = 1",
       unchanged,
       {0, 0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    CallContext call;
    override_list overrides{};
    const int type = c.overrides ? XML_OVERRIDE : NO_OVERRIDE;
    qrkInitOverride(&call.ctx, type, c.overrides, overrides);
    const Mapping mapping(dad, kForComposition, &overrides);
    EXPECT_EQ(mapping.code, 0) << mapping.message();
    EXPECT_EQ(mapping.model.tab[0]->condition, c.condition);
    const std::vector<int> used(overrides.used, overrides.used + overrides.count);
    EXPECT_EQ(used, c.used);
    qrkFreeOverride(overrides);
  }
}

}  // namespace
}  // namespace orvxml
