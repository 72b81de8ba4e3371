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
#include "src/parser/document_source.h"
#include "src/parser/parser.h"
#include "src/parser/parser_failures.h"
#include "src/parser/parser_handlers.h"

namespace orvxml {

namespace {

constexpr int kTracedCharacters = 299;
// The lines that the failures name.
constexpr int kParseLine = 1649, kTransformerLine = 1754, kInitializationLine = 1763;

Failure parserCrash(int line) {
  return Failure(Msg::QRKG001E, buildStamp(), "qrkSgDoc", line).withState(kParserState);
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

void prepare(QrkStruct* ctx, bool inDbEncoding, std::optional<Parse>& parse,
             DocumentSource& source) {
  try {
    parse.emplace(ctx);
    chooseEncoding(ctx, inDbEncoding, source);
  } catch (const std::exception&) {
    throw Failure(Msg::QRKG002E);
  } catch (const xercesc::XMLException&) {
    throw *parserFailure(ctx);
  }
  if (inDbEncoding && ctx && ctx->codePages) QRK_TRACE(ctx, "overriding encoding");
}

// Nothing when it ran out of memory.
std::optional<DOM_Document> run(QrkStruct* ctx, Parse& parse, const DocumentSource& source) {
  try {
    parse.parser.parseDocument(*source.input, source.bytes);
    return DOM_Document(parse.parser.takeDocument());
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  } catch (const xercesc::OutOfMemoryException&) {
    return std::nullopt;
  } catch (...) {
    if (std::optional<Failure> failure = parserFailure(ctx)) throw *failure;
    throw parserCrash(kParseLine);
  }
}

DOM_Document parse(QrkStruct* ctx, const char* document, bool inDbEncoding, bool isText) {
  DocumentSource source = openDocument(ctx, document, isText);
  std::optional<Parse> state;
  prepare(ctx, inDbEncoding, state, source);
  std::optional<DOM_Document> result = run(ctx, *state, source);
  state.reset();
  if (result) return *std::move(result);
  tellOutOfMemory();
  throw parserCrash(kParseLine);
}

}  // namespace

void qrkInitializeParser(QrkStruct* ctx) {
  if (isSharedLibInitSuccess()) {
    QRK_TRACE(ctx, "Shared library has been initilized successfully ");
    return;
  }
  constexpr int kTransformerCrashed = -4, kSaxFailure = -3, kXmlFailure = -2, kCrashed = -1;
  switch (getLastErrorCode()) {
    case kTransformerCrashed:
      QRK_TRACE(ctx, "Xalan XalanTransformer::initialize() crashed w/o any exception.");
      throw parserCrash(kTransformerLine);
    case kSaxFailure:
    case kXmlFailure: {
      char text[kMessageSize] = "";
      getLastErrorMessage(text);
      QRK_TRACE(ctx, "XMLPlatformUtils::Initialize() failed: %s", text);
      throw parserFailure(ctx, 0, 0, text);
    }
    case kCrashed:
      QRK_TRACE(ctx, "XMLPlatformUtils::Initialize() crashed w/o any XMLException.");
      throw parserCrash(kInitializationLine);
    default:
      QRK_TRACE(ctx, "The static init of parser or icu or xalan has failed");
      throw parserCrash(kInitializationLine);
  }
}

int qrkTerminateParser(QrkStruct* ctx) {
  QRK_TRACE(ctx, "Entered");
  return 0;
}

// The code of a failed parse is that of its SQLSTATE, and never a success.
DOM_Document qrkDOM(QrkStruct* ctx, const char* document, int useDbEncoding, int inMemory) {
  QRK_TRACE(ctx, "Entered, input docLoc=%d, input_src %d\ndoc='%.*s...'", inMemory, useDbEncoding,
            kTracedCharacters, document ? document : "");
  try {
    return parse(ctx, document, useDbEncoding == 1, inMemory != 0);
  } catch (Failure& failure) {
    const int code = parseCode(ctx, -1, failure.sqlState().c_str());
    throw std::move(failure).withCode(code);
  }
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
