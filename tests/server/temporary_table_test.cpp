// Declared temporary tables, where a text of statements/ cannot say it.
#include "orv/esql.h"
#include "server/session/prepared_statement.h"
#include "tests/server/test_session.h"

namespace orv::test {
namespace {

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

}  // namespace
}  // namespace orv::test
