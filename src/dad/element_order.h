// The number of an element in its document, which notices give as its place.
#pragma once

#include <cstddef>

#include <xercesc/dom/DOM.hpp>

namespace orvxml {

// The number of `node`'s element (the node itself, or the element that it stands in), counted by
// start tags from 1 for the root; 0 for null. Walks all that stands before it.
size_t elementNumber(const xercesc::DOMNode* node);

}  // namespace orvxml
