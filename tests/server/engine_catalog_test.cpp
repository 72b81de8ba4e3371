// Definitions, the system views, and databases that other programs made.
#include <sqlite3.h>
#include <sys/stat.h>

#include "tests/server/engine_database.h"
#include "tests/support/temporary_folder.h"

namespace orv {
namespace {

using orvxml::test::TemporaryFolder;

// Another program's hand on the file.
void sqlite(const std::string& path, const char* sql) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
  char* message = nullptr;
  EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, &message), SQLITE_OK) << message;
  sqlite3_free(message);
  sqlite3_close(database);
}

TEST(EngineCatalogTest, TablesOfAllTypesAreDescribed) {
  EngineDatabase database(":memory:");
  runSteps(
      database,
      {
          {"CREATE DISTINCT TYPE ORVXML.DOC AS CLOB(2G)", "ok"},
          {"CREATE TABLESPACE TS", "ok"},
          {"CREATE TABLE S.T(A SMALLINT NOT NULL, B BIGINT, C REAL, D DECIMAL(7,3) DEFAULT 1, E "
           "CHAR(3),"
           " F VARCHAR(20) DEFAULT 'it''s', G LONG VARCHAR, H CLOB(1K), I GRAPHIC(4), J "
           "DBCLOB(10), "
           "K CHAR(5) FOR BIT DATA, L BLOB(2K), M DATE, N TIME, O TIMESTAMP WITH DEFAULT, "
           "P ORVXML.DOC, CONSTRAINT PK PRIMARY KEY(A)) IN TS",
           "ok"},
          {"SELECT COLNAME, TYPESCHEMA, TYPENAME, LENGTH, SCALE, NULLS, KEYSEQ, \"DEFAULT\" "
           "FROM SYSCAT.COLUMNS WHERE TABSCHEMA = 'S' AND TABNAME = 'T' ORDER BY COLNO",
           "A|SYSNTQ|SMALLINT|2|0|N|1|-\nB|SYSNTQ|BIGINT|8|0|Y|-|-\nC|SYSNTQ|REAL|4|0|Y|-|-\n"
           "D|SYSNTQ|DECIMAL|7|3|Y|-|1.000\nE|SYSNTQ|CHARACTER|3|0|Y|-|-\n"
           "F|SYSNTQ|VARCHAR|20|0|Y|-|'it''s'\nG|SYSNTQ|LONG VARCHAR|32700|0|Y|-|-\n"
           "H|SYSNTQ|CLOB|1024|0|Y|-|-\nI|SYSNTQ|GRAPHIC|4|0|Y|-|-\nJ|SYSNTQ|DBCLOB|10|0|Y|-|-\n"
           "K|SYSNTQ|CHARACTER|5|0|Y|-|-\nL|SYSNTQ|BLOB|2048|0|Y|-|-\nM|SYSNTQ|DATE|4|0|Y|-|-\n"
           "N|SYSNTQ|TIME|3|0|Y|-|-\nO|SYSNTQ|TIMESTAMP|10|0|Y|-|CURRENT TIMESTAMP\n"
           "P|ORVXML|DOC|2147483647|0|Y|-|-"},
          {"SELECT TABSCHEMA, TABNAME, TYPE, TBSPACE, COLCOUNT, KEYCOLUMNS FROM syscat.tables "
           "WHERE "
           "TABSCHEMA NOT LIKE 'SYS%'",
           "S|T|T|TS|16|1"},
          {"SELECT TYPESCHEMA, SOURCENAME, LENGTH FROM SYSCAT.DATATYPES WHERE TYPENAME = ?",
           "ORVXML|CLOB|2147483647",
           {"DOC  "}},
          {"SELECT COUNT(*) FROM SYSCAT.TRIGGERS WHERE TRIGNAME = 'X'", "0"},
          {"SELECT T.TABNAME, C.COLNAME FROM SYSCAT.TABLES T JOIN SYSCAT.COLUMNS C ON "
           "T.TABSCHEMA = C.TABSCHEMA AND T.TABNAME = C.TABNAME WHERE C.COLNAME = 'KEYSEQ'",
           "COLUMNS|KEYSEQ"},
          {"DROP DISTINCT TYPE ORVXML.DOC", "-478 42893 ORVXML.DOC,S.T"},
          {"DROP TABLESPACE TS", "-478 42893 TS,S.T"},
          {"DROP SCHEMA S RESTRICT", "-478 42893 S,S.T"},
          {"DROP TABLE S.T", "ok"},
          {"DROP DISTINCT TYPE ORVXML.DOC", "ok"},
          {"DROP TABLESPACE TS", "ok"},
          {"DROP SCHEMA S RESTRICT", "ok"},
          {"SELECT COUNT(*) FROM SYSCAT.SCHEMATA WHERE SCHEMANAME = 'S'", "0"},
      });
}

TEST(EngineCatalogTest, NamesThatSqliteWouldConfuseStayApart) {
  EngineDatabase database(":memory:");
  runSteps(database,
           {
               {"CREATE TABLE T(\"a\" INTEGER, A INTEGER, \"x\"\"y\" INTEGER)", "ok"},
               {"CREATE TABLE \"t\"(C INTEGER)", "ok"},
               {"CREATE TABLE A.T(C INTEGER)", "ok"},
               {"CREATE TABLE \"A.T\"(C INTEGER)", "ok"},
               {"CREATE TABLE \"sqlite_master\"(C INTEGER)", "ok"},
               {"INSERT INTO T VALUES(1, 2, 3)", "1 rows"},
               {"INSERT INTO T(A, \"a\") VALUES(5, 4)", "1 rows"},
               {"INSERT INTO \"t\" VALUES(10)", "1 rows"},
               {"INSERT INTO A.T VALUES(20)", "1 rows"},
               {"INSERT INTO \"A.T\" VALUES(30)", "1 rows"},
               {"INSERT INTO \"sqlite_master\" VALUES(40)", "1 rows"},
               {"SELECT \"a\", A, \"x\"\"y\" FROM T ORDER BY A", "1|2|3\n4|5|-"},
               {"SELECT X.C, Y.C, Z.C, M.C FROM \"t\" X, A.T Y, \"A.T\" Z, \"sqlite_master\" M",
                "10|20|30|40"},
               {"UPDATE T SET \"a\" = A WHERE \"x\"\"y\" = 3", "1 rows"},
               {"SELECT \"a\", A FROM T WHERE \"x\"\"y\" = 3", "2|2"},
               {"CREATE INDEX T ON T(A DESC, \"a\")", "ok"},
               {"SELECT COLNAMES FROM SYSCAT.INDEXES WHERE INDNAME = 'T'", "-A+a"},
               {"DROP INDEX T", "ok"},
               {"SELECT COUNT(*) FROM \"SYSNTQ.TABLES\"", "-204 42704 APP.SYSNTQ.TABLES"},
           });
}

TEST(EngineCatalogTest, TablesChangeWithTheirRows) {
  EngineDatabase database(":memory:");
  runSteps(
      database,
      {
          {"CREATE TABLE P(ID INTEGER NOT NULL, V VARCHAR(5), UNIQUE(ID))", "ok"},
          {"CREATE TABLE C(P INTEGER NOT NULL, Q INTEGER)", "ok"},
          {"INSERT INTO P VALUES(1, 'a'), (2, 'b')", "2 rows"},
          {"INSERT INTO C VALUES(1, 1), (3, 1)", "2 rows"},
          {"ALTER TABLE C ADD CONSTRAINT FK FOREIGN KEY(P) REFERENCES P(ID) ON DELETE CASCADE",
           "-667 23520 FK"},
          {"ALTER TABLE C ADD CONSTRAINT CK CHECK(P < 3)", "-544 23512 CK"},
          {"ALTER TABLE C ADD PRIMARY KEY(Q)", "-542 42831 Q"},
          {"ALTER TABLE C ADD N INTEGER NOT NULL DEFAULT 1 ADD UNIQUE(N)", "-673 23515 APP.C"},
          {"SELECT * FROM C", "1|1\n3|1"},
          {"DELETE FROM C WHERE P = 3", "1 rows"},
          {"ALTER TABLE C ADD CONSTRAINT FK FOREIGN KEY(P) REFERENCES P(ID) ON DELETE CASCADE "
           "ADD CONSTRAINT CK CHECK(P < 3) ADD D DATE WITH DEFAULT ADD X DECIMAL(5,2) DEFAULT 1.5 "
           "ADD CONSTRAINT KEY PRIMARY KEY(P)",
           "ok"},
          {"SELECT P, X FROM C WHERE D = CURRENT DATE", "1|1.50"},
          {"INSERT INTO C(P) VALUES(2)", "1 rows"},
          {"SELECT P, X FROM C WHERE D = CURRENT DATE", "1|1.50\n2|1.50"},
          {"INSERT INTO C(P) VALUES(2)", "-803 23505 KEY,APP.C"},
          {"UPDATE C SET P = 3 WHERE P = 2", "-545 23513 CK,APP.C"},
          {"UPDATE C SET P = 0 WHERE P = 2", "-530 23503 APP.C.FK"},
          {"DROP INDEX KEY", "-478 42893 APP.KEY,APP.C"},
          {"DELETE FROM P WHERE ID = 2", "1 rows"},
          {"SELECT P FROM C", "1"},
          {"SELECT CONSTNAME, COLNAME FROM SYSCAT.KEYCOLUSE WHERE TABNAME = 'C'", "KEY|P\nFK|P"},
          {"DROP TABLE P", "ok"},
          {"UPDATE C SET P = 0", "1 rows"},
          {"UPDATE C SET P = 3", "-545 23513 CK,APP.C"},
          {"SELECT COUNT(*) FROM SYSCAT.REFERENCES", "0"},
          {"CREATE TABLE E(ID INTEGER NOT NULL PRIMARY KEY, BOSS INTEGER REFERENCES E)", "ok"},
          {"INSERT INTO E VALUES(1, 1), (2, 1)", "2 rows"},
          {"DELETE FROM E WHERE ID = 1", "-532 23504 APP.E.E_FK"},
          {"DROP TABLE E", "ok"},
      });
}

TEST(EngineCatalogTest, DefinitionsComeBackWithTheFile) {
  TemporaryFolder folder;
  std::string path = folder.path("kept.db");
  Package package{"ORVXML", "QRKTAB", "token1"};
  {
    EngineDatabase database(path);
    runSteps(database, {
                           {"CREATE DISTINCT TYPE X.MONEY AS DECIMAL(9,2) WITH COMPARISONS", "ok"},
                           {"CREATE TABLE X.T(ID INTEGER NOT NULL PRIMARY KEY, M X.MONEY, "
                            "CONSTRAINT C CHECK(ID > 0),"
                            " CONSTRAINT F FOREIGN KEY(ID) REFERENCES X.T(ID) ON DELETE RESTRICT)",
                            "ok"},
                           {"CREATE UNIQUE INDEX X.I ON X.T(M)", "ok"},
                           {"CREATE PROCEDURE X.P(IN A X.MONEY, OUT B CLOB(1M) AS LOCATOR) "
                            "SPECIFIC SP EXTERNAL NAME "
                            "'lib!entry' LANGUAGE C PARAMETER STYLE ORVDARI",
                            "ok"},
                       });
    database.engine().bindPackage(package, {{"S1", "SELECT 1"}});
    database.engine().commit();
    runSteps(database, {{"CREATE TABLE GONE(A INTEGER)", "ok"}});
  }
  EngineDatabase database(path, false);
  const Catalog& catalog = database.engine().catalog();
  runSteps(
      database,
      {
          {"INSERT INTO X.T VALUES(1, 5)", "1 rows"},
          {"INSERT INTO X.T VALUES(2, 5.00)", "-803 23505 I,X.T"},
          {"INSERT INTO X.T VALUES(0, 6)", "-545 23513 C,X.T"},
          {"SELECT TYPESCHEMA, TYPENAME, LENGTH, SCALE FROM SYSCAT.COLUMNS WHERE TABNAME = 'T' AND "
           "COLNAME = 'M'",
           "X|MONEY|9|2"},
          {"SELECT CONSTNAME, REFTABNAME, DELETERULE FROM SYSCAT.REFERENCES", "F|T|R"},
          {"SELECT PARMNAME, PARM_MODE, TYPENAME, AS_LOCATOR FROM SYSCAT.PROCPARMS ORDER BY "
           "ORDINAL",
           "A|IN|MONEY|N\nB|OUT|CLOB|Y"},
          {"SELECT * FROM GONE", "-204 42704 APP.GONE"},
          {"DROP DISTINCT TYPE X.MONEY", "-478 42893 X.MONEY,X.T"},
          {"DROP TABLE X.T", "ok"},
          {"DROP DISTINCT TYPE X.MONEY", "-478 42893 X.MONEY,X.SP"},
          {"DROP SPECIFIC PROCEDURE X.SP", "ok"},
          {"DROP DISTINCT TYPE X.MONEY", "ok"},
      });
  EXPECT_EQ(catalog.findPackage("ORVXML", "QRKTAB")->token, "token1");
  EXPECT_FALSE(catalog.findPackage("ORVXML", "OTHER"));
}

TEST(EngineCatalogTest, FunctionsComeBackWithTheFile) {
  TemporaryFolder folder;
  const std::string path = folder.path("functions.db");
  const std::string style = " LANGUAGE C PARAMETER STYLE ORVSQL ";
  {
    EngineDatabase database(path);
    runSteps(database, {{"CREATE DISTINCT TYPE X.DOC AS CLOB(2G)", "ok"},
                        {"CREATE DISTINCT TYPE X.NAME AS VARCHAR(512) WITH COMPARISONS", "ok"}});
    for (const std::string& function :
         {"X.F(X.DOC AS LOCATOR, VARCHAR(5)) RETURNS X.DOC AS LOCATOR CAST FROM CLOB(1M) AS "
          "LOCATOR SPECIFIC F1 EXTERNAL NAME 'lib!fEntry'" +
              style + "SCRATCHPAD 200 FINAL CALL NOT VARIANT DBINFO NOT NULL CALL",
          "X.F(DECIMAL(7,2)) RETURNS CHAR(4) FOR BIT DATA SPECIFIC F2 EXTERNAL NAME 'lib!g'" +
              style + "NOT DETERMINISTIC",
          "X.ROWS(X.NAME) RETURNS TABLE(\"a b\" GRAPHIC(3), D CLOB(1G) AS LOCATOR) SPECIFIC R "
          "EXTERNAL NAME 'lib!rows'" +
              style + "SCRATCHPAD",
          std::string("Y.G(X.NAME) RETURNS VARCHAR(600) SPECIFIC G SOURCE X.VARCHAR(X.NAME)"),
          std::string("Y.H(INTEGER) RETURNS CHAR(4) FOR BIT DATA SPECIFIC H SOURCE SPECIFIC "
                      "X.F2")}) {
      EXPECT_EQ(database.run("CREATE FUNCTION " + function), "ok") << function;
    }
    database.engine().commit();
    runSteps(database, {{"DROP SPECIFIC FUNCTION X.F1", "ok"}});
    database.engine().rollback();
    EXPECT_EQ(database.run("CREATE FUNCTION X.GONE() RETURNS DATE EXTERNAL NAME 'l!e'" + style),
              "ok");
  }
  EngineDatabase database(path, false);
  runSteps(
      database,
      {
          {"SELECT FUNCNAME, SPECIFICNAME, ORIGIN, TYPE, PARM_COUNT, IMPLEMENTATION, SOURCE_SCHEMA,"
           " SOURCE_NAME, DETERMINISTIC, NULL_CALL, SCRATCHPAD, FINAL_CALL, DBINFO "
           "FROM SYSCAT.FUNCTIONS ORDER BY SPECIFICNAME",
           "F|F1|E|S|2|lib!fEntry|-|-|Y|N|200|Y|Y\nF|F2|E|S|1|lib!g|-|-|N|Y|0|N|N\n"
           "G|G|U|S|1|-|X|VARCHAR|-|-|-|-|-\nH|H|U|S|1|-|X|F|-|-|-|-|-\n"
           "ROWS|R|E|T|1|lib!rows|-|-|N|Y|100|N|N"},
          {"SELECT SPECIFICNAME, ROWTYPE, ORDINAL, PARMNAME, TYPESCHEMA, TYPENAME, LENGTH, SCALE, "
           "AS_LOCATOR FROM SYSCAT.FUNCPARMS ORDER BY SPECIFICNAME, ROWTYPE, ORDINAL",
           "F1|C|0|-|X|DOC|2147483647|0|Y\nF1|P|1|-|X|DOC|2147483647|0|Y\n"
           "F1|P|2|-|SYSNTQ|VARCHAR|5|0|N\nF1|R|0|-|SYSNTQ|CLOB|1048576|0|Y\n"
           "F2|C|0|-|SYSNTQ|CHARACTER|4|0|N\nF2|P|1|-|SYSNTQ|DECIMAL|7|2|N\n"
           "F2|R|0|-|SYSNTQ|CHARACTER|4|0|N\nG|C|0|-|SYSNTQ|VARCHAR|600|0|N\n"
           "G|P|1|-|X|NAME|512|0|N\nH|C|0|-|SYSNTQ|CHARACTER|4|0|N\n"
           "H|P|1|-|SYSNTQ|INTEGER|4|0|N\nR|P|1|-|X|NAME|512|0|N\n"
           "R|R|1|a b|SYSNTQ|GRAPHIC|3|0|N\nR|R|2|D|SYSNTQ|CLOB|1073741824|0|Y"},
          {"DROP SPECIFIC FUNCTION X.F2", "-478 42893 X.F2,Y.H"},
          {"DROP DISTINCT TYPE X.DOC", "-478 42893 X.DOC,X.F1"},
          {"DROP DISTINCT TYPE X.NAME", "-478 42893 X.NAME,X.R"},
          {"DROP SPECIFIC FUNCTION X.R", "ok"},
          {"DROP DISTINCT TYPE X.NAME", "-478 42893 X.NAME,Y.G"},
          {"DROP SCHEMA Y RESTRICT", "-478 42893 Y,Y.G"},
          {"DROP FUNCTION Y.G", "ok"},
          {"DROP FUNCTION Y.H(INTEGER)", "ok"},
          {"DROP FUNCTION X.F(X.DOC AS LOCATOR, VARCHAR(9))", "ok"},
          {"DROP FUNCTION X.F", "ok"},
          {"DROP DISTINCT TYPE X.NAME", "ok"},
          {"SELECT COUNT(*) FROM SYSCAT.FUNCPARMS", "0"},
          {"DROP SCHEMA Y RESTRICT", "ok"},
      });
}

constexpr const char* kOtherProgram = R"(
  CREATE TABLE Customer(CustomerId INTEGER PRIMARY KEY, FirstName NVARCHAR(40) NOT NULL,
                        [Order] TEXT, born DATE, seen DATETIME, free, price NUMERIC(10,2), code CHAR(5));
  CREATE TABLE Invoice(InvoiceId INTEGER PRIMARY KEY AUTOINCREMENT,
                       CustomerId INT REFERENCES Customer(CustomerId),
                       Total NUMERIC(10,2), -- ) not the end
                       CHECK (Total <> ')')) /* ) */;
  CREATE TABLE pair(a TEXT, b TEXT, PRIMARY KEY(a, b)) WITHOUT ROWID;
  CREATE INDEX byName ON Customer(FirstName);
  CREATE VIEW names AS SELECT FirstName, CustomerId + 1 AS next FROM Customer;
  CREATE VIEW broken AS SELECT * FROM missing;
  INSERT INTO Customer VALUES(1,'Ann','x','12 May','2009-01-02 03:04:05',7,0.99,'ab');
  INSERT INTO Customer VALUES(2,'Bob',NULL,NULL,'2010-01-01 00:00:00','t',20,NULL);
  INSERT INTO Invoice VALUES(1,1,1.98),(2,1,3.96),(3,2,13.86);
)";

TEST(EngineCatalogTest, FilesOfOtherProgramsAreUsedAsTheyAre) {
  TemporaryFolder folder;
  std::string path = folder.path("other.db");
  sqlite(path, kOtherProgram);
  const std::string before = orvxml::test::readFile(path);
  EngineDatabase database(path, false);
  runSteps(
      database,
      {
          {"SELECT COLNAME, TYPENAME, LENGTH, NULLS, KEYSEQ FROM SYSCAT.COLUMNS WHERE TABNAME = "
           "'CUSTOMER' ORDER BY COLNO",
           "CUSTOMERID|INTEGER|4|N|1\nFIRSTNAME|VARCHAR|160|N|-\nORDER|CLOB|2147483647|Y|-\n"
           "BORN|VARCHAR|32672|Y|-\nSEEN|TIMESTAMP|10|Y|-\nFREE|VARCHAR|32672|Y|-\n"
           "PRICE|DECIMAL|10|Y|-\nCODE|VARCHAR|5|Y|-"},
          {"SELECT CustomerId, \"FIRSTNAME\", \"born\", seen, free, price, code FROM Customer",
           "1|Ann|12 May|2009-01-02-03.04.05.000000|7|0.99|ab\n"
           "2|Bob|-|2010-01-01-00.00.00.000000|t|20.00|-"},
          {"SELECT \"CustomerId\" FROM \"Customer\" WHERE seen > '2009-12-31-23.59.59' AND price > "
           "1.5",
           "2"},
          {"SELECT C.FIRSTNAME, SUM(TOTAL), AVG(I.TOTAL), MAX(I.TOTAL) FROM CUSTOMER C, INVOICE I "
           "WHERE "
           "C.CUSTOMERID = I.CUSTOMERID AND TOTAL IN (1.98, 3.96, 13.86) GROUP BY C.FIRSTNAME "
           "ORDER BY "
           "2 DESC",
           "Bob|13.86|13.86000000000000000000000|13.86\nAnn|5.94|2.97000000000000000000000|3.96"},
          {"SELECT FREE FROM CUSTOMER WHERE FREE = '7' AND '6' < FREE AND FREE IN ('7', 'x')", "7"},
          {"SELECT * FROM NAMES ORDER BY 1", "Ann|2\nBob|3"},
          {"SELECT FIRSTNAME FROM NAMES WHERE NEXT = '3'", "Bob"},
          {"SELECT * FROM BROKEN", "-204 42704 APP.BROKEN"},
      });
  database.engine().commit();
  EXPECT_EQ(orvxml::test::readFile(path), before) << "reading must not write";

  runSteps(database,
           {
               {"INSERT INTO INVOICE(CUSTOMERID, TOTAL) VALUES(2, 5)", "1 rows"},
               {"INSERT INTO INVOICE(CUSTOMERID, TOTAL) VALUES(9, 5)",
                "-530 23503 APP.INVOICE.INVOICE_FK1"},
               {"SELECT INVOICEID, TOTAL FROM INVOICE WHERE TOTAL < 6 ORDER BY TOTAL",
                "1|1.98\n2|3.96\n4|5.00"},
               {"ALTER TABLE INVOICE ADD NOTE VARCHAR(3) ADD CONSTRAINT SHORT CHECK(NOTE <> 'no')",
                "ok"},
               {"UPDATE INVOICE SET NOTE = 'no'", "-545 23513 SHORT,APP.INVOICE"},
               {"UPDATE INVOICE SET NOTE = 'long'", "-433 22001 long"},
               {"CREATE TABLE MINE(C INTEGER REFERENCES CUSTOMER(CUSTOMERID))", "ok"},
               {"INSERT INTO MINE VALUES(2)", "1 rows"},
               {"DROP TABLE CUSTOMER", "-478 42893 APP.CUSTOMER,APP.INVOICE"},
               {"DROP TABLE INVOICE", "ok"},
               {"DROP TABLE CUSTOMER", "ok"},
               {"INSERT INTO MINE VALUES(9)", "1 rows"},
               {"SELECT C FROM MINE", "2\n9"},
           });
  database.engine().commit();
  sqlite(path,
         "ALTER TABLE MINE ADD COLUMN later REAL; CREATE TABLE new(x INT, v VARCHAR(3)); "
         "INSERT INTO new VALUES(3, x'616263'), (4, x'61626364'), (CAST(x'80' AS TEXT), 'bad')");
  runSteps(database, {{"SELECT C, LATER, X, V FROM MINE, NEW WHERE C = 9 AND X = 3", "9|-|3|abc"},
                      {"SELECT V FROM NEW WHERE X = 4", "-433 22001 abcd"},
                      {"SELECT X FROM NEW WHERE V = 'bad'", "-420 22018 X'80',INTEGER"}});
}

TEST(EngineCatalogTest, CatalogsThatChangedHandsAreReadOrRefused) {
  TemporaryFolder folder;
  std::string path = folder.path("edited.db");
  {
    EngineDatabase database(path);
    runSteps(database,
             {{"CREATE TABLE T(A INTEGER NOT NULL PRIMARY KEY, B DECIMAL(5,2), C DATE)", "ok"},
              {"CREATE TABLE GONE(A INTEGER)", "ok"}});
    database.engine().commit();
  }
  // The tables of functions are missing, as in databases from before there were any.
  sqlite(path,
         "ALTER TABLE T DROP COLUMN C; DROP TABLE GONE; INSERT INTO T VALUES(1, 1.5); "
         "DROP TABLE \"SYSNTQ.FUNCTIONS\"; DROP TABLE \"SYSNTQ.FUNCTIONTYPES\"");
  {
    EngineDatabase database(path, false);
    runSteps(database, {{"SELECT A, B FROM T", "1|1.50"},
                        {"SELECT C FROM T", "-206 42703 C"},
                        {"SELECT COUNT(*) FROM SYSCAT.FUNCTIONS", "0"},
                        {"CREATE FUNCTION F() RETURNS DATE EXTERNAL NAME 'l!e' LANGUAGE C "
                         "PARAMETER STYLE ORVSQL",
                         "ok"},
                        {"CREATE TABLE GONE(B INTEGER)", "ok"},
                        {"INSERT INTO GONE SELECT A FROM T", "1 rows"}});
    database.engine().commit();
  }
  sqlite(path, "UPDATE \"SYSNTQ.DATABASE\" SET VALUE = 99 WHERE NAME = 'FORMAT'");
  try {
    EngineDatabase database(path, false);
    ADD_FAILURE() << "a format of the future";
  } catch (const SqlError& error) {
    EXPECT_EQ(error.sqlcode(), -902);
  }
}

TEST(EngineCatalogTest, ReadOnlyFilesAreRead) {
  if (geteuid() == 0) GTEST_SKIP() << "everything is writable for this user";
  TemporaryFolder folder;
  std::string path = folder.path("fixed.db");
  sqlite(path, kOtherProgram);
  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  EngineDatabase database(path, false);
  runSteps(database, {{"SELECT COUNT(*) FROM CUSTOMER", "2"}});
  EXPECT_EQ(database.run("DELETE FROM INVOICE").substr(0, 10), "-970 57011");
}

}  // namespace
}  // namespace orv
