// Text of composed documents: tags, escaping, serialised subtrees.
#include "src/compose/xml_writer.h"
#include "src/text/trimming.h"

#include <gtest/gtest.h>

#include <cstring>

#include "orv/esql.h"
#include "orvxml/packages.h"
#include "src/compose/document_text.h"
#include "src/server_access/locators.h"
#include "tests/support/call_context.h"
#include "tests/support/database.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/texts.h"

namespace orvxml {
namespace {

using test::repeat;
using unittest::CallContext;

DOM_Document parsed(CallContext& call, const std::string& text) {
  return qrkDOM(&call.ctx, text.c_str(), 0, 1);
}

// A buffer in memory of a context, and what is in it.
struct Output {
  explicit Output(QrkStruct* ctx) : buffer(ctx) {
    qrkBufAcquire(ctx, buffer.get(), 16, kNoSizeLimit, QRK_LOC_MEMORY, false);
  }
  std::string text() { return buffer->data; }
  OutBuffer buffer;
};

TEST(XmlWriterTest, TagsFitOrAreNotWritten) {
  struct Case {
    const char* label;
    int outSize, indent, lineFeed, closeStart;
    const char *start, *end;  // empty: does not fit
  };
  const Case cases[] = {
      {"plain", 99, 0, 0, 0, "<ab", "</ab>"},
      {"on a line", 99, 2, 1, 0, "\n  <ab", "\n  </ab>"},
      {"closing the start tag", 99, 1, 1, 1, "\n <ab", "\n> </ab>"},
      {"the end tag just fits", 6, 0, 0, 0, "<ab", "</ab>"},
      {"the start tag just fits", 5, 0, 1, 0, "\n<ab", ""},
      {"one too few", 3, 0, 0, 0, "", ""},
      {"no room", 0, 0, 0, 0, "", ""},
      {"indented beyond it", 99, 2'000'000'000, 0, 0, "", ""},
  };
  CallContext call;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    char out[100] = "";
    EXPECT_EQ(writeXMLStartTag(&call.ctx, out, c.outSize, c.indent, u"ab", c.lineFeed),
              static_cast<int>(strlen(c.start)));
    EXPECT_STREQ(out, c.start);
    out[0] = 0;
    EXPECT_EQ(writeXMLEndTag(&call.ctx, out, c.outSize, c.indent, u"ab", c.lineFeed, c.closeStart),
              static_cast<int>(strlen(c.end)));
    EXPECT_STREQ(out, c.end);
  }
  // Three characters, but six bytes and a terminator.
  char out[7] = "";
  EXPECT_EQ(writeXMLStartTag(&call.ctx, out, 5, 0, u"\u00E9\u00E9", 0), 0);
  EXPECT_EQ(writeXMLStartTag(&call.ctx, out, 6, 0, u"\u00E9\u00E9", 0), 5);
}

TEST(XmlWriterTest, SubtreesSerialise) {
  struct Case {
    const char *label, *document, *text;
  };
  const Case cases[] = {
      {"only attributes", "<a z='1' b='&lt;&#34;&apos;'/>",
       "<a b=\"&lt;&quot;&apos;\" z=\"1\"></a>"},
      {"text, CDATA, comment, instruction", "<a>&lt;1<![CDATA[<2>]]><!--3--><?p d?><?q?></a>",
       "<a>&lt;1&lt;2&gt;<!--3--><?p d?><?q?></a>"},
      {"nesting", "<a><b><c/>x</b><d/></a>", "<a><b><c></c>x</b><d></d></a>"},
      {"entities", "<!DOCTYPE a [<!ENTITY e 'v&#38;#60;'>]><a>&e;</a>", "<a>v&lt;</a>"},
      {"other characters", "<a>\xC3\xA9\xF0\x9F\x98\x80</a>", "<a>\xC3\xA9\xF0\x9F\x98\x80</a>"},
  };
  CallContext call;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const DOM_Document document = parsed(call, c.document);
    EXPECT_EQ(qrkDOMtoXML(&call.ctx, document.getDocumentElement()), c.text);
  }
  EXPECT_EQ(call.report([&] { qrkDOMtoXML(&call.ctx, DOM_Element()); }), -14);
  const DOM_Document document = parsed(call, "<a><b/><c>x</c></a>");
  EXPECT_EQ(qrkDOMtoXML(&call.ctx, document.getDocumentElement().firstDescendant(u"b")), "<b></b>");
}

TEST(XmlWriterTest, SerialisingHasOneLimitTheStartTag) {
  CallContext call;
  const std::string deep = repeat("<a>", kMaxElementDepth) + repeat("</a>", kMaxElementDepth);
  const std::string large = "<a>" + repeat("<b>some text &amp; more</b>", 20'000) + "</a>";
  const std::string fits = "<a b=\"" + std::string(1023 - 8, 'v') + "\"></a>";
  for (const std::string& document : {deep, large, fits}) {
    Output out(&call.ctx);
    DOM_Element root = parsed(call, document).getDocumentElement();
    EXPECT_EQ(qrkDOMtoXML1(&call.ctx, &root, out.buffer.get(), call.msg), 0);
    EXPECT_EQ(out.text(), document);
  }
  Output out(&call.ctx);
  call.msg[0] = 0;
  DOM_Element root =
      parsed(call, "<a b=\"" + std::string(1024 - 8, 'v') + "\"/>").getDocumentElement();
  EXPECT_EQ(qrkDOMtoXML1(&call.ctx, &root, out.buffer.get(), call.msg), -58);
  EXPECT_STREQ(call.msg, "");
}

// What programs beside the library call; the rules are those of DocumentText.
TEST(XmlWriterTest, TextHelpersOfTheInterface) {
  CallContext call;
  char16_t bounded[4] = u"???";
  EXPECT_EQ(cpyFromRawBuffer(bounded, u"abc", 4), 3);
  EXPECT_EQ(cpyFromRawBuffer(bounded, u"abcd", 4), 0);
  EXPECT_EQ(std::u16string(bounded), u"");
  char* bytes = static_cast<char*>(malloc(1));
  EXPECT_EQ(qrkEntityReplace(&call.ctx, &bytes, u"'\u20AC'", 1, &call.code, call.msg), 0);
  EXPECT_STREQ(bytes, "&apos;\xE2\x82\xAC&apos;");
  free(bytes);
  int capacity = 4;
  auto* wide = static_cast<char16_t*>(malloc(4 * sizeof(char16_t)));
  EXPECT_EQ(qrkEntityReplaceUCSRealloc(&call.ctx, &wide, u"a&b", &capacity, &call.code, call.msg),
            0);
  EXPECT_EQ(std::u16string(wide), u"a&amp;b");
  EXPECT_EQ(qrkEntityReplaceUCS(&call.ctx, wide, u"a&b", capacity, &call.code, call.msg), 8);
  EXPECT_EQ(qrkEntityReplaceUCS(&call.ctx, wide, u"a&bc", capacity, &call.code, call.msg), -1);
  EXPECT_EQ(call.code, -58);
  free(wide);
  Output out(&call.ctx);
  EXPECT_EQ(qrkEntityReplaceChunk(&call.ctx, "<\xC3\xA9>", out.buffer.get(), &call.code, call.msg),
            0);
  EXPECT_EQ(out.text(), "&lt;\xC3\xA9&gt;");
  EXPECT_EQ(qrkEntityReplaceChunk(&call.ctx, "x\xC3", out.buffer.get(), &call.code, call.msg), -1);
  EXPECT_EQ(call.code, -135);
}

// A locator for `content`, which a table receives from a file.
int32_t locatorFor(test::Database& database, QrkStruct* ctx, const std::string& content) {
  const test::TemporaryFolder folder;
  database.run("CREATE TABLE docs (doc CLOB(1M))");
  qrkInsertDocFromFile(ctx, "INSERT INTO docs (doc) VALUES (?)",
                       folder.write("doc", content).c_str(), static_cast<int32_t>(content.size()),
                       std::nullopt, "docs");
  sqlca area{};
  int32_t locator = 0;
  orv::esql::Statement statement(kQrksuwo);
  statement.prepare("SELECT doc FROM docs", area);
  orv::esql::Cursor cursor(statement);
  cursor.open({}, area);
  const orv::esql::HostVariable output = orv::esql::clobLocatorVariable(&locator);
  cursor.fetch(orv::esql::Variables(&output, 1), area);
  EXPECT_EQ(area.sqlcode, 0);
  cursor.close(area);
  database.run("DROP TABLE docs");
  return locator;
}

TEST(XmlWriterTest, LargeObjectsKeepCharactersThatChunksCut) {
  test::Database database;
  test::CallContext call;
  const std::string smile = "\xF0\x9F\x98\x80";
  const std::string contents[] = {"",
                                  "<",
                                  std::string(131'073, 'x'),
                                  std::string(131'070, 'x') + smile + "<",
                                  std::string(131'072, 'x') + smile,
                                  "x" + repeat(smile, 70'000)};
  for (const std::string& content : contents) {
    SCOPED_TRACE(content.size());
    std::string expected = content;
    for (size_t at = 0; (at = expected.find('<', at)) != std::string::npos;) {
      expected.replace(at, 1, "&lt;");
    }
    const int32_t locator = locatorFor(database, call, content);
    Output out(call);
    int code = 0;
    EXPECT_EQ(qrkEntityReplaceUsingLocator(call, locator, out.buffer.get(), &code, call.msg), 0)
        << call.msg;
    EXPECT_TRUE(out.text() == expected);
  }
}

TEST(XmlWriterTest, Trimming) {
  char narrow[] = " \t\n\v\f\ra b\xC3\xA9 \n", blanks[] = "   ";
  EXPECT_EQ(stripwhitespace(narrow), 5);
  EXPECT_STREQ(narrow, "a b\xC3\xA9");
  EXPECT_EQ(stripwhitespace(blanks), 0);
  std::u16string wide = u"\u2003 a\u00A0b \n";
  EXPECT_EQ(u_stripwhitespace(wide.data()), 3);
  EXPECT_EQ(std::u16string(wide.c_str()), u"a\u00A0b");
  EXPECT_EQ(stripwhitespace(nullptr) + u_stripwhitespace(nullptr), -2);
}

}  // namespace
}  // namespace orvxml
