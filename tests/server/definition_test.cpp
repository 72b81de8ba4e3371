// What the engine keeps beside the definitions: indexes for the searches of triggers.
#include "tests/server/engine_database.h"
#include "tests/support/sqlite_file.h"
#include "tests/support/temporary_folder.h"

namespace orv {
namespace {

class DefinitionTest : public ::testing::Test {
 protected:
  void run(const std::vector<Step>& steps) { runSteps(database_, steps); }

  // The last column of every row that the file gives for a query of SQLite's, one a line.
  std::string inFile(const std::string& query) {
    database_.engine().commit();
    const orvxml::test::SqliteFile file = orvxml::test::openSqlite(path_);
    sqlite3_db_config(file.get(), SQLITE_DBCONFIG_TRIGGER_EQP, 1, nullptr);
    std::string lines;
    for (const std::string& line : orvxml::test::runSqlite(file.get(), query)) lines += line + "\n";
    return lines;
  }
  std::string ownIndexes() {
    return inFile(
        "SELECT m.tbl_name || '.' || i.name FROM sqlite_schema m, pragma_index_info(m.name) i "
        "WHERE m.type = 'index' AND m.name LIKE 'SYSNTQ.%' ORDER BY 1");
  }

  orvxml::test::TemporaryFolder folder_;
  std::string path_ = folder_.path("d.db");
  EngineDatabase database_{path_};
};

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
  EXPECT_EQ(database_.run(trigger("A",
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
  EXPECT_EQ(database_.run(trigger("B", "DELETE FROM S.ONE WHERE NAME = OLDROW.NAME;")), "ok");
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

}  // namespace
}  // namespace orv
