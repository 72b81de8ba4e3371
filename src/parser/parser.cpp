// The parser front end: is the parser ready, parse into a DOM tree, name a parser's text.
#include <cstring>
#include <exception>
#include <new>
#include <optional>

#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "orv/xmlinit.h"
#include "orvxml/code_pages.h"
#include "orvxml/notices.h"
#include "orvxml/trace.h"
#include "src/outcome/parser_failures.h"
#include "src/parser/document_source.h"
#include "src/parser/parser.h"
#include "src/parser/parser_handlers.h"

namespace orvxml {

namespace {

constexpr const char* kModule = "qrkSgDoc";
constexpr const char* kSuccessState = "00000";
constexpr int kTracedCharacters = 299;
constexpr int kParseLine = 1649;

int parserCrash(const Report& report, int line) {
  failInternal(report, kModule, line);
  setSqlState(report, kParserState);
  return -1;
}

// What a parse needs; built before it, because a failure to build is another one than to parse.
struct Parse {
  explicit Parse(QrkStruct* ctx) : handler(ctx), parser(ctx) {
    parser.setErrorHandler(&handler);
    parser.setEntityResolver(&handler);
  }
  qrkNonValidateHandler handler;
  qrkNonValidateDOM parser;
};

int run(const Report& report, Parse& parse, const DocumentSource& source, DOM_Document& result,
        bool& ranOutOfMemory) {
  try {
    parse.parser.parseDocument(*source.input, source.bytes);
    result = DOM_Document(parse.parser.takeDocument());
    return 0;
  } catch (const std::bad_alloc&) {
    ranOutOfMemory = true;
    return parserCrash(report, kParseLine);
  } catch (const xercesc::OutOfMemoryException&) {
    ranOutOfMemory = true;
    return parserCrash(report, kParseLine);
  } catch (...) {
    return reportParserException(report) ? -1 : parserCrash(report, kParseLine);
  }
}

// The message is that of any other crash, so a listener is told what it was.
void tellOutOfMemory() noexcept {
  try {
    Notice notice;
    notice.rule = "memory";
    notice.text = "the system ran out of memory while the XML parser read a document";
    if (NoticeListener* const listener = noticeListener()) listener->notice(notice);
  } catch (...) {  // there is no memory for the notice either
  }
}

}  // namespace

int qrkInitializeParser(QrkStruct* ctx, char* sqlstate, char* msg) {
  if (isSharedLibInitSuccess()) {
    QRK_TRACE(ctx, "Shared library has been initilized successfully ");
    return 0;
  }
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  constexpr int kTransformerCrashed = -4, kSaxFailure = -3, kXmlFailure = -2, kCrashed = -1;
  switch (getLastErrorCode()) {
    case kTransformerCrashed:
      QRK_TRACE(ctx, "Xalan XalanTransformer::initialize() crashed w/o any exception.");
      return parserCrash(report, 1754);
    case kSaxFailure:
    case kXmlFailure: {
      char text[kMessageSize] = "";
      getLastErrorMessage(text);
      QRK_TRACE(ctx, "XMLPlatformUtils::Initialize() failed: %s", text);
      reportParserError(report, 0, 0, text);
      return -1;
    }
    case kCrashed:
      QRK_TRACE(ctx, "XMLPlatformUtils::Initialize() crashed w/o any XMLException.");
      return parserCrash(report, 1763);
    default:
      QRK_TRACE(ctx, "The static init of parser or icu or xalan has failed");
      return -1;
  }
}

int qrkTerminateParser(QrkStruct* ctx) {
  QRK_TRACE(ctx, "Entered");
  return 0;
}

int qrkDOM(QrkStruct* ctx, char* document, int useDbEncoding, int inMemory, DOM_Document& result,
           char* sqlstate, char* msg) {
  QRK_TRACE(ctx, "Entered, input docLoc=%d, input_src %d\ndoc='%.*s...'", inMemory, useDbEncoding,
            kTracedCharacters, document ? document : "");
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  setSqlState(report, kSuccessState);
  DocumentSource source;
  if (!openDocument(report, document, inMemory != 0, source)) return -1;
  std::optional<Parse> state;
  try {
    state.emplace(ctx);
    if (int rc = chooseEncoding(report, useDbEncoding == 1, source)) return rc;
    if (useDbEncoding == 1 && ctx && ctx->codePages) QRK_TRACE(ctx, "overriding encoding");
  } catch (const std::exception&) {
    return failed(report, Msg::QRKG002E);
  } catch (const xercesc::OutOfMemoryException&) {
    return failed(report, Msg::QRKG002E);
  } catch (const xercesc::XMLException&) {
    reportParserException(report);
    return -1;
  }
  bool ranOutOfMemory = false;
  const int rc = run(report, *state, source, result, ranOutOfMemory);
  state.reset();
  if (ranOutOfMemory) tellOutOfMemory();
  return rc;
}

int parseCode(QrkStruct* ctx, int rc, const char* sqlstate) {
  int code = 0;
  qrkStateToCode(ctx, &code, sqlstate);
  return rc < 0 && code >= 0 ? rc : code;
}

char* qrkConvXMLCh(QrkStruct* ctx, const XMLCh* text, char* out) {
  if (!text) {
    QRK_TRACE(ctx, "null text");
    return out;
  }
  const int room = 4 * static_cast<int>(std::u16string_view(text).size()) + 4;
  if (QRK_wcstombsFunction(ctx, out, text, room) < 0) *out = 0;
  return out;
}

}  // namespace orvxml
