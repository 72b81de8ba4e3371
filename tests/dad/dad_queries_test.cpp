// The questions asked of a DAD's tree.
#include "tests/dad/mapping_model_for_test.h"

namespace orvxml {
namespace {

using namespace unittest;

struct Dad {
  explicit Dad(std::string text) {
    EXPECT_EQ(qrkDOM(&call.ctx, text.data(), 0, 1, document, call.state, call.msg), 0) << call.msg;
    root = document.getDocumentElement();
  }
  CallContext call;
  DOM_Document document;
  DOM_Element root;
};

TEST(DadQueriesTest, OccurrenceAndKindOfElements) {
  struct Case {
    const char* element;
    int multiple, intermediate, trivial;
  };
  const Case cases[] = {
      {"<element_node/>", 0, 1, 1},
      {"<element_node multi_occurrence=''/>", 0, 1, 1},
      {"<element_node multi_occurrence='NO'/>", 0, 1, 1},
      {"<element_node multi_occurrence='no'/>", 0, 1, 1},
      {"<element_node multi_occurrence='No'/>", 0, 1, 0},
      {"<element_node multi_occurrence='yes'/>", 1, 1, 0},
      {"<element_node multi_occurrence='maybe'/>", 1, 1, 0},
      {"<element_node>text<RDB_node/><element_node/></element_node>", 0, 1, 1},
      {"<element_node><element_node/><text_node/></element_node>", 0, 0, 0},
      {"<element_node><attribute_node/></element_node>", 0, 0, 0},
      {"<attribute_node/>", 0, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.element);
    const Dad dad(c.element);
    EXPECT_EQ(qrkIsNodeMultiOccur(nullptr, dad.root), c.multiple);
    EXPECT_EQ(qrkIsNodeIntermediate(nullptr, dad.root), c.intermediate);
    EXPECT_EQ(qrkIsTrivial(nullptr, dad.root), c.trivial);
  }
  const std::string longValue(300, 'n');
  EXPECT_EQ(qrkIsNodeMultiOccur(nullptr,
                                Dad("<element_node multi_occurrence='" + longValue + "'/>").root),
            1);
}

TEST(DadQueriesTest, ValuesOfOtherTablesAreSeenTwoLevelsDown) {
  const std::string own = attribute("i", column("t", "c"));
  const std::string other = attribute("i", column("u", "c"));
  struct Case {
    const char* label;
    std::string content;
    int expected;
  };
  const Case cases[] = {
      {"own values", own + repeated("e", own), 0},
      {"another's value", own + other, 1},
      {"another schema's", attribute("i", column("s.t", "c")), 1},
      {"in a child", repeated("e", other), 1},
      {"in a grandchild", repeated("e", repeated("f", other)), 0},
      {"a table name that does not split", attribute("i", column("a.b.c", "c")), 0},
      {"no RDB_node", "<attribute_node/>", 0},
  };
  tab table{};
  std::string("T").copy(table.name, 1);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    Dad dad("<element_node>" + c.content + "</element_node>");
    EXPECT_EQ(qrkHasChildFromOtherTab(&dad.call.ctx, dad.root, &table, 0), c.expected);
  }
}

TEST(DadQueriesTest, TheTableThatDrivesAGroup) {
  Mapping mapping(
      collection("<table name='a'/><table name='b'/>",
                 textElement("low", column("a", "x")) + textElement("HIGH", column("b", "y"))));
  ASSERT_EQ(mapping.rc, 0) << mapping.message();
  QrkStruct* ctx = &mapping.call.ctx;
  const Report report{.ctx = ctx, .msg = mapping.call.msg, .errCode = &mapping.code};
  tab* found = nullptr;
  const DOM_Element root = mapping.element(u"root_node");
  EXPECT_EQ(qrkFindTabForIntermediate(ctx, root, "item", &mapping.model, &found, report), 0);
  EXPECT_EQ(found, mapping.model.tab[1]);
  const DOM_Element leaf = mapping.element(u"text_node");
  EXPECT_EQ(qrkFindTabForIntermediate(ctx, leaf, "item", &mapping.model, &found, report), -117);
  EXPECT_EQ(mapping.message(), "QRKQ037E  Cannot generate item with multiple occurrences.\n");

  EXPECT_EQ(qrkFindTabByName(ctx, &mapping.model, "", "B", &found, &mapping.code, mapping.call.msg),
            0);
  EXPECT_EQ(found, mapping.model.tab[1]);
  EXPECT_EQ(
      qrkFindTabByName(ctx, &mapping.model, "S", "B", &found, &mapping.code, mapping.call.msg), -1);
  EXPECT_EQ(mapping.message(), "QRKQ012E  Errors occurred in DAD. \n");
}

TEST(DadQueriesTest, TableOfAnRdbNode) {
  struct Case {
    const char* rdb;
    int rc, code;
    const char *schema, *table, *message;
  };
  const std::string overlong = "<RDB_node><table name='" + std::string(164, 't') + "'/></RDB_node>";
  const Case cases[] = {
      {"<RDB_node><x><table name='s.t'/></x></RDB_node>", 0, 0, "S", "T", ""},
      {"<RDB_node/>", -1, -70, "", "", "QRKQ010E  RDB_node of item does not have a table"},
      {"<RDB_node><table/></RDB_node>", -113, -73, "", "", "QRKQ013E"},
      {overlong.c_str(), -113, -73, "", "", "QRKQ013E"},
      {"<RDB_node><table name='a.b.c'/></RDB_node>", -109, -109, "", "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rdb);
    Dad dad(c.rdb);
    char schema[31] = "?", table[129] = "?";
    EXPECT_EQ(qrkGetTabFromRDB(&dad.call.ctx, "item", dad.root, schema, table, &dad.call.code,
                               dad.call.msg),
              c.rc);
    EXPECT_EQ(dad.call.code, c.code);
    EXPECT_STREQ(schema, c.schema);
    EXPECT_STREQ(table, c.table);
    EXPECT_EQ(std::string(dad.call.msg).substr(0, strlen(c.message)), c.message);
    if (!*c.message) {
      EXPECT_STREQ(dad.call.msg, "");
    }
  }
}

TEST(DadQueriesTest, ColumnAndElementNames) {
  struct Case {
    std::string rdb;
    int code;
    const char *column, *message;
  };
  const Case cases[] = {
      {"<RDB_node><column name='c'/></RDB_node>", 0, "C", ""},
      {"<RDB_node/>", -71, "", "QRKQ011E  RDB_node element of item does not have a column"},
      {"<RDB_node><column/></RDB_node>", -109, "", "QRKQ033E  Invalid identifier starting at  \n"},
      {"<RDB_node><column name='two words'/></RDB_node>", -109, "",
       "QRKQ033E  Invalid identifier starting at two words \n"},
      {"<RDB_node><column name='" + std::string(129, 'c') + "'/></RDB_node>", -109, "", "QRKQ033E"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rdb);
    Dad dad(c.rdb);
    char column[129] = "?";
    EXPECT_EQ(
        qrkGetColFromRDB(&dad.call.ctx, "item", dad.root, column, &dad.call.code, dad.call.msg),
        c.code ? -1 : 0);
    EXPECT_EQ(dad.call.code, c.code);
    EXPECT_EQ(std::string(dad.call.msg).substr(0, strlen(c.message)), c.message);
    if (!c.code) {
      EXPECT_STREQ(column, c.column);
    }
  }

  const std::string name63(63, 'e');
  const std::pair<std::string, int> elements[] = {{name63, 0}, {name63 + "e", -124}, {"", -74}};
  for (const auto& [name, code] : elements) {
    Dad dad("<element_node name='" + name + "'><text_node/></element_node>");
    char out[kXmlNameSize] = "?";
    EXPECT_EQ(qrkGetEleNameOfTxt(&dad.call.ctx, dad.root.firstDescendant(u"text_node"), out,
                                 &dad.call.code, dad.call.msg),
              code ? -1 : 0);
    EXPECT_EQ(dad.call.code, code);
    EXPECT_EQ(out, code ? "" : name);
  }
  Dad lonely("<text_node/>");
  char out[kXmlNameSize];
  EXPECT_EQ(
      qrkGetEleNameOfTxt(&lonely.call.ctx, lonely.root, out, &lonely.call.code, lonely.call.msg),
      -1);
  EXPECT_EQ(std::string(lonely.call.msg).find("QRKQ012E"), 0u);
}

}  // namespace
}  // namespace orvxml
