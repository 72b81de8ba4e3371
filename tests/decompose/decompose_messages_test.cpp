// What a caller is told: every message of a decomposition, through the registered procedures and
// through their "_STP" forms.
#include <fnmatch.h>

#include "tests/support/dads.h"
#include "tests/support/decompose_calls.h"
#include "tests/support/temporary_folder.h"

namespace orvxml::test {
namespace {

struct Case {
  const char* label;
  std::string dad;
  std::string document;
  int code;
  const char* message;  // a pattern: internal errors name the build and a line
  std::string script = {};
  int codePage = 1208;
};

const char kDocument[] = "<p k='1'><c v='x'/></p>";
const char kDone[] = "QRKQ025I  XML decomposed successfully.";

void expectOutcome(const CallOutcome& outcome, int code, const char* message) {
  EXPECT_EQ(outcome.code, code);
  EXPECT_EQ(fnmatch(message, outcome.message.c_str(), 0), 0) << outcome.message;
}

void expectShredOutcome(const Case& c) {
  SCOPED_TRACE(c.label);
  for (const bool listForm : {false, true}) {
    SCOPED_TRACE(listForm ? "list form" : "descriptor form");
    DecomposeDatabase db(c.codePage);
    db.runScript(kParentAndChild + c.script);
    const CallOutcome outcome = listForm ? callListForm("qrkShredXML", c.dad, c.document)
                                         : db.call("qrkShredXML", c.dad, c.document);
    expectOutcome(outcome, c.code, c.message);
  }
}

// What is wrong in front of the mapping has its message, and -1 as its code.
TEST(DecomposeMessages, Header) {
  const std::string schema =
      "<schemabindings><nonamespacelocation location='s.xsd'/></schemabindings>";
  const Case cases[] = {
      {"no header at all", parentAndChild(), kDocument, 0, kDone},
      {"validation off, a DTD that is not registered",
       parentAndChild("<!-- c --><validation> No </validation><dtdid>d.dtd</dtdid>"), kDocument, 0,
       kDone},
      {"validation neither yes nor no", parentAndChild("<validation>maybe</validation>"), kDocument,
       -1, "QRKA056E  The validation value maybe in the DAD file is invalid."},
      {"schema, then an empty DTD id", parentAndChild(schema + "<dtdid/>"), kDocument, -1,
       "QRKQ057E  The schemabindings and dtdid tags cannot exist together in the DAD file."},
  };
  for (const Case& c : cases) expectShredOutcome(c);
}

TEST(DecomposeMessages, Validation) {
  const TemporaryFolder folder;
  const std::string schemaFile = folder.write(
      "s.xsd",
      "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='p'>"
      "<xs:complexType><xs:sequence><xs:element name='c'><xs:complexType>"
      "<xs:attribute name='v' type='xs:string'/></xs:complexType></xs:element></xs:sequence>"
      "<xs:attribute name='k' type='xs:integer'/></xs:complexType></xs:element></xs:schema>");
  const std::string registered =
      "insert into orvxml.dtd_ref (dtdid, content, usage_count) values ('d.dtd', '"
      "<!ELEMENT p (c)><!ATTLIST p k CDATA #REQUIRED><!ELEMENT c EMPTY>"
      "<!ATTLIST c v CDATA #REQUIRED>', 0);";
  const std::string byDtd = parentAndChild("<validation>yes</validation><dtdid>\n d.dtd </dtdid>");
  const std::string bySchema =
      parentAndChild("<validation>YES</validation><schemabindings><nonamespacelocation location='" +
                     schemaFile + "'/></schemabindings>");
  const std::string doctype = "<!DOCTYPE p SYSTEM 'elsewhere.dtd'>";
  const Case cases[] = {
      {"valid by the registered DTD", byDtd, doctype + kDocument, 0, kDone, registered},
      {"invalid by the registered DTD", byDtd, doctype + "<p k='1'/>", -90,
       "QRKQ047E  Parser error on line 1 column *", registered},
      {"a DTD that is not registered is done without", byDtd,
       "<!DOCTYPE p [<!ELEMENT p (c)><!ATTLIST p k CDATA ''><!ELEMENT c EMPTY><!ATTLIST c v CDATA "
       "''>]>" +
           std::string(kDocument),
       0, kDone},
      {"nor is one that cannot be registered",
       parentAndChild("<validation>yes</validation><dtdid>&#x20AC;</dtdid>"),
       "<!DOCTYPE p [<!ELEMENT p EMPTY><!ATTLIST p k CDATA ''>]><p k='1'/>", 0, kDone, "", 819},
      {"DTDs that cannot be looked up", byDtd, doctype + kDocument, -5,
       "ORV0206E *QRKM001W *QRKA010E *",
       "drop table orvxml.dtd_ref; create table orvxml.dtd_ref (x integer);"},
      {"valid by the schema", bySchema, kDocument, 0, kDone},
      {"invalid by the schema", bySchema, "<p k='one'><c v='x'/></p>", -90,
       "QRKQ047E  Parser error on line 1 column *"},
  };
  for (const Case& c : cases) expectShredOutcome(c);
}

TEST(DecomposeMessages, DadsThatCannotBeUsed) {
  const std::string p = tables("pc", "p.k = c.k") + attributeOf("k", "p", "k");
  const Case cases[] = {
      {"no XML", "<DAD>", kDocument, -85, "QRKQ047E  Parser error on line 1 column *"},
      {"no root_node", "<DAD><Xcollection/></DAD>", kDocument, -61,
       "QRKQ000E  root_node is missing from the DAD file."},
      {"no element_node", "<DAD><Xcollection><root_node/></Xcollection></DAD>", kDocument, -61,
       "QRKQ000E  element_node is missing from the DAD file."},
      {"the top element has no name",
       dad("<element_node>" + tables("p") + attributeOf("k", "p", "k") + "</element_node>"),
       kDocument, -74, "QRKQ014E  An element_node element has no name."},
      {"an element below has no name",
       dad(element("p", p + "<element_node>" + attributeOf("v", "c", "v") + "</element_node>")),
       kDocument, -74, "QRKQ014E  An element_node element has no name."},
      {"an attribute has no name",
       dad(element("p", p + "<attribute_node>" + column("p", "a") + "</attribute_node>")),
       kDocument, -66, "QRKQ006E  An attribute_node element has no name."},
      {"a text of a table that is not mapped where it stands",
       dad(element("p", p + textOf("x", "c", "v") + textOf("y", "c", "w"))),
       "<p k='1'><x>a</x><y>b</y></p>", -57,
       "QRKG001E  An internal error occured in build *, file qrkrdbi, and line *."},
      {"a missing table", dad(element("p", tables("n") + attributeOf("k", "n", "k"))), kDocument,
       -81, "QRKQ021E  Table *N does not have column K."},
      {"another type than the table's",
       dad(element("p", tables("p") + attribute("k", column("p", "k", "integer")))), kDocument, -82,
       "QRKQ022E  Column K of P should have type VARCHAR."},
  };
  for (const Case& c : cases) expectShredOutcome(c);
}

TEST(DecomposeMessages, DocumentsThatDoNotFit) {
  const std::string p = tables("pc", "p.k = c.k") + attributeOf("k", "p", "k");
  const std::string textKey = dad(
      element("r", tables("pc", "p.k = c.k") +
                       element("p", attributeOf("a", "p", "a") + textOf("k", "p", "k") +
                                        element("s", element("c", attributeOf("v", "c", "v"))))));
  const std::string nested = dad(element("p", p + element("e", attributeOf("a", "p", "a"))));
  const std::string longName(65, 'n');
  const Case cases[] = {
      {"no XML", parentAndChild(), "<p>", -85, "QRKQ047E  Parser error on line 1 column *"},
      {"bytes after the end of the text", parentAndChild(), kDocument + std::string("\0<", 2), -54,
       "QRKD000E  An invalid XML document is rejected."},
      {"an attribute key is nowhere", parentAndChild(), "<p><c v='x'/></p>", -125,
       "QRKQ043E  Attribute k not found under element p."},
      {"a text key is nowhere", textKey, "<r><p a='1'><s><c v='x'/></s></p></r>", -125,
       "QRKQ043E  Attribute k not found under element r."},
      {"the element of a text key is empty, another's is not", textKey,
       "<r><p a='0'><k>0</k></p><p a='1'><k><!-- 1 --></k><s><c v='x'/></s></p></r>", -125,
       "QRKQ043E  Attribute k not found under element p."},
      {"an attribute twice below the top element", nested, "<p k='1'><e a='x'/><e a='y'/></p>",
       -127, "QRKQ045E  Subtree under element p contain multiple attributes named a."},
      {"an attribute missing after it was there", nested, "<p k='1'><e a='x'/><e/></p>", -127,
       "QRKQ045E  Subtree under element p contain multiple attributes named a."},
      {"an attribute outside of the top element",
       dad(element("r", tables("c") + element("x", attributeOf("v", "c", "v")) +
                            element("y", text(column("c", "w")) + attributeOf("k", "c", "k")))),
       "<r><x v='1'/><y k='2'>t</y></r>", -126,
       "QRKQ044E  Element y does not have an ancestor element x."},
      {"an element name longer than a mapped one can be",
       dad(element("p", p + element(longName, attributeOf("a", "p", "a")))),
       "<p k='1'><" + longName + " a='x'/></p>", -1, "QRKG001E  An internal error occured *"},
      {"a value longer than its column", parentAndChild(), "<p k='12345'/>", -86,
       "QRKQ026E  XML data k is too large to fit in column K."},
      {"a key longer than its column",
       dad(element("p", p + element("m", element("c", attributeOf("v", "c", "v"))))),
       "<p k='1'><m k='12345'><c v='x'/></m></p>", -86,
       "QRKQ026E  XML data k is too large to fit in column K."},
      {"a row that the table refuses", parentAndChild(), kDocument, -57,
       "QRKG006E  Internal Error SQLSTATE=23505, RC=-1, build *, file qrkrdbi, line * CLIMSG=*",
       "create unique index only_one on p (k); insert into p values ('1', null);"},
  };
  for (const Case& c : cases) expectShredOutcome(c);
}

TEST(DecomposeMessages, NullAndEmptyParameters) {
  DecomposeDatabase db;
  db.runScript(kParentAndChild);
  db.addCollection("c", parentAndChild());
  const char invalidNull[] = "QRKG004E  Invalid null parameter.";
  struct Inputs {
    Text first, document;
  };
  for (const auto& [procedure, first] :
       {std::pair("qrkShredXML", parentAndChild()), std::pair("qrkInsertXML", std::string("c"))}) {
    SCOPED_TRACE(procedure);
    const Inputs inputs[] = {{std::nullopt, kDocument}, {first, std::nullopt}, {first, ""}};
    for (const Inputs& in : inputs) {
      expectOutcome(db.call(procedure, in.first, in.document), -60, invalidNull);
      expectOutcome(callListForm(procedure, in.first, in.document), -60, invalidNull);
    }
  }
}

TEST(DecomposeMessages, Collections) {
  const std::string missing = dad(element("p", tables("n") + attributeOf("k", "n", "k")));
  DecomposeDatabase db;
  db.runScript(kParentAndChild);
  db.addCollection("good", parentAndChild());
  db.addCollection("empty", std::nullopt);
  db.addCollection("missing", missing);
  struct {
    std::string name;
    int code;
    const char* message;
  } cases[] = {
      {"good", 0, kDone},
      {"unknown", -88, "QRKQ028E  Cannot find the collection unknown in the XML_USAGE table."},
      {std::string(128, 'x'), -88, "QRKQ028E  Cannot find the collection xxx*"},
      {"empty", -89, "QRKQ029E  Cannot find the DAD in XML_USAGE table for the collection empty."},
      {"missing", -57, "QRKG006E  Internal Error SQLSTATE=42704, RC=-1, *"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    expectOutcome(db.call("qrkInsertXML", c.name, kDocument), c.code, c.message);
    expectOutcome(callListForm("qrkInsertXML", c.name, kDocument), c.code, c.message);
  }
  expectOutcome(callListForm("qrkInsertXML", std::string(300, 'x'), kDocument), -88,
                "QRKQ028E  Cannot find the collection xxx*");
  db.run("drop table orvxml.xml_usage");
  expectOutcome(callListForm("qrkInsertXML", "good", kDocument), -132,
                "ORV*QRKM001W  A ORV error occurred.*QRKQ052E  *");
  DecomposeDatabase unbound(1208, false);
  expectOutcome(callListForm("qrkInsertXML", "good", kDocument), -104,
                "ORV*QRKM001W  A ORV error occurred.*QRKA073E  The database is not bound. *");
}

TEST(DecomposeMessages, ShortMessageParameterGetsTheCutMessage) {
  DecomposeDatabase db;
  db.runScript(kParentAndChild);
  db.run(
      "create procedure orvxml.shred20(in dadBuf clob(100K), in XMLObj clob(1M),"
      " out returnCode integer, out returnMsg varchar(20))"
      " external name 'orvxml!qrkShredXML' language C parameter style ORVDARI"
      " not deterministic fenced null call");
  EXPECT_EQ(db.call("shred20", parentAndChild(), kDocument),
            (CallOutcome{0, "QRKQ025I  XML decomp"}));
}

}  // namespace
}  // namespace orvxml::test
