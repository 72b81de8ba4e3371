#include "src/decompose/first_descendants.h"

#include "src/parser/parser.h"

namespace orvxml {

// One pass in document order: the first element of the tag that comes by is the answer for every
// ancestor that has none yet; above an ancestor that has one, all have one.
FirstDescendants::Index FirstDescendants::build(const std::u16string& tag) const {
  Index index;
  auto* root = const_cast<xercesc::DOMElement*>(root_);
  for (xercesc::DOMNode* at = root; at; at = nextInDocumentOrder(root, at)) {
    if (at->getNodeType() != xercesc::DOMNode::ELEMENT_NODE || tag != at->getNodeName()) continue;
    const auto* element = static_cast<xercesc::DOMElement*>(at);
    for (const xercesc::DOMNode* up = at->getParentNode(); up; up = up->getParentNode()) {
      if (!index.try_emplace(up, element).second) break;
    }
  }
  return index;
}

const xercesc::DOMElement* FirstDescendants::find(const xercesc::DOMNode* node,
                                                  const std::u16string& tag) {
  auto entry = byTag_.find(tag);
  if (entry == byTag_.end()) entry = byTag_.emplace(tag, build(tag)).first;
  const auto found = entry->second.find(node);
  return found == entry->second.end() ? nullptr : found->second;
}

}  // namespace orvxml
