#include "src/dad/dad_walk.h"

#include <cstring>

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
  fail(report, Msg::QRKQ033E, inDatabase(report.ctx, name));
  if (report.errCode) *report.errCode = scannerCode;
  return scannerCode;
}

std::string inDatabase(QrkStruct* ctx, const char16_t* text) {
  std::string out;
  // A text that does not convert is told as far as it does.
  if (text && !toDatabase(ctx, text, out)) out.resize(std::strlen(out.c_str()));
  return out;
}

}  // namespace orvxml::dadtree
