// XML parser front end: DADs and documents become DOM trees here, with no way to the outside. The
// handle classes are a small adapter over the parser's DOM: a DOM_Document shares the ownership of
// the parsed document, an element or node handle keeps its document alive. Hot loops may use the
// plain parser nodes behind them (`node()`).
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <xercesc/dom/DOM.hpp>

#include "orvxml/context.h"

namespace orvxml {

// UTF-16 text of the parser's: a view into the document, or a text of its own; may be null.
class DOMString {
 public:
  DOMString() = default;
  DOMString(const char16_t* text) : text_(text) {}  // borrowed
  explicit DOMString(std::u16string text)
      : owned_(std::make_shared<const std::u16string>(std::move(text))), text_(owned_->c_str()) {}
  bool isNull() const { return text_ == nullptr; }
  bool empty() const { return text_ == nullptr || *text_ == 0; }
  const char16_t* rawBuffer() const { return text_; }
  std::u16string_view view() const {
    return text_ ? std::u16string_view(text_) : std::u16string_view();
  }
  int length() const { return static_cast<int>(view().size()); }
  bool equals(std::u16string_view other) const { return view() == other; }

 private:
  std::shared_ptr<const std::u16string> owned_;
  const char16_t* text_ = nullptr;
};

using DocumentOwner = std::shared_ptr<xercesc::DOMDocument>;

class DOM_Element;

class DOM_Node {
 public:
  DOM_Node() = default;
  DOM_Node(DocumentOwner owner, xercesc::DOMNode* node) : owner_(std::move(owner)), node_(node) {}
  bool isNull() const { return node_ == nullptr; }
  bool isElement() const { return node_ && node_->getNodeType() == xercesc::DOMNode::ELEMENT_NODE; }
  xercesc::DOMNode* node() const { return node_; }
  const DocumentOwner& owner() const { return owner_; }

  DOMString getNodeName() const { return node_ ? DOMString(node_->getNodeName()) : DOMString(); }
  DOMString getNodeValue() const { return node_ ? DOMString(node_->getNodeValue()) : DOMString(); }
  DOM_Node getParentNode() const { return related(&xercesc::DOMNode::getParentNode); }
  DOM_Node getFirstChild() const { return related(&xercesc::DOMNode::getFirstChild); }
  DOM_Node getNextSibling() const { return related(&xercesc::DOMNode::getNextSibling); }
  DOM_Element asElement() const;

 private:
  DOM_Node related(xercesc::DOMNode* (xercesc::DOMNode::*step)() const) const {
    return node_ ? DOM_Node(owner_, (node_->*step)()) : DOM_Node();
  }
  DocumentOwner owner_;
  xercesc::DOMNode* node_ = nullptr;
};

class DOM_Element : public DOM_Node {
 public:
  DOM_Element() = default;
  DOM_Element(DocumentOwner owner, xercesc::DOMElement* element)
      : DOM_Node(std::move(owner), element) {}
  xercesc::DOMElement* element() const { return static_cast<xercesc::DOMElement*>(node()); }
  DOMString getTagName() const {
    return element() ? DOMString(element()->getTagName()) : DOMString();
  }
  // Empty text when there is no such attribute.
  DOMString getAttribute(const char16_t* name) const {
    return element() ? DOMString(element()->getAttribute(name)) : DOMString();
  }
  void setAttribute(const char16_t* name, const char16_t* value) {
    element()->setAttribute(name, value);
  }
  // The first element called `tag` below this one in document order ("*": any); null when none.
  DOM_Element firstDescendant(std::u16string_view tag) const;
};

inline DOM_Element DOM_Node::asElement() const {
  return isElement() ? DOM_Element(owner_, static_cast<xercesc::DOMElement*>(node_))
                     : DOM_Element();
}

class DOM_Document {
 public:
  DOM_Document() = default;
  explicit DOM_Document(DocumentOwner owner) : owner_(std::move(owner)) {}
  bool isNull() const { return owner_ == nullptr; }
  DOM_Element getDocumentElement() const {
    return owner_ ? DOM_Element(owner_, owner_->getDocumentElement()) : DOM_Element();
  }

 private:
  DocumentOwner owner_;
};

// The next node after `node` in document order that lies below `root`; null at the end.
xercesc::DOMNode* nextInDocumentOrder(const xercesc::DOMNode* root, xercesc::DOMNode* node);
// The value of a DAD element's attribute `name` ("name", "type", ...), or null when it is absent,
// empty or has more than `limit` characters.
const char16_t* boundedAttribute(const xercesc::DOMElement* element, const char16_t* name,
                                 int limit);

void qrkInitializeParser(QrkStruct* ctx);  // throws when the parser is not there
int qrkTerminateParser(QrkStruct* ctx);    // 0

// Parses the terminated text (inMemory 1) or the file (0) `document`. useDbEncoding 1: in the
// encoding of the database code page. Nothing that the document names is opened; depth, entity
// expansion and node counts beyond the limits give QRKQ047E.
DOM_Document qrkDOM(QrkStruct* ctx, const char* document, int useDbEncoding, int inMemory);
// The code of a parse that returned `rc` and left its outcome in `sqlstate`. A failed parse is
// never a success.
int parseCode(QrkStruct* ctx, int rc, const char* sqlstate);

// For callers of the interface; messages here are converted where they are reported. Converts a
// parser string into the database code page (room 4 * length + 4 bytes); returns `out`.
char* qrkConvXMLCh(QrkStruct* ctx, const XMLCh* text, char* out);

// Limits on documents from outside.
inline constexpr int kMaxElementDepth = 1000;
inline constexpr int64_t kMaxEntityExpansions = 10000;       // beyond one for every 3 bytes
inline constexpr int64_t kMaxEntityCharacters = 10'000'000;  // beyond the document's own size
inline constexpr int kMaxNames = 50000;  // element names, and attribute names: look-up is linear
inline constexpr int64_t kMaxDocumentNodes = 50'000'000;  // elements, attributes and text nodes

}  // namespace orvxml
