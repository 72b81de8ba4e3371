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

using orvxml::test::passOnTo;

// A function of the call-level interface that is passed on unless it is to fail.
#define PASS_ON(name, parameters, ...)                             \
  extern "C" SQLRETURN name parameters {                           \
    if (orvxml::test::failsNow(#name)) return SQL_ERROR;           \
    return orvxml::test::next<decltype(name)>(#name)(__VA_ARGS__); \
  }

PASS_ON(SQLAllocHandle, (SQLSMALLINT a, SQLHANDLE b, SQLHANDLE* c), a, b, c)
PASS_ON(SQLFreeHandle, (SQLSMALLINT a, SQLHANDLE b), a, b)
PASS_ON(SQLSetConnectOption, (SQLHDBC a, SQLUSMALLINT b, SQLINTEGER c), a, b, c)
PASS_ON(SQLConnect,
        (SQLHDBC a, SQLCHAR* b, SQLSMALLINT c, SQLCHAR* d, SQLSMALLINT e, SQLCHAR* f,
         SQLSMALLINT g),
        a, b, c, d, e, f, g)
PASS_ON(SQLDisconnect, (SQLHDBC a), a)
PASS_ON(SQLPrepare, (SQLHSTMT a, SQLCHAR* b, SQLINTEGER c), a, b, c)
PASS_ON(SQLNumParams, (SQLHSTMT a, SQLSMALLINT* b), a, b)
PASS_ON(SQLDescribeParam,
        (SQLHSTMT a, SQLUSMALLINT b, SQLSMALLINT* c, SQLUINTEGER* d, SQLSMALLINT* e,
         SQLSMALLINT* f),
        a, b, c, d, e, f)
PASS_ON(SQLBindParameter,
        (SQLHSTMT a, SQLUSMALLINT b, SQLSMALLINT c, SQLSMALLINT d, SQLSMALLINT e, SQLUINTEGER f,
         SQLSMALLINT g, SQLPOINTER h, SQLINTEGER i, SQLINTEGER* j),
        a, b, c, d, e, f, g, h, i, j)
PASS_ON(SQLExecute, (SQLHSTMT a), a)
PASS_ON(SQLExecDirect, (SQLHSTMT a, SQLCHAR* b, SQLINTEGER c), a, b, c)
PASS_ON(SQLNumResultCols, (SQLHSTMT a, SQLSMALLINT* b), a, b)
PASS_ON(SQLDescribeCol,
        (SQLHSTMT a, SQLUSMALLINT b, SQLCHAR* c, SQLSMALLINT d, SQLSMALLINT* e, SQLSMALLINT* f,
         SQLUINTEGER* g, SQLSMALLINT* h, SQLSMALLINT* i),
        a, b, c, d, e, f, g, h, i)
PASS_ON(SQLBindCol,
        (SQLHSTMT a, SQLUSMALLINT b, SQLSMALLINT c, SQLPOINTER d, SQLINTEGER e, SQLINTEGER* f), a,
        b, c, d, e, f)
PASS_ON(SQLFetch, (SQLHSTMT a), a)
PASS_ON(SQLCloseCursor, (SQLHSTMT a), a)

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
