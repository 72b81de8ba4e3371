// Declared temporary tables and aliases.
#include <filesystem>

#include "orv/esql.h"
#include "server/session/prepared_statement.h"
#include "tests/server/test_session.h"
#include "tests/support/temporary_folder.h"

namespace orv::test {
namespace {

using orvxml::test::TemporaryFolder;

struct Step {
  const char* statement;
  int sqlcode = 0;
};

void runAll(TestSession& session, const std::vector<Step>& steps) {
  for (const Step& step : steps) session.run(step.statement, step.sqlcode);
}

TEST(TemporaryTableTest, DefinitionsAreAcceptedOrRefused) {
  TestSession session;
  runAll(session,
         {
             {"CREATE USER TEMPORARY TABLESPACE TS"},
             {"CREATE TABLE P (ID INTEGER NOT NULL PRIMARY KEY, V VARCHAR(9) DEFAULT 'x')"},
             {"DECLARE GLOBAL TEMPORARY TABLE SESSION.T (A INTEGER NOT NULL, B CLOB(1K), "
              "UNIQUE (A), CHECK (A < 100)) ON COMMIT PRESERVE ROWS NOT LOGGED IN TS"},
             {"DECLARE GLOBAL TEMPORARY TABLE t (A INTEGER)", -601},
             {"DECLARE GLOBAL TEMPORARY TABLE APP.U (A INTEGER)", -79},
             {"DECLARE GLOBAL TEMPORARY TABLE U (A INTEGER) IN NOWHERE", -204},
             {"DECLARE GLOBAL TEMPORARY TABLE U (A INTEGER) IN TS IN TS", -628},
             {"DECLARE GLOBAL TEMPORARY TABLE U (A INTEGER) ON COMMIT DELETE ROWS ON COMMIT "
              "PRESERVE ROWS",
              -628},
             {"DECLARE GLOBAL TEMPORARY TABLE U (A INTEGER) ON COMMIT DROP", -104},
             {"DECLARE GLOBAL TEMPORARY TABLE U (A INTEGER REFERENCES P)", -526},
             {"CREATE TABLE C (A INTEGER REFERENCES SESSION.T(A))", -526},
             {"CREATE TABLE SESSION.U (A INTEGER)", -79},
             {"ALTER TABLE SESSION.T ADD C INTEGER", -526},
             {"CREATE ALIAS AL FOR SESSION.T", -526},
             {"DROP TABLESPACE TS", -478},
             {"SELECT * FROM T", -204},
             {"INSERT INTO SESSION.T VALUES (1, 'one'), (2, NULL)"},
             {"INSERT INTO SESSION.T VALUES (1, 'again')", -803},
             {"INSERT INTO SESSION.T (B) VALUES ('b')", -407},
             {"INSERT INTO SESSION.T (A) VALUES (100)", -545},
             {"UPDATE SESSION.T SET B = 'two' WHERE A = 2"},
             {"DELETE FROM SESSION.T WHERE SESSION.T.A = 1"},
         });
  EXPECT_EQ(session.rows("SELECT SESSION.T.B FROM SESSION.T"), (Rows{{"two"}}));
  // LIKE takes columns with their defaults, not keys; a replaced table may have been another one.
  session.run("DECLARE GLOBAL TEMPORARY TABLE T LIKE P WITH REPLACE");
  session.run("INSERT INTO SESSION.T (ID) VALUES (1), (1)");
  EXPECT_EQ(session.rows("SELECT * FROM SESSION.T"), (Rows{{"1", "x"}, {"1", "x"}}));
  EXPECT_TRUE(session.rows("SELECT 1 FROM SYSCAT.TABLES WHERE TABSCHEMA = 'SESSION'").empty());
  EXPECT_TRUE(session.rows("SELECT 1 FROM SYSCAT.COLUMNS WHERE TABSCHEMA = 'SESSION'").empty());
}

TEST(TemporaryTableTest, IndexesBelongToTheirTable) {
  TestSession session;
  runAll(session, {{"DECLARE GLOBAL TEMPORARY TABLE T (A INTEGER, B INTEGER)"},
                   {"CREATE UNIQUE INDEX I ON SESSION.T (A, B DESC)"},
                   {"CREATE INDEX SESSION.I ON SESSION.T (B)", -601},
                   {"INSERT INTO SESSION.T VALUES (1, 2)"},
                   {"INSERT INTO SESSION.T VALUES (1, 2)", -803}});
  EXPECT_TRUE(session.rows("SELECT 1 FROM SYSCAT.INDEXES").empty());
  runAll(session, {{"DROP INDEX SESSION.I"},
                   {"INSERT INTO SESSION.T VALUES (1, 2)"},
                   {"CREATE UNIQUE INDEX SESSION.I ON SESSION.T (A)", -673},
                   {"DROP TABLE SESSION.T"},
                   {"DROP TABLE SESSION.T", -204}});
}

TEST(TemporaryTableTest, RowsAndDefinitionsFollowTheUnitOfWork) {
  TestSession session;
  session.run("DECLARE GLOBAL TEMPORARY TABLE GOING (A INTEGER)");
  session.run("DECLARE GLOBAL TEMPORARY TABLE KEPT (A INTEGER) ON COMMIT PRESERVE ROWS");
  const auto insertBoth = [&](const char* value) {
    for (const char* table : {"GOING", "KEPT"}) {
      session.run(std::string("INSERT INTO SESSION.") + table + " VALUES (" + value + ")");
    }
  };
  insertBoth("1");
  session->commit();
  EXPECT_TRUE(session.rows("SELECT * FROM SESSION.GOING").empty());
  EXPECT_EQ(session.rows("SELECT * FROM SESSION.KEPT"), (Rows{{"1"}}));
  session.run("SAVEPOINT S");
  insertBoth("2");
  session.run("ROLLBACK TO SAVEPOINT S");
  insertBoth("3");
  session->rollback();
  EXPECT_EQ(session.rows("SELECT * FROM SESSION.KEPT"), (Rows{{"1"}}));

  // A definition that is rolled back brings the one before it back, with its rows and index.
  session.run("CREATE INDEX I ON SESSION.KEPT (A)");
  session->commit();
  for (const char* end : {"ROLLBACK", "ROLLBACK TO SAVEPOINT S"}) {
    SCOPED_TRACE(end);
    runAll(session, {{"SAVEPOINT S"},
                     {"DROP INDEX SESSION.I"},
                     {"DECLARE GLOBAL TEMPORARY TABLE KEPT (B CHAR(3)) WITH REPLACE"},
                     {"INSERT INTO SESSION.KEPT VALUES ('new')"},
                     {"DECLARE GLOBAL TEMPORARY TABLE MORE (A INTEGER)"},
                     {end},
                     {"CREATE INDEX I ON SESSION.KEPT (A)", -601},
                     {"SELECT * FROM SESSION.MORE", -204}});
    EXPECT_EQ(session.rows("SELECT A FROM SESSION.KEPT"), (Rows{{"1"}}));
  }
  session.run("DROP TABLE SESSION.KEPT");
  session->commit();
  session.run("SELECT * FROM SESSION.KEPT", -204);
}

TEST(TemporaryTableTest, OpenResultsAreReadAheadOfChanges) {
  TestSession session;
  session.run("DECLARE GLOBAL TEMPORARY TABLE T (A INTEGER)");
  PreparedStatement all(session->state(), "SELECT A FROM SESSION.T ORDER BY A");
  for (const char* change :
       {"INSERT INTO SESSION.T SELECT A FROM SESSION.T", "COMMIT", "DROP TABLE SESSION.T"}) {
    SCOPED_TRACE(change);
    session->run("DELETE FROM SESSION.T");
    session.run("INSERT INTO SESSION.T VALUES (1), (2), (3)");
    all.start();
    all.run();
    ASSERT_TRUE(all.fetch());
    session.run(change);
    ASSERT_TRUE(all.fetch());
    EXPECT_EQ(all.column(0).integer, 2);
    EXPECT_TRUE(all.fetch());
    EXPECT_FALSE(all.fetch());
  }
}

TEST(TemporaryTableTest, EverySessionHasItsOwn) {
  const TemporaryFolder folder;
  const std::string path = folder.path() + "/sample";
  TestSession first(1208, path);
  first.run("CREATE TABLE T (A INTEGER)");
  first->commit();
  Outcome outcome;
  const auto second = Session::open(path, outcome);
  ASSERT_TRUE(second) << outcome.message;
  // The first session's unit of work stays open: declaring and filling takes no lock of the file.
  first.run("INSERT INTO T VALUES (1)");
  EXPECT_EQ(second->run("SELECT * FROM SESSION.T").outcome.sqlcode, -204);
  EXPECT_EQ(second->run("DECLARE GLOBAL TEMPORARY TABLE T (B CHAR(1))").outcome.sqlcode, 0);
  EXPECT_EQ(second->run("INSERT INTO SESSION.T VALUES ('s')").outcome.sqlcode, 0);
  first.run("DECLARE GLOBAL TEMPORARY TABLE T (A INTEGER)");
  first.run("INSERT INTO SESSION.T VALUES (1)");
  EXPECT_EQ(rowsOf(second->run("SELECT B FROM SESSION.T")), (Rows{{"s"}}));
  EXPECT_EQ(first.rows("SELECT A FROM SESSION.T"), (Rows{{"1"}}));
  first->commit();
  first.close();
  const auto third = Session::open(path, outcome);
  ASSERT_TRUE(third) << outcome.message;
  EXPECT_EQ(third->run("SELECT * FROM SESSION.T").outcome.sqlcode, -204);
  EXPECT_EQ(rowsOf(third->run("SELECT COUNT(*) FROM SYSCAT.SCHEMATA WHERE SCHEMANAME='SESSION'")),
            (Rows{{"0"}}));
}

TEST(TemporaryTableTest, EmbeddedSqlStoresDocumentsInThem) {
  static constexpr esql::Module kModule = {"TESTMOD", "TOKEN001", {}};
  TestSession session;
  bindPackage(*session, kModule.package, kModule.token);
  sqlca area{};
  esql::executeImmediate(
      kModule, "DECLARE GLOBAL TEMPORARY TABLE SESSION.RESULT (DOC CLOB(8), OK INTEGER)", area);
  EXPECT_EQ(area.sqlcode, 0);
  esql::Statement insert(kModule);
  insert.prepare("INSERT INTO SESSION.RESULT (\"DOC\", \"OK\") VALUES (?, ?)", area);
  EXPECT_EQ(area.sqlcode, 0);
  struct Case {
    std::string document;
    int sqlcode;
  };
  for (Case c : {Case{"<a></a>", 0}, Case{"<a> </a>\n", -433}}) {
    int32_t valid = 1;
    const esql::HostVariable values[] = {
        esql::stringVariable(c.document.data(), static_cast<int32_t>(c.document.size() + 1)),
        esql::integerVariable(&valid)};
    insert.execute(values, area);
    EXPECT_EQ(area.sqlcode, c.sqlcode) << c.document;
  }
  EXPECT_EQ(session.rows("SELECT * FROM SESSION.RESULT"), (Rows{{"<a></a>", "1"}}));
}

TEST(AliasTest, StandsForItsTableInEveryStatement) {
  TestSession session;
  runAll(session, {{"CREATE TABLE S.T (A INTEGER NOT NULL PRIMARY KEY, B CHAR(3))"},
                   {"CREATE ALIAS ONE FOR S.T"},
                   {"CREATE ALIAS X.TWO FOR ONE"},
                   {"CREATE ALIAS ONE FOR S.T", -601},
                   {"CREATE ALIAS S.T FOR ONE", -601},
                   {"CREATE TABLE ONE (A INTEGER)", -601},
                   {"CREATE ALIAS THREE FOR NONE", -204},
                   {"CREATE ALIAS SESSION.A FOR S.T", -79},
                   {"DROP TABLE ONE", -159},
                   {"DROP ALIAS S.T", -159},
                   {"DROP ALIAS NONE", -204},
                   {"INSERT INTO ONE VALUES (1, 'a'), (2, 'b')"},
                   {"UPDATE X.TWO SET B = 'c' WHERE X.TWO.A = 1"},
                   {"DELETE FROM ONE WHERE ONE.A = 2"},
                   {"ALTER TABLE ONE ADD N INTEGER"},
                   {"CREATE INDEX I ON X.TWO (B)"},
                   {"CREATE TABLE C (A INTEGER REFERENCES X.TWO)"},
                   {"INSERT INTO C VALUES (3)", -530}});
  EXPECT_EQ(session.rows("SELECT ONE.A, X.TWO.B, Z.N FROM ONE, X.TWO, ONE Z"),
            (Rows{{"1", "c  ", "NULL"}}));
  EXPECT_EQ(session.rows("SELECT TABSCHEMA, TABNAME, BASE_TABSCHEMA, BASE_TABNAME FROM "
                         "SYSCAT.TABLES WHERE TYPE = 'A' ORDER BY TABSCHEMA"),
            (Rows{{"APP", "ONE", "S", "T"}, {"X", "TWO", "APP", "ONE"}}));
  // An alias outlives what it stands for, and stands for its successor.
  runAll(session, {{"DROP ALIAS ONE"},
                   {"SELECT * FROM X.TWO", -204},
                   {"CREATE ALIAS ONE FOR C"},
                   {"DELETE FROM X.TWO", 100},
                   {"DROP ALIAS X.TWO"},
                   {"ROLLBACK"},
                   {"SELECT * FROM S.T", -204}});
}

}  // namespace
}  // namespace orv::test
