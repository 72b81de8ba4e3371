// The parser's subclasses and the entity resolvers: they decide what of a document's outside the
// parser sees (an empty DTD, or the DTD that the library supplies; never what a document names) and
// stop documents that are out of proportion.
//
// Every parser class here is closed to the outside by its constructor: without an answer of the
// installed resolver an external entity is an error, not an access. Limits end the parse with a
// SAXParseException at the place that was reached, so callers report them as any parse error.
#pragma once

#include <array>
#include <bitset>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/framework/XMLErrorReporter.hpp>
#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/parsers/SAXParser.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/RefVectorOf.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/validators/schema/SchemaValidator.hpp>

#include "orvxml/context.h"
#include "src/parser/parser.h"

namespace orvxml {

// Ends the parse at an error, by throwing a copy of it, and takes no notice of a warning.
class ThrowingHandler : public xercesc::DefaultHandler {
 public:
  void error(const xercesc::SAXParseException& problem) override;
  void fatalError(const xercesc::SAXParseException& problem) override;
  void warning(const xercesc::SAXParseException&) override {}
};

// Reads the document's own DTD as empty. Install it as entity resolver and error handler.
class qrkNonValidateHandler : public ThrowingHandler {
 public:
  explicit qrkNonValidateHandler(QrkStruct* context) : ctx(context) {}
  // An empty buffer for the document's DTD; null for everything else.
  xercesc::InputSource* resolveEntity(const XMLCh* publicId, const XMLCh* requested) override;

  QrkStruct* ctx;
  std::optional<std::u16string> systemId;  // of the DOCTYPE; none until one is seen
};

// Supplies the DTD that a document is validated against, whatever entity is asked for.
class qrkValidateHandler : public ThrowingHandler {
 public:
  enum DtdMode : int { kDtdIsFile = 0, kDtdIsText = 1 };
  // `dtd`: text up to its terminator, or a file name in the database code page, or null (nothing
  // is supplied). `dtdId` and `encoding` may be null. `dtd` must outlive the handler.
  qrkValidateHandler(QrkStruct* context, const char* dtd, const XMLCh* dtdId, const XMLCh* encoding,
                     int mode);
  xercesc::InputSource* resolveEntity(const XMLCh* publicId, const XMLCh* requested) override;
  bool suppliesDtd() const { return dtd_ != nullptr; }

  QrkStruct* ctx;
  std::optional<std::u16string> systemId;  // the DTD id, then the DOCTYPE's system id

 private:
  std::unique_ptr<xercesc::InputSource> suppliedDtd() const;
  const char* dtd_;
  std::u16string encoding_;  // empty: none
  int mode_;
};

// For validation by a schema: supplies nothing itself. `encoding` is the name of the database code
// page's encoding, which is kept for whoever asks and used by nobody here.
class qrkSchemaHandler : public ThrowingHandler {
 public:
  qrkSchemaHandler(QrkStruct* context, const XMLCh* encoding);
  xercesc::InputSource* resolveEntity(const XMLCh*, const XMLCh*) override { return nullptr; }

  QrkStruct* ctx;
  std::u16string encoding;
};

// Stores the system id of a DOCTYPE (null: none) in the resolver, when it is one that has use of
// it.
void rememberDoctype(xercesc::EntityResolver* resolver, const XMLCh* systemId);

// Watches over one parse: depth, nodes, names, and how far entities and defaults blow the document
// up. It is also the parser's memory manager: a single value grows inside the parser, out of sight
// of every callback, so the largest single allocation is limited as well. A DOM document keeps the
// guard as long as it lives.
class DocumentGuard : public xercesc::MemoryManager {
 public:
  DocumentGuard() = default;
  ~DocumentGuard() override;

  // References to entities that a document of this size may make.
  static int64_t expansionLimit(uint64_t documentBytes);

  // At the start of a parse: the document's size in bytes, and where the parser stands.
  void start(uint64_t documentBytes, const xercesc::Locator* locator);
  // After a parse, however it ended: lifts the limits.
  void finish();

  void enterElement(const xercesc::XMLElementDecl& declared) {
    if (++depth_ > kMaxElementDepth) refuseDepth();
    if (declared.getId() > kMaxNames) refuseNames();
  }
  void leaveElement() { --depth_; }
  // The version that the XML declaration names: one that is not known ends the parse. The parser
  // takes whatever begins like a known one.
  void declareVersion(const XMLCh* version);
  // At a DOCTYPE: the library supplies the DTD, in place of the external one, and what the document
  // declares itself must not make something else of it. Ends the parse of a document that names no
  // external DTD, or declares elements, attributes or parameter entities.
  void requireSuppliedDtd(bool namesExternalDtd);
  void addAttributes(const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t count);
  void addNodes(uint64_t count) {
    if ((nodes_ += static_cast<int64_t>(count)) > kMaxDocumentNodes) refuseNodes();
  }
  // A reference to an entity with a replacement text of `length` characters.
  void enterEntity(uint64_t length);
  // `length` characters, or a value, that entities may have made.
  void addCharacters(uint64_t length);
  void addValue(const XMLCh* text);

  // Around the internal subset. A DTD that the library supplies may declare what it likes.
  void enterSubset() { inSubset_ = true; }
  void leaveSubset() { inSubset_ = false; }
  // A declaration of a kind that may be new, repeats an earlier one, or is an element's: then the
  // parser does not tell.
  enum Declaration : uint64_t { kNew = 0, kRepeated = 1, kElement = 8 };
  void addDeclaration(Declaration kind);
  void declareElement();
  void addSubsetText(uint64_t length) {
    if (inSubset_) addCharacters(length);
  }
  void declareEntity(const xercesc::DTDEntityDecl& declared, bool isParameter);
  void declareAttribute(const xercesc::DTDAttDef& declared);

  // The parser forgets to free its note of an external DTD, which it makes right in front of
  // reading it, and a content model in which it finds a fault: what it allocates from the start of
  // the internal subset on is freed with the guard, if it is still there.
  void watchAllocations() { isWatching_ = true; }
  void stopWatching() { isWatching_ = false; }
  // Whether the documents so far left nothing behind: of a DTD what is freed with the guard, and in
  // the parser the rules of version 1.1, which it would read every later document by.
  bool isClean() const { return !isWatching_ && watched_.empty() && !hasNewVersion_; }

  void* allocate(XMLSize_t size) override;
  void deallocate(void* memory) override;
  xercesc::MemoryManager* getExceptionMemoryManager() override;

 private:
  static constexpr size_t kNameSlots = size_t{1} << 18;

  void addName(const XMLCh* name);
  void forgetNames();
  void watch(void* memory);
  [[noreturn]] void refuse(const XMLCh* text) const;
  void requireSupplied() const;
  [[noreturn]] void refuseDepth() const;
  [[noreturn]] void refuseNodes() const;
  [[noreturn]] void refuseNames() const;

  const xercesc::Locator* locator_ = nullptr;
  int depth_ = 0;
  bool inSubset_ = false;
  bool hasSuppliedDtd_ = false;
  bool countsValues_ = false;  // entities or defaults are declared
  int64_t nodes_ = 0;
  int64_t expansions_ = 0;
  int64_t expansionLimit_ = INT64_MAX;
  uint64_t characters_ = 0;
  uint64_t characterLimit_ = UINT64_MAX;
  uint64_t longestParameterEntity_ = 0;
  int nestedParameterReferences_ = 0;
  std::bitset<kNameSlots> names_;  // hashes of the attribute names met
  int nameCount_ = 0;
  // The first of them, for an end that does not cost as much as a small document.
  static constexpr int kFewNames = 64;
  std::array<uint32_t, kFewNames> firstNames_;
  XMLSize_t allocationLimit_ = ~XMLSize_t{0};
  bool isWatching_ = false;
  std::unordered_set<void*> watched_;
  bool hasNewVersion_ = false;
};

// What a parser needs before its base class is built.
struct GuardedParser {
  GuardedParser();
  // Before a parse: the size of the document in bytes, which its limits grow with.
  void expectDocument(uint64_t bytes);

  std::shared_ptr<DocumentGuard> guard;
  xercesc::SecurityManager security;  // ends endless expansion inside the parser
  uint64_t documentBytes = 0;
};

// The callbacks that the parser classes share: they tell the entity resolver of the DOCTYPE and the
// guard of everything. A reference to an entity that is not declared is an error also where the
// document names an external DTD, for that reads as empty: dropping it would lose text.
template <class Base>
class GuardedCallbacks : protected GuardedParser, public Base {
 public:
  void startDocument() override;
  void XMLDecl(const XMLCh* version, const XMLCh* encoding, const XMLCh* standalone,
               const XMLCh* actualEncoding) override;
  void doctypeDecl(const xercesc::DTDElementDecl& root, const XMLCh* publicId,
                   const XMLCh* systemId, bool hasIntSubset, bool hasExtSubset) override;
  void doctypeComment(const XMLCh* text) override;
  void doctypePI(const XMLCh* target, const XMLCh* data) override;
  void doctypeWhitespace(const XMLCh* text, XMLSize_t length) override;
  void elementDecl(const xercesc::DTDElementDecl& declared, bool isIgnored) override;
  void attDef(const xercesc::DTDElementDecl& element, const xercesc::DTDAttDef& declared,
              bool ignoring) override;
  void entityDecl(const xercesc::DTDEntityDecl& declared, bool isParameter,
                  bool isIgnored) override;
  void notationDecl(const xercesc::XMLNotationDecl& declared, bool isIgnored) override;
  void startIntSubset() override;
  void endIntSubset() override;
  void startElement(const xercesc::XMLElementDecl& declared, unsigned int uriId,
                    const XMLCh* prefix, const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                    XMLSize_t count, bool isEmpty, bool isRoot) override;
  void endElement(const xercesc::XMLElementDecl& declared, unsigned int uriId, bool isRoot,
                  const XMLCh* prefix) override;
  void startEntityReference(const xercesc::XMLEntityDecl& entity) override;
  // Says more where the parser's text leads astray.
  void error(unsigned int code, const XMLCh* domain, xercesc::XMLErrorReporter::ErrTypes type,
             const XMLCh* text, const XMLCh* systemId, const XMLCh* publicId, XMLFileLoc line,
             XMLFileLoc column) override;

 protected:
  template <class... Args>
  explicit GuardedCallbacks(Args... args) : Base(args..., guard.get()) {}
  virtual xercesc::XMLScanner& scanner() = 0;

 private:
  void requireEntities();
};

extern template class GuardedCallbacks<xercesc::XercesDOMParser>;
extern template class GuardedCallbacks<xercesc::SAXParser>;
extern template class GuardedCallbacks<xercesc::SAX2XMLReaderImpl>;

// Parses into a DOM tree: no validation, no name spaces, no entity reference nodes.
class qrkNonValidateDOM : public GuardedCallbacks<xercesc::XercesDOMParser> {
 public:
  explicit qrkNonValidateDOM(QrkStruct* context);
  // Parses a document of `bytes` bytes and lifts the limits from what it built.
  void parseDocument(const xercesc::InputSource& source, uint64_t bytes);
  // The parsed document, which from here on belongs to the result; null when there is none.
  DocumentOwner takeDocument();

  void docCharacters(const XMLCh* text, XMLSize_t length, bool isCdata) override;
  void docComment(const XMLCh* text) override;
  void docPI(const XMLCh* target, const XMLCh* data) override;

 private:
  xercesc::XMLScanner& scanner() override { return *getScanner(); }
};

// An event parser reports only what somebody listens to: this class and the next one install
// handlers of their own, which a user replaces but does not remove, so that the guard hears all.
class qrkNonValidateSAX : public GuardedCallbacks<xercesc::SAXParser> {
 public:
  explicit qrkNonValidateSAX(QrkStruct* context);
  // The size of the next document in bytes, which its limits grow with; 0 when unknown.
  void setDocumentSize(uint64_t bytes) { expectDocument(bytes); }

 private:
  xercesc::XMLScanner& scanner() override;

  xercesc::HandlerBase listener_;
};

// A document that cannot be opened or read to its end.
struct UnreadableSource {};

// Reads with SAX2 events. White space that the DTD makes ignorable reaches the content handler's
// ignorableWhitespace once by this class and once by its base.
class qrkSAX2XMLReaderImpl : public GuardedCallbacks<xercesc::SAX2XMLReaderImpl> {
 public:
  explicit qrkSAX2XMLReaderImpl(QrkStruct* context);
  // The size of the next document in bytes, which its limits grow with; 0 when unknown.
  void setDocumentSize(uint64_t bytes) { expectDocument(bytes); }
  // After a parse that completed: whether the parser is as good as new for another document.
  bool isReusable() const { return guard->isClean() && !metDoctype_; }

  // Validates by schemas with the validator that `make` makes, which the parser then owns.
  // `hasDtd`: one of the schemas has a DOCTYPE.
  void replaceSchemaValidator(
      const std::function<xercesc::SchemaValidator*(xercesc::MemoryManager*)>& make, bool hasDtd);

  void setContentHandler(xercesc::ContentHandler* handler) override;
  void setEntityResolver(xercesc::EntityResolver* resolver) override;
  void doctypeDecl(const xercesc::DTDElementDecl& root, const XMLCh* publicId,
                   const XMLCh* systemId, bool hasIntSubset, bool hasExtSubset) override;
  void ignorableWhitespace(const XMLCh* text, XMLSize_t length, bool isCdata) override;
  // Throws UnreadableSource where the error is not one of the text.
  void error(unsigned int code, const XMLCh* domain, ErrTypes type, const XMLCh* text,
             const XMLCh* systemId, const XMLCh* publicId, XMLFileLoc line,
             XMLFileLoc column) override;

 private:
  xercesc::XMLScanner& scanner() override;

  xercesc::DefaultHandler listener_;
  xercesc::ContentHandler* contentHandler_ = nullptr;
  xercesc::EntityResolver* resolver_ = nullptr;
  bool metDoctype_ = false;
};

// Gives `events` a document of `size` bytes, in the encoding that it declares and with names as
// they are written; nothing is validated, nothing outside is opened. Throws SAXParseException where
// the document does not parse (unless `events` takes that), and what `events` throws.
void readEvents(const char* document, size_t size, xercesc::DefaultHandler& events);

}  // namespace orvxml
