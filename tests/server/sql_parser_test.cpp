#include "server/syntax/sql_parser.h"

#include <gtest/gtest.h>

#include "tests/server/outcome.h"
#include "tests/server/tree_text.h"
#include "tests/support/texts.h"

namespace orv {
namespace {

using orvxml::test::repeat;

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
  EXPECT_EQ(outcomeOf([] { parseStatement(""); }),
            "-104 42601 END-OF-STATEMENT,BEGIN-OF-STATEMENT,<statement>");
}

TEST(ParserTest, DepthIsLimitedAndLengthIsNot) {
  struct Case {
    const char* label;
    std::string text;
    bool accepted;
  };
  const Case kCases[] = {
      {"deep parentheses", "VALUES " + repeat("(", 450) + "1" + repeat(")", 450), true},
      {"too deep parentheses", "VALUES " + repeat("(", 100000), false},
      {"too deep derived tables", repeat("SELECT * FROM (", 2000), false},
      {"too deep tables in parentheses", "SELECT * FROM " + repeat("(", 2000), false},
      {"too deep IN queries", repeat("SELECT a FROM t WHERE a IN (", 2000), false},
      {"too deep scalar VALUES", "VALUES " + repeat("(VALUES ", 2000), false},
      {"too deep functions", "VALUES " + repeat("f(", 2000), false},
      {"too deep CASE", "VALUES " + repeat("CASE ", 2000), false},
      {"a long sum", "VALUES 1" + repeat(" + 1", 400), true},
      {"too long a sum", "VALUES 1" + repeat(" + 1", 5000), false},
      {"too many joins", "SELECT * FROM t" + repeat(" JOIN t ON 1=1", 2000), false},
      {"too many unions", "VALUES 1" + repeat(" UNION VALUES 1", 2000), false},
      {"left-leaning sums in sums",
       "VALUES " + repeat("(", 20) + "1" + repeat(repeat(" + 1", 100) + ")", 20), false},
      {"many ORs", "SELECT a FROM t WHERE a=1" + repeat(" OR a=1", 50000), true},
      {"many signs", "VALUES " + repeat("- ", 50001) + "1", true},
      {"many NOTs", "SELECT a FROM t WHERE " + repeat("NOT ", 50001) + "a=1", true},
      {"many values", "VALUES 1" + repeat(",1", 50000), true},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(outcomeOf([&] { parseStatement(c.text); }), c.accepted ? "ok" : "-101 54001");
  }
}

}  // namespace
}  // namespace orv
