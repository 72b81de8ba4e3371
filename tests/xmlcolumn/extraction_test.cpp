#include "orvxml/extraction.h"

#include <gtest/gtest.h>

#include "src/xmlcolumn/document_handler.h"
#include "tests/support/texts.h"
#include "tests/xmlcolumn/column_calls.h"

namespace orvxml {
namespace {

using test::repeat;
using unittest::CallContext;
using unittest::CallOptions;
using unittest::Extracted;
using unittest::extractValue;
using unittest::extractValues;
using unittest::kFile;
using unittest::kPlain;
using unittest::outcomeOf;
using unittest::room;
using Values = std::vector<std::string>;

class ExtractionTest : public testing::Test {
 protected:
  CallContext context_;
  test::TemporaryFolder folder_;
};

constexpr CallOptions kMarkup{.format = kExtractMarkup};

TEST_F(ExtractionTest, ValuesComeInTheOrderOfTheDocument) {
  struct Case {
    const char* document;
    const char* path;
    Values text;
    Values markup;
  };
  const Case kCases[] = {
      {"<a><b>1</b><b>2</b></a>", "/a/b", {"1", "2"}, {"<b>1</b>", "<b>2</b>"}},
      {"<a>x<b>y</b>z</a>", "/a", {"xz"}, {"<a>x<b>y</b>z</a>"}},
      {"<a/>", "/a", {""}, {"<a></a>"}},
      {"<a><b/></a>", "/a/c", {}, {}},
      {"<a><c><b>no</b></c><b>yes</b></a>", "/a/b", {"yes"}, {"<b>yes</b>"}},
      {"<p:a xmlns:p='u'><p:b>1</p:b></p:a>", "/p:a/p:b", {"1"}, {"<p:b>1</p:b>"}},
      {"<a><i><n>1</n></i><i/></a>", "//i", {"", ""}, {"<i><n>1</n></i>", "<i></i>"}},
      {"<a><i t='x'>1</i><i t='y'>2</i><i>3</i></a>", "//i[@t=\"y\"]", {"2"}, {"<i t=\"y\">2</i>"}},
      // Inside a selected element another one that is selected is part of it.
      {"<a>x<b>y</b>z</a>", "//*", {"xyz"}, {"<a>x<b>y</b>z</a>"}},
      {"<a><b>1<b>2</b>3</b></a>", "//b", {"123"}, {"<b>1<b>2</b>3</b>"}},
      {"<a><b>1<c><b>2</b></c></b></a>", "//b", {"1", "2"}, {"<b>1<c><b>2</b></c></b>"}},
      // Text is plain, markup is escaped.
      {"<a t='&lt;&#10;'>&amp;&lt;<![CDATA[<&\"'>]]>&#13;</a>",
       "/a",
       {"&<<&\"'>\r"},
       {"<a t=\"&lt;\n\">&amp;&lt;&lt;&amp;&quot;&apos;&gt;\r</a>"}},
      {"<!DOCTYPE a [<!ENTITY e '<b>in</b>'><!ATTLIST b k CDATA 'd'>]><a>&e;</a>",
       "/a/b",
       {"in"},
       {"<b k=\"d\">in</b>"}},
      {"<a>1<!-- no -->2<?no no?>3</a>", "/a", {"123"}, {"<a>123</a>"}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(c.path) + " in " + c.document);
    const Extracted text = extractValues(&context_.ctx, c.document, c.path);
    EXPECT_EQ(text.rc, 0) << text.message;
    EXPECT_EQ(text.state, "00000");
    EXPECT_EQ(text.message, "");
    EXPECT_EQ(text.values, c.text);
    EXPECT_EQ(extractValues(&context_.ctx, c.document, c.path, kMarkup).values, c.markup);
  }
}

TEST_F(ExtractionTest, AttributesAreValuesOfTheirOwnAndEscaped) {
  struct Case {
    const char* document;
    const char* path;
    Values values;
  };
  const Case kCases[] = {
      {"<a t='1&amp;2'/>", "/a/@t", {"1&amp;2"}},
      {"<a t='&quot;&apos;&lt;>'/>", "/a/@t", {"&quot;&apos;&lt;&gt;"}},
      {"<a x='1' y='' z='3'/>", "/a/@*", {"1", "", "3"}},
      {"<a x='1'><a x='2'/></a>", "/a/@x", {"1"}},
      {"<a><b/><b y='1' x='2'/></a>", "/a/b/@x", {"2"}},
      {"<a x='1'><b x='2'><a x='3'/></b></a>", "//a/@x", {"1", "3"}},
      {"<a x='1'><b x='2'><a x='3'/></b></a>", "//@x", {"1", "2", "3"}},
      {"<a x='1'><b x='2'><c x='3'/></b></a>", "/a//@x", {"2", "3"}},
      {"<a x='1'/>", "/a/@X", {}},
      {"<a x='1'/>", "/a/@", {}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(c.path) + " in " + c.document);
    const Extracted extracted = extractValues(&context_.ctx, c.document, c.path);
    EXPECT_EQ(extracted.rc, 0) << extracted.message;
    EXPECT_EQ(extracted.values, c.values);
  }
}

TEST_F(ExtractionTest, OneValueIsHandedOut) {
  struct Case {
    const char* document;
    int rc;
    const char* state;
    const char* message;
    const char* value;
  };
  static constexpr Case kCases[] = {
      {"<a><b>1</b></a>", 0, "00000", "", "1"},
      {"<a><b/></a>", -1, "00000", "", ""},
      {"<a><c/></a>", -1, "01HX0", "QRKD003W  Path not found.  Null is returned.\n", "NULL"},
      {"<a><b/><b>2</b></a>", -1, "38X08", "QRKD001E  /a/b occurs multiple times.\n", "NULL"},
      {"<a><b></a>", -1, "38X13",
       "QRKQ047E  Parser error on line 1 column 9: expected end of tag 'b' \n", "NULL"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.document);
    const Extracted extracted = extractValue(&context_.ctx, c.document, "/a/b");
    EXPECT_EQ(extracted.rc, c.rc);
    EXPECT_EQ(extracted.state, c.state);
    EXPECT_EQ(extracted.message, c.message);
    EXPECT_EQ(extracted.values, Values{c.value});
  }
}

TEST_F(ExtractionTest, FailuresNameTheirCauseInSeventyCharacters) {
  CallContext function("UTF-8", 1208, CALL_FROM_UDF);
  struct Case {
    const char* label;
    std::string document;
    std::string path;
    CallOptions options;
    std::string outcome;
  };
  const Case kCases[] = {
      {"no such file", folder_.path("none.xml"), "/a", kFile,
       "38X01 QRKC001E  The specified file is not found."},
      {"a folder", folder_.path(), "/a", kFile, "38X01 QRKC001E  The specified file is not found."},
      {"a wrong path is told before the document is read", "<a>", "/a b", kPlain,
       "38X09 QRKD002E  A syntax error occurred near position 2 in the search path."},
      {"a path that does not convert", "<a/>", "/\xC3", kPlain,
       "38X09 QRKD002E  A syntax error occurred near position -1 in the search path."},
      {"malformed", "<a>\n<b></a>", "/a", kPlain,
       "38X13 QRKQ047E  Parser error on line 2 column 6: expected end of tag 'b' "},
      {"empty", "", "/a", kPlain,
       "38X13 QRKQ047E  Parser error on line 1 column 1: invalid document structure"},
      {"a value that has no room for its terminator", "<a>12345</a>", "/a", room(5),
       "38X39 QRKC013E  The results of the extract UDF exceed the size limit for the UDF return"},
      {"no room", "<a/>", "/a", room(0), "38X16 QRKG004E  Invalid null parameter."},
      {"negative room", "<a/>", "/a", room(-1), "38X16 QRKG004E  Invalid null parameter."},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    const std::string expected = "-1 " + c.outcome.substr(0, 75) + '\n';
    EXPECT_EQ(outcomeOf(extractValues(&function.ctx, c.document, c.path, c.options)), expected);
    const Extracted one = extractValue(&function.ctx, c.document, c.path, c.options);
    EXPECT_EQ(outcomeOf(one), expected);
    EXPECT_EQ(one.values, Values{"NULL"});
  }
  EXPECT_EQ(extractValues(&function.ctx, "<a>12345</a>", "/a", {.maxBytes = 6}).values,
            Values{"12345"});
}

TEST_F(ExtractionTest, NullParametersAreRefused) {
  char document[] = "<a/>", path[] = "/a", state[kSqlStateSize], msg[kMessageSize];
  QrkExtractResult result{};
  char* value = nullptr;
  QrkStruct* const ctx = &context_.ctx;
  const auto expectRefused = [&](int rc) {
    EXPECT_EQ(rc, -1);
    EXPECT_EQ(std::string(state), "38X16");
    EXPECT_EQ(std::string(msg), "QRKG004E  Invalid null parameter.\n");
  };
  expectRefused(extractAll(ctx, nullptr, 0, 1, 0, path, &result, 9, state, msg));
  expectRefused(extractAll(ctx, document, 0, 1, 0, nullptr, &result, 9, state, msg));
  expectRefused(extractAll(ctx, document, 0, 1, 0, path, nullptr, 9, state, msg));
  expectRefused(extractOne(ctx, document, 0, 1, 0, path, nullptr, 9, state, msg));
  expectRefused(extractOne(ctx, nullptr, 0, 0, 0, path, &value, 9, state, msg));
  EXPECT_EQ(extractAll(ctx, document, 0, 1, 0, path, &result, 9, nullptr, nullptr), 0);
  qrkFreeArray(ctx, &result);
  qrkFreeArray(ctx, nullptr);
}

TEST_F(ExtractionTest, ValuesAreInTheDatabaseCodePage) {
  struct Case {
    const char* label;
    const char* encoding;
    int codePage;
    int useDbEncoding;
    std::string document;
    std::string value;  // "38X39", "38X13": the state of a failure
  };
  const Case kCases[] = {
      {"the declaration counts", "UTF-8", 1208, 0,
       "<?xml version='1.0' encoding='iso-8859-1'?><a>\xE9</a>", "\xC3\xA9"},
      {"the database counts", "UTF-8", 1208, 1,
       "<?xml version='1.0' encoding='iso-8859-1'?><a>\xC3\xA9</a>", "\xC3\xA9"},
      {"a declaration that is wrong", "UTF-8", 1208, 0,
       "<?xml version='1.0' encoding='UTF-8'?><a>\xE9</a>", "38X13"},
      {"an encoding that nobody knows", "UTF-8", 1208, 0,
       "<?xml version='1.0' encoding='none'?><a/>", "38X13"},
      {"Latin", "iso-8859-1", 819, 1, "<a>\xE9</a>", "\xE9"},
      {"what the code page does not hold", "iso-8859-1", 819, 1, "<a>&#x20AC;</a>", "38X39"},
      {"two bytes a character", "Shift_JIS", 943, 1, "<a>\x93\xFA\x96{</a>", "\x93\xFA\x96{"},
      {"beyond the first plane", "UTF-8", 1208, 0, "<a>&#x1F600;</a>", "\xF0\x9F\x98\x80"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    CallContext context(c.encoding, c.codePage);
    ASSERT_EQ(context.rc, 0);
    const Extracted extracted =
        extractValues(&context.ctx, c.document, "/a", {.useDbEncoding = c.useDbEncoding});
    EXPECT_EQ(extracted.rc == 0 ? extracted.values[0] : extracted.state, c.value);
  }
}

std::string nested(size_t levels) {
  return repeat("<a>", levels) + repeat("</a>", levels);
}

TEST_F(ExtractionTest, HostileDocumentsAreRefusedOrReadWhole) {
  const std::string secret = folder_.write("secret", "no");
  const std::string megabytes(5'000'000, 'x');
  std::string bomb = "<!DOCTYPE a [<!ENTITY e0 'xxxxxxxxxx'>";
  for (int i = 1; i < 20; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY e" + std::to_string(i) + " '" + repeat(inner, 10) + "'>";
  }
  struct Case {
    const char* label;
    std::string document;
    const char* path;
    const char* state;
    size_t length;  // of all values
  };
  const Case kCases[] = {
      {"an exponential bomb", bomb + "]><a>&e19;</a>", "/a", "38X13", 0},
      {"a bomb in an attribute", bomb + "]><a t='&e19;'/>", "/a/@t", "38X13", 0},
      {"a quadratic bomb",
       "<!DOCTYPE a [<!ENTITY e '" + std::string(100'000, 'x') + "'>]><a>" + repeat("&e;", 1000) +
           "</a>",
       "/a", "38X13", 0},
      {"an entity that holds itself", "<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>", "/a", "38X13",
       0},
      {"a file as entity", "<!DOCTYPE a [<!ENTITY e SYSTEM '" + secret + "'>]><a>&e;</a>", "/a",
       "38X13", 0},
      {"a file as parameter entity",
       "<!DOCTYPE a [<!ENTITY % e SYSTEM '" + secret + "'> %e;]><a>1</a>", "/a", "38X13", 0},
      {"a DTD is not read", "<!DOCTYPE a SYSTEM '" + secret + "'><a>1</a>", "/a", "00000", 1},
      {"nor one that is missing", "<!DOCTYPE a PUBLIC 'p' 'http://localhost:1/x'><a>1</a>", "/a",
       "00000", 1},
      {"the deepest", nested(1000), "//*", "00000", 0},
      {"one level too many", nested(1001), "//*", "38X13", 0},
      {"a million levels", nested(1'000'000), "/b", "38X13", 0},
      {"a long text", "<a>" + megabytes + "</a>", "/a", "00000", megabytes.size()},
      {"a long attribute", "<a t='" + megabytes + "'/>", "//@t", "00000", megabytes.size()},
      {"long names", "<" + megabytes + " " + megabytes + "='1'/>", "/*/@*", "00000", 1},
      {"a zero byte ends the text", std::string("<a>1\0</a>", 9), "/a", "38X13", 0},
      {"a wrong surrogate", "<a>&#xD800;</a>", "/a", "38X13", 0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    const Extracted extracted = extractValues(&context_.ctx, c.document, c.path);
    EXPECT_EQ(extracted.state, c.state) << extracted.message;
    size_t length = 0;
    for (const std::string& value : extracted.values) length += value.size();
    EXPECT_EQ(length, c.length);
    EXPECT_EQ(extracted.message.substr(0, 8), extracted.rc == 0 ? "" : "QRKQ047E");
  }
}

// A run over the stack for every element would take a minute: its steps fit almost everywhere.
TEST_F(ExtractionTest, LongPathsOverDeepDocumentsTakeLinearTime) {
  const std::string deep = repeat("<a>", 990) + repeat("<a/>", 100'000) + repeat("</a>", 990);
  for (const std::string& path : {repeat("/a", 990) + "//b", "//a" + repeat("//a/a", 200) + "//b",
                                  "//" + std::string("b") + repeat("//a", 900)}) {
    EXPECT_EQ(extractValues(&context_.ctx, deep, path).values, Values{});
  }
}

TEST_F(ExtractionTest, FilesAreReadByName) {
  const std::string name = folder_.write("with blank \xC3\xA9.xml", "<a>1</a>");
  EXPECT_EQ(extractValues(&context_.ctx, name, "/a", {.inMemory = 0}).values, Values{"1"});
}

// The state of a run, seen from inside: the values as they are collected.
class Collector : public qrkSgDocHandler {
 public:
  explicit Collector(XMLCh* path) : qrkSgDocHandler(nullptr, path) {}
  void collect(std::u16string_view text) {
    result.addItem();
    result.addToCurrentItem(text);
  }
  void add(std::u16string_view text) { result.addToCurrentItem(text); }
};

// Texts are converted in pieces, which may end inside a character.
TEST(ValueCollectionTest, NoCharacterIsSplit) {
  for (size_t length = 8185; length < 8195; ++length) {
    char16_t path[] = u"/a";
    Collector collector(path);
    collector.collect(std::u16string(length, u'x'));
    for (const char16_t unit : std::u16string_view(u"\U0001F600\u00E9")) collector.add({&unit, 1});
    collector.add(std::u16string(length, u'y'));
    QrkExtractResult result{};
    collector.retrieve(100'000, result);
    EXPECT_EQ(std::string(result.values[0]),
              std::string(length, 'x') + "\xF0\x9F\x98\x80\xC3\xA9" + std::string(length, 'y'));
    qrkFreeArray(nullptr, &result);
  }
}

TEST(ValueCollectionTest, LoneSurrogatesDoNotConvert) {
  char16_t path[] = u"/a";
  Collector collector(path);
  collector.collect(u"good");
  collector.collect(u"bad \xD800");
  QrkExtractResult result{};
  char state[kSqlStateSize] = "";
  atEdge({.sqlState = state}, [&] { collector.retrieve(100, result); });
  EXPECT_EQ(std::string(state), "38X39");
  EXPECT_EQ(result.values, nullptr);
}

TEST(ValueCollectionTest, ValuesPrintForDebugging) {
  char16_t path[] = u"/a";
  Collector collector(path);
  collector.collect(u"\u00E9t\u00E9");
  collector.collect(u"");
  testing::internal::CaptureStdout();
  collector.debugPrintResult();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "count = 2\n  content = '\xC3\xA9t\xC3\xA9':5\n  content = '':0\n");
}

}  // namespace
}  // namespace orvxml
