// What the parser gets instead of the outside: an empty DTD or the supplied one.
#include <cstring>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/parser/parser_handlers.h"
#include "src/parser/source_encoding.h"

namespace orvxml {

namespace {

constexpr size_t kEncodingNameLimit = 100;

std::u16string boundedName(const XMLCh* name) {
  if (!name) return {};
  return std::u16string(std::u16string_view(name).substr(0, kEncodingNameLimit));
}

std::optional<std::u16string> optionalText(const XMLCh* text) {
  if (!text) return std::nullopt;
  return std::u16string(text);
}

std::string converted(QrkStruct* ctx, const std::optional<std::u16string>& text) {
  return text ? textForMessage(ctx, *text) : std::string();
}

}  // namespace

void ThrowingHandler::error(const xercesc::SAXParseException& problem) {
  throw xercesc::SAXParseException(problem);
}

void ThrowingHandler::fatalError(const xercesc::SAXParseException& problem) {
  throw xercesc::SAXParseException(problem);
}

void rememberDoctype(xercesc::EntityResolver* resolver, const XMLCh* systemId) {
  if (auto* empty = dynamic_cast<qrkNonValidateHandler*>(resolver)) {
    empty->systemId = optionalText(systemId);
  } else if (auto* supplied = dynamic_cast<qrkValidateHandler*>(resolver)) {
    supplied->systemId = optionalText(systemId);
  }
}

xercesc::InputSource* qrkNonValidateHandler::resolveEntity(const XMLCh* /*publicId*/,
                                                           const XMLCh* requested) {
  if (!systemId || !requested) return nullptr;
  if (*systemId != requested) {
    QRK_TRACE(ctx, "dtdId and systemId do not match.");
    return nullptr;
  }
  QRK_TRACE(ctx, "dtdId and systemId match.");
  return memorySource("", u"IdForEmptyBuffer").release();
}

qrkValidateHandler::qrkValidateHandler(QrkStruct* context, const char* dtd, const XMLCh* dtdId,
                                       const XMLCh* encoding, int mode)
    : ctx(context),
      systemId(optionalText(dtdId)),
      dtd_(dtd),
      encoding_(boundedName(encoding)),
      mode_(mode) {}

xercesc::InputSource* qrkValidateHandler::resolveEntity(const XMLCh* /*publicId*/,
                                                        const XMLCh* /*requested*/) {
  QRK_TRACE(ctx, "systemId='%s'", converted(ctx, systemId).c_str());
  InputPtr source = suppliedDtd();
  if (!source) return nullptr;
  if (encoding_.empty()) return inDeclaredEncoding(std::move(source)).release();
  return inEncoding(ctx, std::move(source), encoding_).release();
}

std::unique_ptr<xercesc::InputSource> qrkValidateHandler::suppliedDtd() const {
  if (!dtd_) return nullptr;
  if (mode_ == kDtdIsText) return memorySource(dtd_, u"IdForDtdDocBuffer");
  std::u16string name;
  if (!toUtf16(ctx, dtd_, name)) return nullptr;
  return std::make_unique<xercesc::LocalFileInputSource>(name.c_str());
}

qrkSchemaHandler::qrkSchemaHandler(QrkStruct* context, const XMLCh* name)
    : ctx(context), encoding(boundedName(name)) {}

}  // namespace orvxml
