// Reads a document for an extraction, and not again for the next one.
//
// The triggers of an enabled column extract several times from one document, each time through a
// function that is given the document anew. So each thread remembers the text that it read last
// and, when the text before it had been asked for more than once, what the parser told of it: then
// the first extraction parses and the others are told from the tape. A text that is read once, as
// in a query over many rows, costs no more than a copy.
#pragma once

#include "src/xmlcolumn/document_handler.h"
#include "src/xmlcolumn/document_parse.h"

namespace orvxml {

// As readDocument without declarations, for a terminated text.
void readDocumentOnce(QrkStruct* ctx, const char* text, bool inDbEncoding,
                      qrkSgDocHandler& handler);

}  // namespace orvxml
