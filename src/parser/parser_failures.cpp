#include "src/parser/parser_failures.h"

#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "orvxml/code_pages.h"
#include "orvxml/messages.h"

namespace orvxml {
namespace {

void tellInFull(QrkStruct* ctx, const Failure& failure) {
  std::string message = qrkMsgTable[static_cast<size_t>(failure.message())];
  for (const std::string& argument : failure.arguments()) {
    std::u16string wide;
    std::string utf8;
    if (!toUtf16(ctx, argument, wide) || !toDatabase(nullptr, wide, utf8)) utf8 = argument;
    const size_t at = message.find("%s");
    if (at != std::string::npos) message.replace(at, 2, utf8);
  }
  message.erase(message.find_last_not_of('\n') + 1);
  tellReason("parser", message);
}

}  // namespace

Failure parserFailure(QrkStruct* ctx, std::optional<uint64_t> line, std::optional<uint64_t> column,
                      const std::string& text) {
  Failure failure = Failure::ofParser(line, column, text);
  if (noticeListener()) tellInFull(ctx, failure);
  return failure;
}

std::optional<Failure> parserFailure(QrkStruct* ctx) {
  const auto text = [&](const XMLCh* message) {
    return message ? textForMessage(ctx, message) : std::string();
  };
  try {
    throw;
  } catch (const xercesc::SAXParseException& e) {
    return parserFailure(ctx, e.getLineNumber(), e.getColumnNumber(), text(e.getMessage()));
  } catch (const xercesc::XMLException& e) {
    return parserFailure(ctx, e.getSrcLine(), {}, text(e.getMessage()));
  } catch (const xercesc::SAXException& e) {
    return parserFailure(ctx, {}, {}, text(e.getMessage()));
  } catch (...) {
    return std::nullopt;
  }
}

}  // namespace orvxml
