// Extraction: the values that a location path selects in one document.
#include "orvxml/extraction.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "orvxml/code_pages.h"
#include "orvxml/notices.h"
#include "orvxml/trace.h"
#include "src/xmlcolumn/document_handler.h"
#include "src/xmlcolumn/document_parse.h"
#include "src/xmlcolumn/recent_document.h"

namespace orvxml {
namespace {

// Collects the selected attributes' values, the selected elements' own text, or with markup the
// selected elements with all that stands inside them.
class qrkExtractHandler : public qrkSgDocHandler {
 public:
  qrkExtractHandler(QrkStruct* context, qrkExtractFormat format, XMLCh* path)
      : qrkSgDocHandler(context, path, format == kExtractMarkup) {
    if (format != kExtractMarkup) return;
    inside = Inside::IsSelected;
    escapeText = Escaping::Markup;
  }

  void startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override {
    const bool isNew = state == kMatchPossibleBelow;
    open(qname, attributes);
    if (state != kMatch) return;
    if (query.kind == kSelectsAttribute) return addAttributes(attributes);
    if (isNew) result.addItem();
    if (query.kind == kSelectsMarkup) composeStartElement(qname, attributes);
  }

  void endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) override {
    if (state == kMatch && query.kind == kSelectsMarkup) composeEndElement(qname);
    close();
  }

  void characters(const XMLCh* text, XMLSize_t length) override {
    if (state == kMatch && query.kind != kSelectsAttribute) {
      result.addToCurrentItem(escapeText, {text, length});
    }
  }

  void ignorableWhitespace(const XMLCh* text, XMLSize_t length) override {
    if (state == kMatch && query.kind == kSelectsMarkup) result.addToCurrentItem({text, length});
  }

 private:
  void addAttributes(const xercesc::Attributes& attributes) {
    if (std::u16string_view(query.attrName) != u"*") {
      return addValue(attributes.getValue(query.attrName));
    }
    for (XMLSize_t i = 0; i < attributes.getLength(); ++i) addValue(attributes.getValue(i));
  }

  void addValue(const XMLCh* value) {
    if (!value) return;
    result.addItem();
    result.addToCurrentItem(escapeValues, value);
  }
};

// What a caller hands to either function besides the places of its outcome.
struct Extraction {
  const char* document;
  bool inDbEncoding;
  bool isText;
  qrkExtractFormat format;
  const char* path;
  int maxBytes;
};

void tellPath(std::u16string_view path) {
  NoticeListener* const listener = noticeListener();
  if (!listener) return;
  Notice notice;
  notice.kind = Notice::kReason;
  notice.rule = "value";
  if (toDatabase(nullptr, path, notice.text)) listener->notice(notice);
}

void extract(QrkStruct* ctx, const Extraction& wanted, QrkExtractResult& values) {
  if (wanted.maxBytes <= 0) throw Failure(Msg::QRKG004E);
  const bool isText = wanted.isText && wanted.document;
  DocumentSource file;
  if (!isText) file = openDocument(ctx, wanted.document, false);
  std::u16string path = convertText(ctx, wanted.path);
  tellPath(path);
  qrkExtractHandler handler(ctx, wanted.format, path.data());
  acceptPath(handler);
  if (isText) {
    readDocumentOnce(ctx, wanted.document, wanted.inDbEncoding, handler);
  } else {
    readDocument(ctx, file, wanted.inDbEncoding, handler, nullptr);
  }
  handler.retrieve(wanted.maxBytes, values);
}

// Null after a failure, and after reading none or several.
char* extractOnly(QrkStruct* ctx, const Extraction& wanted) {
  struct Release {
    void operator()(QrkExtractResult* values) const { qrkFreeArray(nullptr, values); }
  };
  QrkExtractResult found{};
  const std::unique_ptr<QrkExtractResult, Release> owner(&found);
  extract(ctx, wanted, found);
  if (!found.values[0]) throw Failure(Msg::QRKD003W);
  if (found.values[1]) throw Failure(Msg::QRKD001E, wanted.path);
  return std::exchange(found.values[0], nullptr);
}

// For the trace.
std::string shownSource(const Extraction& wanted) {
  return wanted.isText ? "buffer" : std::string("'") + textOrNull(wanted.document) + "'";
}

Extraction wanted(const char* document, int useDbEncoding, int inMemory, int format,
                  const char* path, int maxBytes) {
  return {document,      useDbEncoding == 1,
          inMemory == 1, format == kExtractText ? kExtractText : kExtractMarkup,
          path,          maxBytes};
}

}  // namespace
}  // namespace orvxml

int extractAll(orvxml::QrkStruct* ctx, char* document, int useDbEncoding, int inMemory, int format,
               char* path, orvxml::QrkExtractResult* result, int maxBytes, char* sqlstate,
               char* msg) {
  using namespace orvxml;
  const Extraction call = wanted(document, useDbEncoding, inMemory, format, path, maxBytes);
  QRK_TRACE(ctx, "Entered, input uri=%s and query='%s'", shownSource(call).c_str(),
            textOrNull(path));
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  if (!result) return failed(report, Msg::QRKG004E);
  *result = {};
  beginOutcome(report);
  const int rc = statusAtEdge(report, [&] { extract(ctx, call, *result); });
  if (sqlstate) std::memcpy(result->sqlstate, sqlstate, kSqlStateSize);
  return rc;
}

void qrkFreeArray(orvxml::QrkStruct*, orvxml::QrkExtractResult* result) {
  if (!result) return;
  for (char** value = result->values; value && *value; ++value) std::free(*value);
  std::free(result->values);
  std::free(result->message);
  result->values = result->cursor = nullptr;
  result->message = nullptr;
}

int extractOne(orvxml::QrkStruct* ctx, char* document, int useDbEncoding, int inMemory, int format,
               char* path, char** value, int maxBytes, char* sqlstate, char* msg) {
  using namespace orvxml;
  const Extraction call = wanted(document, useDbEncoding, inMemory, format, path, maxBytes);
  QRK_TRACE(ctx, "Entered, input uri=%s and query='%s'", shownSource(call).c_str(),
            textOrNull(path));
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  if (!value) return failed(report, Msg::QRKG004E);
  *value = nullptr;
  beginOutcome(report);
  statusAtEdge(report, [&] { *value = extractOnly(ctx, call); });
  return *value && **value ? 0 : -1;
}
