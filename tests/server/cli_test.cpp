#include <cstring>

#include "orv/sqlcli.h"
#include "server/clients/hostvars/host_area.h"
#include "tests/server/cli_handles.h"
#include "tests/server/test_session.h"

namespace orv::test {
namespace {

SQLCHAR* chars(const char* text) {
  return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text));
}

std::string stateOf(SQLSMALLINT type, SQLHANDLE handle) {
  SQLCHAR state[6] = "";
  SQLGetDiagRec(type, handle, 1, state, nullptr, nullptr, 0, nullptr);
  return reinterpret_cast<const char*>(state);
}

class CliTest : public testing::Test, public CliHandles {
 protected:
  void connect() {
    ASSERT_EQ(SQLSetConnectOption(dbc, SQL_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF), SQL_SUCCESS);
    ASSERT_EQ(SQLSetConnectAttr(dbc, SQL_ATTR_CODE_PAGE_CONVERSION, nullptr, SQL_IS_INTEGER),
              SQL_SUCCESS);
    ASSERT_TRUE(CliHandles::connect());
  }
  std::string state() const { return stateOf(SQL_HANDLE_STMT, stmt); }
  SQLRETURN prepare(const char* text) { return SQLPrepare(stmt, chars(text), SQL_NTS); }
  SQLRETURN execDirect(const char* text) { return SQLExecDirect(stmt, chars(text), SQL_NTS); }
  SQLRETURN bindText(SQLUSMALLINT number, const char* value, SQLINTEGER* indicator = nullptr) {
    return SQLBindParameter(stmt, number, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 0, 0,
                            chars(value), static_cast<SQLINTEGER>(std::strlen(value)), indicator);
  }
};

TEST_F(CliTest, HandlesAreCheckedOnEveryCall) {
  TestSession session;
  connect();
  EXPECT_EQ(SQLFreeHandle(SQL_HANDLE_ENV, env), SQL_ERROR);  // a connection is left
  EXPECT_EQ(stateOf(SQL_HANDLE_ENV, env), "HY010");
  EXPECT_EQ(SQLFreeHandle(SQL_HANDLE_DBC, dbc), SQL_ERROR);  // still connected
  EXPECT_EQ(stateOf(SQL_HANDLE_DBC, dbc), "HY010");
  EXPECT_EQ(SQLFreeHandle(SQL_HANDLE_DBC, stmt), SQL_INVALID_HANDLE);
  EXPECT_EQ(SQLFetch(dbc), SQL_INVALID_HANDLE);
  SQLHANDLE none = 7;
  EXPECT_EQ(SQLAllocHandle(99, env, &none), SQL_ERROR);
  EXPECT_EQ(stateOf(SQL_HANDLE_ENV, env), "HY092");
  EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_STMT, env, &none), SQL_INVALID_HANDLE);
  const SQLHSTMT freed = stmt;
  EXPECT_EQ(SQLFreeHandle(SQL_HANDLE_STMT, stmt), SQL_SUCCESS);
  for (const SQLHANDLE wrong : {freed, 0, -1, 12345678, 0x7fffffff}) {
    EXPECT_EQ(SQLExecute(wrong), SQL_INVALID_HANDLE) << wrong;
    EXPECT_EQ(SQLFreeHandle(SQL_HANDLE_STMT, wrong), SQL_INVALID_HANDLE) << wrong;
    EXPECT_EQ(SQLGetDiagRec(SQL_HANDLE_STMT, wrong, 1, nullptr, nullptr, nullptr, 0, nullptr),
              SQL_INVALID_HANDLE);
  }
  for (int i = 0; i < 2000; ++i) {  // its place is used again; its number is not
    ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt), SQL_SUCCESS);
    ASSERT_NE(stmt, freed);
    ASSERT_EQ(SQLFreeHandle(SQL_HANDLE_STMT, stmt), SQL_SUCCESS);
  }
  ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt), SQL_SUCCESS);
  EXPECT_EQ(SQLDisconnect(dbc), SQL_SUCCESS);  // frees the statement
  EXPECT_EQ(SQLExecute(stmt), SQL_INVALID_HANDLE);
}

TEST_F(CliTest, ConnectionsAreSecondHandlesOnTheCurrentSession) {
  EXPECT_EQ(SQLConnect(dbc, nullptr, 0, nullptr, 0, nullptr, 0), SQL_ERROR);
  EXPECT_EQ(stateOf(SQL_HANDLE_DBC, dbc), "08003");
  SQLINTEGER native = 0;
  SQLGetDiagRec(SQL_HANDLE_DBC, dbc, 1, nullptr, &native, nullptr, 0, nullptr);
  EXPECT_EQ(native, -1024);
  EXPECT_EQ(SQLDisconnect(dbc), SQL_ERROR);
  EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt), SQL_ERROR);
  EXPECT_EQ(stateOf(SQL_HANDLE_DBC, dbc), "08003");

  TestSession session;
  const auto refused = [&](SQLRETURN result) {
    EXPECT_EQ(result, SQL_ERROR);
    return stateOf(SQL_HANDLE_DBC, dbc);
  };
  EXPECT_EQ(refused(SQLConnect(dbc, chars("OTHER"), SQL_NTS, nullptr, 0, nullptr, 0)), "08001");
  EXPECT_EQ(refused(SQLConnect(dbc, nullptr, -5, nullptr, 0, nullptr, 0)), "HY090");
  EXPECT_EQ(refused(SQLSetConnectOption(dbc, SQL_AUTOCOMMIT, SQL_AUTOCOMMIT_ON)), "HYC00");
  EXPECT_EQ(refused(SQLSetConnectOption(dbc, SQL_AUTOCOMMIT, 7)), "HY024");
  EXPECT_EQ(refused(SQLSetConnectOption(dbc, 1, 0)), "HY092");
  EXPECT_EQ(refused(SQLSetConnectAttr(dbc, 4711, nullptr, 0)), "HY092");
  connect();
  EXPECT_EQ(refused(SQLConnect(dbc, nullptr, 0, nullptr, 0, nullptr, 0)), "08002");

  session.run("CREATE TABLE T (A INTEGER)");
  session->commit();
  EXPECT_EQ(execDirect("INSERT INTO T VALUES (1)"), SQL_SUCCESS);
  EXPECT_EQ(session.rows("SELECT A FROM T"), (Rows{{"1"}}));  // the same unit of work
  EXPECT_EQ(SQLDisconnect(dbc), SQL_SUCCESS);
  session->rollback();  // nothing was committed
  EXPECT_TRUE(session.rows("SELECT A FROM T").empty());
  connect();
  EXPECT_EQ(prepare("SELECT A FROM T"), SQL_SUCCESS);
  session.close();
  EXPECT_EQ(SQLExecute(stmt), SQL_ERROR);
  EXPECT_EQ(state(), "08003");
  EXPECT_EQ(SQLFreeHandle(SQL_HANDLE_STMT, stmt), SQL_SUCCESS);
}

TEST_F(CliTest, MarkersAndColumnsAreDescribedWithoutRunning) {
  TestSession session;
  session.run(
      "CREATE TABLE T (I INTEGER NOT NULL, S SMALLINT, C CHAR(4), V VARCHAR(30), D DECIMAL(9,3),"
      " F DOUBLE, R REAL, B BIGINT, X CLOB(1M), DT DATE, TM TIME, TS TIMESTAMP, L LONG VARCHAR,"
      " VB VARCHAR(8) FOR BIT DATA, CB CHAR(4) FOR BIT DATA, G GRAPHIC(3), VG VARGRAPHIC(5),"
      " LG LONG VARGRAPHIC, BL BLOB(9), DC DBCLOB(7))");
  connect();
  struct Case {
    const char* column;
    SQLSMALLINT type;
    SQLUINTEGER size;
    SQLSMALLINT digits, nullable;
  };
  const Case cases[] = {
      {"I", SQL_INTEGER, 10, 0, 0},
      {"S", SQL_SMALLINT, 5, 0, 1},
      {"C", SQL_CHAR, 4, 0, 1},
      {"V", SQL_VARCHAR, 30, 0, 1},
      {"D", SQL_DECIMAL, 9, 3, 1},
      {"F", SQL_DOUBLE, 15, 0, 1},
      {"R", SQL_REAL, 7, 0, 1},
      {"B", SQL_BIGINT, 19, 0, 1},
      {"X", SQL_CLOB, 1048576, 0, 1},
      {"DT", SQL_TYPE_DATE, 10, 0, 1},
      {"TM", SQL_TYPE_TIME, 8, 0, 1},
      {"TS", SQL_TYPE_TIMESTAMP, 26, 6, 1},
      {"L", SQL_LONGVARCHAR, 32700, 0, 1},
      {"VB", SQL_VARBINARY, 8, 0, 1},
      {"CB", SQL_BINARY, 4, 0, 1},
      {"G", SQL_GRAPHIC, 3, 0, 1},
      {"VG", SQL_VARGRAPHIC, 5, 0, 1},
      {"LG", SQL_LONGVARGRAPHIC, 16350, 0, 1},
      {"BL", SQL_BLOB, 9, 0, 1},
      {"DC", SQL_DBCLOB, 7, 0, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.column);
    const std::string column = c.column;
    SQLSMALLINT type = 0, digits = 0, nullable = 0, count = 0, length = 0;
    SQLUINTEGER size = 0;
    ASSERT_EQ(prepare(("SELECT " + column + " FROM T").c_str()), SQL_SUCCESS);
    ASSERT_EQ(SQLNumResultCols(stmt, &count), SQL_SUCCESS);
    EXPECT_EQ(count, 1);
    SQLCHAR name[129] = "";
    ASSERT_EQ(SQLDescribeCol(stmt, 1, name, 128, &length, &type, &size, &digits, &nullable),
              SQL_SUCCESS);
    EXPECT_STREQ(reinterpret_cast<char*>(name), c.column);
    EXPECT_EQ(length, static_cast<SQLSMALLINT>(column.size()));
    EXPECT_EQ(std::tie(type, size, digits, nullable),
              std::tie(c.type, c.size, c.digits, c.nullable));
    ASSERT_EQ(prepare(("UPDATE T SET " + column + " = ?").c_str()), SQL_SUCCESS);
    ASSERT_EQ(SQLNumParams(stmt, &count), SQL_SUCCESS);
    EXPECT_EQ(count, 1);
    ASSERT_EQ(SQLDescribeParam(stmt, 1, &type, &size, &digits, &nullable), SQL_SUCCESS);
    EXPECT_EQ(std::tie(type, size, digits), std::tie(c.type, c.size, c.digits));
    ASSERT_EQ(SQLNumResultCols(stmt, &count), SQL_SUCCESS);
    EXPECT_EQ(count, 0);
  }
  prepare("SELECT V AS A_LONG_NAME FROM T");
  SQLCHAR name[5];
  SQLSMALLINT length = 0;
  EXPECT_EQ(SQLDescribeCol(stmt, 1, name, 5, &length, nullptr, nullptr, nullptr, nullptr),
            SQL_SUCCESS_WITH_INFO);
  EXPECT_STREQ(reinterpret_cast<char*>(name), "A_LO");
  EXPECT_EQ(length, 11);
}

TEST_F(CliTest, WrongUseHasItsState) {
  TestSession session;
  session.run("CREATE TABLE T (A INTEGER, B VARCHAR(5))");
  session.run("INSERT INTO T VALUES (1, NULL)");
  connect();
  SQLSMALLINT count = 0;
  SQLINTEGER rows = 0;
  char buffer[10];
  const auto expectState = [&](SQLRETURN result, const char* expected) {
    EXPECT_EQ(result, SQL_ERROR) << expected;
    EXPECT_EQ(state(), expected);
  };
  expectState(SQLExecute(stmt), "HY010");
  expectState(SQLNumParams(stmt, &count), "HY010");
  expectState(SQLNumResultCols(stmt, &count), "HY010");
  expectState(SQLDescribeParam(stmt, 1, nullptr, nullptr, nullptr, nullptr), "HY010");
  expectState(SQLRowCount(stmt, &rows), "HY010");
  expectState(SQLFetch(stmt), "24000");
  expectState(SQLCloseCursor(stmt), "24000");
  expectState(SQLPrepare(stmt, nullptr, SQL_NTS), "HY009");
  expectState(SQLPrepare(stmt, chars("X"), -2), "HY090");
  expectState(prepare("SELECT * FORM T"), "42601");
  expectState(SQLExecute(stmt), "HY010");  // what failed is not prepared
  expectState(prepare("INSERT INTO T VALUES (\xff)"), "22504");

  ASSERT_EQ(prepare("INSERT INTO T VALUES (?, ?)"), SQL_SUCCESS);
  expectState(SQLExecute(stmt), "07002");
  expectState(SQLDescribeParam(stmt, 0, nullptr, nullptr, nullptr, nullptr), "07009");
  expectState(SQLDescribeParam(stmt, 3, nullptr, nullptr, nullptr, nullptr), "07009");
  expectState(SQLDescribeCol(stmt, 1, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
              "07005");
  SQLINTEGER indicator = 0;
  const auto bind = [&](SQLUSMALLINT number, SQLSMALLINT direction, SQLSMALLINT cType,
                        SQLSMALLINT type, SQLINTEGER capacity, SQLPOINTER value) {
    return SQLBindParameter(stmt, number, direction, cType, type, 5, 0, value, capacity,
                            value ? &indicator : nullptr);
  };
  expectState(bind(0, 1, SQL_C_CHAR, SQL_CHAR, 5, buffer), "07009");
  expectState(bind(1, 2, SQL_C_CHAR, SQL_CHAR, 5, buffer), "HY105");
  expectState(bind(1, 1, 77, SQL_CHAR, 5, buffer), "HY003");
  expectState(bind(1, 1, SQL_C_CHAR, 77, 5, buffer), "HY004");
  expectState(bind(1, 1, SQL_C_CHAR, SQL_CHAR, -1, buffer), "HY090");
  expectState(bind(1, 1, SQL_C_CHAR, SQL_CHAR, 5, nullptr), "HY009");
  ASSERT_EQ(bind(1, 1, SQL_C_CHAR, SQL_INTEGER, 5, buffer), SQL_SUCCESS);
  ASSERT_EQ(bindText(2, "x"), SQL_SUCCESS);
  indicator = -9;
  expectState(SQLExecute(stmt), "HY090");
  indicator = SQL_NTS;
  std::strcpy(buffer, "1x");
  expectState(SQLExecute(stmt), "22018");
  std::strcpy(buffer, "1");
  bindText(2, "123456");
  expectState(SQLExecute(stmt), "22001");
  bindText(2, "a\xc3");
  expectState(SQLExecute(stmt), "22504");

  ASSERT_EQ(execDirect("SELECT B FROM T"), SQL_SUCCESS);
  expectState(execDirect("SELECT B FROM T"), "24000");
  expectState(SQLExecute(stmt), "24000");
  expectState(SQLBindCol(stmt, 0, SQL_C_CHAR, buffer, 10, nullptr), "07009");
  expectState(SQLBindCol(stmt, 2, SQL_C_CHAR, buffer, 10, nullptr), "07009");
  expectState(SQLBindCol(stmt, 1, 99, buffer, 10, nullptr), "HY003");
  expectState(SQLBindCol(stmt, 1, SQL_C_CHAR, buffer, -1, nullptr), "HY090");
  ASSERT_EQ(SQLBindCol(stmt, 1, SQL_C_CHAR, buffer, 10, nullptr), SQL_SUCCESS);
  expectState(SQLFetch(stmt), "22002");
  EXPECT_EQ(SQLCloseCursor(stmt), SQL_SUCCESS);
}

TEST_F(CliTest, ParametersAreReadWhenTheStatementRuns) {
  TestSession session;
  session.run("CREATE TABLE T (I INTEGER, C CHAR(3), D DECIMAL(5,2), DT DATE, X CLOB(1K))");
  connect();
  ASSERT_EQ(prepare("INSERT INTO T VALUES (?, ?, ?, ?, ?)"), SQL_SUCCESS);
  char text[5][20] = {};
  SQLINTEGER indicators[5] = {};
  for (SQLUSMALLINT i = 0; i < 5; ++i) {
    SQLBindParameter(stmt, static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT, SQL_C_CHAR,
                     SQL_VARCHAR, 0, 0, text[i], 20, &indicators[i]);
  }
  struct Case {
    const char* values[5];  // null: SQL NULL
    SQLINTEGER length;      // SQL_NTS, or bytes of every value
    Row stored;
  };
  const Case cases[] = {
      {{" 42 ", "ab", "-1.5", "11/24/2026", "doc"},
       SQL_NTS,
       {"42", "ab ", "-1.50", "2026-11-24", "doc"}},
      {{nullptr, nullptr, nullptr, nullptr, nullptr}, 0, {"NULL", "NULL", "NULL", "NULL", "NULL"}},
      {{"17", "abc", "10", "2026-11-24", "doc"}, 2, {}},
      {{"17zz", "abzz", "10zz", nullptr, "dozz"}, 2, {"17", "ab ", "10.00", "NULL", "do"}},
  };
  for (const Case& c : cases) {
    session.run("DELETE FROM T WHERE 1 = 1", session.rows("SELECT I FROM T").empty() ? 100 : 0);
    for (int i = 0; i < 5; ++i) {
      std::strcpy(text[i], c.values[i] ? c.values[i] : "");
      indicators[i] = c.values[i] ? c.length : SQL_NULL_DATA;
    }
    const SQLRETURN result = SQLExecute(stmt);
    if (c.stored.empty()) {
      EXPECT_EQ(result, SQL_ERROR);  // "20" is no date
      EXPECT_EQ(state(), "22007");
      EXPECT_TRUE(session.rows("SELECT I FROM T").empty());
      continue;
    }
    EXPECT_EQ(result, SQL_SUCCESS);
    SQLINTEGER count = 0;
    EXPECT_EQ(SQLRowCount(stmt, &count), SQL_SUCCESS);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(session.rows("SELECT * FROM T"), Rows{c.stored});
  }
  SQLINTEGER number = 7;
  prepare("UPDATE T SET I = ? WHERE I = ?");
  for (SQLUSMALLINT i = 1; i <= 2; ++i) {
    SQLBindParameter(stmt, i, SQL_PARAM_INPUT, SQL_C_LONG, SQL_INTEGER, 0, 0, &number, 4, nullptr);
  }
  EXPECT_EQ(SQLExecute(stmt), SQL_NO_DATA);
  EXPECT_EQ(state(), "02000");
}

TEST_F(CliTest, RowsGoIntoBoundVariables) {
  TestSession session;
  session.run(
      "CREATE TABLE T (I INTEGER, V VARCHAR(20), X CLOB(1K), B VARCHAR(4) FOR BIT DATA,"
      " C CHAR(3))");
  session.run("INSERT INTO T VALUES (1, 'h\u00e4llo', 'document', X'00FF', X'FF00FE')");
  session.run("INSERT INTO T(I) VALUES (2)");
  connect();
  char text[5] = "", number[12] = "", bits[9] = "";
  char bytes[4] = "";  // as CHAR(3) is described, which the digits of bytes are not
  SQLINTEGER locator = 0, textLength = 0, numberLength = 0, locatorLength = 0, bitLength = 0;
  ASSERT_EQ(execDirect("SELECT I, V, X, B, C FROM T ORDER BY I"), SQL_SUCCESS);
  SQLBindCol(stmt, 1, SQL_C_CHAR, number, sizeof number, &numberLength);
  SQLBindCol(stmt, 2, SQL_C_CHAR, text, 3, &textLength);
  SQLBindCol(stmt, 3, SQL_C_CLOB_LOCATOR, &locator, 4, &locatorLength);
  SQLBindCol(stmt, 4, SQL_C_CHAR, bits, sizeof bits, &bitLength);
  SQLBindCol(stmt, 5, SQL_C_CHAR, bytes, sizeof bytes, &numberLength);
  EXPECT_EQ(SQLFetch(stmt), SQL_SUCCESS_WITH_INFO);
  EXPECT_EQ(state(), "01004");
  EXPECT_STREQ(number, "1");
  EXPECT_STREQ(text, "h");  // two bytes would split the character
  EXPECT_EQ(textLength, 6);
  EXPECT_STREQ(bits, "00FF");
  EXPECT_STREQ(bytes, "FF0");
  EXPECT_EQ(*session->state().locators().find(locator).native(session->state().codePage()),
            "document");
  const SQLINTEGER first = locator;
  EXPECT_EQ(SQLFetch(stmt), SQL_SUCCESS);
  EXPECT_EQ(textLength, SQL_NULL_DATA);
  EXPECT_EQ(locatorLength, SQL_NULL_DATA);
  EXPECT_EQ(locator, first);
  EXPECT_EQ(SQLFetch(stmt), SQL_NO_DATA);
  EXPECT_EQ(SQLFetch(stmt), SQL_NO_DATA);
  EXPECT_EQ(SQLCloseCursor(stmt), SQL_SUCCESS);
  // The bindings outlive the run: the next one fills the same variables.
  std::strcpy(number, "");
  ASSERT_EQ(execDirect("SELECT I, 'ab', X, B FROM T WHERE I = 1"), SQL_SUCCESS);
  EXPECT_EQ(SQLFetch(stmt), SQL_SUCCESS);
  EXPECT_STREQ(number, "1");
  EXPECT_STREQ(text, "ab");
  EXPECT_NE(locator, first);
  SQLCloseCursor(stmt);
  // A locator as a parameter; after the unit of work it stands for nothing.
  prepare("UPDATE T SET X = ? WHERE I = 2");
  SQLBindParameter(stmt, 1, SQL_PARAM_INPUT, SQL_C_CLOB_LOCATOR, SQL_CLOB, 0, 0, &locator, 4,
                   nullptr);
  EXPECT_EQ(SQLExecute(stmt), SQL_SUCCESS);
  EXPECT_EQ(session.rows("SELECT X FROM T WHERE I = 2"), (Rows{{"document"}}));
  session->commit();
  EXPECT_EQ(SQLExecute(stmt), SQL_ERROR);
  EXPECT_EQ(state(), "0F001");
}

TEST_F(CliTest, ParametersOfAnOpenCursorMayChangeWhileItIsRead) {
  TestSession session;
  session.run("CREATE TABLE T (A VARCHAR(5), B INTEGER)");
  session.run("INSERT INTO T VALUES ('x', 1), ('y', 2), ('x', 3)");
  connect();
  char key[6] = "x";
  SQLINTEGER length = 1;
  char value[6] = "";
  prepare("SELECT B FROM T WHERE A = ? ORDER BY B");
  bindText(1, key, &length);
  SQLBindCol(stmt, 1, SQL_C_CHAR, value, sizeof value, nullptr);
  ASSERT_EQ(SQLExecute(stmt), SQL_SUCCESS);
  std::strcpy(key, "y");
  ASSERT_EQ(SQLFetch(stmt), SQL_SUCCESS);
  ASSERT_EQ(SQLFetch(stmt), SQL_SUCCESS);
  EXPECT_STREQ(value, "3");
  SQLCloseCursor(stmt);
  // Run directly again, the same text keeps its bound parameter.
  ASSERT_EQ(execDirect("SELECT B FROM T WHERE A = ? ORDER BY B"), SQL_SUCCESS);
  ASSERT_EQ(SQLFetch(stmt), SQL_SUCCESS);
  EXPECT_STREQ(value, "2");
}

TEST_F(CliTest, TextIsInTheCodePageOfTheDatabase) {
  TestSession session(943);
  session.run("CREATE TABLE T (V VARCHAR(4), G VARGRAPHIC(4))");
  connect();
  const std::string native = "\x93\xfa\x96\x7b";  // two characters of two bytes
  ASSERT_EQ(prepare("INSERT INTO T VALUES (?, ?)"), SQL_SUCCESS);
  SQLINTEGER length = 4;
  bindText(1, native.c_str());
  SQLBindParameter(stmt, 2, SQL_PARAM_INPUT, SQL_C_DBCHAR, SQL_VARGRAPHIC, 4, 0,
                   chars(native.c_str()), 4, &length);
  ASSERT_EQ(SQLExecute(stmt), SQL_SUCCESS) << state();
  EXPECT_EQ(session.rows("SELECT V, G FROM T"), (Rows{{"\u65e5\u672c", "\u65e5\u672c"}}));
  char text[4] = "";
  SQLINTEGER full = 0;
  execDirect("SELECT V FROM T");
  SQLBindCol(stmt, 1, SQL_C_CHAR, text, 4, &full);
  EXPECT_EQ(SQLFetch(stmt), SQL_SUCCESS_WITH_INFO);
  EXPECT_STREQ(text, "\x93\xfa");
  EXPECT_EQ(full, 4);
  SQLCloseCursor(stmt);
  // Messages too.
  EXPECT_EQ(execDirect("SELECT \"\x93\xfa\" FROM T"), SQL_ERROR);
  char message[200] = "";
  SQLSMALLINT size = 0;
  EXPECT_EQ(SQLGetDiagRec(SQL_HANDLE_STMT, stmt, 1, nullptr, nullptr, chars(message), 200, &size),
            SQL_SUCCESS);
  EXPECT_NE(std::string(message).find("\x93\xfa"), std::string::npos) << message;
  EXPECT_EQ(SQLGetDiagRec(SQL_HANDLE_STMT, stmt, 1, nullptr, nullptr, chars(message), 10, &size),
            SQL_SUCCESS_WITH_INFO);
  EXPECT_EQ(std::strlen(message), 9U);
  EXPECT_GT(size, 9);
  EXPECT_EQ(SQLGetDiagRec(SQL_HANDLE_STMT, stmt, 2, nullptr, nullptr, nullptr, 0, nullptr),
            SQL_NO_DATA);
}

}  // namespace
}  // namespace orv::test
