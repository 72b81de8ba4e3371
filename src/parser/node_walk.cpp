// Walking the parser's nodes: document order, bounded attribute values.
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

}  // namespace orvxml
