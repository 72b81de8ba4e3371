#include "src/xmlcolumn/document_parse.h"

#include <new>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"

namespace orvxml {
namespace {

constexpr char kParserState[] = "38X13";  // of every parser error, whatever its message

bool openFile(const Report& report, const char* name, DocumentSource& source) {
  uint32_t size = 0;
  std::u16string wide;
  if (qrk_getFileSize(report.ctx, name, &size) != 0 || !isfile(report.ctx, name) ||
      !toUtf16(report.ctx, name, wide) || wide.size() > kFileNameLimit) {
    fail(report, Msg::QRKC001E);
    return false;
  }
  source.input = std::make_unique<xercesc::LocalFileInputSource>(wide.c_str());
  source.bytes = size;
  return true;
}

void openText(const char* text, DocumentSource& source) {
  source.bytes = std::strlen(text);
  auto input = std::make_unique<xercesc::MemBufInputSource>(reinterpret_cast<const XMLByte*>(text),
                                                            source.bytes, u"IdForDocBuffer");
  input->setCopyBufToStream(false);
  source.input = std::move(input);
}

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

bool openDocument(const Report& report, const char* document, bool isText, DocumentSource& source) {
  if (!document) {
    fail(report, Msg::QRKG004E);
    return false;
  }
  try {
    if (!isText) return openFile(report, document, source);
    openText(document, source);
    return true;
  } catch (const std::bad_alloc&) {
    return outOfMemory(report);
  } catch (const xercesc::OutOfMemoryException&) {
    return outOfMemory(report);
  } catch (const xercesc::XMLException&) {
    // The name of a file that the parser cannot make a path of.
    fail(report, Msg::QRKC001E);
    return false;
  }
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
