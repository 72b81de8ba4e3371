// Triggers below the engine's interface: what they do to the rows of their own and of other tables,
// in which order, and what is left when one of them fails.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <set>
#include <sstream>
#include <thread>

#include "tests/server/engine_database.h"
#include "tests/support/temporary_folder.h"

namespace orv {
namespace {

using orvxml::test::TemporaryFolder;

class TriggerTest : public ::testing::Test {
 protected:
  void run(const std::vector<Step>& steps) { runSteps(*database_, steps); }
  std::string run(const std::string& text) { return database_->run(text); }
  void reopen() {
    database_->engine().commit();
    database_.reset();
    database_ = std::make_unique<EngineDatabase>(path_, false);
  }

  TemporaryFolder folder_;
  std::string path_ = folder_.path() + "/t.db";
  std::unique_ptr<EngineDatabase> database_ = std::make_unique<EngineDatabase>(path_);
};

TEST_F(TriggerTest, SideTablesFollowTheirTable) {
  run({
      {"CREATE TABLE DOCS(ID INTEGER NOT NULL PRIMARY KEY, TITLE VARCHAR(20), PRICE DECIMAL(7,2))",
       "ok"},
      {"CREATE TABLE S.SIDE(ID INTEGER NOT NULL, TITLE VARCHAR(20), PRICE DECIMAL(9,3))", "ok"},
      {"CREATE TRIGGER S.I AFTER INSERT ON DOCS REFERENCING NEW AS N FOR EACH ROW MODE ORVSQL "
       "WHEN (N.TITLE IS NOT NULL) BEGIN ATOMIC "
       "INSERT INTO S.SIDE(ID, TITLE, PRICE) VALUES(N.ID, UPPER(N.TITLE), N.PRICE); END",
       "ok"},
      {"CREATE TRIGGER U AFTER UPDATE OF TITLE, PRICE ON DOCS REFERENCING NEW AS N OLD AS O "
       "FOR EACH ROW MODE ORVSQL UPDATE S.SIDE SET TITLE = N.TITLE || '<' || O.TITLE, "
       "PRICE = N.PRICE WHERE N.ID = SIDE.ID",
       "ok"},
      {"CREATE TRIGGER D AFTER DELETE ON DOCS REFERENCING OLD AS O FOR EACH ROW MODE ORVSQL "
       "BEGIN ATOMIC DELETE FROM S.SIDE WHERE O.ID = S.SIDE.ID; END",
       "ok"},
      {"INSERT INTO DOCS VALUES(1, 'one', 1), (2, NULL, 2), (3, 'three  ', 3.5)", "3 rows"},
      {"SELECT ID, TITLE, PRICE FROM S.SIDE ORDER BY ID", "1|ONE|1.000\n3|THREE  |3.500"},
      {"INSERT INTO DOCS SELECT ID + 10, TITLE, PRICE FROM DOCS WHERE TITLE = 'three'", "1 rows"},
      {"UPDATE DOCS SET TITLE = 'x' WHERE ID = 1", "1 rows"},
      {"UPDATE DOCS SET ID = ID WHERE ID = 3", "1 rows"},
      {"UPDATE DOCS SET PRICE = 0 WHERE ID = 99", "0 rows"},
      {"SELECT ID, TITLE FROM S.SIDE ORDER BY ID", "1|x<one\n3|THREE  \n13|THREE  "},
      {"DELETE FROM DOCS WHERE ID > 1", "3 rows"},
      {"SELECT ID FROM S.SIDE", "1"},
      {"SELECT TRIGSCHEMA, TRIGNAME, TABNAME, TRIGTIME, TRIGEVENT FROM SYSCAT.TRIGGERS",
       "APP|D|DOCS|A|D\nAPP|U|DOCS|A|U\nS|I|DOCS|A|I"},
      {"SELECT COUNT(*) FROM SYSCAT.TRIGGERS WHERE TRIGNAME = ?", "1", {"I"}},
  });
}

TEST_F(TriggerTest, FireInTheOrderOfTheirCreation) {
  const auto trigger = [](const std::string& name, const std::string& event) {
    return "CREATE TRIGGER " + name + " AFTER " + event +
           " ON T FOR EACH ROW MODE ORVSQL INSERT INTO LOG SELECT COUNT(*) + 1, '" + name +
           "' FROM LOG";
  };
  const auto fired = [&](const std::string& statement) {
    EXPECT_EQ(run("DELETE FROM LOG").substr(1), " rows");
    EXPECT_EQ(run(statement), "1 rows");
    return run("SELECT NAME FROM LOG ORDER BY N");
  };
  run({{"CREATE TABLE T(A INTEGER, B INTEGER)", "ok"},
       {"CREATE TABLE LOG(N INTEGER, NAME VARCHAR(10))", "ok"}});
  for (const char* name : {"M", "A", "Z"}) EXPECT_EQ(run(trigger(name, "INSERT")), "ok");
  EXPECT_EQ(fired("INSERT INTO T VALUES(1, 1)"), "M\nA\nZ");
  EXPECT_EQ(run("DROP TRIGGER A"), "ok");
  EXPECT_EQ(run(trigger("B", "INSERT")), "ok");
  EXPECT_EQ(run(trigger("A", "INSERT")), "ok");
  EXPECT_EQ(run("INSERT INTO T VALUES(7, 7)"), "1 rows");
  EXPECT_EQ(run(trigger("UB", "UPDATE OF B")), "ok");
  EXPECT_EQ(run(trigger("U", "UPDATE")), "ok");
  EXPECT_EQ(run(trigger("UA", "UPDATE OF A")), "ok");
  for (const bool again : {false, true}) {
    if (again) reopen();
    EXPECT_EQ(fired("INSERT INTO T VALUES(1, 1)"), "M\nZ\nB\nA");
    EXPECT_EQ(fired("UPDATE T SET A = 2, B = 2 WHERE A = 7"), "UB\nU\nUA");
    EXPECT_EQ(fired("UPDATE T SET A = 7 WHERE A = 2"), "U\nUA");
  }
}

TEST_F(TriggerTest, BeforeTriggersSetColumnsOfTheNewRow) {
  run({
      {"CREATE TABLE T(ID INTEGER NOT NULL PRIMARY KEY, A VARCHAR(9), B VARCHAR(20) NOT NULL, "
       "C DECIMAL(5,2) DEFAULT 7, U CHAR(13) FOR BIT DATA)",
       "ok"},
      {"CREATE TRIGGER S1 NO CASCADE BEFORE INSERT ON T REFERENCING NEW AS N FOR EACH ROW "
       "MODE ORVSQL WHEN (N.A IS NOT NULL) BEGIN ATOMIC SET N.U = generate_unique(); "
       "SET N.B = N.A || '!', N.A = COALESCE(N.B, 'none'); END",
       "ok"},
      {"CREATE TRIGGER S2 NO CASCADE BEFORE INSERT ON T REFERENCING NEW AS N FOR EACH ROW "
       "MODE ORVSQL WHEN (N.B IS NULL OR LENGTH(N.B) > 3) SET N.C = N.C + 1, N.B = '-'",
       "ok"},
      {"INSERT INTO T(ID, A, B) VALUES(?, ?, ?)", "1 rows", {"1", "x", "y"}},
      {"INSERT INTO T(ID, A) VALUES(2, 'abc'), (3, NULL)", "2 rows"},
      {"INSERT INTO T(ID, A, C) SELECT ID + 10, A || '+', 1 FROM T WHERE ID < 3", "2 rows"},
      {"INSERT INTO T(ID, A) SELECT * FROM TABLE(VALUES(CAST(? AS INTEGER), CAST(? AS VARCHAR(9))))"
       " AS X WHERE ID > 0",
       "1 rows",
       {"21", "q"}},
      {"INSERT INTO T(ID, A) VALUES(NULL, 'z')", "-407 23502 APP.T.ID"},
      {"SELECT ID, A, B, C, CASE WHEN U IS NULL THEN 0 ELSE 1 END FROM T ORDER BY ID",
       "1|y|x!|7.00|1\n2|none|-|8.00|1\n3|-|-|8.00|0\n11|none|y+!|1.00|1\n"
       "12|none|-|2.00|1\n21|none|q!|7.00|1"},
      {"SELECT COUNT(DISTINCT U) FROM T WHERE U IS NOT NULL", "5"},
      {"CREATE TRIGGER S3 NO CASCADE BEFORE UPDATE OF A ON T REFERENCING NEW AS N OLD AS O "
       "FOR EACH ROW MODE ORVSQL SET N.B = O.A || '>' || N.A",
       "ok"},
      {"CREATE TRIGGER S4 NO CASCADE BEFORE UPDATE ON T REFERENCING NEW AS N FOR EACH ROW "
       "MODE ORVSQL WHEN (LENGTH(N.B) > 5) SET N.C = 0",
       "ok"},
      {"UPDATE T SET A = ? WHERE ID = 1", "1 rows", {"k"}},
      {"UPDATE T SET A = UPPER(A) || '2' WHERE ID IN (2, 12)", "2 rows"},
      {"UPDATE T SET C = 5 WHERE ID = 11", "1 rows"},
      {"UPDATE T SET A = (SELECT MAX(A) FROM T) WHERE ID > 20", "1 rows"},
      {"SELECT ID, A, B, C FROM T ORDER BY ID",
       "1|k|y>k|7.00\n2|NONE2|none>NONE2|0.00\n3|-|-|8.00\n11|none|y+!|5.00\n"
       "12|NONE2|none>NONE2|0.00\n21|none|none>none|0.00"},
  });
}

TEST_F(TriggerTest, StatementsOfTriggersBringTriggersAlong) {
  run({
      {"CREATE TABLE A(N INTEGER)", "ok"},
      {"CREATE TABLE B(N INTEGER, X VARCHAR(5))", "ok"},
      {"CREATE TRIGGER AB AFTER INSERT ON A REFERENCING NEW AS N FOR EACH ROW MODE ORVSQL "
       "INSERT INTO B(N) SELECT N.N FROM TABLE(VALUES(1)) AS V(C) WHERE N.N > 0",
       "ok"},
      {"INSERT INTO A VALUES(0), (1)", "2 rows"},
      {"CREATE TRIGGER SB NO CASCADE BEFORE INSERT ON B REFERENCING NEW AS M FOR EACH ROW "
       "MODE ORVSQL SET M.X = CHAR(M.N)",
       "ok"},
      {"INSERT INTO A VALUES(2)", "1 rows"},
      {"DROP TRIGGER SB", "ok"},
      {"INSERT INTO A VALUES(3)", "1 rows"},
      {"SELECT N, X FROM B ORDER BY N", "1|-\n2|2    \n3|-"},
      // down to nothing, and without an end
      {"CREATE TRIGGER DOWN AFTER INSERT ON A REFERENCING NEW AS N FOR EACH ROW MODE ORVSQL "
       "WHEN (N.N > 1) INSERT INTO A VALUES(N.N - 1)",
       "ok"},
      {"DELETE FROM A", "4 rows"},
      {"INSERT INTO A VALUES(20)", "1 rows"},
      {"SELECT COUNT(*) FROM A", "20"},
      {"CREATE TRIGGER UP AFTER INSERT ON A REFERENCING NEW AS N FOR EACH ROW MODE ORVSQL "
       "WHEN (N.N < 0) INSERT INTO A VALUES(N.N - 1)",
       "ok"},
      {"INSERT INTO A VALUES(-1)", "-724 54038 TRIGGER"},
      {"SELECT COUNT(*) FROM A", "20"},
  });
}

TEST_F(TriggerTest, UpdatesWithinTriggersSetColumnsToo) {
  run({
      {"CREATE TABLE A(N INTEGER)", "ok"},
      {"CREATE TABLE \"Q\"(N INTEGER NOT NULL PRIMARY KEY, X VARCHAR(9), Y INTEGER, Z INTEGER)",
       "ok"},
      {"INSERT INTO Q VALUES(1, 'a', 0, 0), (2, 'b', 0, 0)", "2 rows"},
      {"CREATE TRIGGER S NO CASCADE BEFORE UPDATE ON Q REFERENCING NEW AS M OLD AS O FOR EACH ROW "
       "MODE ORVSQL WHEN (EXISTS (SELECT 1 FROM A WHERE A.N = M.N)) "
       "SET M.Y = LENGTH(M.X) + LENGTH(O.X), M.Z = (SELECT SUM(P.N) FROM Q AS P)",
       "ok"},
      {"CREATE TRIGGER T AFTER INSERT ON A REFERENCING NEW AS R FOR EACH ROW MODE ORVSQL "
       "UPDATE Q SET X = X || CHAR(R.N) WHERE N <= R.N",
       "ok"},
      {"INSERT INTO A VALUES(2)", "1 rows"},
      {"SELECT N, RTRIM(X), Y, Z FROM Q ORDER BY N", "1|a2|0|0\n2|b2|10|3"},
  });
}

TEST_F(TriggerTest, TablesMayBeCalledAsRowsAre) {
  run({
      {"CREATE TABLE OLD(ID INTEGER)", "ok"},
      {"CREATE TABLE \"new\"(ID INTEGER)", "ok"},
      {"CREATE TABLE T(ID INTEGER)", "ok"},
      {"CREATE TRIGGER D AFTER DELETE ON T REFERENCING OLD AS O FOR EACH ROW MODE ORVSQL "
       "DELETE FROM OLD WHERE OLD.ID = O.ID",
       "ok"},
      {"CREATE TRIGGER U AFTER UPDATE ON T REFERENCING NEW AS NEW OLD AS \"old\" FOR EACH ROW "
       "MODE ORVSQL UPDATE \"new\" SET ID = NEW.ID WHERE \"new\".ID = \"old\".ID",
       "ok"},
      {"INSERT INTO OLD VALUES(1), (2)", "2 rows"},
      {"INSERT INTO \"new\" VALUES(1), (2)", "2 rows"},
      {"INSERT INTO T VALUES(1), (2)", "2 rows"},
      {"UPDATE T SET ID = 7 WHERE ID = 1", "1 rows"},
      {"DELETE FROM T WHERE ID = 2", "1 rows"},
      {"SELECT ID FROM OLD", "1"},
      {"SELECT ID FROM \"new\" ORDER BY ID", "2\n7"},
  });
}

TEST_F(TriggerTest, TriggersOfOtherProgramsStayAndFire) {
  database_.reset();
  sqlite3* other = nullptr;
  const auto shell = [&](const char* sql) {
    return sqlite3_exec(other, sql, nullptr, nullptr, nullptr);
  };
  ASSERT_EQ(sqlite3_open(path_.c_str(), &other), SQLITE_OK);
  EXPECT_EQ(
      shell("CREATE TABLE theirs(id INTEGER PRIMARY KEY, at DATE); CREATE TABLE log(w VARCHAR(20));"
            "CREATE TRIGGER i AFTER INSERT ON theirs BEGIN INSERT INTO log VALUES('i'); END"),
      SQLITE_OK);
  sqlite3_close(other);
  database_ = std::make_unique<EngineDatabase>(path_, false);
  run({
      {"CREATE TRIGGER I AFTER INSERT ON THEIRS REFERENCING NEW AS N FOR EACH ROW MODE ORVSQL "
       "INSERT INTO LOG VALUES(CHAR(N.AT))",
       "ok"},
      {"INSERT INTO THEIRS VALUES(1, '2026-11-25')", "1 rows"},
      {"DROP TRIGGER I", "ok"},
      {"INSERT INTO THEIRS VALUES(2, '2026-11-26')", "1 rows"},
      {"SELECT COUNT(*) FROM LOG", "3"},
      {"SELECT COUNT(*) FROM LOG WHERE W = '2026-11-25'", "1"},
  });
}

TEST_F(TriggerTest, WhateverFailsInATriggerUndoesItsStatementAlone) {
  run({
      {"CREATE TABLE T(ID INTEGER NOT NULL, N INTEGER)", "ok"},
      {"CREATE TABLE SIDE(ID INTEGER NOT NULL PRIMARY KEY, N SMALLINT, CHECK(N < 30000))", "ok"},
      {"CREATE TRIGGER I AFTER INSERT ON T REFERENCING NEW AS N FOR EACH ROW MODE ORVSQL "
       "INSERT INTO SIDE VALUES(N.ID, N.N)",
       "ok"},
      {"CREATE TRIGGER U AFTER UPDATE ON T REFERENCING NEW AS N FOR EACH ROW MODE ORVSQL "
       "UPDATE SIDE SET N = 100 / N.N WHERE SIDE.ID = N.ID",
       "ok"},
      {"CREATE TRIGGER V NO CASCADE BEFORE INSERT ON T REFERENCING NEW AS N FOR EACH ROW "
       "MODE ORVSQL WHEN (N.N = (SELECT COUNT(*) FROM SIDE) AND N.N > 1) "
       "SIGNAL SQLSTATE '38X14' ('it''s \"invalid\"')",
       "ok"},
      {"CREATE TRIGGER D NO CASCADE BEFORE DELETE ON T REFERENCING OLD AS O FOR EACH ROW "
       "MODE ORVSQL WHEN (O.N = 2) SIGNAL SQLSTATE '70010' SET MESSAGE_TEXT = 'kept'",
       "ok"},
      {"INSERT INTO T VALUES(1, 1), (2, 2)", "2 rows"},
      {"INSERT INTO T VALUES(3, 7), (4, 3)", "-438 38X14 it's \"invalid\""},
      {"INSERT INTO T VALUES(5, 5), (1, 5)", "-803 23505 SIDE_PK,APP.SIDE"},
      {"INSERT INTO T SELECT ID + 10, N + 40000 * (ID - 1) FROM T", "-413 22003"},
      {"INSERT INTO T VALUES(6, 6), (7, 31000)", "-545 23513 SIDE_CK,APP.SIDE"},
      {"UPDATE T SET N = N - 2 WHERE ID > 0", "-801 22012"},
      {"DELETE FROM T", "-438 70010 kept"},
      {"SELECT ID, N FROM T ORDER BY ID", "1|1\n2|2"},
      {"SELECT ID, N FROM SIDE ORDER BY ID", "1|1\n2|2"},
      {"UPDATE T SET N = 4", "2 rows"},
      {"DELETE FROM T WHERE ID = 1", "1 rows"},
      {"SELECT ID, N FROM SIDE ORDER BY ID", "1|25\n2|25"},
  });
}

TEST_F(TriggerTest, DefinitionsInUseStay) {
  run({
      {"CREATE DISTINCT TYPE MONEY AS DECIMAL(7,2) WITH COMPARISONS", "ok"},
      {"CREATE TABLE T(ID INTEGER NOT NULL)", "ok"},
      {"CREATE TABLE SIDE(ID INTEGER, M MONEY)", "ok"},
      {"CREATE ALIAS OTHER FOR SIDE", "ok"},
      {"CREATE TABLE BASE(ID INTEGER, NAME VARCHAR(9))", "ok"},
      {"CREATE VIEW V AS SELECT ID, NAME FROM BASE WHERE ID > 0", "ok"},
      {"CREATE FUNCTION F(INTEGER) RETURNS INTEGER LANGUAGE C PARAMETER STYLE ORVSQL NO SQL "
       "EXTERNAL NAME 'l!f'",
       "ok"},
      {"CREATE SCHEMA TS", "ok"},
      {"CREATE TRIGGER TS.I AFTER INSERT ON T REFERENCING NEW AS N FOR EACH ROW MODE ORVSQL "
       "WHEN (EXISTS (SELECT 1 FROM V)) INSERT INTO OTHER VALUES(F(N.ID), MONEY(1))",
       "ok"},
      {"DROP FUNCTION F", "-478 42893 APP.F,TS.I"},
      {"DROP TABLE SIDE", "-478 42893 APP.SIDE,TS.I"},
      {"DROP ALIAS OTHER", "-478 42893 APP.OTHER,TS.I"},
      {"DROP VIEW V", "-478 42893 APP.V,TS.I"},
      {"DROP TABLE BASE", "-478 42893 APP.BASE,APP.V"},
      {"DROP SCHEMA TS", "-478 42893 TS,TS.I"},
      {"ALTER TABLE T ADD AT TIMESTAMP WITH DEFAULT", "ok"},
      {"ALTER TABLE SIDE ADD C INTEGER", "ok"},
      {"INSERT INTO T(ID) VALUES(1)", "1 rows"},
      {"SELECT COUNT(*) FROM SIDE", "0"},
      {"DROP TABLE T", "ok"},
      {"SELECT COUNT(*) FROM SYSCAT.TRIGGERS", "0"},
      {"DROP SCHEMA TS", "ok"},
      {"DROP ALIAS OTHER", "ok"},
      {"DROP FUNCTION F", "ok"},
      {"DROP VIEW V", "ok"},
      {"DROP TABLE BASE", "ok"},
  });
}

TEST_F(TriggerTest, ViewsShowTheirQueryWithItsTypes) {
  run({
      {"CREATE TABLE T(ID INTEGER NOT NULL PRIMARY KEY, NAME CHAR(6), P DECIMAL(6,2), B BLOB(10))",
       "ok"},
      {"CREATE TABLE SIDE(ID INTEGER, X DATE)", "ok"},
      {"INSERT INTO T VALUES(1, 'one', 2.5, NULL), (2, 'two', 10, NULL)", "2 rows"},
      {"INSERT INTO SIDE VALUES(1, '2026-11-25'), (1, '2026-11-26')", "2 rows"},
      {"CREATE VIEW S.V AS SELECT APP.T.ID, APP.T.NAME, APP.T.P, SIDE.X FROM SIDE, APP.T "
       "WHERE APP.T.ID = SIDE.ID",
       "ok"},
      {"CREATE VIEW W(\"k\", K, SUM) AS SELECT ID, NAME || ' ', P + 1 FROM T", "ok"},
      {"SELECT NAME, X FROM S.V WHERE NAME = 'one' AND X > '2026-11-25'", "one   |2026-11-26"},
      {"SELECT \"k\", SUM FROM W WHERE K = 'two' AND SUM > 9", "2|11.00"},
      {"SELECT MAX(SUM) FROM W", "11.00"},
      {"SELECT COLNAME, TYPENAME, LENGTH, SCALE FROM SYSCAT.COLUMNS WHERE TABNAME = 'V' "
       "ORDER BY COLNO",
       "ID|INTEGER|4|0\nNAME|CHARACTER|6|0\nP|DECIMAL|6|2\nX|DATE|4|0"},
      {"SELECT TYPE FROM SYSCAT.TABLES WHERE TABNAME = 'W'", "V"},
      {"SELECT VIEWSCHEMA, VIEWNAME FROM SYSCAT.VIEWS", "APP|W\nS|V"},
      {"CREATE VIEW MARKED AS SELECT ID, generate_unique() AS U FROM T UNION ALL "
       "SELECT ID, generate_unique() FROM T",
       "ok"},
      {"CREATE VIEW TWICE AS SELECT * FROM MARKED WHERE U IS NOT NULL", "ok"},
      {"SELECT COUNT(*), COUNT(DISTINCT U) FROM TWICE WHERE U = U AND HEX(U) = HEX(U)", "4|4"},
      {"INSERT INTO W VALUES(1, 'x', 2)", "-150 42807 APP.W"},
      {"DROP VIEW S.V", "ok"},
      {"SELECT ID FROM S.V", "-204 42704 S.V"},
      {"SELECT COUNT(*) FROM SYSCAT.VIEWS", "3"},
  });
}

TEST_F(TriggerTest, ForeignKeysBringTriggersOfTheirRowsAlong) {
  run({
      {"CREATE TABLE TOP(ID INTEGER NOT NULL PRIMARY KEY)", "ok"},
      {"CREATE TABLE MIDDLE(ID INTEGER NOT NULL PRIMARY KEY, UP INTEGER, "
       "FOREIGN KEY(UP) REFERENCES TOP ON DELETE CASCADE)",
       "ok"},
      {"CREATE TABLE BOTTOM(UP INTEGER, NAME VARCHAR(9), "
       "FOREIGN KEY(UP) REFERENCES MIDDLE ON DELETE SET NULL)",
       "ok"},
      {"CREATE TABLE LOG(NAME VARCHAR(20))", "ok"},
      {"CREATE TRIGGER M AFTER DELETE ON MIDDLE REFERENCING OLD AS O FOR EACH ROW MODE ORVSQL "
       "INSERT INTO LOG VALUES('middle ' || RTRIM(CHAR(O.ID)))",
       "ok"},
      {"CREATE TRIGGER B AFTER UPDATE OF UP ON BOTTOM REFERENCING NEW AS N OLD AS O FOR EACH ROW "
       "MODE ORVSQL WHEN (N.UP IS NULL) INSERT INTO LOG VALUES(O.NAME || RTRIM(CHAR(O.UP)))",
       "ok"},
      {"INSERT INTO TOP VALUES(1), (2)", "2 rows"},
      {"INSERT INTO MIDDLE VALUES(1, 1), (2, 1), (3, 2)", "3 rows"},
      {"INSERT INTO BOTTOM VALUES(1, 'a'), (3, 'b'), (1, 'c')", "3 rows"},
      {"DELETE FROM TOP WHERE ID = 1", "1 rows"},
      {"SELECT NAME FROM LOG ORDER BY NAME", "a1\nc1\nmiddle 1\nmiddle 2"},
      {"SELECT COUNT(*) FROM BOTTOM WHERE UP IS NULL", "2"},
      {"CREATE TRIGGER K NO CASCADE BEFORE DELETE ON MIDDLE FOR EACH ROW MODE ORVSQL "
       "SIGNAL SQLSTATE '70001' ('kept')",
       "ok"},
      {"DELETE FROM TOP", "-438 70001 kept"},
      {"SELECT ID FROM TOP", "2"},
  });
}

TEST_F(TriggerTest, UniqueValuesRiseAndRepeatInNoThreadOrProcess) {
  constexpr const char* kTenThousand =
      "SELECT HEX(generate_unique()) FROM TABLE(VALUES 0,1,2,3,4,5,6,7,8,9) AS A, TABLE(VALUES "
      "0,1,2,3,4,5,6,7,8,9) AS B, TABLE(VALUES 0,1,2,3,4,5,6,7,8,9) AS C, TABLE(VALUES "
      "0,1,2,3,4,5,6,7,8,9) AS D";
  const auto make = [&](std::string& lines) {
    lines = EngineDatabase(":memory:").run(kTenThousand);
  };
  // A child of this process has what this one remembers, and its clock.
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  std::vector<std::string> lines(4);
  if (child == 0) {
    make(lines[0]);
    for (size_t sent = 0; sent < lines[0].size();) {
      const ssize_t count = write(ends[1], lines[0].data() + sent, lines[0].size() - sent);
      if (count <= 0) break;
      sent += static_cast<size_t>(count);
    }
    _exit(0);
  }
  close(ends[1]);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < 3; ++i) threads.emplace_back([&, i] { make(lines[i]); });
  std::array<char, 65536> buffer;
  for (ssize_t count; (count = read(ends[0], buffer.data(), buffer.size())) > 0;) {
    lines[3].append(buffer.data(), static_cast<size_t>(count));
  }
  for (std::thread& thread : threads) thread.join();
  waitpid(child, nullptr, 0);
  close(ends[0]);
  std::set<std::string> all;
  for (const std::string& made : lines) {
    std::istringstream values(made);
    std::string before;
    for (std::string value; std::getline(values, value); before = value) {
      EXPECT_EQ(value.size(), 26U);
      EXPECT_LT(before, value);
      all.insert(value);
    }
  }
  EXPECT_EQ(all.size(), 40000U);
}

TEST_F(TriggerTest, RollbackTakesTriggersAndViewsBack) {
  run({
      {"CREATE TABLE T(A INTEGER)", "ok"},
      {"CREATE TRIGGER I AFTER INSERT ON T FOR EACH ROW MODE ORVSQL DELETE FROM T", "ok"},
  });
  database_->engine().commit();
  run({
      {"CREATE TRIGGER S NO CASCADE BEFORE INSERT ON T REFERENCING NEW AS N FOR EACH ROW "
       "MODE ORVSQL SET N.A = 5",
       "ok"},
      {"CREATE VIEW V AS SELECT A FROM T", "ok"},
      {"DROP TRIGGER I", "ok"},
      {"INSERT INTO T VALUES(1)", "1 rows"},
      {"SELECT A FROM V", "5"},
  });
  database_->engine().rollback();
  run({
      {"SELECT TRIGNAME FROM SYSCAT.TRIGGERS", "I"},
      {"SELECT A FROM V", "-204 42704 APP.V"},
      {"INSERT INTO T VALUES(1)", "1 rows"},
      {"SELECT COUNT(*) FROM T", "0"},
  });
  database_->engine().savepoint("P");
  run({
      {"DROP TRIGGER I", "ok"},
      {"CREATE TRIGGER S NO CASCADE BEFORE INSERT ON T REFERENCING NEW AS N FOR EACH ROW "
       "MODE ORVSQL SET N.A = 5",
       "ok"},
      {"INSERT INTO T VALUES(1)", "1 rows"},
      {"SELECT A FROM T", "5"},
  });
  database_->engine().rollbackToSavepoint("P");
  run({
      {"SELECT TRIGNAME FROM SYSCAT.TRIGGERS", "I"},
      {"INSERT INTO T VALUES(1)", "1 rows"},
      {"SELECT COUNT(*) FROM T", "0"},
  });
}

}  // namespace
}  // namespace orv
