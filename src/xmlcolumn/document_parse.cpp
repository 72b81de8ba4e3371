#include "src/xmlcolumn/document_parse.h"

#include <new>

#include <xercesc/util/OutOfMemoryException.hpp>

#include "orvxml/parser_handlers.h"
#include "src/foundation/parser_failures.h"

namespace orvxml {
namespace {

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

}  // namespace orvxml
