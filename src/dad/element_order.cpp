#include "src/dad/element_order.h"

#include <algorithm>
#include <vector>

#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>

#include "orvxml/notices.h"
#include "src/parser/parser_handlers.h"

namespace orvxml {
namespace {

using xercesc::DOMElement;
using xercesc::DOMNode;

const DOMElement* enclosingElement(const DOMNode* node) {
  if (node && node->getNodeType() == DOMNode::ATTRIBUTE_NODE) {
    node = static_cast<const xercesc::DOMAttr*>(node)->getOwnerElement();
  }
  while (node && node->getNodeType() != DOMNode::ELEMENT_NODE) node = node->getParentNode();
  return static_cast<const DOMElement*>(node);
}

// The element whose start tag stands right before `element`'s; null for the root.
const DOMElement* elementBefore(const DOMElement* element) {
  const DOMElement* before = element->getPreviousElementSibling();
  if (!before) {
    const DOMNode* parent = element->getParentNode();
    return parent && parent->getNodeType() == DOMNode::ELEMENT_NODE
               ? static_cast<const DOMElement*>(parent)
               : nullptr;
  }
  while (const DOMElement* last = before->getLastElementChild()) before = last;
  return before;
}

// Ends the parse when all places are found.
struct AllFound {};

class PlaceFinder : public xercesc::DefaultHandler {
 public:
  PlaceFinder(ElementPlace* places, size_t count) : wanted_(count) {
    for (size_t i = 0; i < count; ++i) {
      places[i].line = places[i].column = 0;
      wanted_[i] = &places[i];
    }
    std::sort(wanted_.begin(), wanted_.end(),
              [](const auto* a, const auto* b) { return a->element < b->element; });
    next_ = std::find_if(wanted_.begin(), wanted_.end(),
                         [](const auto* place) { return place->element != 0; });
  }

  bool isDone() const { return next_ == wanted_.end(); }

  void setDocumentLocator(const xercesc::Locator* locator) override { locator_ = locator; }
  void startElement(const XMLCh*, const XMLCh*, const XMLCh*, const xercesc::Attributes&) override {
    ++number_;
    for (; !isDone() && (*next_)->element == number_; ++next_) {
      (*next_)->line = locator_ ? locator_->getLineNumber() : 0;
      (*next_)->column = locator_ ? locator_->getColumnNumber() : 0;
    }
    if (isDone()) throw AllFound{};
  }

 private:
  std::vector<ElementPlace*> wanted_;
  std::vector<ElementPlace*>::iterator next_;
  const xercesc::Locator* locator_ = nullptr;
  size_t number_ = 0;
};

}  // namespace

size_t elementNumber(const DOMNode* node) {
  size_t number = 0;
  for (const DOMElement* at = enclosingElement(node); at; at = elementBefore(at)) ++number;
  return number;
}

void numberElements(ElementNumbers& elements) {
  if (elements.empty()) return;
  xercesc::DOMDocument* const document = elements.begin()->first->getOwnerDocument();
  size_t number = 0;
  size_t left = elements.size();
  for (DOMNode* at = document; at && left > 0; at = nextInDocumentOrder(document, at)) {
    if (at->getNodeType() != DOMNode::ELEMENT_NODE) continue;
    ++number;
    if (const auto wanted = elements.find(at); wanted != elements.end()) {
      wanted->second = number;
      --left;
    }
  }
}

int qrkElementPlaces(const char* document, size_t size, ElementPlace* places, size_t count) try {
  PlaceFinder finder(places, count);
  if (finder.isDone()) return 0;
  try {
    readEvents(document, size, finder);
  } catch (const AllFound&) {
  }
  return 0;
} catch (...) {
  return -1;
}

}  // namespace orvxml
