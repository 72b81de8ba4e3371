#include "src/xmlcolumn/document_handler.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <xercesc/sax/SAXParseException.hpp>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/outcome/failure.h"

namespace orvxml {
namespace {

constexpr int kNotConverted = -1;  // stands for the position in a path that does not convert

QrkQuery& ofKind(QrkQuery& query, bool selectsMarkup) {
  if (selectsMarkup) query.kind = kSelectsMarkup;
  return query;
}

char* heapCopy(std::string_view text) {
  auto* const copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (!copy) throw std::bad_alloc();
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = 0;
  return copy;
}

}  // namespace

qrkSgDocHandler::qrkSgDocHandler(QrkStruct* context, XMLCh* path, bool selectsMarkup)
    : ctx(context),
      query(context, path),
      currentPath(ofKind(query, selectsMarkup)),
      result(context) {}

// A state of 0 holds for all elements below, and a state of 1 outlives the end of an element.
void qrkSgDocHandler::open(const XMLCh* name, const xercesc::Attributes& attributes) {
  const bool isSettled =
      state == kNoMatchBelow || (state == kMatch && inside == Inside::IsSelected);
  if (isSettled) {
    ++below_;
  } else {
    state = currentPath.push(name, attributes);
  }
}

void qrkSgDocHandler::close() {
  if (below_ > 0) {
    --below_;
    return;
  }
  currentPath.pop();
  if (state != kMatchPossibleBelow) state = currentPath.match();
}

void qrkSgDocHandler::composeStartElement(const XMLCh* name, const xercesc::Attributes& attributes,
                                          const XMLCh* changed, const XMLCh* newValue) {
  result.addToCurrentItem(u"<");
  result.addToCurrentItem(name);
  for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
    const XMLCh* const attribute = attributes.getQName(i);
    const bool isChanged = changed && xercesc::XMLString::equals(attribute, changed);
    result.addToCurrentItem(u" ");
    result.addToCurrentItem(attribute);
    result.addToCurrentItem(u"=\"");
    result.addToCurrentItem(escapeValues, isChanged ? newValue : attributes.getValue(i));
    result.addToCurrentItem(u"\"");
  }
  result.addToCurrentItem(u">");
}

void qrkSgDocHandler::composeEndElement(const XMLCh* name) {
  result.addToCurrentItem(u"</");
  result.addToCurrentItem(name);
  result.addToCurrentItem(u">");
}

void qrkSgDocHandler::retrieve(int maxBytes, QrkExtractResult& values) {
  bool fits = result.complete();
  for (uint32_t i = 0; i < result.count() && fits; ++i) {
    fits = result.item(i).size() < static_cast<size_t>(maxBytes);
  }
  if (!fits) {
    QRK_TRACE(ctx, "extract result exceeds %d", maxBytes);
    throw Failure(Msg::QRKC013E);
  }
  try {
    handOver(values);
  } catch (const std::bad_alloc&) {
    qrkFreeArray(ctx, &values);
    throw;
  }
}

void qrkSgDocHandler::handOver(QrkExtractResult& values) {
  const uint32_t count = result.count();
  values.values = static_cast<char**>(std::calloc(count + size_t{1}, sizeof(char*)));
  if (!values.values) throw std::bad_alloc();
  values.cursor = values.values;
  if (count == 1) {
    values.values[0] = result.takeOnly();
    return;
  }
  for (uint32_t i = 0; i < count; ++i) values.values[i] = heapCopy(result.item(i));
}

void qrkSgDocHandler::debugPrintResult() {
  result.complete();
  std::printf("count = %u\n", result.count());
  for (uint32_t i = 0; i < result.count(); ++i) {
    std::printf("  content = '%s':%zu\n", result.item(i).data(), result.item(i).size());
  }
}

void qrkSgDocHandler::warning(const xercesc::SAXParseException& problem) {
  throw xercesc::SAXParseException(problem);
}

std::u16string convertText(QrkStruct* ctx, const char* text) {
  if (!text) throw Failure(Msg::QRKG004E);
  std::u16string converted;
  if (!toUtf16(ctx, text, converted)) throw Failure(Msg::QRKD002E, kNotConverted);
  return converted;
}

void acceptPath(const qrkSgDocHandler& handler) {
  if (handler.getState() != 0) throw Failure(Msg::QRKD002E, handler.getState());
}

}  // namespace orvxml
