#include "src/dad/dad_walk.h"

namespace orvxml::dad {

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
  fail(report, Msg::QRKG017E, limit, buildStamp(), kModule, line);
  return -1;
}

int failName(const Report& report, const char16_t* name, int scannerCode) {
  fail(report, Msg::QRKQ033E, inDatabase(report.ctx, name));
  if (report.errCode) *report.errCode = scannerCode;
  return scannerCode;
}

std::string inDatabase(QrkStruct* ctx, const char16_t* text) {
  std::string out;
  if (text) toDatabase(ctx, text, out);
  return out;
}

}  // namespace orvxml::dad
