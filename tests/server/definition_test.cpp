// What triggers and views go on meaning when other things come and go, and what the engine and the
// catalog keep beside them.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/server/engine_database.h"
#include "tests/support/temporary_folder.h"

namespace orv {
namespace {

using orvxml::test::TemporaryFolder;

class DefinitionTest : public ::testing::Test {
 protected:
  void run(const std::vector<Step>& steps) { runSteps(*database_, steps); }
  void reopen() {
    database_->engine().commit();
    database_.reset();
    database_ = std::make_unique<EngineDatabase>(path_, false);
  }

  // The last column of every row that the file gives for a query of SQLite's, one a line.
  std::string inFile(const std::string& query) {
    database_->engine().commit();
    sqlite3* file = nullptr;
    std::string lines;
    EXPECT_EQ(sqlite3_open(path_.c_str(), &file), SQLITE_OK);
    sqlite3_db_config(file, SQLITE_DBCONFIG_TRIGGER_EQP, 1, nullptr);
    const auto add = [](void* to, int columns, char** values, char**) {
      *static_cast<std::string*>(to) += std::string(values[columns - 1]) + "\n";
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(file, query.c_str(), add, &lines, nullptr), SQLITE_OK)
        << sqlite3_errmsg(file);
    sqlite3_close(file);
    return lines;
  }
  std::string ownIndexes() {
    return inFile(
        "SELECT m.tbl_name || '.' || i.name FROM sqlite_schema m, pragma_index_info(m.name) i "
        "WHERE m.type = 'index' AND m.name LIKE 'SYSNTQ.%' ORDER BY 1");
  }

  TemporaryFolder folder_;
  std::string path_ = folder_.path() + "/d.db";
  std::unique_ptr<EngineDatabase> database_ = std::make_unique<EngineDatabase>(path_);
};

TEST_F(DefinitionTest, KeepTheirMeaningWhenTablesGainColumns) {
  run({
      {"CREATE TABLE SRC(ID INTEGER)", "ok"},
      {"CREATE TABLE T(A INTEGER, B VARCHAR(9))", "ok"},
      {"CREATE TABLE LOG(A INTEGER, K VARCHAR(9))", "ok"},
      {"CREATE TRIGGER I AFTER INSERT ON SRC REFERENCING NEW AS N FOR EACH ROW MODE ORVSQL "
       "BEGIN ATOMIC INSERT INTO T VALUES(N.ID, 'i'); INSERT INTO LOG SELECT * FROM T "
       "WHERE A = N.ID; UPDATE LOG SET A = -1 WHERE NOT EXISTS (SELECT 1 FROM T WHERE B = K); END",
       "ok"},
      {"CREATE VIEW V AS SELECT * FROM T", "ok"},
      {"ALTER TABLE T ADD K VARCHAR(9) WITH DEFAULT 'k'", "ok"},
      {"ALTER TABLE LOG ADD C INTEGER", "ok"},
      // the statements of I are made anew
      {"CREATE TRIGGER S NO CASCADE BEFORE INSERT ON T REFERENCING NEW AS N FOR EACH ROW "
       "MODE ORVSQL SET N.K = UPPER(N.B), N.B = N.B || '!'",
       "ok"},
  });
  for (const char* id : {"1", "2"}) {
    const std::string kept = std::string(id) + "|i!";
    run({
        {"INSERT INTO SRC VALUES(?)", "1 rows", {id}},
        {"SELECT A, B, K FROM T", (kept + "|I").c_str()},
        {"SELECT A, K, C FROM LOG", (kept + "|-").c_str()},
        {"SELECT * FROM V", kept.c_str()},
        {"DELETE FROM T", "1 rows"},
        {"DELETE FROM LOG", "1 rows"},
    });
    reopen();
    const std::string again = std::string("CREATE TRIGGER S") + id +
                              " NO CASCADE BEFORE INSERT ON T REFERENCING NEW AS N FOR EACH ROW "
                              "MODE ORVSQL SET N.K = UPPER(N.K)";
    EXPECT_EQ(database_->run(again), "ok");
  }
  run({
      {"CREATE TRIGGER J AFTER INSERT ON SRC FOR EACH ROW MODE ORVSQL INSERT INTO T VALUES(1, 'j')",
       "-117 42802"},
      {"DROP TABLE T", "-478 42893 APP.T,APP.V"},
      {"DROP VIEW V", "ok"},
      {"DROP TABLE T", "-478 42893 APP.T,APP.I"},
  });
}

TEST_F(DefinitionTest, KeepTheFunctionsAndTypesOfTheirTime) {
  const std::string rest = " LANGUAGE C PARAMETER STYLE ORVSQL NO SQL EXTERNAL NAME 'l!f'";
  const auto create = [&](const char* signature) {
    return database_->run("CREATE FUNCTION " + std::string(signature) + rest);
  };
  run({{"CREATE TABLE T(A INTEGER, B INTEGER)", "ok"}});
  EXPECT_EQ(create("F(DOUBLE) RETURNS INTEGER SPECIFIC FIRST"), "ok");
  run({
      {"CREATE TRIGGER I NO CASCADE BEFORE INSERT ON T REFERENCING NEW AS N FOR EACH ROW "
       "MODE ORVSQL WHEN (N.A > 9) SET N.B = F(N.A)",
       "ok"},
      {"CREATE VIEW V(A) AS SELECT F(A) FROM T WHERE A > 9", "ok"},
  });
  EXPECT_EQ(create("F(INTEGER) RETURNS INTEGER SPECIFIC SECOND"), "ok");
  reopen();
  run({
      {"DROP SPECIFIC FUNCTION FIRST", "-478 42893 APP.FIRST,APP.V"},
      {"DROP VIEW V", "ok"},
      {"DROP SPECIFIC FUNCTION FIRST", "-478 42893 APP.FIRST,APP.I"},
      {"DROP SPECIFIC FUNCTION SECOND", "ok"},
  });
  EXPECT_EQ(create("F(INTEGER) RETURNS INTEGER SPECIFIC FIRST2"), "ok");
  run({
      {"CREATE VIEW V(A) AS SELECT F(A) FROM T", "ok"},
      {"DROP SPECIFIC FUNCTION FIRST2", "-478 42893 APP.FIRST2,APP.V"},
      {"DROP TRIGGER I", "ok"},
      {"DROP SPECIFIC FUNCTION FIRST", "ok"},
  });
}

TEST_F(DefinitionTest, SearchesOfTriggersHaveIndexes) {
  const auto trigger = [](const char* name, const char* step) {
    return "CREATE TRIGGER " + std::string(name) +
           " AFTER DELETE ON DOCS REFERENCING OLD AS OLDROW FOR EACH ROW MODE ORVSQL BEGIN "
           "ATOMIC " +
           step + " END";
  };
  run({
      {"CREATE TABLE DOCS(ID INTEGER NOT NULL PRIMARY KEY, ROOT CHAR(13) FOR BIT DATA, "
       "NAME VARCHAR(10))",
       "ok"},
      {"CREATE TABLE \"ma\"\"ny\"(ROOT CHAR(13) FOR BIT DATA NOT NULL, N INTEGER)", "ok"},
      {"CREATE TABLE S.ONE(ID INTEGER NOT NULL, NAME VARCHAR(10))", "ok"},
      {"CREATE TABLE KEYED(ID INTEGER NOT NULL, N INTEGER NOT NULL, PRIMARY KEY(ID, N))", "ok"},
      {"CREATE TABLE INDEXED(ID INTEGER NOT NULL, N INTEGER)", "ok"},
      {"CREATE INDEX X ON INDEXED(ID)", "ok"},
  });
  EXPECT_EQ(database_->run(trigger("A",
                                   "DELETE FROM \"ma\"\"ny\" WHERE oldrow.root = root; "
                                   "UPDATE S.ONE SET ID = 0 WHERE ID > 0 AND (S.ONE.NAME = "
                                   "OLDROW.NAME AND ID <> OLDROW.ID); "
                                   "DELETE FROM KEYED WHERE ID = OLDROW.ID; "
                                   "DELETE FROM INDEXED WHERE ID = OLDROW.ID; "
                                   "DELETE FROM KEYED WHERE N = OLDROW.ID OR ID = 1;")),
            "ok");
  EXPECT_EQ(ownIndexes(), "S.ONE.NAME\nma\"ny.ROOT\n");
  const std::string plan = inFile("EXPLAIN QUERY PLAN DELETE FROM DOCS WHERE ID = 1");
  for (const char* search : {"SEARCH ma\"ny USING", "SEARCH S.ONE USING INDEX SYSNTQ",
                             "SEARCH KEYED USING", "SEARCH INDEXED USING", "SCAN KEYED"}) {
    EXPECT_NE(plan.find(search), std::string::npos) << search << " in\n" << plan;
  }
  EXPECT_EQ(database_->run(trigger("B", "DELETE FROM S.ONE WHERE NAME = OLDROW.NAME;")), "ok");
  run({
      {"SELECT INDNAME FROM SYSCAT.INDEXES WHERE TABNAME <> 'INDEXED'", ""},
      {"INSERT INTO \"ma\"\"ny\" VALUES(x'01', 1), (x'02', 2), (x'01', 3)", "3 rows"},
      {"INSERT INTO DOCS VALUES(1, x'01', 'n')", "1 rows"},
      {"DELETE FROM DOCS", "1 rows"},
      {"SELECT N FROM \"ma\"\"ny\"", "2"},
      {"DROP TRIGGER A", "ok"},
  });
  EXPECT_EQ(ownIndexes(), "S.ONE.NAME\n");
  run({{"CREATE INDEX Y ON S.ONE(NAME, ID)", "ok"}});
  EXPECT_EQ(ownIndexes(), "");
  run({{"DROP INDEX Y", "ok"}});
  EXPECT_EQ(ownIndexes(), "S.ONE.NAME\n");
  run({{"DROP TABLE DOCS", "ok"}});
  EXPECT_EQ(ownIndexes(), "");
}

TEST_F(DefinitionTest, NamesOfTheCatalogsOwnTablesDoNoHarm) {
  run({
      {"CREATE TABLE \"SYSNTQ.MINE\"(A INTEGER)", "ok"},
      {"CREATE TABLE \"sysntq.tables\"(A INTEGER)", "ok"},
      {"CREATE INDEX \"SYSNTQ.SEARCH.1\" ON \"SYSNTQ.MINE\"(A)", "ok"},
      {"CREATE INDEX SYSNTQ.\"SEARCH.1\" ON \"SYSNTQ.MINE\"(A)", "-553 42939 SYSNTQ.SEARCH.1"},
      {"INSERT INTO \"SYSNTQ.MINE\" VALUES(1)", "1 rows"},
  });
  reopen();
  run({
      {"SELECT A FROM \"SYSNTQ.MINE\"", "1"},
      {"SELECT A FROM \"sysntq.tables\"", ""},
      {"SELECT INDNAME FROM SYSCAT.INDEXES", "SYSNTQ.SEARCH.1"},
  });
}

TEST_F(DefinitionTest, PrivilegesAreKeptAndShown) {
  constexpr const char* kShown =
      "SELECT GRANTOR, GRANTEE, GRANTEETYPE, TABSCHEMA, TABNAME, CONTROLAUTH, ALTERAUTH, "
      "DELETEAUTH, INDEXAUTH, INSERTAUTH, SELECTAUTH, REFAUTH, UPDATEAUTH FROM SYSCAT.TABAUTH "
      "ORDER BY TABSCHEMA, TABNAME, GRANTEE";
  run({
      {"CREATE TABLE T(A INTEGER)", "ok"},
      {"CREATE TABLE S.\"select\"(A INTEGER)", "ok"},
      {"CREATE ALIAS ALSO FOR T", "ok"},
      {"CREATE VIEW V AS SELECT A FROM T", "ok"},
      {"GRANT SELECT, UPDATE (A) ON TABLE T TO PUBLIC, USER ANN", "ok"},
      {"GRANT ALL ON ALSO TO \"bob\" WITH GRANT OPTION", "ok"},
      {"GRANT INSERT ON T TO \"bob\"", "ok"},
      {"GRANT ALL PRIVILEGES ON V TO GROUP STAFF", "ok"},
      {"GRANT CONTROL ON S.\"select\" TO ANN", "ok"},
      {kShown,
       "APP|ANN|U|APP|T|N|N|N|N|N|Y|N|N\n"
       "APP|PUBLIC|G|APP|T|N|N|N|N|N|Y|N|N\n"
       "APP|bob|U|APP|T|N|G|G|G|G|G|G|G\n"
       "APP|STAFF|G|APP|V|N|N|Y|N|Y|Y|N|Y\n"
       "APP|ANN|U|S|select|Y|N|N|N|N|N|N|N"},
      {"GRANT SELECT ON NOWHERE TO PUBLIC", "-204 42704 APP.NOWHERE"},
      {"GRANT READ ON T TO PUBLIC", "-104 42601 READ,GRANT,<privilege>"},
      {"GRANT CONNECT, CREATETAB ON DATABASE TO PUBLIC", "ok"},
      {"GRANT EXECUTE ON PACKAGE ORVXML.P TO PUBLIC", "ok"},
      {"REVOKE SELECT ON T FROM BOB", "-556 42504 BOB"},
      {"REVOKE INSERT ON T FROM ANN, PUBLIC", "-556 42504 ANN"},
      {"REVOKE SELECT, DELETE ON T FROM ANN BY ALL", "ok"},
      {"REVOKE ALL ON T FROM PUBLIC", "ok"},
      {"DROP VIEW V", "ok"},
      {"DROP TABLE S.\"select\"", "ok"},
  });
  reopen();
  run({
      {kShown, "APP|bob|U|APP|T|N|G|G|G|G|G|G|G"},
      {"DROP TABLE T", "ok"},
      {"CREATE TABLE T(A INTEGER)", "ok"},
      {kShown, ""},
  });
}

}  // namespace
}  // namespace orv
