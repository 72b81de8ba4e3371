#include "server/sql/parser.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "server/sql/sql_error.h"
#include "tests/server/tree_text.h"

namespace orv {
namespace {

struct TextCase {
  const char* text;
  const char* expected;
};

TEST(ParserTest, ConditionsAndValuesBindAsTheyShould) {
  const TextCase kCases[] = {
      {"a + b * c - d", "((A+(B*C))-D)"},
      {"- a * - - b || 'x' CONCAT c", "(((-A*B)||'x')||C)"},
      {"(a + 1) * 2", "((A+1)*2)"},
      {"CASE WHEN a = 1 OR b < 2 AND c > 3 THEN 1 END",
       "CASE WHEN ((A=1) OR ((B<2) AND (C>3))) THEN 1 END"},
      {"CASE a WHEN 1 THEN 'x' WHEN 2 THEN 'y' ELSE NULL END",
       "CASE A WHEN 1 THEN 'x' WHEN 2 THEN 'y' ELSE NULL END"},
      {"CASE WHEN NOT NOT a = 1 AND NOT (b = 2 OR c = 3) THEN 1 END",
       "CASE WHEN ((A=1) AND NOT ((B=2) OR (C=3))) THEN 1 END"},
      {"CASE WHEN a NOT BETWEEN 1 AND 2 AND b IN (1, 2) AND c NOT IN (3) THEN 1 END",
       "CASE WHEN ((A NOT BETWEEN 1 AND 2) AND (B IN (1,2)) AND (C NOT IN (3))) THEN 1 END"},
      {"CASE WHEN a LIKE 'x!%' ESCAPE '!' AND b IS NOT NULL THEN 1 END",
       "CASE WHEN ((A LIKE 'x!%' ESCAPE '!') AND (B IS NOT NULL)) THEN 1 END"},
      {"CASE WHEN a != ALL (SELECT b FROM u) THEN 1 END",
       "CASE WHEN (A<>ALL(SELECT B FROM U)) THEN 1 END"},
      {"CASE WHEN EXISTS (SELECT * FROM u) AND a = SOME (VALUES 1, 2) THEN 1 END",
       "CASE WHEN (EXISTS(SELECT * FROM U) AND (A=ANY(VALUES (1),(2)))) THEN 1 END"},
      {"CAST(? AS VARCHAR(10)) || s.t.c || t.\"c\"", "((CAST(?0 AS VARCHAR(10))||S.T.C)||T.c)"},
      {"COUNT(*) + count(distinct a) + f()", "((COUNT(*)+COUNT(DISTINCT A))+F())"},
      {"s.f(a, ?)", "F(A,?0)"},
      {"\"a\" * (b)", "(a*B)"},
      {"current date", "CURRENT DATE"},
      {"CURRENT_TIMESTAMP", "CURRENT TIMESTAMP"},
      {"USER", "USER"},
      {"TRIM(a)", "STRIP(A)"},
      {"TRIM(LEADING '0' FROM a)", "STRIP(A,'L','0')"},
      {"TRIM(BOTH FROM a)", "STRIP(A,'B')"},
      {"((SELECT 1 FROM u) UNION ALL (SELECT 2 FROM v))",
       "({SELECT 1 FROM U} UNION ALL {SELECT 2 FROM V})"},
      {"((SELECT 1 FROM u) + 1)", "((SELECT 1 FROM U)+1)"},
      {".5 + 1. + 2E3", "((0.5+1)+2E3)"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    const auto statement = parseStatement("SELECT " + std::string(c.text) + " FROM t");
    EXPECT_EQ(treeText(*statement->query->items[0].expr), c.expected);
  }
}

TEST(ParserTest, QueriesKeepTheirShape) {
  const TextCase kCases[] = {
      {"select a x, b as y, t.*, s.t.* from s.t as t, u v(c1, \"c2\") where a = 1;",
       "SELECT A X,B Y,T.*,T.* FROM S.T T,U V(C1,c2) WHERE (A=1)"},
      {"SELECT DISTINCT a FROM t GROUP BY a, b HAVING COUNT(*) > 1 ORDER BY a DESC, 2 ASC "
       "FETCH FIRST 3 ROWS ONLY WITH UR FOR READ ONLY OPTIMIZE FOR 1 ROW",
       "SELECT DISTINCT A FROM T GROUP BY A,B HAVING (COUNT(*)>1) ORDER BY A DESC,2 FETCH 3"},
      {"SELECT * FROM a LEFT OUTER JOIN b ON a.x = b.x INNER JOIN (c FULL JOIN d ON 1 = 1) ON 2 = "
       "2",
       "SELECT * FROM [[A LEFT JOIN B ON (A.X=B.X)] JOIN [C FULL JOIN D ON (1=1)] ON (2=2)]"},
      {"SELECT * FROM (SELECT a FROM t) q, (SELECT b FROM u) AS r(b), TABLE(VALUES(1,'a'),(2,'b')) "
       "AS v",
       "SELECT * FROM (SELECT A FROM T) Q,(SELECT B FROM U) R(B),(VALUES (1,'a'),(2,'b')) V"},
      {"SELECT * FROM ((SELECT a FROM t) UNION SELECT b FROM u) q",
       "SELECT * FROM ({SELECT A FROM T} UNION {SELECT B FROM U}) Q"},
      {"SELECT * FROM ((SELECT a FROM t) q RIGHT JOIN u ON a = b)",
       "SELECT * FROM [(SELECT A FROM T) Q RIGHT JOIN U ON (A=B)]"},
      {"SELECT * FROM TABLE(s.f(t.a, 'x')) AS r", "SELECT * FROM S.F(T.A,'x') R"},
      {"SELECT a FROM t UNION SELECT b FROM u INTERSECT ALL SELECT c FROM v EXCEPT VALUES 1 ORDER "
       "BY 1",
       "{{SELECT A FROM T} UNION {{SELECT B FROM U} INTERSECT ALL {SELECT C FROM V}}} EXCEPT "
       "{VALUES (1)} ORDER BY 1"},
      {"VALUES (1, ?), (2, NULL)", "VALUES (1,?0),(2,NULL)"},
      {"VALUES (1) + 2, (SELECT a FROM t), ((SELECT b FROM u))",
       "VALUES ((1+2)),((SELECT A FROM T)),((SELECT B FROM U))"},
      {"SELECT LEFT(a, 1) FROM t left JOIN u ON a = b",
       "SELECT LEFT(A,1) FROM [T LEFT JOIN U ON (A=B)]"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(treeText(*parseStatement(c.text)->query), c.expected);
  }
}

TEST(ParserTest, ErrorsNameTheTokenWhatStandsBeforeItAndWhatWasExpected) {
  struct Case {
    const char* text;
    int sqlcode;
    std::vector<std::string> tokens;
  };
  const Case kCases[] = {
      {"", -104, {"END-OF-STATEMENT", "BEGIN-OF-STATEMENT", "<statement>"}},
      {"SELEC a FROM t", -104, {"SELEC", "BEGIN-OF-STATEMENT", "<statement>"}},
      {"SELECT FROM t", -104, {"FROM", "SELECT", "<value>"}},
      {"SELECT a FROM WHERE b = 1", -104, {"WHERE", "SELECT a FROM", "<table>"}},
      {"SELECT a FROM t WHERE a",
       -104,
       {"END-OF-STATEMENT", "SELECT a FROM t WHERE a", "<comparison>"}},
      {"SELECT (a = 1) + 2 FROM t", -104, {"FROM", "SELECT (a = 1) + 2", "<value>"}},
      {"SELECT a FROM t WHERE a = 1 = 2",
       -104,
       {"=", "LECT a FROM t WHERE a = 1", "END-OF-STATEMENT"}},
      {"SELECT a b c FROM t", -104, {"c", "SELECT a b", "FROM"}},
      {"INSERT INTO t VALUES (1", -104, {"END-OF-STATEMENT", "INSERT INTO t VALUES (1", ")"}},
      {"UPDATE t SET (a, b) = (1)",
       -104,
       {"(", "UPDATE t SET (a, b) =", "<one value for each column>"}},
      {"CREATE TABLE t(a VARCHAR)", -104, {")", "CREATE TABLE t(a VARCHAR", "("}},
      {"CREATE PROCEDURE p() LANGUAGE C",
       -104,
       {"END-OF-STATEMENT", "ATE PROCEDURE p() LANGUAGE C", "EXTERNAL NAME"}},
      {"CREATE FUNCTION f() EXTERNAL NAME 'l!e'",
       -104,
       {"END-OF-STATEMENT", " FUNCTION f() EXTERNAL NAME 'l!e'", "RETURNS"}},
      {"CREATE FUNCTION f() RETURNS INT",
       -104,
       {"END-OF-STATEMENT", "REATE FUNCTION f() RETURNS INT", "EXTERNAL NAME"}},
      {"CREATE FUNCTION f() RETURNS TABLE(INT) EXTERNAL NAME 'l!e'",
       -104,
       {")", "CTION f() RETURNS TABLE(INT", "<data type>"}},
      {"CREATE FUNCTION f() RETURNS INT PARAMETER STYLE ORVDARI",
       -104,
       {"ORVDARI", "RETURNS INT PARAMETER STYLE", "ORVSQL"}},
      {"CREATE FUNCTION f() RETURNS INT SCRATCHPAD 32768",
       -104,
       {"32768", "() RETURNS INT SCRATCHPAD", "1 to 32767"}},
      {"CREATE FUNCTION f() RETURNS INT VARIANT NOT DETERMINISTIC", -628, {"DETERMINISTIC"}},
      {"CREATE FUNCTION f() RETURNS INT NO SCRATCHPAD SCRATCHPAD 5", -628, {"SCRATCHPAD"}},
      {"CREATE FUNCTION f() RETURNS INT RETURNS INT", -628, {"RETURNS"}},
      {"CREATE FUNCTION f() RETURNS INT SOURCE g EXTERNAL NAME 'l!e'", -628, {"EXTERNAL NAME"}},
      {"CREATE FUNCTION f() RETURNS INT CAST FROM REAL SOURCE g", -628, {"SOURCE"}},
      {"CREATE FUNCTION f() RETURNS TABLE(a INT) SOURCE g", -628, {"SOURCE"}},
      {"DROP SPECIFIC TABLE t", -104, {"TABLE", "DROP SPECIFIC", "FUNCTION"}},
      {"SELECT a FROM t; SELECT", -104, {"SELECT", "SELECT a FROM t;", "END-OF-STATEMENT"}},
      {"CREATE TABLE t(a DECIMAL(32))", -604, {"DECIMAL"}},
      {"CREATE TABLE t(a CHAR(255))", -604, {"CHAR"}},
      {"CREATE TABLE t(a CLOB(3G))", -604, {"CLOB"}},
      {"SELECT 12345678901234567890123456789012 FROM t",
       -405,
       {"12345678901234567890123456789012"}},
      {"SELECT 1E999 FROM t", -405, {"1E999"}},
      {"(SELECT a FROM t ORDER BY 1) ORDER BY 1", -628, {"ORDER BY"}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    try {
      parseStatement(c.text);
      ADD_FAILURE() << "accepted";
    } catch (const SqlError& error) {
      EXPECT_EQ(error.sqlcode(), c.sqlcode);
      std::vector<std::string> tokens = error.tokens();
      if (tokens.size() == 3 && tokens[1].size() > 24) tokens[1] = "too long: " + tokens[1];
      std::vector<std::string> expected = c.tokens;
      if (expected.size() == 3 && expected[1].size() > 24) {
        expected[1].erase(0, expected[1].size() - 24);
      }
      EXPECT_EQ(tokens, expected);
    }
  }
}

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

TEST(ParserTest, DepthIsLimitedAndLengthIsNot) {
  struct Case {
    const char* label;
    std::string text;
    bool accepted;
  };
  const Case kCases[] = {
      {"deep parentheses", "VALUES " + repeated("(", 450) + "1" + repeated(")", 450), true},
      {"too deep parentheses", "VALUES " + repeated("(", 100000), false},
      {"too deep derived tables", repeated("SELECT * FROM (", 2000), false},
      {"too deep tables in parentheses", "SELECT * FROM " + repeated("(", 2000), false},
      {"too deep IN queries", repeated("SELECT a FROM t WHERE a IN (", 2000), false},
      {"too deep scalar VALUES", "VALUES " + repeated("(VALUES ", 2000), false},
      {"too deep functions", "VALUES " + repeated("f(", 2000), false},
      {"too deep CASE", "VALUES " + repeated("CASE ", 2000), false},
      {"a long sum", "VALUES 1" + repeated(" + 1", 400), true},
      {"too long a sum", "VALUES 1" + repeated(" + 1", 5000), false},
      {"too many joins", "SELECT * FROM t" + repeated(" JOIN t ON 1=1", 2000), false},
      {"too many unions", "VALUES 1" + repeated(" UNION VALUES 1", 2000), false},
      {"left-leaning sums in sums",
       "VALUES " + repeated("(", 20) + "1" + repeated(repeated(" + 1", 100) + ")", 20), false},
      {"many ORs", "SELECT a FROM t WHERE a=1" + repeated(" OR a=1", 50000), true},
      {"many signs", "VALUES " + repeated("- ", 50001) + "1", true},
      {"many NOTs", "SELECT a FROM t WHERE " + repeated("NOT ", 50001) + "a=1", true},
      {"many values", "VALUES 1" + repeated(",1", 50000), true},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    int sqlcode = 0;
    try {
      parseStatement(c.text);
    } catch (const SqlError& error) {
      sqlcode = error.sqlcode();
    }
    EXPECT_EQ(sqlcode, c.accepted ? 0 : -101);
  }
}

TEST(ParserTest, TypesHaveTheLengthsThatTheyDeclareOrImply) {
  const TextCase kCases[] = {
      {"INT", "INTEGER"},
      {"smallint", "SMALLINT"},
      {"BIGINT", "BIGINT"},
      {"CHAR", "CHAR(1)"},
      {"CHARACTER(20)", "CHAR(20)"},
      {"CHAR(13) FOR BIT DATA", "CHAR(13) FOR BIT DATA"},
      {"CHARACTER VARYING(7)", "VARCHAR(7)"},
      {"CHAR VARYING(7)", "VARCHAR(7)"},
      {"VARCHAR(32672) FOR BIT DATA", "VARCHAR(32672) FOR BIT DATA"},
      {"LONG VARCHAR", "LONG VARCHAR"},
      {"LONG VARCHAR FOR BIT DATA", "LONG VARCHAR FOR BIT DATA"},
      {"CLOB(100K)", "CLOB(102400)"},
      {"CLOB(1M) NOT LOGGED COMPACT", "CLOB(1048576)"},
      {"CLOB(2G) LOGGED NOT COMPACT", "CLOB(2147483647)"},
      {"CLOB", "CLOB(1048576)"},
      {"BLOB(10)", "BLOB(10)"},
      {"DBCLOB(10k)", "DBCLOB(10240)"},
      {"DBCLOB(1G)", "DBCLOB(1073741823)"},
      {"GRAPHIC(5)", "GRAPHIC(5)"},
      {"VARGRAPHIC(6)", "VARGRAPHIC(6)"},
      {"LONG VARGRAPHIC", "LONG VARGRAPHIC"},
      {"DEC", "DECIMAL(5,0)"},
      {"NUMERIC(10,2)", "DECIMAL(10,2)"},
      {"NUM(7)", "DECIMAL(7,0)"},
      {"FLOAT", "DOUBLE"},
      {"FLOAT(24)", "REAL"},
      {"FLOAT(25)", "DOUBLE"},
      {"DOUBLE PRECISION", "DOUBLE"},
      {"REAL", "REAL"},
      {"DATE", "DATE"},
      {"TIME", "TIME"},
      {"TIMESTAMP", "TIMESTAMP"},
      {"SYSNTQ.INTEGER", "INTEGER"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    const auto statement = parseStatement("CREATE TABLE t(c " + std::string(c.text) + ")");
    EXPECT_EQ(typeText(statement->columns[0].type), c.expected);
  }
  const auto named = parseStatement("CREATE TABLE t(c orvxml.XMLVarchar, d \"my type\")");
  EXPECT_EQ(named->columns[0].typeName.schema + "." + named->columns[0].typeName.name,
            "ORVXML.XMLVARCHAR");
  EXPECT_EQ(named->columns[1].typeName.name, "my type");
}

// A statement's parts in one line: the kind is checked by the caller.
std::string definitionText(const Statement& s) {
  std::string text = s.name.schema.empty() ? s.name.name : s.name.schema + "." + s.name.name;
  for (const ColumnDefinition& c : s.columns) {
    text += " | " + c.name + (c.notNull ? " NN" : "") + (c.primaryKey ? " PK" : "") +
            (c.unique ? " UQ" : "") + (c.withDefault ? " =" + treeText(*c.defaultValue) : "");
    if (!c.references.name.empty()) text += " ->" + c.references.name;
  }
  for (const KeyDefinition& k : s.keys) {
    constexpr const char* kKinds[] = {"PK", "UQ", "FK", "CK"};
    text += std::string(" | ") + kKinds[static_cast<size_t>(k.kind)] + ":" + k.constraint + "(";
    for (const std::string& column : k.columns) text += column + ",";
    text += ")" + k.checkText;
    if (!k.references.name.empty()) text += "->" + k.references.schema + "." + k.references.name;
    for (const std::string& column : k.referencesColumns) text += " " + column;
    if (!k.onDelete.empty()) text += " ON DELETE " + k.onDelete;
  }
  if (!s.tableSpace.empty()) text += " IN " + s.tableSpace;
  return text;
}

TEST(ParserTest, TableDefinitionsKeepKeysAndOptions) {
  const TextCase kCases[] = {
      {"CREATE TABLE \"S\".\"T\"(\"C1\" VARCHAR(10) NOT NULL,\"C2\" INTEGER,PRIMARY KEY (\"C1\"),"
       "\"FK\" INTEGER, FOREIGN KEY (\"FK\") REFERENCES \"S\".\"P\"(\"ID\"))",
       "S.T | C1 NN | C2 | FK | PK:(C1,) | FK:(FK,)->S.P ID"},
      {"create table orvxml.dtd_ref ( dtdid varchar(128) not null, content orvxml.XMLCLOB not null "
       "not logged, constraint dtd_ref_pk primary key (dtdid)) IN QRKDTDRF",
       "ORVXML.DTD_REF | DTDID NN | CONTENT NN | PK:DTD_REF_PK(DTDID,) IN QRKDTDRF"},
      {"CREATE TABLE t(a INT NOT NULL PRIMARY KEY DEFAULT -1, b INT UNIQUE WITH DEFAULT, c CHAR "
       "DEFAULT 'x' CHECK (c > 'a' ), d DATE DEFAULT CURRENT DATE REFERENCES p ON DELETE CASCADE, "
       "e INT CONSTRAINT k UNIQUE DEFAULT NULL, CONSTRAINT ck CHECK(a < 5)) INDEX IN i DATA "
       "CAPTURE NONE",
       "T | A NN PK =-1 | B UQ =NULL | C ='x' | D =CURRENT DATE ->P | E | CK:()c > 'a' | UQ:K(E,) "
       "| CK:CK()a < 5"},
      {"CREATE TABLE t(a INT, FOREIGN KEY f (a) REFERENCES s.p ON UPDATE RESTRICT ON DELETE SET "
       "NULL)",
       "T | A | FK:F(A,)->S.P ON DELETE SET NULL"},
      {"ALTER TABLE s.t ADD QRKROOT_ID CHAR(13) FOR BIT DATA", "S.T | QRKROOT_ID"},
      {"ALTER TABLE t ADD COLUMN a INT ADD CONSTRAINT p PRIMARY KEY (b)", "T | A | PK:P(B,)"},
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(definitionText(*parseStatement(c.text)), c.expected);
  }
}

TEST(ParserTest, ProceduresTakeTheirOptionsInAnyOrderAndCase) {
  const auto s = parseStatement(
      "create procedure orvxml.qrkGenXMLClob (in dadBuf clob(100K), overrideType integer, "
      "out resultDoc clob(1M) AS LOCATOR, INOUT long varchar) not null call result sets 1 fenced "
      "no sql "
      "external name 'orvxml!qrkGenXMLClob' not deterministic parameter style orvdari language c "
      "specific ORVXML.QRKGENXMLCLOB");
  const ProcedureDefinition& p = s->procedure;
  EXPECT_EQ(p.externalName + " " + p.parameterStyle + " " + p.specificSchema + "." + p.specific,
            "orvxml!qrkGenXMLClob ORVDARI ORVXML.QRKGENXMLCLOB");
  std::string parameters;
  for (const ParameterDefinition& parameter : p.parameters) {
    parameters += std::to_string(static_cast<int>(parameter.mode)) + parameter.name + ":" +
                  typeText(parameter.type) + (parameter.type.locator ? "@ " : " ");
  }
  EXPECT_EQ(parameters,
            "0DADBUF:CLOB(102400) 0OVERRIDETYPE:INTEGER 1RESULTDOC:CLOB(1048576)@ 2:LONG VARCHAR ");
}

TEST(ParserTest, FunctionsTakeTheirClausesInAnyOrderAndCase) {
  const TextCase kCases[] = {
      {"create function s.f(x clob(1M) as LOCATOR, char large object, long varchar, s.t) returns "
       "s.r "
       "CAST FROM varchar(9) external name 'l!e' language c parameter style orvsql scratchpad "
       "final "
       "call not variant not fenced no sql no external action allow parallel DBINFO",
       "S.F(X CLOB(1048576)@, CLOB(1048576), LONG VARCHAR, S.T) S.R<VARCHAR(9) l!e .  100FDd"},
      {"CREATE FUNCTION f() DISALLOW PARALLEL CARDINALITY 5 NOT NULL CALL SCRATCHPAD 7 SPECIFIC "
       "s.g "
       "EXTERNAL NAME \"l!E\" READS SQL DATA NOT DETERMINISTIC RETURNS TABLE(a INT, b CLOB AS "
       "LOCATOR) NO DBINFO NO FINAL CALL FENCED",
       ".F() TABLE A INTEGER, B CLOB(1048576)@ l!E S.G  7n"},
      {"CREATE FUNCTION f(DATE) RETURNS NULL ON NULL INPUT SPECIFIC g RETURNS DATE NO SCRATCHPAD "
       "CONTAINS SQL EXTERNAL NAME 'l!e' VARIANT",
       ".F(DATE) DATE l!e .G  0n"},
      {"create function f( s.T) returns varchar(20) Source s.varchar(s.T)",
       ".F(S.T) VARCHAR(20)  . S.VARCHAR(S.T) 0"},
      {"CREATE FUNCTION f(INT) SPECIFIC g SOURCE SPECIFIC s.h RETURNS INT",
       ".F(INTEGER) INTEGER  .G S.H! 0"},
  };
  const auto listed = [](const std::vector<ParameterDefinition>& parameters) {
    std::string all;
    for (const ParameterDefinition& p : parameters) {
      const std::string named =
          p.typeName.name.empty() ? typeText(p.type) : p.typeName.schema + "." + p.typeName.name;
      all += (all.empty() ? "" : ", ") + (p.name.empty() ? "" : p.name + " ") + named +
             (p.type.locator ? "@" : "");
    }
    return all;
  };
  const auto text = [&](const FunctionDefinition& f) {
    std::string all = f.name.schema + "." + f.name.name + "(" + listed(f.parameters) + ") ";
    all += f.kind == FunctionKind::Table ? "TABLE " + listed(f.columns) : listed({f.result});
    if (f.castFrom) all += "<" + listed({*f.castFrom});
    all += " " + f.externalName + " " + f.specificSchema + "." + f.specific + " ";
    if (!f.source.name.empty()) all += f.source.schema + "." + f.source.name;
    if (f.sourceSignatureGiven) all += "(" + listed(f.sourceParameters) + ")";
    return all + (f.sourceIsSpecific ? "! " : " ") + std::to_string(f.scratchpad) +
           (f.finalCall ? "F" : "") + (f.dbInfo ? "D" : "") + (f.deterministic ? "d" : "") +
           (f.nullCall ? "" : "n");
  };
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.text);
    const auto statement = parseStatement(c.text);
    EXPECT_EQ(statement->kind, StatementKind::CreateFunction);
    EXPECT_EQ(text(statement->function), c.expected);
  }
}

TEST(ParserTest, EveryOtherStatementIsRecognised) {
  struct Case {
    const char* text;
    StatementKind kind;
    std::function<std::string(const Statement&)> show;
    std::string expected;
  };
  const auto name = [](const Statement& s) { return s.name.schema + "." + s.name.name; };
  const auto path = [](const Statement& s) {
    std::string all;
    for (const std::string& part : s.path) all += part + " ";
    return all;
  };
  const auto change = [](const Statement& s) {
    std::string all = s.name.name + ":";
    for (const std::string& column : s.insertColumns) all += column + " ";
    for (const Assignment& a : s.assignments) all += a.column + "=" + treeText(*a.value) + " ";
    if (s.query) all += treeText(*s.query);
    if (s.target) all += s.target->correlation + ";";
    return s.where ? all + treeText(*s.where) : all;
  };
  using Kind = StatementKind;
  const Case kCases[] = {
      {"COMMIT WORK", Kind::Commit, name, "."},
      {"ROLLBACK", Kind::Rollback, name, "."},
      {"ROLLBACK WORK TO SAVEPOINT s", Kind::Rollback, name, ".S"},
      {"SAVEPOINT s ON ROLLBACK RETAIN CURSORS", Kind::Savepoint, name, ".S"},
      {"RELEASE TO SAVEPOINT s", Kind::ReleaseSavepoint, name, ".S"},
      {"SET CURRENT FUNCTION PATH = ORVXML, SYSNTQ, \"x\"", Kind::SetFunctionPath, path,
       "ORVXML SYSNTQ x "},
      {"SET PATH SYSTEM PATH, 'a'", Kind::SetFunctionPath, path, "SYSNTQ SYSFUN a "},
      {"SET CURRENT SCHEMA = s", Kind::SetSchema, name, ".S"},
      {"SET SCHEMA 's'", Kind::SetSchema, name, ".s"},
      {"DROP TABLE \"s\".t", Kind::DropTable, name, "s.T"},
      {"DROP DISTINCT TYPE orvxml.QRKDBCSTEST RESTRICT", Kind::DropDistinctType, name,
       "ORVXML.QRKDBCSTEST"},
      {"CREATE TABLESPACE ts MANAGED BY SYSTEM USING ('/x' 1)", Kind::CreateTableSpace, name,
       ".TS"},
      {"CREATE UNIQUE INDEX s.i ON t(a DESC, b)", Kind::CreateIndex,
       [](const Statement& s) {
         return s.name.schema + "." + s.name.name + (s.unique ? "!" : "") +
                s.indexColumns[0].first + (s.indexColumns[0].second ? "-" : "+") +
                s.indexColumns[1].first;
       },
       "S.I!A-B"},
      {"create distinct type orvxml.XMLVarchar as varchar(3000) with comparisons",
       Kind::CreateDistinctType,
       [](const Statement& s) { return typeText(s.sourceType) + (s.withComparisons ? "+" : ""); },
       "VARCHAR(3000)+"},
      {"grant select, insert on orvxml.dtd_ref to public", Kind::Grant, name, "ORVXML.DTD_REF"},
      {"REVOKE ALL ON t FROM PUBLIC", Kind::Grant, name, ".T"},
      {"GRANT ALL ON INDEX TO x", Kind::Grant, name, ".INDEX"},
      {"GRANT CONTROL ON INDEX i TO x", Kind::Grant, name, "."},
      {"GRANT USE OF TABLESPACE t TO x WITH GRANT OPTION", Kind::Grant, name, "."},
      {"DROP SCHEMA s RESTRICT", Kind::DropSchema, name, ".S"},
      {"DROP SPECIFIC PROCEDURE s.p", Kind::DropProcedure, name, "S.P"},
      {"DROP SPECIFIC FUNCTION s.f", Kind::DropFunction, name, "S.F"},
      {"DROP FUNCTION s.f(s.t as LOCATOR, x INTEGER) RESTRICT", Kind::DropFunction,
       [](const Statement& s) { return s.dropSignature[0].typeName.name; }, "T"},
      {"DROP PROCEDURE p(INTEGER, CLOB(1M))", Kind::DropProcedure,
       [](const Statement& s) { return typeText(s.dropSignature[1].type); }, "CLOB(1048576)"},
      {"CALL s.p(1, ?, 'x', NULL)", Kind::Call,
       [](const Statement& s) { return listText(s.callArguments); }, "1,?0,'x',NULL"},
      {"INSERT INTO t(a,b) VALUES (1, DEFAULT), (?, ?)", Kind::Insert, change,
       "T:A B VALUES (1,DEFAULT),(?0,?1)"},
      {"INSERT INTO t (SELECT * FROM u)", Kind::Insert, change, "T:SELECT * FROM U"},
      {"UPDATE s.t x SET a = a + 1, (b, c) = (DEFAULT, ?) WHERE x.a = 1", Kind::Update, change,
       "T:A=(A+1) B=DEFAULT C=?0 X;(X.A=1)"},
      {"DELETE FROM t WHERE a IN (SELECT b FROM u)", Kind::Delete, change,
       "T:;(A IN (SELECT B FROM U))"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.text);
    const auto statement = parseStatement(c.text);
    EXPECT_EQ(statement->kind, c.kind);
    EXPECT_EQ(c.show(*statement), c.expected);
  }
}

}  // namespace
}  // namespace orv
