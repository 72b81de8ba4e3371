// The serialiser: a parsed subtree back into text. It walks without recursion, so depth is no
// matter, and hands the text on in large pieces.
#include <cstdlib>
#include <utility>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/xml_writer.h"

namespace orvxml {

namespace {

using xercesc::DOMNode;

constexpr const char* kModule = "qrkdom";
constexpr size_t kFlushUnits = 32768;
constexpr uint32_t kInitialSize = 1024;  // bytes

class Serializer {
 public:
  Serializer(const Report& report, QrkOutbuf* out) : report_(report), out_(out) {}

  int write(const DOMNode* root) {
    const DOMNode* node = root;
    for (;;) {
      if (int rc = open(node)) return rc;
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
  int open(const DOMNode* node) {
    switch (node->getNodeType()) {
      case DOMNode::ELEMENT_NODE:
        if (int rc = openElement(static_cast<const xercesc::DOMElement*>(node))) return rc;
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
    return text_.size() < kFlushUnits ? 0 : flush();
  }

  int openElement(const xercesc::DOMElement* element) {
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
    if (text_.size() - start < kTagSize) return 0;
    QRK_TRACE(report_.ctx, "start tag of %zu characters", text_.size() - start);
    return codeOf(Msg::QRKG002E);
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

  int flush() {
    std::string bytes;
    if (!toDatabase(report_.ctx, text_, bytes) || qrkBufAppend(report_.ctx, out_, bytes.c_str())) {
      failInternal(report_, kModule, __LINE__);
      return -1;
    }
    text_.clear();
    return 0;
  }

  const Report& report_;
  QrkOutbuf* const out_;
  std::u16string text_;
};

}  // namespace

int qrkDOMtoXML1(QrkStruct* ctx, DOM_Element* element, QrkOutbuf* out, char* msg) {
  const Report report{.ctx = ctx, .msg = msg};
  try {
    return Serializer(report, out).write(element->node());
  } catch (const std::bad_alloc&) {
    return fail(report, Msg::QRKG002E);
  }
}

int qrkDOMtoXML(QrkStruct* ctx, const DOM_Element& element, char** xml, char* msg) {
  *xml = nullptr;
  if (element.isNull()) return codeOf(Msg::QRKA019E);
  OutBuffer buffer(ctx);
  int errCode = 0;
  if (qrkBufAcquire(ctx, buffer.get(), kInitialSize, kNoSizeLimit, QRK_LOC_MEMORY, &errCode, msg,
                    0)) {
    return errCode;
  }
  DOM_Element start = element;
  if (int rc = qrkDOMtoXML1(ctx, &start, buffer.get(), msg)) return rc;
  if (buffer->loctype != QRK_LOC_MEMORY) return -1;
  *xml = std::exchange(buffer->data, nullptr);
  return 0;
}

}  // namespace orvxml
