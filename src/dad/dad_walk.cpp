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

Failure exceeded(const std::string& limit, SourcePlace where) {
  return Failure(Msg::QRKG017E, limit, buildStamp(), "qrkcllec", where.line);
}

Failure invalidName(QrkStruct* ctx, const char16_t* name, int scannerCode) {
  return Failure(Msg::QRKQ033E, textForMessage(ctx, name)).withCode(scannerCode);
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

void takeItemName(QrkStruct* ctx, MappingPurpose purpose, const xercesc::DOMElement* item,
                  char (&field)[kXmlNameSize]) {
  std::string name;
  if (!toDatabase(ctx, item->getAttribute(u"name"), name)) {
    if (purpose == kForComposition) {
      throw at(item, Failure(Msg::QRKQ040E, textForMessage(ctx, item->getAttribute(u"name"))));
    }
    throw at(item, Failure(hasTag(item, u"attribute_node") ? Msg::QRKQ006E : Msg::QRKQ014E));
  }
  if (name.size() >= sizeof field) throw at(item, exceeded("name " + name));
  std::strcpy(field, name.c_str());
}

}  // namespace orvxml::dadtree
