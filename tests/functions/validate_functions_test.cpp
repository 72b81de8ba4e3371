// validate and validateschema through SQL, as the triggers of an enabled column call them.
#include "tests/functions/function_database.h"

namespace orvxml::test {
namespace {

constexpr char kDtd[] =
    "<!ELEMENT a (b*)>\n<!ELEMENT b (#PCDATA)>\n<!ATTLIST a k CDATA #IMPLIED>\n";
constexpr char kSchema[] =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='a'><xs:complexType>"
    "<xs:sequence><xs:element name='b' type='xs:int' maxOccurs='9'/></xs:sequence>"
    "</xs:complexType></xs:element></xs:schema>";

class ValidateFunctionsTest : public testing::Test {
 protected:
  std::string written(const std::string& name, const std::string& content) {
    return literal(db_.folder().write(name, content));
  }
  // Each document type's answer.
  void expectAnswers(const std::string& name, const std::string& arguments,
                     const std::string& expected) {
    for (const char* document : {"v", "c", "f"}) {
      SCOPED_TRACE(document);
      EXPECT_EQ(db_.value("orvxml." + name + "(" + document + ", " + arguments + ")"), expected);
    }
  }

  FunctionDatabase db_;
};

TEST_F(ValidateFunctionsTest, DtdAndSchema) {
  const std::string dtd = written("a.dtd", kDtd) + ", 'a.dtd'", schema = written("a.xsd", kSchema);
  struct Case {
    const char *function, *document, *valid;
  };
  const Case cases[] = {
      {"validate", "<!DOCTYPE a SYSTEM 'none.dtd'><a k='1'><b>x</b></a>", "1"},
      {"validate", "<!DOCTYPE a SYSTEM 'none.dtd'><a><c/></a>", "0"},
      {"validate", "", "0"},
      {"validateschema", "<a><b>1</b><b>2</b></a>", "1"},
      {"validateschema", "<a><b>x</b></a>", "0"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.document);
    db_.store(c.document);
    expectAnswers(c.function, std::string(c.function) == "validate" ? dtd : schema, c.valid);
  }
}

// A DTD file is in the application's encoding, as Content writes it, or in the one that it
// declares.
TEST_F(ValidateFunctionsTest, EncodingsOfADtd) {
  db_.store("<!DOCTYPE \xC3\xA4 SYSTEM 'x'><\xC3\xA4/>");
  const std::string declared = "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>";
  for (const std::string& dtd :
       {std::string("<!ELEMENT \xC3\xA4 EMPTY>"), declared + "<!ELEMENT \xE4 EMPTY>",
        declared + "<!ELEMENT \xC3\xA4 EMPTY>"}) {
    SCOPED_TRACE(dtd);
    expectAnswers("validate", written("x.dtd", dtd) + ", 'x'", "1");
  }
  // Content writes what a database in another code page holds.
  FunctionDatabase latin(819);
  latin.store("<!DOCTYPE \xC3\xA4 SYSTEM 'x'><\xC3\xA4/>");
  const std::string copy = latin.folder().path("copy.dtd");
  EXPECT_EQ(latin.value("orvxml.validate(v, orvxml.Content(orvxml.XMLCLOB('" + declared +
                        "<!ELEMENT \xC3\xA4 EMPTY>'), '" + copy + "'), 'x')"),
            "1");
}

// The DTD comes from a column by way of a file, for every row anew.
TEST_F(ValidateFunctionsTest, AgainstAStoredDtd) {
  db_.run("create table dtds (id varchar(128), content orvxml.XMLCLOB)");
  db_.run("insert into dtds values ('a.dtd', orvxml.XMLCLOBFromFile(" + written("a.dtd", kDtd) +
          ")), ('b.dtd', orvxml.XMLCLOB('<!ELEMENT b EMPTY>'))");
  db_.store("<!DOCTYPE a SYSTEM \"a.dtd\"><a><b>1</b></a>");
  const std::string copy = db_.folder().path("copy.dtd");
  EXPECT_EQ(db_.rows("select id, orvxml.validate(v, orvxml.Content(content, '" + copy +
                     "'), 'a.dtd') from documents, dtds order by id"),
            (Rows{{"a.dtd", "1"}, {"b.dtd", "0"}}));
  EXPECT_EQ(db_.rows("select count(*) from documents where 0 = (select orvxml.validate(v,"
                     " orvxml.Content(content, '" +
                     copy + "'), id) from dtds where id = 'a.dtd')"),
            Rows{{"0"}});
  EXPECT_EQ(readFile(copy), kDtd);
}

TEST_F(ValidateFunctionsTest, WithoutAnAnswer) {
  db_.store("<!DOCTYPE a SYSTEM 'x'><a/>");
  const std::string dtd = written("a.dtd", kDtd);
  struct Case {
    std::string call;
    const char* failure;
  };
  const Case cases[] = {
      {"validate(v, '/none.dtd', 'a')", "38X01 QRKC001E  The specified file is not found."},
      {"validate(c, '/dev/null', 'a')", "38X00 QRKC000E  Unable to open the specified file."},
      {"validate(orvxml.XMLFile('/none'), " + dtd + ", 'a')",
       "38X01 QRKC001E  The specified file is not found."},
      {"validate(v, " + written("cut.dtd", "<!ELEMENT a ((b)>") + ", 'a')",
       "38X13 QRKQ047E  Parser error on line 1 column 17: expected ',', '|', or ')"},
      {"validateschema(v, " + written("cut.xsd", "<xs:schema") + ")",
       "38X13 QRKQ047E  Parser error"},
      {"validateschema(v, '/none.xsd')", "38X01 QRKC001E  The specified file is not found."},
      {"validateschema(orvxml.XMLFile('/none'), '/none.xsd')",
       "38X01 QRKC001E  The specified file is not found."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.call);
    EXPECT_EQ(db_.failure("orvxml." + c.call).find(c.failure), 0U);
  }
  EXPECT_EQ(db_.value("orvxml.validate(cast(null as orvxml.XMLCLOB), " + dtd + ", 'a')"), "NULL");
  EXPECT_EQ(db_.value("orvxml.validateschema(v, cast(null as varchar(10)))"), "NULL");
}

}  // namespace
}  // namespace orvxml::test
