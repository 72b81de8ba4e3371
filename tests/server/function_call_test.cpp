#include <dlfcn.h>

#include "server/routines/routine_host.h"
#include "server/session/prepared_statement.h"
#include "server/session/session_state.h"
#include "tests/server/test_session.h"

namespace orv::test {
namespace {

using Kind = ValueView::Kind;

SqlType locatorOf(TypeKind kind) {
  SqlType type = makeType(kind, kMaxDbClob);
  type.locator = true;
  return type;
}

Function scalar(const std::string& entry, const SqlType& parameter, const SqlType& result) {
  Function function;
  function.schema = "S";
  function.name = "F";
  function.specific = "SQL1";
  function.parameters = {parameter};
  function.result = function.returned = result;
  function.library = "functions_for_test";
  function.entry = entry;
  return function;
}

Function countUp(bool finalCall) {
  Function function = scalar("countUp", makeType(TypeKind::Integer), {});
  function.kind = FunctionKind::Table;
  function.columns = {{"NUMBER", makeType(TypeKind::Integer)},
                      {"TEXT", makeType(TypeKind::Varchar, 3)}};
  function.scratchpad = 100;
  function.finalCall = finalCall;
  return function;
}

std::string takeCallLog() {
  const std::string library = ORVXML_BINARY_DIR "/bin/libfunctions_for_test.so";
  void* const loaded = dlopen(library.c_str(), RTLD_NOW);
  auto* const take = reinterpret_cast<const char* (*)()>(dlsym(loaded, "takeCallLog"));
  std::string log = take();
  if (!log.empty()) log.pop_back();
  return log;
}

std::string textOf(const ValueView& value) {
  switch (value.kind) {
    case Kind::Null:
      return "NULL";
    case Kind::Integer:
      return std::to_string(value.integer);
    case Kind::Double:
      return std::to_string(value.number);
    default:
      return std::string(value.text);
  }
}

std::string callOnce(Session& session, const Function& function, const ValueView& argument) {
  RoutineHost host(session.state());
  const auto use = host.useScalar(function);
  return textOf(use->call({&argument, 1}));
}

// Runs `action`, which must fail, and gives the message.
template <class Action>
std::string failure(int sqlcode, const Action& action) {
  try {
    action();
  } catch (const SqlError& error) {
    EXPECT_EQ(error.sqlcode(), sqlcode) << error.what();
    return error.what();
  }
  ADD_FAILURE() << "succeeded instead of " << sqlcode;
  return {};
}

TEST(FunctionCallTest, ValuesOfEveryTypeGoInAndComeBack) {
  struct Case {
    SqlType type;
    const char* entry;
    ValueView value;
    const char* result = nullptr;  // null: as the argument
  };
  const std::string longText(32672, 'x');
  const std::string bits("\0\xff", 2);
  const std::string document = "<a>\u65e5\u672c</a>" + std::string(200000, 'x');
  const auto text = [](std::string_view value) { return ValueView::ofText(value); };
  const Case cases[] = {
      {makeType(TypeKind::SmallInt), "sameTwoBytes", ValueView::of(int64_t{-32768})},
      {makeType(TypeKind::Integer), "sameFourBytes", ValueView::of(int64_t{-5})},
      {makeType(TypeKind::BigInt), "sameEightBytes", ValueView::of(int64_t{1} << 40)},
      {makeType(TypeKind::Real), "sameFourBytes", ValueView::of(0.25)},
      {makeType(TypeKind::Double), "sameEightBytes", ValueView::of(1.5)},
      {makeType(TypeKind::Decimal, 4, 4), "sameText", text("-0.1250")},
      {makeType(TypeKind::Char, 4), "sameText", text("ab"), "ab  "},
      {makeType(TypeKind::Varchar, 7), "sameText", text("\u65e5\u672ca")},
      {makeType(TypeKind::Varchar, 32672), "sameText", text(longText)},
      {makeType(TypeKind::Date), "sameText", text("2026-11-24")},
      {makeType(TypeKind::Time), "sameText", text("20.16.07")},
      {makeType(TypeKind::Timestamp), "sameText", text("2026-11-24-20.16.07.000001")},
      {makeType(TypeKind::VarcharBits, 2), "sameBits", ValueView::ofBlob(bits)},
      {makeType(TypeKind::VarGraphic, 2), "sameUnits", text("\u65e5\u672c")},
      {makeType(TypeKind::Clob, 300000), "sameObject", text(document)},
      {makeType(TypeKind::Clob, kMaxLob), "sameObject", text(document)},
      {makeType(TypeKind::Blob, 2), "sameObject", ValueView::ofBlob(bits)},
      {makeType(TypeKind::DbClob, 100), "sameDoubleByteObject", text("\u65e5\u672c")},
      {locatorOf(TypeKind::Clob), "sameFourBytes", text(document)},
      {locatorOf(TypeKind::Clob), "copyText", text(document)},
      {locatorOf(TypeKind::Clob), "copyText", text("")},
      {locatorOf(TypeKind::Blob), "copyBytes", ValueView::ofBlob(bits)},
      {locatorOf(TypeKind::DbClob), "copyUnits", text("\u65e5\u672c")},
  };
  for (const int codePage : {1208, 943}) {
    TestSession session(codePage);
    RoutineHost host(session->state());
    for (const Case& c : cases) {
      SCOPED_TRACE(std::to_string(codePage) + " " + typeText(c.type) + " " + c.entry);
      const auto use = host.useScalar(scalar(c.entry, c.type, c.type));
      const std::string expected = c.result ? c.result : textOf(c.value);
      for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(textOf(use->call({&c.value, 1})), expected);
        const ValueView null = ValueView::null();
        EXPECT_EQ(textOf(use->call({&null, 1})), "NULL");
      }
    }
  }
  TestSession session;
  EXPECT_EQ(callOnce(*session,
                     scalar("firstUnit", locatorOf(TypeKind::DbClob), makeType(TypeKind::Integer)),
                     text("\u65e5")),
            std::to_string(0x65e5));
}

TEST(FunctionCallTest, ValuesThatDoNotFitAreRefused) {
  struct Case {
    const char* label;
    SqlType parameter, result;
    const char* entry;
    ValueView value;
    int sqlcode;
  };
  const SqlType text = makeType(TypeKind::Varchar, 20);
  const SqlType clob = locatorOf(TypeKind::Clob);
  SqlType shortClob = clob;
  shortClob.length = 3;
  const Case cases[] = {
      {"an argument too long", text, text, "sameText", ValueView::ofText("123456789012345678901"),
       -433},
      {"a terminator within", text, text, "sameText", ValueView::ofText({"a\0b", 3}), -420},
      {"no date", text, makeType(TypeKind::Date), "sameText", ValueView::ofText("2026-1"), -180},
      {"no number", text, makeType(TypeKind::Decimal, 9, 2), "sameText", ValueView::ofText("x"),
       -420},
      {"a number too large", text, makeType(TypeKind::Decimal, 3, 2), "sameText",
       ValueView::ofText("10"), -413},
      {"not finite", makeType(TypeKind::BigInt), makeType(TypeKind::Double), "sameEightBytes",
       ValueView::of(int64_t{0x7FF8} << 48), -413},
      {"an unknown locator", makeType(TypeKind::Integer), clob, "sameFourBytes",
       ValueView::of(int64_t{77}), -423},
      {"a locator of another kind", clob, clob, "copyBytes", ValueView::ofText("x"), -450},
      {"a locator's value too long", clob, shortClob, "copyText", ValueView::ofText("1234"), -433},
      {"an object's length beyond its declaration", makeType(TypeKind::Clob, 9),
       makeType(TypeKind::Blob, 3), "sameObject", ValueView::ofText("1234"), -450},
      {"bits beyond their declaration", makeType(TypeKind::VarcharBits, 9),
       makeType(TypeKind::VarcharBits, 3), "sameBits", ValueView::ofBlob("1234"), -450},
  };
  TestSession session;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    failure(c.sqlcode,
            [&] { callOnce(*session, scalar(c.entry, c.parameter, c.result), c.value); });
  }
  TestSession latin(819);
  failure(-191,
          [&] { callOnce(*latin, scalar("sameText", text, text), ValueView::ofText("\u65e5")); });
}

TEST(FunctionCallTest, LocatorsOfArgumentsEndWithTheCall) {
  TestSession session;
  RoutineHost host(session->state());
  const auto number = host.useScalar(
      scalar("sameFourBytes", locatorOf(TypeKind::Clob), makeType(TypeKind::Integer)));
  const auto value = host.useScalar(
      scalar("sameFourBytes", makeType(TypeKind::Integer), locatorOf(TypeKind::Clob)));
  const ValueView document = ValueView::ofText("<a/>");
  const ValueView locator = number->call({&document, 1});
  failure(-423, [&] { value->call({&locator, 1}); });
  LocatorTable& locators = session->state().locators();
  const ValueView mine =
      ValueView::of(int64_t{locators.add(LocatorValue(LocatorKind::Clob, "mine"))});
  EXPECT_EQ(textOf(value->call({&mine, 1})), "mine");
  failure(-423, [&] { locators.find(static_cast<int32_t>(mine.integer)); });
}

TEST(FunctionCallTest, TheSqlstateDecides) {
  struct Case {
    const char* report;
    int sqlcode;  // 0: 'done'
    const char* message;
  };
  const std::string seventy = "38X39 " + std::string(70, 'm');
  const Case cases[] = {
      {"00000", 0, ""},
      {"38X04 QRKC004E  It failed.\n", -443,
       "ORV0443E  The routine \"S.F\" (specific name \"SQL1\") has returned an error SQLSTATE with "
       "diagnostic text \"QRKC004E  It failed.\".  SQLSTATE=38X04"},
      {seventy.c_str(), -443, "mmm\".  SQLSTATE=38X39"},
      {"38X04 cut \xe6\x97", -443, "diagnostic text \"cut ??\".  SQLSTATE=38X04"},
      {"00001 why", -463,
       "has returned the SQLSTATE \"00001\", which is not valid, with diagnostic "
       "text \"why\".  SQLSTATE=39001"},
      {"02000", -463, "\"02000\""},
      {"01004", -463, "\"01004\""},
      {"38x04", -463, "\"38x04\""},
      {"38\xffX1", -463, "\"38?X1\""},
      {"38\nX1", -463, "\"38 X1\""},
  };
  TestSession session;
  const SqlType text = makeType(TypeKind::Varchar, 100);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.report);
    const Function function = scalar("report", text, text);
    const auto call = [&] { return callOnce(*session, function, ValueView::ofText(c.report)); };
    if (c.sqlcode == 0) {
      EXPECT_EQ(call(), "done");
    } else {
      EXPECT_NE(failure(c.sqlcode, call).find(c.message), std::string::npos);
    }
    EXPECT_FALSE(session->state().warning());
  }
  const Function function = scalar("report", text, text);
  EXPECT_EQ(callOnce(*session, function, ValueView::ofText("01HX0 first")), "done");
  EXPECT_EQ(callOnce(*session, function, ValueView::ofText("01H02 second")), "done");
  EXPECT_STREQ(session->state().warning()->what(),
               "ORV0462W  The routine \"S.F\" (specific name \"SQL1\") has returned a warning "
               "SQLSTATE with diagnostic text \"first\".  SQLSTATE=01HX0");
}

TEST(FunctionCallTest, MisbehavingFunctionsAreCaughtAndHarmNothing) {
  struct Case {
    const char* how;
    int sqlcode;
    const char* named = "";
  };
  const Case cases[] = {
      {"result overrun", -450, "\"result\""},
      {"result far overrun", -450, "\"result\""},
      {"result unterminated", -450, "\"result\""},
      {"result ill-formed", -191},
      {"indicator", -450, "\"result\""},
      {"state overrun", -450, "\"SQLSTATE\""},
      {"state unterminated", -450, "\"SQLSTATE\""},
      {"message overrun", -450, "\"message\""},
      {"message unterminated", -450, "\"message\""},
      {"scratchpad overrun", -450, "\"scratchpad\""},
      {"exception", -430, "\"S.F\""},
      {"number thrown", -430, "\"S.F\""},
  };
  Function function =
      scalar("misbehave", makeType(TypeKind::Varchar, 30), makeType(TypeKind::Varchar, 10));
  function.scratchpad = 100;
  for (const int codePage : {1208, 943}) {
    TestSession session(codePage);
    for (const Case& c : cases) {
      SCOPED_TRACE(c.how);
      const std::string message =
          failure(c.sqlcode, [&] { callOnce(*session, function, ValueView::ofText(c.how)); });
      EXPECT_NE(message.find(c.named), std::string::npos) << message;
      EXPECT_EQ(callOnce(*session, function, ValueView::ofText("nothing")), "fine");
    }
  }
}

TEST(FunctionCallTest, ScalarUsesLastFromFirstToFinalCall) {
  TestSession session;
  TestSession other;  // current: a call changes that and changes it back
  RoutineHost host(session->state());
  Function function =
      scalar("describeCall", makeType(TypeKind::Varchar, 9), makeType(TypeKind::Varchar, 99));
  function.scratchpad = 40;
  function.finalCall = function.dbInfo = true;
  function.nullCall = false;
  const ValueView a = ValueView::ofText("a"), null = ValueView::null(),
                  fail = ValueView::ofText("fail");
  takeCallLog();
  auto use = host.useScalar(function);
  EXPECT_EQ(textOf(use->call({&null, 1})), "NULL");
  EXPECT_EQ(textOf(use->call({&a, 1})), "1 S.F SQL1 MEMORY 1208 40");
  EXPECT_EQ(textOf(use->call({&a, 1})), "2 S.F SQL1 MEMORY 1208 40");
  use.reset();
  EXPECT_EQ(takeCallLog(), "-1a 0a 1");
  use = host.useScalar(function);
  failure(-443, [&] { use->call({&fail, 1}); });
  use.reset();
  EXPECT_EQ(takeCallLog(), "-1fail 1");
  host.useScalar(function).reset();
  EXPECT_EQ(takeCallLog(), "");
  // The memory of a use serves the next one, which finds nothing of it; another function's does
  // not.
  for (const int64_t length : {40, 40, 48}) {
    function.scratchpad = static_cast<int32_t>(length);
    use = host.useScalar(function);
    EXPECT_EQ(textOf(use->call({&a, 1})), "1 S.F SQL1 MEMORY 1208 " + std::to_string(length));
    use.reset();
  }
  EXPECT_EQ(takeCallLog(), "-1a 1 -1a 1 -1a 1");
  EXPECT_EQ(Session::current(), &*other);

  session->state().activeCalls = 16;
  const std::string message = failure(-724, [&] { callOnce(*session, function, a); });
  EXPECT_NE(message.find("FUNCTION"), std::string::npos);
  function.entry = "missing";
  failure(-444, [&] { host.useScalar(function); });
}

TEST(FunctionCallTest, TableUsesOpenAndCloseForEachOuterRow) {
  struct Case {
    const char* label;
    bool finalCall;
    int64_t n;
    const char* outcome;
    const char* log;
  };
  const Case cases[] = {
      {"rows", true, 3, "1=1 2=NULL 3=3", "-2 -1 0 0 0 0 1 -1 0 0 0 0 1 2"},
      {"no row", true, 0, "", "-2 -1 0 1 -1 0 1 2"},
      {"without final call", false, 1, "1=1", "-1 0 0 1 -1 0 0 1"},
      {"fails first", true, 90, "-443", "-2 2"},
      {"fails to open", true, 91, "-443", "-2 -1 2"},
      {"fails to fetch", true, 92, "1=1 -443", "-2 -1 0 0 1 2"},
      {"fails in close", false, 93, "-443", "-1 1"},
      {"fails at last", true, 94, "", "-2 -1 1 -1 1 2"},
  };
  TestSession session;
  RoutineHost host(session->state());
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    takeCallLog();
    std::string outcome;
    {
      const auto use = host.useTable(countUp(c.finalCall));
      const ValueView n = ValueView::of(c.n);
      try {
        for (int outer = 0; outer < 2; ++outer) {
          outcome.clear();
          use->open({&n, 1});
          while (c.n < 93 && use->fetch()) {
            outcome += textOf(use->column(0)) + "=" + textOf(use->column(1)) + " ";
          }
          EXPECT_FALSE(c.n < 93 && use->fetch());
          use->close();
        }
      } catch (const SqlError& error) {
        outcome += std::to_string(error.sqlcode()) + " ";
      }
    }
    if (!outcome.empty()) outcome.pop_back();
    EXPECT_EQ(outcome, c.outcome);
    EXPECT_EQ(takeCallLog(), c.log);
  }
  Function function = countUp(true);
  function.nullCall = false;
  const auto use = host.useTable(function);
  const ValueView null = ValueView::null();
  use->open({&null, 1});
  EXPECT_FALSE(use->fetch());
  EXPECT_EQ(takeCallLog(), "");
}

// ------------------------------------------------------------------ through SQL

void declare(TestSession& session, const std::string& signature, const std::string& entry,
             const std::string& options = "") {
  session.run("CREATE FUNCTION " + signature + " EXTERNAL NAME 'functions_for_test!" + entry +
              "' LANGUAGE C PARAMETER STYLE ORVSQL NO SQL NOT FENCED NOT VARIANT "
              "NO EXTERNAL ACTION " +
              options);
}

constexpr const char* kCountUp =
    "COUNT_UP (INTEGER) RETURNS TABLE (NUMBER INTEGER, TEXT VARCHAR(3))";

TEST(FunctionStatementTest, FunctionsAnswerStatements) {
  TestSession session;
  declare(session, "SAME (VARCHAR(20)) RETURNS VARCHAR(20)", "sameText");
  declare(session, "COPY (CLOB(2G) AS LOCATOR) RETURNS CLOB(2G) AS LOCATOR", "copyText");
  declare(session, kCountUp, "countUp", "SCRATCHPAD FINAL CALL");
  declare(session, "RECURSE (INTEGER) RETURNS INTEGER", "recurse");
  session.run("CREATE TABLE T (N INTEGER, D CLOB(1M))");
  session.run("INSERT INTO T VALUES (1, 'one'), (2, COPY(SAME('two')))");
  EXPECT_EQ(session.rows("SELECT N, COPY(D), SAME(CAST(NULL AS VARCHAR(9))) FROM T ORDER BY N"),
            (Rows{{"1", "one", "NULL"}, {"2", "two", "NULL"}}));
  takeCallLog();
  EXPECT_EQ(session.rows("SELECT T.N, C.TEXT FROM T, TABLE(COUNT_UP(T.N)) AS C ORDER BY T.N, "
                         "C.NUMBER"),
            (Rows{{"1", "1"}, {"2", "1"}, {"2", "NULL"}}));
  EXPECT_EQ(takeCallLog(), "-2 -1 0 0 1 -1 0 0 0 1 2");
  EXPECT_EQ(session.rows("VALUES RECURSE(0)"), (Rows{{"-724"}}));
  EXPECT_EQ(session->state().activeCalls, 0);
}

TEST(FunctionStatementTest, FailuresAndWarningsAreTheStatements) {
  TestSession session;
  declare(session, "REPORT (VARCHAR(40)) RETURNS VARCHAR(20)", "report");
  declare(session, "MISBEHAVE (VARCHAR(40)) RETURNS VARCHAR(10)", "misbehave", "SCRATCHPAD");
  session.run("CREATE TABLE T (A VARCHAR(20))");
  session->commit();
  session.run("INSERT INTO T VALUES ('kept')");
  const Outcome failed = session.run("INSERT INTO T VALUES (REPORT('38X08 two'))", -443).outcome;
  EXPECT_EQ(failed.sqlstate, "38X08");
  EXPECT_EQ(failed.tokens.front(), "APP.REPORT");
  EXPECT_EQ(failed.tokens.back(), "two");
  session.run("SELECT MISBEHAVE('message overrun') FROM T", -450);
  session.run("SELECT MISBEHAVE('exception') FROM T", -430);

  const Result warned =
      session.run("INSERT INTO T VALUES (REPORT('01HX0 none')), (REPORT('01H02 more'))", 462);
  EXPECT_EQ(warned.rowCount, 2);
  EXPECT_EQ(warned.outcome.sqlstate, "01HX0");
  EXPECT_EQ(warned.outcome.tokens.back(), "none");
  session.run("SELECT REPORT('01HX0 none') FROM T", 462);
  session.run("DELETE FROM T WHERE A = REPORT('01HX0 none') || 'x'", 100);
  EXPECT_EQ(session.rows("SELECT A FROM T"), (Rows{{"kept"}, {"done"}, {"done"}}));
}

// The change reads the open results ahead, whose functions make changes of their own.
TEST(FunctionStatementTest, FunctionsMayRunStatementsWhileResultsAreReadAhead) {
  TestSession session;
  declare(session, "RUN (VARCHAR(80)) RETURNS INTEGER", "runStatement");
  session.run("CREATE TABLE T (N INTEGER)");
  session.run("CREATE TABLE LOG (N INTEGER)");
  session.run("INSERT INTO T VALUES (1), (2), (3)");
  const std::string query = "SELECT RUN('INSERT INTO LOG VALUES (1)'), N FROM T";
  PreparedStatement first(session->state(), query),
      second(session->state(), query + " WHERE N > 1");
  for (PreparedStatement* statement : {&first, &second}) {
    statement->start();
    statement->run();
    ASSERT_TRUE(statement->fetch());
  }
  session.run("DELETE FROM T WHERE N = 3");
  int rows = 2;
  for (PreparedStatement* statement : {&first, &second}) {
    while (statement->fetch()) ++rows;
  }
  EXPECT_EQ(rows, 5);
  EXPECT_EQ(session.rows("SELECT COUNT(*) FROM LOG"), (Rows{{"5"}}));
}

TEST(FunctionStatementTest, AClosingSessionMakesTheFinalCalls) {
  TestSession session;
  declare(session, kCountUp, "countUp", "SCRATCHPAD FINAL CALL");
  PreparedStatement statement(session->state(), "SELECT * FROM TABLE(COUNT_UP(9)) AS C");
  takeCallLog();
  statement.start();
  statement.run();
  EXPECT_TRUE(statement.fetch());
  session.close();
  EXPECT_EQ(takeCallLog(), "-2 -1 0 1 2");
}

}  // namespace
}  // namespace orv::test
