// Extraction: the values that a location path selects in one document. The document is read once
// as a stream of events; memory follows its depth and the values, never its size.
//
// As text an element gives its own character data, as markup all that it is. A selected element
// inside a selected one is part of that one and no value of its own. With text that ends at a child
// that is not selected: what is selected inside the child is a value again, and the text behind it,
// when the path has a "//", belongs to none. Attributes give their values with the characters of
// markup escaped; as markup a path to an attribute gives the elements that it names.
//
// The functions are called by the server's function library and by the command. `document` is the
// terminated text when inMemory is 1, else the name of a file; with useDbEncoding 1 it is read in
// the encoding of the database code page whatever its declaration says. `path` is in the database
// code page, and so are the values. `format` 0 gives text, any other value the selected elements
// with their markup. `maxBytes` is the room for one value, terminator included. `sqlstate` holds 6
// bytes, `msg` kMessageSize.
//
// Failures: QRKC001E no such file, QRKC000E it cannot be read, QRKD002E a wrong path with its
// position, QRKQ047E a document that does not parse, QRKC013E a value beyond maxBytes, QRKG002E
// out of memory.
#pragma once

#include "orvxml/context.h"
#include "orvxml/export.h"

namespace orvxml {

enum qrkExtractFormat : int { kExtractText = 0, kExtractMarkup = 1 };

// The values of one call, which the caller releases with qrkFreeArray.
struct QrkExtractResult {
  char** values;  // terminated by a null entry
  char** cursor;  // the next one to hand out
  char sqlstate[kSqlStateSize];
  char* message;  // or null
};

}  // namespace orvxml

extern "C" {

// All values in document order. 0, with sqlstate "00000", also when there is none; -1 with sqlstate
// and msg, and nothing to release.
ORVXML_API int extractAll(orvxml::QrkStruct* ctx, char* document, int useDbEncoding, int inMemory,
                          int format, char* path, orvxml::QrkExtractResult* result, int maxBytes,
                          char* sqlstate, char* msg);
// Frees the values, the array and the message of a result, and sets them to null.
ORVXML_API void qrkFreeArray(orvxml::QrkStruct* ctx, orvxml::QrkExtractResult* result);

// The one value, as a heap string that the caller frees with free(). 0; -1 with "00000" for an
// empty one, which is handed out as well, with QRKD003W ("01HX0") when there is none, with QRKD001E
// ("38X08") when there are several. Without a value *value is null.
ORVXML_API int extractOne(orvxml::QrkStruct* ctx, char* document, int useDbEncoding, int inMemory,
                          int format, char* path, char** value, int maxBytes, char* sqlstate,
                          char* msg);
}
