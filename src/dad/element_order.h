// The number of an element in its document, which notices give as its place.
#pragma once

#include <cstddef>
#include <unordered_map>

#include <xercesc/dom/DOM.hpp>

namespace orvxml {

// The number of `node`'s element (the node itself, or the element that it stands in), counted by
// start tags from 1 for the root; 0 for null. Walks all that stands before it.
size_t elementNumber(const xercesc::DOMNode* node);

// Elements of one document with their numbers.
using ElementNumbers = std::unordered_map<const xercesc::DOMNode*, size_t>;
// Numbers all that `elements` has, in one walk.
void numberElements(ElementNumbers& elements);

}  // namespace orvxml
