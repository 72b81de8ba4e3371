// The three parser subclasses: each is closed to the outside, tells the entity resolver about the
// DOCTYPE, and reports what it meets to the guard.
#include <xercesc/framework/XMLEntityDecl.hpp>
#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/DTD/DTDAttDef.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

#include "orvxml/parser_handlers.h"
#include "orvxml/trace.h"

namespace orvxml {

namespace {

// Only entities and attribute defaults let values be longer than what the document says; until one
// is declared, attribute values need no counting.
void declareEntity(DocumentGuard& guard, bool isParameter) {
  if (!isParameter) guard.countAttributeValues();
}

void declareAttribute(DocumentGuard& guard, const xercesc::DTDAttDef& declared) {
  if (!declared.getValue()) return;
  guard.countAttributeValues();
  guard.addValue(declared.getValue());
}

void referToEntity(DocumentGuard& guard, const xercesc::XMLEntityDecl& entity) {
  guard.enterEntity(entity.isExternal() ? 0 : entity.getValueLen());
}

// Hands on the two calls with which a parse begins, to learn where the parser keeps its position.
class LocatorProbe : public xercesc::DefaultHandler {
 public:
  explicit LocatorProbe(xercesc::ContentHandler& handler) : handler_(handler) {}
  void setDocumentLocator(const xercesc::Locator* locator) override {
    locator_ = locator;
    handler_.setDocumentLocator(locator);
  }
  void startDocument() override { handler_.startDocument(); }
  const xercesc::Locator* locator() const { return locator_; }

 private:
  xercesc::ContentHandler& handler_;
  const xercesc::Locator* locator_ = nullptr;
};

}  // namespace

GuardedParser::GuardedParser() : guard(std::make_shared<DocumentGuard>()) {
  security.setEntityExpansionLimit(kMaxEntityExpansions);
}

// ---- qrkNonValidateDOM

qrkNonValidateDOM::qrkNonValidateDOM(QrkStruct* context)
    : XercesDOMParser(nullptr, guard.get()), ctx_(context) {
  QRK_TRACE(ctx_, "new qrkNonValidateDOM\n");
  setValidationScheme(Val_Never);
  setDoNamespaces(false);
  setCreateEntityReferenceNodes(false);
  setDisableDefaultEntityResolution(true);
  setSecurityManager(&security);
}

void qrkNonValidateDOM::parseDocument(const xercesc::InputSource& source, uint64_t bytes) {
  struct Watch {
    explicit Watch(DocumentGuard& watched, uint64_t size) : guard(watched) { guard.start(size); }
    ~Watch() { guard.finish(); }
    DocumentGuard& guard;
  } watch(*guard, bytes);
  parse(source);
}

DocumentOwner qrkNonValidateDOM::takeDocument() {
  xercesc::DOMDocument* document = adoptDocument();
  if (!document) return nullptr;
  return DocumentOwner(document, [memory = guard](xercesc::DOMDocument* d) { d->release(); });
}

void qrkNonValidateDOM::startDocument() {
  guard->setLocator(getScanner()->getLocator());
  XercesDOMParser::startDocument();
}

void qrkNonValidateDOM::doctypeDecl(const xercesc::DTDElementDecl& root, const XMLCh* publicId,
                                    const XMLCh* systemId, bool hasIntSubset, bool hasExtSubset) {
  rememberDoctype(getEntityResolver(), systemId);
  XercesDOMParser::doctypeDecl(root, publicId, systemId, hasIntSubset, hasExtSubset);
}

void qrkNonValidateDOM::entityDecl(const xercesc::DTDEntityDecl& declared, bool isParameter,
                                   bool isIgnored) {
  declareEntity(*guard, isParameter);
  XercesDOMParser::entityDecl(declared, isParameter, isIgnored);
}

void qrkNonValidateDOM::attDef(const xercesc::DTDElementDecl& element,
                               const xercesc::DTDAttDef& declared, bool ignoring) {
  declareAttribute(*guard, declared);
  XercesDOMParser::attDef(element, declared, ignoring);
}

void qrkNonValidateDOM::startElement(const xercesc::XMLElementDecl& declared, unsigned int uriId,
                                     const XMLCh* prefix,
                                     const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                     XMLSize_t count, bool isEmpty, bool isRoot) {
  guard->enterElement();
  guard->addNodes(1 + count);
  guard->addAttributes(attributes, count);
  XercesDOMParser::startElement(declared, uriId, prefix, attributes, count, isEmpty, isRoot);
}

void qrkNonValidateDOM::endElement(const xercesc::XMLElementDecl& declared, unsigned int uriId,
                                   bool isRoot, const XMLCh* prefix) {
  guard->leaveElement();
  XercesDOMParser::endElement(declared, uriId, isRoot, prefix);
}

void qrkNonValidateDOM::docCharacters(const XMLCh* text, XMLSize_t length, bool isCdata) {
  guard->addNodes(1);
  XercesDOMParser::docCharacters(text, length, isCdata);
}

void qrkNonValidateDOM::docComment(const XMLCh* text) {
  guard->addNodes(1);
  XercesDOMParser::docComment(text);
}

void qrkNonValidateDOM::docPI(const XMLCh* target, const XMLCh* data) {
  guard->addNodes(1);
  XercesDOMParser::docPI(target, data);
}

void qrkNonValidateDOM::startEntityReference(const xercesc::XMLEntityDecl& entity) {
  referToEntity(*guard, entity);
  XercesDOMParser::startEntityReference(entity);
}

// ---- qrkNonValidateSAX

qrkNonValidateSAX::qrkNonValidateSAX(QrkStruct* context)
    : SAXParser(nullptr, guard.get()), ctx_(context) {
  QRK_TRACE(ctx_, "new qrkNonValidateSAX\n");
  setDisableDefaultEntityResolution(true);
  setSecurityManager(&security);
}

void qrkNonValidateSAX::startDocument() {
  guard->start(documentBytes_);
  guard->setLocator(getScanner().getLocator());
  SAXParser::startDocument();
}

void qrkNonValidateSAX::doctypeDecl(const xercesc::DTDElementDecl& root, const XMLCh* publicId,
                                    const XMLCh* systemId, bool hasIntSubset, bool hasExtSubset) {
  rememberDoctype(getEntityResolver(), systemId);
  SAXParser::doctypeDecl(root, publicId, systemId, hasIntSubset, hasExtSubset);
}

void qrkNonValidateSAX::entityDecl(const xercesc::DTDEntityDecl& declared, bool isParameter,
                                   bool isIgnored) {
  declareEntity(*guard, isParameter);
  SAXParser::entityDecl(declared, isParameter, isIgnored);
}

void qrkNonValidateSAX::attDef(const xercesc::DTDElementDecl& element,
                               const xercesc::DTDAttDef& declared, bool ignoring) {
  declareAttribute(*guard, declared);
  SAXParser::attDef(element, declared, ignoring);
}

void qrkNonValidateSAX::startElement(const xercesc::XMLElementDecl& declared, unsigned int uriId,
                                     const XMLCh* prefix,
                                     const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                     XMLSize_t count, bool isEmpty, bool isRoot) {
  guard->enterElement();
  guard->addAttributes(attributes, count);
  SAXParser::startElement(declared, uriId, prefix, attributes, count, isEmpty, isRoot);
  if (isEmpty) guard->leaveElement();
}

void qrkNonValidateSAX::endElement(const xercesc::XMLElementDecl& declared, unsigned int uriId,
                                   bool isRoot, const XMLCh* prefix) {
  guard->leaveElement();
  SAXParser::endElement(declared, uriId, isRoot, prefix);
}

void qrkNonValidateSAX::startEntityReference(const xercesc::XMLEntityDecl& entity) {
  referToEntity(*guard, entity);
  SAXParser::startEntityReference(entity);
}

// ---- qrkSAX2XMLReaderImpl

qrkSAX2XMLReaderImpl::qrkSAX2XMLReaderImpl(QrkStruct* context)
    : SAX2XMLReaderImpl(guard.get()), ctx_(context) {
  QRK_TRACE(ctx_, "new qrkSAX2XMLReaderImpl\n");
  setFeature(xercesc::XMLUni::fgXercesDisableDefaultEntityResolution, true);
  setProperty(xercesc::XMLUni::fgXercesSecurityManager, &security);
  setDTDHandler(&declarations_);
}

void qrkSAX2XMLReaderImpl::setContentHandler(xercesc::ContentHandler* handler) {
  contentHandler_ = handler;
  SAX2XMLReaderImpl::setContentHandler(handler);
}

void qrkSAX2XMLReaderImpl::setEntityResolver(xercesc::EntityResolver* resolver) {
  resolver_ = resolver;
  SAX2XMLReaderImpl::setEntityResolver(resolver);
}

void qrkSAX2XMLReaderImpl::startDocument() {
  guard->start(documentBytes_);
  if (!contentHandler_) return SAX2XMLReaderImpl::startDocument();
  LocatorProbe probe(*contentHandler_);
  SAX2XMLReaderImpl::setContentHandler(&probe);
  SAX2XMLReaderImpl::startDocument();
  SAX2XMLReaderImpl::setContentHandler(contentHandler_);
  guard->setLocator(probe.locator());
}

void qrkSAX2XMLReaderImpl::doctypeDecl(const xercesc::DTDElementDecl& root, const XMLCh* publicId,
                                       const XMLCh* systemId, bool hasIntSubset,
                                       bool hasExtSubset) {
  rememberDoctype(resolver_, systemId);
  SAX2XMLReaderImpl::doctypeDecl(root, publicId, systemId, hasIntSubset, hasExtSubset);
}

void qrkSAX2XMLReaderImpl::entityDecl(const xercesc::DTDEntityDecl& declared, bool isParameter,
                                      bool isIgnored) {
  declareEntity(*guard, isParameter);
  SAX2XMLReaderImpl::entityDecl(declared, isParameter, isIgnored);
}

void qrkSAX2XMLReaderImpl::attDef(const xercesc::DTDElementDecl& element,
                                  const xercesc::DTDAttDef& declared, bool ignoring) {
  declareAttribute(*guard, declared);
  SAX2XMLReaderImpl::attDef(element, declared, ignoring);
}

void qrkSAX2XMLReaderImpl::startElement(const xercesc::XMLElementDecl& declared, unsigned int uriId,
                                        const XMLCh* prefix,
                                        const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                        XMLSize_t count, bool isEmpty, bool isRoot) {
  guard->enterElement();
  guard->addAttributes(attributes, count);
  SAX2XMLReaderImpl::startElement(declared, uriId, prefix, attributes, count, isEmpty, isRoot);
  if (isEmpty) guard->leaveElement();
}

void qrkSAX2XMLReaderImpl::endElement(const xercesc::XMLElementDecl& declared, unsigned int uriId,
                                      bool isRoot, const XMLCh* prefix) {
  guard->leaveElement();
  SAX2XMLReaderImpl::endElement(declared, uriId, isRoot, prefix);
}

void qrkSAX2XMLReaderImpl::ignorableWhitespace(const XMLCh* text, XMLSize_t length, bool isCdata) {
  if (contentHandler_) contentHandler_->ignorableWhitespace(text, length);
  SAX2XMLReaderImpl::ignorableWhitespace(text, length, isCdata);
}

void qrkSAX2XMLReaderImpl::startEntityReference(const xercesc::XMLEntityDecl& entity) {
  referToEntity(*guard, entity);
  SAX2XMLReaderImpl::startEntityReference(entity);
}

}  // namespace orvxml
