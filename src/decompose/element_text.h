// The text of a document element, as columns and foreign keys take it.
#pragma once

#include <string>

#include <xercesc/dom/DOM.hpp>

namespace orvxml {

// The text and CDATA children of `element` as one text, or null. A single one is given where it
// stands; several are put together in `joined`.
const XMLCh* textOf(const xercesc::DOMElement* element, std::u16string& joined);

}  // namespace orvxml
