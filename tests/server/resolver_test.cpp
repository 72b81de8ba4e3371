#include "server/sql/resolver.h"

#include <gtest/gtest.h>

#include <string>

#include "server/sql/parser.h"
#include "server/sql/sql_error.h"
#include "tests/server/fake_catalog.h"
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
    catalog_.tableSpaces.insert("TS");
    catalog_.indexes.insert("I");
  }

  std::unique_ptr<Statement> resolved(const std::string& text) {
    auto statement = parseStatement(text);
    resolve(*statement, catalog_);
    return statement;
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

  void expectError(const std::string& text, int sqlcode, const std::string& token) {
    SCOPED_TRACE(text);
    try {
      resolved(text);
      ADD_FAILURE() << "accepted";
    } catch (const SqlError& error) {
      EXPECT_EQ(error.sqlcode(), sqlcode) << error.what();
      std::string tokens;
      for (const std::string& part : error.tokens()) tokens += (tokens.empty() ? "" : "|") + part;
      EXPECT_EQ(tokens, token);
    }
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
       "orvxml.varchar(doc), "
       "concat(b, c) FROM t, docs",
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
    std::string text;
    try {
      text = treeText(*resolved(c.text)->query);
    } catch (const SqlError& error) {
      text = error.what();
    }
    EXPECT_EQ(text, c.expected);
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
    std::string text;
    try {
      text = columns(*resolved(c.text));
    } catch (const SqlError& error) {
      text = error.what();
    }
    EXPECT_EQ(text, c.expected);
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
    std::string text;
    try {
      text = markers(*resolved(c.text));
    } catch (const SqlError& error) {
      text = error.what();
    }
    EXPECT_EQ(text, c.expected);
  }
  for (const char* text :
       {"SELECT ? FROM t", "VALUES ?", "SELECT a FROM t WHERE ? = ?", "SELECT ? + ? FROM t",
        "SELECT a FROM t WHERE ? IS NULL", "SELECT LENGTH(?) FROM t", "VALUES (COALESCE(?, NULL))",
        "SELECT a FROM t WHERE EXISTS (SELECT ? FROM s.u)", "SELECT a FROM t ORDER BY ?",
        "SELECT SUM(?) FROM t", "SELECT x FROM (SELECT ? FROM t) q(x)"}) {
    expectError(text, -418, "");
  }
}

// The values of such an INSERT are called as the columns that they go to.
TEST_F(ResolverTest, InsertedValuesHaveTheNamesOfTheInsertColumns) {
  const auto statement = resolved(
      "INSERT INTO \"USER1\".\"T\"(\"A\",\"B\",\"H\") SELECT * FROM TABLE(VALUES(CAST(? AS "
      "INTEGER),"
      "CAST(? AS VARCHAR(40)),CAST(? AS SMALLINT) )) AS T WHERE B > 'a' AND T.A <> 0");
  EXPECT_EQ(treeText(*statement->query),
            "SELECT T1.A,T1.B,T1.H FROM (VALUES (CAST(?0 AS INTEGER),CAST(?1 AS VARCHAR(40)),"
            "CAST(?2 AS SMALLINT))) T WHERE ((T1.B>'a') AND (T1.A<>0))");
  EXPECT_EQ(markers(*statement), "INTEGER, VARCHAR(40), SMALLINT");
  EXPECT_EQ(statement->insertColumnIndexes, (std::vector<int>{0, 1, 7}));
  const auto bare = resolved("INSERT INTO s.u(a) SELECT a FROM TABLE(VALUES(?)) AS x WHERE a > 0");
  EXPECT_EQ(markers(*bare), "INTEGER");
  expectError("INSERT INTO t(a, h) SELECT * FROM TABLE(VALUES(1, 2)) AS v WHERE b > 1", -206, "B");
  expectError("SELECT * FROM TABLE(VALUES(1, 2)) AS v WHERE a > 1", -206, "A");
}

TEST_F(ResolverTest, AliasesNeverHideTheTargetOfAChange) {
  Table& table = catalog_.addTable("USER1", "T1", "A INTEGER");
  table.storedName = "t1";
  const auto statement =
      resolved("DELETE FROM t1 WHERE EXISTS (SELECT a FROM s.u WHERE u.a = t1.a)");
  EXPECT_EQ(treeText(*statement->where), "EXISTS(SELECT T2.A FROM S.U WHERE (T2.A=t1.A))");
}

TEST_F(ResolverTest, WrongStatementsGetTheirCodes) {
  struct Case {
    const char* text;
    int sqlcode;
    const char* token;
  };
  const Case kCases[] = {
      {"SELECT a FROM nix", -204, "USER1.NIX"},
      {"SELECT a FROM s.nix", -204, "S.NIX"},
      {"SELECT nix.* FROM t", -204, "USER1.NIX"},
      {"SELECT nix FROM t", -206, "NIX"},
      {"SELECT x.t.a FROM t", -206, "X.T.A"},
      {"SELECT t.a FROM t q", -206, "T.A"},
      {"SELECT a FROM t, (SELECT b FROM s.u) q", -206, "B"},
      {"SELECT u.a FROM t JOIN v ON t.a = u.a JOIN s.u ON 1=1", -206, "U.A"},
      {"SELECT t.a FROM t, s.u JOIN v ON t.a = v.a", -206, "T.A"},
      {"SELECT a FROM t, s.u", -203, "A"},
      {"SELECT a FROM (SELECT a, a FROM t) q", -203, "A"},
      {"SELECT a AS k, b AS k FROM t ORDER BY k", -203, "K"},
      {"SELECT b FROM t GROUP BY c", -119, "B"},
      {"SELECT b, COUNT(*) FROM t", -119, "B"},
      {"SELECT COUNT(*) FROM t HAVING a > 1", -119, "A"},
      {"SELECT c FROM t GROUP BY c HAVING EXISTS (SELECT x FROM s.u WHERE u.a = t.a)", -119, "A"},
      {"SELECT a FROM t WHERE COUNT(*) > 1", -120, "COUNT"},
      {"SELECT MAX(SUM(a)) FROM t", -112, "SUM"},
      {"SELECT a FROM t WHERE a = 'x'", -401, "="},
      {"SELECT a FROM t WHERE g = g", -401, "="},
      {"SELECT a FROM t WHERE a IN (SELECT x FROM s.u)", -401, "IN"},
      {"SELECT a FROM t WHERE e = ts", -206, "TS"},
      {"SELECT id FROM docs, t WHERE doc = b", -401, "="},
      {"SELECT id FROM docs WHERE doc = CAST('x' AS VARCHAR(10))", -401, "="},
      {"SELECT b + 1 FROM t", -402, "+"},
      {"SELECT a || b FROM t", -440, "||"},
      {"SELECT a FROM t WHERE a LIKE 'x'", -414, ""},
      {"SELECT NIX(a) FROM t", -440, "NIX"},
      {"SELECT SYSFUN.UPPER(b, c) FROM t", -440, "SYSFUN.UPPER"},
      {"SELECT S.UPPER(b) FROM t", -440, "S.UPPER"},
      {"SELECT UPPER(a) FROM t", -171, "1|UPPER"},
      {"SELECT SUBSTR(b, 'x') FROM t", -171, "2|SUBSTR"},
      {"SELECT * FROM TABLE(f(1)) AS x", -440, "F"},
      {"SELECT CAST(g AS INTEGER) FROM t", -461, "CLOB(1048576)|INTEGER"},
      {"SELECT CAST(a AS nix) FROM t", -204, "USER1.NIX"},
      {"SELECT CASE WHEN a = 1 THEN a ELSE b END FROM t", -581, ""},
      {"SELECT a FROM t WHERE a = (SELECT a, x FROM s.u)", -412, ""},
      {"SELECT a FROM t UNION SELECT a, x FROM s.u", -421, ""},
      {"SELECT a FROM t UNION SELECT x FROM s.u", -415, "1"},
      {"SELECT a FROM t UNION SELECT a FROM s.u ORDER BY a + 1", -208, ""},
      {"SELECT DISTINCT a FROM t ORDER BY b", -214, ""},
      {"SELECT DISTINCT g FROM t", -134, "G"},
      {"SELECT a FROM t ORDER BY 2", -125, "2"},
      {"SELECT * FROM (SELECT a FROM t) q(x, y)", -158, "Q"},
      {"SELECT DEFAULT FROM t", -206, "DEFAULT"},
      {"INSERT INTO nix VALUES (1)", -204, "USER1.NIX"},
      {"INSERT INTO t(a) VALUES (1, 2)", -117, ""},
      {"INSERT INTO t(a, b) VALUES (1, 'a'), (1)", -117, ""},
      {"INSERT INTO t(a, nix) VALUES (1, 2)", -206, "NIX"},
      {"INSERT INTO t(a, b, a) VALUES (1, 2, 3)", -121, "A"},
      {"INSERT INTO t(a) VALUES ('1')", -408, "A"},
      {"INSERT INTO t(b) SELECT a FROM s.u", -408, "B"},
      {"INSERT INTO docs(doc) SELECT big FROM docs", -408, "DOC"},
      {"INSERT INTO v VALUES (1)", -150, "USER1.V"},
      {"DELETE FROM syscat.columns", -607, "DELETE|SYSCAT.COLUMNS"},
      {"UPDATE t SET nix = 1", -206, "NIX"},
      {"UPDATE t SET a = 1, a = 2", -121, "A"},
      {"UPDATE t SET a = b", -408, "A"},
      {"CALL p(1, 2)", -440, "P"},
      {"CALL orvxml.p(1, 'x', 'y')", -469, "P|3"},
      {"CALL p('x')", -408, "A"},
      {"CREATE TABLE t(a INTEGER)", -601, "USER1.T|TABLE"},
      {"CREATE TABLE n(a INTEGER, b nix)", -204, "USER1.NIX"},
      {"CREATE TABLE n(a INTEGER, a CHAR)", -612, "A"},
      {"CREATE TABLE n(a INTEGER, PRIMARY KEY(b))", -205, "B|USER1.N"},
      {"CREATE TABLE n(a INTEGER, PRIMARY KEY(a))", -542, "A"},
      {"CREATE TABLE n(a INT NOT NULL PRIMARY KEY, PRIMARY KEY(a))", -624, "USER1.N"},
      {"CREATE TABLE n(a INTEGER, FOREIGN KEY (a) REFERENCES nix)", -204, "USER1.NIX"},
      {"CREATE TABLE n(a INTEGER REFERENCES s.u)", -573, "A|S.U"},
      {"CREATE TABLE n(a INTEGER, CONSTRAINT f FOREIGN KEY (a) REFERENCES t(h))", -573,
       "F|USER1.T"},
      {"CREATE TABLE n(a INTEGER, b INTEGER, FOREIGN KEY (a, b) REFERENCES t)", -538, "A,B"},
      {"CREATE TABLE n(a CHAR(3), FOREIGN KEY (a) REFERENCES t)", -538, "A"},
      {"CREATE TABLE n(a INTEGER DEFAULT 'x')", -574, "A"},
      {"CREATE TABLE n(a INTEGER CHECK (b > 1))", -206, "B"},
      {"CREATE TABLE n(a INTEGER, CONSTRAINT k CHECK (EXISTS (SELECT a FROM t)))", -546, "K"},
      {"CREATE TABLE n(a INTEGER) IN nix", -204, "NIX"},
      {"CREATE TABLE sysx.n(a INTEGER)", -553, "SYSX.N"},
      {"ALTER TABLE t ADD a INTEGER", -612, "A"},
      {"ALTER TABLE t ADD k INTEGER NOT NULL", -193, "K"},
      {"ALTER TABLE t ADD PRIMARY KEY (h)", -624, "USER1.T"},
      {"DROP TABLE nix", -204, "USER1.NIX"},
      {"DROP TABLE v", -159, "USER1.V|VIEW|TABLE"},
      {"CREATE INDEX i ON t(a)", -601, "USER1.I|INDEX"},
      {"CREATE INDEX j ON t(nix)", -205, "NIX|USER1.T"},
      {"DROP INDEX j", -204, "USER1.J"},
      {"create distinct type orvxml.XMLCLOB as CLOB(2G)", -601, "ORVXML.XMLCLOB|DISTINCT TYPE"},
      {"DROP DISTINCT TYPE orvxml.nix", -204, "ORVXML.NIX"},
      {"CREATE TABLESPACE ts", -601, "TS|TABLESPACE"},
      {"DROP TABLESPACE nix", -204, "NIX"},
      {"CREATE SCHEMA user1", -601, "USER1|SCHEMA"},
      {"CREATE PROCEDURE orvxml.p(x CHAR) EXTERNAL NAME 'a!b'", -454, "ORVXML.P"},
      {"CREATE PROCEDURE orvxml.n() SPECIFIC p1 EXTERNAL NAME 'a!b'", -601, "ORVXML.P1|PROCEDURE"},
      {"CREATE PROCEDURE orvxml.n() SPECIFIC s.n EXTERNAL NAME 'a!b'", -455, "S|ORVXML"},
      {"CREATE PROCEDURE orvxml.n() EXTERNAL NAME 'ab'", -449, "ORVXML.N"},
      {"DROP PROCEDURE orvxml.nix", -204, "ORVXML.NIX"},
      {"DROP PROCEDURE orvxml.p", -476, "ORVXML.P"},
  };
  for (const Case& c : kCases) expectError(c.text, c.sqlcode, c.token);
}

TEST_F(ResolverTest, DefinitionsAreCompleted) {
  const auto table = resolved(
      "CREATE TABLE s.n(a INTEGER NOT NULL, d orvxml.XMLVarchar NOT NULL, UNIQUE (d, a), p INTEGER "
      "REFERENCES user1.t, self INTEGER, FOREIGN KEY (self, d) REFERENCES s.n(a, d), "
      "q INTEGER DEFAULT 1 CHECK (q > a)) IN ts");
  EXPECT_EQ(typeText(table->columns[1].type), "ORVXML.XMLVARCHAR");
  EXPECT_EQ(table->columns[2].referencesColumns, std::vector<std::string>{"A"});
  EXPECT_EQ(table->columns[2].references.resolvedSchema, "USER1");
  EXPECT_EQ(treeText(*table->keys[2].check), "(N.Q>N.A)");
  EXPECT_EQ(table->keys[2].checkText, "q > a");
  EXPECT_EQ(table->name.resolvedSchema, "S");

  const auto procedure =
      resolved("CREATE PROCEDURE orvxml.p1(x orvxml.XMLCLOB) EXTERNAL NAME 'lib!entry'");
  EXPECT_EQ(procedure->procedure.specific, "P11");
  EXPECT_EQ(typeText(procedure->procedure.parameters[0].type), "ORVXML.XMLCLOB");

  EXPECT_EQ(resolved("DROP SPECIFIC PROCEDURE orvxml.p1")->routine->parameters.size(), 3U);
  EXPECT_EQ(resolved("DROP PROCEDURE orvxml.p(INTEGER)")->routine->parameters.size(), 1U);
}

// What the library sends: each text resolves, to these result columns and markers.
TEST_F(ResolverTest, StatementsOfTheLibraryResolve) {
  catalog_.addTable("ORVXML", "DTD_REF",
                    "DTDID VARCHAR(128) NOT NULL, CONTENT ORVXML.XMLCLOB NOT NULL, "
                    "USAGE_COUNT INT NOT NULL, AUTHOR VARCHAR(128)");
  catalog_.addTable(
      "ORVXML", "XML_USAGE",
      "TABLE_SCHEMA CHAR(31) NOT NULL, TABLE_NAME CHAR(129) NOT NULL, COL_NAME "
      "CHAR(31) NOT NULL, DTDID VARCHAR(128), DAD CLOB(100K), ACCESS_MODE INT NOT "
      "NULL, VALIDATION INT NOT NULL, DEFAULT_VIEW CHAR(128), TRIGGER_SUFFIX CHAR(8)");
  catalog_.addTable("USER1", "PART_TAB",
                    "PART_KEY INTEGER NOT NULL, COLOR CHAR(6), PRICE DECIMAL(10,2), ORDER_KEY "
                    "INTEGER, DOC ORVXML.XMLVARCHAR, QRKROOT_ID CHAR(13) FOR BIT DATA");
  struct Case {
    const char *text, *columns, *markers;
  };
  const Case kCases[] = {
      {"SELECT content FROM orvxml.dtd_ref WHERE dtdid=?", "CONTENT ORVXML.XMLCLOB!",
       "VARCHAR(128)"},
      {"select dad from orvxml.xml_usage where col_name = ?", "DAD CLOB(102400)", "CHAR(31)"},
      {"SELECT DAD FROM ORVXML.XML_USAGE WHERE TABLE_NAME = 'QRK_COLLECTION' AND COL_NAME = ?",
       "DAD CLOB(102400)", "CHAR(31)"},
      {"SELECT COL_NAME, DAD,  DEFAULT_VIEW, DTDID, TRIGGER_SUFFIX FROM ORVXML.XML_USAGE WHERE "
       "table_schema = ? AND table_name = ? AND col_name = ?",
       "COL_NAME CHAR(31)!, DAD CLOB(102400), DEFAULT_VIEW CHAR(128), DTDID VARCHAR(128), "
       "TRIGGER_SUFFIX CHAR(8)",
       "CHAR(31), CHAR(129), CHAR(31)"},
      {"SELECT COUNT(*) FROM ORVXML.XML_USAGE WHERE TRIGGER_SUFFIX = ?", "INTEGER!", "CHAR(8)"},
      {"SELECT COLNAME FROM syscat.columns WHERE tabname = 'T' AND tabname = USER",
       "COLNAME VARCHAR(128)", ""},
      {"SELECT \"PART_TAB\".\"COLOR\", \"PART_TAB\".\"PART_KEY\" FROM \"PART_TAB\" WHERE "
       "PRICE > 20 AND \"PART_TAB\".\"ORDER_KEY\" = ?  ORDER BY \"PART_TAB\".\"COLOR\"",
       "COLOR CHAR(6), PART_KEY INTEGER!", "INTEGER"},
      {"SELECT \"A\" FROM (SELECT t.a, x FROM t, s.u WHERE t.a = u.a) qrk_tab_exp ORDER BY \"A\"",
       "A INTEGER!", ""},
      {"SELECT \"A\", \"X\" FROM (SELECT * FROM (SELECT t.a, x FROM t, s.u) qrk_tab_exp WHERE A=?) "
       "qrk_tab_exp ORDER BY \"X\"",
       "A INTEGER!, X VARCHAR(20)", "INTEGER"},
      {"SELECT count(QRKROOT_ID) FROM user1.part_tab", "INTEGER!", ""},
      {"VALUES LENGTH(CAST(? AS CLOB(2G)))", "INTEGER", "CLOB(2147483647)"},
      {"VALUES CAST(? AS CLOB(2G))", "CLOB(2147483647)", "CLOB(2147483647)"},
      {"UPDATE orvxml.dtd_ref SET usage_count=usage_count+1 WHERE dtdid = ?", "", "VARCHAR(128)"},
      {"UPDATE user1.part_tab SET QRKROOT_ID=NULL", "", ""},
      {"DELETE FROM ORVXML.XML_USAGE WHERE table_schema = ? AND table_name = ?", "",
       "CHAR(31), CHAR(129)"},
      {"INSERT INTO part_tab (\"DOC\", \"PART_KEY\") VALUES (?, ?)", "",
       "ORVXML.XMLVARCHAR, INTEGER"},
      {"INSERT INTO \"USER1\".\"PART_TAB\"(\"PART_KEY\",\"PRICE\",\"ORDER_KEY\") SELECT * FROM "
       "TABLE(VALUES(CAST(? AS integer),CAST(? AS decimal(10,2)),CAST(? AS integer) )) AS T WHERE "
       "PRICE > 2500.00",
       "PART_KEY INTEGER, PRICE DECIMAL(10,2), ORDER_KEY INTEGER",
       "INTEGER, DECIMAL(10,2), INTEGER"},
      {"ALTER TABLE part_tab ADD QRK_VALID INTEGER", "", ""},
      {"CREATE TABLE side (QRKROOT_ID CHAR(13) FOR BIT DATA NOT NULL, QRK_SEQNO integer, c "
       "clob(1M) "
       "not logged) IN TS",
       "", ""},
      {"create distinct type orvxml.XMLFile as varchar(512) with comparisons", "", ""},
      {"SET CURRENT FUNCTION PATH = ORVXML, SYSNTQ, SYSFUN", "", ""},
      {"grant update on orvxml.xml_usage to ORVXML", "", ""},
      {"create procedure orvxml.qrkGenXML(in dadBuf clob(100K), in resultTable varchar(128), in "
       "overrideType integer, in override varchar(32672), in maxRows integer, out numRows integer, "
       "out returnCode integer, out returnMsg varchar(1024)) external name 'orvxml!qrkGenXML' "
       "specific ORVXML.QRKGENXML1 language C parameter style ORVDARI not deterministic fenced "
       "null "
       "call",
       "", ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    try {
      const auto statement = resolved(c.text);
      EXPECT_EQ(statement->query && *c.columns ? columns(*statement) : "", c.columns);
      EXPECT_EQ(markers(*statement), c.markers);
    } catch (const SqlError& error) {
      ADD_FAILURE() << error.what();
    }
  }
}

TEST_F(ResolverTest, GraphicDataNeedsADoubleByteDatabase) {
  const char* kTexts[] = {"CREATE DISTINCT TYPE orvxml.QRKDBCSTEST AS GRAPHIC(1)",
                          "CREATE TABLE n(a VARGRAPHIC(5))", "SELECT G'x' FROM t",
                          "SELECT CAST(b AS DBCLOB(10K)) FROM t"};
  for (const int page : {819, 1252, 943, 1208}) {
    catalog_.page = page;
    for (const char* text : kTexts) {
      if (page == 819 || page == 1252) {
        expectError(text, -1216, std::to_string(page));
      } else {
        EXPECT_NO_THROW(resolved(text)) << text;
      }
    }
  }
}

}  // namespace
}  // namespace orv
