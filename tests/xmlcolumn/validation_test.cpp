#include "orvxml/validation.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "orvxml/notices.h"
#include "tests/support/database.h"
#include "tests/support/temporary_folder.h"

namespace orvxml {
namespace {

using test::TemporaryFolder;

struct Verdict {
  int valid = -2;
  std::string sqlState;
  std::string message;
};

class ValidationTest : public testing::Test {
 protected:
  ValidationTest() { context_.callFrom = CALL_FROM_STP; }

  Verdict byDtd(std::string document, const char* dtd, bool documentInMemory = true,
                bool dtdInMemory = true, std::string id = "order.dtd") {
    Verdict verdict;
    char msg[kMessageSize] = "old";
    char state[kSqlStateSize] = "old";
    std::string dtdText = dtd ? dtd : "";
    verdict.valid = qrkJudge(&context_, document.data(), documentInMemory, 0,
                             dtd ? dtdText.data() : nullptr, 0, id.data(), state, msg, dtdInMemory);
    verdict.sqlState = state;
    verdict.message = msg;
    return verdict;
  }

  Verdict bySchema(std::string document, const std::string& schema) {
    Verdict verdict;
    char msg[kMessageSize] = "old";
    char state[kSqlStateSize] = "old";
    std::u16string location(schema.begin(), schema.end());
    verdict.valid = qrkJudgeBySchema(&context_, document.data(), 1, 0, location.data(), state, msg);
    verdict.sqlState = state;
    verdict.message = msg;
    return verdict;
  }

  // An invalid document: `part` stands in the message.
  static void expectRejected(const Verdict& verdict, const std::string& part, int valid = 0) {
    EXPECT_EQ(verdict.valid, valid);
    EXPECT_EQ(verdict.sqlState, "38X13");
    EXPECT_EQ(verdict.message.substr(0, 8), "QRKQ047E");
    EXPECT_NE(verdict.message.find(part), std::string::npos) << verdict.message;
  }
  static void expectValid(const Verdict& verdict) {
    EXPECT_EQ(verdict.valid, 1) << verdict.message;
    EXPECT_EQ(verdict.sqlState, "00000");
    EXPECT_EQ(verdict.message, "");
  }

  QrkStruct context_{};
  TemporaryFolder folder_;
};

constexpr char kDtd[] =
    "<!ELEMENT a (b*)>\n<!ATTLIST a x CDATA #IMPLIED>\n<!ELEMENT b (#PCDATA)>\n";
constexpr char kDoctype[] = "<!DOCTYPE a SYSTEM 'nowhere/order.dtd'>\n";

#ifndef __SANITIZE_ADDRESS__  // which opens files of its own for its checks
TEST_F(ValidationTest, ADocumentThatCannotBeOpenedIsNotCalledInvalid) {
  const std::string file = folder_.write("a.xml", std::string(kDoctype) + "<a/>");
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  const rlimit none{0, files.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const Verdict verdict = byDtd(file, kDtd, false);
  setrlimit(RLIMIT_NOFILE, &files);
  EXPECT_EQ(verdict.valid, kNotJudged);
  EXPECT_EQ(verdict.sqlState, "38X00");
  EXPECT_EQ(verdict.message, "QRKC000E  Unable to open the specified file.\n");
  expectValid(byDtd(file, kDtd, false));
}
#endif

TEST_F(ValidationTest, DocumentsAreJudgedByTheSuppliedDtd) {
  struct Case {
    const char* label;
    std::string document;
    const char* dtd;
    const char* rejectedFor;  // null: valid
    int verdict = kInvalid;
  };
  std::string groups = "<!ELEMENT a (b";
  for (int i = 0; i < 2000; ++i) groups += ",(b)";
  groups += ")>";
  const std::string nested = std::string(kDoctype) + [] {
    std::string open, close;
    for (int i = 0; i < 2000; ++i) open += "<a>", close += "</a>";
    return open + close;
  }();
  const Case cases[] = {
      {"valid", std::string(kDoctype) + "<a x='1'><b>t</b></a>", kDtd, nullptr},
      {"undeclared element", std::string(kDoctype) + "<a>\n  <c/></a>", kDtd,
       "line 3 column 5: no declaration found for element 'c'"},
      {"undeclared attribute", std::string(kDoctype) + "<a y='1'/>", kDtd, "line 2"},
      {"malformed", std::string(kDoctype) + "<a><b></a>", kDtd, "line 2 column 9: "},
      {"no DOCTYPE", "<a/>", kDtd, "the document names no DTD"},
      {"an internal subset alone", "<!DOCTYPE a [<!ELEMENT a ANY>]><a/>", kDtd,
       "names no external DTD"},
      {"an element of its own", "<!DOCTYPE e SYSTEM 'x' [<!ELEMENT e ANY>]><e/>", kDtd,
       "declares itself"},
      {"an attribute of its own", "<!DOCTYPE a SYSTEM 'x' [<!ATTLIST a y CDATA '1'>]><a/>", kDtd,
       "declares itself"},
      {"a parameter entity of its own", "<!DOCTYPE a SYSTEM 'x' [<!ENTITY % c 'ANY'>]><a/>", kDtd,
       "declares itself"},
      {"an entity of its own", "<!DOCTYPE a SYSTEM '' [<!ENTITY e 't'>]><a><b>&e;</b></a>", kDtd,
       nullptr},
      {"the document's own reference to a file of the system",
       "<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>", kDtd, nullptr},
      {"the network", "<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/a.dtd'><a/>", kDtd, nullptr},
      {"a DTD that reads itself", std::string(kDoctype) + "<a/>",
       "<!ENTITY % m SYSTEM 'm.mod'>%m;<!ELEMENT a EMPTY>", "cannot consist of several files", -1},
      {"malformed DTD", std::string(kDoctype) + "<a/>", "<!ELEMENT a ((b)>", "line 1", -1},
      {"a DTD of too many groups", std::string(kDoctype) + "<a/>", groups.c_str(),
       "too many groups", -1},
      {"no DTD: the internal subset counts",
       "<!DOCTYPE a SYSTEM 'nowhere.dtd' [<!ELEMENT a EMPTY>]><a/>", nullptr, nullptr},
      {"no DTD: invalid by the internal subset", "<!DOCTYPE a [<!ELEMENT a EMPTY>]><a><b/></a>",
       nullptr, "line 1"},
      {"no DTD at all", "<a/>", nullptr, "line 1"},
      {"nested too deeply", nested, "<!ELEMENT a (a*)>", "nested too deeply"},
      {"entities that explode",
       "<!DOCTYPE a [<!ELEMENT a (#PCDATA)><!ENTITY b 'xxxxxxxxxx'>"
       "<!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;'><!ENTITY d '&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;'>"
       "<!ENTITY e '&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;'><!ENTITY f '&e;&e;&e;&e;&e;&e;&e;&e;&e;&e;'>"
       "<!ENTITY g '&f;&f;&f;&f;&f;&f;&f;&f;&f;&f;'><!ENTITY h '&g;&g;&g;&g;&g;&g;&g;&g;&g;&g;'>"
       "]><a>&h;</a>",
       nullptr, "entit"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Verdict verdict = byDtd(c.document, c.dtd);
    if (c.rejectedFor) {
      expectRejected(verdict, c.rejectedFor, c.verdict);
    } else {
      expectValid(verdict);
    }
  }
}

TEST_F(ValidationTest, FilesHoldDocumentAndDtd) {
  const std::string document = folder_.write("d.xml", std::string(kDoctype) + "<a><b/></a>");
  const std::string dtd = folder_.write("order.dtd", kDtd);
  expectValid(byDtd(document, dtd.c_str(), false, false));
  expectRejected(byDtd(document, folder_.path("none.dtd").c_str(), false, false), "");
  for (const std::string& name : {folder_.path("none.xml"), folder_.path()}) {
    const Verdict missing = byDtd(name, kDtd, false);
    EXPECT_EQ(missing.valid, kNotJudged);
    EXPECT_EQ(missing.sqlState, "38X01");
    EXPECT_EQ(missing.message, "QRKC001E  The specified file is not found.\n");
  }
}

TEST_F(ValidationTest, AnUnreadableDtdIdRejectsTheDocumentUnread) {
  const Verdict verdict = byDtd("<a", kDtd, true, true, "\xFF\xFE");
  EXPECT_EQ(verdict.valid, 0);
  EXPECT_EQ(verdict.sqlState, "00000");
  EXPECT_EQ(verdict.message, "QRKD000E  An invalid XML document is rejected.\n");
}

TEST(ValidationEncodingTest, TheDatabaseCodePageWinsWhenAskedFor) {
  const test::Database db(819);
  test::CallContext call;
  std::string document = "<!DOCTYPE \xE9 SYSTEM 'e.dtd'><\xE9/>";
  std::string dtd = "<!ELEMENT \xE9 EMPTY>";
  char id[] = "\xE9.dtd";
  for (const int inDatabase : {1, 0}) {
    EXPECT_EQ(qrkValidate(call, document.data(), 1, inDatabase, dtd.data(), 1, id, call.sqlState,
                          call.msg, 1),
              inDatabase)
        << call.msg;
    EXPECT_STREQ(call.sqlState, inDatabase ? "00000" : "38X13");
  }
}

TEST_F(ValidationTest, NoFileThatTheDocumentNamesIsRead) {
  const std::string secret = folder_.write("secret.txt", "secret");
  const std::string document =
      "<!DOCTYPE a [<!ELEMENT a (#PCDATA)><!ENTITY s SYSTEM '" + secret + "'>]><a>&s;</a>";
  expectRejected(byDtd(document, nullptr), "");
  const std::string schema = folder_.write("a.xsd",
                                           "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
                                           "<xs:element name='a' type='xs:string'/></xs:schema>");
  expectRejected(bySchema("<!DOCTYPE a [<!ENTITY s SYSTEM '" + secret + "'>]><a>&s;</a>", schema),
                 "");
}

std::string schemaText(const std::string& body) {
  return "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>" + body + "</xs:schema>";
}

TEST_F(ValidationTest, DocumentsAreJudgedByTheNamedSchema) {
  const std::string schema = folder_.write(
      "sub/a.xsd",
      "<!DOCTYPE xs:schema PUBLIC 'p' 'XMLSchema.dtd'>" +
          schemaText("<xs:include schemaLocation='types/%61%20mo%FCnt.xsd'/><xs:element name='a'>"
                     "<xs:complexType><xs:sequence><xs:element name='n' type='Amount' "
                     "maxOccurs='unbounded'/></xs:sequence></xs:complexType></xs:element>"));
  folder_.write("sub/types/a mo\xfcnt.xsd",
                schemaText("<xs:simpleType name='Amount'><xs:restriction base='xs:integer'>"
                           "<xs:maxInclusive value='9'/></xs:restriction></xs:simpleType>"));
  // Through a link, and from a schema of a name space.
  const std::string linked = folder_.path("linked.xsd");
  std::filesystem::create_symlink(schema, linked);
  expectValid(bySchema("<a><n>1</n></a>", linked));
  const std::string spaced = folder_.write(
      "spaced.xsd",
      "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='a&amp;b'>"
      "<xs:element name='a' type='xs:int'/></xs:schema>");
  expectValid(bySchema("<a xmlns='a&amp;b'>1</a>", spaced));
  expectRejected(bySchema("<a xmlns='a&amp;b'>x</a>", spaced), "line 1");
  expectRejected(bySchema("<a>1</a>", spaced), "no declaration");
  const std::string other =
      folder_.write("other.xsd", schemaText("<xs:element name='other' type='xs:string'/>"));
  struct Case {
    const char* label;
    std::string document;
    const char* rejectedFor;
  };
  const std::string instance = " xmlns:i='http://www.w3.org/2001/XMLSchema-instance'";
  const Case cases[] = {
      {"valid", "<a><n>1</n><n>9</n></a>", nullptr},
      {"a value out of range", "<a>\n<n>10</n></a>", "line 2"},
      {"an element out of place", "<a><m/></a>", "line 1"},
      {"another root", "<b/>", "line 1"},
      {"a root of another name space", "<a xmlns='urn:x'><n>1</n></a>", "line 1"},
      {"malformed", "<a><n>1</n>", "line 1"},
      {"the DOCTYPE's DTD stays closed",
       "<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/a.dtd'><a><n>1</n></a>", nullptr},
      {"the document's hint at another schema",
       "<other" + instance + " i:noNamespaceSchemaLocation='" + other + "'/>", "line 1"},
      {"the document's hint for another name space",
       "<x:other xmlns:x='urn:x'" + instance + " i:schemaLocation='urn:x " + other + "'/>",
       "line 1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Verdict verdict = bySchema(c.document, schema);
    if (c.rejectedFor) {
      expectRejected(verdict, c.rejectedFor);
    } else {
      expectValid(verdict);
    }
  }
}

TEST_F(ValidationTest, SchemasReachNoFurtherThanTheirFolder) {
  folder_.write("amount.xsd", schemaText("<xs:simpleType name='Amount'><xs:restriction "
                                         "base='xs:integer'/></xs:simpleType>"));
  const std::string outside = folder_.path("amount.xsd");
  for (const std::string& location : {std::string("../amount.xsd"), outside, "file://" + outside,
                                      std::string("http://h/a.xsd")}) {
    const std::string schema =
        folder_.write("sub/a.xsd", schemaText("<xs:include schemaLocation='" + location +
                                              "'/><xs:element name='a' type='Amount'/>"));
    SCOPED_TRACE(location);
    expectRejected(bySchema("<a>1</a>", schema), "Amount", kNotJudged);
  }
  const std::string fifo = folder_.path("sub/fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string body = schemaText("<xs:element name='a' type='xs:int'/>&t;%t;");
  for (const std::string& declaration : {std::string("<!ENTITY t SYSTEM '") + outside + "'>",
                                         std::string("<!ENTITY % t SYSTEM 'fifo'>%t;")}) {
    std::string text = "<!DOCTYPE xs:schema [";
    text.append(declaration).append("]>").append(body);
    expectRejected(bySchema("<a>1</a>", folder_.write("sub/a.xsd", text)), "unable to open",
                   kNotJudged);
  }
  EXPECT_EQ(bySchema("<a>1</a>", fifo).sqlState, "38X01");
}

// An element "a" of this type, and of other definitions.
std::string schemaOfType(const std::string& type, const std::string& more = "") {
  return schemaText("<xs:element name='a'>" + type + "</xs:element>" + more);
}
std::string withPattern(const std::string& pattern, const std::string& more = "") {
  return "<xs:simpleType name='p'><xs:restriction base='xs:string'><xs:pattern value='" + pattern +
         "'/>" + more + "</xs:restriction></xs:simpleType>";
}
std::string repeated(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}
// Definitions 0 to `count`: "#" is the number, "@" the next one.
std::string definitions(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i <= count; ++i) {
    for (const char c : text) {
      all += c == '#' ? std::to_string(i) : c == '@' ? std::to_string(i + 1) : std::string(1, c);
    }
  }
  return all;
}

TEST_F(ValidationTest, SchemasOutOfProportionEndTheirOwnCallAlone) {
  const std::string open = "<xs:complexType><xs:sequence>",
                    close = "</xs:sequence></xs:complexType>";
  std::string nested, ends;
  for (int i = 0; i < 2000; ++i) nested += "<xs:sequence>", ends += "</xs:sequence>";
  const auto group = [&](const std::string& content) {
    return "<xs:group name='g#'><xs:sequence>" + content + "</xs:sequence></xs:group>";
  };
  const std::string first = open + "<xs:group ref='g0'/>" + close;
  const auto sixty = [&](const char* item) { return definitions(0, group(definitions(59, item))); };
  folder_.write("n.xsd",
                "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='n'>"
                "<xs:include schemaLocation='part.xsd'/></xs:schema>");
  folder_.write("part.xsd", schemaText(sixty("<xs:element name='e' type='xs:int'/>")));
  const std::string many(40, 'a'), pattern = withPattern("(a+)+b");
  const std::string gaps = withPattern("a" + definitions(39, "(x?|y?)") + "b");
  const auto ofElement = [](const std::string& type, const std::string& more) {
    return schemaText("<xs:element name='a' type='" + type + "'/>" + more);
  };
  struct Case {
    const char* label;
    std::string schema;
    std::string document;
    const char* rejectedFor;  // null: valid
    int verdict = kNotJudged;
  };
  const Case cases[] = {
      {"groups in groups", schemaOfType(open + nested + ends + close), "<a/>", "nested too deeply"},
      {"a chain of groups", schemaOfType(first, definitions(20000, group("<xs:group ref='g@'/>"))),
       "<a/>", "too deeply"},
      {"groups that double",
       schemaOfType(first, definitions(40, group("<xs:group ref='g@'/><xs:group ref='g@'/>"))),
       "<a/>", "content models are too large"},
      {"groups of one name in two name spaces",
       schemaOfType(first, "<xs:import namespace='n' schemaLocation='n.xsd'/>" +
                               sixty("<xs:group xmlns:n='n' ref='n:g0'/>")),
       "<a/>", "content models are too large"},
      {"occurrences",
       schemaOfType(open +
                    "<xs:sequence maxOccurs='5000'><xs:element name='b'/>"
                    "<xs:element name='c'/></xs:sequence>" +
                    close),
       "<a/>", "content models are too large"},
      {"substitution groups",
       schemaText(definitions(1500, "<xs:element name='s#' substitutionGroup='s@'/>")), "<a/>",
       "substitution groups are too large"},
      {"element declarations", schemaText(definitions(40'000, "<xs:element name='d#'/>")), "<a/>",
       "too many elements"},
      {"patterns that are large together",
       schemaText(definitions(25,
                              "<xs:simpleType name='p#'><xs:restriction base='xs:string'>"
                              "<xs:pattern value='#" +
                                  repeated(1000, "a?") + "'/></xs:restriction></xs:simpleType>")),
       "<a/>", "patterns are too large"},
      {"a default of many ways",
       schemaOfType("<xs:complexType><xs:attribute name='x' type='p' default='" + many +
                        "'/><xs:attribute name='y' type='xs:string' fixed='1'/></xs:complexType>",
                    pattern),
       "<a/>", "take too long"},
      {"unions that double",
       ofElement("u0", definitions(40,
                                   "<xs:simpleType name='u#'><xs:union memberTypes='u@ u@'/>"
                                   "</xs:simpleType>")),
       "<a/>", "too many types"},
      {"a repeat of what may be empty", ofElement("p", withPattern("(a*)*b")), "<a/>",
       "repeats what may be empty"},
      {"a pattern on the schema's own value",
       ofElement("q", withPattern("(a+)+b") +
                          "<xs:simpleType name='q'><xs:restriction base='p'>"
                          "<xs:enumeration value=' b " +
                          many + "'/></xs:restriction></xs:simpleType>"),
       "<a/>", "take too long"},
      {"a pattern that backtracks", ofElement("p", pattern), "<a>" + many + "c</a>", "too long",
       kInvalid},
      {"one that may match nothing in many ways", ofElement("p", gaps), "<a>ac</a>", "too long",
       kInvalid},
      {"the same at the end of the value", ofElement("p", gaps), "<a>a</a>", "too long", kInvalid},
      {"characters that the parser has in no table", ofElement("p", withPattern("(\\D|.)*b")),
       "<a>" + definitions(39, "\xF0\x9D\x9F\x8E") + "</a>", "too long", kInvalid},
      {"a string that is sought everywhere", ofElement("p", withPattern(".*ab")),
       "<a>" + std::string(100'000, 'a') + "</a>", "too long", kInvalid},
      {"one of several repeats", ofElement("p", withPattern(".*.*.*x")),
       "<a>" + std::string(2000, 'a') + "</a>", "too long", kInvalid},
      {"in an attribute",
       schemaOfType("<xs:complexType><xs:attribute name='x' type='p'/></xs:complexType>", pattern),
       "<a x='" + many + "'/>", "too long", kInvalid},
      {"in a union of lists",
       ofElement("u", pattern + "<xs:simpleType name='l'><xs:list itemType='p'/></xs:simpleType>"
                                "<xs:simpleType name='u'><xs:union memberTypes='xs:int l'/>"
                                "</xs:simpleType>"),
       "<a>ab " + many + "</a>", "too long", kInvalid},
      {"the same with a value that matches", ofElement("p", pattern), "<a>aaaab</a>", nullptr},
      {"what many schemas have",
       ofElement("p", withPattern(
                          "[A-Z]{2}\\d{2,4}(-[\\c-[:]]+)?|(\\p{L}|[^&lt;a-c\\s])+( x)*|[\\w-.]+")),
       "<a>DE1234-x.y</a>", nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Verdict verdict = bySchema(c.document, folder_.write("a.xsd", c.schema));
    if (c.rejectedFor) {
      expectRejected(verdict, c.rejectedFor, c.verdict);
    } else {
      expectValid(verdict);
    }
  }
}

// What a schema may consist of, with the sizes, patterns and values that are counted in each.
TEST_F(ValidationTest, SchemasOfAllConstructsJudge) {
  folder_.write("old.xsd",
                schemaText("<xs:simpleType name='Code'><xs:restriction base='xs:string'>"
                           "<xs:pattern value='(a|a)+b*'/></xs:restriction></xs:simpleType>"
                           "<xs:group name='Pair'><xs:sequence><xs:element name='one'/>"
                           "<xs:element name='two'/></xs:sequence></xs:group>"));
  const std::string schema = folder_.write("all.xsd", schemaText(R"(
<xs:annotation><xs:appinfo><x:import xmlns:x='urn:x' schemaLocation='notes.txt'/>
<xs:element name='no'><xs:pattern value='(a*)*'/></xs:element></xs:appinfo></xs:annotation>
<xs:redefine schemaLocation='old.xsd'><xs:simpleType name='Code'><xs:restriction base='Code'>
<xs:maxLength value='9'/></xs:restriction></xs:simpleType></xs:redefine>
<xs:element name='head' type='xs:string'/><xs:element name='mid' substitutionGroup='head'/>
<xs:element name='leaf' substitutionGroup='mid'/>
<xs:simpleType name='Codes'><xs:list itemType='Code'/></xs:simpleType>
<xs:simpleType name='Few'><xs:restriction base='Codes'><xs:enumeration value='aa  ab'/>
<xs:enumeration value='a'/></xs:restriction></xs:simpleType>
<xs:simpleType name='Either'><xs:union memberTypes='xs:int'><xs:simpleType>
<xs:restriction base='Code'/></xs:simpleType></xs:union></xs:simpleType>
<xs:attributeGroup name='Both'><xs:attribute name='x' type='Few' default='aa ab'/>
<xs:attribute name='n' type='xs:int' default='1'/></xs:attributeGroup>
<xs:complexType name='Base'><xs:choice minOccurs='0' maxOccurs='2'><xs:element ref='head'/>
<xs:any namespace='urn:y' processContents='skip'/></xs:choice></xs:complexType>
<xs:element name='a'><xs:complexType><xs:complexContent><xs:extension base='Base'><xs:sequence>
<xs:group ref='Pair' minOccurs='02' maxOccurs='unbounded'/><xs:element name='e' type='Either'/>
</xs:sequence><xs:attributeGroup ref='Both'/></xs:extension></xs:complexContent></xs:complexType>
</xs:element>
<xs:element name='b'><xs:complexType><xs:all><xs:element name='c' type='Codes'/></xs:all>
</xs:complexType></xs:element>)"));
  const std::string pairs = "<one/><two/><one/><two/>";
  expectValid(
      bySchema("<a x='aa ab'><leaf>t</leaf><y xmlns='urn:y'/>" + pairs + "<e>aab</e></a>", schema));
  expectValid(bySchema("<a>" + pairs + "<e>7</e></a>", schema));
  expectValid(bySchema("<b><c>aa  ab a</c></b>", schema));
  expectRejected(bySchema("<b><c>aa aaaaaaaaaa</c></b>", schema), "line 1");
  expectRejected(bySchema("<a x='ab'>" + pairs + "<e>7</e></a>", schema), "line 1");

  // The file that is wrong is told by its own name.
  struct Heard final : NoticeListener {
    void notice(const Notice& notice) override { file = notice.file; }
    std::string file;
  } heard;
  const Listening listening(heard);
  folder_.write("sub/part.xsd", schemaText("<xs:element name='p'/><xs:"));
  const std::string whole = folder_.write(
      "whole.xsd", schemaText("<xs:include/><xs:include schemaLocation='sub/part.xsd'/>"));
  expectRejected(bySchema("<a/>", whole), "line", kNotJudged);
  EXPECT_EQ(heard.file, folder_.path("sub/part.xsd"));
  std::filesystem::resize_file(whole, 65 << 20);
  expectRejected(bySchema("<a/>", whole), "too large", kNotJudged);
  EXPECT_EQ(heard.file, whole);
}

TEST_F(ValidationTest, WithoutItsSchemaNoDocumentIsValid) {
  const Verdict missing = bySchema("<a/>", folder_.path("none.xsd"));
  EXPECT_EQ(missing.valid, kNotJudged);
  EXPECT_EQ(missing.sqlState, "38X01");
  EXPECT_EQ(missing.message, "QRKC001E  The specified file is not found.\n");
  for (const char* text : {"", "no schema", "<xs:schema xmlns:xs='urn:x'/>"}) {
    expectRejected(bySchema("<a/>", folder_.write("bad.xsd", text)), "", kNotJudged);
  }
}

}  // namespace
}  // namespace orvxml
