// Makes one call of the library to the server fail: of the call-level interface or of embedded SQL.
// The definitions behind this stand in front of the server's own, look at each call and pass it on
// when it is not to fail; the failing one never reaches the server.
#pragma once

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

}  // namespace orvxml::test
