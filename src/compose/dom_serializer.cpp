// The serialiser: a parsed subtree back into text. It walks without recursion, so depth is no
// matter, and hands the text on in large pieces.
#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/xml_writer.h"
#include "src/outcome/edge.h"

namespace orvxml {

namespace {

using xercesc::DOMNode;

constexpr size_t kFlushUnits = 32768;

// Text that does not reach its buffer.
Failure lostText() {
  return Failure::internal("qrkdom").withCode(-1);
}

// `Take`: void(const std::string&), for each piece.
template <class Take>
class Serializer {
 public:
  Serializer(QrkStruct* ctx, Take take) : ctx_(ctx), take_(take) {}

  void write(const DOMNode* root) {
    const DOMNode* node = root;
    for (;;) {
      open(node);
      if (const DOMNode* child = node->getFirstChild()) {
        node = child;
        continue;
      }
      // Close all that ends here, up to the next node in document order.
      for (;;) {
        close(node);
        if (node == root) return flush();
        if (const DOMNode* sibling = node->getNextSibling()) {
          node = sibling;
          break;
        }
        node = node->getParentNode();
      }
    }
  }

 private:
  void open(const DOMNode* node) {
    switch (node->getNodeType()) {
      case DOMNode::ELEMENT_NODE:
        openElement(static_cast<const xercesc::DOMElement*>(node));
        break;
      case DOMNode::TEXT_NODE:
      case DOMNode::CDATA_SECTION_NODE:
        appendEscaped(text_, node->getNodeValue());
        break;
      case DOMNode::COMMENT_NODE:
        text_.append(K_UC_XML_COMMENT_START).append(node->getNodeValue());
        text_.append(K_UC_XML_COMMENT_END);
        break;
      case DOMNode::PROCESSING_INSTRUCTION_NODE:
        openInstruction(node);
        break;
      default:
        // An entity reference stands for its children.
        break;
    }
    if (text_.size() >= kFlushUnits) flush();
  }

  void openElement(const xercesc::DOMElement* element) {
    const size_t start = text_.size();
    text_.append(K_UC_L_ABRACE).append(element->getTagName());
    const xercesc::DOMNamedNodeMap* attributes = element->getAttributes();
    const XMLSize_t count = attributes->getLength();
    for (XMLSize_t i = 0; i < count; ++i) {
      const DOMNode* attribute = attributes->item(i);
      text_.append(u" ").append(attribute->getNodeName()).append(u"=\"");
      appendEscaped(text_, attribute->getNodeValue());
      text_.append(u"\"");
    }
    text_.append(K_UC_R_ABRACE);
    if (text_.size() - start < kTagSize) return;
    QRK_TRACE(ctx_, "start tag of %zu characters", text_.size() - start);
    throw Failure::said(codeOf(Msg::QRKG002E), "");
  }

  void openInstruction(const DOMNode* node) {
    text_.append(u"<?").append(node->getNodeName());
    const std::u16string_view data = node->getNodeValue();
    if (!data.empty()) text_.append(u" ").append(data);
    text_.append(u"?>");
  }

  void close(const DOMNode* node) {
    if (node->getNodeType() != DOMNode::ELEMENT_NODE) return;
    text_.append(u"</").append(node->getNodeName()).append(K_UC_R_ABRACE);
  }

  void flush() {
    std::string bytes;
    if (!toDatabase(ctx_, text_, bytes)) throw lostText();
    take_(bytes);
    text_.clear();
  }

  QrkStruct* const ctx_;
  Take take_;
  std::u16string text_;
};

}  // namespace

int qrkDOMtoXML1(QrkStruct* ctx, DOM_Element* element, QrkOutbuf* out, char* msg) {
  return atEdge({ctx, msg}, [&] {
    const auto take = [&](const std::string& bytes) {
      if (qrkBufAppend(ctx, out, bytes.c_str()) != 0) throw lostText();
    };
    Serializer(ctx, take).write(element->node());
  });
}

std::string qrkDOMtoXML(QrkStruct* ctx, const DOM_Element& element) {
  if (element.isNull()) throw Failure::said(codeOf(Msg::QRKA019E), "");
  std::string xml;
  Serializer(ctx, [&](const std::string& bytes) { xml += bytes; }).write(element.node());
  return xml;
}

}  // namespace orvxml
