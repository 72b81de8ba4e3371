// For each element of a document, the first element of a given tag below it.
#pragma once

#include <string>
#include <unordered_map>

#include <xercesc/dom/DOM.hpp>

namespace orvxml {

class FirstDescendants {
 public:
  explicit FirstDescendants(const xercesc::DOMElement* root) : root_(root) {}
  // Null when `node` has no descendant of that tag.
  const xercesc::DOMElement* find(const xercesc::DOMNode* node, const std::u16string& tag);

 private:
  using Index = std::unordered_map<const xercesc::DOMNode*, const xercesc::DOMElement*>;
  Index build(const std::u16string& tag) const;

  const xercesc::DOMElement* root_;
  std::unordered_map<std::u16string, Index> byTag_;
};

}  // namespace orvxml
