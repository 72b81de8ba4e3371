// Update: a document written out again as it is read, with what a location path selects replaced.
#include "orvxml/update.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include <xercesc/util/XMLChar.hpp>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/files/new_file.h"
#include "src/outcome/edge.h"
#include "src/xmlcolumn/document_handler.h"
#include "src/xmlcolumn/document_parse.h"

namespace orvxml {
namespace {

bool isGiven(const XMLCh* text) {
  return text && *text;
}

// Whether a path ends in "//@name": any element may then hold the attribute, and one inside another
// is selected as well.
bool isOfAnyElement(std::u16string_view path) {
  const size_t at = path.rfind(u'@');
  return at != path.npos && at >= 2 && path.substr(at - 2, 2) == u"//";
}

// Writes what it hears into its one value. What a parser reads from it is what was heard, but for
// the replaced parts.
class qrkUpdateHandler : public qrkSgDocHandler {
 public:
  qrkUpdateHandler(QrkStruct* context, XMLCh* path, const XMLCh* value)
      : qrkSgDocHandler(context, path), newValue_(value) {
    comparesInside_ = query.kind == kSelectsAttribute && isOfAnyElement(path);
    inside = comparesInside_ ? Inside::IsCompared : Inside::IsSelected;
    escapeText = Escaping::Text;
    escapeValues = Escaping::Attribute;
    result.addItem();
  }

  void startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override {
    const bool wasOpen = state == kMatchPossibleBelow;
    open(qname, attributes);
    const bool isNew = (wasOpen || comparesInside_) && state == kMatch;
    if (isNew && query.kind == kSelectsAttribute) {
      return composeStartElement(qname, attributes, query.attrName, newValue_);
    }
    composeStartElement(qname, attributes);
    if (isNew) result.addToCurrentItem(escapeText, newValue_);
  }

  void endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) override {
    composeEndElement(qname);
    close();
  }

  void characters(const XMLCh* text, XMLSize_t length) override {
    if (!dropsText()) result.addToCurrentItem(escapeText, {text, length});
  }

  void ignorableWhitespace(const XMLCh* text, XMLSize_t length) override {
    if (!dropsText()) result.addToCurrentItem({text, length});
  }

  void processingInstruction(const XMLCh* target, const XMLCh* data) override {
    write({u"<?", target, u" ", data, u"?>"});
  }

  void comment(const XMLCh* text, XMLSize_t length) override {
    write({u"<!--", {text, length}, u"-->"});
  }

  void startDTD(const XMLCh* name, const XMLCh* publicId, const XMLCh* systemId) override {
    write({u"<!DOCTYPE ", name});
    if (systemId) {
      // An id that holds quotation marks was written in apostrophes.
      const bool isQuoted = std::u16string_view(systemId).find(u'"') == std::u16string_view::npos;
      const std::u16string_view mark = isQuoted ? u"\"" : u"'";
      write(isGiven(publicId) ? Texts{u" PUBLIC \"", publicId, u"\" "} : Texts{u" SYSTEM "});
      write({mark, systemId, mark});
    }
    write({u">"});
  }

  void declareXml(const XMLCh* version, const XMLCh* encoding, const XMLCh* standalone) {
    write({u"<?xml"});
    if (version) write({u" version='", version, u"'"});
    if (isGiven(encoding)) write({u" encoding='", encoding, u"'"});
    if (isGiven(standalone)) write({u" standalone='", standalone, u"'"});
    write({u"?>"});
  }

 private:
  using Texts = std::initializer_list<std::u16string_view>;

  bool dropsText() const { return state == kMatch && query.kind == kSelectsText; }
  void write(Texts texts) {
    for (const std::u16string_view text : texts) result.addToCurrentItem(text);
  }

  const XMLCh* newValue_;
  bool comparesInside_ = false;
};

// Hears of the XML declaration, which no other handler does.
class qrkAdvHandler : public xercesc::XMLDocumentHandler {
 public:
  explicit qrkAdvHandler(qrkUpdateHandler& handler) : handler_(handler) {}
  void XMLDecl(const XMLCh* version, const XMLCh* encoding, const XMLCh* standalone,
               const XMLCh*) override {
    handler_.declareXml(version, encoding, standalone);
  }

  void docCharacters(const XMLCh*, XMLSize_t, bool) override {}
  void docComment(const XMLCh*) override {}
  void docPI(const XMLCh*, const XMLCh*) override {}
  void endDocument() override {}
  void endElement(const xercesc::XMLElementDecl&, unsigned int, bool, const XMLCh*) override {}
  void endEntityReference(const xercesc::XMLEntityDecl&) override {}
  void ignorableWhitespace(const XMLCh*, XMLSize_t, bool) override {}
  void resetDocument() override {}
  void startDocument() override {}
  void startElement(const xercesc::XMLElementDecl&, unsigned int, const XMLCh*,
                    const xercesc::RefVectorOf<xercesc::XMLAttr>&, XMLSize_t, bool, bool) override {
  }
  void startEntityReference(const xercesc::XMLEntityDecl&) override {}

 private:
  qrkUpdateHandler& handler_;
};

// A document with other characters would not be one.
bool isXmlText(std::u16string_view text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (xercesc::XMLChar1_0::isXMLChar(text[i])) continue;
    const bool isPair = i + 1 < text.size() && U16_IS_LEAD(text[i]) && U16_IS_TRAIL(text[i + 1]);
    if (!isPair) return false;
    ++i;
  }
  return true;
}

struct Update {
  char* document;
  bool isText;
  bool inDbEncoding;
  XMLCh* path;
  const XMLCh* newValue;
  int maxBytes;
};

char* update(QrkStruct* ctx, const Update& wanted) {
  if (!wanted.path || !wanted.newValue || wanted.maxBytes <= 0) throw Failure(Msg::QRKG004E);
  if (!isXmlText(wanted.newValue)) throw Failure(Msg::QRKD000E);
  qrkUpdateHandler handler(ctx, wanted.path, wanted.newValue);
  qrkAdvHandler declarations(handler);
  acceptPath(handler);
  DocumentSource source = openDocument(ctx, wanted.document, wanted.isText);
  readDocument(ctx, source, wanted.inDbEncoding, handler, &declarations);
  QrkExtractResult values{};
  handler.retrieve(wanted.maxBytes, values);
  char* const updated = std::exchange(values.values[0], nullptr);
  qrkFreeArray(ctx, &values);
  return updated;
}

// A document too large for memory, in a temporary file as long as this lives.
class SpilledDocument {
 public:
  explicit SpilledDocument(QrkStruct* ctx) : ctx_(ctx) {}
  ~SpilledDocument() {
    if (name_) std::remove(name_.get());
  }
  SpilledDocument(const SpilledDocument&) = delete;
  SpilledDocument& operator=(const SpilledDocument&) = delete;

  char* name() const { return name_.get(); }
  void write(std::string_view document) {
    name_.reset(qrk_tempFilename(ctx_));
    if (!name_) throw Failure(Msg::QRKC012E);
    writeNewFile(ctx_, name_.get(), document);
  }

 private:
  QrkStruct* ctx_;
  std::unique_ptr<char, FreeMemory> name_;
};

// The update of a call with texts in the database code page.
char* updateFromBuffer(QrkStruct* ctx, char* document, const char* path, const char* newValue,
                       int maxBytes) {
  if (!document) throw Failure(Msg::QRKG004E);
  const std::u16string value = convertText(ctx, newValue);
  std::u16string location = convertText(ctx, path);
  Update wanted{document, true, true, location.data(), value.c_str(), maxBytes};
  SpilledDocument file(ctx);
  const size_t length = std::strlen(document);
  const int32_t threshold = std::max(ctx ? ctx->fileThreshold : 0, kMinFileThreshold);
  if (length >= static_cast<size_t>(threshold)) {
    file.write({document, length});
    wanted.document = file.name();
    wanted.isText = false;
  }
  char* updated = nullptr;
  const auto trace = [&](int rc) {
    QRK_TRACE(ctx, "call qrkUpdate() with docSrc = %s return rc=%d",
              wanted.isText ? "QRK_MEM" : "QRK_FILE", rc);
  };
  try {
    updated = update(ctx, wanted);
  } catch (const Failure&) {
    trace(-1);
    throw;
  }
  trace(0);
  return updated;
}

// The result of a call for its caller.
template <class Work>
int call(const Report& report, char** result, Work work) {
  if (!result) return failed(report, Msg::QRKG004E);
  *result = nullptr;
  beginOutcome(report);
  return statusAtEdge(report, [&] { *result = work(); });
}

}  // namespace
}  // namespace orvxml

int qrkUpdate(orvxml::QrkStruct* ctx, char* document, int inMemory, int useDbEncoding,
              char16_t* path, char16_t* newValue, char** result, int maxBytes, char* sqlstate,
              char* msg) {
  using namespace orvxml;
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  return call(report, result, [&] {
    return update(ctx, {document, inMemory == 1, useDbEncoding == 1, path, newValue, maxBytes});
  });
}

int qrkUpdateFromBuf(orvxml::QrkStruct* ctx, char* document, char* path, char* newValue,
                     char** result, int maxBytes, char* sqlstate, char* msg) {
  using namespace orvxml;
  QRK_TRACE(ctx, "Entered,with query='%s' and value='%s'", textOrNull(path), textOrNull(newValue));
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  return call(report, result,
              [&] { return updateFromBuffer(ctx, document, path, newValue, maxBytes); });
}
