#include "server/resolve/resolver.h"

#include <gtest/gtest.h>

#include "tests/server/fake_catalog.h"
#include "tests/server/outcome.h"
#include "tests/server/tree_text.h"

namespace orv {
namespace {

class ResolverTest : public testing::Test {
 protected:
  ResolverTest() {
    catalog_.addType("ORVXML", "XMLVARCHAR", makeType(TypeKind::Varchar, 3000));
    catalog_.addType("ORVXML", "XMLCLOB", makeType(TypeKind::Clob, 2147483647));
    catalog_.addTable("USER1", "T",
                      "A INTEGER NOT NULL, B VARCHAR(10), C CHAR(5), D DECIMAL(7,2), E DATE,"
                      "F DOUBLE, G CLOB(1M), H SMALLINT NOT NULL, CONSTRAINT PK PRIMARY KEY(A)");
    catalog_.addTable("S", "U", "A INTEGER, X VARCHAR(20), Y BIGINT, TS TIMESTAMP");
    catalog_.addTable("USER1", "DOCS",
                      "ID INTEGER, DOC ORVXML.XMLVARCHAR, BIG ORVXML.XMLCLOB,"
                      "KEYBITS CHAR(13) FOR BIT DATA, WIDE VARGRAPHIC(8)");
    catalog_.addTable("SYSCAT", "COLUMNS", "COLNAME VARCHAR(128), TABNAME VARCHAR(128)").type = 'S';
    catalog_.addTable("USER1", "V", "A INTEGER").type = 'V';
    Table& alias = catalog_.addTable("USER1", "AL", "NONE INTEGER");
    alias.type = 'A';
    alias.baseSchema = "S";
    alias.baseTable = "U";
    catalog_.addProcedure(
        "CREATE PROCEDURE ORVXML.P(IN A INTEGER, IN B CLOB(100K), OUT C VARCHAR(1024)) SPECIFIC P1 "
        "EXTERNAL NAME 'l!e'");
    catalog_.addProcedure("CREATE PROCEDURE ORVXML.P(IN A INTEGER) EXTERNAL NAME 'l!e'");
  }

  // "NAME type, ..." of the result, without names that are the column's number; a ! marks NOT NULL.
  static std::string columns(const Statement& statement) {
    std::string all;
    int number = 0;
    for (const OutputColumn& column : statement.query->columns) {
      if (!all.empty()) all += ", ";
      if (column.name != std::to_string(++number)) all += column.name + " ";
      all += typeText(column.type) + (column.type.nullable ? "" : "!");
    }
    return all;
  }
  static std::string markers(const Statement& statement) {
    std::string all;
    for (const MarkerInfo& marker : statement.markers) {
      all += (all.empty() ? "" : ", ") + typeText(marker.type);
    }
    return all;
  }

  FakeCatalog catalog_;
};

struct TextCase {
  const char* text;
  const char* expected;
};

TEST_F(ResolverTest, NamesFindTheirTables) {
  const TextCase kCases[] = {
      {"SELECT a, t.b, user1.t.c FROM t", "SELECT T1.A,T1.B,T1.C FROM T"},
      {"SELECT x.a, u.a FROM t x, s.u", "SELECT T1.A,T2.A FROM T X,S.U"},
      {"SELECT s.u.a FROM s.u WHERE u.y = 1", "SELECT T1.A FROM S.U WHERE (T1.Y=1)"},
      {"SELECT x FROM al", "SELECT T1.X FROM AL"},
      {"SELECT b FROM t WHERE EXISTS (SELECT * FROM s.u WHERE x = b AND u.a = t.a)",
       "SELECT T1.B FROM T WHERE EXISTS(SELECT T2.A,T2.X,T2.Y,T2.TS FROM S.U WHERE "
       "((T2.X=T1.B) AND (T2.A=T1.A)))"},
      {"SELECT q.*, n FROM (SELECT a AS n, b FROM t) q",
       "SELECT T2.N,T2.B,T2.N FROM (SELECT T1.A N,T1.B FROM T) Q"},
      {"SELECT o FROM (SELECT a FROM t) qrk_tab_exp(o) ORDER BY \"O\"",
       "SELECT T2.O FROM (SELECT T1.A FROM T) QRK_TAB_EXP(O) ORDER BY #0"},
      {"SELECT t.a FROM t LEFT JOIN (s.u JOIN v ON u.a = v.a) ON t.a = u.a AND v.a = 1",
       "SELECT T1.A FROM [T LEFT JOIN [S.U JOIN V ON (T2.A=T3.A)] ON ((T1.A=T2.A) AND (T3.A=1))]"},
      {"SELECT a AS b, b AS k FROM t ORDER BY k, b DESC, 1, t.b, a + 1",
       "SELECT T1.A B,T1.B K FROM T ORDER BY #1,#0 DESC,#0,#1,(T1.A+1)"},
      {"SELECT b, COUNT(*) FROM t GROUP BY b, a + 1 HAVING MAX(a) > 1 ORDER BY a + 1, SUM(d)",
       "SELECT T1.B,COUNT(*) FROM T GROUP BY T1.B,(T1.A+1) HAVING (MAX(T1.A)>1) "
       "ORDER BY (T1.A+1),SUM(T1.D)"},
      {"SELECT ucase(b), value(c, 'x'), strip(b, leading, '0') FROM t",
       "SELECT UPPER(T1.B),COALESCE(T1.C,'x'),STRIP(T1.B,'L','0') FROM T"},
      {"SELECT integer(b), varchar(a), decimal(a, 9, 1), orvxml.xmlvarchar(b), "
       "orvxml.varchar(doc), concat(b, c) FROM t, docs",
       "SELECT CAST(T1.B AS INTEGER),CAST(T1.A AS VARCHAR(11)),CAST(T1.A AS DECIMAL(9,1)),"
       "CAST(T1.B AS ORVXML.XMLVARCHAR),CAST(T2.DOC AS VARCHAR(3000)),(T1.B||T1.C) FROM T,DOCS"},
      {"SELECT a FROM t WHERE e = '11/24/2026' AND e BETWEEN ? AND '2026-01-01' OR e IN ('x', ?)",
       "SELECT T1.A FROM T WHERE (((T1.E=CAST('11/24/2026' AS DATE)) AND "
       "(T1.E BETWEEN ?0 AND CAST('2026-01-01' AS DATE))) OR (T1.E IN (CAST('x' AS DATE),?1)))"},
      {"SELECT d FROM t UNION SELECT a FROM s.u ORDER BY d",
       "{SELECT T1.D FROM T} UNION {SELECT CAST(T2.A AS DECIMAL(13,2)) FROM S.U} ORDER BY #0"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(outcomeOf([&] { return treeText(*catalog_.resolved(c.text)->query); }), c.expected);
  }
}

TEST_F(ResolverTest, ResultColumnsHaveNamesAndTypes) {
  const TextCase kCases[] = {
      {"SELECT a, b AS \"x\", a + 1 FROM t", "A INTEGER!, x VARCHAR(10), INTEGER!"},
      {"SELECT \"3\", * FROM (SELECT a, 'x', -h FROM t) y",
       "3 SMALLINT!, A INTEGER!, 2 VARCHAR(1)!, 3 SMALLINT!"},
      {"SELECT t.a, u.a, v.a FROM t LEFT JOIN s.u ON 1=1 RIGHT JOIN v ON 1=1",
       "A INTEGER, A INTEGER, A INTEGER"},
      {"SELECT h + h, h + y, t.a * f, d + 1, d * d, d / 3, d - y, -d FROM t, s.u",
       "INTEGER!, BIGINT, DOUBLE, DECIMAL(14,2), DECIMAL(14,4), DECIMAL(31,26), DECIMAL(22,2), "
       "DECIMAL(7,2)"},
      {"SELECT b || c, c || c, g || b, b || 'abc', KEYBITS || c FROM t, docs",
       "VARCHAR(15), CHAR(10), CLOB(1048586), VARCHAR(13), CHAR(18) FOR BIT DATA"},
      {"SELECT CASE WHEN a = 1 THEN a END, CASE a WHEN 1 THEN 1 ELSE d END, COALESCE(a, d), "
       "COALESCE(c, b), NULLIF(a, 1) FROM t",
       "INTEGER, DECIMAL(13,2), DECIMAL(13,2)!, VARCHAR(10), INTEGER"},
      {"SELECT COUNT(*), COUNT(b), SUM(h), SUM(d), AVG(d), AVG(a), MAX(b), MIN(e) FROM t",
       "INTEGER!, INTEGER!, INTEGER, DECIMAL(31,2), DECIMAL(31,26), INTEGER, VARCHAR(10), DATE"},
      {"SELECT LENGTH(g), SUBSTR(b, 2), SUBSTR(b, 1, 3), SUBSTR(g, 1, 5), HEX(a), DIGITS(d), "
       "RTRIM(c), LEFT(b, 2), YEAR(e), MOD(a, h), REPLACE(b, 'a', 'b') FROM t",
       "INTEGER, VARCHAR(10), VARCHAR(3), CLOB(5), VARCHAR(8)!, CHAR(7), VARCHAR(5), VARCHAR(10), "
       "INTEGER, INTEGER!, VARCHAR(4000)"},
      {"SELECT (SELECT h FROM t), CURRENT DATE, USER, 1, 12345678901, 1.50, 'abc', X'41', NULL "
       "FROM s.u",
       "SMALLINT, DATE!, VARCHAR(128)!, INTEGER!, BIGINT!, DECIMAL(3,2)!, VARCHAR(3)!, VARCHAR(1) "
       "FOR BIT DATA!, VARCHAR(1)"},
      {"VALUES (1, 'a', NULL), (2.5, 'bcd', 7)", "DECIMAL(12,1)!, VARCHAR(3)!, INTEGER"},
      {"SELECT doc, big FROM docs WHERE doc = 'x'", "DOC ORVXML.XMLVARCHAR, BIG ORVXML.XMLCLOB"},
      {"SELECT b FROM t UNION ALL SELECT NULL FROM t UNION ALL SELECT x FROM s.u", "B VARCHAR(20)"},
      {"SELECT COLNAME FROM syscat.columns WHERE tabname = 'X' AND tabname = USER",
       "COLNAME VARCHAR(128)"},
      {"VALUES SUBSTR(CAST(? AS CLOB(2G)), CAST(? AS INTEGER), CAST(? AS INTEGER))",
       "CLOB(2147483647)"},
      {"SELECT CHAR(a), CHAR(e), INT(d), BIGINT(b), CLOB(b), DATE(b), TIMESTAMP(e, '1.1.1') FROM t",
       "CHAR(11)!, CHAR(10), INTEGER, BIGINT, CLOB(10), DATE, TIMESTAMP"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(outcomeOf([&] { return columns(*catalog_.resolved(c.text)); }), c.expected);
  }
}

TEST_F(ResolverTest, MarkersTakeTheirTypesFromTheContext) {
  const TextCase kCases[] = {
      {"SELECT a FROM t WHERE a = ? AND ? < d AND b BETWEEN ? AND ? AND c IN (?, 'x', ?)",
       "INTEGER, DECIMAL(7,2), VARCHAR(10), VARCHAR(10), CHAR(5), CHAR(5)"},
      {"SELECT a FROM t WHERE c LIKE ? ESCAPE ? AND f + ? > -? AND b || ? = 'x'",
       "VARCHAR(4000), VARCHAR(4000), DOUBLE, DOUBLE, VARCHAR(4000)"},
      {"SELECT a FROM t WHERE ? IN (SELECT x FROM s.u) AND ? = ANY (SELECT y FROM s.u) AND "
       "a = (SELECT ? FROM s.u)",
       "VARCHAR(20), BIGINT, INTEGER"},
      {"SELECT CASE a WHEN ? THEN ? ELSE b END, COALESCE(?, d), CAST(? AS DATE) FROM t",
       "INTEGER, VARCHAR(10), DECIMAL(7,2), DATE"},
      {"SELECT a FROM t WHERE COALESCE(?, ?) = a AND CASE WHEN a = 1 THEN ? ELSE ? END = b AND "
       "SUBSTR(b, ?) = 'x'",
       "INTEGER, INTEGER, VARCHAR(10), VARCHAR(10), INTEGER"},
      {"INSERT INTO t(d, b, a, h) VALUES (?, ?, ? + 1, COALESCE(?, ?)), (?, DEFAULT, 1, 1)",
       "DECIMAL(7,2), VARCHAR(10), INTEGER, SMALLINT, SMALLINT, DECIMAL(7,2)"},
      {"INSERT INTO t(a, b, h) SELECT a, ?, ? FROM s.u UNION ALL SELECT a, x, ? FROM s.u",
       "VARCHAR(20), SMALLINT, SMALLINT"},
      {"INSERT INTO docs(doc, big) VALUES (?, ?)", "ORVXML.XMLVARCHAR, ORVXML.XMLCLOB"},
      {"UPDATE t SET b = ?, d = d * ? WHERE a = ?", "VARCHAR(10), DECIMAL(7,2), INTEGER"},
      {"DELETE FROM t WHERE e = ?", "DATE"},
      {"CALL p(?, ?, ?)", "INTEGER, CLOB(102400), VARCHAR(1024)"},
      {"SELECT dad FROM (VALUES ('x')) AS q(dad) WHERE dad = ?", "VARCHAR(1)"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(outcomeOf([&] { return markers(*catalog_.resolved(c.text)); }), c.expected);
  }
}

// The values of such an INSERT are called as the columns that they go to.
TEST_F(ResolverTest, InsertedValuesHaveTheNamesOfTheInsertColumns) {
  const auto statement = catalog_.resolved(
      "INSERT INTO \"USER1\".\"T\"(\"A\",\"B\",\"H\") SELECT * FROM TABLE(VALUES(CAST(? AS "
      "INTEGER),CAST(? AS VARCHAR(40)),CAST(? AS SMALLINT) )) AS T WHERE B > 'a' AND T.A <> 0");
  EXPECT_EQ(treeText(*statement->query),
            "SELECT T1.A,T1.B,T1.H FROM (VALUES (CAST(?0 AS INTEGER),CAST(?1 AS VARCHAR(40)),"
            "CAST(?2 AS SMALLINT))) T WHERE ((T1.B>'a') AND (T1.A<>0))");
  EXPECT_EQ(markers(*statement), "INTEGER, VARCHAR(40), SMALLINT");
  EXPECT_EQ(statement->insertColumnIndexes, (std::vector<int>{0, 1, 7}));
  const auto bare =
      catalog_.resolved("INSERT INTO s.u(a) SELECT a FROM TABLE(VALUES(?)) AS x WHERE a > 0");
  EXPECT_EQ(markers(*bare), "INTEGER");
}

TEST_F(ResolverTest, AliasesNeverHideTheTargetOfAChange) {
  Table& table = catalog_.addTable("USER1", "T1", "A INTEGER");
  table.storedName = "t1";
  const auto statement =
      catalog_.resolved("DELETE FROM t1 WHERE EXISTS (SELECT a FROM s.u WHERE u.a = t1.a)");
  EXPECT_EQ(treeText(*statement->where), "EXISTS(SELECT T2.A FROM S.U WHERE (T2.A=t1.A))");
}

}  // namespace
}  // namespace orv
