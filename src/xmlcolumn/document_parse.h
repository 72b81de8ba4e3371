// What every SAX run over a document shares: how it is set up, and how one that ends early is
// reported.
#pragma once

#include <new>
#include <string>

#include <xercesc/framework/XMLDocumentHandler.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "orvxml/context.h"
#include "orvxml/utilities.h"
#include "src/outcome/parser_failures.h"
#include "src/parser/document_source.h"

namespace orvxml {

// For trace lines.
inline const char* textOrNull(const char* text) {
  return text ? text : "(NULL)";
}

// Parses the document. False when the parse ended early: QRKQ047E with the place as far as it is
// known, SQLSTATE "38X13" (out of memory: QRKG002E, "38X10"). An exception that is not the
// parser's leaves the message alone. report.sqlState is "00000" after a parse that completed.
// `faulty`, unless null, gets the file in which it ended, as the parser names it; empty: unknown.
bool parseDocument(const Report& report, xercesc::SAX2XMLReader& parser,
                   const xercesc::InputSource& source, std::u16string* faulty = nullptr);

// Reads the document for `handler`, without validation and with names as written. Nothing that the
// document names is opened. With `inDbEncoding` the document is read in the encoding of the
// database code page. `declarations`, or null, hears of the XML declaration.
bool readDocument(const Report& report, DocumentSource& source, bool inDbEncoding,
                  xercesc::DefaultHandler& handler, xercesc::XMLDocumentHandler* declarations);

// Runs the work of one call, which tells whether it succeeded. False, and reported, for whatever
// it throws.
template <class Work>
bool reported(const Report& report, const char* module, Work work) {
  if (report.msg) *report.msg = 0;
  setSqlState(report, "00000");
  try {
    return work();
  } catch (const std::bad_alloc&) {
    fail(report, Msg::QRKG002E);
  } catch (const xercesc::OutOfMemoryException&) {
    fail(report, Msg::QRKG002E);
  } catch (const QRKException&) {
    // Nothing but want of memory is told in this way.
    fail(report, Msg::QRKG002E);
  } catch (...) {
    failInternal(report, module, __LINE__);
  }
  return false;
}

}  // namespace orvxml
