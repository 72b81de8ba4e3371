// Functions that the tests of function calls load as a library of their own: good ones, and ones
// that do what no function should.
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "orv/sqlda.h"
#include "orv/sqludf.h"
#include "tests/server/cli_handles.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))
// A function of one argument, with what comes after the message.
#define FUNCTION(name, argument, result, ...)                                             \
  EXPORTED void name(argument, result, int16_t* isNull, int16_t* resultIsNull,            \
                     [[maybe_unused]] char* state, [[maybe_unused]] const char* function, \
                     [[maybe_unused]] const char* specific,                               \
                     [[maybe_unused]] char* message __VA_OPT__(, ) __VA_ARGS__)

namespace {

std::string callLog;

void log(int32_t callType, const char* what) {
  callLog += std::to_string(callType) + what + " ";
}

}  // namespace

// What the functions below logged since the last time.
EXPORTED const char* takeCallLog() {
  static std::string taken;
  taken = std::move(callLog);
  callLog.clear();
  return taken.c_str();
}

// ------------------------------------------------------------------ the argument as the result

namespace {

void give(const int16_t* isNull, int16_t* resultIsNull, const void* argument, void* result,
          size_t size) {
  *resultIsNull = *isNull;
  if (*isNull >= 0) std::memcpy(result, argument, size);
}

}  // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): a type takes none
#define SAME(name, type, size)                 \
  FUNCTION(name, const type* in, type* out) {  \
    give(isNull, resultIsNull, in, out, size); \
  }
// NOLINTEND(bugprone-macro-parentheses)
SAME(sameTwoBytes, void, 2)
SAME(sameFourBytes, void, 4)
SAME(sameEightBytes, void, 8)
SAME(sameText, char, std::strlen(in) + 1)
SAME(sameBits, sqludf_vc, offsetof(sqludf_vc, data) + in->length)
SAME(sameUnits, char16_t, (std::u16string_view(in).size() + 1) * 2)
SAME(sameObject, sqludf_lob, offsetof(sqludf_lob, data) + in->length)
SAME(sameDoubleByteObject, sqludf_lob, offsetof(sqludf_lob, data) + in->length * size_t{2})

// A new locator for the same value, copied in pieces.
template <int kType>
void copyValue(const sqludf_locator* in, sqludf_locator* out, int16_t* resultIsNull, char* state) {
  sqludf_locator* copy = nullptr;
  int32_t length = 0, got = 0, put = 0;
  bool good = sqludf_length(in, &length) == 0 && sqludf_create_locator(kType, &copy) == 0;
  unsigned char piece[4096];
  for (int32_t at = 1; good && at <= length; at += got) {
    good = sqludf_substr(in, at, sizeof piece, piece, &got) == 0 && got > 0 &&
           sqludf_append(copy, piece, got, &put) == 0;
  }
  if (!good) return static_cast<void>(std::memcpy(state, "38X04", 6));
  *resultIsNull = 0;
  *out = *copy;
}
FUNCTION(copyText, const sqludf_locator* in, sqludf_locator* out) {
  if (*isNull >= 0) copyValue<orv::kSqlClob>(in, out, resultIsNull, state);
}
FUNCTION(copyBytes, const sqludf_locator* in, sqludf_locator* out) {
  if (*isNull >= 0) copyValue<orv::kSqlBlob>(in, out, resultIsNull, state);
}
FUNCTION(copyUnits, const sqludf_locator* in, sqludf_locator* out) {
  if (*isNull >= 0) copyValue<orv::kSqlDbclob>(in, out, resultIsNull, state);
}
// The first unit of a double-byte value as a number.
FUNCTION(firstUnit, const sqludf_locator* in, int32_t* out) {
  uint16_t unit = 0;
  int32_t got = 0;
  const bool good =
      sqludf_substr(in, 1, 2, reinterpret_cast<unsigned char*>(&unit), &got) == 0 && got == 2;
  if (!good) std::memcpy(state, "38X04", 6);
  *resultIsNull = *isNull;
  *out = unit;
}

// ------------------------------------------------------------------ reports and misbehaviour

// The SQLSTATE, then a blank and the message; the result is 'done'.
FUNCTION(report, const char* what, char* out) {
  *resultIsNull = *isNull;
  std::strcpy(out, "done");
  std::memcpy(state, what, 5);
  if (std::strlen(what) > 6) std::strcpy(message, what + 6);
}

// With a result of VARCHAR(10) and a scratchpad of 100 bytes.
FUNCTION(misbehave, const char* what, char* out, sqludf_scratchpad* scratchpad) {
  const std::string_view how = what;
  *resultIsNull = *isNull;
  std::strcpy(out, "fine");
  if (how == "result overrun") std::strcpy(out, "0123456789x");
  if (how == "result far overrun") std::memset(out, 'x', 500);
  if (how == "result unterminated") std::memset(out, 'x', 11);
  if (how == "result ill-formed") std::strcpy(out, "a\xff");
  if (how == "indicator") *resultIsNull = 77;
  if (how == "state overrun") std::memcpy(state, "38X0123456", 11);
  if (how == "state unterminated") state[5] = '9';
  if (how == "message overrun") std::memset(message, 'm', 1024);
  if (how == "message unterminated") std::memset(message, 'm', orv::kUdfMessageField);
  if (how == "scratchpad overrun") std::memset(scratchpad->data, 's', scratchpad->length + 1);
  if (how == "exception") throw std::runtime_error("thrown");
  if (how == "number thrown") throw 5;
}

// ------------------------------------------------------------------ what lasts from call to call

// The number of the call; the arguments tell how the server identifies itself.
FUNCTION(describeCall, const char* in, char* out, sqludf_scratchpad* scratchpad, int32_t* callType,
         sqludf_dbinfo* database) {
  int32_t count = 0;
  std::memcpy(&count, scratchpad->data, sizeof count);
  ++count;
  std::memcpy(scratchpad->data, &count, sizeof count);
  log(*callType, *callType == orv::kUdfFinalCall ? "" : in);
  *resultIsNull = *isNull;
  std::string text = std::to_string(count) + " " + function + " " + specific + " ";
  text.append(database->dbname, database->dbnamelen).append(" ");
  text += std::to_string(database->codepage) + " " + std::to_string(scratchpad->length);
  std::strcpy(out, text.c_str());
  if (std::strcmp(in, "fail") == 0) std::memcpy(state, "38X01", 6);
}

// Calls itself through SQL and gives what the innermost call could not do, its SQLCODE.
FUNCTION(recurse, const int32_t* in, int32_t* out) {
  orv::test::CliHandles handles;
  handles.connect();
  const SQLHSTMT statement = handles.stmt;
  SQLCHAR query[] = "VALUES RECURSE(1)";
  SQLRETURN rc = SQLExecDirect(statement, query, SQL_NTS);
  SQLINTEGER length = 0;
  char text[20] = "";
  SQLBindCol(statement, 1, SQL_C_CHAR, text, sizeof text, &length);
  if (rc == SQL_SUCCESS) rc = SQLFetch(statement);
  *out = *in;
  if (rc == SQL_SUCCESS) *out = std::stoi(text);
  SQLCHAR diagnosed[6];
  if (rc == SQL_ERROR) {
    SQLGetDiagRec(SQL_HANDLE_STMT, statement, 1, diagnosed, out, nullptr, 0, nullptr);
  }
  *resultIsNull = *isNull;
}

// Runs the statement that it is given, and gives its return code.
FUNCTION(runStatement, const char* text, int32_t* out) {
  orv::test::CliHandles handles;
  handles.connect();
  const SQLHSTMT statement = handles.stmt;
  std::string copy = text;
  *out = SQLExecDirect(statement, reinterpret_cast<SQLCHAR*>(copy.data()), SQL_NTS);
  *resultIsNull = *isNull;
}

// Rows 1 to n: (number, its text, null for an even one). From 90 on it fails at one call, which the
// last digit tells: 0 first, 1 open, 2 the second fetch, 3 close, 4 final.
EXPORTED void countUp(const int32_t* n, int32_t* number, char* text, int16_t* isNull,
                      int16_t* numberIsNull, int16_t* textIsNull, char* state, const char*,
                      const char*, char* message, sqludf_scratchpad* scratchpad,
                      int32_t* callType) {
  struct Position {
    int32_t row, end;
  };
  Position position;
  std::memcpy(&position, scratchpad->data, sizeof position);
  log(*callType, "");
  if (*callType == orv::kUdfTableOpen) position = {0, *isNull < 0 ? 0 : *n};
  if (*callType == orv::kUdfTableFetch) {
    const int32_t row = ++position.row;
    if (row > position.end) std::memcpy(state, "02000", 6);
    *numberIsNull = 0;
    *number = row;
    *textIsNull = row % 2 == 0 ? int16_t{-1} : int16_t{0};
    std::strcpy(text, std::to_string(row).c_str());
  }
  const int32_t asked = *callType <= orv::kUdfTableOpen ? *n : position.end;
  const bool fails =
      asked >= 90 && asked - 92 == *callType && (*callType != 0 || position.row == 2);
  if (fails) std::memcpy(state, "38X07", 6);
  if (fails) std::strcpy(message, "as asked");
  std::memcpy(scratchpad->data, &position, sizeof position);
}
