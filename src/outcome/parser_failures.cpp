#include "src/outcome/parser_failures.h"

#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "orvxml/code_pages.h"
#include "orvxml/messages.h"

namespace orvxml {

void tellParserError(QrkStruct* ctx, const std::string& line, const std::string& column,
                     const std::string& text) {
  std::u16string wide;
  std::string utf8;
  if (!toUtf16(ctx, text, wide) || !toDatabase(nullptr, wide, utf8)) utf8 = text;
  std::string message = qrkMsgTable[static_cast<size_t>(Msg::QRKQ047E)];
  for (const std::string& argument : {line, column, utf8}) {
    const size_t at = message.find("%s");
    if (at != std::string::npos) message.replace(at, 2, argument);
  }
  message.erase(message.find_last_not_of('\n') + 1);
  tellReason("parser", message);
}

bool reportParserException(const Report& report) {
  const auto text = [&](const XMLCh* message) {
    return message ? textForMessage(report.ctx, message) : std::string();
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
