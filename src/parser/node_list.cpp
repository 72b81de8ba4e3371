// Walking the parser's nodes: document order, bounded attribute values, the list of elements.
#include <new>

#include "orvxml/trace.h"
#include "src/parser/parser.h"

namespace orvxml {

xercesc::DOMNode* nextInDocumentOrder(const xercesc::DOMNode* root, xercesc::DOMNode* node) {
  if (xercesc::DOMNode* child = node->getFirstChild()) return child;
  while (node && node != root) {
    if (xercesc::DOMNode* sibling = node->getNextSibling()) return sibling;
    node = node->getParentNode();
  }
  return nullptr;
}

DOM_Element DOM_Element::firstDescendant(std::u16string_view tag) const {
  if (isNull()) return {};
  const bool any = tag == u"*";
  for (xercesc::DOMNode* at = nextInDocumentOrder(node(), node()); at;
       at = nextInDocumentOrder(node(), at)) {
    if (at->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) continue;
    if (any || tag == at->getNodeName()) {
      return DOM_Element(owner(), static_cast<xercesc::DOMElement*>(at));
    }
  }
  return {};
}

const char16_t* boundedAttribute(const xercesc::DOMElement* element, const char16_t* name,
                                 int limit) {
  const char16_t* value = element->getAttribute(name);
  if (!value || !*value) return nullptr;
  const size_t length = std::u16string_view(value).size();
  return length > static_cast<size_t>(limit) ? nullptr : value;
}

int QRK_NodeList::add(const DOM_Element& element, char* msg) {
  Node* node = new (std::nothrow) Node{element};
  if (!node) {
    QRK_TRACE(ctx, "out of memory.");
    return fail(Report{.ctx = ctx, .msg = msg}, Msg::QRKG002E);
  }
  (tail ? tail->next : head) = node;
  tail = node;
  ++count;
  return 0;
}

DOM_Element QRK_NodeList::getNextItem() {
  // Past the end the cursor stays on the last node, so that nodes added later are found.
  Node* next = cursor ? cursor->next : head;
  if (!next) return {};
  cursor = next;
  return cursor->element;
}

void QRK_NodeList::reset() {
  while (head) {
    Node* next = head->next;
    delete head;
    head = next;
  }
  tail = nullptr;
  cursor = nullptr;
  count = 0;
}

}  // namespace orvxml
