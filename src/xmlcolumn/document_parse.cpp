#include "src/xmlcolumn/document_parse.h"

#include <xercesc/util/XMLUni.hpp>

#include "orvxml/code_pages.h"
#include "orvxml/parser_handlers.h"

namespace orvxml {
namespace {

using xercesc::XMLUni;

bool outOfMemory(const Report& report) {
  fail(report, Msg::QRKG002E);
  return false;
}

}  // namespace

bool parseDocument(const Report& report, xercesc::SAX2XMLReader& parser,
                   const xercesc::InputSource& source) {
  try {
    parser.parse(source);
    setSqlState(report, "00000");
    return true;
  } catch (const UnreadableSource&) {
    fail(report, Msg::QRKC000E);
    return false;
  } catch (const std::bad_alloc&) {
    return outOfMemory(report);
  } catch (const xercesc::OutOfMemoryException&) {
    return outOfMemory(report);
  } catch (...) {
    if (!reportParserException(report)) setSqlState(report, kParserState);
    return false;
  }
}

bool readDocument(const Report& report, DocumentSource& source, bool inDbEncoding,
                  xercesc::DefaultHandler& handler, xercesc::XMLDocumentHandler* declarations) {
  qrkNonValidateHandler outside(report.ctx);
  qrkSAX2XMLReaderImpl parser(report.ctx);
  parser.setContentHandler(&handler);
  parser.setErrorHandler(&handler);
  parser.setEntityResolver(&outside);
  parser.setDTDHandler(&handler);
  parser.setLexicalHandler(&handler);
  if (declarations) parser.installAdvDocHandler(declarations);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
  parser.setFeature(XMLUni::fgSAX2CoreValidation, false);
  parser.setFeature(XMLUni::fgXercesSchema, false);
  if (chooseEncoding(report, inDbEncoding, source) != 0) return false;
  parser.setDocumentSize(source.bytes);
  return parseDocument(report, parser, *source.input);
}

}  // namespace orvxml
