#include "src/xmlcolumn/document_handler.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <xercesc/sax/SAXParseException.hpp>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"

namespace orvxml {
namespace {

constexpr size_t kMaxUnitBytes = 4;
constexpr size_t kShortValue = 4096;  // bytes
constexpr int kNotConverted = -1;     // stands for the position in a path that does not convert

QrkQuery& ofKind(QrkQuery& query, bool selectsMarkup) {
  if (selectsMarkup) query.kind = kSelectsMarkup;
  return query;
}

enum class Conversion { Done, NoRoom, NoMemory };

// A short value is converted in front and then takes just the memory that it needs.
Conversion convertShort(QrkStruct* ctx, const XMLCh* text, size_t room, char*& value) {
  char bytes[kShortValue];
  const int length = QRK_wcstombsFunction(ctx, bytes, text, static_cast<int>(room));
  if (length < 0) return Conversion::NoRoom;
  const size_t size = static_cast<size_t>(length);
  value = static_cast<char*>(std::malloc(size + 1));
  if (!value) return Conversion::NoMemory;
  std::memcpy(value, bytes, size);
  value[size] = 0;
  return Conversion::Done;
}

// The text in the database code page, as a heap string of at most `maxBytes`.
Conversion convert(QrkStruct* ctx, std::u16string_view text, int maxBytes, char*& value) {
  const size_t room = std::min((text.size() + 1) * kMaxUnitBytes, static_cast<size_t>(maxBytes));
  if (room <= kShortValue) return convertShort(ctx, text.data(), room, value);
  auto* const bytes = static_cast<char*>(std::malloc(room));
  if (!bytes) return Conversion::NoMemory;
  const int length = QRK_wcstombsFunction(ctx, bytes, text.data(), static_cast<int>(room));
  if (length < 0) {
    std::free(bytes);
    return Conversion::NoRoom;
  }
  void* const shrunk = std::realloc(bytes, static_cast<size_t>(length) + 1);
  value = shrunk ? static_cast<char*>(shrunk) : bytes;
  return Conversion::Done;
}

}  // namespace

qrkSgDocHandler::qrkSgDocHandler(QrkStruct* context, XMLCh* path, bool selectsMarkup)
    : ctx(context), query(context, path), currentPath(ofKind(query, selectsMarkup)) {}

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

bool qrkSgDocHandler::retrieve(const Report& report, int maxBytes, QrkExtractResult& values) const {
  values = {};
  auto** const array = static_cast<char**>(std::calloc(result.count() + size_t{1}, sizeof(char*)));
  values.values = values.cursor = array;
  Conversion conversion = array ? Conversion::Done : Conversion::NoMemory;
  for (uint32_t i = 0; i < result.count() && conversion == Conversion::Done; ++i) {
    conversion = convert(ctx, result.item(i), maxBytes, array[i]);
  }
  if (conversion == Conversion::Done) return true;
  qrkFreeArray(ctx, &values);
  if (conversion == Conversion::NoRoom) QRK_TRACE(ctx, "extract result exceeds %d", maxBytes);
  fail(report, conversion == Conversion::NoRoom ? Msg::QRKC013E : Msg::QRKG002E);
  return false;
}

void qrkSgDocHandler::debugPrintResult() const {
  std::printf("count = %u\n", result.count());
  for (uint32_t i = 0; i < result.count(); ++i) {
    std::string content;
    toDatabase(ctx, result.item(i), content);
    std::printf("  content = '%s':%zu\n", content.c_str(), result.item(i).size());
  }
}

void qrkSgDocHandler::warning(const xercesc::SAXParseException& problem) {
  throw xercesc::SAXParseException(problem);
}
void qrkSgDocHandler::error(const xercesc::SAXParseException& problem) {
  throw xercesc::SAXParseException(problem);
}
void qrkSgDocHandler::fatalError(const xercesc::SAXParseException& problem) {
  throw xercesc::SAXParseException(problem);
}

bool convertText(const Report& report, const char* text, std::u16string& converted) {
  if (text && toUtf16(report.ctx, text, converted)) return true;
  text ? fail(report, Msg::QRKD002E, kNotConverted) : fail(report, Msg::QRKG004E);
  return false;
}

bool acceptPath(const Report& report, const qrkSgDocHandler& handler) {
  if (handler.getState() == 0) return true;
  fail(report, Msg::QRKD002E, handler.getState());
  return false;
}

}  // namespace orvxml
