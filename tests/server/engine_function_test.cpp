// Registered functions below the engine's interface: how a function of this test is called for each
// kind of statement, what its values become, and how long one use of it lives.
#include <functional>
#include <map>

#include "tests/server/engine_database.h"
#include "tests/support/sqlite_file.h"
#include "tests/support/temporary_folder.h"

namespace orv {
namespace {

using orvxml::test::TemporaryFolder;

std::string shownValue(const ValueView& value) {
  std::string text;
  return value.kind == ValueView::Kind::Null ? "-" : std::string(valueText(value, {}, text));
}

// The entries: `join` gives its arguments in one text, `count` the number of the call in its use,
// `fail` fails for 'bad', `run` runs what `inner` says; `pieces` gives a row (number, piece) for
// every character of its first argument, a null for '-', and fails at '!'. The calls of a use stand
// in the log as "count1( 1 2 )", those of a table function as "pieces1( [abc] [] )"; without the
// closing bracket a use has not ended.
class RecordingHost : public FunctionHost {
 public:
  std::unique_ptr<ScalarFunctionUse> useScalar(const Function& function) override {
    return std::make_unique<Scalar>(*this, function);
  }
  std::unique_ptr<TableFunctionUse> useTable(const Function& function) override {
    return std::make_unique<Pieces>(*this, function);
  }

  // What was called since the last time, by use.
  std::string takeLog() {
    std::string all;
    for (const auto& [use, calls] : std::exchange(log_, {})) {
      all += (all.empty() ? "" : " ") + use + calls;
    }
    uses_ = 0;
    return all;
  }

  std::function<std::string()> inner;

 private:
  std::string begin(const Function& function) {
    std::string use = function.entry + std::to_string(++uses_);
    log_[use] = "(";
    return use;
  }

  static SqlError failure(const std::string& message) {
    return SqlError(-443, "38ABC", {"F", "SPECIFIC", message});
  }

  class Scalar : public ScalarFunctionUse {
   public:
    Scalar(RecordingHost& host, const Function& function)
        : host_(host), use_(host.begin(function)), entry_(function.entry) {}
    ~Scalar() override { host_.log_[use_] += " )"; }

    ValueView call(std::span<const ValueView> arguments) override {
      text_.clear();
      for (const ValueView& argument : arguments) {
        text_ += (text_.empty() ? "" : "/") + shownValue(argument);
      }
      host_.log_[use_] += " " + (entry_ == "count" ? std::to_string(++calls_) : text_);
      if (entry_ == "count") return ValueView::of(calls_);
      if (entry_ == "fail" && text_ == "bad") throw failure("no " + text_);
      if (entry_ == "run") text_ = host_.inner();
      return text_ == "nothing" ? ValueView::null() : ValueView::ofText(text_);
    }

   private:
    RecordingHost& host_;
    std::string use_;
    std::string entry_;
    std::string text_;
    int64_t calls_ = 0;
  };

  class Pieces : public TableFunctionUse {
   public:
    Pieces(RecordingHost& host, const Function& function)
        : host_(host), use_(host.begin(function)) {}
    ~Pieces() override {  // NOLINT(bugprone-exception-escape): the log is a test's
      if (open_) close();
      host_.log_[use_] += " )";
    }

    void open(std::span<const ValueView> arguments) override {
      host_.log_[use_] += " [" + shownValue(arguments[0]);
      if (arguments[0].text == "?") throw failure("not to be opened");
      open_ = true;
      text_ = arguments[0].kind == ValueView::Kind::Null ? "" : arguments[0].text;
      position_ = 0;
    }
    bool fetch() override {
      if (position_ == text_.size()) return false;
      piece_ = text_.substr(position_++, 1);
      if (piece_ == "!") throw failure("a bad piece");
      if (piece_ == "L") piece_ = "long";
      return true;
    }
    ValueView column(int index) override {
      if (index == 0) return ValueView::of(static_cast<int64_t>(position_));
      return piece_ == "-" ? ValueView::null() : ValueView::ofText(piece_);
    }
    void close() override {
      open_ = false;
      host_.log_[use_] += "]";
      if (text_.ends_with(".")) throw failure("not to be closed");
    }

   private:
    RecordingHost& host_;
    std::string use_;
    std::string text_;
    std::string piece_;
    size_t position_ = 0;
    bool open_ = false;
  };

  std::map<std::string, std::string> log_;
  int uses_ = 0;
};

constexpr const char* kStyle = "LANGUAGE C PARAMETER STYLE ORVSQL ";

std::string create(const std::string& signature, const std::string& entry,
                   const std::string& clauses = "NOT VARIANT") {
  return "CREATE FUNCTION " + signature + " EXTERNAL NAME 'lib!" + entry + "' " + kStyle + clauses;
}

class EngineFunctionTest : public testing::Test {
 protected:
  void SetUp() override {
    database_.engine().setFunctionHost(&host_);
    run({{"CREATE TABLE T(ID INTEGER NOT NULL, TXT VARCHAR(20))", "ok"},
         {"INSERT INTO T VALUES(1, 'ab'), (2, NULL), (3, 'c'), (4, '')", "4 rows"}});
    define("JOINED(VARCHAR(5), DECIMAL(5,2)) RETURNS VARCHAR(10)", "join");
    define("COUNTED(INTEGER) RETURNS INTEGER", "count");
    define("FRESH() RETURNS INTEGER", "count", "NOT DETERMINISTIC");
    define("FAILING(VARCHAR(10)) RETURNS VARCHAR(10)", "fail");
    define("RUNNING(INTEGER) RETURNS VARCHAR(20)", "run");
    define("PIECES(VARCHAR(20)) RETURNS TABLE(N INTEGER, PIECE CHAR(2))", "pieces");
  }

  void define(const std::string& signature, const std::string& entry,
              const std::string& clauses = "NOT VARIANT") {
    EXPECT_EQ(database_.run(create(signature, entry, clauses)), "ok") << signature;
  }

  void run(const std::vector<Step>& steps) { runSteps(database_, steps); }

  // Each statement's rows, and then the calls that it made.
  void runLogged(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
      host_.takeLog();
      const std::string rows = database_.run(step.statement, step.values);
      EXPECT_EQ(rows + " <- " + host_.takeLog(), step.expected) << step.statement;
    }
  }

  RecordingHost host_;
  EngineDatabase database_{":memory:"};
};

TEST_F(EngineFunctionTest, ArgumentsAndResultsAreAssigned) {
  define("DAY(VARCHAR(30)) RETURNS DATE CAST FROM VARCHAR(30)", "join");
  define("PADDED(VARCHAR(4)) RETURNS CHAR(6)", "join");
  define("MONEY(VARCHAR(30)) RETURNS DECIMAL(5,2) CAST FROM VARCHAR(30)", "join");
  define("DOC(CLOB(1M) AS LOCATOR) RETURNS CLOB(1M) AS LOCATOR", "join");
  const std::string document(100000, 'd');
  run({
      {"VALUES JOINED('ab', 1)", "ab/1.00"},
      {"VALUES JOINED('abcdef', 1)", "-433 22001 abcdef"},
      {"VALUES JOINED('abc   ', 1)", "abc  /1.00"},
      {"VALUES JOINED('ab', 1000)", "-413 22003"},
      {"VALUES JOINED('abcde', 123.4)", "-433 22001 abcde/123.40"},
      {"VALUES JOINED(NULL, ?)", "-/0.50", {".5"}},
      {"VALUES DAY('24.11.2026')", "2026-11-24"},
      {"VALUES DAY('11/2026')", "-180 22007 11/2026"},
      {"VALUES PADDED('a') || '|'", "a     |"},
      {"VALUES MONEY('1.5') + 1", "2.50"},
      {"VALUES MONEY('nothing')", "-"},
      {"VALUES LENGTH(DOC(?))", "100000", {document}},
      {"SELECT ID FROM T WHERE JOINED(TXT, ID) = 'ab/1.00  '", "1"},
      {"SELECT ID FROM T ORDER BY JOINED(TXT, ID) DESC", "3\n1\n4\n2"},
      {"SELECT JOINED(TXT, 1), COUNT(*) FROM T GROUP BY JOINED(TXT, 1) HAVING MAX(ID) < 3",
       "-/1.00|1\nab/1.00|1"},
      {"UPDATE T SET TXT = JOINED(TXT, ID) WHERE ID = 3", "1 rows"},
      {"INSERT INTO T SELECT ID + 10, JOINED(TXT, 0) FROM T WHERE ID = 3", "-433 22001 c/3.00"},
      {"INSERT INTO T VALUES(COUNTED(5), JOINED('x', COUNTED(5)))", "1 rows"},
      {"SELECT TXT FROM T WHERE ID IN (1, 3) ORDER BY TXT", "ab\nc/3.00\nx/1.00"},
  });
}

TEST_F(EngineFunctionTest, OneUseLastsForOneRunOfTheStatement) {
  runLogged({
      {"SELECT COUNTED(ID) FROM T", "1\n2\n3\n4 <- count1( 1 2 3 4 )"},
      {"SELECT COUNTED(ID), COUNTED(ID) FROM T WHERE ID < 3",
       "1|1\n2|2 <- count1( 1 2 ) count2( 1 2 )"},
      {"SELECT (SELECT MAX(COUNTED(T.ID + U.ID)) FROM T U WHERE U.ID < 3) FROM T WHERE ID > 2",
       "2\n4 <- count1( 1 2 3 4 )"},
      {"SELECT ID FROM T WHERE COUNTED(ID) BETWEEN 2 AND 3 ORDER BY 1",
       "2\n3 <- count1( 1 2 3 4 )"},
      {"SELECT CASE COUNTED(ID) WHEN 1 THEN 'a' WHEN 2 THEN 'b' END FROM T WHERE ID > 2",
       "a\nb <- count1( 1 2 )"},
      {"SELECT ID FROM T WHERE COUNTED(ID) IN (2, 4) AND ID IN (SELECT N FROM "
       "TABLE(PIECES('abcd')) AS P)",
       "2\n4 <- count1( 1 2 3 4 ) pieces2( [abcd] )"},
      {"SELECT FRESH() AS N FROM T ORDER BY N DESC", "4\n3\n2\n1 <- count1( 1 2 3 4 )"},
      {"SELECT ID FROM T WHERE FAILING(TXT) = 'ab'", "1 <- fail1( ab - c  )"},
      {"VALUES FAILING('bad')", "-443 38ABC F,SPECIFIC,no bad <- fail1( bad )"},
      {"UPDATE T SET TXT = FAILING(CASE ID WHEN 3 THEN 'bad' ELSE 'good' END)",
       "-443 38ABC F,SPECIFIC,no bad <- fail1( good good bad )"},
      {"SELECT COUNT(*) FROM T WHERE TXT = 'good'", "0 <- "},
      // A value that may differ each time is one value wherever its column is named.
      {"SELECT N, N FROM (SELECT FRESH() AS N FROM T) AS D WHERE N > 2",
       "3|3\n4|4 <- count1( 1 2 3 4 )"},
      {"SELECT N, N FROM (SELECT FRESH() AS N FROM T UNION ALL VALUES(7)) AS D WHERE N = 3",
       "3|3 <- count1( 1 2 3 4 )"},
      {"SELECT ID, N + N FROM T, TABLE(VALUES(FRESH())) AS D(N) WHERE N = 1 AND ID < 3",
       "1|2\n2|2 <- count1( 1 )"},
  });

  auto statement = parseStatement("SELECT COUNTED(ID) FROM T");
  resolve(*statement, database_.engine().catalog());
  std::unique_ptr<EngineStatement> prepared = database_.engine().prepare(*statement);
  ASSERT_TRUE(prepared->step());
  EXPECT_EQ(host_.takeLog(), "count1( 1");
  prepared->reset();
  EXPECT_EQ(host_.takeLog(), "count1 )");
  ASSERT_TRUE(prepared->step());
  prepared.reset();
  EXPECT_EQ(host_.takeLog(), "count1( 1 )");
}

TEST_F(EngineFunctionTest, RowsOfTableFunctionsJoin) {
  runLogged({
      {"SELECT N, PIECE FROM TABLE(PIECES('a-')) AS P", "1|a \n2|- <- pieces1( [a-] )"},
      {"SELECT ID, P.* FROM T, TABLE(PIECES(T.TXT)) AS P",
       "1|1|a \n1|2|b \n3|1|c  <- pieces1( [ab] [-] [c] [] )"},
      {"SELECT ID, Q FROM T LEFT JOIN TABLE(PIECES(T.TXT)) AS P(N, Q) ON N = 1 ORDER BY ID",
       "1|a \n2|-\n3|c \n4|- <- pieces1( [ab] [-] [c] [] )"},
      {"SELECT ID FROM T WHERE EXISTS (SELECT 1 FROM TABLE(PIECES(T.TXT)) AS P WHERE PIECE = 'c')",
       "3 <- pieces1( [ab] [-] [c] [] )"},
      {"SELECT ID, (SELECT MAX(PIECE) FROM TABLE(PIECES(TXT)) AS P) FROM T WHERE ID < 3",
       "1|b \n2|- <- pieces1( [ab] [-] )"},
      {"SELECT ID, N FROM (SELECT ID, N FROM T, TABLE(PIECES(TXT)) AS P) AS D WHERE N > 1",
       "1|2 <- pieces1( [ab] [-] [c] [] )"},
      {"SELECT A.N, B.N FROM TABLE(PIECES('xy')) AS A, TABLE(PIECES(REPEAT(A.PIECE, 1))) AS B "
       "WHERE B.N = 2 AND B.PIECE IS NOT NULL",
       "1|2\n2|2 <- pieces1( [xy] ) pieces2( [x ] [y ] )"},
      {"SELECT B.ID, N FROM T A RIGHT JOIN T B ON A.ID = B.ID + 2, TABLE(PIECES(B.TXT)) AS P",
       "1|1\n1|2\n3|1 <- pieces1( [ab] [-] [c] [] )"},
      {"SELECT A.ID, B.ID, N FROM T A RIGHT JOIN T B ON A.ID = B.ID + 2 "
       "LEFT JOIN TABLE(PIECES(A.TXT)) AS P ON N = 1",
       "3|1|1\n4|2|-\n-|3|-\n-|4|- <- pieces1( [c] [] [-] [-] )"},
      // A call that names no columns is made once, wherever it stands.
      {"SELECT COUNT(*) FROM T, TABLE(PIECES('xy')) AS P", "8 <- pieces1( [xy] )"},
      {"SELECT ID, N FROM T LEFT JOIN TABLE(PIECES('xyz')) AS P ON ID = N",
       "1|1\n2|2\n3|3\n4|- <- pieces1( [xyz] )"},
      {"SELECT ID, N FROM T RIGHT JOIN TABLE(PIECES(?)) AS P ON ID = N + 3",
       "4|1\n-|2 <- pieces1( [xy] )",
       {"xy"}},
      {"SELECT N, ID FROM TABLE(PIECES('vwxyz')) AS P FULL JOIN T ON ID = N AND ID <> 2 "
       "ORDER BY N, ID",
       "1|1\n2|-\n3|3\n4|4\n5|-\n-|2 <- pieces1( [vwxyz] )"},
      {"SELECT COUNT(*) FROM T A FULL JOIN (T B JOIN TABLE(PIECES(B.TXT)) AS P ON N > 1) "
       "ON A.ID = B.ID",
       "4 <- pieces1( [ab] [-] [c] [] )"},
      {"INSERT INTO T SELECT 10 + N, PIECE FROM T, TABLE(PIECES(TXT)) AS P WHERE ID = 1",
       "2 rows <- pieces1( [ab] )"},
      {"DELETE FROM T WHERE ID > (SELECT 9 + MAX(N) FROM TABLE(PIECES('a')) AS P)",
       "2 rows <- pieces1( [a] )"},
      {"SELECT ID FROM T, TABLE(PIECES(TXT)) AS P ORDER BY ID FETCH FIRST 1 ROWS ONLY",
       "1 <- pieces1( [ab] [-] [c] [] )"},
      {"SELECT 1 FROM TABLE(PIECES('abc')) AS P FETCH FIRST 1 ROWS ONLY", "1 <- pieces1( [abc] )"},
  });
  run(
      {{"SELECT ID, (SELECT COUNT(*) FROM T B RIGHT JOIN TABLE(PIECES(A.TXT)) AS P "
        "ON B.ID = N + 3) FROM T A WHERE ID <> 2",
        "1|2\n3|1\n4|0"}});
}

TEST_F(EngineFunctionTest, FailuresOfTableFunctionsAreTheStatements) {
  run({{"CREATE TABLE U(PIECE VARCHAR(9))", "ok"}});
  runLogged({
      {"SELECT N FROM TABLE(PIECES('?')) AS P",
       "-443 38ABC F,SPECIFIC,not to be opened <- pieces1( [? )"},
      {"INSERT INTO U SELECT PIECE FROM TABLE(PIECES('ab!')) AS P",
       "-443 38ABC F,SPECIFIC,a bad piece <- pieces1( [ab!] )"},
      {"SELECT N FROM TABLE(PIECES('L')) AS P", "1 <- pieces1( [L] )"},
      {"SELECT PIECE FROM TABLE(PIECES('L')) AS P", "-433 22001 long <- pieces1( [L] )"},
      {"SELECT N FROM TABLE(PIECES('.')) AS P",
       "-443 38ABC F,SPECIFIC,not to be closed <- pieces1( [.] )"},
      {"SELECT 1 FROM TABLE(PIECES('..')) AS P FETCH FIRST 1 ROWS ONLY", "1 <- pieces1( [..] )"},
      {"SELECT N FROM TABLE(PIECES('123456789012345678901')) AS P",
       "-433 22001 123456789012345678901 <- "},
      {"SELECT COUNT(*) FROM U", "0 <- "},
  });
}

TEST_F(EngineFunctionTest, FunctionsMayRunStatements) {
  host_.inner = [this] {
    return database_.run("SELECT COUNTED(1), N FROM T, TABLE(PIECES(TXT)) AS P WHERE ID = 3");
  };
  run({{"SELECT ID, RUNNING(ID), P.N FROM T, TABLE(PIECES(TXT)) AS P", "1|1|1|1\n1|1|1|2\n3|1|1|1"},
       {"INSERT INTO T SELECT ID + 10, RUNNING(N) FROM T, TABLE(PIECES(TXT)) AS P", "3 rows"}});
  host_.inner = [this] { return database_.run("CREATE TABLE MADE(A INTEGER)"); };
  run({{"SELECT ID, RUNNING(ID), COUNTED(ID) FROM T WHERE ID = 1", "1|ok|1"},
       {"SELECT COUNT(*) FROM MADE", "0"}});
}

TEST_F(EngineFunctionTest, ACallFailsWhenTheFunctionOrItsHostIsGone) {
  auto statement = parseStatement("SELECT COUNTED(N) FROM TABLE(PIECES('a')) AS P");
  resolve(*statement, database_.engine().catalog());
  std::unique_ptr<EngineStatement> prepared = database_.engine().prepare(*statement);
  const auto outcome = [&] { return outcomeOf([&] { return prepared->step() ? "row" : "end"; }); };
  EXPECT_EQ(outcome(), "row");
  prepared->reset();
  run({{"DROP FUNCTION PIECES", "ok"}});
  EXPECT_EQ(outcome().substr(0, 10), "-440 42884");
  database_.engine().rollback();
  define("COUNTED(INTEGER) RETURNS INTEGER", "count");
  define("PIECES(VARCHAR(20)) RETURNS TABLE(N INTEGER)", "pieces");
  EXPECT_EQ(outcome(), "row");
  prepared->reset();
  database_.engine().setFunctionHost(nullptr);
  EXPECT_EQ(outcome().substr(0, 10), "-901 58004");
}

TEST_F(EngineFunctionTest, CallsMayHaveManyArgumentsAndColumns) {
  const auto list = [](int count, const char* item, const char* numbered = nullptr) {
    std::string text;
    for (int i = 1; i <= count; ++i) {
      text +=
          (text.empty() ? "" : ",") + (numbered ? numbered + std::to_string(i) + " " : "") + item;
    }
    return text;
  };
  const auto tableOf = [&](int parameters, int columns) {
    return create("WIDE(" + list(parameters, "VARCHAR(9)") + ") RETURNS TABLE(" +
                      list(columns, "INTEGER", "K") + ")",
                  "pieces");
  };
  define("LONG(" + list(90, "INTEGER") + ") RETURNS VARCHAR(300)", "join");
  EXPECT_EQ(database_.run("VALUES LENGTH(LONG(" + list(90, "NULL") + "))"), "179");
  EXPECT_EQ(database_.run(tableOf(15, 1)).substr(0, 10), "-451 42815");
  EXPECT_EQ(database_.run(tableOf(1, 256)).substr(0, 10), "-451 42815");
  EXPECT_EQ(database_.run(tableOf(14, 255)), "ok");
  // Many conditions on the columns, and null arguments besides.
  std::string conditions;
  for (int i = 1; i <= 20; ++i) conditions += " AND K1 >= " + std::to_string(-i);
  EXPECT_EQ(database_.run("SELECT K1 FROM TABLE(WIDE('ab'," + list(13, "NULL") +
                          ")) AS W WHERE K1 > 0" + conditions),
            "1\n2");
}

// The forms in which rendered statements call functions stand in triggers as well.
TEST(EngineFunctionTriggerTest, TriggersCallFunctions) {
  TemporaryFolder folder;
  const std::string path = folder.path("triggers.db");
  RecordingHost host;
  EngineDatabase database(path);
  runSteps(database,
           {{"CREATE TABLE T(ID INTEGER, TXT VARCHAR(20))", "ok"},
            {"CREATE TABLE SIDE(ID INTEGER, N INTEGER, PIECE CHAR(2))", "ok"},
            {create("S.COUNTED(INTEGER) RETURNS INTEGER SPECIFIC C1", "count").c_str(), "ok"},
            {create("S.PIECES(VARCHAR(20)) RETURNS TABLE(N INTEGER, PIECE CHAR(2)) SPECIFIC P1",
                    "pieces")
                 .c_str(),
             "ok"}});
  database.engine().commit();
  orvxml::test::runSqlite(path,
                          "CREATE TRIGGER A AFTER INSERT ON T BEGIN INSERT INTO SIDE "
                          "SELECT ORV_FUNCTION('S','C1',new.ID),x.C1,x.C2 "
                          "FROM ORV_TABLE('S','P1',new.TXT) AS x; END");
  database.engine().setFunctionHost(&host);
  runSteps(database, {{"INSERT INTO T VALUES(1, 'ab'), (2, ''), (3, 'c')", "3 rows"},
                      {"SELECT * FROM SIDE", "1|1|a \n2|2|b \n1|1|c "},
                      {"INSERT INTO T VALUES(1, 'd!')", "-443 38ABC F,SPECIFIC,a bad piece"},
                      {"SELECT COUNT(*) FROM T", "3"}});
  EXPECT_EQ(host.takeLog(),
            "count2( 1 2 ) count3( 1 ) count5( 1 ) pieces1( [ab] [] [c] ) pieces4( [d!] )");
}

}  // namespace
}  // namespace orv
