// What the builders of the mapping model share: the walk over the element tree with its rule of
// what a mapped leaf is, the text of an element, and the report of an exceeded limit.
#pragma once

#include <string>
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/mapping_model.h"

namespace orvxml::dadtree {

inline constexpr const char* kModule = "qrkcllec";
inline constexpr int kQualifiedNameLimit = 163;  // characters of a table's name
inline constexpr int kColumnNameLimit = 128;

inline bool hasTag(const xercesc::DOMNode* node, std::u16string_view tag) {
  return node->getNodeType() == xercesc::DOMNode::ELEMENT_NODE && tag == node->getNodeName();
}

inline xercesc::DOMElement* asElement(xercesc::DOMNode* node) {
  return static_cast<xercesc::DOMElement*>(node);
}

// The first child called `tag`, or null.
xercesc::DOMElement* childElement(const xercesc::DOMNode* node, std::u16string_view tag);
// The text that stands directly in `node`, CDATA sections included.
std::u16string childText(const xercesc::DOMNode* node);
// QRKG017E: "limit" is its name and what it was exceeded by. Returns -1.
int failLimit(const Report& report, const std::string& limit, int line);
// A name that the SQL scanner refused: QRKQ033E with the name, but the scanner's own code. Returns
// that code.
int failName(const Report& report, const char16_t* name, int scannerCode);
// A mapped name that the database code page cannot carry: QRKQ040E with the name in composition,
// in decomposition the message of an item that has no name. Returns -1.
int failUnconverted(const Report& report, int purpose, const xercesc::DOMElement* item);

// Walks the tree of element_nodes from `node` down. Of the visitor it calls enter(element) and
// leave(element) around each element_node and leaf(element, rdb) for each mapped leaf: an
// attribute_node, a text_node, or an element_node without mapped children. 0, or the first non-zero
// result of leaf. Recursion is bounded by kMaxElementDepth, which the parser enforces.
template <class Visitor>
int walkMappedLeaves(const Report& report, xercesc::DOMNode* node, int purpose, Visitor& visitor) {
  bool isLeaf = hasTag(node, u"attribute_node") || hasTag(node, u"text_node");
  const bool isElement = hasTag(node, u"element_node");
  if (isElement) {
    visitor.enter(asElement(node));
    bool anyChild = false;
    bool anyMapped = false;
    for (auto* child = node->getFirstChild(); child; child = child->getNextSibling()) {
      if (int rc = walkMappedLeaves(report, child, purpose, visitor)) return rc;
      anyChild = true;
      anyMapped |= hasTag(child, u"attribute_node") || hasTag(child, u"text_node") ||
                   hasTag(child, u"element_node");
    }
    isLeaf = purpose == kForComposition ? !anyChild : !anyMapped;
  }
  if (isLeaf) {
    xercesc::DOMElement* rdb = childElement(node, u"RDB_node");
    if (!rdb) return failed(report, Msg::QRKQ000E, "RDB_NODE");
    if (int rc = visitor.leaf(asElement(node), rdb)) return rc;
  }
  if (isElement) visitor.leave(asElement(node));
  return 0;
}

}  // namespace orvxml::dadtree

namespace orvxml {

// The steps of the model's building, in calling order (each in the file of its name).
int whereparser(QrkStruct* ctx, rel* relinfo, const char16_t* condition, int qrk_type, int* errCode,
                char* msg);
int qrkSetJoinInfoForeign(QrkStruct* ctx, rel* relinfo, int qrk_type, tab* table, const char* col,
                          const char* forSchema, const char* forTable, const char* forCol,
                          int* errCode, char* msg);
int qrkProcRel2(QrkStruct* ctx, rel* relinfo, int* errCode, char* msg);
int qrkFindTopElements(QrkStruct* ctx, rel* relinfo, const DOM_Element& root, int qrk_type,
                       int* errCode, char* msg);
col2xml_entry* findColumnMapping(tab* table, const char* col);

}  // namespace orvxml
