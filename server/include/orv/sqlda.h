// The SQL descriptor area: describes the parameters of a procedure, the input of EXECUTE, or the
// columns of a result. A header, then `sqln` entries of which `sqld` are in use. When an entry is a
// large object, the area holds twice as many entries, and entry `sqld + i` is the secondary entry
// of entry i (`secondaryEntry`).
//
// Type codes are even for NOT NULL and odd (code + 1) for nullable values.
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
namespace orv {

enum SqlTypeCode : int16_t {
  kSqlDate = 384,  // as a character string
  kSqlTime = 388,
  kSqlTimestamp = 392,
  kSqlBlob = 404,  // 32-bit length and the bytes, or bytes and a secondary entry
  kSqlClob = 408,
  kSqlDbclob = 412,
  kSqlVarchar = 448,      // 16-bit length and the bytes
  kSqlChar = 452,         // sqllen bytes
  kSqlLongVarchar = 456,  // 16-bit length and the bytes
  kSqlCString = 460,      // bytes up to a terminator; sqllen is the capacity with terminator
  kSqlVargraphic = 464,   // 16-bit count of double-byte characters and the characters
  kSqlGraphic = 468,
  kSqlLongVargraphic = 472,
  kSqlDouble = 480,   // sqllen 8: double, 4: float
  kSqlDecimal = 484,  // sqllen = 256 * scale + precision; packed decimal
  kSqlBigint = 492,
  kSqlInteger = 496,
  kSqlSmallint = 500,
  kSqlBlobFile = 916,  // SqlFileReference
  kSqlClobFile = 920,
  kSqlDbclobFile = 924,
  kSqlBlobLocator = 960,  // 32-bit locator
  kSqlClobLocator = 964,
  kSqlDbclobLocator = 968,
};

// A large object that lives in a file of the server. `data_length` is set by the server when it
// wrote the file and ignored when it reads one.
struct SqlFileReference {
  uint32_t name_length;   // bytes of `name` in use
  uint32_t data_length;   // bytes
  uint32_t file_options;  // kFileRead, kFileOverwrite
  char name[255];         // not terminated
};
enum : uint32_t { kFileRead = 2, kFileCreate = 8, kFileOverwrite = 16, kFileAppend = 32 };

}  // namespace orv
#endif

struct sqlname {
  int16_t length;
  char data[30];  // not terminated
};

struct sqlvar {
  int16_t sqltype;
  int16_t sqllen;  // declared length; bytes for character types
  char* sqldata;
  int16_t* sqlind;  // negative: null; may itself be null for NOT NULL types
  struct sqlname sqlname;
};

struct sqlvar_secondary {  // occupies the place of a sqlvar
  int64_t sqllonglen;      // declared length of the large object in bytes
  int32_t* sqldatalen;     // actual length in bytes; null: the length stands before the data
  int16_t typename_length;
  char typename_data[30];
  char reserved[8];
};

struct sqlda {
  char sqldaid[8];  // "SQLDA   "; byte 6 is '2' when there are secondary entries
  int32_t sqldabc;  // size in bytes
  int16_t sqln;     // entries allocated
  int16_t sqld;     // parameters or columns described
  struct sqlvar sqlvar[1];
};

#ifdef __cplusplus
static_assert(sizeof(sqlvar) == sizeof(sqlvar_secondary));

namespace orv {

// Bytes of an area with `entries` entries.
inline size_t sqldaSize(int entries) {
  return offsetof(sqlda, sqlvar) + static_cast<size_t>(entries) * sizeof(sqlvar);
}
inline sqlvar_secondary* secondaryEntry(const sqlda* area, int parameter) {
  return reinterpret_cast<sqlvar_secondary*>(
      const_cast<sqlvar*>(area->sqlvar + area->sqld + parameter));
}

}  // namespace orv
#else
typedef struct sqlvar sqlvar;
typedef struct sqlda sqlda;
#endif
