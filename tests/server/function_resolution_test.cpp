// Which registered function a call means, and what becomes of it.
#include <gtest/gtest.h>

#include "tests/server/fake_catalog.h"
#include "tests/server/outcome.h"
#include "tests/server/tree_text.h"

namespace orv {
namespace {

struct TextCase {
  const char* text;
  const char* expected;
};

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

  // The first result column: the specific name that it calls, and its type; or the failure.
  std::string called(const std::string& value) {
    return outcomeOf([&] {
      const auto statement = catalog_.resolved("SELECT " + value + " FROM t, docs");
      const Expr& expr = *statement->query->items[0].expr;
      std::string text = expr.routine ? expr.routine->specific : treeText(expr);
      text += ": " + typeText(expr.type);
      for (const MarkerInfo& marker : statement->markers) text += " ?" + typeText(marker.type);
      return text;
    });
  }

  void external(const std::string& head, const std::string& options = "") {
    catalog_.addFunction("CREATE FUNCTION " + head + " EXTERNAL NAME 'l!e' " + options);
  }

  FakeCatalog catalog_;
};

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
      {"num(v)", "-440 42884 NUM"},
      {"num(1, 2)", "-440 42884 NUM"},
      {"num(?)", "-418 42610"},
      {"num(NULL)", "-418 42610"},
      {"num(DISTINCT i)", "-440 42884 NUM"},
      {"other.num(i)", "NUM_OTHER: INTEGER"},
      {"orvxml.num(s)", "NUM_INT: INTEGER"},
      {"txt(c)", "TXT_V: INTEGER"},
      {"txt('a')", "TXT_V: INTEGER"},
      {"txt(l)", "TXT_C: INTEGER"},
      {"txt(e)", "-440 42884 TXT"},
      {"txt(doc)", "-440 42884 TXT"},
      {"two(i, i)", "TWO_ID: INTEGER"},
      {"two(d, 1)", "TWO_DI: INTEGER"},
      {"two(d, ?)", "TWO_DI: INTEGER ?INTEGER"},
      {"two(?, i)", "TWO_DI: INTEGER ?DOUBLE"},
      {"two(?, NULL)", "-418 42610"},
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
      {"orvxml.nix(i)", "-440 42884 ORVXML.NIX"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(called(c.text), c.expected);
  }
  catalog_.setFunctionPath({"SYSNTQ", "ORVXML", "OTHER"});
  EXPECT_EQ(called("upper(v)"), "UPPER(T1.V): VARCHAR(10)");
  EXPECT_EQ(called("num(s)"), "NUM_SMALL: INTEGER");
  catalog_.setFunctionPath({"OTHER", "ORVXML"});
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
  EXPECT_EQ(called("f600(i)"), "-101 54001");
  std::string nested = "i";
  for (int i = 0; i < 10; ++i) nested.insert(0, "f100(").append(" + 1)");
  EXPECT_EQ(called(nested), "-101 54001");
  EXPECT_EQ(called("f200((SELECT f200((SELECT f200(i) FROM t)) FROM t))"), "-101 54001");
}

}  // namespace
}  // namespace orv
