#include "server/values/packed_decimal.h"
#include "tests/server/test_session.h"

namespace orv::test {
namespace {

using Values = std::vector<std::string>;  // null values are "NULL"

class RoutinesTest : public testing::Test {
 protected:
  void declare(TestSession& session, const std::string& signature, const std::string& entry) {
    session.run("CREATE PROCEDURE " + signature +
                " LANGUAGE C PARAMETER STYLE ORVDARI EXTERNAL NAME 'procedures_for_test!" + entry +
                "'");
  }
  // The outputs of a call that must give this SQLCODE.
  Values call(TestSession& session, const char* name, const Values& arguments, int sqlcode = 0) {
    std::vector<Argument> given;
    for (const std::string& argument : arguments) {
      given.emplace_back();
      if (argument != "NULL") given.back().value = argument;
    }
    const CallResult result = session->call("", name, given);
    EXPECT_EQ(result.outcome.sqlcode, sqlcode) << result.outcome.message;
    message = result.outcome.message;
    Values outputs;
    for (const ResultValue& value : result.outputs) outputs.push_back(value.value_or("NULL"));
    return outputs;
  }

  std::string message;
};

TEST_F(RoutinesTest, ValuesGoInAndComeBack) {
  TestSession session;
  declare(session, "CAPITALS (IN A VARCHAR(10), INOUT B INTEGER, OUT C VARCHAR(10))", "capitals");
  EXPECT_EQ(call(session, "CAPITALS", {"abc", "21", ""}), (Values{"NULL", "42", "ABC"}));
  EXPECT_EQ(call(session, "CAPITALS", {"NULL", "21", ""}), (Values{"NULL", "NULL", "NULL"}));
  EXPECT_EQ(call(session, "CAPITALS", {"", "-1", ""}), (Values{"NULL", "-2", ""}));
  call(session, "CAPITALS", {"abcdefghijk", "1", ""}, -433);
  call(session, "CAPITALS", {"abc", "x", ""}, -420);
  call(session, "CAPITALS", {"abc", "1"}, -440);
  call(session, "MISSING", {}, -440);

  const Result result = session.run("CALL CAPITALS('a' || 'bc', ?, ?)", -313);
  EXPECT_TRUE(result.rows.empty());
  session.run("CALL CAPITALS('abc', 1, ?)", -469);
  session.run("CALL CAPITALS(CAST(? AS VARCHAR(5)), ?, ?)", -418);

  declare(session,
          "SAME (INOUT A SMALLINT, INOUT B BIGINT, INOUT C DOUBLE, INOUT D REAL,"
          " INOUT E DECIMAL(9,2), INOUT F CHAR(4), INOUT G LONG VARCHAR, INOUT H DATE,"
          " INOUT I TIME, INOUT J TIMESTAMP, INOUT K BLOB(10), INOUT L VARGRAPHIC(4),"
          " INOUT M VARCHAR(4) FOR BIT DATA, INOUT N DBCLOB(9))",
          "unchanged");
  const Values values = {"-5",
                         "1099511627776",
                         "1.5E0",
                         "2.5E-1",
                         "-1234567.89",
                         "ab  ",
                         "long",
                         "2026-11-24",
                         "20.16.07",
                         "2026-11-24-20.16.07.000001",
                         std::string("\0\xff", 2),
                         "\u65e5a",
                         std::string("\xff\0", 2),
                         "\u65e5"};
  EXPECT_EQ(call(session, "SAME", values), values);
}

TEST_F(RoutinesTest, LargeObjectsHaveTheirLengthInTheSecondaryEntry) {
  TestSession session;
  declare(session, "REVERSED (IN DOCU CLOB(100K), OUT B CLOB(1M), OUT C VARCHAR(60))", "reversed");
  EXPECT_EQ(call(session, "REVERSED", {"abc", "", ""}),
            (Values{"NULL", "cba", "6 3 409 1048576 449 60 DOCU"}));
  EXPECT_EQ(call(session, "REVERSED", {"", "", ""})[1], "");
  const Result result = session.run("CALL REVERSED('a' || 'bc', ?, ?)");
  EXPECT_EQ(rowsOf(result), (Rows{{"cba", "6 3 409 1048576 449 60 DOCU"}}));
  EXPECT_EQ(result.columns[0].name, "B");
  std::string document(102400, 'x');
  document[0] = 'y';
  EXPECT_EQ(call(session, "REVERSED", {document, "", ""})[1].back(), 'y');
  call(session, "REVERSED", {document + "x", "", ""}, -433);
}

TEST_F(RoutinesTest, MisbehavingProceduresAreCaughtAndHarmNothing) {
  TestSession session;
  session.run("CREATE TABLE T (A VARCHAR(10))");
  declare(session, "MISBEHAVE (IN A VARCHAR(10), OUT B VARCHAR(10), OUT C CLOB(100))", "misbehave");
  struct Case {
    const char* how;
    int sqlcode;
  };
  const Case cases[] = {
      {"overruns", -450},    {"underruns", -450},
      {"length", -450},      {"indicator", -450},
      {"clob length", -450}, {"negative clob length", -450},
      {"bad text", -191},    {"throws", -430},
      {"0 returned", -430},  {"descriptor overwritten", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.how);
    const Values outputs =
        call(session, "MISBEHAVE", {std::string(c.how).substr(0, 10), "", ""}, c.sqlcode);
    if (c.sqlcode == 0) {
      EXPECT_EQ(outputs[1], "fine");
    }
    session.run("INSERT INTO T VALUES ('still')");
  }
}

TEST_F(RoutinesTest, ProceduresRunInTheCallersUnitOfWork) {
  TestSession session;
  session.run("CREATE TABLE T (A VARCHAR(5))");
  declare(session, "ADD (IN A VARCHAR(20))", "insertText");
  session->commit();
  session.run("INSERT INTO T VALUES ('one')");
  session.run("CALL ADD('two')");
  session.run("CALL ADD('thr' || 'ee')");
  EXPECT_EQ(session.rows("SELECT A FROM T ORDER BY A"), (Rows{{"one"}, {"three"}, {"two"}}));
  const Outcome failed = session.run("CALL ADD('too long')", -433).outcome;
  EXPECT_EQ(failed.sqlstate, "22001");
  EXPECT_EQ(session.rows("SELECT COUNT(*) FROM T"), (Rows{{"3"}}));
  session->rollback();
  EXPECT_TRUE(session.rows("SELECT A FROM T").empty());
  TestSession other;  // another one is current: the call changes that
  EXPECT_EQ(session->call("", "ADD", {{"x"}}).outcome.sqlcode, 0);
  EXPECT_EQ(Session::current(), &*other);
  EXPECT_EQ(session.rows("SELECT A FROM T"), (Rows{{"x"}}));
}

TEST_F(RoutinesTest, MissingCodeIsReported) {
  TestSession session;
  struct Case {
    const char* external;
    const char* named;
  };
  const Case cases[] = {
      {"procedures_for_test!nothing", "procedures_for_test!nothing"},
      {"no_such_library!entry", "no_such_library"},
      {"../lib/x!entry", "../lib/x"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.external);
    session.run(std::string("CREATE PROCEDURE P () LANGUAGE C PARAMETER STYLE ORVDARI "
                            "EXTERNAL NAME '") +
                c.external + "'");
    const Outcome outcome = session.run("CALL P()", -444).outcome;
    EXPECT_EQ(outcome.tokens.back(), c.named);
    session.run("DROP PROCEDURE P");
  }
  session.run(
      "CREATE PROCEDURE P () LANGUAGE C PARAMETER STYLE GENERAL "
      "EXTERNAL NAME 'procedures_for_test!unchanged'");
  session.run("CALL P()", -451);
}

TEST_F(RoutinesTest, PackedDecimalsKeepEveryDigit) {
  struct Case {
    const char* numeral;
    int precision, scale;
    const char* unpacked;  // null: does not fit
  };
  const Case cases[] = {
      {"0", 1, 0, "0"},
      {"-0.01", 3, 2, "-0.01"},
      {"123.4", 5, 2, "123.40"},
      {"999.99", 5, 2, "999.99"},
      {"1000", 5, 2, nullptr},
      {"1.234", 5, 2, nullptr},
      {"0.5", 1, 1, "0.5"},
      {"x", 5, 2, nullptr},
      {"+7", 2, 0, "7"},
      {"1234567890123456789012345678901", 31, 0, "1234567890123456789012345678901"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.numeral);
    char packed[16];
    ASSERT_EQ(packDecimal(c.numeral, c.precision, c.scale, packed), c.unpacked != nullptr);
    if (c.unpacked) {
      EXPECT_EQ(unpackDecimal(packed, c.precision, c.scale), c.unpacked);
    }
  }
  EXPECT_FALSE(unpackDecimal("\xa0\x1c", 3, 0));  // no digit
  EXPECT_FALSE(unpackDecimal("\x12\x34", 3, 0));  // no sign
}

}  // namespace
}  // namespace orv::test
