// The guard over one parse: counters that the parsers' callbacks feed, and the limits on them.
#include <new>

#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLString.hpp>

#include "orvxml/parser_handlers.h"

namespace orvxml {

namespace {

// A value grows by doubling: a document's whole text, or all that entities may add, in UTF-16, in a
// buffer that has just doubled.
constexpr uint64_t kBytesPerDocumentByte = 8;
constexpr uint64_t kBytesPerEntityCharacter = 4;

}  // namespace

void DocumentGuard::start(uint64_t documentBytes) {
  locator_ = nullptr;
  depth_ = 0;
  countsValues_ = false;
  nodes_ = 0;
  expansions_ = 0;
  characters_ = 0;
  // Without entities a document yields no more characters than it has bytes.
  characterLimit_ = documentBytes + kMaxEntityCharacters;
  allocationLimit_ =
      documentBytes * kBytesPerDocumentByte + kMaxEntityCharacters * kBytesPerEntityCharacter;
}

void DocumentGuard::finish() {
  locator_ = nullptr;
  allocationLimit_ = ~XMLSize_t{0};
}

void DocumentGuard::enterEntity(uint64_t length) {
  if (++expansions_ > kMaxEntityExpansions) refuse(u"The document refers to entities too often.");
  addCharacters(length);
}

void DocumentGuard::addAttributeValues(const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                       XMLSize_t count) {
  for (XMLSize_t i = 0; i < count; ++i) addValue(attributes.elementAt(i)->getValue());
}

void DocumentGuard::addValue(const XMLCh* text) {
  addCharacters(xercesc::XMLString::stringLen(text));
}

void DocumentGuard::addCharacters(uint64_t count) {
  characters_ += count;
  if (characters_ > characterLimit_) refuse(u"The document's entities expand to too much text.");
}

void DocumentGuard::refuse(const XMLCh* text) const {
  if (!locator_) throw xercesc::OutOfMemoryException();
  throw xercesc::SAXParseException(text, *locator_);
}

void DocumentGuard::refuseDepth() const {
  refuse(u"The document's elements are nested too deeply.");
}

void DocumentGuard::refuseNodes() const {
  refuse(u"The document has too many nodes.");
}

void* DocumentGuard::allocate(XMLSize_t size) {
  if (size > allocationLimit_) refuse(u"A value of the document expands to too much text.");
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    throw xercesc::OutOfMemoryException();
  }
}

void DocumentGuard::deallocate(void* memory) {
  ::operator delete(memory);
}

xercesc::MemoryManager* DocumentGuard::getExceptionMemoryManager() {
  return xercesc::XMLPlatformUtils::fgMemoryManager;
}

}  // namespace orvxml
