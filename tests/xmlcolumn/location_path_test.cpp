#include "src/xmlcolumn/location_path.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>

#include "orvxml/notices.h"
#include "orvxml/utilities.h"
#include "src/outcome/failure.h"

namespace orvxml {
namespace {

// A path in a buffer of its exact size, so that a sanitizer sees any step past its end.
class Path {
 public:
  explicit Path(std::u16string_view text) : text_(text.begin(), text.end()) { text_.push_back(0); }
  XMLCh* get() { return text_.data(); }

 private:
  std::vector<char16_t> text_;
};

std::string narrow(std::u16string_view text) {
  std::string narrowed;
  for (char16_t c : text) narrowed += c < 0x80 ? static_cast<char>(c) : '?';
  return narrowed;
}

TEST(LocationPathTest, WhatIsAcceptedAndNotMeantIsTold) {
  struct Rules final : NoticeListener {
    void notice(const Notice& notice) override { all += notice.rule; }
    std::string all;
  };
  struct Case {
    const char16_t* path;
    const char* rule;
  };
  static constexpr Case kCases[] = {
      {u"/a[@x=\"1/2\"]/b/@c", ""},     {u"/a[@x=\"1\"]/b[@y=\"2\"]", "steps-behind-predicate"},
      {u"/a/@x/b", "attribute-name"},   {u"/a/@", "attribute-name"},
      {u"/@x", "attribute-of-nothing"}, {u"//@*", ""},
  };
  for (const Case& c : kCases) {
    Rules rules;
    const Listening listening(rules);
    Path path(c.path);
    EXPECT_EQ(QrkQuery(nullptr, path.get()).state, 0);
    EXPECT_EQ(rules.all, c.rule) << narrow(c.path);
  }
}

TEST(LocationPathTest, SyntaxErrorsGiveTheirPosition) {
  struct Case {
    const char16_t* path;
    int state;
  };
  static constexpr Case kCases[] = {
      {u"a/b", 1},
      {u"", 1},
      {u"/a/b@c", 3},
      {u"/a[@x\"1\"]", 3},
      {u"/a[@x=\"1\"]/b[@y]", 13},
      {u"/a[@x=\"1]", 5},
      {u"/a[@x=", 5},
      {u"/a[@x=\"", 5},
      {u"/a[@1x=\"v\"]", 4},
      {u"/a[@=\"v\"]", 4},
      {u"/[@x=\"1\"]", 1},
      {u"/1a", 1},
      {u"/a b", 2},
      {u"/a*", 2},
      {u"/a///b", 4},
      {u"///@id", 2},
      {u"//b c", 3},
      // The order of parsing is head, tail, body; the last error stays.
      {u"/1a//b//3c", 8},
      {u"/1a//2b//3c", 5},
      {u"/a//2b//c", 4},
      // XML 1.0's name characters: a combining character, a digit, an extender cannot begin a name.
      {u"/\u0300a", 1},
      {u"/\u0660a", 1},
      {u"/\u3005a", 1},
      {u"/a\u0132", 2},  // in none of the classes
      {u"/a\u00D7", 2},
      {u"/a\U00010000", 2},
      {u"/\u00E9\u0300\u0660\u3005\u00B7\uAC00.-_:", 0},
      {u"/\u4E00\u9FA5", 0},
      {u"/a\u9FA6", 2},
      {u"/", 0},
      {u"//", 0},
      {u"/a/", 0},
      {u"/a////b", 0},
      {u"/@", 0},
      {u"/a[2]/b[", 0},
  };
  for (const Case& c : kCases) {
    Path path(c.path);
    const QrkQuery query(nullptr, path.get());
    EXPECT_EQ(query.state, c.state) << narrow(c.path);
  }
  EXPECT_EQ(QrkQuery(nullptr, nullptr).state, 1);
}

// Notes the result of a query at every start of an element: "a1 b2 ".
class Matcher : public xercesc::DefaultHandler {
 public:
  explicit Matcher(const QrkQuery& query) : query_(query) {}
  void startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override {
    open_.push(qname, attributes);
    results += narrow(qname) + std::to_string(query_.tryToMatch(open_)) + ' ';
  }
  void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override { open_.pop(); }

  std::string results;

 private:
  const QrkQuery& query_;
  QrkCurrentPath open_{nullptr};
};

std::string matches(const QrkQuery& query, const std::string& document) {
  Matcher matcher(query);
  const std::unique_ptr<xercesc::SAX2XMLReader> parser(
      xercesc::XMLReaderFactory::createXMLReader());
  parser->setFeature(xercesc::XMLUni::fgSAX2CoreNameSpaces, false);
  parser->setContentHandler(&matcher);
  parser->parse(xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(document.data()),
                                           document.size(), "document"));
  return matcher.results;
}

TEST(LocationPathTest, MatchesTheInnermostElement) {
  struct Case {
    const char16_t* path;
    const char* document;
    const char* results;
  };
  static constexpr Case kCases[] = {
      {u"/a/b", "<a><b><c/></b><b/><c><b/></c></a>", "a1 b2 c0 b2 c0 b0 "},
      {u"/x/b", "<a><b/></a>", "a0 b0 "},
      {u"/a/b/", "<a><b/></a>", "a1 b2 "},
      {u"/a[2]/b", "<a><b/></a>", "a1 b2 "},
      {u"/a/*/c", "<a><b><c/></b><d><c/><e/></d></a>", "a1 b1 c2 d1 c2 e0 "},
      {u"//b", "<b><b><c/></b></b>", "b2 b2 c1 "},
      {u"//*", "<a><b/></a>", "a2 b2 "},
      {u"/a//b", "<a><b/><c><b/></c></a>", "a1 b2 c1 b2 "},
      {u"/a//a", "<a><a/></a>", "a1 a2 "},
      {u"/a//b//c/d", "<a><c><d/><b><c><d/></c><d/></b></c></a>", "a1 c1 d1 b1 c1 d2 d1 "},
      // The shallowest place of a segment is taken: c below the first b is enough.
      {u"//b//c", "<b><b><c/></b></b>", "b1 b1 c2 "},
      {u"//a/b//c", "<a><a><b><c/></b></a></a>", "a1 a1 b1 c2 "},
      {u"//a/b/c", "<a><b><b><c/></b><c/></b></a>", "a1 b1 b1 c1 c2 "},
      {u"/p:a/b", "<p:a xmlns:p='u'><b/></p:a>", "p:a1 b2 "},
      // Attribute tests.
      {u"//b[@x=\"1\"]", "<a><b x='1' y='2'/><b y='1'/><b x='2'/><b y='2' x='1'/></a>",
       "a1 b2 b1 b1 b2 "},
      {u"/a[@x=\"1/2\"]/b", "<a x='1/2'><b/></a>", "a1 b2 "},
      {u"/a[@x=\"1/2\"]/b", "<a x='1'><b/></a>", "a0 b0 "},
      {u"/a[@x=\"1/2\"]", "<a x='1/2'/>", "a2 "},
      {u"/a[ @x=\"\"]", "<a x=''/>", "a2 "},
      {u"/*[@x=\"1\"]", "<a x='1'/>", "a2 "},
      // Attribute paths.
      {u"/a/@id", "<a id='1'><b id='2'/></a>", "a2 b0 "},
      {u"/a[@x=\"1\"]/@id", "<a x='1' id='2'/>", "a2 "},
      {u"//@id", "<a><b/></a>", "a2 b2 "},
      {u"/a//@id", "<a><b><c/></b></a>", "a1 b2 c2 "},
      {u"/a//b//@id", "<a><b><c/></b></a>", "a1 b1 c2 "},
      {u"/", "<a><b/></a>", "a0 b0 "},
      {u"/@id", "<a id='1'/>", "a0 "},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(narrow(c.path));
    Path path(c.path);
    const QrkQuery query(nullptr, path.get());
    EXPECT_EQ(query.state, 0);
    EXPECT_EQ(matches(query, c.document), c.results);
  }
}

TEST(LocationPathTest, MarkupMatchesWhatIsInsideASelectedElement) {
  Path path(u"/a/b");
  QrkQuery query(nullptr, path.get());
  query.kind = kSelectsMarkup;
  EXPECT_EQ(matches(query, "<a><b><c><d/></c></b><e/></a>"), "a1 b2 c2 d2 e0 ");
}

// Compiling these step by step with a search to the end of the path in each step would take hours.
TEST(LocationPathTest, LongPathsCompileInLinearTime) {
  struct Case {
    std::u16string_view step;
    bool accepted;
  };
  static constexpr Case kCases[] = {
      {u"/a", true},  {u"//a", true},   {u"/a[@x=\"1\"]", true},
      {u"/a[", true}, {u"/a\"", false}, {u"/a[@x=", false},
  };
  constexpr int kSteps = 200'000;
  for (const Case& c : kCases) {
    std::u16string text;
    for (int i = 0; i < kSteps; ++i) text += c.step;
    Path path(text);
    const QrkQuery query(nullptr, path.get());
    EXPECT_EQ(query.state == 0, c.accepted) << narrow(c.step);
  }
}

TEST(AttributesCopyTest, AnIndexPastTheEndIsAnInternalError) {
  QrkStruct context{};
  context.callFrom = CALL_FROM_STP;
  const QrkAttrs attributes(&context);
  for (const auto access :
       {&QrkAttrs::getName,
        static_cast<const XMLCh* (QrkAttrs::*)(XMLSize_t) const>(&QrkAttrs::getValue)}) {
    try {
      (attributes.*access)(0);
      FAIL() << "no exception";
    } catch (const Failure& failure) {
      EXPECT_TRUE(failure.is(Msg::QRKG001E));
      EXPECT_EQ(failure.arguments()[1], "qrk_xml/include/qrkSgDocHandler");
    }
  }
  EXPECT_EQ(attributes.getValue(u"x"), nullptr);
}

}  // namespace
}  // namespace orvxml
