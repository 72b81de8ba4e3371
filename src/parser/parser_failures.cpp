#include "src/parser/parser_failures.h"

#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "orvxml/code_pages.h"

namespace orvxml {
namespace {

void tellInFull(QrkStruct* ctx, const Failure& failure, const std::string& text) {
  NoticeListener* const listener = noticeListener();
  if (!listener) return;
  Notice notice;
  notice.kind = Notice::kReason;
  notice.rule = "parser";
  std::u16string wide;
  if (!toUtf16(ctx, text, wide) || !toDatabase(nullptr, wide, notice.text)) notice.text = text;
  notice.line = failure.place().line;
  notice.column = failure.place().column;
  listener->notice(notice);
}

}  // namespace

Failure parserFailure(QrkStruct* ctx, std::optional<uint64_t> line, std::optional<uint64_t> column,
                      const std::string& text) {
  Failure failure = Failure::ofParser(line, column, text);
  tellInFull(ctx, failure, text);
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
