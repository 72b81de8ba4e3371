// What decomposition sends through the call-level interface, and what happens when that fails: each
// call in turn, at each occurrence. The definitions here stand in front of the server's own, look
// at the call and pass it on when it is not to fail.
#include <dlfcn.h>

#include <cstdio>
#include <utility>

#include "orvxml/cli_handles.h"
#include "orvxml/code_pages.h"
#include "orvxml/target_table.h"
#include "src/decompose/row_insert.h"
#include "tests/decompose/mapping_texts.h"
#include "tests/support/decompose_calls.h"

namespace {

// The call to fail: its name and how many of that name still succeed; -1 fails none.
std::string failing;
int remaining = -1;
int failed = 0;

// The parameters bound last, by number.
struct Bound {
  SQLSMALLINT cType;
  std::string bytes;
  SQLINTEGER indicator;
  bool operator==(const Bound&) const = default;
};
std::vector<Bound> bound;

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
  bound.resize(number);
  bound.back() = {cType, std::string(static_cast<char*>(value), static_cast<size_t>(capacity)),
                  *indicator};
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

// In a code page with shift states a graphic value has no shift bytes; a character value keeps
// them.
TEST(BoundValues, GraphicValuesLoseTheirShiftBytes) {
  DecomposeDatabase db;
  db.runScript("create table p (c varchar(9), g vargraphic(9), h vargraphic(9), n vargraphic(9))");
  CallContext context;
  UErrorCode status = U_ZERO_ERROR;
  UConverter* const stateful = getConverter(1399, &status);
  ASSERT_TRUE(U_SUCCESS(status));
  UConverter* const own = std::exchange(context.get()->codePages->dbConverter, stateful);

  std::vector<col2xml_entry> columns(4);
  for (size_t i = 0; i < columns.size(); ++i) {
    std::snprintf(columns[i].col, sizeof columns[i].col, "%c", "CGHN"[i]);
    std::snprintf(columns[i].dataType, kDataTypeSize, "%s",
                  i == 0 ? "varchar(9)" : "vargraphic(9)");
  }
  std::vector<char> statement(kStatementSize);
  tab table{};
  table.name[0] = 'P';
  table.num_col = 4;
  table.col2xml = columns.data();
  table.stmt = statement.data();
  CliConnection connection(context, "test", context.msg);
  ASSERT_EQ(connection.open(), 0);
  ASSERT_EQ(generate_SQLi(context, &table, table.stmt, kStatementSize, context.msg), 0);
  rel model{};
  model.hdbc = connection.handle();
  const Value row[] = {{"\x0E"
                        "AB\x0F",
                        4},
                       {"\x0E"
                        "ABCD\x0F",
                        6},
                       {"\x0E"
                        "AB",
                        3},
                       {}};
  {
    RowInserter inserter(context, &model, table, context.msg);
    ASSERT_EQ(inserter.prepare(), 0) << context.msg;
    inserter.qrkrow_to_stmt(row);
  }
  const std::vector<Bound> expected = {{SQL_C_CHAR,
                                        "\x0E"
                                        "AB\x0F",
                                        SQL_NTS},
                                       {SQL_C_DBCHAR, "ABCD", 4},
                                       {SQL_C_DBCHAR,
                                        "\x0E"
                                        "AB",
                                        3},
                                       {SQL_C_DBCHAR, "", SQL_NULL_DATA}};
  EXPECT_TRUE(bound == expected);
  context.get()->codePages->dbConverter = own;
  ucnv_close(stateful);
}

}  // namespace
}  // namespace orvxml::test
