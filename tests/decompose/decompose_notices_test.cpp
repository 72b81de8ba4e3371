// What a listener hears of a decomposition: where the document's data meets a trap of the mapping,
// what was not taken, and where a failure lies.
#include "orvxml/document_comparison.h"
#include "orvxml/notices.h"
#include "tests/support/dads.h"
#include "tests/support/decompose_calls.h"

namespace orvxml::test {
namespace {

// Notices as "rule@element of the document: text".
struct Told final : NoticeListener {
  std::vector<std::string> warnings;  // about the data
  std::string place;                  // the last one
  std::string origin;

  void notice(const Notice& notice) override {
    const char* const about = notice.about == FailureText::kDocument ? "document" : notice.rule;
    const std::string text =
        about + ('@' + std::to_string(notice.documentElement)) + ": " + notice.text;
    if (notice.kind == Notice::kFailure) {
      place = text;
    } else if (notice.kind == Notice::kOrigin) {
      origin = notice.text;
    } else if (notice.documentElement > 0 || notice.mappingElement == 0) {
      warnings.push_back(text);
    }
  }
};

const std::string kTop = tables("pc", "p.k = c.k");
const std::string kParent = kTop + attributeOf("k", "p", "k");
const std::string kChild = element("c", attributeOf("v", "c", "v"));

const char kNumbers[] = "create table d (k integer);";

struct Case {
  const char* label;
  std::string dad;
  const char* document;
  std::vector<std::string> warnings = {};
  const char* place = nullptr;  // or, of a success, the origin; null: not looked at
  const char* script = "";
  int codePage = 1208;
};

void expectTold(const Case& c, int code) {
  SCOPED_TRACE(c.label);
  DecomposeDatabase db(c.codePage);
  db.runScript(std::string(kParentAndChild) + c.script);
  Told told;
  const Listening listening(told);
  const CallOutcome outcome = callListForm("qrkShredXML", c.dad, c.document);
  EXPECT_EQ(outcome.code < 0 ? -1 : outcome.code, code) << outcome;
  EXPECT_EQ(told.warnings, c.warnings);
  const std::string& place = code < 0 ? told.place : told.origin;
  EXPECT_EQ(place, c.place ? c.place : place);
}

TEST(DecomposeNotices, TrapsThatTheDataMeets) {
  const std::string pair =
      dad(element("p", kParent + repeated("c", textOf("v", "c", "v") + textOf("w", "c", "w"))));
  const std::string textLater = dad(
      element("p", kParent + element("c", attributeOf("v", "c", "v") + text(column("c", "w")))));
  const std::string mixed =
      "table C, column V: the value of <c> went into the row that another <c> began";
  const std::vector<std::string> lostParent = {
      "value-not-taken@1: table P, column K: the attribute k of <p> is not stored: <p> counts as "
      "an element of table C",
      "not-taken@0: tables without a row: P"};
  const auto keyOf = [](const char* type) {
    return dad(element("p", tables("d") + attribute("k", column("d", "k", type))));
  };
  const Case cases[] = {
      {"nothing to tell",
       pair,
       "<p k='1' xmlns:xsi='i' xsi:l='s'><c><v>1</v><w>1</w></c><c><v>2</v><w>2</w></c></p>",
       {},
       "/p/@k = '1'"},
      {"a whole number", keyOf("integer"), "<p k='5'/>", {}, "/p/@k = 5", kNumbers},
      {"a number that is stored as another", keyOf("integer"), "<p k='5.7'/>", {}, "", kNumbers},
      {"an element inside another of its name is no other occurrence",
       dad(element("r",
                   tables("c") + repeated("o", textOf("m", "c", "v") + textOf("o", "c", "w")))),
       "<r><o><m>1</m><o>2</o></o></r>"},
      {"a first value that is not always there",
       pair,
       "<p k='1'><c><w>1</w></c><c><v>2</v></c><c><v>3</v></c></p>",
       {"values-of-two-occurrences@5: table C, column V: the value of <v> went into the row that "
        "another <c> began"}},
      {"the same again and again",
       textLater,
       "<p k='1'><c>0</c><c v='1'>1</c><c v='2'>2</c><c v='3'>3</c><c v='4'>4</c></p>",
       {"values-of-two-occurrences@3: " + mixed, "values-of-two-occurrences@4: " + mixed,
        "values-of-two-occurrences@5: " + mixed,
        "values-of-two-occurrences@6: table C, column V: from here on the same 1 time more"}},
      {"a record in two half rows",
       dad(element("p", tables("c") + textOf("v", "c", "v") + textOf("w", "c", "w"))),
       "<p><v>1</v><w>2</w></p>",
       {"record-in-two-rows@3: table C: the values of <w> make rows of their own, beside those of "
        "<v>, which lack them"}},
      {"rows below a mapped text",
       dad(element("p", kParent + element("a", text(column("p", "a")) + kChild))),
       "<p k='1'><a>x<c v='1'/></a></p>",
       {"value-not-taken@3: table C, column V: the attribute v of <c> is not stored: <a> counts "
        "as an element of table P",
        "not-taken@0: tables without a row: C"}},
      {"two tables on one element", dad(element("p", kParent + attributeOf("v", "c", "v"))),
       "<p k='1' v='2'/>", lostParent},
      {"values of a table on two elements",
       dad(element("p", kParent + kChild + element("b", attributeOf("w", "c", "w")))),
       "<p k='1'><c v='1'/><b w='2'/></p>",
       {"value-not-taken@3: table C, column W: the attribute w of <b> is not stored: it stands "
        "outside of <c>"}},
      {"a text of a name that two tables have",
       dad(element(
           "r", kTop + textOf("n", "p", "k") +
                    element("g", repeated("g", attributeOf("v", "c", "v") + textOf("o", "c", "w")) +
                                     textOf("o", "p", "a")))),
       "<r><n>1</n><g><g v='x'><o>2</o></g><o>3</o></g></r>",
       {"value-not-taken@6: table P, column A: the text of <o> is not stored: <o> counts as an "
        "element of table C",
        "value-of-another-table@6: table P, column A: the text of <o> goes into table C, which "
        "maps the same name"}},
      {"a value that goes by the last table of its node",
       dad(element("p", kTop +
                            attribute("k",
                                      "<RDB_node><table name='c'/><table name='p'/>"
                                      "<column name='k' type='varchar(4)'/></RDB_node>") +
                            kChild)),
       "<p k='1'><c v='1'/></p>", lostParent},
      {"a key of the parent's row before",
       dad(element(
           "r", kTop + repeated("p", attributeOf("a", "p", "a") + textOf("k", "p", "k") + kChild))),
       "<r><p a='1'><k>1</k><c v='a'/></p><p a='2'><c v='b'/></p></r>",
       {"key-from-in-between@6: table C: column K takes its value from <k> (3. element), not from "
        "the <p> around it"}},
      {"a key from an element in between",
       dad(element("p", kParent + element("m", kChild))),
       "<p k='1'><m k='9'><c v='x'/></m></p>",
       {"key-from-in-between@3: table C: column K takes its value from <m> (2. element), not from "
        "where table P, column K is mapped",
        "not-taken@0: 1 attribute: @k"}},
      {"what the mapping does not name",
       dad(element("r", kTop + element("p", attributeOf("k", "p", "k") + kChild))),
       "<q xmlns='u' xml:lang='de'>t<p k='1' z='2'>t<c v='1' z='1'/><d/><d><c/></d></p></q>",
       {"other-root@1: the document's root is 'q', the mapping's 'r'",
        "not-taken@0: 2 elements, 3 attributes, 2 texts: d (2), @xml:lang, @z (2), text of q, text "
        "of p"}},
  };
  for (const Case& c : cases) expectTold(c, 0);
}

TEST(DecomposeNotices, PlacesOfFailures) {
  const std::string both = dad(element("p", kParent + kChild));
  const std::string tooLong(70, '1');
  const std::string wide = "<p k='1'><c v='1'><w a='" + std::string(1100, 'x') + "'/></c></p>";
  const std::string longDocument = "<p k='1'><c>0</c><c v='1'/><c v='" + tooLong + "'/></p>";
  const Case cases[] = {
      {"a value longer than its column, behind what is warned of",
       dad(element("p",
                   kParent + element("c", attributeOf("v", "c", "v") + text(column("c", "w"))))),
       longDocument.c_str(),
       {"values-of-two-occurrences@3: table C, column V: the value of <c> went into the row that "
        "another <c> began"},
       "document@4: element 'c', table C, column V, value "
       "'111111111111111111111111111111111111111111111111111111111111...'"},
      {"a value of another type",
       dad(element("p", tables("d") + attribute("k", column("d", "k", "smallint")) +
                            attribute("t", column("d", "t", "date")))),
       "<p k='1' t='2024-13-45'/>",
       {},
       "document@1: element 'p', table D, column T, value '2024-13-45'",
       "create table d (k smallint, t date);"},
      {"a row that the table refuses",
       both,
       "<p k='1'><c/></p>",
       {},
       "document@2: element 'c', table C, row (V null, K '1')",
       "drop table c; create table c (k varchar(4) not null, v varchar(4) not null);"},
      {"another root",
       both,
       "<foo k='1'/>",
       {},
       "document@1: element 'foo', table P: the document's root is 'foo', the mapping's 'p'"},
      {"a character that the database lacks",
       both,
       "<p k='&#x20AC;'/>",
       {},
       "document@1: element 'p', table P, column K: the value has a character that the database's "
       "code page lacks",
       "",
       819},
      {"a text outside of its table's element",
       dad(element("p", kParent + textOf("v", "c", "v") + textOf("w", "c", "w"))),
       "<p k='1'><v>a</v><w>b</w></p>",
       {},
       "document@3: element 'w', the mapping puts a value of table C outside of 'v', the element "
       "that it takes its rows from"},
      {"a key that is nowhere", both, "<p><c v='x'/></p>", {}, "document@2: element 'c', table C"},
      {"an element that is stored whole",
       dad(element("p", kParent + element("c", attributeOf("v", "c", "v") +
                                                   element("w", column("c", "w"))))),
       wide.c_str(),
       {},
       "document@3: element 'w', table C, column W: the element is stored whole, and a start tag in "
       "it has 1024 characters or more, or memory is used up"},
  };
  for (const Case& c : cases) expectTold(c, -1);
}

TEST(DecomposeNotices, DocumentsComparedWithWhatComesBack) {
  struct {
    const char* document;
    const char* composed;
    const char* difference;  // "element: text", or empty
  } cases[] = {
      {"<p k='1' a='2'><c/><d>1.50</d><e>\n</e></p>",
       "<?xml version='1.0'?><p a='2' k='1.0'>\n<e>\n</e><d>1.5</d><f></f></p>", ""},
      {"<p xsi:a='1'><c v='1'/><c v='2'/></p>", "<p><c v='2'/><c v='1'/></p>", ""},
      {"<p><c/></p>", "<p>\n <c></c>\n</p>", ""},
      {"<p><c v='1'/><c v='2'/></p>", "<p><c v='2'/><c v='3'/></p>",
       "2: attribute 'v' of 'c' is '1', the rows give '3'"},
      {"<p><c>x</c></p>", "<p><c>x </c></p>", "2: the text of 'c' is 'x', the rows give 'x '"},
      {"<p><c>01</c></p>", "<p><c>1</c></p>", "2: the text of 'c' is '01', the rows give '1'"},
      {"<p><c v='1'/><d v='1'/></p>", "<p><c v='1'/></p>",
       "3: element 'd' is not in what the rows give"},
      {"<p><c v='1'/></p>", "<p><c v='1'/><c v='1'/></p>", "1: the rows give one more 'c' in 'p'"},
      {"<q>1</q>", "<p>1</p>", "1: the name of 'q' is 'q', the rows give 'p'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.document);
    DocumentDifference found;
    ComparedDocument* read = nullptr;
    EXPECT_EQ(qrkReadForComparison(c.document, strlen(c.document), &read), kSameDocument);
    const std::unique_ptr<ComparedDocument, FreeComparedDocument> document(read);
    const bool differs = *c.difference != '\0';
    EXPECT_EQ(qrkCompareDocument(read, c.composed, strlen(c.composed), &found),
              differs ? kOtherDocument : kSameDocument);
    EXPECT_EQ(qrkCompareDocument(read, "<p>", 3, &found), kNoDocument);
    EXPECT_EQ(qrkReadForComparison("<p>", 3, &read), kNoDocument);
    EXPECT_EQ(read, nullptr);
    EXPECT_EQ(differs ? std::to_string(found.element) + ": " + found.text : "", c.difference);
  }
}

}  // namespace
}  // namespace orvxml::test
