// What the readers of a mapping share: the walk over the element tree with its rule of what a
// mapped leaf is, the text of an element, and the failures of an exceeded limit or a wrong name.
#pragma once

#include <string>
#include <string_view>

#include "orvxml/code_pages.h"
#include "src/dad/mapping_model.h"
#include "src/dad/mapping_notices.h"

namespace orvxml::dadtree {

inline constexpr int kQualifiedNameLimit = 163;  // characters of a table's name
inline constexpr int kColumnNameLimit = 128;

inline bool hasTag(const xercesc::DOMNode* node, std::u16string_view tag) {
  return node->getNodeType() == xercesc::DOMNode::ELEMENT_NODE && tag == node->getNodeName();
}

inline xercesc::DOMElement* asElement(xercesc::DOMNode* node) {
  return static_cast<xercesc::DOMElement*>(node);
}

inline const xercesc::DOMElement* asElement(const xercesc::DOMNode* node) {
  return static_cast<const xercesc::DOMElement*>(node);
}

// The nearest element_node from `node` up, or null.
xercesc::DOMElement* nearestElementNode(xercesc::DOMNode* node);
// Whether `node` is `above` or stands inside it.
bool isAncestor(const xercesc::DOMNode* above, const xercesc::DOMNode* node);
// The first child called `tag`, or null.
xercesc::DOMElement* childElement(const xercesc::DOMNode* node, std::u16string_view tag);
// The text that stands directly in `node`: text and CDATA sections, whatever comments and
// processing instructions stand between them.
std::u16string childText(const xercesc::DOMNode* node);
// The longest `orderBy` and `key` of a table, in characters.
inline constexpr int kOrderByLimit = 2559;
inline constexpr int kKeyLimit = 1023;
// The names of limits in messages.
inline constexpr char kTablesLimit[] = "QRK_NUMTAB_IN_REL";
inline constexpr char kKeyColumnsLimit[] = "QRK_NUM_KEYS";
inline constexpr char kForeignKeysLimit[] = "QRK_NUM_FK";
inline constexpr char kJoinConditionLimit[] = "QRK_CONDITION_LENGTH";
inline constexpr char kConditionLimit[] = "QRK_CONDITION_SIZE";  // of a column, or of a table's all

// QRKG017E: `limit` is its name and what it was exceeded by.
Failure exceeded(const std::string& limit, SourcePlace where = SourcePlace::here());
// A name that the SQL scanner refused: QRKQ033E with the name, but the scanner's own code.
Failure invalidName(QrkStruct* ctx, const char16_t* name, int scannerCode);
// Takes the name of a mapped item into the field of the model that it has. One that the database
// code page cannot carry gives QRKQ040E with the name in composition, in decomposition the message
// of an item that has no name; one that does not fit gives QRKG017E.
void takeItemName(QrkStruct* ctx, MappingPurpose purpose, const xercesc::DOMElement* item,
                  char (&field)[kXmlNameSize]);

// What QRKQ013E does not say of a table or column: that it has no name, or one beyond the limit.
std::string lacksName(const char* what, const xercesc::DOMElement* element, int limit);
// "attribute no", "text of invoice", "element note": a mapped leaf as the text of a place names it.
std::string shownItem(const xercesc::DOMElement* leaf);

// Walks the tree of element_nodes from `node` down. Of the visitor it calls enter(element) and
// leave(element) around each element_node and leaf(element, rdb) for each mapped leaf: an
// attribute_node, a text_node, or an element_node without mapped children. Recursion is bounded by
// kMaxElementDepth, which the parser enforces.
template <class Visitor>
void walkMappedLeaves(xercesc::DOMNode* node, MappingPurpose purpose, Visitor& visitor) {
  bool isLeaf = hasTag(node, u"attribute_node") || hasTag(node, u"text_node");
  const bool isElement = hasTag(node, u"element_node");
  if (isElement) {
    visitor.enter(asElement(node));
    bool anyChild = false;
    bool anyMapped = false;
    for (auto* child = node->getFirstChild(); child; child = child->getNextSibling()) {
      walkMappedLeaves(child, purpose, visitor);
      anyChild = true;
      anyMapped |= hasTag(child, u"attribute_node") || hasTag(child, u"text_node") ||
                   hasTag(child, u"element_node");
    }
    isLeaf = purpose == kForComposition ? !anyChild : !anyMapped;
  }
  if (isLeaf) {
    xercesc::DOMElement* rdb = childElement(node, u"RDB_node");
    if (!rdb) throw at(node, Failure(Msg::QRKQ000E, "RDB_NODE"), shownItem(asElement(node)));
    visitor.leaf(asElement(node), rdb);
  }
  if (isElement) visitor.leave(asElement(node));
}

}  // namespace orvxml::dadtree
