// The SQL communication area: how embedded SQL reports the outcome of one statement. The layout
// (136 bytes) is fixed.
#pragma once

#include <stdint.h>

struct sqlca {
  char sqlcaid[8];     // "SQLCA   "
  int32_t sqlcabc;     // size of this structure in bytes, 136
  int32_t sqlcode;     // 0 success, 100 no row, > 0 warning, < 0 failure
  int16_t sqlerrml;    // bytes used in sqlerrmc
  char sqlerrmc[70];   // message tokens, separated by the byte 0xFF; not terminated
  char sqlerrp[8];     // name of the component that reported
  int32_t sqlerrd[6];  // [2] = rows inserted, updated, deleted or fetched
  char sqlwarn[11];
  char sqlstate[5];  // not terminated
};

#ifdef __cplusplus
static_assert(sizeof(sqlca) == 136);
#else
typedef struct sqlca sqlca;
#endif
