#include "src/foundation/parser_failures.h"

#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "orvxml/code_pages.h"

namespace orvxml {

bool reportParserException(const Report& report) {
  const auto text = [&](const XMLCh* message) {
    std::string converted;
    if (message) toDatabase(report.ctx, message, converted);
    return converted;
  };
  try {
    throw;
  } catch (const xercesc::SAXParseException& e) {
    reportParserError(report, e.getLineNumber(), e.getColumnNumber(), text(e.getMessage()));
  } catch (const xercesc::XMLException& e) {
    reportParserError(report, e.getSrcLine(), "", text(e.getMessage()));
  } catch (const xercesc::SAXException& e) {
    reportParserError(report, "", "", text(e.getMessage()));
  } catch (...) {
    return false;
  }
  return true;
}

}  // namespace orvxml
