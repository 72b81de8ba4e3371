// The export mark of the library's interface. Everything else is built hidden; the version script
// (src/liborvxml.map) lists the same names.
#pragma once

#define ORVXML_API __attribute__((visibility("default")))
