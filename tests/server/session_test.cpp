#include <filesystem>
#include <thread>

#include "server/session/prepared_statement.h"
#include "tests/server/test_session.h"
#include "tests/support/temporary_folder.h"

namespace orv::test {
namespace {

TEST(SessionTest, ScriptsSplitAtTheSemicolonsThatEndStatements) {
  struct Case {
    const char* label;
    const char* script;
    std::vector<std::pair<std::string, int>> statements;
  };
  const Case cases[] = {
      {"empty statements are left out", " ;;\n ; ", {}},
      {"the last semicolon may be missing", "A; B", {{"A", 1}, {"B", 1}}},
      {"quotes hide semicolons",
       "A 'x;''y' ;\nB \"c;\"\"d\";",
       {{"A 'x;''y'", 1}, {"B \"c;\"\"d\"", 2}}},
      {"a quote without an end takes the rest", "A 'x; B;", {{"A 'x; B;", 1}}},
      {"comments before a statement are not part of it",
       "-- one; two\n/* a; /* b; */ c; */\n A /* x; */ 1 -- ;\n;",
       {{"A /* x; */ 1 -- ;", 3}}},
      {"a trigger is one statement",
       "CREATE TRIGGER T BEGIN ATOMIC A; B = CASE WHEN 1 THEN 2 END; C; END;\nD",
       {{"CREATE TRIGGER T BEGIN ATOMIC A; B = CASE WHEN 1 THEN 2 END; C; END", 1}, {"D", 2}}},
      {"words that only look like BEGIN ATOMIC",
       "BEGIN; ATOMIC; BEGIN_ATOMIC; X",
       {{"BEGIN", 1}, {"ATOMIC", 1}, {"BEGIN_ATOMIC", 1}, {"X", 1}}},
      {"lines count inside quotes", "A 'x\ny';\n\nB", {{"A 'x\ny'", 1}, {"B", 4}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    std::vector<std::pair<std::string, int>> found;
    for (const ScriptStatement& statement : splitScript(c.script)) {
      found.emplace_back(statement.text, statement.line);
    }
    EXPECT_EQ(found, c.statements);
  }
}

TEST(SessionTest, DatabasesAreMadeOnceAndOpenedWhereTheyAre) {
  const orvxml::test::TemporaryFolder folder;
  const std::string path = folder.path("sample.db");
  Outcome outcome;
  EXPECT_FALSE(Session::open(path, outcome));
  EXPECT_EQ(outcome.sqlcode, -1013);
  EXPECT_FALSE(Session::create(path, 99999, outcome));
  EXPECT_EQ(outcome.sqlcode, -332);
  EXPECT_FALSE(std::filesystem::exists(path));
  {
    const auto made = Session::create("sqlite:" + path, 1252, outcome);
    ASSERT_TRUE(made) << outcome.message;
    EXPECT_EQ(made->databaseName(), "sample");
    made->run("CREATE TABLE T (A INTEGER)");
    made->run("INSERT INTO T VALUES (1)");
    EXPECT_EQ(made->commit().sqlcode, 0);
    made->run("INSERT INTO T VALUES (2)");  // pending: closing rolls it back
  }
  EXPECT_FALSE(Session::create(path, 1208, outcome));
  EXPECT_EQ(outcome.sqlcode, -1005);
  const auto opened = Session::open(path, outcome);
  ASSERT_TRUE(opened) << outcome.message;
  EXPECT_EQ(opened->codePage(), 1252);
  EXPECT_EQ(rowsOf(opened->run("SELECT A FROM T")), (Rows{{"1"}}));
  EXPECT_FALSE(Session::open(folder.write("text.db", std::string(5000, 'x')), outcome));
  EXPECT_EQ(outcome.sqlcode, -1026);
}

TEST(SessionTest, OutcomesAndResultsDescribeThemselves) {
  TestSession session;
  session.run("CREATE TABLE T (ID INTEGER NOT NULL, NAME VARCHAR(10), PRICE DECIMAL(7,2))");
  EXPECT_EQ(session.run("INSERT INTO T VALUES (1, 'one', 20), (2, NULL, 0.5)").rowCount, 2);
  const Result result = session.run("SELECT ID, NAME, PRICE, ID + 1 FROM T ORDER BY ID");
  ASSERT_EQ(result.columns.size(), 4U);
  EXPECT_EQ(result.columns[1].name, "NAME");
  EXPECT_EQ(result.columns[1].typeName, "VARCHAR(10)");
  EXPECT_EQ(result.columns[2].typeName, "DECIMAL(7,2)");
  EXPECT_EQ(result.columns[2].columnClass, ColumnClass::Number);
  EXPECT_EQ(result.columns[3].name, "4");
  EXPECT_EQ(rowsOf(result), (Rows{{"1", "one", "20.00", "2"}, {"2", "NULL", "0.50", "3"}}));

  EXPECT_EQ(session.run("UPDATE T SET NAME = 'x' WHERE ID = 9", 100).outcome.sqlstate, "02000");
  const Outcome missing = session.run("SELECT A FROM MISSING", -204).outcome;
  EXPECT_EQ(missing.sqlstate, "42704");
  EXPECT_NE(missing.message.find("ORV0204E"), std::string::npos);
  EXPECT_NE(missing.message.find("MISSING"), std::string::npos);
  session.run("INSERT INTO T VALUES (?, ?, ?)", -313);
  const Outcome tooLong = session.run("INSERT INTO T VALUES (3, '12345678901', 0)", -433).outcome;
  EXPECT_EQ(tooLong.sqlstate, "22001");
  EXPECT_EQ(session.rows("SELECT COUNT(*) FROM T"), (Rows{{"2"}}));
}

TEST(SessionTest, RowsArriveOneByOneAndMayBeStopped) {
  TestSession session;
  session.run("CREATE TABLE T (A INTEGER)");
  session.run("INSERT INTO T VALUES (1), (2), (3)");
  std::vector<std::string> seen;
  const Result stopped = session->run(
      "SELECT A FROM T ORDER BY A", [](const std::vector<ResultColumn>&) {},
      [&](std::vector<ResultValue>& row) {
        seen.push_back(row[0].value_or("NULL"));
        return seen.size() < 2;
      });
  EXPECT_EQ(stopped.outcome.sqlcode, 0);
  EXPECT_EQ(seen, (std::vector<std::string>{"1", "2"}));
  // What the host throws goes through to the host, and leaves the session usable.
  EXPECT_THROW(
      session->run("SELECT A FROM T", nullptr,
                   [](std::vector<ResultValue>&) -> bool { throw std::runtime_error("host"); }),
      std::runtime_error);
  session.run("DROP TABLE T");
}

TEST(SessionTest, ChangesDoNotDisturbAResultThatIsBeingRead) {
  struct Case {
    const char* label;
    const char* change;
    const char* before = "SET SCHEMA APP";
  };
  constexpr const char* kTrigger =
      "CREATE TRIGGER D AFTER DELETE ON R FOR EACH ROW MODE ORVSQL DELETE FROM T";
  const Case cases[] = {
      {"inserts into the table that is read", "INSERT INTO T SELECT A + 10 FROM T"},
      {"deletes from it", "DELETE FROM T"},
      {"deletes from a parent whose deletion reaches it", "DELETE FROM P"},
      {"deletes from a parent whose deletion fires a trigger", "DELETE FROM Q", kTrigger},
      {"makes a trigger",
       "CREATE TRIGGER N AFTER UPDATE ON T FOR EACH ROW MODE ORVSQL DELETE FROM P"},
      {"drops a trigger", "DROP TRIGGER D", kTrigger},
      {"drops the table", "DROP TABLE T"},
      {"rolls back", "ROLLBACK"},
      {"commits", "COMMIT"},
      {"rolls back to a savepoint", "ROLLBACK TO SAVEPOINT S"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    TestSession session;
    session.run("CREATE TABLE P (A INTEGER NOT NULL PRIMARY KEY)");
    session.run(
        "CREATE TABLE T (A INTEGER NOT NULL, FOREIGN KEY (A) REFERENCES P ON DELETE CASCADE)");
    session.run("CREATE TABLE Q (A INTEGER NOT NULL PRIMARY KEY)");
    session.run("CREATE TABLE R (A INTEGER, FOREIGN KEY (A) REFERENCES Q ON DELETE CASCADE)");
    session.run(c.before);
    session.run("INSERT INTO Q VALUES (1)");
    session.run("INSERT INTO R VALUES (1)");
    session.run("INSERT INTO P VALUES (1), (2), (3), (11), (12), (13)");
    session->commit();
    session.run("INSERT INTO T VALUES (1)");
    session.run("SAVEPOINT S ON ROLLBACK RETAIN CURSORS");
    session.run("INSERT INTO T VALUES (2), (3)");
    std::vector<std::string> seen;
    // Nothing is sorted: each row is read when it is asked for.
    const Result result =
        session->run("SELECT A FROM T", nullptr, [&](std::vector<ResultValue>& row) {
          if (seen.empty()) session.run(c.change);
          seen.push_back(row[0].value_or("NULL"));
          return seen.size() < 10;
        });
    EXPECT_EQ(result.outcome.sqlcode, 0) << result.outcome.message;
    EXPECT_EQ(seen, (std::vector<std::string>{"1", "2", "3"}));
  }
}

TEST(SessionTest, SavepointsAndRollbacksUndoRowsAndTheirCounts) {
  TestSession session;
  session.run("CREATE TABLE T (A INTEGER)");
  session.run("CREATE SCHEMA S");
  session.run("CREATE TABLE S.U (A INTEGER)");
  session->commit();
  using Counts = std::vector<std::pair<std::string, int64_t>>;
  session.run("INSERT INTO T VALUES (1), (2)");
  session->commit();
  session.run("INSERT INTO S.U VALUES (1)");
  session.run("SAVEPOINT P ON ROLLBACK RETAIN CURSORS");
  session.run("INSERT INTO T VALUES (3)");
  session.run("INSERT INTO S.U VALUES (2)");
  EXPECT_EQ(session->insertCounts(), (Counts{{"T", 3}, {"S.U", 2}}));
  session.run("SAVEPOINT P UNIQUE ON ROLLBACK RETAIN CURSORS", -881);
  session.run("ROLLBACK TO SAVEPOINT P");
  EXPECT_EQ(session->insertCounts(), (Counts{{"T", 2}, {"S.U", 1}}));
  session.run("INSERT INTO T VALUES (4)");
  session.run("RELEASE SAVEPOINT P");
  session.run("ROLLBACK TO SAVEPOINT P", -880);
  EXPECT_EQ(session.rows("SELECT A FROM T ORDER BY A"), (Rows{{"1"}, {"2"}, {"4"}}));
  session->rollback();
  EXPECT_EQ(session->insertCounts(), (Counts{{"T", 2}}));
  EXPECT_TRUE(session.rows("SELECT A FROM S.U").empty());
  session->resetInsertCounts();
  session.run("INSERT INTO T VALUES (5)");
  EXPECT_EQ(session->insertCounts(), (Counts{{"T", 1}}));
}

TEST(SessionTest, WhoMeetsALockIsRolledBack) {
  const orvxml::test::TemporaryFolder folder;
  const std::string path = folder.path("shared.db");
  TestSession first(1208, path);
  first.run("CREATE TABLE T (A INTEGER)");
  first->commit();
  Outcome outcome;
  const auto second = Session::open(path, outcome);
  ASSERT_TRUE(second) << outcome.message;
  const auto sqlcode = [&](const char* text) { return second->run(text).outcome.sqlcode; };
  ASSERT_EQ(sqlcode("DECLARE GLOBAL TEMPORARY TABLE G (A INTEGER)"), 0);
  second->commit();
  for (const char* change : {"INSERT INTO T VALUES (2)", "CREATE TABLE U (A INTEGER)"}) {
    SCOPED_TRACE(change);
    EXPECT_EQ(sqlcode("INSERT INTO SESSION.G VALUES (1)"), 0);
    EXPECT_EQ(sqlcode("SAVEPOINT S ON ROLLBACK RETAIN CURSORS"), 0);
    EXPECT_GE(sqlcode("SELECT A FROM T"), 0);
    first.run("INSERT INTO T VALUES (1)");
    first->commit();  // what the second has read is no longer the state to build on
    EXPECT_EQ(sqlcode(change), -911);
    EXPECT_TRUE(second->insertCounts().empty());
    EXPECT_EQ(sqlcode("ROLLBACK TO SAVEPOINT S"), -880);
    EXPECT_EQ(sqlcode("SELECT A FROM SESSION.G"), 100);
    EXPECT_EQ(sqlcode(change), 0);
    EXPECT_EQ(second->commit().sqlcode, 0);
    second->resetInsertCounts();
  }
}

TEST(SessionTest, PreparedStatementsFollowTheCatalogAndOutliveTheirSession) {
  TestSession session;
  session.run("CREATE TABLE T (A INTEGER)");
  PreparedStatement insert(session->state(), "INSERT INTO T VALUES (?)");
  const auto add = [&](const char* value) {
    insert.start();
    insert.bind(0, ValueView::ofText(value));
    insert.run();
  };
  add("1");
  session.run("DROP TABLE T");
  EXPECT_THROW(add("2"), SqlError);
  session.run("CREATE TABLE T (A VARCHAR(5))");
  add("three");
  EXPECT_EQ(session.rows("SELECT A FROM T"), (Rows{{"three"}}));
  // Two users of one text walk their results independently.
  session.run("INSERT INTO T VALUES ('four')");
  PreparedStatement first(session->state(), "SELECT A FROM T ORDER BY A");
  PreparedStatement second(session->state(), "SELECT A FROM T ORDER BY A");
  first.start();
  first.run();
  ASSERT_TRUE(first.fetch());
  second.start();
  second.run();
  ASSERT_TRUE(second.fetch());
  ASSERT_TRUE(first.fetch());
  EXPECT_EQ(first.column(0).text, "three");
  EXPECT_EQ(second.column(0).text, "four");
  session.close();
  EXPECT_THROW(first.fetch(), SqlError);
  EXPECT_THROW(insert.start(), SqlError);
}

TEST(SessionTest, EachThreadHasItsOwnCurrentSession) {
  TestSession session;
  EXPECT_EQ(Session::current(), &*session);
  std::thread([] { EXPECT_EQ(Session::current(), nullptr); }).join();
  {
    TestSession other;
    EXPECT_EQ(Session::current(), &*other);
  }
  EXPECT_EQ(Session::current(), nullptr);  // the session is gone, not dangling
}

TEST(SessionTest, CodePagesConvertBothWaysOrRefuse) {
  struct Case {
    int codePage;
    const char* utf8;
    std::string native;
    size_t limit, cut;
  };
  const Case cases[] = {
      {1208, "a\u00e4\u20ac", "a\xc3\xa4\xe2\x82\xac", 5, 3},
      {1252, "a\u00e4\u00e9", "a\xe4\xe9", 2, 2},
      {943, "a\u65e5\u672c", "a\x93\xfa\x96\x7b", 4, 3},
      {37, "a1", "\x81\xf1", 1, 1},
      {33722, "a\u00a5", "a\\", 1, 1},  // no backslash there
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.codePage);
    const CodePage codePage(c.codePage);
    std::string storage;
    EXPECT_EQ(codePage.fromUtf8(c.utf8, storage), c.native);
    EXPECT_EQ(codePage.toUtf8(c.native, storage), c.utf8);
    EXPECT_EQ(codePage.cut(c.native, c.limit), c.cut);
  }
  std::string storage;
  EXPECT_THROW(CodePage(1200), SqlError);  // two bytes a character: no text for a C string
  EXPECT_THROW(CodePage(1252).fromUtf8("\u65e5", storage), SqlError);
  EXPECT_THROW(CodePage(943).toUtf8("\x93", storage), SqlError);
  for (const char* broken :
       {"\xc3", "\xc0\x80", "\xed\xa0\x80", "\xf5\x80\x80\x80", "abcdefgh\x80"}) {
    EXPECT_FALSE(isValidUtf8(broken)) << broken;
    EXPECT_THROW(CodePage(1208).toUtf8(broken, storage), SqlError);
  }
}

TEST(SessionTest, GraphicTextIsDoubleBytesWithoutShiftCodes) {
  struct Case {
    int codePage;
    const char* utf8;
    std::string doubleBytes;
  };
  const Case cases[] = {
      {1208, "a\u65e5\U0001F600", std::string("\0a\x65\xe5\xd8\x3d\xde\x00", 8)},
      {943, "\u65e5\u672c", "\x93\xfa\x96\x7b"},
      {930, "\u65e5\u672c", "\x45\x62\x45\x66"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.codePage);
    const CodePage codePage(c.codePage);
    std::string storage;
    EXPECT_EQ(codePage.graphicFromUtf8(c.utf8, storage), c.doubleBytes);
    EXPECT_EQ(codePage.graphicToUtf8(c.doubleBytes, storage), c.utf8);
  }
  std::string storage;
  EXPECT_THROW(CodePage(943).graphicFromUtf8("a\u65e5", storage), SqlError);
  EXPECT_THROW(CodePage(930).graphicFromUtf8("\u65e5a", storage), SqlError);
  EXPECT_THROW(CodePage(1208).graphicToUtf8("abc", storage), SqlError);
}

}  // namespace
}  // namespace orv::test
