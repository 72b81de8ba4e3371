// Which rows come out of which document, what stays behind after a failure, and that nothing else
// does.
#include "src/decompose/row_extraction.h"
#include "tests/support/dads.h"
#include "tests/support/decompose_calls.h"
#include "tests/support/instance_trace.h"

namespace orvxml::test {
namespace {

const CallOutcome kDone{0, "QRKQ025I  XML decomposed successfully."};

// p holds k and a; c below it holds v and w.
std::string parentWith(const std::string& content) {
  return dad(element("p", tables("pc", "p.k = c.k") + attributeOf("k", "p", "k") + content));
}

// The rows of a query, values parted by "|", each row ended by a blank.
std::string rowsAsText(Database& db, const std::string& query) {
  std::string text;
  for (const Row& row : db.rows(query)) {
    for (size_t i = 0; i < row.size(); ++i) text += (i > 0 ? "|" : "") + row[i];
    text += ' ';
  }
  return text;
}

TEST(DecomposeRows, ValuesBecomeRows) {
  const std::string childTexts = element("c", attributeOf("v", "c", "v") + textOf("w", "c", "w"));
  const std::string top = tables("pc", "p.k = c.k");
  const std::string key = attributeOf("k", "p", "k");
  const char children[] = "select k, v, w from c order by k, v";
  const struct {
    const char* label;
    std::string dad;
    const char* document;
    const char* query;
    const char* rows;
  } cases[] = {
      {"an attribute missing on the top element", parentWith(attributeOf("a", "p", "a")),
       "<p k='1'/>", "select k, a from p", "1|NULL "},
      {"an attribute missing below it", parentWith(element("e", attributeOf("a", "p", "a"))),
       "<p k='1'><e/></p>", "select k, a from p", "1|NULL "},
      {"an empty attribute and an empty text", parentWith(childTexts),
       "<p k='1'><c v=''><w></w></c></p>", children, "1|NULL|NULL "},
      {"siblings make rows, what the mapping names later fills the last one",
       parentWith(repeated("c", textOf("v", "c", "v") + textOf("w", "c", "w"))),
       "<p k='1'><c><w>w0</w><v>v1</v><v>v2</v><w>w2</w></c></p>", children,
       "1|v1|NULL 1|v2|w0 1|NULL|w2 "},
      {"another parent begins a row of its own",
       dad(element("r", top + element("p", key + childTexts))),
       "<r><p k='1'><c v='a'/></p><p k='2'><c><w>b</w></c></p></r>", children,
       "1|a|NULL 2|NULL|b "},
      {"a key is looked for past the table's own elements", parentWith(childTexts),
       "<p k='1'><c v='a' k='no'><w>b</w></c></p>", children, "1|a|b "},
      {"text, CDATA and text are one value, also where it is a key",
       dad(element("r", top + element("p", attributeOf("a", "p", "a") + textOf("k", "p", "k") +
                                               element("s", childTexts)))),
       "<r><p a='1'><k><!-- 1 -->&lt;<?k 2?><![CDATA[&]]><q/>\xC3\xBC</k><s><c v='x'/></s></p></r>",
       "select p.k, c.k from p, c", "<&\xC3\xBC|<&\xC3\xBC "},
      {"an instruction of the child's name is no child", parentWith(childTexts),
       "<p k='1'><?c v='x'?><c v='y'/></p>", children, "1|y|NULL "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    DecomposeDatabase db;
    db.runScript(kParentAndChild);
    EXPECT_EQ(callListForm("qrkShredXML", c.dad, c.document), kDone);
    EXPECT_EQ(rowsAsText(db, c.query), c.rows);
  }
}

std::string manyChildren(int count) {
  std::string document = "<p k='1'>";
  for (int i = 0; i < count; ++i) document += "<c v='" + std::to_string(i % 1000) + "'/>";
  return document + "</p>";
}

TEST(DecomposeRows, OneElementOfTheMappingHoldsAtMostTenThousandTwoHundredFortyRows) {
  DecomposeDatabase db;
  db.runScript(kParentAndChild);
  EXPECT_EQ(callListForm("qrkShredXML", parentAndChild(), manyChildren(QRK_MAX_ROWS)), kDone);
  EXPECT_EQ(db.rows("select count(*) from c"), (Rows{{"10240"}}));
  const CallOutcome outcome =
      callListForm("qrkShredXML", parentAndChild(), manyChildren(QRK_MAX_ROWS + 1));
  EXPECT_EQ(outcome.code, -124);
  EXPECT_TRUE(outcome.message.starts_with(
      "QRKG017E  The limit for QRK_MAX_ROWS has been exceeded in build "))
      << outcome.message;
  EXPECT_EQ(db.rows("select count(*) from p"), (Rows{{"2"}}));
}

TEST(DecomposeRows, RowsBeforeAFailureStayPending) {
  DecomposeDatabase db;
  db.runScript(kParentAndChild);
  db.run("insert into p values ('own', null)");
  const std::string tooLong = "<p k='1'><c v='x'/><c v='12345'/></p>";
  EXPECT_EQ(db.call("qrkShredXML", parentAndChild(), tooLong).code, -86);
  EXPECT_FALSE(db.session().commit().failed());
  EXPECT_EQ(db.rows("select k from p order by k"), (Rows{{"1"}, {"own"}}));
  EXPECT_EQ(db.rows("select v from c"), (Rows{{"x"}}));

  EXPECT_EQ(db.call("qrkShredXML", parentAndChild(), "<p k='2'/>"), kDone);
  EXPECT_FALSE(db.session().rollback().failed());
  EXPECT_EQ(db.rows("select count(*) from p"), (Rows{{"2"}}));
}

// A document above the threshold travels through a temporary file, which goes with the call.
TEST(DecomposeRows, NoTemporaryFileIsLeftBehind) {
  const TemporaryFolder folder;
  const Variable temporary("ORVQRKTEMP", folder.path().c_str());
  const std::string large = "<!--" + std::string(kMinFileThreshold, ' ') + "-->" + manyChildren(9);
  DecomposeDatabase db;
  db.runScript(kParentAndChild);
  EXPECT_EQ(callListForm("qrkShredXML", parentAndChild(), large), kDone);
  EXPECT_EQ(db.rows("select count(*) from c"), (Rows{{"9"}}));
  EXPECT_EQ(callListForm("qrkShredXML", parentAndChild(), large + "<").code, -85);
  EXPECT_TRUE(folder.isEmpty());
}

// The rows are the same while every step is traced.
TEST(DecomposeRows, TraceShowsTheSteps) {
  const InstanceTrace traced;
  DecomposeDatabase db;
  db.runScript(kParentAndChild);
  EXPECT_EQ(callListForm("qrkShredXML", parentAndChild(), "<p k='1'><c v='x'/><c v='y'/></p>"),
            kDone);
  EXPECT_EQ(db.rows("select k, v from c order by v"), (Rows{{"1", "x"}, {"1", "y"}}));
  const std::string trace = traced.text();
  for (const char* line :
       {"Entered the stored procedure.", "codepage is 1208", "Entered, notEnabled=1",
        "CLI setup completed.", "call qrkSetRel() returns 0.", "parent_name='p'", "K='1'",
        "call get_coldata(QRK_ATTRIBUTE) returns 0.", "BindParam#2 K:1:1\n",
        "call SQLExecute() returns 0.", "stored procedure exits."}) {
    EXPECT_NE(trace.find(line), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace orvxml::test
