// One-time initialisation of the XML parser and ICU for a process (liborvXMLInit). It happens when
// the library is loaded; these functions answer how it went.
//
// What it sets besides initialising: no network access for the parser.
#pragma once

#include "orv/platform.h"

extern "C" {

// Non-zero when the parser and ICU are ready.
ORV_API int isSharedLibInitSuccess();

// 0 on success, -2 when the parser's platform initialisation failed with an XMLException, -3 with
// a SAXException, -1 with anything else, -5 when ICU has no data.
ORV_API int getLastErrorCode();

// Copies the failure's text, at most 1023 bytes, terminated; empty on success.
ORV_API void getLastErrorMessage(char* buffer);
}
