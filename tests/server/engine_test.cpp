// Statements and their outcomes at the engine's interface: queries, changes, constraints, the unit
// of work. Definitions and other programs' files are in engine_catalog_test.cpp.
#include "tests/server/engine_database.h"
#include "tests/support/temporary_folder.h"

namespace orv {
namespace {

using orvxml::test::TemporaryFolder;

class EngineTest : public testing::Test {
 protected:
  EngineDatabase database_{":memory:"};
};

TEST_F(EngineTest, DecimalsAreExactInStorageOrderArithmeticAndSums) {
  runSteps(database_,
           {
               {"CREATE TABLE P(ID INTEGER NOT NULL PRIMARY KEY, A DECIMAL(10,2), B DECIMAL(31,0))",
                "ok"},
               {"INSERT INTO P VALUES(1, 20, 1), (2, 100.5, 9999999999999999999999999999999), (3, "
                "3.999, 0)",
                "3 rows"},
               {"SELECT A FROM P ORDER BY A DESC", "100.50\n20.00\n3.99"},
               {"SELECT ID FROM P WHERE A > 9 AND A < 100.50", "1"},
               {"SELECT ID FROM P WHERE A = 20.000", "1"},
               {"SELECT ID FROM P WHERE A IN (3.99, 20, 7)", "1\n3"},
               {"SELECT ID FROM P WHERE A BETWEEN 4 AND 1E2", "1"},
               {"SELECT SUM(A), AVG(A), MIN(A), MAX(A) FROM P",
                "124.49|41.49666666666666666666666|3.99|100.50"},
               {"SELECT A*A, A/3, A-0.01, -A, MOD(A, 7), ROUND(A, 1), TRUNCATE(A, -1) FROM P WHERE "
                "ID = 2",
                "10100.2500|33.50000000000000000000000|100.49|-100.50|2.50|100.50|100.00"},
               {"SELECT CEIL(A), FLOOR(A), ABS(-A), SIGN(-A), DIGITS(A) FROM P WHERE ID = 3",
                "4.00|3.00|3.99|-1.00|0000000399"},
               {"SELECT B + 1 FROM P WHERE ID = 2", "-802 22003"},
               {"SELECT SUM(B) + 1 FROM P", "-802 22003"},
               {"UPDATE P SET A = A * 1000000 WHERE ID = 2", "-413 22003"},
               {"SELECT A/0 FROM P", "-801 22012"},
               {"SELECT COUNT(DISTINCT A), COUNT(*) FROM (SELECT A FROM P UNION ALL SELECT A FROM "
                "P) AS X",
                "3|6"},
               {"SELECT A FROM P INTERSECT SELECT 20.00 FROM P", "20.00"},
           });
}

TEST_F(EngineTest, IntegersDivideAndOverflowAsIntegers) {
  runSteps(database_,
           {
               {"CREATE TABLE N(I INTEGER, S SMALLINT, L BIGINT, D DOUBLE)", "ok"},
               {"INSERT INTO N VALUES(7, 32767, 9223372036854775807, 1.5)", "1 rows"},
               {"SELECT I/2, -I/2, I*L/L, D/2 FROM N WHERE I < 7", ""},
               {"SELECT I/2, -I/2, D/2, I+D FROM N", "3|-3|7.5E-1|8.5E0"},
               {"SELECT L+1 FROM N", "-802 22003"},
               {"SELECT I*2147483647 FROM N", "-802 22003"},
               {"INSERT INTO N(S) SELECT S+1 FROM N", "-413 22003"},
               {"INSERT INTO N(I) VALUES(?)", "-420 22018 12abc,INTEGER", {"12abc"}},
               {"SELECT AVG(I), SUM(I), SUM(L) FROM (SELECT I, L FROM N UNION ALL SELECT 2, 0 FROM "
                "N) AS X",
                "4|9|9223372036854775807"},
               {"SELECT INTEGER('12abc') FROM N", "-420 22018 12abc,INTEGER"},
               {"SELECT HEX(I), INTEGER(D), BIGINT('-5'), SMALLINT(99999) FROM N", "-413 22003"},
           });
}

TEST_F(EngineTest, StringsCompareRegardlessOfBlanksAtTheEnd) {
  runSteps(database_,
           {
               {"CREATE TABLE S(ID INTEGER NOT NULL PRIMARY KEY, V VARCHAR(10) NOT NULL UNIQUE, C "
                "CHAR(4))",
                "ok"},
               {"INSERT INTO S VALUES(1, 'a', 'x'), (2, 'B ', 'xy'), (3, '', NULL)", "3 rows"},
               {"SELECT ID FROM S WHERE V = 'a  '", "1"},
               {"SELECT ID FROM S WHERE C = 'x'", "1"},
               {"SELECT ID FROM S WHERE UPPER(V) = 'A '", "1"},
               {"SELECT ID FROM S WHERE (SELECT MAX(V) FROM S) = ? ORDER BY ID", "1\n2\n3", {"a "}},
               {"SELECT ID, V || C || '!' FROM S ORDER BY ID", "1|ax   !\n2|B xy  !\n3|-"},
               {"INSERT INTO S VALUES(4, 'B', 'z')", "-803 23505 S_UK,APP.S"},
               {"SELECT ID FROM S WHERE V = ''", "3"},
               {"SELECT ID FROM S WHERE V IS NULL OR C IS NULL", "3"},
               {"SELECT ID FROM S WHERE V LIKE 'b%'", ""},
               {"SELECT ID FROM S WHERE V LIKE '_'", "1"},
               {"SELECT ID FROM S WHERE C NOT LIKE 'x%   '", "2"},
               {"SELECT ID FROM S WHERE '10%' LIKE '__!%' ESCAPE '!' ORDER BY ID", "1\n2\n3"},
               {"SELECT ID FROM S WHERE '10%' LIKE '!0' ESCAPE '!'", "-130 22025"},
               {"SELECT LENGTH(C), LENGTH(V), SUBSTR('b\xC3\xA4r', 2, 2), POSSTR('b\xC3\xA4r', "
                "'r') FROM S "
                "WHERE ID = 2",
                "4|2|\xC3\xA4|4"},
               {"SELECT UPPER('stra\xC3\x9F"
                "e \xC3\xA4'), LOWER('\xC3\x84' || ?) FROM S WHERE ID = 1",
                "STRA\xC3\x9F"
                "E \xC3\x84|\xC3\xA4x",
                {"X"}},
               {"SELECT LEFT('abc', 2), RIGHT('abc', 2), LOCATE('c', 'abcabc', 4), STRIP('  a '), "
                "REPLACE('aXbX', 'X', '--'), REPEAT('ab', 3) FROM S WHERE ID = 1",
                "ab|bc|6|a|a--b--|ababab"},
               {"SELECT SUBSTR(V, 0, 1) FROM S", "-138 22011"},
               {"UPDATE S SET V = 'much too long'", "-433 22001 much too long"},
               {"UPDATE S SET V = 'ten chars.    ' WHERE ID = 1", "1 rows"},
           });
}

// What counts as one value to = is one value to everything that gathers equal values.
TEST_F(EngineTest, EqualStringsAreOneValueHoweverTheyAreGathered) {
  runSteps(database_, {{"CREATE TABLE S(V VARCHAR(9), W VARCHAR(12))", "ok"},
                       {"INSERT INTO S VALUES('a', 'a'), ('a ', 'a'), ('b', 'c  ')", "3 rows"}});
  for (const char* value : {"V", "V || ''", "CAST(V AS VARCHAR(20))", "COALESCE(V, W)",
                            "SUBSTR(V || 'x', 1, LENGTH(V))", "LOWER(V)"}) {
    SCOPED_TRACE(value);
    const std::string v(value);
    const auto count = [&](const std::string& query) {
      return database_.run("SELECT COUNT(*) FROM (" + query + ") AS X");
    };
    EXPECT_EQ(count("SELECT 1 FROM S WHERE " + v + " = 'a  '"), "2");
    EXPECT_EQ(count("SELECT DISTINCT " + v + " FROM S"), "2");
    EXPECT_EQ(count("SELECT 1 FROM S GROUP BY " + v), "2");
    EXPECT_EQ(count("SELECT X.V FROM (SELECT " + v + " AS V FROM S) AS X GROUP BY X.V"), "2");
    EXPECT_EQ(count("SELECT DISTINCT X.V FROM (SELECT " + v + " AS V FROM S) AS X"), "2");
    EXPECT_EQ(count("SELECT " + v + " FROM S UNION SELECT W FROM S"), "3");
    EXPECT_EQ(count("SELECT W FROM S UNION SELECT " + v + " FROM S"), "3");
    EXPECT_EQ(count("SELECT " + v + " FROM S EXCEPT VALUES ('a  '), ('c')"), "1");
    EXPECT_EQ(count("SELECT " + v + " FROM S EXCEPT ALL VALUES ('a  '), ('c')"), "2");
    EXPECT_EQ(database_.run("SELECT COUNT(DISTINCT " + v + ") FROM S"), "2");
    EXPECT_EQ(database_.run("SELECT W, LENGTH(V) FROM S ORDER BY " + v + ", W, LENGTH(V) DESC"),
              "a|2\na|1\nc  |1");
    EXPECT_EQ(database_.run("SELECT " + v + ", LENGTH(V) FROM S ORDER BY 1, 2 DESC"),
              "a |2\na|1\nb|1");
  }
  EXPECT_EQ(database_.run("SELECT COUNT(*) FROM (VALUES ('a'), ('a ') UNION VALUES ('a')) AS X"),
            "1");
}

TEST_F(EngineTest, QueriesOfEveryShape) {
  runSteps(
      database_,
      {
          {"CREATE TABLE A(K INTEGER, V VARCHAR(3))", "ok"},
          {"CREATE TABLE B(K INTEGER, W VARCHAR(3))", "ok"},
          {"INSERT INTO A VALUES(1,'one'),(2,'two'),(3,NULL)", "3 rows"},
          {"INSERT INTO B VALUES(2,'II'),(3,'III'),(4,'IV')", "3 rows"},
          {"SELECT A.K, W FROM A LEFT JOIN B ON A.K = B.K ORDER BY 1", "1|-\n2|II\n3|III"},
          {"SELECT A.K, B.K FROM A RIGHT JOIN B ON A.K = B.K ORDER BY B.K", "2|2\n3|3\n-|4"},
          {"SELECT A.K, B.K FROM A FULL JOIN B ON A.K = B.K ORDER BY A.K, B.K",
           "1|-\n2|2\n3|3\n-|4"},
          {"SELECT X.K, A.K, B.K FROM (SELECT K FROM A WHERE K = 1) AS X, A RIGHT JOIN B ON A.K = "
           "B.K "
           "ORDER BY B.K",
           "1|2|2\n1|3|3\n1|-|4"},
          {"SELECT A.K FROM A JOIN (B JOIN (SELECT 2 AS Z FROM B) AS Y ON B.K = Y.Z) ON A.K = B.K "
           "GROUP BY A.K HAVING COUNT(*) > 2",
           "2"},
          {"SELECT V FROM A ORDER BY V", "one\ntwo\n-"},
          {"SELECT V FROM A ORDER BY V DESC", "-\ntwo\none"},
          {"SELECT K FROM A ORDER BY K DESC FETCH FIRST 1 ROW ONLY", "3"},
          {"SELECT K FROM A UNION SELECT K FROM B EXCEPT SELECT 4 FROM B ORDER BY 1", "1\n2\n3"},
          {"SELECT K FROM A UNION ALL (SELECT K FROM B EXCEPT SELECT K FROM A) ORDER BY 1",
           "1\n2\n3\n4"},
          {"SELECT 1 FROM A EXCEPT ALL SELECT 1 FROM B WHERE K > 2", "1"},
          {"SELECT 1 FROM A INTERSECT ALL SELECT 1 FROM B WHERE K > 2", "1\n1"},
          {"(SELECT K FROM A ORDER BY K DESC FETCH FIRST 2 ROWS ONLY) UNION ALL "
           "(SELECT K FROM B ORDER BY K FETCH FIRST 1 ROW ONLY)",
           "3\n2\n2"},
          {"SELECT K, (SELECT W FROM B WHERE B.K = A.K) FROM A", "1|-\n2|II\n3|III"},
          {"SELECT (SELECT W FROM B) FROM A", "-811 21000"},
          {"SELECT K FROM A WHERE EXISTS (SELECT 1 FROM B WHERE B.K = A.K)", "2\n3"},
          {"SELECT K FROM A WHERE K NOT IN (SELECT K FROM B)", "1"},
          {"SELECT K FROM A WHERE K >= ALL (SELECT K FROM B WHERE K < 3)", "2\n3"},
          {"SELECT K FROM A WHERE K < ANY (SELECT K FROM B WHERE K > 9)", ""},
          {"SELECT K FROM A WHERE NOT (K < ALL (SELECT K FROM B WHERE K > 9))", ""},
          {"SELECT K FROM A WHERE NOT (V = ANY (SELECT W FROM B UNION ALL SELECT V FROM A))", ""},
          {"SELECT CASE K WHEN 1 THEN 'I' WHEN 2 THEN 'II' ELSE '+' END, COALESCE(V, '?'), "
           "NULLIF(K, 2) FROM A",
           "I|one|1\nII|two|-\n+|?|3"},
          {"SELECT CASE (SELECT MIN(K) FROM B) WHEN K THEN 'least' END, DIGITS(K) FROM A WHERE K = "
           "2",
           "least|0000000002"},
          {"SELECT NULLIF(K, 2.0), NULLIF(V, 'one  ') FROM A", "1|-\n-|two\n3|-"},
          {"VALUES (1, 'a'), (2, 'b')", "1|a\n2|b"},
          {"SELECT * FROM TABLE(VALUES(1, CAST(? AS DECIMAL(5,2)))) AS T(X, Y) WHERE Y > 1",
           "1|2.50",
           {"2.5"}},
          {"SELECT Y.N FROM (SELECT V AS N, V AS N2, K + 1 FROM A) AS Y WHERE Y.N2 = 'two'", "two"},
          {"SELECT COUNT(*), COUNT(V), COUNT(DISTINCT 1) FROM A WHERE K > 5", "0|0|0"},
          {"SELECT MAX(K) FROM A WHERE K > 5", "-"},
          {"UPDATE A SET K = K + (SELECT COUNT(*) FROM A X WHERE X.K < A.K), V = (SELECT MIN(V) "
           "FROM A X WHERE X.K < A.K) WHERE K > 1",
           "2 rows"},
          {"SELECT K, V FROM A", "1|one\n3|one\n5|one"},
          {"DELETE FROM A WHERE K > (SELECT MIN(K) FROM A X WHERE X.V = A.V)", "2 rows"},
          {"SELECT K FROM A", "1"},
      });
}

TEST_F(EngineTest, DeepNestingCostsNoMoreThanItsLengthAndEndsInAMessage) {
  auto nested = [](int levels) {
    std::string value = "1";
    for (int i = 0; i < levels; ++i) {
      value = "CASE WHEN " + value + " BETWEEN 1 AND 1.0 THEN NULLIF(1, 2) ELSE 0 END";
    }
    return "SELECT " + value + " FROM N";
  };
  std::string average = "1";
  for (int i = 0; i < 4; ++i) average = "(SELECT AVG(" + average + ") FROM N)";
  std::string sum = "I";
  std::string any = "I = 0";
  for (int i = 1; i < 400; ++i) sum += " + " + std::to_string(i);
  for (int i = 1; i < 5000; ++i) any += " OR I = " + std::to_string(i);
  runSteps(database_, {{"CREATE TABLE N(I INTEGER)", "ok"},
                       {"INSERT INTO N VALUES(1)", "1 rows"},
                       {nested(10).c_str(), "1"},
                       {nested(90).c_str(), "-101 54001"},
                       {("SELECT " + average + " FROM N").c_str(), "1"},
                       {("SELECT " + sum + " FROM N").c_str(), "79801"},
                       {("SELECT I FROM N WHERE " + any).c_str(), "1"}});
}

TEST_F(EngineTest, DatesTimesAndBinaryData) {
  runSteps(
      database_,
      {
          {"CREATE TABLE D(D DATE, T TIME, S TIMESTAMP, B CHAR(4) FOR BIT DATA, L BLOB(10))", "ok"},
          {"INSERT INTO D VALUES('24.12.2026', '8:05 PM', '2026-12-24 20:05:06.5', X'4142', ?)",
           "1 rows",
           {"xyz"}},
          {"SELECT D, T, S, B, L FROM D",
           "2026-12-24|20.05.00|2026-12-24-20.05.06.500000|41422020|78797A"},
          {"SELECT 1 FROM D WHERE D = '12/24/2026' AND T > '20:00' AND B = 'AB  '", "1"},
          {"SELECT 1 FROM D WHERE D = ? AND S < CURRENT TIMESTAMP",
           "-181 22007 2026-02-30",
           {"2026-02-30"}},
          {"SELECT YEAR(D), MONTH(S), DAY('2026-01-09'), HOUR(T), MINUTE(S), SECOND(S) FROM D",
           "2026|12|9|20|5|6"},
          {"SELECT TIMESTAMP(D, T), DATE(S), CHAR(T) FROM D",
           "2026-12-24-20.05.00.000000|2026-12-24|20.05.00"},
          {"INSERT INTO D(B) VALUES(X'4142434445')", "-433 22001 X'4142434445'"},
          {"INSERT INTO D(D) VALUES('tomorrow')", "-180 22007 tomorrow"},
          {"SELECT HEX(B || X'00') FROM D", "4142202000"},
      });
}

TEST_F(EngineTest, RowsThatBreakConstraintsAreNamedAndChangeNothing) {
  runSteps(
      database_,
      {
          {"CREATE TABLE \"My \"\"P\" (ID INTEGER NOT NULL PRIMARY KEY, N VARCHAR(5) NOT NULL, "
           "\"a,b.c\" INTEGER, CONSTRAINT POSITIVE CHECK (\"a,b.c\" > 0))",
           "ok"},
          {"CREATE UNIQUE INDEX X.UNI ON \"My \"\"P\"(\"a,b.c\", N DESC)", "ok"},
          {"CREATE TABLE S.C(P INTEGER CONSTRAINT LINK REFERENCES \"My \"\"P\"(ID))", "ok"},
          {"INSERT INTO \"My \"\"P\" VALUES(1, 'a', 1), (2, 'b', 2)", "2 rows"},
          {"INSERT INTO \"My \"\"P\" VALUES(3, 'c', 3), (4, 'a', 1)", "-803 23505 UNI,APP.My \"P"},
          {"INSERT INTO \"My \"\"P\" VALUES(?, 'c', 3)",
           "-407 23502 APP.My \"P.ID",
           {std::nullopt}},
          {"INSERT INTO \"My \"\"P\" SELECT NULL, N, 9 FROM \"My \"\"P\"",
           "-407 23502 APP.My \"P.ID"},
          {"INSERT INTO \"My \"\"P\"(N) VALUES('c')", "-407 23502 APP.My \"P.ID"},
          {"INSERT INTO \"My \"\"P\"(ID) VALUES(3)", "-407 23502 APP.My \"P.N"},
          {"UPDATE \"My \"\"P\" SET \"a,b.c\" = 0", "-545 23513 POSITIVE,APP.My \"P"},
          {"UPDATE \"My \"\"P\" SET ID = 2 WHERE ID = 1", "-803 23505 My \"P_PK,APP.My \"P"},
          {"INSERT INTO S.C VALUES(7)", "-530 23503 S.C.LINK"},
          {"INSERT INTO S.C VALUES(1), (NULL)", "2 rows"},
          {"DELETE FROM \"My \"\"P\" WHERE ID = 1", "-532 23504 S.C.LINK"},
          {"UPDATE \"My \"\"P\" SET ID = 9 WHERE ID = 1", "-531 23504 S.C.LINK"},
          {"UPDATE S.C SET P = 7", "-530 23503 S.C.LINK"},
          {"SELECT COUNT(*), SUM(ID) FROM \"My \"\"P\"", "2|3"},
          {"DELETE FROM S.C", "2 rows"},
          {"DELETE FROM \"My \"\"P\"", "2 rows"},
      });
}

TEST_F(EngineTest, InsertsOfMarkersWithConditionsAndDefaults) {
  runSteps(database_,
           {
               {"CREATE TABLE T(ID INTEGER NOT NULL WITH DEFAULT 5 PRIMARY KEY, V VARCHAR(4) "
                "DEFAULT 'dflt',"
                " D DECIMAL(5,2) WITH DEFAULT, U VARCHAR(8) DEFAULT USER, N INTEGER DEFAULT NULL)",
                "ok"},
               {"INSERT INTO T(\"ID\",\"V\",\"D\") SELECT * FROM TABLE(VALUES(CAST(? AS INTEGER),"
                "CAST(? AS VARCHAR(4)),CAST(? AS DECIMAL(5,2)) )) AS T WHERE D > 10",
                "1 rows",
                {"1", "a", "10.5"}},
               {"INSERT INTO T(ID, V, D) SELECT * FROM TABLE(VALUES(CAST(? AS INTEGER),"
                "CAST(? AS VARCHAR(4)),CAST(? AS DECIMAL(5,2)) )) AS T WHERE D > 10",
                "0 rows",
                {std::nullopt, "b", "9.5"}},
               {"INSERT INTO T(V, ID) SELECT * FROM TABLE(VALUES(CAST(? AS VARCHAR(9)), CAST(? AS "
                "BIGINT) ))"
                " AS T",
                "-433 22001 too long",
                {"too long", "2"}},
               {"INSERT INTO T(V, ID) SELECT * FROM TABLE(VALUES(CAST(? AS VARCHAR(9)), CAST(? AS "
                "BIGINT) ))"
                " AS T",
                "1 rows",
                {"fits", "2"}},
               {"INSERT INTO T(V) VALUES(DEFAULT)", "1 rows"},
               {"INSERT INTO T(ID, V) SELECT K, W FROM (SELECT 7 AS K, V AS W FROM T ORDER BY V "
                "FETCH FIRST 1"
                " ROW ONLY) AS Q",
                "1 rows"},
               {"INSERT INTO T(ID) SELECT 8 FROM T UNION SELECT 9 FROM T", "2 rows"},
               {"UPDATE T SET V = DEFAULT, D = D + 1, N = ID WHERE ID = 1", "1 rows"},
               {"SELECT * FROM T ORDER BY ID",
                "1|dflt|11.50|APP|1\n2|fits|0.00|APP|-\n5|dflt|0.00|APP|-\n7|a|0.00|APP|-\n"
                "8|dflt|0.00|APP|-\n9|dflt|0.00|APP|-"},
           });
}

TEST_F(EngineTest, FailedStatementsLeaveTheUnitOfWorkAlone) {
  Engine& engine = database_.engine();
  runSteps(database_, {{"CREATE TABLE T(ID INTEGER NOT NULL PRIMARY KEY)", "ok"}});
  engine.commit();
  runSteps(database_, {{"INSERT INTO T VALUES(1)", "1 rows"}});
  engine.savepoint("s 1");
  runSteps(database_, {{"INSERT INTO T VALUES(2),(3),(1)", "-803 23505 T_PK,APP.T"},
                       {"INSERT INTO T VALUES(4)", "1 rows"},
                       {"CREATE TABLE U(X INTEGER)", "ok"}});
  engine.rollbackToSavepoint("s 1");
  runSteps(database_, {{"SELECT ID FROM T", "1"},
                       {"SELECT * FROM U", "-204 42704 APP.U"},
                       {"CREATE TABLE U(Y INTEGER)", "ok"}});
  engine.releaseSavepoint("s 1");
  try {
    engine.releaseSavepoint("s 1");
    ADD_FAILURE() << "a savepoint that is gone";
  } catch (const SqlError& error) {
    EXPECT_EQ(EngineDatabase::failureText(error), "-880 3B001 s 1");
  }
  uint64_t version = engine.catalog().version();
  engine.rollback();
  EXPECT_FALSE(engine.inUnitOfWork());
  EXPECT_NE(engine.catalog().version(), version);
  runSteps(database_, {{"SELECT ID FROM T", ""}, {"SELECT Y FROM U", "-204 42704 APP.U"}});
}

TEST(EngineConnectionsTest, ConnectionsSeeEachOtherAndNeverMixTheirChanges) {
  TemporaryFolder folder;
  std::string path = folder.path("two.db");
  EngineDatabase first(path);
  EngineDatabase second(path, false);
  runSteps(first, {{"CREATE TABLE T(ID INTEGER)", "ok"}, {"CREATE TABLESPACE TS", "ok"}});
  runSteps(second, {{"SELECT * FROM T", "-204 42704 APP.T"}});
  first.engine().commit();
  second.engine().commit();
  runSteps(second,
           {{"SELECT COUNT(*) FROM T", "0"}, {"SELECT TBSPACE FROM SYSCAT.TABLESPACES", "TS"}});
  runSteps(first, {{"INSERT INTO T VALUES(1)", "1 rows"}});
  first.engine().commit();
  // What the second has read is no longer the state to build on.
  runSteps(second, {{"SELECT COUNT(*) FROM T", "0"}, {"INSERT INTO T VALUES(2)", "-911 40001 2"}});
  second.engine().rollback();
  runSteps(second, {{"SELECT COUNT(*) FROM T", "1"}, {"DROP TABLESPACE TS", "ok"}});
  second.engine().commit();
  first.engine().commit();
  runSteps(first, {{"SELECT TBSPACE FROM SYSCAT.TABLESPACES", ""}});
}

TEST(EngineConnectionsTest, OpensDatabasesOnly) {
  TemporaryFolder folder;
  auto outcome = [&](const std::string& name, bool create, int codePage = 1208) {
    try {
      EngineDatabase database(name.empty() ? name : folder.path(name), create, codePage);
      return std::string("opened");
    } catch (const SqlError& error) {
      return std::to_string(error.sqlcode());
    }
  };
  folder.write("text", std::string(4096, 'x'));
  EXPECT_EQ(outcome("db", false), "-1013");
  EXPECT_EQ(outcome("nowhere/db", true), "-1051");
  EXPECT_EQ(outcome("text", false), "-1026");
  EXPECT_EQ(outcome("text", true), "-1005");
  EXPECT_EQ(outcome("", false), "-1001");
  EXPECT_EQ(outcome("bad", true, 123456), "-332");
  EXPECT_EQ(outcome("bad", false), "-1013");
  EXPECT_EQ(outcome("file:db?mode=memory", true), "opened");
  EXPECT_EQ(outcome("file:db?mode=memory", false), "opened");
  EXPECT_EQ(outcome("db", true, 943), "opened");
  EngineDatabase database("sqlite:" + folder.path("db"), false, 943);
  EXPECT_EQ(database.engine().catalog().codePage(), 943);
  runSteps(database,
           {{"CREATE TABLE T(V VARCHAR(4))", "ok"},
            {"INSERT INTO T VALUES(?)", "1 rows", {"\xE6\xBC\xA2\xE5\xAD\x97"}},
            {"INSERT INTO T SELECT V || 'x' FROM T", "-433 22001 \xE6\xBC\xA2\xE5\xAD\x97x"},
            {"SELECT LENGTH(V), SUBSTR(V, 3, 2) FROM T", "4|\xE5\xAD\x97"}});
}

}  // namespace
}  // namespace orv
