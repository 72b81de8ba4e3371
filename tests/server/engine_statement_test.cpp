// Prepared statements over their life, exact arithmetic to the last digit, and conversions in SQL.
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
  try {
    return statement.step() ? "row" : "end";
  } catch (const SqlError& error) {
    return EngineDatabase::failureText(error);
  }
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
  runSteps(database, {{"SELECT COUNT(*) FROM T", "3"}, {"DROP TABLE T", "ok"}});
}

TEST(EngineStatementTest, DecimalArithmeticIsExactToTheLastDigit) {
  EngineDatabase database(":memory:");
  const std::string nines31(31, '9');
  const std::string nines15(15, '9');
  struct Case {
    std::string expression;
    std::string value;
  };
  const Case cases[] = {
      {"9999999999999999999999999999.99 + 0.01", "10000000000000000000000000000.00"},
      {nines31 + " + 1", "-802 22003"},
      {"-" + nines31 + " - 1", "-802 22003"},
      {nines31 + " - " + nines31, "0"},
      {"0.1 + 0.2", "0.3"},
      {nines15 + "." + nines15 + " - " + nines15, "0." + nines15},
      {nines15 + " * " + nines15 + ".0", "999999999999998000000000000001.0"},
      {"0.000000000000001 * 0.000000000000001", "0.000000000000000000000000000001"},
      {nines31 + " * 10.0", "-802 22003"},
      {"-0.5 * 0.00", "0.000"},
      {"1.00 / 3.00", "0.3333333333333333333333333333"},
      {"-1.00 / 3", "-0.333333333333333333333333333333"},
      {"1 / 0.00", "-801 22012"},
      {"0.00 / 7", "0.000000000000000000000000000000"},
      {"MOD(-7.5, 2)", "-1.5"},
      {"ROUND(-2.45, 1)", "-2.50"},
      {"ROUND(99.99, 1)", "-802 22003"},
      {"TRUNCATE(155.49, -1)", "150.00"},
      {"FLOOR(-0.01)", "-1.00"},
      {"CEIL(-0.99)", "0.00"},
      {"SIGN(-0.01)", "-1.00"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(database.run("VALUES " + c.expression), c.value) << c.expression;
  }
}

TEST(EngineStatementTest, CastsKeepCutPadAndRefuse) {
  EngineDatabase database(":memory:");
  const Step steps[] = {
      {"VALUES CAST('abcdef' AS VARCHAR(3))", "abc"},
      {"VALUES CAST('ab' AS CHAR(4)) || '|'", "ab  |"},
      {"VALUES CAST(12.75 AS INTEGER)", "12"},
      {"VALUES CAST('12.75' AS DECIMAL(3,1))", "12.7"},
      {"VALUES CAST(1234.5 AS DECIMAL(4,1))", "-413 22003"},
      {"VALUES CAST(12345 AS VARCHAR(4))", "-433 22001 12345"},
      {"VALUES CAST(1E2 AS DECIMAL(5,2))", "100.00"},
      {"VALUES CAST(' 7 ' AS SMALLINT)", "7"},
      {"VALUES CAST('seven' AS SMALLINT)", "-420 22018 seven,SMALLINT"},
      {"VALUES CAST('2026-11-24-10.11.12' AS DATE)", "2026-11-24"},
      {"VALUES CAST('x' AS CHAR(3) FOR BIT DATA)", "782020"},
      {"VALUES CAST(NULL AS INTEGER)", "-"},
      {"VALUES CAST(CAST(1.10 AS DOUBLE) AS DECIMAL(5,2))", "1.10"},
      {"VALUES CHAR(DATE('1.2.2026')) || ' ' || CHAR(12.50)", "2026-02-01 12.50 "},
      {"VALUES CASE WHEN 1.50 = 1.5 AND 2 > 1.99 AND 1E0 = 1.0 THEN 'equal' END", "equal"},
      {"VALUES CASE WHEN X'6162' = 'ab' AND 'a' < 'b' AND '9' > '10' THEN 'by text' END",
       "by text"},
  };
  for (const Step& step : steps) {
    EXPECT_EQ(database.run(step.statement), step.expected) << step.statement;
  }
}

}  // namespace
}  // namespace orv
