// Registered functions: their definitions, which of them a call means, and where they may stand.
#include <gtest/gtest.h>

#include <string>

#include "server/sql/parser.h"
#include "server/sql/resolver.h"
#include "server/sql/sql_error.h"
#include "tests/server/fake_catalog.h"
#include "tests/server/tree_text.h"

namespace orv {
namespace {

struct TextCase {
  const char* text;
  const char* expected;
};

std::string joined(const std::vector<std::string>& parts) {
  std::string all;
  for (const std::string& part : parts) all += (all.empty() ? "" : "|") + part;
  return all;
}

class FunctionResolutionTest : public testing::Test {
 protected:
  FunctionResolutionTest() {
    catalog_.addType("ORVXML", "XMLVARCHAR", makeType(TypeKind::Varchar, 3000));
    catalog_.addType("ORVXML", "XMLCLOB", makeType(TypeKind::Clob, kMaxLob));
    catalog_.addType("ORVXML", "XMLFILE", makeType(TypeKind::Varchar, 512));
    catalog_.addType("ORVXML", "XMLDBCLOB", makeType(TypeKind::DbClob, 10240));
    catalog_.addTable("USER1", "T",
                      "S SMALLINT, I INTEGER, B BIGINT, P DECIMAL(7,2), R REAL, D DOUBLE,"
                      "C CHAR(5), V VARCHAR(10), L LONG VARCHAR, G CLOB(1M), E DATE");
    catalog_.addTable("USER1", "DOCS",
                      "ID INTEGER, DOC ORVXML.XMLVARCHAR, BIG ORVXML.XMLCLOB, F ORVXML.XMLFILE,"
                      "TEXT VARCHAR(100)");
  }

  std::unique_ptr<Statement> resolved(const std::string& text) {
    auto statement = parseStatement(text);
    resolve(*statement, catalog_);
    return statement;
  }

  // "CODE TOKEN|TOKEN" when the statement is refused, else what `show` makes of it.
  template <typename Show>
  std::string outcome(const std::string& text, Show show) {
    try {
      return show(*resolved(text));
    } catch (const SqlError& error) {
      return std::to_string(error.sqlcode()) + " " + joined(error.tokens());
    }
  }

  // The first result column: the specific name that it calls, and its type.
  std::string called(const std::string& value) {
    return outcome("SELECT " + value + " FROM t, docs", [](const Statement& s) {
      const Expr& expr = *s.query->items[0].expr;
      std::string text = expr.routine ? expr.routine->specific : treeText(expr);
      text += ": " + typeText(expr.type);
      for (const MarkerInfo& marker : s.markers) text += " ?" + typeText(marker.type);
      return text;
    });
  }

  std::string queryText(const std::string& text) {
    return outcome(text, [](const Statement& s) { return treeText(*s.query); });
  }

  void external(const std::string& head, const std::string& options = "") {
    catalog_.addFunction("CREATE FUNCTION " + head + " EXTERNAL NAME 'l!e' " + options);
  }

  FakeCatalog catalog_;
};

// ---------------------------------------------------------------- the functions on documents

struct DocumentType {
  const char *name, *argument, *suffix;
};
constexpr DocumentType kDocumentTypes[] = {{"XMLFile", "XMLFile", ""},
                                           {"XMLCLOB", "XMLCLOB as LOCATOR", "FromClob"},
                                           {"XMLVarchar", "XMLVarchar", "FromVarchar"}};

struct Extracted {
  const char *word, *type;
};
constexpr Extracted kExtracted[] = {{"Varchar", "varchar(4000)"},
                                    {"Char", "char(254)"},
                                    {"Clob", "clob(2G) as locator"},
                                    {"Date", "date"},
                                    {"Double", "double"},
                                    {"Real", "real"},
                                    {"Integer", "integer"},
                                    {"Smallint", "smallint"},
                                    {"Time", "time"},
                                    {"Timestamp", "timestamp"}};

constexpr const char* kStored =
    " language C parameter style ORVSQL scratchpad final call not variant not fenced no sql no "
    "external action allow parallel DBINFO";

// The statements that enable a database register them so, and those that disable it drop them.
TEST_F(FunctionResolutionTest, FunctionsOnDocumentsAreRegisteredCalledAndDropped) {
  const auto create = [&](const std::string& text) {
    SCOPED_TRACE(text);
    try {
      catalog_.addFunction("create function orvxml." + text);
    } catch (const SqlError& error) {
      ADD_FAILURE() << error.what();
    }
  };
  for (const Extracted& e : kExtracted) {
    for (const DocumentType& d : kDocumentTypes) {
      const std::string word(e.word);
      create("extract" + word + "( " + d.argument + ", varchar(256)) returns " + e.type +
             " external name 'orvxmlfn!qrkExtract" + word + d.suffix + "'" + kStored);
      create("extract" + word + "s(" + d.argument + ", varchar(256)) returns table(returned" +
             word + " " + e.type + ") external name 'orvxmlfn!qrkExtract" + word + "s" + d.suffix +
             "' language C parameter style ORVSQL not variant disallow parallel not fenced no SQL "
             "no external action scratchpad final call DBINFO");
    }
  }
  const char* const kOthers[] = {
      "XMLVarcharFromFile(varchar(512)) returns XMLVarchar cast from varchar(32672) specific "
      "qrkVarChar external name 'orvxmlfn!qrkVarChar'",
      "XMLCLOBFromFile(varchar(512), varchar(100)) returns XMLCLOB AS LOCATOR specific "
      "qrkXMLCLOBFile2 external name 'orvxmlfn!qrkXMLCLOBFromFile2'",
      "XMLFileFromCLOB(CLOB(2G) as LOCATOR, varchar(512)) returns XMLFile specific qrkFile "
      "external name 'orvxmlfn!qrkFile'",
      "Content(XMLVarchar, varchar(512)) returns varchar(512) specific orvxmlcontentvf external "
      "name 'orvxmlfn!qrkContent_varchar2file'",
      "Content(XMLFile) returns XMLCLOB AS LOCATOR specific orvxmlcontentfc external name "
      "'orvxmlfn!qrkCLOB'",
      "update(XMLVarchar, varchar(256), varchar(256)) returns orvxml.XMLVarchar cast from "
      "varchar(32672) specific UpdateXMLVarchar external name 'orvxmlfn!qrkUpdateXMLVarchar'",
      "validate(XMLCLOB as LOCATOR, varchar(512), varchar(128)) returns integer specific "
      "ValidateClob external name 'orvxmlfn!qrkValidateClob'",
      "extractDBClobs(XMLDBCLOB as LOCATOR, varchar(256)) returns table(returnedClob dbclob(10k)) "
      "external name 'orvxmlfn!qrkExtractClobsFromDBClob'"};
  for (const char* other : kOthers) create(std::string(other) + kStored);
  create(
      "VARCHARTOVARCHAR( orvxml.XMLVARCHAR) returns varchar(32672) Source "
      "orvxml.varchar(orvxml.XMLVARCHAR)");
  create(
      "seqno() returns integer external name 'orvxmlfn!qrkSeqno' specific seqno not deterministic "
      "no external action language C not fenced parameter style ORVSQL no SQL scratchpad allow "
      "parallel DBINFO");

  const TextCase kCalls[] = {
      {"orvxml.extractVarchar(doc, '/a')", "EXTRACTVARCHAR2: VARCHAR(4000)"},
      {"extractClob(big, ?)", "EXTRACTCLOB1: CLOB(2147483647) ?VARCHAR(256)"},
      {"extractdate(f, v || c)", "EXTRACTDATE: DATE"},
      {"extractDate(text, '/a')", "-440 EXTRACTDATE"},
      {"extractDates(doc, '/a')", "-440 EXTRACTDATES"},
      {"extractInteger(orvxml.XMLVarcharFromFile('x'), '/a')", "EXTRACTINTEGER2: INTEGER"},
      {"orvxml.update(doc, '/a', 'b')", "UPDATEXMLVARCHAR: ORVXML.XMLVARCHAR"},
      {"update(doc, '/a', 1)", "-440 UPDATE"},
      {"Content(f)", "ORVXMLCONTENTFC: ORVXML.XMLCLOB"},
      {"XMLFileFromCLOB(text, 'x')", "QRKFILE: ORVXML.XMLFILE"},
      {"XMLFileFromCLOB(big, 'x')", "-440 XMLFILEFROMCLOB"},
      {"XMLFileFromCLOB(orvxml.CLOB(big), 'x')", "QRKFILE: ORVXML.XMLFILE"},
      {"seqno()", "SEQNO: INTEGER"},
      {"VARCHARTOVARCHAR(doc)",
       "CAST(CAST(T2.DOC AS VARCHAR(3000)) AS VARCHAR(32672)): VARCHAR(32672)"},
      {"orvxml.varchar(doc)", "CAST(T2.DOC AS VARCHAR(3000)): VARCHAR(3000)"},
      {"orvxml.extractVarchar(?, '/a')", "-418 "},
  };
  for (const TextCase& c : kCalls) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(called(c.text), c.expected);
  }

  const auto dropped = [](const Statement& s) { return s.droppedFunction->specific; };
  const TextCase kDrops[] = {
      {"drop specific function orvxml.ValidateClob", "VALIDATECLOB"},
      {"drop function orvxml.extractVarchar(orvxml.XMLFile, varchar(256))", "EXTRACTVARCHAR"},
      {"drop function orvxml.extractVarchar(orvxml.XMLCLOB as LOCATOR, varchar(1))",
       "EXTRACTVARCHAR1"},
      {"drop function orvxml.extractReals(orvxml.XMLVarchar, varchar(256))", "EXTRACTREALS2"},
      {"drop function orvxml.seqno", "SEQNO"},
      {"drop function orvxml.seqno()", "SEQNO"},
      {"drop function orvxml.VARCHARTOVARCHAR(orvxml.XMLVARCHAR)", "VARCHARTOVARCHAR"},
      {"drop function orvxml.extractVarchar", "-476 ORVXML.EXTRACTVARCHAR"},
      {"drop function orvxml.seqno(integer)", "-458 ORVXML.SEQNO|INTEGER"},
      {"drop function orvxml.extractVarchar(orvxml.XMLFile, integer)",
       "-458 ORVXML.EXTRACTVARCHAR|ORVXML.XMLFILE,INTEGER"},
      {"drop function seqno", "-204 USER1.SEQNO"},
      {"drop function orvxml.nix(integer)", "-204 ORVXML.NIX"},
      {"drop specific function orvxml.nix", "-204 ORVXML.NIX"},
      {"drop specific procedure orvxml.seqno", "-204 ORVXML.SEQNO"},
  };
  for (const TextCase& c : kDrops) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(outcome(c.text, dropped), c.expected);
  }
}

// ---------------------------------------------------------------- definitions

TEST_F(FunctionResolutionTest, DefinitionsThatCannotBeAreRefused) {
  external("f(INTEGER, VARCHAR(10)) RETURNS INTEGER", "SPECIFIC f1");
  external("f(INTEGER) RETURNS TABLE(a INTEGER)");
  external("g(INTEGER) RETURNS INTEGER");
  external("g(VARCHAR(5)) RETURNS INTEGER");
  catalog_.addProcedure("CREATE PROCEDURE USER1.P(IN A INTEGER) SPECIFIC P1 EXTERNAL NAME 'l!e'");
  std::string many = "INTEGER";
  for (int i = 1; i < 91; ++i) many += ", INTEGER";
  struct Case {
    std::string head;
    const char* expected;
  };
  const Case kExternal[] = {
      {"f(x INTEGER, y VARCHAR(99)) RETURNS DATE", "-454 USER1.F"},
      {"f(INTEGER) RETURNS INTEGER", "-454 USER1.F"},
      {"f(INTEGER, CHAR(10)) RETURNS INTEGER", "F2"},
      {"h() RETURNS INTEGER SPECIFIC f1", "-601 USER1.F1|FUNCTION"},
      {"h() RETURNS INTEGER SPECIFIC p1", "-601 USER1.P1|PROCEDURE"},
      {"p() RETURNS INTEGER", "P"},
      {"h() RETURNS INTEGER SPECIFIC orvxml.h", "-455 ORVXML|USER1"},
      {"sysx.h() RETURNS INTEGER", "-553 SYSX.H"},
      {"h(nix) RETURNS INTEGER", "-204 USER1.NIX"},
      {"h(INTEGER AS LOCATOR) RETURNS INTEGER", "-398 INTEGER"},
      {"h() RETURNS XMLFILE AS LOCATOR", "-398 ORVXML.XMLFILE"},
      {"h() RETURNS TABLE(a VARCHAR(3) AS LOCATOR)", "-398 VARCHAR(3)"},
      {"h() RETURNS TABLE(a DATE, a TIME)", "-612 A"},
      {"h(LONG VARCHAR) RETURNS INTEGER", "-451 USER1.H|LONG VARCHAR"},
      {"h() RETURNS DATE CAST FROM INTEGER", "-453 USER1.H|DATE"},
      {"h() RETURNS VARCHAR(9) CAST FROM XMLFILE", "-453 USER1.H|VARCHAR(9)"},
      {"h(" + many + ") RETURNS INTEGER", "-101 "},
      {"orvxml.XMLFile(VARCHAR(20)) RETURNS INTEGER", "-454 ORVXML.XMLFILE"},
      {"orvxml.varchar(XMLFile) RETURNS VARCHAR(20)", "-454 ORVXML.VARCHAR"},
      {"orvxml.length(XMLFile) RETURNS INTEGER", "LENGTH"},
  };
  const auto specific = [](const Statement& s) { return s.function.specific; };
  for (const Case& c : kExternal) {
    SCOPED_TRACE(c.head);
    EXPECT_EQ(outcome("CREATE FUNCTION " + c.head + " EXTERNAL NAME 'l!e'", specific), c.expected);
  }
  const TextCase kOthers[] = {
      {"h() RETURNS INTEGER EXTERNAL NAME 'l'", "-449 USER1.H"},
      {"h(INTEGER) RETURNS INTEGER SOURCE user1.nix", "-440 USER1.NIX"},
      {"h(INTEGER) RETURNS INTEGER SOURCE user1.g", "-476 USER1.G"},
      {"h(INTEGER) RETURNS INTEGER SOURCE user1.g(SMALLINT)", "-440 USER1.G"},
      {"h(INTEGER) RETURNS INTEGER SOURCE user1.f(INTEGER)", "-440 USER1.F"},
      {"h(INTEGER) RETURNS INTEGER SOURCE SPECIFIC user1.nix", "-204 USER1.NIX"},
      {"h() RETURNS INTEGER SOURCE user1.g(INTEGER)", "-483 USER1.H"},
      {"h(DATE) RETURNS INTEGER SOURCE user1.g(INTEGER)", "-492 USER1.H|1"},
      {"h(INTEGER) RETURNS DATE SOURCE user1.g(INTEGER)", "-453 USER1.H|DATE"},
      {"h(INTEGER) RETURNS INTEGER SOURCE SUM(INTEGER)", "-440 SUM"},
      {"h(INTEGER) RETURNS INTEGER SOURCE SPECIFIC user1.g", "H"},
      {"h(INTEGER) RETURNS INTEGER SOURCE ABS", "H"},
  };
  for (const TextCase& c : kOthers) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(outcome("CREATE FUNCTION " + std::string(c.text), specific), c.expected);
  }
  catalog_.page = 819;
  EXPECT_EQ(outcome("CREATE FUNCTION h(GRAPHIC(2)) RETURNS INTEGER EXTERNAL NAME 'l!e'", specific),
            "-1216 819");
  EXPECT_EQ(outcome("CREATE TABLE n(a INTEGER DEFAULT user1.g(1))", specific), "-574 A");
  EXPECT_EQ(outcome("CREATE TABLE n(a INTEGER, CONSTRAINT k CHECK (user1.g(a) > 1))", specific),
            "-546 K");
}

// ---------------------------------------------------------------- calls

TEST_F(FunctionResolutionTest, TheNearestParametersDecide) {
  for (const char* type : {"INTEGER", "DECIMAL(5,1)", "DOUBLE"}) {
    external("orvxml.num(" + std::string(type) + ") RETURNS INTEGER",
             "SPECIFIC num_" + std::string(type).substr(0, 3));
  }
  external("orvxml.txt(VARCHAR(5)) RETURNS INTEGER", "SPECIFIC txt_v");
  external("orvxml.txt(CLOB(9)) RETURNS INTEGER", "SPECIFIC txt_c");
  external("orvxml.two(INTEGER, DOUBLE) RETURNS INTEGER", "SPECIFIC two_id");
  external("orvxml.two(DOUBLE, INTEGER) RETURNS INTEGER", "SPECIFIC two_di");
  external("orvxml.day(DATE) RETURNS INTEGER", "SPECIFIC day_user");
  external("orvxml.length(XMLCLOB) RETURNS BIGINT", "SPECIFIC length_doc");
  external("orvxml.upper(VARCHAR(9)) RETURNS VARCHAR(9)", "SPECIFIC upper_user");
  external("orvxml.lower(CLOB(9)) RETURNS CLOB(9)", "SPECIFIC lower_user");
  external("orvxml.sum(INTEGER) RETURNS INTEGER");
  external("orvxml.sum(INTEGER, INTEGER) RETURNS INTEGER", "SPECIFIC sum2");
  external("other.num(INTEGER) RETURNS INTEGER", "SPECIFIC num_other");
  external("other.num(SMALLINT) RETURNS INTEGER", "SPECIFIC num_small");
  const TextCase kCases[] = {
      {"num(s)", "NUM_INT: INTEGER"},
      {"num(i)", "NUM_INT: INTEGER"},
      {"num(b)", "NUM_DEC: INTEGER"},
      {"num(r)", "NUM_DOU: INTEGER"},
      {"num(1.5)", "NUM_DEC: INTEGER"},
      {"num(v)", "-440 NUM"},
      {"num(1, 2)", "-440 NUM"},
      {"num(?)", "-418 "},
      {"num(NULL)", "-418 "},
      {"num(DISTINCT i)", "-440 NUM"},
      {"other.num(i)", "NUM_OTHER: INTEGER"},
      {"orvxml.num(s)", "NUM_INT: INTEGER"},
      {"txt(c)", "TXT_V: INTEGER"},
      {"txt('a')", "TXT_V: INTEGER"},
      {"txt(l)", "TXT_C: INTEGER"},
      {"txt(e)", "-440 TXT"},
      {"txt(doc)", "-440 TXT"},
      {"two(i, i)", "TWO_ID: INTEGER"},
      {"two(d, 1)", "TWO_DI: INTEGER"},
      {"two(d, ?)", "TWO_DI: INTEGER ?INTEGER"},
      {"two(?, i)", "TWO_DI: INTEGER ?DOUBLE"},
      {"two(?, NULL)", "-418 "},
      {"day(e)", "DAY_USER: INTEGER"},
      {"day(v)", "DAY(T1.V): INTEGER"},
      {"length(big)", "LENGTH_DOC: BIGINT"},
      {"length(doc)", "LENGTH(T2.DOC): INTEGER"},
      {"length(v)", "LENGTH(T1.V): INTEGER"},
      {"upper(v)", "UPPER_USER: VARCHAR(9)"},
      {"upper(c)", "UPPER(T1.C): CHAR(5)"},
      {"sysntq.upper(v)", "UPPER(T1.V): VARCHAR(10)"},
      {"lower(v)", "LOWER(T1.V): VARCHAR(10)"},
      {"sum(i)", "SUM(T1.I): INTEGER"},
      {"sum(i, 1)", "SUM2: INTEGER"},
      {"orvxml.nix(i)", "-440 ORVXML.NIX"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(called(c.text), c.expected);
  }
  catalog_.path = {"SYSNTQ", "ORVXML", "OTHER"};
  EXPECT_EQ(called("upper(v)"), "UPPER(T1.V): VARCHAR(10)");
  EXPECT_EQ(called("num(s)"), "NUM_SMALL: INTEGER");
  catalog_.path = {"OTHER", "ORVXML"};
  EXPECT_EQ(called("num(i)"), "NUM_OTHER: INTEGER");
  EXPECT_EQ(called("upper(v)"), "UPPER(T1.V): VARCHAR(10)");
}

TEST_F(FunctionResolutionTest, SourcedFunctionsGiveWayToTheirSources) {
  external("orvxml.ext(DOUBLE, VARCHAR(20)) RETURNS DECIMAL(9,2)");
  external("orvxml.kind(XMLVARCHAR) RETURNS XMLFILE");
  for (const char* text :
       {"orvxml.viaext(INTEGER, XMLVARCHAR) RETURNS INTEGER SOURCE ext(DOUBLE, VARCHAR(20))",
        "orvxml.viavia(SMALLINT, XMLVARCHAR) RETURNS VARCHAR(9) SOURCE SPECIFIC orvxml.viaext",
        "orvxml.viakind(VARCHAR(10)) RETURNS VARCHAR(512) SOURCE kind",
        "orvxml.docsub(XMLVARCHAR, INTEGER) RETURNS VARCHAR(50) SOURCE substr(VARCHAR(1), INTEGER)",
        "orvxml.digit(SMALLINT) RETURNS CHAR(4) SOURCE sysntq.char(INTEGER)"}) {
    catalog_.addFunction("CREATE FUNCTION " + std::string(text));
  }
  const TextCase kCases[] = {
      {"viaext(i, doc)", "CAST(EXT(T1.I,CAST(T2.DOC AS VARCHAR(3000))) AS INTEGER): INTEGER"},
      {"viavia(s, doc)",
       "CAST(CAST(EXT(CAST(T1.S AS INTEGER),CAST(T2.DOC AS VARCHAR(3000))) AS INTEGER) AS "
       "VARCHAR(9)): VARCHAR(9)"},
      {"viakind(v)", "CAST(KIND(CAST(T1.V AS ORVXML.XMLVARCHAR)) AS VARCHAR(512)): VARCHAR(512)"},
      {"viakind(?)",
       "CAST(KIND(CAST(?0 AS ORVXML.XMLVARCHAR)) AS VARCHAR(512)): VARCHAR(512) ?VARCHAR(10)"},
      {"docsub(doc, 2)",
       "CAST(SUBSTR(CAST(T2.DOC AS VARCHAR(3000)),2) AS VARCHAR(50)): VARCHAR(50)"},
      {"digit(s)", "CAST(CAST(T1.S AS CHAR(6)) AS CHAR(4)): CHAR(4)"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(called(c.text), c.expected);
  }
}

// Each source of a source adds to the height of the tree.
TEST_F(FunctionResolutionTest, LongChainsOfSourcesEndInAnError) {
  external("orvxml.f0(INTEGER) RETURNS SMALLINT");
  for (int i = 1; i <= 600; ++i) {
    catalog_.addFunction("CREATE FUNCTION orvxml.f" + std::to_string(i) + "(INTEGER) RETURNS " +
                         (i % 2 ? "INTEGER" : "SMALLINT") + " SOURCE orvxml.f" +
                         std::to_string(i - 1));
  }
  EXPECT_EQ(called("f1(i)"), "CAST(F0(T1.I) AS INTEGER): INTEGER");
  EXPECT_EQ(called("f600(i)"), "-101 ");
  std::string nested = "i";
  for (int i = 0; i < 10; ++i) nested = "f100(" + nested + " + 1)";
  EXPECT_EQ(called(nested), "-101 ");
  EXPECT_EQ(called("f200((SELECT f200((SELECT f200(i) FROM t)) FROM t))"), "-101 ");
}

// ---------------------------------------------------------------- table functions

TEST_F(FunctionResolutionTest, TableFunctionsSeeTheTablesBeforeThem) {
  external("orvxml.vals(XMLVARCHAR, VARCHAR(256)) RETURNS TABLE(val VARCHAR(40), pos INTEGER)");
  external("orvxml.vals(XMLCLOB AS LOCATOR, VARCHAR(256)) RETURNS TABLE(val CLOB(1M) AS LOCATOR)");
  external("orvxml.nums() RETURNS TABLE(n INTEGER)");
  const TextCase kCases[] = {
      {"SELECT id, x.val, pos FROM docs, TABLE(vals(doc, '/a')) AS x WHERE val = 'b'",
       "SELECT T1.ID,T2.VAL,T2.POS FROM DOCS,VALS(T1.DOC,'/a') X WHERE (T2.VAL='b')"},
      {"SELECT * FROM docs d, TABLE(orvxml.vals(d.big, text)) x(v)",
       "SELECT T1.ID,T1.DOC,T1.BIG,T1.F,T1.TEXT,T2.V FROM DOCS D,ORVXML.VALS(T1.BIG,T1.TEXT) X(V)"},
      {"SELECT COUNT(*) FROM docs LEFT JOIN TABLE(vals(doc, '/a')) x ON x.pos = id GROUP BY x.val",
       "SELECT COUNT(*) FROM [DOCS LEFT JOIN VALS(T1.DOC,'/a') X ON (T2.POS=T1.ID)] GROUP BY "
       "T2.VAL"},
      {"SELECT id FROM docs WHERE EXISTS (SELECT * FROM TABLE(vals(doc, ?)) x WHERE pos > id)",
       "SELECT T1.ID FROM DOCS WHERE EXISTS(SELECT T2.VAL,T2.POS FROM VALS(T1.DOC,?0) X WHERE "
       "(T2.POS>T1.ID))"},
      {"SELECT q.val FROM (SELECT val FROM docs, TABLE(vals(doc, '/a')) x) q, TABLE(nums()) n",
       "SELECT T3.VAL FROM (SELECT T2.VAL FROM DOCS,VALS(T1.DOC,'/a') X) Q,NUMS() N"},
      {"INSERT INTO docs(id, text) SELECT pos, val FROM docs, TABLE(vals(doc, '/a')) x",
       "SELECT T2.POS,T2.VAL FROM DOCS,VALS(T1.DOC,'/a') X"},
      {"SELECT id FROM TABLE(vals(doc, '/a')) x, docs", "-206 DOC"},
      {"SELECT q.val FROM docs, (SELECT val FROM TABLE(vals(doc, '/a')) x) q", "-206 DOC"},
      {"SELECT id FROM docs RIGHT JOIN TABLE(vals(doc, '/a')) x ON 1 = 1", "-206 DOC"},
      {"SELECT d.id FROM docs d, TABLE(vals(d.doc, '/a')) x FULL JOIN docs e ON 1 = 1",
       "-206 D.DOC"},
      {"SELECT d.id FROM docs d JOIN (docs e JOIN TABLE(vals(d.doc, '/')) x ON 1 = 1) ON 1 = 1",
       "-206 D.DOC"},
      {"SELECT d.id FROM docs d, t LEFT JOIN TABLE(vals(d.doc, '/')) x ON pos = i",
       "SELECT T1.ID FROM DOCS D,[T LEFT JOIN VALS(T1.DOC,'/') X ON (T3.POS=T2.I)]"},
      {"SELECT d.id FROM docs d, docs e RIGHT JOIN t ON 1 = 1, TABLE(vals(d.doc, text)) x",
       "-203 TEXT"},
      {"SELECT val FROM TABLE(vals(orvxml.XMLVARCHAR('<a/>'), '/a')) x GROUP BY pos", "-119 VAL"},
      {"SELECT nix FROM docs, TABLE(vals(doc, '/a')) x", "-206 NIX"},
      {"SELECT vals.val FROM docs, TABLE(vals(doc, '/a')) x", "-206 VALS.VAL"},
      {"SELECT * FROM docs, TABLE(vals(text, '/a')) x", "-440 VALS"},
      {"SELECT * FROM TABLE(vals(?, '/a')) x", "-418 "},
      {"SELECT * FROM TABLE(vals(?)) x", "-440 VALS"},
      {"SELECT * FROM TABLE(orvxml.nix()) x", "-440 ORVXML.NIX"},
      {"SELECT * FROM docs, TABLE(vals(doc, MAX(text))) x", "-120 MAX"},
      {"SELECT * FROM docs, TABLE(vals(doc, '/a')) x(a)", "-158 X"},
      {"SELECT nums() FROM docs", "-440 NUMS"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(queryText(c.text), c.expected);
  }
  const auto statement =
      resolved("SELECT val, id FROM docs, TABLE(vals(big, '/a')) x, TABLE(nums()) y(id2)");
  EXPECT_EQ(typeText(statement->query->columns[0].type), "CLOB(1048576)");
  EXPECT_FALSE(statement->query->columns[0].type.locator);
}

// ---------------------------------------------------------------- where functions may stand

TEST_F(FunctionResolutionTest, OnlyDeterministicFunctionsEqualThemselves) {
  external("orvxml.det(INTEGER) RETURNS INTEGER", "DETERMINISTIC");
  external("orvxml.ran(INTEGER) RETURNS INTEGER");
  external("orvxml.ran2(INTEGER) RETURNS INTEGER", "DETERMINISTIC");
  const TextCase kCases[] = {
      {"SELECT det(i + 1), COUNT(*) FROM t GROUP BY det(i + 1) ORDER BY det(i + 1)",
       "SELECT DET((T1.I+1)),COUNT(*) FROM T GROUP BY DET((T1.I+1)) ORDER BY #0"},
      {"SELECT ran(i) FROM t GROUP BY ran(i)", "-119 I"},
      {"SELECT det(i) FROM t GROUP BY ran2(i)", "-119 I"},
      {"SELECT DISTINCT ran(i) FROM t ORDER BY ran(i)", "-214 "},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(queryText(c.text), c.expected);
  }
}

TEST_F(FunctionResolutionTest, DistinctTypesCompareWithThemselvesWhenTheyMayBeCompared) {
  catalog_.types[1].comparisons = false;
  catalog_.addType("ORVXML", "MARK", makeType(TypeKind::Integer));
  catalog_.types.back().comparisons = false;
  catalog_.addTable("USER1", "M", "A ORVXML.MARK, B ORVXML.MARK");
  external("orvxml.mark(XMLVARCHAR) RETURNS MARK");
  const TextCase kCases[] = {
      {"SELECT id FROM docs WHERE doc = 'x' AND doc <> ?",
       "SELECT T1.ID FROM DOCS WHERE ((T1.DOC='x') AND (T1.DOC<>?0))"},
      {"SELECT id FROM docs WHERE doc = f", "-401 ="},
      {"SELECT id FROM docs WHERE doc = text", "-401 ="},
      {"SELECT id FROM docs WHERE doc > 1", "-401 >"},
      {"SELECT id FROM docs WHERE doc LIKE 'x%'",
       "SELECT T1.ID FROM DOCS WHERE (T1.DOC LIKE 'x%')"},
      {"SELECT id FROM docs WHERE big LIKE 'x%'", "-401 LIKE"},
      {"SELECT a FROM m WHERE a = b", "-401 ="},
      {"SELECT a FROM m WHERE a IN (1)", "-401 IN"},
      {"SELECT id FROM docs WHERE mark(doc) = 1", "-401 ="},
      {"SELECT id FROM docs WHERE orvxml.integer(mark(doc)) = 1",
       "SELECT T1.ID FROM DOCS WHERE (CAST(MARK(T1.DOC) AS INTEGER)=1)"},
      {"SELECT CAST(doc AS ORVXML.XMLFILE) FROM docs", "-461 ORVXML.XMLVARCHAR|ORVXML.XMLFILE"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(queryText(c.text), c.expected);
  }
}

}  // namespace
}  // namespace orv
