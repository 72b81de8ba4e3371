// Each call to the server fails in turn, at each of its occurrences: the failure is reported, never
// taken for a success, and the same session works on with nothing of the failed call in its way.
#include "tests/faults/failing_calls.h"

#include "tests/faults/compositions.h"
#include "tests/support/dads.h"

namespace orvxml::test {
namespace {

class FailingServer : public testing::TestWithParam<const char*> {};

TEST_P(FailingServer, EveryFailureOfDecompositionIsReportedAndHarmless) {
  const std::string document = "<p k='1'><c v='x'/><c v='y'/></p>";
  const int failures = atEveryCall(GetParam(), [&] {
    DecomposeDatabase db;
    db.runScript(kParentAndChild);
    const CallOutcome outcome = callListForm("qrkShredXML", parentAndChild(), document);
    if (!disarmCall()) {
      EXPECT_EQ(outcome.code, 0);
      return false;
    }
    EXPECT_EQ(outcome.code, -57);
    EXPECT_TRUE(outcome.message.starts_with("QRKG006E  Internal Error SQLSTATE="))
        << outcome.message;
    EXPECT_FALSE(db.session().rollback().failed());
    EXPECT_EQ(callListForm("qrkShredXML", parentAndChild(), document).code, 0);
    EXPECT_EQ(db.rows("select k, v from c order by v"), (Rows{{"1", "x"}, {"1", "y"}}));
    return true;
  });
  EXPECT_GT(failures, 0);
}

INSTANTIATE_TEST_SUITE_P(Calls, FailingServer,
                         testing::Values("SQLAllocHandle", "SQLFreeHandle", "SQLSetConnectOption",
                                         "SQLConnect", "SQLDisconnect", "SQLPrepare",
                                         "SQLDescribeParam", "SQLBindParameter", "SQLExecute"),
                         [](const auto& call) { return std::string(call.param); });

// What a call releases at its end does not matter to its result.
bool onlyReleases(const std::string& call) {
  return call == "SQLFreeHandle" || call == "freeLocator" || call == "Cursor.close";
}

using FailingCalls = CompositionFaults;

TEST_P(FailingCalls, EveryFailureOfCompositionIsReportedAndHarmless) {
  int failures = 0;
  for (const char* const call : kFailingCalls) {
    failures += atEveryCall(call, [&] {
      const ComposeOutcome outcome = db_.compose(ComposeForm::List, arguments_);
      const bool hasFailed = disarmCall();
      judge(outcome);
      if (!hasFailed) return false;
      EXPECT_TRUE(outcome.code < 0 || onlyReleases(call)) << outcome;
      expectNothingLeftOpen();
      return true;
    });
  }
  EXPECT_GT(failures, 50);
}

INSTANTIATE_TEST_SUITE_P(Compositions, FailingCalls, testing::ValuesIn(kFaultyCompositions),
                         compositionName);

}  // namespace
}  // namespace orvxml::test
