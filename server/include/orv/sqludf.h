// User-defined functions in style ORVSQL: how the server calls one, what it receives besides its
// arguments, and the large-object locator calls.
//
// A function is a C function without result. Its parameters are pointers, in this order:
//
//   the arguments, one each
//   the result; of a table function one for each column
//   the null indicators (int16_t) of the arguments: negative for null
//   the null indicators of the result or the columns: the function sets them
//   SQLSTATE           char[6], "00000" at the call
//   function name      const char*, "SCHEMA.NAME"
//   specific name      const char*
//   message            char[kUdfMessageField], empty at the call
//   scratchpad         sqludf_scratchpad*, with SCRATCHPAD; zero at the first call
//   call type          int32_t*, with FINAL CALL, and always for table functions
//   database           sqludf_dbinfo*, with DBINFO
//
// What a value pointer points to, in the code page of the database:
//
//   SMALLINT int16_t, INTEGER int32_t, BIGINT int64_t, REAL float, DOUBLE double
//   CHAR(n), VARCHAR(n): terminated text of at most n bytes; CHAR comes padded with blanks
//   ... FOR BIT DATA: sqludf_vc
//   DATE "2026-11-24", TIME "20.16.07", TIMESTAMP "2026-11-24-20.16.07.000000": terminated
//   DECIMAL(p,s): terminated text, "-12.50"
//   GRAPHIC(n), VARGRAPHIC(n): terminated text of 16-bit units in the byte order of the machine
//   CLOB, BLOB, DBCLOB: sqludf_lob, DBCLOB of 16-bit units
//   AS LOCATOR: sqludf_locator
//   a distinct type: as its source
//
// The results are null until the function sets their indicators to 0.
//
// SQLSTATE after the call: "00000" success; "01Hxx" success with a warning; "02000" the end of a
// table function's rows; "38xxx" failure (SQLCODE -443 with the message). Any other one, and a
// message that is not terminated within its field, is a failure of the function.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/platform.h"

namespace orv {

inline constexpr size_t kUdfMessageField = 71;  // bytes: 70 and a terminator

// Call types of scalar functions, with FINAL CALL. The final call has arguments that are not to be
// read and a result that nobody reads; it follows every first call, also one that failed.
inline constexpr int32_t kUdfFirstCall = -1;  // a normal call as well
inline constexpr int32_t kUdfNormalCall = 0;
inline constexpr int32_t kUdfFinalCall = 1;

// Call types of table functions. First and final calls are made with FINAL CALL only. Arguments are
// given at first and open calls, rows are taken at fetch calls. A close call follows every open
// call that succeeded, a final call every first call, also one that failed. Without FINAL CALL the
// scratchpad is zero again at each open call.
inline constexpr int32_t kUdfTableFirst = -2;
inline constexpr int32_t kUdfTableOpen = -1;
inline constexpr int32_t kUdfTableFetch = 0;
inline constexpr int32_t kUdfTableClose = 1;
inline constexpr int32_t kUdfTableFinal = 2;

}  // namespace orv

struct sqludf_scratchpad {
  uint32_t length;  // of data
  char data[100];   // `length` bytes: 100 unless the function was registered with another number
};

struct sqludf_vc {
  uint16_t length;  // bytes
  char data[1];
};

struct sqludf_lob {
  uint32_t length;  // bytes; DBCLOB: 16-bit units
  char data[1];
};

struct sqludf_dbinfo {
  uint16_t dbnamelen;
  char dbname[128];
  uint16_t authidlen;
  char authid[128];
  int32_t codepage;  // of the database
};

using sqludf_locator = int32_t;

// All return 0 or a negative SQLCODE. A locator that a function receives is good until it returns,
// one that it makes until it is given back as a result or the unit of work ends. Lengths and
// positions count bytes; of DBCLOB locators too, whose bytes are 16-bit units in the byte order of
// the machine and are appended in whole units.
extern "C" {
ORV_API int sqludf_length(const sqludf_locator* locator, int32_t* length);
ORV_API int sqludf_substr(const sqludf_locator* locator, int32_t start, int32_t length,
                          unsigned char* buffer, int32_t* returned);
ORV_API int sqludf_append(const sqludf_locator* locator, const unsigned char* data, int32_t length,
                          int32_t* appended);
// `type` is kSqlClob, kSqlBlob or kSqlDbclob.
ORV_API int sqludf_create_locator(int type, sqludf_locator** locator);
ORV_API int sqludf_free_locator(const sqludf_locator* locator);
}
