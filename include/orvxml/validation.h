// Validation of a document against a DTD that the caller supplies or an XML schema by its location.
// The document's own DTD reference is never followed.
#pragma once

#include "orvxml/context.h"
#include "orvxml/export.h"

namespace orvxml {

// What qrkJudge and qrkJudgeBySchema return. Without a judgement the document may be as good as
// any: it or its schema is missing or cannot be read, or what it is to be judged by is wrong.
enum QrkVerdict : int { kNotJudged = -1, kInvalid = 0, kValid = 1 };

}  // namespace orvxml

extern "C" {

// Judges a document by a DTD. `document` is a file name when docLoc is 0, else the text; `dtd` is
// the text when dtdInMemory is 1, else a file name, or null: then the document's internal subset
// counts. A supplied DTD takes the place of the one that the DOCTYPE names: a document that names
// none, or declares elements, attributes or parameter entities of its own, is not valid. Returns a
// QrkVerdict, with message and SQLSTATE unless it is kValid: QRKQ047E ("38X13") for an error in the
// document or the DTD, and kInvalid with it when the DTD's file cannot be opened, QRKC001E when the
// document's file is missing, QRKC000E when it cannot be read, QRKG002E out of memory, QRKD000E
// ("00000") for an id that does not convert. An error in the DTD is told to the thread's listener,
// as a place in the file of that id.
ORVXML_API int qrkJudge(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding,
                        char* dtd, int dtdInDbEncoding, char* dtdid, char* sqlstate, char* msg,
                        int dtdInMemory);
// Judges by a schema: `schemaLocation` is its path in UTF-16. It may have a target name space. It
// and its parts in its folder and below are the only files that are opened; QRKC001E when it is
// missing. The listener hears in which of its files a failure lies.
ORVXML_API int qrkJudgeBySchema(orvxml::QrkStruct* ctx, char* document, int docLoc,
                                int useDbEncoding, char16_t* schemaLocation, char* sqlstate,
                                char* msg);
// The same, with 1 for a valid document and 0 for any other outcome.
ORVXML_API int qrkValidate(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding,
                           char* dtd, int dtdInDbEncoding, char* dtdid, char* sqlstate, char* msg,
                           int dtdInMemory);
ORVXML_API int qrkValidateSchema(orvxml::QrkStruct* ctx, char* document, int docLoc,
                                 int useDbEncoding, char16_t* schemaLocation, char* sqlstate,
                                 char* msg);
}
