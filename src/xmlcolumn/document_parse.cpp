#include "src/xmlcolumn/document_parse.h"

#include <new>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "orvxml/code_pages.h"
#include "src/outcome/thread_kept.h"
#include "src/parser/parser_failures.h"
#include "src/parser/parser_handlers.h"

namespace orvxml {
namespace {

using xercesc::XMLUni;

// A parser grows with the documents that it reads.
constexpr uint64_t kMaxDocumentBytes = uint64_t{1024} * 1024;

using ParserPtr = std::unique_ptr<qrkSAX2XMLReaderImpl>;

// Making a parser costs as much as reading a small document, so that each thread keeps one that has
// nothing left of the document that it read. Null when there is no room to keep one.
ParserPtr* idleParser() {
  static const ThreadKept<ParserPtr> kKept;
  return kKept.get();
}

ParserPtr takeParser(QrkStruct* ctx) {
  if (ParserPtr* idle = idleParser(); idle && *idle) return std::move(*idle);
  auto parser = std::make_unique<qrkSAX2XMLReaderImpl>(ctx);
  parser->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
  parser->setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
  parser->setFeature(XMLUni::fgSAX2CoreValidation, false);
  parser->setFeature(XMLUni::fgXercesSchema, false);
  return parser;
}

// Inside a handler: the file that the exception is about.
std::u16string faultyFile() {
  try {
    throw;
  } catch (const xercesc::SAXParseException& e) {
    return e.getSystemId() ? e.getSystemId() : u"";
  } catch (...) {
    return {};
  }
}

}  // namespace

void parseDocument(QrkStruct* ctx, xercesc::SAX2XMLReader& parser,
                   const xercesc::InputSource& source, std::u16string* faulty) {
  try {
    parser.parse(source);
  } catch (const Failure&) {
    throw;
  } catch (const UnreadableSource&) {
    throw Failure(Msg::QRKC000E);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const xercesc::OutOfMemoryException&) {
    throw;
  } catch (...) {
    if (faulty) *faulty = faultyFile();
    if (std::optional<Failure> failure = parserFailure(ctx)) throw *failure;
    throw Failure::said(kParserCode, "").withState(kParserState);
  }
}

void readDocument(QrkStruct* ctx, DocumentSource& source, bool inDbEncoding,
                  xercesc::DefaultHandler& handler, xercesc::XMLDocumentHandler* declarations) {
  ParserPtr parser = takeParser(ctx);
  qrkNonValidateHandler outside(ctx);
  parser->setContentHandler(&handler);
  parser->setErrorHandler(&handler);
  parser->setEntityResolver(&outside);
  parser->setDTDHandler(&handler);
  parser->setLexicalHandler(&handler);
  if (declarations) parser->installAdvDocHandler(declarations);
  chooseEncoding(ctx, inDbEncoding, source);
  parser->setDocumentSize(source.bytes);
  parseDocument(ctx, *parser, *source.input);
  if (declarations) parser->removeAdvDocHandler(declarations);
  ParserPtr* const idle = idleParser();
  if (idle && source.bytes <= kMaxDocumentBytes && parser->isReusable()) *idle = std::move(parser);
}

}  // namespace orvxml
