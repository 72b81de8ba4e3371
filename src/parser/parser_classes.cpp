// The three parser subclasses: each is closed to the outside, tells the entity resolver about the
// DOCTYPE, and reports what it meets to the guard.
#include <utility>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLErrorCodes.hpp>
#include <xercesc/framework/XMLNotationDecl.hpp>
#include <xercesc/framework/XMLValidityCodes.hpp>
#include <xercesc/internal/IGXMLScanner.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/DTD/DTDAttDef.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

#include "orvxml/trace.h"
#include "src/parser/parser_handlers.h"

namespace orvxml {

namespace {

// The reader keeps its scanner private and offers no other way to the position in the document
// before a handler exists, or to the treatment of undeclared entities. Naming a private member in
// an explicit instantiation is allowed, and stops compiling when the member is gone.
template <xercesc::XMLScanner* xercesc::SAX2XMLReaderImpl::*scanner>
struct ScannerAccess {
  friend xercesc::XMLScanner& scannerOf(xercesc::SAX2XMLReaderImpl& reader) {
    return *(reader.*scanner);
  }
};
xercesc::XMLScanner& scannerOf(xercesc::SAX2XMLReaderImpl& reader);
template struct ScannerAccess<&xercesc::SAX2XMLReaderImpl::fScanner>;

// Nor does the scanner take a validator beside the one for DTDs.
template <xercesc::SchemaValidator* xercesc::IGXMLScanner::*validator,
          void (xercesc::XMLScanner::*initialise)(xercesc::XMLValidator*)>
struct ValidatorAccess {
  friend void install(xercesc::IGXMLScanner& scanner, xercesc::SchemaValidator* made) {
    delete std::exchange(scanner.*validator, made);
    (scanner.*initialise)(made);
  }
};
void install(xercesc::IGXMLScanner& scanner, xercesc::SchemaValidator* made);
template struct ValidatorAccess<&xercesc::IGXMLScanner::fSchemaValidator,
                                &xercesc::XMLScanner::initValidator>;

}  // namespace

GuardedParser::GuardedParser() : guard(std::make_shared<DocumentGuard>()) {
  expectDocument(0);
}

void GuardedParser::expectDocument(uint64_t bytes) {
  documentBytes = bytes;
  security.setEntityExpansionLimit(static_cast<XMLSize_t>(DocumentGuard::expansionLimit(bytes)));
}

// ---- What they share

// The handlers of the reader would take the DTD's comments and instructions for the document's.
template <class Base>
constexpr bool kTellsOfDtd = !std::is_same_v<Base, xercesc::SAX2XMLReaderImpl>;

template <class Base>
void GuardedCallbacks<Base>::startDocument() {
  guard->start(documentBytes, scanner().getLocator());
  Base::startDocument();
}

template <class Base>
void GuardedCallbacks<Base>::XMLDecl(const XMLCh* version, const XMLCh* encoding,
                                     const XMLCh* standalone, const XMLCh* actualEncoding) {
  guard->declareVersion(version);
  Base::XMLDecl(version, encoding, standalone, actualEncoding);
}

template <class Base>
void GuardedCallbacks<Base>::doctypeDecl(const xercesc::DTDElementDecl& root, const XMLCh* publicId,
                                         const XMLCh* systemId, bool hasIntSubset,
                                         bool hasExtSubset) {
  rememberDoctype(this->getEntityResolver(), systemId);
  requireEntities();
  if (hasExtSubset && !hasIntSubset) guard->watchAllocations();
  Base::doctypeDecl(root, publicId, systemId, hasIntSubset, hasExtSubset);
}

template <class Base>
void GuardedCallbacks<Base>::doctypeComment(const XMLCh* text) {
  guard->addDeclaration(DocumentGuard::kNew);
  guard->addSubsetText(xercesc::XMLString::stringLen(text));
  if constexpr (kTellsOfDtd<Base>) Base::doctypeComment(text);
}

template <class Base>
void GuardedCallbacks<Base>::doctypePI(const XMLCh* target, const XMLCh* data) {
  guard->addSubsetText(xercesc::XMLString::stringLen(target));
  guard->addSubsetText(xercesc::XMLString::stringLen(data));
  if constexpr (kTellsOfDtd<Base>) Base::doctypePI(target, data);
}

template <class Base>
void GuardedCallbacks<Base>::doctypeWhitespace(const XMLCh* text, XMLSize_t length) {
  guard->addSubsetText(length);
  Base::doctypeWhitespace(text, length);
}

template <class Base>
void GuardedCallbacks<Base>::elementDecl(const xercesc::DTDElementDecl& declared, bool isIgnored) {
  guard->declareElement();
  Base::elementDecl(declared, isIgnored);
}

template <class Base>
void GuardedCallbacks<Base>::attDef(const xercesc::DTDElementDecl& element,
                                    const xercesc::DTDAttDef& declared, bool ignoring) {
  guard->addDeclaration(ignoring ? DocumentGuard::kRepeated : DocumentGuard::kNew);
  guard->declareAttribute(declared);
  Base::attDef(element, declared, ignoring);
}

template <class Base>
void GuardedCallbacks<Base>::entityDecl(const xercesc::DTDEntityDecl& declared, bool isParameter,
                                        bool isIgnored) {
  guard->addDeclaration(isIgnored ? DocumentGuard::kRepeated : DocumentGuard::kNew);
  guard->declareEntity(declared, isParameter);
  Base::entityDecl(declared, isParameter, isIgnored);
}

template <class Base>
void GuardedCallbacks<Base>::notationDecl(const xercesc::XMLNotationDecl& declared,
                                          bool isIgnored) {
  guard->addDeclaration(isIgnored ? DocumentGuard::kRepeated : DocumentGuard::kNew);
  Base::notationDecl(declared, isIgnored);
}

template <class Base>
void GuardedCallbacks<Base>::startIntSubset() {
  guard->enterSubset();
  guard->watchAllocations();
  Base::startIntSubset();
}

template <class Base>
void GuardedCallbacks<Base>::endIntSubset() {
  guard->leaveSubset();
  // References to parameter entities in the subset have changed the scanner's mind.
  requireEntities();
  Base::endIntSubset();
}

template <class Base>
void GuardedCallbacks<Base>::requireEntities() {
  scanner().setHasNoDTD(true);
}

template <class Base>
void GuardedCallbacks<Base>::startElement(const xercesc::XMLElementDecl& declared,
                                          unsigned int uriId, const XMLCh* prefix,
                                          const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                          XMLSize_t count, bool isEmpty, bool isRoot) {
  guard->stopWatching();
  constexpr bool kBuildsTree = std::is_same_v<Base, xercesc::XercesDOMParser>;
  guard->enterElement(declared);
  guard->addAttributes(attributes, count);
  if constexpr (kBuildsTree) guard->addNodes(1 + count);
  Base::startElement(declared, uriId, prefix, attributes, count, isEmpty, isRoot);
  // The tree builder calls endElement for an empty element, the others do not.
  if (!kBuildsTree && isEmpty) guard->leaveElement();
}

template <class Base>
void GuardedCallbacks<Base>::endElement(const xercesc::XMLElementDecl& declared, unsigned int uriId,
                                        bool isRoot, const XMLCh* prefix) {
  guard->leaveElement();
  Base::endElement(declared, uriId, isRoot, prefix);
}

template <class Base>
void GuardedCallbacks<Base>::startEntityReference(const xercesc::XMLEntityDecl& entity) {
  guard->enterEntity(entity.isExternal() ? 0 : entity.getValueLen());
  Base::startEntityReference(entity);
}

template <class Base>
void GuardedCallbacks<Base>::error(unsigned int code, const XMLCh* domain,
                                   xercesc::XMLErrorReporter::ErrTypes type, const XMLCh* text,
                                   const XMLCh* systemId, const XMLCh* publicId, XMLFileLoc line,
                                   XMLFileLoc column) {
  std::u16string told(text);
  if (xercesc::XMLString::equals(domain, xercesc::XMLUni::fgXMLErrDomain)) {
    const auto* supplied = dynamic_cast<const qrkValidateHandler*>(this->getEntityResolver());
    if (code == xercesc::XMLErrs::UnterminatedDOCTYPE) {
      told += u", or a content model with too many groups";
    } else if (code == xercesc::XMLErrs::RecursiveEntity && supplied && supplied->suppliesDtd()) {
      told += u"; a supplied DTD cannot consist of several files";
    }
  }
  Base::error(code, domain, type, told.c_str(), systemId, publicId, line, column);
}

template class GuardedCallbacks<xercesc::XercesDOMParser>;
template class GuardedCallbacks<xercesc::SAXParser>;
template class GuardedCallbacks<xercesc::SAX2XMLReaderImpl>;

// ---- qrkNonValidateDOM

qrkNonValidateDOM::qrkNonValidateDOM(QrkStruct* context)
    : GuardedCallbacks(static_cast<xercesc::XMLValidator*>(nullptr)) {
  QRK_TRACE(context, "new qrkNonValidateDOM");
  setValidationScheme(Val_Never);
  setDoNamespaces(false);
  setCreateEntityReferenceNodes(false);
  // The external DTD reads as empty, which the scanner can have without opening anything.
  setLoadExternalDTD(false);
  setDisableDefaultEntityResolution(true);
  setSecurityManager(&security);
}

void qrkNonValidateDOM::parseDocument(const xercesc::InputSource& source, uint64_t bytes) {
  struct Watch {
    ~Watch() { guard.finish(); }
    DocumentGuard& guard;
  };
  const Watch watch{*guard};
  expectDocument(bytes);
  parse(source);
}

DocumentOwner qrkNonValidateDOM::takeDocument() {
  xercesc::DOMDocument* document = adoptDocument();
  if (!document) return nullptr;
  return DocumentOwner(document, [memory = guard](xercesc::DOMDocument* d) { d->release(); });
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

// ---- qrkNonValidateSAX

qrkNonValidateSAX::qrkNonValidateSAX(QrkStruct* context)
    : GuardedCallbacks(static_cast<xercesc::XMLValidator*>(nullptr)) {
  QRK_TRACE(context, "new qrkNonValidateSAX");
  setLoadExternalDTD(false);
  setDisableDefaultEntityResolution(true);
  setSecurityManager(&security);
  setDocumentHandler(&listener_);
  setDTDHandler(&listener_);
}

xercesc::XMLScanner& qrkNonValidateSAX::scanner() {
  return const_cast<xercesc::XMLScanner&>(getScanner());
}

// ---- qrkSAX2XMLReaderImpl

qrkSAX2XMLReaderImpl::qrkSAX2XMLReaderImpl(QrkStruct* context) {
  QRK_TRACE(context, "new qrkSAX2XMLReaderImpl");
  setFeature(xercesc::XMLUni::fgXercesLoadExternalDTD, false);  // unless it validates
  setFeature(xercesc::XMLUni::fgXercesDisableDefaultEntityResolution, true);
  setProperty(xercesc::XMLUni::fgXercesSecurityManager, &security);
  SAX2XMLReaderImpl::setContentHandler(&listener_);
  setDTDHandler(&listener_);
}

xercesc::XMLScanner& qrkSAX2XMLReaderImpl::scanner() {
  return scannerOf(*this);
}

void qrkSAX2XMLReaderImpl::replaceSchemaValidator(
    const std::function<xercesc::SchemaValidator*(xercesc::MemoryManager*)>& make, bool hasDtd) {
  // The parser of schemas forgets its note of a DTD as well: it runs before the first element.
  if (hasDtd) guard->watchAllocations();
  install(dynamic_cast<xercesc::IGXMLScanner&>(scanner()), make(guard.get()));
}

void qrkSAX2XMLReaderImpl::setContentHandler(xercesc::ContentHandler* handler) {
  contentHandler_ = handler;
  SAX2XMLReaderImpl::setContentHandler(handler);
}

void qrkSAX2XMLReaderImpl::setEntityResolver(xercesc::EntityResolver* resolver) {
  resolver_ = resolver;
  SAX2XMLReaderImpl::setEntityResolver(resolver);
}

void qrkSAX2XMLReaderImpl::doctypeDecl(const xercesc::DTDElementDecl& root, const XMLCh* publicId,
                                       const XMLCh* systemId, bool hasIntSubset,
                                       bool hasExtSubset) {
  metDoctype_ = true;
  // The base forgets the resolver when a resolver of its newer kind is installed.
  rememberDoctype(resolver_, systemId);
  const auto* supplied = dynamic_cast<const qrkValidateHandler*>(resolver_);
  if (supplied && supplied->suppliesDtd()) guard->requireSuppliedDtd(hasExtSubset);
  GuardedCallbacks::doctypeDecl(root, publicId, systemId, hasIntSubset, hasExtSubset);
  if (hasIntSubset || hasExtSubset || !getLexicalHandler()) return;
  // The base does not tell of a DOCTYPE that names nothing but the document element.
  getLexicalHandler()->startDTD(root.getFullName(), publicId, systemId);
}

void qrkSAX2XMLReaderImpl::error(unsigned int code, const XMLCh* domain, ErrTypes type,
                                 const XMLCh* text, const XMLCh* systemId, const XMLCh* publicId,
                                 XMLFileLoc line, XMLFileLoc column) {
  using Codes = xercesc::XMLExcepts;
  const bool isException = xercesc::XMLString::equals(domain, xercesc::XMLUni::fgExceptDomain);
  if (isException &&
      (code == Codes::Scan_CouldNotOpenSource || code == Codes::File_CouldNotReadFromFile)) {
    throw UnreadableSource();
  }
  std::u16string told(text);
  const auto* supplied = dynamic_cast<const qrkValidateHandler*>(resolver_);
  if (code == xercesc::XMLValid::ElementNotDefined && !metDoctype_ && supplied &&
      supplied->suppliesDtd() &&
      xercesc::XMLString::equals(domain, xercesc::XMLUni::fgValidityDomain)) {
    told += u"; the document names no DTD that the supplied one could take the place of";
  }
  GuardedCallbacks::error(code, domain, type, told.c_str(), systemId, publicId, line, column);
}

void qrkSAX2XMLReaderImpl::ignorableWhitespace(const XMLCh* text, XMLSize_t length, bool isCdata) {
  if (contentHandler_) contentHandler_->ignorableWhitespace(text, length);
  SAX2XMLReaderImpl::ignorableWhitespace(text, length, isCdata);
}

void readEvents(const char* document, size_t size, xercesc::DefaultHandler& events) {
  qrkSAX2XMLReaderImpl parser(nullptr);
  qrkNonValidateHandler outside(nullptr);
  parser.setFeature(xercesc::XMLUni::fgSAX2CoreNameSpaces, false);
  parser.setFeature(xercesc::XMLUni::fgSAX2CoreNameSpacePrefixes, true);
  parser.setFeature(xercesc::XMLUni::fgSAX2CoreValidation, false);
  parser.setFeature(xercesc::XMLUni::fgXercesSchema, false);
  parser.setContentHandler(&events);
  parser.setErrorHandler(&events);
  parser.setEntityResolver(&outside);
  parser.setDocumentSize(size);
  xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(document), size, u"document");
  source.setCopyBufToStream(false);
  parser.parse(source);
}

}  // namespace orvxml
