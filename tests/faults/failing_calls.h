// Makes one call of the library to the server fail: of the call-level interface or of embedded SQL.
// The definitions behind this stand in front of the server's own, look at each call and pass it on
// when it is not to fail; the failing one never reaches the server.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace orvxml::test {

// The functions that can fail, by their names; those of embedded SQL with their class.
inline constexpr const char* kFailingCalls[] = {
    "SQLAllocHandle", "SQLFreeHandle",     "SQLSetConnectOption",
    "SQLConnect",     "SQLDisconnect",     "SQLPrepare",
    "SQLNumParams",   "SQLDescribeParam",  "SQLBindParameter",
    "SQLExecute",     "SQLExecDirect",     "SQLNumResultCols",
    "SQLDescribeCol", "SQLBindCol",        "SQLFetch",
    "SQLCloseCursor", "execute",           "executeImmediate",
    "freeLocator",    "Statement.prepare", "Statement.execute",
    "Cursor.open",    "Cursor.fetch",      "Cursor.close",
};

// From here on the call of `function` fails that comes after `successes` others.
void armCall(const std::string& function, int successes);
// Ends it. True when a call has failed.
bool disarmCall();

// Calls `attempt` with each call of `function` failing in turn: each of the first `every` ones,
// then ever one of as many. It ends the fault with `disarmCall`, and returns what that gives. The
// number of calls that have failed.
template <class Attempt>
int atEveryCall(const std::string& function, const Attempt& attempt, int every = 100) {
  int failures = 0, occurrence = 0;
  for (bool hasFailed = true; hasFailed && !testing::Test::HasFailure();) {
    SCOPED_TRACE(function + ", occurrence " + std::to_string(occurrence));
    armCall(function, occurrence);
    hasFailed = attempt();
    failures += hasFailed;
    occurrence += occurrence < every ? 1 : every;
    EXPECT_LT(occurrence, 10'000) << "there is no end";
  }
  return failures;
}

}  // namespace orvxml::test
