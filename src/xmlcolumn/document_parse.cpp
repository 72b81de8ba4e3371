#include "src/xmlcolumn/document_parse.h"

#include <cstring>
#include <new>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "orvxml/code_pages.h"
#include "orvxml/parser_handlers.h"

namespace orvxml {
namespace {

constexpr char kParserState[] = "38X13";  // of every parser error, whatever its message

template <class Line, class Column>
bool parserError(const Report& report, Line line, Column column, const XMLCh* text) {
  std::string message;
  if (text) toDatabase(report.ctx, text, message);
  fail(report, Msg::QRKQ047E, line, column, message);
  setSqlState(report, kParserState);
  return false;
}

bool outOfMemory(const Report& report) {
  fail(report, Msg::QRKG002E);
  return false;
}

}  // namespace

void setSqlState(const Report& report, const char* state) {
  if (report.sqlState) std::memcpy(report.sqlState, state, kSqlStateSize);
}

bool parseDocument(const Report& report, xercesc::SAX2XMLReader& parser,
                   const xercesc::InputSource& source) {
  try {
    parser.parse(source);
    setSqlState(report, "00000");
    return true;
  } catch (const xercesc::SAXParseException& e) {
    return parserError(report, e.getLineNumber(), e.getColumnNumber(), e.getMessage());
  } catch (const xercesc::XMLException& e) {
    return parserError(report, e.getSrcLine(), "", e.getMessage());
  } catch (const xercesc::SAXException& e) {
    return parserError(report, "", "", e.getMessage());
  } catch (const UnreadableSource&) {
    fail(report, Msg::QRKC000E);
    return false;
  } catch (const std::bad_alloc&) {
    return outOfMemory(report);
  } catch (const xercesc::OutOfMemoryException&) {
    return outOfMemory(report);
  } catch (...) {
    setSqlState(report, kParserState);
    return false;
  }
}

}  // namespace orvxml
