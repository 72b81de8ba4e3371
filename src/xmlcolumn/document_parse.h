// What every SAX run over a document shares: how it is set up, and how one that ends early fails.
#pragma once

#include <cstring>
#include <string>

#include <xercesc/framework/XMLDocumentHandler.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>

#include "orvxml/context.h"
#include "src/outcome/edge.h"
#include "src/parser/document_source.h"

namespace orvxml {

// For trace lines.
inline const char* textOrNull(const char* text) {
  return text ? text : "(NULL)";
}

// Parses the document. QRKQ047E with the place as far as it is known when the parse ended early; an
// exception that is not the parser's leaves the message empty. `faulty`, unless null, gets the file
// in which it ended, as the parser names it; empty: unknown.
void parseDocument(QrkStruct* ctx, xercesc::SAX2XMLReader& parser,
                   const xercesc::InputSource& source, std::u16string* faulty = nullptr);

// Reads the document for `handler`, without validation and with names as written. Nothing that the
// document names is opened. With `inDbEncoding` the document is read in the encoding of the
// database code page. `declarations`, or null, hears of the XML declaration.
void readDocument(QrkStruct* ctx, DocumentSource& source, bool inDbEncoding,
                  xercesc::DefaultHandler& handler, xercesc::XMLDocumentHandler* declarations);

// The outcome of a call before anything happens.
inline void beginOutcome(const Report& report) {
  if (report.msg) *report.msg = 0;
  if (report.sqlState) std::strcpy(report.sqlState, "00000");
}

}  // namespace orvxml
