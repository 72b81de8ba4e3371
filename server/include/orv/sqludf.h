// What a user-defined function of the function library receives from the server besides its
// arguments: the database information block, and the large-object locator calls.
#pragma once

#include <cstdint>

#include "orv/platform.h"

struct sqludf_dbinfo {
  uint16_t dbnamelen;
  char dbname[128];
  uint16_t authidlen;
  char authid[128];
  int32_t codepage;  // of the database
};

using sqludf_locator = int32_t;

// All return 0 or a negative SQLCODE.
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
