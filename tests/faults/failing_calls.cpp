#include "tests/faults/failing_calls.h"

#include <dlfcn.h>

#include <cstring>

#include "orv/esql.h"
#include "orv/sqlcli.h"

namespace orvxml::test {

namespace {

std::string failing;
int remaining = -1;  // calls of that name that still succeed; negative: none fails
bool failed = false;

bool failsNow(const char* function) {
  if (remaining < 0 || failing != function || remaining-- > 0) return false;
  failed = true;
  return true;
}

template <class Function>
Function* next(const char* symbol) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

template <class Function, class... Args>
SQLRETURN passOn(const char* name, Args... args) {
  return failsNow(name) ? SQLRETURN{SQL_ERROR} : next<Function>(name)(args...);
}

// For embedded SQL, of which the symbol is not the name.
template <class... Args>
void passOnTo(const char* name, const char* symbol, sqlca& area, Args... args) {
  if (!failsNow(name)) return next<void(Args..., sqlca&)>(symbol)(args..., area);
  area = {};
  area.sqlcode = -901;
  std::memcpy(area.sqlstate, "58004", sizeof area.sqlstate);
}

}  // namespace

void armCall(const std::string& function, int successes) {
  failing = function;
  remaining = successes;
  failed = false;
}

bool disarmCall() {
  remaining = -1;
  return failed;
}

}  // namespace orvxml::test

using orvxml::test::passOn;
using orvxml::test::passOnTo;

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
SQLRETURN SQLNumParams(SQLHSTMT statement, SQLSMALLINT* count) {
  return passOn<decltype(SQLNumParams)>("SQLNumParams", statement, count);
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
SQLRETURN SQLExecDirect(SQLHSTMT statement, SQLCHAR* text, SQLINTEGER length) {
  return passOn<decltype(SQLExecDirect)>("SQLExecDirect", statement, text, length);
}
SQLRETURN SQLNumResultCols(SQLHSTMT statement, SQLSMALLINT* count) {
  return passOn<decltype(SQLNumResultCols)>("SQLNumResultCols", statement, count);
}
SQLRETURN SQLDescribeCol(SQLHSTMT statement, SQLUSMALLINT number, SQLCHAR* name,
                         SQLSMALLINT nameCapacity, SQLSMALLINT* nameLength, SQLSMALLINT* type,
                         SQLUINTEGER* size, SQLSMALLINT* digits, SQLSMALLINT* nullable) {
  return passOn<decltype(SQLDescribeCol)>("SQLDescribeCol", statement, number, name, nameCapacity,
                                          nameLength, type, size, digits, nullable);
}
SQLRETURN SQLBindCol(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER value,
                     SQLINTEGER capacity, SQLINTEGER* indicator) {
  return passOn<decltype(SQLBindCol)>("SQLBindCol", statement, number, cType, value, capacity,
                                      indicator);
}
SQLRETURN SQLFetch(SQLHSTMT statement) {
  return passOn<decltype(SQLFetch)>("SQLFetch", statement);
}
SQLRETURN SQLCloseCursor(SQLHSTMT statement) {
  return passOn<decltype(SQLCloseCursor)>("SQLCloseCursor", statement);
}
}

namespace orv::esql {

void execute(const Module& module, std::string_view name, Variables input, Variables output,
             sqlca& area) {
  passOnTo("execute",
           "_ZN3orv4esql7executeERKNS0_6ModuleESt17basic_string_viewIcSt11char_traitsIcEE"
           "St4spanIKNS0_12HostVariableELm18446744073709551615EESB_R5sqlca",
           area, &module, name, input, output);
}
void executeImmediate(const Module& module, std::string_view text, sqlca& area) {
  passOnTo("executeImmediate",
           "_ZN3orv4esql16executeImmediateERKNS0_6ModuleESt17basic_string_viewIcSt11char_traitsIcEE"
           "R5sqlca",
           area, &module, text);
}
void freeLocator(int32_t locator, sqlca& area) {
  passOnTo("freeLocator", "_ZN3orv4esql11freeLocatorEiR5sqlca", area, locator);
}
void Statement::prepare(std::string_view text, sqlca& area) {
  passOnTo("Statement.prepare",
           "_ZN3orv4esql9Statement7prepareESt17basic_string_viewIcSt11char_traitsIcEER5sqlca", area,
           this, text);
}
void Statement::execute(Variables input, sqlca& area) {
  passOnTo("Statement.execute",
           "_ZN3orv4esql9Statement7executeESt4spanIKNS0_12HostVariableELm18446744073709551615EE"
           "R5sqlca",
           area, this, input);
}
void Cursor::open(Variables input, sqlca& area) {
  passOnTo("Cursor.open",
           "_ZN3orv4esql6Cursor4openESt4spanIKNS0_12HostVariableELm18446744073709551615EER5sqlca",
           area, this, input);
}
void Cursor::fetch(Variables output, sqlca& area) {
  passOnTo("Cursor.fetch",
           "_ZN3orv4esql6Cursor5fetchESt4spanIKNS0_12HostVariableELm18446744073709551615EER5sqlca",
           area, this, output);
}
void Cursor::fetch(sqlda* output, sqlca& area) {
  passOnTo("Cursor.fetch", "_ZN3orv4esql6Cursor5fetchEP5sqldaR5sqlca", area, this, output);
}
void Cursor::close(sqlca& area) {
  passOnTo("Cursor.close", "_ZN3orv4esql6Cursor5closeER5sqlca", area, this);
}

}  // namespace orv::esql
