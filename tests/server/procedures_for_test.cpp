// Procedures that the tests of CALL load as a library of their own: good ones, and ones that do
// what no procedure should.
#include <cctype>
#include <cstring>
#include <stdexcept>

#include "orv/sqlca.h"
#include "orv/sqlda.h"
#include "tests/server/cli_handles.h"

namespace {

constexpr int kReturned = 1;

template <class T>
T& at(sqlda* area, int parameter) {
  return *reinterpret_cast<T*>(area->sqlvar[parameter].sqldata);
}

char* text(sqlda* area, int parameter) {
  return area->sqlvar[parameter].sqldata + 2;
}

void notNull(sqlda* area, int parameter) {
  *area->sqlvar[parameter].sqlind = 0;
}

void setText(sqlda* area, int parameter, const char* value) {
  notNull(area, parameter);
  at<uint16_t>(area, parameter) = static_cast<uint16_t>(std::strlen(value));
  std::memcpy(text(area, parameter), value, std::strlen(value));
}

}  // namespace

#define PROCEDURE(name) \
  extern "C" __attribute__((visibility("default"))) int name(void*, void*, sqlda* area)

// (IN VARCHAR, INOUT INTEGER, OUT VARCHAR): the text in capitals, the number doubled.
PROCEDURE(capitals) {
  if (*area->sqlvar[0].sqlind < 0) {
    *area->sqlvar[1].sqlind = *area->sqlvar[2].sqlind = -1;
    return kReturned;
  }
  at<int32_t>(area, 1) *= 2;
  notNull(area, 2);
  const uint16_t length = at<uint16_t>(area, 2) = at<uint16_t>(area, 0);
  for (int i = 0; i < length; ++i) {
    text(area, 2)[i] = static_cast<char>(std::toupper(text(area, 0)[i]));
  }
  *area->sqlvar[0].sqlind = -128;
  return kReturned;
}

// (INOUT of every type): hands all values back as they came.
PROCEDURE(unchanged) {
  static_cast<void>(area);
  return kReturned;
}

// (IN CLOB, OUT CLOB, OUT VARCHAR): the document reversed, and how the parameters are described.
PROCEDURE(reversed) {
  const sqlvar_secondary* in = orv::secondaryEntry(area, 0);
  const sqlvar_secondary* out = orv::secondaryEntry(area, 1);
  const int32_t length = *in->sqldatalen;
  for (int32_t i = 0; i < length; ++i) {
    area->sqlvar[1].sqldata[i] = area->sqlvar[0].sqldata[length - 1 - i];
  }
  *out->sqldatalen = length;
  notNull(area, 1);
  char description[60];
  std::snprintf(description, sizeof description, "%d %d %d %lld %d %d %.4s", area->sqln, area->sqld,
                area->sqlvar[0].sqltype, static_cast<long long>(out->sqllonglen),
                area->sqlvar[2].sqltype, area->sqlvar[2].sqllen, area->sqlvar[0].sqlname.data);
  setText(area, 2, description);
  return kReturned;
}

// (IN VARCHAR, OUT VARCHAR, OUT CLOB): misbehaves as the first parameter says.
PROCEDURE(misbehave) {
  const char what = text(area, 0)[0];
  const int length = area->sqlvar[1].sqllen;
  notNull(area, 1);
  notNull(area, 2);
  switch (what) {
    case 'o':  // one byte beyond the memory of the second
      std::memset(text(area, 1), 'x', static_cast<size_t>(length) + 1);
      break;
    case 'u':  // one byte before it
      area->sqlvar[1].sqldata[-1] = 'x';
      break;
    case 'l':
      at<uint16_t>(area, 1) = static_cast<uint16_t>(length + 1);
      break;
    case 'i':
      *area->sqlvar[1].sqlind = 77;
      break;
    case 'c':
      *orv::secondaryEntry(area, 2)->sqldatalen = 1 << 30;
      break;
    case 'n':
      *orv::secondaryEntry(area, 2)->sqldatalen = -1;
      break;
    case 'b':  // no text
      setText(area, 1, "a\xff");
      break;
    case 'd':  // the descriptor itself; the values stay good
      setText(area, 1, "fine");
      std::memset(area->sqlvar, 0x5a, 2 * sizeof(sqlvar));
      area->sqld = 9999;
      break;
    case 't':
      throw std::runtime_error("thrown");
    case '0':
      return 0;
    default:
      break;
  }
  return kReturned;
}

// (IN VARCHAR): inserts its text into table T through a connection of its own, and fails if that
// fails.
extern "C" __attribute__((visibility("default"))) int insertText(void*, void*, sqlda* area,
                                                                 sqlca* outcome) {
  orv::test::CliHandles handles;
  handles.connect();
  const SQLHSTMT statement = handles.stmt;
  SQLINTEGER length = at<uint16_t>(area, 0);
  SQLCHAR insert[] = "INSERT INTO T VALUES (?)";
  SQLPrepare(statement, insert, SQL_NTS);
  SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 0, 0, text(area, 0), 0,
                   &length);
  if (SQLExecute(statement) != SQL_SUCCESS) {
    SQLCHAR state[6];
    SQLGetDiagRec(SQL_HANDLE_STMT, statement, 1, state, &outcome->sqlcode, nullptr, 0, nullptr);
    std::memcpy(outcome->sqlstate, state, 5);
  }
  return kReturned;
}
