#include "src/dad/dad_walk.h"

#include <cstring>

namespace orvxml::dadtree {

xercesc::DOMElement* nearestElementNode(xercesc::DOMNode* node) {
  while (node && !hasTag(node, u"element_node")) node = node->getParentNode();
  return node ? asElement(node) : nullptr;
}

bool isAncestor(const xercesc::DOMNode* above, const xercesc::DOMNode* node) {
  while (node && node != above) node = node->getParentNode();
  return node != nullptr;
}

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

std::string lacksName(const char* what, const xercesc::DOMElement* element, int limit) {
  const bool isThere = *element->getAttribute(u"name") != 0;
  return isThere ? std::string(what) + " with a name of more than " + std::to_string(limit) +
                       " characters"
                 : std::string(what) + " without a name";
}

std::string shownItem(const xercesc::DOMElement* leaf) {
  if (hasTag(leaf, u"attribute_node")) return "attribute " + shown(leaf->getAttribute(u"name"));
  if (hasTag(leaf, u"element_node")) return "element " + shown(leaf->getAttribute(u"name"));
  const auto* parent = leaf->getParentNode();
  const bool hasElement = parent && hasTag(parent, u"element_node");
  return "text of " + (hasElement ? shown(asElement(parent)->getAttribute(u"name")) : "nothing");
}

int takeItemName(const Report& report, int purpose, const xercesc::DOMElement* item,
                 char (&field)[kXmlNameSize]) {
  std::string name;
  const bool converts = toDatabase(report.ctx, item->getAttribute(u"name"), name);
  if (converts && name.size() < sizeof field) {
    std::strcpy(field, name.c_str());
    return 0;
  }
  tellPlace(item);
  if (converts) return failLimit(report, "name " + name, __LINE__);
  if (purpose == kForComposition) {
    return failed(report, Msg::QRKQ040E, textForMessage(report.ctx, item->getAttribute(u"name")));
  }
  return failed(report, hasTag(item, u"attribute_node") ? Msg::QRKQ006E : Msg::QRKQ014E);
}

}  // namespace orvxml::dadtree
