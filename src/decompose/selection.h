// The document elements that the walk works on: each with its way to the root, and those that a DAD
// element selects together.
#pragma once

#include <string>
#include <vector>

#include "src/parser/parser.h"

namespace orvxml {

// A node of the document with its way to the root. The parser finds a node's parent slowly; whoever
// walks down the document knows it. The topmost one is the document itself.
struct Lineage {
  xercesc::DOMNode* node;
  const Lineage* parent;

  bool isElement() const { return node->getNodeType() == xercesc::DOMNode::ELEMENT_NODE; }
  xercesc::DOMElement* element() const { return static_cast<xercesc::DOMElement*>(node); }
};

// Calls `take(element, name)` for the child elements of `node`, in document order.
template <class Take>
void forChildElements(const xercesc::DOMNode* node, Take take) {
  for (auto* child = node->getFirstChild(); child; child = child->getNextSibling()) {
    if (child->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) continue;
    take(static_cast<xercesc::DOMElement*>(child), child->getNodeName());
  }
}

// The elements that one DAD element selects, in document order.
using Container = std::vector<Lineage>;

// A DAD element below the current one, and what it selects among the children of the current
// elements.
struct Branch {
  const xercesc::DOMElement* dadElement;
  std::u16string name;
  Container selected;

  void offer(xercesc::DOMNode* child, const XMLCh* childName, const Lineage& parent) {
    if (name == childName) selected.push_back({child, &parent});
  }
};

}  // namespace orvxml
