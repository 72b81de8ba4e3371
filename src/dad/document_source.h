// Where the document of a parse comes from: a text in memory or a file.
#pragma once

#include <cstdint>
#include <memory>

#include <xercesc/sax/InputSource.hpp>

#include "orvxml/context.h"

namespace orvxml {

struct DocumentSource {
  std::unique_ptr<xercesc::InputSource> input;
  uint64_t bytes = 0;
};

// The document `document`: its terminated text or, unless `isText`, the name of its file, which
// must live as long as the source. False with QRKC001E ("38X01") when there is no such file,
// QRKG004E for null, QRKG002E out of memory.
bool openDocument(const Report& report, const char* document, bool isText, DocumentSource& source);

}  // namespace orvxml
