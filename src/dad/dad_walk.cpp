#include "src/dad/dad_walk.h"

namespace orvxml::dadtree {

xercesc::DOMElement* childElement(const xercesc::DOMNode* node, std::u16string_view tag) {
  for (auto* child = node->getFirstChild(); child; child = child->getNextSibling()) {
    if (hasTag(child, tag)) return asElement(child);
  }
  return nullptr;
}

std::u16string childText(const xercesc::DOMNode* node) {
  std::u16string text;
  for (auto* child = node->getFirstChild(); child; child = child->getNextSibling()) {
    const auto type = child->getNodeType();
    if (type == xercesc::DOMNode::TEXT_NODE || type == xercesc::DOMNode::CDATA_SECTION_NODE) {
      text += child->getNodeValue();
    }
  }
  return text;
}

int failLimit(const Report& report, const std::string& limit, int line) {
  return failed(report, Msg::QRKG017E, limit, buildStamp(), kModule, line);
}

int failName(const Report& report, const char16_t* name, int scannerCode) {
  fail(report, Msg::QRKQ033E, textForMessage(report.ctx, name));
  if (report.errCode) *report.errCode = scannerCode;
  return scannerCode;
}

int failUnconverted(const Report& report, int purpose, const xercesc::DOMElement* item) {
  if (purpose == kForComposition) {
    return failed(report, Msg::QRKQ040E, textForMessage(report.ctx, item->getAttribute(u"name")));
  }
  return failed(report, hasTag(item, u"attribute_node") ? Msg::QRKQ006E : Msg::QRKQ014E);
}

}  // namespace orvxml::dadtree
