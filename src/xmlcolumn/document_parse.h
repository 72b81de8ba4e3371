// What every SAX run over a document shares: how a parse that ends early is reported.
#pragma once

#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>

#include "orvxml/context.h"

namespace orvxml {

// Parses the document. False when the parse ended early: QRKQ047E with the place as far as it is
// known, SQLSTATE "38X13" (out of memory: QRKG002E, "38X10"). An exception that is not the
// parser's leaves the message alone. report.sqlState is "00000" after a parse that completed.
bool parseDocument(const Report& report, xercesc::SAX2XMLReader& parser,
                   const xercesc::InputSource& source);

}  // namespace orvxml
