// Validation of a document against a DTD that the caller supplies or an XML schema by its location.
// The document's own DTD reference is never followed.
#pragma once

#include "orvxml/context.h"
#include "orvxml/export.h"

extern "C" {

// 1 valid, 0 not (or not to be judged) with message and SQLSTATE. `document` is a file name when
// docLoc is 0, else the text; `dtd` is the text when dtdInMemory is 1, else a file name, or null.
ORVXML_API int qrkValidate(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding,
                           char* dtd, int dtdInDbEncoding, char* dtdid, char* sqlstate, char* msg,
                           int dtdInMemory);
// `schemaLocation` is UTF-16: the path of the schema, the one external file that is opened.
ORVXML_API int qrkValidateSchema(orvxml::QrkStruct* ctx, char* document, int docLoc,
                                 int useDbEncoding, char16_t* schemaLocation, char* sqlstate,
                                 char* msg);
}
