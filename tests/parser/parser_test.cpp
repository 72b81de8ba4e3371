// Documents and DADs into DOM trees: what parses, what is refused and where, and that nothing
// outside is opened and nothing small becomes endless.
#include "src/parser/parser.h"

#include <gtest/gtest.h>

#include <cstring>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "src/compose/xml_writer.h"
#include "src/parser/parser_handlers.h"
#include "tests/support/call_context.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/texts.h"

namespace orvxml {
namespace {

using test::repeat;
using unittest::CallContext;

struct Parsed {
  DOM_Document document;
  int rc = 0;
  std::string state;
  std::string message;
};

Parsed parse(CallContext& call, const std::string& text, int useDbEncoding = 0, int inMemory = 1) {
  Parsed parsed;
  std::strcpy(call.state, "00000");
  const auto work = [&] {
    parsed.document = qrkDOM(&call.ctx, text.c_str(), useDbEncoding, inMemory);
  };
  parsed.rc = call.report(work) == 0 ? 0 : -1;
  parsed.state = call.state;
  parsed.message = call.msg;
  return parsed;
}

std::string serialized(CallContext& call, const DOM_Document& document) {
  return qrkDOMtoXML(&call.ctx, document.getDocumentElement());
}

TEST(ParserTest, WhatADocumentSaysReachesTheTree) {
  struct Case {
    const char* label;
    const char* text;
    const char* tree;
  };
  const Case cases[] = {
      {"a plain document", "<a b='1'>x<c/></a>", "<a b=\"1\">x<c></c></a>"},
      {"prefixes stay in the names", "<p:a xmlns:p='u' p:b=''/>",
       "<p:a p:b=\"\" xmlns:p=\"u\"></p:a>"},
      {"a prefix needs no declaration", "<p:a/>", "<p:a></p:a>"},
      {"a DTD that is not there reads as empty", "<!DOCTYPE a SYSTEM 'dad.dtd'><a/>", "<a></a>"},
      {"entities and defaults of the internal subset",
       "<!DOCTYPE a SYSTEM 'd' [<!ENTITY e '<b/>v'><!ATTLIST a x CDATA "
       "'d&#65;'>]><a>1&e;2&amp;</a>",
       "<a x=\"dA\">1<b></b>v2&amp;</a>"},
      {"an entity made by parameter entities",
       "<!DOCTYPE a [<!ENTITY % x '&#37;z;'><!ENTITY % z '&#60;!ENTITY t \"v\">'>%x;]><a>&t;</a>",
       "<a>v</a>"},
      {"white space is kept", "<a>\n <b/>\n</a>", "<a>\n <b></b>\n</a>"},
      {"XML 1.1", "<?xml version='1.1'?><a>\xC2\x85</a>", "<a>\n</a>"},
      {"another encoding", "<?xml version='1.0' encoding='iso-8859-1'?><a>\xE9</a>",
       "<a>\xC3\xA9</a>"},
      {"a byte order mark", "\xEF\xBB\xBF<a/>", "<a></a>"},
      {"a schema's address is not followed",
       "<a xmlns:i='http://www.w3.org/2001/XMLSchema-instance' "
       "i:noNamespaceSchemaLocation='/none.xsd'/>",
       "<a i:noNamespaceSchemaLocation=\"/none.xsd\" "
       "xmlns:i=\"http://www.w3.org/2001/XMLSchema-instance\"></a>"},
  };
  CallContext call;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Parsed parsed = parse(call, c.text);
    EXPECT_EQ(parsed.rc, 0) << parsed.message;
    EXPECT_EQ(parsed.state, "00000");
    EXPECT_EQ(serialized(call, parsed.document), c.tree);
  }
}

TEST(ParserTest, BadDocumentsAreRefusedWithTheirPlace) {
  struct Case {
    const char* label;
    const char* text;
    const char* place;
  };
  const Case cases[] = {
      {"a wrong end tag", "<a>\n<b></a>", "line 2 column 6:"},
      {"cut short", "<a><b>", "line 1 column 7:"},
      {"empty", "", "line 1 column 1:"},
      {"two roots", "<a/><b/>", "line 1 column 5:"},
      {"an unknown entity", "<a>&x;</a>", "line 1 column 7: entity 'x' not found"},
      {"an entity that an unread DTD may declare", "<!DOCTYPE a SYSTEM 'd'><a>1&x;2</a>",
       "line 1 column 31: entity 'x' not found"},
      {"the same, behind a parameter entity",
       "<!DOCTYPE a SYSTEM 'd' [<!ENTITY % p ' '>%p;]><a b='&x;'/>", "entity 'x' not found"},
      {"a wrong byte", "<a>\xFF</a>", "line "},
      {"an unknown version", "<?xml version='1.x'?><a/>", "line 1 column 22:"},
      {"an unknown encoding", "<?xml version='1.0' encoding='none'?><a/>", "line 1 column 38:"},
      {"a recursive entity", "<!DOCTYPE a [<!ENTITY x '&y;'><!ENTITY y '&x;'>]><a>&x;</a>",
       "recursive entity"},
  };
  CallContext call;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Parsed parsed = parse(call, c.text);
    EXPECT_EQ(parsed.rc, -1);
    EXPECT_EQ(parsed.state, "38X13");
    EXPECT_EQ(parsed.message.find("QRKQ047E  Parser error on line "), 0u) << parsed.message;
    EXPECT_NE(parsed.message.find(c.place), std::string::npos) << parsed.message;
    EXPECT_TRUE(parsed.document.isNull());
  }
}

TEST(ParserTest, NothingThatADocumentNamesIsOpened) {
  const test::TemporaryFolder folder;
  const std::string file = folder.write("secret", "SECRET");
  const std::string dtd = folder.write("secret.dtd", "<!ENTITY s 'SECRET'>");
  const std::string documents[] = {
      "<!DOCTYPE a [<!ENTITY s SYSTEM '" + file + "'>]><a>&s;</a>",
      "<!DOCTYPE a [<!ENTITY s SYSTEM 'file://" + file + "'>]><a>&s;</a>",
      "<!DOCTYPE a [<!ENTITY s SYSTEM 'http://localhost/" + file + "'>]><a>&s;</a>",
      "<!DOCTYPE a SYSTEM 'd' [<!ENTITY s SYSTEM '" + file + "'>]><a b='&s;'/>",
      "<!DOCTYPE a [<!ENTITY % p SYSTEM '" + dtd + "'>%p;]><a>&s;</a>",
      "<!DOCTYPE a SYSTEM '" + dtd + "'><a>&s;</a>",
      "<!DOCTYPE a PUBLIC 'p' 'file://" + dtd + "'><a>&s;</a>",
  };
  CallContext call;
  for (const std::string& document : documents) {
    SCOPED_TRACE(document);
    const Parsed parsed = parse(call, document);
    EXPECT_EQ(parsed.rc, -1);
    EXPECT_EQ(parsed.state, "38X13");
    EXPECT_EQ(parsed.message.find("QRKQ047E"), 0u) << parsed.message;
    EXPECT_EQ(parsed.message.find("SECRET"), std::string::npos) << parsed.message;
  }
}

// Documents of at most some megabytes that would expand to gigabytes, or take hours.
struct Hostile {
  const char* label;
  std::string text;
  const char* complaint;
};

std::vector<Hostile> hostileDocuments() {
  const std::string million = repeat("x", 1'000'000);
  const std::string entity = "<!DOCTYPE a [<!ENTITY l '" + million + "'>";
  std::string laughs = "<!DOCTYPE a [<!ENTITY l0 ''>";
  std::string chain = "<!DOCTYPE a [<!ENTITY % l0 ' '>";
  std::string names = "<a>", attributes = "<a";
  for (int i = 1; i < 9; ++i) {
    const std::string own = "l" + std::to_string(i), inner = "l" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY " + own + " '" + repeat("&" + inner, 10) + "'>";
    chain += "<!ENTITY % " + own + " '" + repeat("&#37;" + inner, 10) + "'>";
  }
  for (int i = 0; i < 60'000; ++i) {
    names += "<n" + std::to_string(i) + "/>";
    attributes += " n" + std::to_string(i) + "=''";
  }
  const char* tooMuch = "too much text";
  return {
      {"deep", repeat("<a>", 1'000'000), "nested too deeply"},
      {"entities of entities", laughs + "]><a>&l8;</a>", "entity expansions"},
      {"entities of entities in a value", laughs + "]><a b='&l8;'/>", "entity expansions"},
      {"one long entity, often", entity + "]><a>" + repeat("&l;", 10'000) + "</a>", tooMuch},
      {"in one value", entity + "]><a b='" + repeat("&l;", 10'000) + "'/>", tooMuch},
      {"in many values", entity + "]><a>" + repeat("<b c='&l;'/>", 10'000), tooMuch},
      {"in a default", entity + "<!ATTLIST a b CDATA '" + repeat("&l;", 10'000) + "'>]><a/>",
       tooMuch},
      {"a long default, often",
       "<!DOCTYPE a [<!ATTLIST b c CDATA '" + million + "'>]><a>" + repeat("<b/>", 10'000),
       tooMuch},
      {"parameter entities of parameter entities", chain + "%l8;]><a/>", "refer to each other"},
      {"one long parameter entity, often",
       "<!DOCTYPE a [<!ENTITY % l '" + repeat("<!--x-->", 10'000) + "'>" + repeat("%l;", 10'000) +
           "]><a/>",
       tooMuch},
      {"one long content model, often",
       "<!DOCTYPE a [<!ENTITY % l '<!ELEMENT a (b" + repeat("|b", 10'000) + ")*>'>" +
           repeat("%l;", 10'000) + "]><a/>",
       tooMuch},
      {"element names", names, "too many different names"},
      {"attribute names", attributes + "/>", "too many different names"},
  };
}

TEST(ParserTest, DocumentsOutOfProportionAreRefused) {
  CallContext call;
  for (const Hostile& hostile : hostileDocuments()) {
    SCOPED_TRACE(hostile.label);
    const Parsed parsed = parse(call, hostile.text);
    EXPECT_EQ(parsed.rc, -1);
    EXPECT_EQ(parsed.state, "38X13");
    EXPECT_EQ(parsed.message.find("QRKQ047E  Parser error on line 1 column "), 0u)
        << parsed.message;
    EXPECT_NE(parsed.message.find(hostile.complaint), std::string::npos) << parsed.message;
  }
}

template <class Parser>
std::string refusal(Parser& parser, const std::string& text) {
  parser.setDocumentSize(text.size());
  const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()),
                                          text.size(), u"document");
  try {
    parser.parse(source);
    return "";
  } catch (const xercesc::SAXParseException& e) {
    std::string message;
    for (const char16_t c : std::u16string_view(e.getMessage())) message += static_cast<char>(c);
    return e.getLineNumber() == 1 ? message : "no place: " + message;
  }
}

TEST(ParserTest, TheEventParsersKeepTheSameLimits) {
  CallContext call;
  qrkNonValidateHandler handler(&call.ctx);
  const std::string ordinary =
      "<!DOCTYPE a SYSTEM 'd' [<!ENTITY e 'v'>]><a>" + repeat("<b/><c>&e;</c>", 2000) + "</a>";
  qrkSAX2XMLReaderImpl reader(&call.ctx);
  reader.setFeature(xercesc::XMLUni::fgXercesSchema, false);
  reader.setErrorHandler(&handler);
  reader.setEntityResolver(&handler);
  qrkNonValidateSAX parser(&call.ctx);
  parser.setErrorHandler(&handler);
  parser.setEntityResolver(&handler);
  EXPECT_EQ(refusal(reader, ordinary), "");
  EXPECT_EQ(refusal(parser, ordinary), "");
  for (const Hostile& hostile : hostileDocuments()) {
    SCOPED_TRACE(hostile.label);
    EXPECT_NE(refusal(reader, hostile.text).find(hostile.complaint), std::string::npos);
    EXPECT_NE(refusal(parser, hostile.text).find(hostile.complaint), std::string::npos);
  }
  EXPECT_EQ(refusal(reader, "<!DOCTYPE a SYSTEM 'd'><a>&x;</a>"), "entity 'x' not found");
}

TEST(ParserTest, LargeButHonestDocumentsPass) {
  CallContext call;
  const std::string documents[] = {
      repeat("<a>", kMaxElementDepth) + repeat("</a>", kMaxElementDepth),
      "<a>" + repeat("<b/><c></c>", 5000) + "</a>",
      "<a>" + repeat("x", 12'000'000) + "</a>",
      "<!DOCTYPE a [<!ENTITY e 'v'><!ATTLIST b c CDATA 'd'>]><a>" + repeat("<b>&e;</b>", 20'000) +
          "</a>",
  };
  for (const std::string& document : documents) {
    const Parsed parsed = parse(call, document);
    EXPECT_EQ(parsed.rc, 0) << parsed.message;
  }
}

TEST(ParserTest, FilesAreReadAndMissingOnesReported) {
  CallContext call;
  const test::TemporaryFolder folder;
  const Parsed parsed = parse(call, folder.write("a.xml", "<a>1</a>"), 0, 0);
  EXPECT_EQ(parsed.rc, 0) << parsed.message;
  EXPECT_EQ(serialized(call, parsed.document), "<a>1</a>");
  for (const std::string& name : {folder.path("none.xml"), folder.path(), std::string("\xFF")}) {
    const Parsed missing = parse(call, name, 0, 0);
    EXPECT_EQ(missing.rc, -1);
    EXPECT_EQ(missing.state, "38X01");
    EXPECT_EQ(missing.message, "QRKC001E  The specified file is not found.\n");
  }
}

TEST(ParserTest, TheDatabaseCodePageOverridesTheDeclaration) {
  CallContext call("ISO-8859-1", 819);
  const std::string text = "<?xml version='1.0' encoding='UTF-8'?><a>\xE9</a>";
  EXPECT_EQ(parse(call, text, 0).rc, -1);
  EXPECT_EQ(parse(call, "<\xD0\x96></a>", 0).message,
            "QRKQ047E  Parser error on line 1 column 6: expected end of tag '?' \n");
  const Parsed parsed = parse(call, text, 1);
  EXPECT_EQ(parsed.rc, 0) << parsed.message;
  const DOM_Node content = parsed.document.getDocumentElement().getFirstChild();
  EXPECT_TRUE(content.getNodeValue().equals(u"\u00E9"));
}

TEST(ParserTest, HandlesKeepTheDocumentAlive) {
  CallContext call;
  DOM_Node text;
  {
    const Parsed parsed = parse(call, "<a><b>x</b><c/></a>");
    const DOM_Element root = parsed.document.getDocumentElement();
    text = root.firstDescendant(u"b").getFirstChild();
    EXPECT_TRUE(root.firstDescendant(u"none").isNull());
  }
  EXPECT_TRUE(text.getNodeValue().equals(u"x"));
  EXPECT_TRUE(text.getParentNode().getParentNode().getNodeName().equals(u"a"));
}

TEST(ParserTest, AttributesLongerThanTheirLimitAreAbsent) {
  CallContext call;
  const Parsed parsed = parse(call, "<a three='abc' empty=''/>");
  const auto* element = parsed.document.getDocumentElement().element();
  EXPECT_EQ(std::u16string_view(boundedAttribute(element, u"three", 3)), u"abc");
  EXPECT_EQ(boundedAttribute(element, u"three", 2), nullptr);
  EXPECT_EQ(boundedAttribute(element, u"empty", 9), nullptr);
  EXPECT_EQ(boundedAttribute(element, u"absent", 9), nullptr);
}

}  // namespace
}  // namespace orvxml
