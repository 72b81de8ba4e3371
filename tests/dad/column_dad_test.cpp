// The model of a column's mapping: what it takes from the DAD, and what it refuses.
#include "orvxml/column_dad.h"

#include <memory>

#include "tests/dad/mapping_model_for_test.h"

namespace orvxml {
namespace {

using namespace unittest;
using test::columnDad, test::sideColumn;

// One model, built from a text in memory or from a file.
struct Model {
  explicit Model(std::string text, const std::string& table = "letters", const char* column = "DOC",
                 int32_t location = QRK_LOC_MEMORY) {
    QrkOutbuf buffer{};
    buffer.data = text.data();
    buffer.loctype = location;
    const Listening listening(heard);
    model.reset(dad_popu(&call.ctx, table.c_str(), column, &buffer, 1, call.msg, call.state,
                         &noXcolumn, &call.code));
  }
  Heard heard;
  // SQLSTATE and message of a failure.
  std::string failure() const {
    return model ? "no failure" : std::string(call.state) + ' ' + call.msg;
  }

  CallContext call;
  int32_t noXcolumn = 99;
  ModelOwner model;
};

// The side tables as one text: "table(name|type|path|multi_occurrence ...) ...".
std::string sideTables(const dad& model) {
  std::string text;
  for (const side_table* table = model.sideTables; table; table = table->next) {
    text += std::string(table->name) + '(';
    for (const side_column* c = table->columns; c; c = c->next) {
      text +=
          std::string(c->name) + '|' + c->type + '|' + c->path + '|' + c->multi_occurrence + ' ';
    }
    text += ") ";
  }
  return text;
}

TEST(ColumnDadTest, SideTablesKeepTheOrderOfTheDocument) {
  const std::string text =
      "<?xml version='1.0'?><DAD><!-- letters --><dtdid> a.dtd\n</dtdid>"
      "<validation> yes </validation><other/><Xcolumn><group>"
      "<table name='head'>" +
      sideColumn("no", "integer", "/a/@no", "no") + "<part>" +
      sideColumn("d", "date", "/a/d", "No") +
      "</part></table></group><table name='&quot;to s&quot;'>" +
      sideColumn("n", "varchar(30)", "/a/to[@k=&quot;x&quot;]", "yes") +
      "</table><table name='empty'/></Xcolumn></DAD>";
  const Folder folder;
  for (const int32_t location : {QRK_LOC_MEMORY, QRK_LOC_FILE}) {
    const bool inMemory = location == QRK_LOC_MEMORY;
    const Model built(inMemory ? text : folder.write("dad.xml", text), "letters", "DOC", location);
    ASSERT_TRUE(built.model) << built.call.msg;
    EXPECT_EQ(sideTables(*built.model),
              "head(no|integer|/a/@no|NO d|date|/a/d|NO ) "
              "\"to s\"(n|varchar(30)|/a/to[@k=\"x\"]|YES ) empty() ");
    EXPECT_STREQ(built.model->tableName, "letters");
    EXPECT_STREQ(built.model->columnName, "DOC");
    EXPECT_STREQ(built.model->dtdid, "a.dtd");
    EXPECT_EQ(built.model->isSchema, 0);
    EXPECT_EQ(built.model->validation, 1);
    EXPECT_EQ(built.noXcolumn, 0);
  }
}

TEST(ColumnDadTest, SettingsInFrontOfTheMapping) {
  const auto schema = [](const std::string& location) {
    return "<schemabindings><nonamespacelocation location='" + location + "'/></schemabindings>";
  };
  struct Case {
    const char* label;
    std::string before, dtdid;
    int isSchema, validation;
  };
  const Case cases[] = {
      {"nothing", "", "", 0, 0},
      {"an empty id", "<dtdid/>", "", 0, 0},
      {"only the start of the word counts", "<validation>YESS</validation>", "", 0, 1},
      {"no", "<validation>\n no\n</validation>", "", 0, 0},
      {"nothing like it", "<validation>nothing</validation>", "", 0, 0},
      {"the longest id", "<dtdid>" + std::string(508, 'i') + "</dtdid>", std::string(508, 'i'), 0,
       0},
      {"a schema", schema("a.xsd") + "<validation>yes</validation>", "a.xsd", 1, 1},
      {"comments, processing instructions and CDATA, around and inside",
       "<?pi x?><![CDATA[ ]]><dtdid><!-- the id -->a<!-- b --><?pi c?><![CDATA[.dtd]]></dtdid>"
       "<validation>\n<!-- NO --><![CDATA[YES]]></validation>",
       "a.dtd", 0, 1},
      {"the longest location", schema(std::string(1000, 's')), std::string(1000, 's'), 1, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Model built(columnDad("", c.before));
    ASSERT_TRUE(built.model) << built.call.msg;
    std::string dtdid = built.model->dtdid;
    if (c.isSchema == 1) {
      const std::u16string_view location = schemaLocation(*built.model);
      dtdid.assign(location.begin(), location.end());
    }
    EXPECT_EQ(dtdid, c.dtdid);
    EXPECT_EQ(built.model->isSchema, c.isSchema);
    EXPECT_EQ(built.model->validation, c.validation);
  }
}

TEST(ColumnDadTest, RefusesWhatIsMissingOrDoesNotFit) {
  const std::string bindings =
      "<schemabindings><nonamespacelocation location='s'/></schemabindings>";
  const auto inTable = [](const std::string& attributes) {
    return columnDad("<table name='t'><column " + attributes + "/></table>");
  };
  const std::string long160(161, 'n'), long129(130, 'n'), long253(254, 'n');
  struct Case {
    const char* label;
    std::string dad, failure;
  };
  const Case cases[] = {
      {"schema after id", columnDad("", "<dtdid>d</dtdid>" + bindings), "38X15 QRKQ057E  "},
      {"id after schema", columnDad("", bindings + "<dtdid>d</dtdid>"), "38X15 QRKQ057E  "},
      {"schema without location", columnDad("", "<schemabindings><a/></schemabindings>"),
       "38X15 QRKQ058E  "},
      {"schema with an empty location",
       columnDad("", "<schemabindings><nonamespacelocation location=''/></schemabindings>"),
       "38X15 QRKQ000E  location of nonamespacelocation is missing from the DAD file.\n"},
      {"validation", columnDad("", "<validation>maybe</validation>"),
       "38X15 QRKA056E  The validation value maybe in the DAD file is invalid.\n"},
      {"an id that is too long", columnDad("", "<dtdid>" + std::string(509, 'i') + "</dtdid>"),
       "38X12 QRKA010E  "},
      {"table without name", columnDad("<table/>"),
       "38X15 QRKA057E  A side table name (NULL) in DAD is invalid.\n"},
      {"table with an empty name", columnDad("<table name=''/>"), "38X15 QRKA057E  "},
      {"column without name", inTable("type='date'"),
       "38X15 QRKA058E  A column name (NULL) in the DAD file is invalid.\n"},
      {"column without type", inTable("name='c1'"),
       "38X15 QRKA059E  The type (NULL) of column c1 in the DAD file is invalid.\n"},
      {"column without path", inTable("name='c1' type='date'"),
       "38X15 QRKA060E  The path attribute (NULL) of c1 in the DAD file is invalid.\n"},
      {"column without occurrence", inTable("name='c1' type='date' path='/a'"),
       "38X15 QRKA061E  The multi_occurrence attribute (NULL) of c1 in the DAD file is invalid.\n"},
      {"long table name", columnDad("<table name='" + long160 + "'/>"),
       "38X15 QRKA057E  A side table name " + long160 + " in DAD"},
      {"long column name", inTable("name='" + long129 + "'"),
       "38X15 QRKA058E  A column name " + long129},
      {"long type", inTable("name='c' type='" + long253 + "'"),
       "38X15 QRKA059E  The type " + long253},
      {"long path", inTable("name='c' type='date' path='" + long253 + "'"),
       "38X15 QRKA060E  The path attribute " + long253},
      {"long occurrence", inTable("name='c' type='date' path='/a' multi_occurrence='often'"),
       "38X15 QRKA061E  The multi_occurrence attribute often of c"},
      {"no document", "<DAD>", "38X13 QRKQ047E  "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Model built(c.dad);
    EXPECT_EQ(built.failure().substr(0, c.failure.size()), c.failure);
    EXPECT_EQ(built.noXcolumn, 0);
  }
  const Model collection("<DAD><Xcollection/></DAD>");
  EXPECT_EQ(collection.failure(),
            "38X11 QRKA009E  Xcolumn tag is not specified in the DAD file.\n");
  EXPECT_EQ(collection.noXcolumn, 1);
  EXPECT_EQ(Model(columnDad(""), long160).failure().substr(0, 14), "00000 QRKQ031E");
  EXPECT_EQ(Model(columnDad(""), "t", long129.c_str()).failure().substr(0, 14), "00000 QRKQ032E");
}

// A column belongs to every table around it: nested tables would multiply them.
TEST(ColumnDadTest, RefusesMoreColumnsThanSideTablesCanHave) {
  const auto nested = [](int tables, int columns) {
    std::string text;
    for (int i = 0; i < tables; ++i) text += "<table name='t'>";
    for (int i = 0; i < columns; ++i) text += sideColumn("c", "date", "/a", "NO");
    for (int i = 0; i < tables; ++i) text += "</table>";
    return columnDad(text);
  };
  EXPECT_TRUE(Model(nested(100, 100)).model);
  const Model tooMany(nested(100, 101));
  EXPECT_EQ(tooMany.failure().substr(0, 14), "00000 QRKQ039E");
  EXPECT_EQ(tooMany.call.code, -122);  // no SQLSTATE leads to it
  EXPECT_EQ(tooMany.heard.place, "104 ");
}

// Fields count bytes of the database code page, not characters.
TEST(ColumnDadTest, FieldsHoldTheirSizeInBytes) {
  std::string name, type(253, 't'), path(253, 'p');
  for (int i = 0; i < 80; ++i) name += "ü";
  const std::string fits =
      columnDad("<table name='" + name + "'>" + sideColumn(name.substr(0, 128), type, path, "YES") +
                "</table>");
  const Model built(fits, std::string(160, 't'));
  ASSERT_TRUE(built.model) << built.call.msg;
  EXPECT_EQ(sideTables(*built.model),
            name + '(' + name.substr(0, 128) + '|' + type + '|' + path + "|YES ) ");
  EXPECT_EQ(Model(columnDad("<table name='" + name + "ü'/>")).failure().substr(0, 14),
            "38X15 QRKA057E");
}

}  // namespace
}  // namespace orvxml
