// The questions asked of a DAD's tree.
#include "tests/dad/mapping_model_for_test.h"

namespace orvxml {
namespace {

using namespace unittest;

struct Dad {
  explicit Dad(const std::string& text) {
    document = qrkDOM(&call.ctx, text.c_str(), 0, 1);
    root = document.getDocumentElement();
  }
  CallContext call;
  DOM_Document document;
  DOM_Element root;
};

TEST(DadQueriesTest, OccurrenceAndKindOfElements) {
  struct Case {
    const char* element;
    bool multiple, intermediate, trivial;
  };
  const Case cases[] = {
      {"<element_node/>", false, true, true},
      {"<element_node multi_occurrence=''/>", false, true, true},
      {"<element_node multi_occurrence='NO'/>", false, true, true},
      {"<element_node multi_occurrence='no'/>", false, true, true},
      {"<element_node multi_occurrence='No'/>", false, true, false},
      {"<element_node multi_occurrence='yes'/>", true, true, false},
      {"<element_node multi_occurrence='maybe'/>", true, true, false},
      {"<element_node>text<RDB_node/><element_node/></element_node>", false, true, true},
      {"<element_node><element_node/><text_node/></element_node>", false, false, false},
      {"<element_node><attribute_node/></element_node>", false, false, false},
      {"<attribute_node/>", false, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.element);
    const Dad dad(c.element);
    EXPECT_EQ(qrkIsNodeMultiOccur(nullptr, dad.root), c.multiple);
    EXPECT_EQ(qrkIsNodeIntermediate(nullptr, dad.root), c.intermediate);
    EXPECT_EQ(qrkIsTrivial(nullptr, dad.root), c.trivial);
  }
  const std::string longValue(300, 'n');
  EXPECT_TRUE(qrkIsNodeMultiOccur(
      nullptr, Dad("<element_node multi_occurrence='" + longValue + "'/>").root));
}

TEST(DadQueriesTest, ValuesOfOtherTablesAreSeenTwoLevelsDown) {
  const std::string own = attribute("i", column("t", "c"));
  const std::string other = attribute("i", column("u", "c"));
  struct Case {
    const char* label;
    std::string content;
    bool expected;
  };
  const Case cases[] = {
      {"own values", own + repeated("e", own), false},
      {"another's value", own + other, true},
      {"another schema's", attribute("i", column("s.t", "c")), true},
      {"in a child", repeated("e", other), true},
      {"in a grandchild", repeated("e", repeated("f", other)), false},
      {"a table name that does not split", attribute("i", column("a.b.c", "c")), false},
      {"no RDB_node", "<attribute_node/>", false},
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
  ASSERT_EQ(mapping.code, 0) << mapping.message();
  QrkStruct* ctx = &mapping.call.ctx;
  rel* const model = &mapping.model;
  const ComparedTable group = qrkFindTabForIntermediate(ctx, mapping.element(u"root_node"), model);
  EXPECT_TRUE(group.isFound);
  EXPECT_EQ(group.table, model->tab[1]);
  EXPECT_FALSE(qrkFindTabForIntermediate(ctx, mapping.element(u"text_node"), model).isFound);
  // Nothing below has a name.
  EXPECT_EQ(qrkFindTabForIntermediate(ctx, mapping.element(u"table"), model).table, nullptr);

  EXPECT_EQ(&qrkFindTabByName(ctx, model, "", "B"), model->tab[1]);
  EXPECT_EQ(mapping.call.report([&] { qrkFindTabByName(ctx, model, "S", "B"); }), -72);
  EXPECT_EQ(mapping.message(), "QRKQ012E  Errors occurred in DAD. \n");
}

TEST(DadQueriesTest, TableOfAnRdbNode) {
  struct Case {
    const char* rdb;
    int code;
    const char *schema, *table, *message;
  };
  const std::string overlong = "<RDB_node><table name='" + std::string(164, 't') + "'/></RDB_node>";
  const Case cases[] = {
      {"<RDB_node><x><table name='s.t'/></x></RDB_node>", 0, "S", "T", ""},
      {"<RDB_node/>", -70, "", "", "QRKQ010E  RDB_node of item does not have a table"},
      {"<RDB_node><table/></RDB_node>", -73, "", "", "QRKQ013E"},
      {overlong.c_str(), -73, "", "", "QRKQ013E"},
      {"<RDB_node><table name='a.b.c'/></RDB_node>", -109, "", "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rdb);
    Dad dad(c.rdb);
    TableName name{};
    const auto read = [&] { name = qrkGetTabFromRDB(&dad.call.ctx, "item", dad.root); };
    EXPECT_EQ(dad.call.report(read), c.code);
    EXPECT_STREQ(name.schema, c.schema);
    EXPECT_STREQ(name.table, c.table);
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
    std::string column;
    const auto read = [&] { column = qrkGetColFromRDB(&dad.call.ctx, "item", dad.root); };
    EXPECT_EQ(dad.call.report(read), c.code);
    EXPECT_EQ(std::string(dad.call.msg).substr(0, strlen(c.message)), c.message);
    EXPECT_EQ(column, c.column);
  }

  const std::string name63(63, 'e');
  const std::pair<std::string, int> elements[] = {{name63, 0}, {name63 + "e", -124}, {"", -74}};
  for (const auto& [name, code] : elements) {
    Dad dad("<element_node name='" + name + "'><text_node/></element_node>");
    std::string out;
    const DOM_Element text = dad.root.firstDescendant(u"text_node");
    EXPECT_EQ(dad.call.report([&] { out = qrkGetEleNameOfTxt(&dad.call.ctx, text); }), code);
    EXPECT_EQ(out, code ? "" : name);
  }
  Dad lonely("<text_node/>");
  EXPECT_EQ(lonely.call.report([&] { qrkGetEleNameOfTxt(&lonely.call.ctx, lonely.root); }), -72);
}

}  // namespace
}  // namespace orvxml
