// Prepared statements over their life.
#include "tests/server/engine_database.h"
#include "tests/support/temporary_folder.h"

namespace orv {
namespace {

using orvxml::test::TemporaryFolder;

std::unique_ptr<Statement> resolved(EngineDatabase& database, const char* text) {
  std::unique_ptr<Statement> statement = parseStatement(text);
  resolve(*statement, database.engine().catalog());
  return statement;
}

std::string stepOutcome(EngineStatement& statement) {
  return outcomeOf([&] { return statement.step() ? "row" : "end"; });
}

TEST(EngineStatementTest, StatementsRunAgainAfterSuccessFailureAndCommit) {
  EngineDatabase database(":memory:");
  Engine& engine = database.engine();
  runSteps(database, {{"CREATE TABLE T(ID INTEGER NOT NULL PRIMARY KEY, V VARCHAR(5))", "ok"}});
  auto insert = resolved(database, "INSERT INTO T VALUES(?, ?)");
  auto select = resolved(database, "SELECT ID, V FROM T WHERE ID >= ? ORDER BY ID");
  std::unique_ptr<EngineStatement> inserting = engine.prepare(*insert);
  std::unique_ptr<EngineStatement> selecting = engine.prepare(*select);

  struct Run {
    ValueView id;
    ValueView value;
    const char* outcome;
    int64_t changes;
  };
  const Run runs[] = {
      {ValueView::of(int64_t{1}), ValueView::ofText("a"), "end", 1},
      {ValueView::of(int64_t{1}), ValueView::ofText("b"), "-803 23505 T_PK,APP.T", 0},
      {ValueView::null(), ValueView::ofText("c"), "-407 23502 APP.T.ID", 0},
      {ValueView::of(int64_t{2}), ValueView::ofText({}), "end", 1},
      {ValueView::of(int64_t{3}), ValueView::null(), "end", 1},
  };
  for (const Run& run : runs) {
    inserting->bind(0, run.id);
    inserting->bind(1, run.value);
    EXPECT_EQ(stepOutcome(*inserting), run.outcome);
    EXPECT_EQ(inserting->changes(), run.changes) << run.outcome;
    inserting->reset();
  }
  engine.commit();

  selecting->bind(0, ValueView::of(int64_t{2}));
  ASSERT_TRUE(selecting->step());
  EXPECT_EQ(selecting->column(1).kind, ValueView::Kind::Text) << "the empty text is no null";
  EXPECT_EQ(selecting->column(1).text, "");
  ASSERT_TRUE(selecting->step());
  EXPECT_EQ(selecting->column(1).kind, ValueView::Kind::Null);
  EXPECT_FALSE(selecting->step());
  selecting->reset();

  // The definition changes under the compiled statement.
  runSteps(database, {{"ALTER TABLE T ADD W INTEGER", "ok"}});
  EXPECT_TRUE(selecting->step());
  EXPECT_EQ(selecting->column(0).integer, 2);
  selecting->reset();
}

TEST(EngineStatementTest, OpenStatementsMeetTheEndOfTheirUnitOfWork) {
  TemporaryFolder folder;
  EngineDatabase database(folder.path("open.db"));
  Engine& engine = database.engine();
  runSteps(database,
           {{"CREATE TABLE T(ID INTEGER)", "ok"}, {"INSERT INTO T VALUES(1), (2), (3)", "3 rows"}});
  engine.commit();
  engine.begin(Access::None);
  auto select = resolved(database, "SELECT ID FROM T");
  std::unique_ptr<EngineStatement> open = engine.prepare(*select);
  ASSERT_TRUE(open->step());
  EXPECT_EQ(database.run("DROP TABLE T").substr(0, 10), "-913 57033");
  runSteps(database, {{"INSERT INTO T VALUES(4)", "1 rows"}});
  engine.rollback();
  EXPECT_EQ(stepOutcome(*open), "row");
  open->reset();
  EXPECT_EQ(stepOutcome(*open), "row");
  open.reset();
  EXPECT_EQ(outcomeOf([&] { engine.releaseSavepoint("s 1"); }), "-880 3B001 s 1");
  runSteps(database, {{"SELECT COUNT(*) FROM T", "3"}, {"DROP TABLE T", "ok"}});
}

}  // namespace
}  // namespace orv
