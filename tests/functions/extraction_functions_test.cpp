// The extraction functions through SQL: every name over every document type, and what happens when
// there is no value, more than one, or one that is too long.
#include "tests/functions/function_database.h"

namespace orvxml::test {
namespace {

constexpr char kTooLong[] =
    "38X39 QRKC013E  The results of the extract UDF exceed the size limit for th";

// The three document types' expressions, and the double-byte one.
const std::vector<std::string> kDocuments = {"f", "c", "v"};
constexpr char kDoubleByte[] = "orvxml.XMLDBCLOB(dbclob(orvxml.varchar(v)))";

class ExtractionFunctionsTest : public testing::Test {
 protected:
  FunctionDatabase db_;
};

TEST_F(ExtractionFunctionsTest, EveryTypeOverEveryDocument) {
  struct Case {
    const char* type;
    const char* path;
    std::string one;
    std::vector<std::string> all;  // of the path with two values
    bool overDoubleByte;
  };
  const std::string padding(251, ' ');
  const Case cases[] = {
      {"Varchar", "/a/t", "x\xC3\xA4", {"x\xC3\xA4", "y"}, true},
      {"Char", "/a/@c", "one", {"one" + padding, "two" + padding}, false},
      {"Clob", "/a/t", "<t>x\xC3\xA4</t>", {"<t>x\xC3\xA4</t>", "<t>y</t>"}, false},
      {"Integer", "/a/i", "5", {"5", "-6"}, true},
      {"Smallint", "/a/i", "5", {"5", "-6"}, false},
      {"Double", "/a/i", "5.0E0", {"5.0E0", "-6.0E0"}, true},
      {"Real", "/a/i", "5.0E0", {"5.0E0", "-6.0E0"}, false},
      {"Date", "/a/d", "2026-11-24", {"2026-11-24", "2027-01-01"}, true},
      {"Time", "/a/d", "20.16.07", {"20.16.07", "00.00.00"}, true},
      {"Timestamp",
       "/a/d",
       "2026-11-24-20.16.07.500000",
       {"2026-11-24-20.16.07.500000", "2027-01-01-00.00.00.000000"},
       true},
  };
  for (const bool several : {false, true}) {
    const std::string more = several ? "<t>y</t><i>-6</i><d>2027-01-01T00:00:00Z</d>" : "";
    db_.store("<r><a c='one'><t>x\xC3\xA4</t><i> 5 </i><d>2026-11-24T20:16:07.5</d>" + more +
              "</a>" + (several ? "<a c='two'/>" : "") + "</r>");
    for (const Case& c : cases) {
      std::vector<std::string> documents = kDocuments;
      if (c.overDoubleByte) documents.push_back(kDoubleByte);
      for (const std::string& document : documents) {
        SCOPED_TRACE(std::string(c.type) + " over " + document);
        const std::string arguments = "(" + document + ", '/r" + c.path + "')";
        const std::string name = std::string("orvxml.extract") + c.type;
        if (several) {
          EXPECT_EQ(db_.values(name + "s" + arguments), c.all);
        } else {
          EXPECT_EQ(db_.value("rtrim(char(" + name + arguments + "))"), c.one);
        }
      }
    }
  }
}

TEST_F(ExtractionFunctionsTest, FragmentsOfDoubleByteDocuments) {
  db_.store("<r><t>x\xC3\xA4</t><t/></r>");
  const std::string document = std::string("(") + kDoubleByte;
  EXPECT_EQ(db_.value("varchar(orvxml.extractDBClob" + document + ", '/r'))"),
            "<r><t>x\xC3\xA4</t><t></t></r>");
  EXPECT_EQ(db_.values("orvxml.extractDBClobs" + document + ", '/r/t')"),
            (std::vector<std::string>{"<t>x\xC3\xA4</t>", "<t></t>"}));
}

TEST_F(ExtractionFunctionsTest, WithoutAValueTheResultIsNull) {
  db_.store("<r><t/><t2>  </t2></r>");
  struct Case {
    const char* call;
    int sqlcode;  // 462: the statement's warning
  };
  const Case cases[] = {
      {"extractVarchar(v, '/r/none')", 462},
      {"extractClob(c, '//none')", 462},
      {"extractInteger(f, '/r/t/@none')", 462},
      {"extractDate(v, '/other')", 462},
      {"extractVarchar(v, '/r/t')", 0},
      {"extractChar(c, '/r/t')", 0},
      {"extractTimestamp(f, '/r/t')", 0},
      {"extractInteger(cast(null as orvxml.XMLVarchar), '/r/t')", 0},
      {"extractVarchar(cast(null as orvxml.XMLCLOB), '/r/t')", 0},
      {"extractVarchar(v, cast(null as varchar(256)))", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.call);
    EXPECT_EQ(db_.value(std::string("orvxml.") + c.call, c.sqlcode), "NULL");
  }
  const std::vector<std::string> none;
  EXPECT_EQ(db_.values("orvxml.extractVarchars(v, '/r/none')"), none);
  EXPECT_EQ(db_.values("orvxml.extractIntegers(f, cast(null as varchar(256)))"), none);
  EXPECT_EQ(db_.values("orvxml.extractClobs(cast(null as orvxml.XMLCLOB), '/r')"), none);
  EXPECT_EQ(db_.values("orvxml.extractVarchars(v, '/r/t')"), std::vector<std::string>{""});
}

TEST_F(ExtractionFunctionsTest, Failures) {
  db_.store("<r><t>1</t><t>2</t></r>");
  db_.run("update documents set f = orvxml.XMLFile('" + db_.folder().path("none.xml") + "')");
  struct Case {
    const char* call;
    const char* failure;
  };
  const Case cases[] = {
      {"extractVarchar(v, '/r/t')", "38X08 QRKD001E  /r/t occurs multiple times."},
      {"extractInteger(c, '//t')", "38X08 QRKD001E  //t occurs multiple times."},
      {"extractVarchar(v, 'r')",
       "38X09 QRKD002E  A syntax error occurred near position 1 in the search path."},
      {"extractDate(c, '/r/1')",
       "38X09 QRKD002E  A syntax error occurred near position 3 in the search path."},
      {"extractVarchar(f, '/r')", "38X01 QRKC001E  The specified file is not found."},
      {"extractClob(orvxml.XMLFile('/dev/null'), '/r')",
       "38X00 QRKC000E  Unable to open the specified file."},
      {"extractClob(orvxml.XMLFile(''), '/r')", "38X01 QRKC001E  The specified file is not found."},
      {"extractVarchar(orvxml.XMLVarchar(''), '/r')",
       "38X13 QRKQ047E  Parser error on line 1 column 1: invalid document structure"},
      {"extractReal(orvxml.XMLCLOB('<r>'), '/r')",
       "38X13 QRKQ047E  Parser error on line 1 column 4"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.call);
    const std::string failure = db_.failure(std::string("orvxml.") + c.call);
    EXPECT_EQ(failure.substr(0, std::string(c.failure).size()),
              std::string(c.failure).substr(0, 75));
  }
  for (const char* call : {"extractVarchars(v, 'r')", "extractIntegers(f, '/r')"}) {
    const std::string query =
        std::string("select * from documents, table(orvxml.") + call + ") as x";
    db_.run(query, -443);
  }
}

TEST_F(ExtractionFunctionsTest, ATableThatMeetsAWrongValueFails) {
  db_.store("<r><t>1</t><t>2</t><t>x</t><t>4</t></r>");
  const orv::Result result =
      db_.run("select x.* from documents, table(orvxml.extractSmallints(c, '//t')) as x", -443);
  EXPECT_EQ(result.outcome.sqlstate, "38X29");
  EXPECT_EQ(db_.values("orvxml.extractVarchars(c, '//t')").size(), 4u);
}

TEST_F(ExtractionFunctionsTest, ValuesAtTheLimits) {
  struct Case {
    const char* function;
    size_t longest;  // characters of two bytes, and one byte more
  };
  const Case cases[] = {{"extractVarchar", 2000}, {"extractChar", 127}};
  const auto characters = [](size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text += "\xC3\xA4";
    return text;
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.function);
    const std::string call = std::string("orvxml.") + c.function + "(c, '/r')";
    const auto store = [&](const std::string& text) {
      db_.run("update documents set c = orvxml.XMLCLOB(" + literal("<r>" + text + "</r>") + ")");
    };
    store(characters(c.longest));
    EXPECT_EQ(db_.value(call), characters(c.longest));
    store(characters(c.longest) + "x");
    EXPECT_EQ(db_.failure(call), kTooLong);
    EXPECT_EQ(db_.value("length(clob(orvxml.extractClob(c, '/r')))"),
              std::to_string(2 * c.longest + 8));
  }
  // A CLOB in a temporary file, and a fragment of its size.
  const std::string large(300000, 'x');
  const std::string document = "<r><t>" + large + "</t></r>";
  db_.run("update documents set c = orvxml.XMLCLOBFromFile('" +
          db_.folder().write("large.xml", document) + "')");
  EXPECT_EQ(db_.value("orvxml.extractClob(c, '/r')"), document);
  EXPECT_EQ(db_.values("orvxml.extractClobs(c, '/r/t')"),
            std::vector<std::string>{"<t>" + large + "</t>"});
}

TEST_F(ExtractionFunctionsTest, AFileIsReadAsItDeclaresAndAColumnAsTheDatabaseHolds) {
  db_.store("<?xml version='1.0' encoding='iso-8859-1'?><r>\xC3\xA4</r>",
            "<?xml version='1.0' encoding='iso-8859-1'?><r>\xE4</r>");
  for (const std::string& document : kDocuments) {
    EXPECT_EQ(db_.value("orvxml.extractVarchar(" + document + ", '/r')"), "\xC3\xA4") << document;
  }
}

TEST_F(ExtractionFunctionsTest, OneUseServesManyRowsAndDocuments) {
  db_.run("create table many (no integer, doc orvxml.XMLVarchar)");
  std::string values;
  for (int i = 1; i <= 300; ++i) {
    const std::string no = std::to_string(i);
    values += (i > 1 ? ", (" : "(") + no + ", orvxml.XMLVarchar('<r><n>" + no + "</n><n>" + no +
              "</n><m>" + no + "</m></r>'))";
  }
  db_.run("insert into many values " + values);
  EXPECT_EQ(db_.rows("select sum(orvxml.extractInteger(doc, '/r/m')) from many"), Rows{{"45150"}});
  EXPECT_EQ(db_.rows("select count(*), sum(x.returnedInteger) from many,"
                     " table(orvxml.extractIntegers(doc, '/r/n')) as x"),
            (Rows{{"600", "90300"}}));
  EXPECT_EQ(db_.rows("select x.returnedVarchar, orvxml.seqno() from many,"
                     " table(orvxml.extractVarchars(doc, '/r/n')) as x where no between 2 and 3"),
            (Rows{{"2", "1"}, {"2", "2"}, {"3", "3"}, {"3", "4"}}));
}

TEST(SingleByteDatabaseTest, ValuesAreInTheDatabaseCodePage) {
  FunctionDatabase db(819);
  db.store("<r>\xC3\xA4</r>");
  EXPECT_EQ(db.value("length(orvxml.extractVarchar(v, '/r'))"), "1");
  for (const std::string& document : kDocuments) {
    EXPECT_EQ(db.value("orvxml.extractVarchar(" + document + ", '/r')"), "\xC3\xA4") << document;
  }
  // A character that the database cannot hold.
  db.store("<r>x</r>", "<r>\xE2\x82\xAC</r>");
  EXPECT_EQ(db.failure("orvxml.extractVarchar(f, '/r')"), kTooLong);
}

}  // namespace
}  // namespace orvxml::test
