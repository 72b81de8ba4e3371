// Where the document of a parse comes from: a text in memory or a file.
#pragma once

#include <cstdint>
#include <memory>

#include <xercesc/sax/InputSource.hpp>

#include "src/parser/source_encoding.h"

namespace orvxml {

struct DocumentSource {
  InputPtr input;
  uint64_t bytes = 0;
};

// The document `document`: its terminated text or, unless `isText`, the name of its file, which
// must live as long as the source. QRKC001E when there is no such file, QRKG004E for null.
DocumentSource openDocument(QrkStruct* ctx, const char* document, bool isText);

// Has the document read in the encoding of the database code page, if there are code pages and
// `inDbEncoding` wants it, else in the one that it declares.
void chooseEncoding(QrkStruct* ctx, bool inDbEncoding, DocumentSource& source);

}  // namespace orvxml
