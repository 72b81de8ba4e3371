// Update: a document with the text of the elements, or the value of the attribute, that a location
// path selects replaced. The document is written out again as it is read: the XML declaration, the
// DOCTYPE without its internal subset, comments and processing instructions stay; empty elements
// come with an end tag, entities come expanded. A parser reads the result as it read the document,
// but for what was replaced.
//
// All text inside a selected element gives way to the value; the tags inside stay, and none of them
// is selected again. An attribute path names one attribute; "*" names none here.
#pragma once

#include "orvxml/context.h"
#include "orvxml/export.h"

extern "C" {

// `document` is the terminated text when inMemory is 1, else the name of a file; useDbEncoding as
// in extraction.h. `path` and `newValue` are UTF-16. *result receives the document in the database
// code page, a heap string that the caller frees with free(); null after a failure. `maxBytes`: the
// room for it, terminator included. 0, or -1 with sqlstate and msg as in extraction.h, QRKD000E for
// a value with characters that no document may hold. A path that selects nothing is no failure.
ORVXML_API int qrkUpdate(orvxml::QrkStruct* ctx, char* document, int inMemory, int useDbEncoding,
                         char16_t* path, char16_t* newValue, char** result, int maxBytes,
                         char* sqlstate, char* msg);
// The same with a text, a path and a value in the database code page. A document larger than the
// context's threshold is read from a temporary file.
ORVXML_API int qrkUpdateFromBuf(orvxml::QrkStruct* ctx, char* document, char* path, char* newValue,
                                char** result, int maxBytes, char* sqlstate, char* msg);
}
