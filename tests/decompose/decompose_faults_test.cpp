// A server that fails: each call of the call-level interface in turn, at each occurrence. The
// definitions here stand in front of the server's own and pass on what they do not fail.
#include <dlfcn.h>

#include "tests/decompose/mapping_texts.h"
#include "tests/support/decompose_calls.h"

namespace {

// The call to fail: its name and how many of that name still succeed; -1 fails none.
std::string failing;
int remaining = -1;
int failed = 0;

bool failsNow(const char* name) {
  if (failing != name || remaining < 0 || remaining-- > 0) return false;
  ++failed;
  return true;
}

template <class Function, class... Args>
SQLRETURN passOn(const char* name, Args... args) {
  if (failsNow(name)) return SQL_ERROR;
  const auto real = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
  return real(args...);
}

}  // namespace

extern "C" {
SQLRETURN SQLAllocHandle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output) {
  return passOn<decltype(SQLAllocHandle)>("SQLAllocHandle", type, input, output);
}
SQLRETURN SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle) {
  return passOn<decltype(SQLFreeHandle)>("SQLFreeHandle", type, handle);
}
SQLRETURN SQLSetConnectOption(SQLHDBC connection, SQLUSMALLINT option, SQLINTEGER value) {
  return passOn<decltype(SQLSetConnectOption)>("SQLSetConnectOption", connection, option, value);
}
SQLRETURN SQLConnect(SQLHDBC connection, SQLCHAR* server, SQLSMALLINT serverLength, SQLCHAR* user,
                     SQLSMALLINT userLength, SQLCHAR* password, SQLSMALLINT passwordLength) {
  return passOn<decltype(SQLConnect)>("SQLConnect", connection, server, serverLength, user,
                                      userLength, password, passwordLength);
}
SQLRETURN SQLDisconnect(SQLHDBC connection) {
  return passOn<decltype(SQLDisconnect)>("SQLDisconnect", connection);
}
SQLRETURN SQLPrepare(SQLHSTMT statement, SQLCHAR* text, SQLINTEGER length) {
  return passOn<decltype(SQLPrepare)>("SQLPrepare", statement, text, length);
}
SQLRETURN SQLDescribeParam(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT* type,
                           SQLUINTEGER* size, SQLSMALLINT* digits, SQLSMALLINT* nullable) {
  return passOn<decltype(SQLDescribeParam)>("SQLDescribeParam", statement, number, type, size,
                                            digits, nullable);
}
SQLRETURN SQLBindParameter(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT direction,
                           SQLSMALLINT cType, SQLSMALLINT sqlType, SQLUINTEGER size,
                           SQLSMALLINT digits, SQLPOINTER value, SQLINTEGER capacity,
                           SQLINTEGER* indicator) {
  return passOn<decltype(SQLBindParameter)>("SQLBindParameter", statement, number, direction, cType,
                                            sqlType, size, digits, value, capacity, indicator);
}
SQLRETURN SQLExecute(SQLHSTMT statement) {
  return passOn<decltype(SQLExecute)>("SQLExecute", statement);
}
}

namespace orvxml::test {
namespace {

constexpr int kMostCalls = 100;

// The rows that a call must have left: none when it failed before its first insert.
class FailingServer : public testing::TestWithParam<const char*> {};

TEST_P(FailingServer, EveryFailureIsReportedAndHarmless) {
  const std::string document = "<p k='1'><c v='x'/><c v='y'/></p>";
  failing = GetParam();
  int occurrence = 0;
  for (; occurrence < kMostCalls; ++occurrence) {
    SCOPED_TRACE("occurrence " + std::to_string(occurrence));
    DecomposeDatabase db;
    db.runScript(kParentAndChild);
    failed = 0;
    remaining = occurrence;
    const CallOutcome outcome = callListForm("qrkShredXML", parentAndChild(), document);
    remaining = -1;
    if (failed == 0) {
      EXPECT_EQ(outcome.code, 0);
      break;
    }
    EXPECT_EQ(outcome.code, -57);
    EXPECT_TRUE(outcome.message.starts_with("QRKG006E  Internal Error SQLSTATE="))
        << outcome.message;
    // The same session works on, with nothing of the failed call in its way.
    EXPECT_FALSE(db.session().rollback().failed());
    EXPECT_EQ(callListForm("qrkShredXML", parentAndChild(), document).code, 0);
    EXPECT_EQ(db.rows("select k, v from c order by v"), (Rows{{"1", "x"}, {"1", "y"}}));
  }
  EXPECT_GT(occurrence, 0);
  EXPECT_LT(occurrence, kMostCalls);
}

INSTANTIATE_TEST_SUITE_P(Calls, FailingServer,
                         testing::Values("SQLAllocHandle", "SQLFreeHandle", "SQLSetConnectOption",
                                         "SQLConnect", "SQLDisconnect", "SQLPrepare",
                                         "SQLDescribeParam", "SQLBindParameter", "SQLExecute"),
                         [](const auto& call) { return std::string(call.param); });

}  // namespace
}  // namespace orvxml::test
