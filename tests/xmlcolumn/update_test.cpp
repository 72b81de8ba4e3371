#include "orvxml/update.h"

#include <gtest/gtest.h>

#include "orvxml/buffer.h"
#include "tests/xmlcolumn/column_calls.h"

namespace orvxml {
namespace {

using unittest::CallContext;
using unittest::CallOptions;
using unittest::kFile;
using unittest::kPlain;
using unittest::outcomeOf;
using unittest::room;
using unittest::Updated;
using unittest::updateDocument;

class UpdateTest : public testing::Test {
 protected:
  CallContext context_;
  test::TemporaryFolder folder_;
};

TEST_F(UpdateTest, TheSelectedPartIsReplacedAndTheRestStays) {
  struct Case {
    const char* label;
    const char* document;
    const char16_t* path;
    const char16_t* value;
    const char* updated;
  };
  static constexpr Case kCases[] = {
      {"elements", "<a><b>x<c>y</c>z</b><b>w</b></a>", u"/a/b", u"NEW",
       "<a><b>NEW<c></c></b><b>NEW</b></a>"},
      {"text goes at every depth", "<a><b>1<c>2<d>3<e/>4</d>5</c>6</b>7</a>", u"//b", u"N",
       "<a><b>N<c><d><e></e></d></c></b>7</a>"},
      {"inside a selected element none is selected", "<a><b>1<c><b>2</b>3</c>4</b></a>", u"//b",
       u"N", "<a><b>N<c><b></b></c></b></a>"},
      {"an attribute", "<a id='1' x='2'/>", u"/a/@id", u"7", "<a id=\"7\" x=\"2\"></a>"},
      {"the outermost one's attribute", "<a><b i='1'><c><b i='2'/></c>t</b><b i='3'/></a>",
       u"//b/@i", u"7", "<a><b i=\"7\"><c><b i=\"2\"></b></c>t</b><b i=\"7\"></b></a>"},
      {"an attribute of any element", "<a i='0'><b i='1'><c><b i='2'/></c></b><d j='3'/></a>",
       u"//@i", u"7", "<a i=\"7\"><b i=\"7\"><c><b i=\"7\"></b></c></b><d j=\"3\"></d></a>"},
      {"an attribute that is not there", "<a x='2'/>", u"/a/@id", u"7", "<a x=\"2\"></a>"},
      {"nothing", "<a> x <b t='1'/></a>", u"/a/c", u"7", "<a> x <b t=\"1\"></b></a>"},
      {"an empty value", "<a>1</a>", u"/a", u"", "<a></a>"},
      {"an empty element", "<a/>", u"/a", u"1", "<a>1</a>"},
      {"markup in the value", "<a/>", u"/a", u"<b>&\"'", "<a>&lt;b&gt;&amp;&quot;&apos;</a>"},
      {"what a parser would read as white space", "<a t='1'/>", u"/a/@t", u"1\t2\n3\r4",
       "<a t=\"1&#9;2&#10;3&#13;4\"></a>"},
      {"and in text", "<a/>", u"/a", u"1\t2\n3\r4", "<a>1\t2\n3&#13;4</a>"},
      {"what was written as references", "<a t='&#13;&#10;&#9; '>&#13;&lt;&#x2028;</a>", u"/b", u"",
       "<a t=\"&#13;&#10;&#9; \">&#13;&lt;&#8232;</a>"},
      {"a section of characters", "<a><![CDATA[<&]]></a>", u"/b", u"", "<a>&lt;&amp;</a>"},
      {"comments and instructions", "<?p d?><!--1--><a><!--2--><?q?></a><!--3-->", u"/a", u"N",
       "<?p d?><!--1--><a>N<!--2--><?q ?></a><!--3-->"},
      {"a declaration", "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><a/>", u"/b",
       u"", "<?xml version='1.0' encoding='UTF-8' standalone='yes'?><a></a>"},
      {"a short declaration", "<?xml version='1.0'?>\n<a/>", u"/b", u"",
       "<?xml version='1.0'?>\n<a></a>"},
      {"a DOCTYPE of its own",
       "<!DOCTYPE a [<!--n--><?n n?><!ENTITY e 'v'><!ATTLIST a t CDATA 'd'>]>"
       "<a>&e;</a>",
       u"/b", u"", "<!DOCTYPE a><a t=\"d\">v</a>"},
      {"a DOCTYPE of nothing but a name", "<!DOCTYPE a>\n<a/>\n", u"/b", u"",
       "<!DOCTYPE a>\n<a></a>\n"},
      {"a system id", "<!DOCTYPE a SYSTEM 'x.dtd'><!--c--><a/>", u"/b", u"",
       "<!DOCTYPE a SYSTEM \"x.dtd\"><!--c--><a></a>"},
      {"a system id with quotation marks", "<!DOCTYPE a SYSTEM 'x\".dtd'><a/>", u"/b", u"",
       "<!DOCTYPE a SYSTEM 'x\".dtd'><a></a>"},
      {"an empty system id", "<!DOCTYPE a SYSTEM ''><a/>", u"/b", u"",
       "<!DOCTYPE a SYSTEM \"\"><a></a>"},
      {"a public id", "<!DOCTYPE a PUBLIC '-//X' 'x.dtd' [<!ELEMENT a ANY>]><a/>", u"/b", u"",
       "<!DOCTYPE a PUBLIC \"-//X\" \"x.dtd\"><a></a>"},
      {"prefixes", "<p:a xmlns:p='u' p:t='1'/>", u"/p:a/@p:t", u"2",
       "<p:a xmlns:p=\"u\" p:t=\"2\"></p:a>"},
      {"all planes", "<a>&#x1F600;&#233;</a>", u"/b", u"", "<a>\xF0\x9F\x98\x80\xC3\xA9</a>"},
      {"control characters of the second version", "<?xml version='1.1'?><a>&#1;&#x85;</a>", u"/b",
       u"", "<?xml version='1.1'?><a>&#1;&#133;</a>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    const Updated updated = updateDocument(&context_.ctx, c.document, c.path, c.value);
    EXPECT_EQ(updated.rc, 0) << updated.message;
    EXPECT_EQ(updated.state, "00000");
    EXPECT_EQ(updated.message, "");
    EXPECT_EQ(updated.document, c.updated);
    // The result reads as what it says: writing it once more changes nothing.
    EXPECT_EQ(updateDocument(&context_.ctx, updated.document, u"/none", u"").document,
              updated.document);
  }
}

TEST_F(UpdateTest, FailuresLeaveNoDocument) {
  CallContext function("UTF-8", 1208, CALL_FROM_UDF);
  struct Case {
    const char* label;
    std::string document;
    const char16_t* path;
    const char16_t* value;
    CallOptions options;
    std::string outcome;
  };
  const Case kCases[] = {
      {"no such file", folder_.path("none"), u"/a", u"", kFile,
       "38X01 QRKC001E  The specified file is not found."},
      {"a wrong path", "<a/>", u"a", u"", kPlain,
       "38X09 QRKD002E  A syntax error occurred near position 1 in the search path."},
      {"malformed behind the selected part", "<a>1</a", u"/a", u"", kPlain,
       "38X13 QRKQ047E  Parser error on line 1 column 8: unterminated end tag 'a' "},
      {"too long by its terminator", "<a>1</a>", u"/a", u"1", room(8),
       "38X39 QRKC013E  The results of the extract UDF exceed the size limit for the UDF return"},
      {"no room", "<a/>", u"/a", u"", room(0), "38X16 QRKG004E  Invalid null parameter."},
      {"a value that no document may hold", "<a/>", u"/a", u"\x01", kPlain,
       "38X14 QRKD000E  An invalid XML document is rejected."},
      {"half a character", "<a/>", u"/a", u"\xD83D", kPlain,
       "38X14 QRKD000E  An invalid XML document is rejected."},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    const Updated updated = updateDocument(&function.ctx, c.document, c.path, c.value, c.options);
    EXPECT_EQ(outcomeOf(updated), "-1 " + c.outcome.substr(0, 75) + '\n');
    EXPECT_EQ(updated.document, "NULL");
  }
  char document[] = "<a/>", state[kSqlStateSize], msg[kMessageSize];
  char16_t path[] = u"/a", value[] = u"1";
  char* result = nullptr;
  for (const int rc :
       {qrkUpdate(&function.ctx, nullptr, 1, 0, path, value, &result, 9, state, msg),
        qrkUpdate(&function.ctx, document, 1, 0, nullptr, value, &result, 9, state, msg),
        qrkUpdate(&function.ctx, document, 1, 0, path, nullptr, &result, 9, state, msg),
        qrkUpdate(&function.ctx, document, 1, 0, path, value, nullptr, 9, state, msg)}) {
    EXPECT_EQ(rc, -1);
    EXPECT_EQ(std::string(state), "38X16");
  }
}

class UpdateFromBufferTest : public UpdateTest {
 protected:
  Updated update(QrkStruct* ctx, std::string document, std::string path, std::string value) {
    Updated updated;
    char msg[kMessageSize] = "old";
    char state[kSqlStateSize] = "old";
    char* result = nullptr;
    updated.rc = qrkUpdateFromBuf(ctx, document.data(), path.data(), value.data(), &result, INT_MAX,
                                  state, msg);
    updated.state = state;
    updated.message = msg;
    updated.document = result ? result : "NULL";
    std::free(result);
    return updated;
  }
};

TEST_F(UpdateFromBufferTest, LargeDocumentsGoThroughATemporaryFileThatIsRemoved) {
  const test::Variable directory("ORVQRKTEMP", folder_.path().c_str());
  CallContext context;
  const std::string text(static_cast<size_t>(context.ctx.fileThreshold), 'x');
  const Updated updated = update(&context.ctx, "<a><b>1</b>" + text + "</a>", "/a/b", "2");
  EXPECT_EQ(updated.document, "<a><b>2</b>" + text + "</a>");
  EXPECT_TRUE(folder_.isEmpty());
  EXPECT_EQ(update(&context.ctx, "<a>" + text, "/a", "2").state, "38X13");
  EXPECT_TRUE(folder_.isEmpty());
  {
    const test::FileSizeLimit limit(1000);
    const Updated refused = update(&context.ctx, "<a>" + text + "</a>", "/a", "2");
    EXPECT_EQ(refused.rc, -1);
    EXPECT_EQ(refused.state, "38X03");
    EXPECT_EQ(refused.document, "NULL");
  }
  EXPECT_TRUE(folder_.isEmpty());
}

TEST_F(UpdateFromBufferTest, AllTextsAreInTheDatabaseCodePage) {
  CallContext latin("iso-8859-1", 819);
  const std::string declared = "<?xml version='1.0' encoding='UTF-8'?>";
  EXPECT_EQ(update(&latin.ctx, declared + "<\xE9>\xE8</\xE9>", "/\xE9", "\xFC").document,
            declared + "<\xE9>\xFC</\xE9>");
  EXPECT_EQ(update(&latin.ctx, "<a>&#x20AC;</a>", "/b", "").state, "38X39");
  for (const auto& [path, value] : {std::pair("/\xC3", ""), std::pair("/a", "\xC3")}) {
    const Updated refused = update(&context_.ctx, "<a/>", path, value);
    EXPECT_EQ(refused.state, "38X09");
    EXPECT_EQ(refused.message,
              "QRKD002E  A syntax error occurred near position -1 in the search path.\n");
  }
}

}  // namespace
}  // namespace orvxml
