// The guard over one parse: counters that the parsers' callbacks feed, and the limits on them.
#include <algorithm>
#include <new>

#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/validators/DTD/DTDAttDef.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

#include "src/parser/parser_handlers.h"

namespace orvxml {

namespace {

// A value grows by doubling: a document's whole text, or all that entities may add, in UTF-16, in a
// buffer that has just doubled.
constexpr uint64_t kBytesPerDocumentByte = 8;
constexpr uint64_t kBytesPerEntityCharacter = 4;
// The shortest reference is "&a;": a document whose entities are flat never meets the limit.
constexpr uint64_t kBytesPerExpansion = 3;
// What a node that the document does not spell out counts besides its text.
constexpr uint64_t kCharactersPerDefault = 32;
// The shortest declaration is longer.
constexpr uint64_t kCharactersPerDeclaration = 8;
// With so many, the longest chain of them expands some hundred times.
constexpr int kMaxNestedParameterReferences = 16;
constexpr size_t kHashFactor = 0x9E3779B97F4A7C15;

}  // namespace

DocumentGuard::~DocumentGuard() {
  for (void* memory : watched_) ::operator delete(memory);
}

void DocumentGuard::watch(void* memory) {
  try {
    watched_.insert(memory);
  } catch (const std::bad_alloc&) {
    ::operator delete(memory);
    throw;
  }
}

int64_t DocumentGuard::expansionLimit(uint64_t documentBytes) {
  return kMaxEntityExpansions + static_cast<int64_t>(documentBytes / kBytesPerExpansion);
}

void DocumentGuard::start(uint64_t documentBytes, const xercesc::Locator* locator) {
  locator_ = locator;
  depth_ = 0;
  inSubset_ = false;
  hasSuppliedDtd_ = false;
  countsValues_ = false;
  nodes_ = 0;
  expansions_ = 0;
  expansionLimit_ = expansionLimit(documentBytes);
  characters_ = 0;
  // Without entities a document yields no more characters than it has bytes.
  characterLimit_ = documentBytes + kMaxEntityCharacters;
  longestParameterEntity_ = 0;
  nestedParameterReferences_ = 0;
  forgetNames();
  allocationLimit_ =
      documentBytes * kBytesPerDocumentByte + kMaxEntityCharacters * kBytesPerEntityCharacter;
}

void DocumentGuard::finish() {
  locator_ = nullptr;
  allocationLimit_ = ~XMLSize_t{0};
}

void DocumentGuard::addAttributes(const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                  XMLSize_t count) {
  for (XMLSize_t i = 0; i < count; ++i) {
    const xercesc::XMLAttr* attribute = attributes.elementAt(i);
    addName(attribute->getName());
    if (!countsValues_) continue;
    addValue(attribute->getValue());
    if (!attribute->getSpecified()) addCharacters(kCharactersPerDefault);
  }
}

void DocumentGuard::addName(const XMLCh* name) {
  size_t hash = 0;
  for (; *name; ++name) hash = hash * kHashFactor + *name;
  // The low bits of a product depend on the low bits of its factors alone.
  hash = (hash ^ (hash >> 32)) % kNameSlots;
  if (names_[hash]) return;
  names_[hash] = true;
  if (nameCount_ < kFewNames) {
    firstNames_[static_cast<size_t>(nameCount_)] = static_cast<uint32_t>(hash);
  }
  if (++nameCount_ > kMaxNames) refuseNames();
}

void DocumentGuard::forgetNames() {
  if (nameCount_ > kFewNames) {
    names_.reset();
  } else {
    for (int i = 0; i < nameCount_; ++i) names_[firstNames_[static_cast<size_t>(i)]] = false;
  }
  nameCount_ = 0;
}

void DocumentGuard::enterEntity(uint64_t length) {
  if (++expansions_ > expansionLimit_) refuse(u"The document refers to entities too often.");
  addCharacters(length);
}

void DocumentGuard::addValue(const XMLCh* text) {
  addCharacters(xercesc::XMLString::stringLen(text));
}

void DocumentGuard::addCharacters(uint64_t length) {
  characters_ += length;
  if (characters_ > characterLimit_) refuse(u"The document's entities expand to too much text.");
}

void DocumentGuard::addDeclaration(Declaration kind) {
  // No callback tells of parameter entities that are referred to, but declarations come again.
  // An element's content model costs the parser several times its text.
  addSubsetText(std::max(kind * longestParameterEntity_, kCharactersPerDeclaration));
}

void DocumentGuard::declareElement() {
  requireSupplied();
  addDeclaration(kElement);
}

void DocumentGuard::requireSuppliedDtd(bool namesExternalDtd) {
  hasSuppliedDtd_ = true;
  if (namesExternalDtd) return;
  refuse(u"The document names no external DTD that the supplied one could take the place of.");
}

void DocumentGuard::requireSupplied() const {
  if (!inSubset_ || !hasSuppliedDtd_) return;
  refuse(u"The document declares itself what the supplied DTD has to declare.");
}

void DocumentGuard::declareEntity(const xercesc::DTDEntityDecl& declared, bool isParameter) {
  if (isParameter) {
    requireSupplied();
  } else {
    countsValues_ = true;
  }
  if (!inSubset_ || !declared.getValue()) return;
  addCharacters(declared.getValueLen());
  if (!isParameter) return;
  longestParameterEntity_ = std::max<uint64_t>(longestParameterEntity_, declared.getValueLen());
  const std::u16string_view value(declared.getValue(), declared.getValueLen());
  for (size_t at = 0; (at = value.find(u'%', at)) != value.npos; ++at) {
    const bool isReference = at + 1 < value.size() && value[at + 1] > u' ';
    if (isReference && ++nestedParameterReferences_ > kMaxNestedParameterReferences) {
      refuse(u"The document's parameter entities refer to each other too often.");
    }
  }
}

void DocumentGuard::declareAttribute(const xercesc::DTDAttDef& declared) {
  requireSupplied();
  if (!declared.getValue()) return;
  countsValues_ = true;
  addSubsetText(xercesc::XMLString::stringLen(declared.getValue()));
}

void DocumentGuard::refuse(const XMLCh* text) const {
  if (!locator_) throw xercesc::OutOfMemoryException();
  throw xercesc::SAXParseException(text, *locator_);
}

void DocumentGuard::declareVersion(const XMLCh* version) {
  const std::u16string_view name(version ? version : u"");
  if (name.empty() || name == u"1.0") return;
  if (name != u"1.1") refuse(u"The XML version is unknown.");
  hasNewVersion_ = true;
}

void DocumentGuard::refuseDepth() const {
  refuse(u"The document's elements are nested too deeply.");
}

void DocumentGuard::refuseNodes() const {
  refuse(u"The document has too many nodes.");
}

void DocumentGuard::refuseNames() const {
  refuse(u"The document has too many different names.");
}

void* DocumentGuard::allocate(XMLSize_t size) {
  if (size > allocationLimit_) refuse(u"A value of the document expands to too much text.");
  try {
    void* memory = ::operator new(size);
    if (isWatching_) watch(memory);
    return memory;
  } catch (const std::bad_alloc&) {
    throw xercesc::OutOfMemoryException();
  }
}

void DocumentGuard::deallocate(void* memory) {
  if (!watched_.empty()) watched_.erase(memory);
  ::operator delete(memory);
}

xercesc::MemoryManager* DocumentGuard::getExceptionMemoryManager() {
  return xercesc::XMLPlatformUtils::fgMemoryManager;
}

}  // namespace orvxml
