#include "orvxml/extraction.h"

#include <gtest/gtest.h>

#include "src/xmlcolumn/document_handler.h"
#include "tests/xmlcolumn/column_calls.h"

namespace orvxml {
namespace {

using unittest::CallContext;
using unittest::CallOptions;
using unittest::Extracted;
using unittest::extractValue;
using unittest::extractValues;
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
      {"<a><i><n>1</n></i><i><n>2</n></i></a>",
       "//i",
       {"", ""},
       {"<i><n>1</n></i>", "<i><n>2</n></i>"}},
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
       "QRKQ047E  Parser error on line 1 column 10: expected end of tag 'b' \n", "NULL"},
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

}  // namespace
}  // namespace orvxml
