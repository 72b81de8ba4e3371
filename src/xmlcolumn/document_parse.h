// What every SAX run over a document shares: the source of the document, and how a parse that
// ends early is reported.
#pragma once

#include <memory>

#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>

#include "orvxml/context.h"

namespace orvxml {

inline constexpr size_t kFileNameLimit = 1024;  // UTF-16 units

struct DocumentSource {
  std::unique_ptr<xercesc::InputSource> input;
  uint64_t bytes = 0;
};

// The document `document`: its terminated text or, unless `isText`, the name of its file, which
// must live as long as the source. False with QRKC001E ("38X01") when there is no such file,
// QRKG004E for null, QRKG002E out of memory.
bool openDocument(const Report& report, const char* document, bool isText, DocumentSource& source);

// Parses the document. False when the parse ended early: QRKQ047E with the place as far as it is
// known, SQLSTATE "38X13" (out of memory: QRKG002E, "38X10"). An exception that is not the
// parser's leaves the message alone. report.sqlState is "00000" after a parse that completed.
bool parseDocument(const Report& report, xercesc::SAX2XMLReader& parser,
                   const xercesc::InputSource& source);

void setSqlState(const Report& report, const char* state);

}  // namespace orvxml
