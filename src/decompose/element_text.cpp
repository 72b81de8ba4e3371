#include "src/decompose/element_text.h"

namespace orvxml {

namespace {

bool isTextNode(const xercesc::DOMNode* node) {
  const auto type = node->getNodeType();
  return type == xercesc::DOMNode::TEXT_NODE || type == xercesc::DOMNode::CDATA_SECTION_NODE;
}

}  // namespace

const XMLCh* textOf(const xercesc::DOMElement* element, std::u16string& joined) {
  const XMLCh* first = nullptr;
  bool several = false;
  for (auto* child = element->getFirstChild(); child; child = child->getNextSibling()) {
    if (!isTextNode(child)) continue;
    const XMLCh* value = child->getNodeValue();
    if (first && !several) joined = first;
    if (first) {
      several = true;
      joined += value;
    } else {
      first = value;
    }
  }
  return several ? joined.c_str() : first;
}

}  // namespace orvxml
