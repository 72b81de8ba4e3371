// The call-level interface (SQL/CLI) of the ORV server, as far as its extensions use it.
//
// Handles are numbers that are checked on every call: a wrong or freed handle gives
// SQL_INVALID_HANDLE, wrong use gives SQL_ERROR with a diagnostic record, never anything worse.
// Lengths and indicators are 32-bit counts of bytes; SQL_NTS means "up to the terminator".
// A connection made with null server, user and password is a second handle on the session that is
// current in the calling thread, inside its unit of work.
#pragma once

#include <cstdint>

#include "orv/platform.h"

using SQLRETURN = int16_t;
using SQLSMALLINT = int16_t;
using SQLUSMALLINT = uint16_t;
using SQLINTEGER = int32_t;
using SQLUINTEGER = uint32_t;
using SQLCHAR = unsigned char;
using SQLPOINTER = void*;
using SQLHANDLE = int32_t;
using SQLHENV = SQLHANDLE;
using SQLHDBC = SQLHANDLE;
using SQLHSTMT = SQLHANDLE;

enum : SQLRETURN {
  SQL_SUCCESS = 0,
  SQL_SUCCESS_WITH_INFO = 1,
  SQL_NO_DATA = 100,
  SQL_ERROR = -1,
  SQL_INVALID_HANDLE = -2,
};
enum : SQLINTEGER { SQL_NULL_DATA = -1, SQL_NTS = -3 };
enum : SQLSMALLINT { SQL_HANDLE_ENV = 1, SQL_HANDLE_DBC = 2, SQL_HANDLE_STMT = 3 };
enum : SQLHANDLE { SQL_NULL_HANDLE = 0 };

// SQL types, as SQLDescribeParam and SQLDescribeCol give them.
enum : SQLSMALLINT {
  SQL_CHAR = 1,
  SQL_DECIMAL = 3,
  SQL_INTEGER = 4,
  SQL_SMALLINT = 5,
  SQL_REAL = 7,
  SQL_DOUBLE = 8,
  SQL_VARCHAR = 12,
  SQL_TYPE_DATE = 91,
  SQL_TYPE_TIME = 92,
  SQL_TYPE_TIMESTAMP = 93,
  SQL_LONGVARCHAR = -1,
  SQL_BINARY = -2,
  SQL_VARBINARY = -3,
  SQL_LONGVARBINARY = -4,
  SQL_BIGINT = -5,
  SQL_GRAPHIC = -95,
  SQL_VARGRAPHIC = -96,
  SQL_LONGVARGRAPHIC = -97,
  SQL_BLOB = -98,
  SQL_CLOB = -99,
  SQL_DBCLOB = -350,
};

// C types of bound variables.
enum : SQLSMALLINT {
  SQL_C_CHAR = 1,           // text in the database code page
  SQL_C_LONG = 4,           // SQLINTEGER
  SQL_C_CLOB_LOCATOR = 41,  // SQLINTEGER
  SQL_C_DBCHAR = -350,      // double-byte characters of the database code page; shift codes may be
                            // missing. In a UTF-8 database: UTF-8.
};

enum : SQLSMALLINT { SQL_PARAM_INPUT = 1 };
enum : SQLUSMALLINT { SQL_AUTOCOMMIT = 102 };
enum : SQLINTEGER {
  SQL_AUTOCOMMIT_OFF = 0,
  SQL_AUTOCOMMIT_ON = 1,
  SQL_ATTR_CODE_PAGE_CONVERSION = 115
};
enum : SQLSMALLINT { SQL_NO_NULLS = 0, SQL_NULLABLE = 1 };
enum : SQLINTEGER { SQL_IS_INTEGER = -6 };

extern "C" {

ORV_API SQLRETURN SQLAllocHandle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output);
ORV_API SQLRETURN SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle);
ORV_API SQLRETURN SQLSetConnectOption(SQLHDBC connection, SQLUSMALLINT option, SQLINTEGER value);
ORV_API SQLRETURN SQLSetConnectAttr(SQLHDBC connection, SQLINTEGER attribute, SQLPOINTER value,
                                    SQLINTEGER length);
ORV_API SQLRETURN SQLConnect(SQLHDBC connection, SQLCHAR* server, SQLSMALLINT serverLength,
                             SQLCHAR* user, SQLSMALLINT userLength, SQLCHAR* password,
                             SQLSMALLINT passwordLength);
ORV_API SQLRETURN SQLDisconnect(SQLHDBC connection);

ORV_API SQLRETURN SQLPrepare(SQLHSTMT statement, SQLCHAR* text, SQLINTEGER length);
ORV_API SQLRETURN SQLExecDirect(SQLHSTMT statement, SQLCHAR* text, SQLINTEGER length);
ORV_API SQLRETURN SQLExecute(SQLHSTMT statement);
ORV_API SQLRETURN SQLNumParams(SQLHSTMT statement, SQLSMALLINT* count);
// `size`: bytes for character types, double-byte characters for graphic types, digits for DECIMAL.
ORV_API SQLRETURN SQLDescribeParam(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT* type,
                                   SQLUINTEGER* size, SQLSMALLINT* digits, SQLSMALLINT* nullable);
// `value` and `indicator` are read when the statement runs and must stay valid until then. Text for
// binary data is stored as it is, and compared as the hexadecimal digits that SQLFetch gives for
// it.
ORV_API SQLRETURN SQLBindParameter(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT direction,
                                   SQLSMALLINT cType, SQLSMALLINT sqlType, SQLUINTEGER size,
                                   SQLSMALLINT digits, SQLPOINTER value, SQLINTEGER capacity,
                                   SQLINTEGER* indicator);
ORV_API SQLRETURN SQLNumResultCols(SQLHSTMT statement, SQLSMALLINT* count);
ORV_API SQLRETURN SQLDescribeCol(SQLHSTMT statement, SQLUSMALLINT number, SQLCHAR* name,
                                 SQLSMALLINT nameCapacity, SQLSMALLINT* nameLength,
                                 SQLSMALLINT* type, SQLUINTEGER* size, SQLSMALLINT* digits,
                                 SQLSMALLINT* nullable);
// A character value longer than the variable is cut on a character boundary, with
// SQL_SUCCESS_WITH_INFO and SQLSTATE 01004; the indicator then holds the full length.
ORV_API SQLRETURN SQLBindCol(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT cType,
                             SQLPOINTER value, SQLINTEGER capacity, SQLINTEGER* indicator);
ORV_API SQLRETURN SQLFetch(SQLHSTMT statement);
ORV_API SQLRETURN SQLCloseCursor(SQLHSTMT statement);
ORV_API SQLRETURN SQLRowCount(SQLHSTMT statement, SQLINTEGER* count);

// Record `number` (from 1) of the handle's last call. `state` holds 6 bytes. SQL_NO_DATA when there
// is no such record.
ORV_API SQLRETURN SQLGetDiagRec(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number,
                                SQLCHAR* state, SQLINTEGER* nativeError, SQLCHAR* text,
                                SQLSMALLINT textCapacity, SQLSMALLINT* textLength);
}
