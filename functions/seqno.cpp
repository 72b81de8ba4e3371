// seqno: 1, 2, 3, ... within one use in a statement, which numbers the rows of a side table. The
// last number is all that the scratchpad holds, so that no final call is needed.
#include <climits>
#include <cstring>

#include "functions/function_frame.h"

extern "C" ORVXML_API void qrkSeqno(int32_t* result, int16_t* resultNull, char* sqlState,
                                    const char*, const char*, char* message,
                                    sqludf_scratchpad* scratchpad, sqludf_dbinfo*) {
  using namespace orvxml;
  int32_t last = 0;
  std::memcpy(&last, scratchpad->data, sizeof last);
  if (last == INT32_MAX) {
    *resultNull = -1;
    char text[kMessageSize];
    fail(Report{.msg = text, .sqlState = sqlState}, Msg::QRKC013E);
    return functions::giveMessage(text, message);
  }
  *result = last + 1;
  *resultNull = 0;
  std::memcpy(scratchpad->data, result, sizeof *result);
}
