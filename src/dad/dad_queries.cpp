// The questions that composition, decomposition and the mapping model ask of the DAD's tree.
#include <cstring>

#include "src/dad/dad_walk.h"
#include "src/dad/mapping_model.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

using namespace dadtree;

namespace {

constexpr size_t kOccurrenceLimit = 254;  // bytes when upper-cased
constexpr int kFoldedNameSize = 4096;     // bytes

bool isUnmappedGroup(const xercesc::DOMNode* node) {
  for (auto* child = node->getFirstChild(); child; child = child->getNextSibling()) {
    if (hasTag(child, u"attribute_node") || hasTag(child, u"text_node")) return false;
  }
  return true;
}

bool comesFromOtherTable(QrkStruct* ctx, const DOM_Element& item, const tab& table) {
  const DOM_Element rdb = item.firstDescendant(u"RDB_node");
  if (rdb.isNull()) return false;
  try {
    const TableName name = qrkGetTabFromRDB(ctx, "", rdb);
    return std::strcmp(name.schema, table.schema) != 0 || std::strcmp(name.table, table.name) != 0;
  } catch (const Failure&) {
    return false;
  }
}

}  // namespace

bool qrkIsNodeMultiOccur(QrkStruct* ctx, const DOM_Element& element) {
  const std::u16string_view value = element.getAttribute(u"multi_occurrence").view();
  if (value.empty()) return false;
  char folded[kOccurrenceLimit + 1];
  std::string no;
  const bool isNo = qrk_utoupper(ctx, value, folded, sizeof folded) == 0 &&
                    toDatabase(ctx, u"NO", no) && no == folded;
  return !isNo;
}

bool qrkIsNodeIntermediate(QrkStruct* /*ctx*/, const DOM_Node& node) {
  return node.node() && hasTag(node.node(), u"element_node") && isUnmappedGroup(node.node());
}

bool qrkIsTrivial(QrkStruct* ctx, const DOM_Element& element) {
  if (!qrkIsNodeIntermediate(ctx, element)) return false;
  const std::u16string_view value = element.getAttribute(u"multi_occurrence").view();
  return value.empty() || value == u"NO" || value == u"no";
}

bool qrkHasChildFromOtherTab(QrkStruct* ctx, const DOM_Element& element, const tab* table,
                             int depth) {
  for (auto* child = element.node()->getFirstChild(); child; child = child->getNextSibling()) {
    if (child->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) continue;
    const DOM_Element item(element.owner(), asElement(child));
    if (depth == 0 && hasTag(child, u"element_node") &&
        qrkHasChildFromOtherTab(ctx, item, table, 1)) {
      return true;
    }
    const bool isValue = hasTag(child, u"attribute_node") || hasTag(child, u"text_node");
    if (isValue && comesFromOtherTable(ctx, item, *table)) return true;
  }
  return false;
}

ComparedTable qrkFindTabForIntermediate(QrkStruct* ctx, const DOM_Element& element, rel* relinfo) {
  ComparedTable compared;
  const xercesc::DOMNode* root = element.node();
  for (auto* at = nextInDocumentOrder(root, element.node()); at;
       at = nextInDocumentOrder(root, at)) {
    if (at->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) continue;
    const char16_t* ownName = asElement(at)->getAttribute(u"name");
    // A listed table of which nothing is mapped has no top element: no name is not its name.
    if (!*ownName) continue;
    char name[kFoldedNameSize];
    if (qrk_utoupper(ctx, ownName, name, sizeof name)) break;
    for (int i = 0; i < relinfo->num_of_tables; ++i) {
      compared.table = relinfo->tab[i];
      compared.isFound = std::strcmp(name, compared.table->top_element) == 0;
      if (compared.isFound) return compared;
    }
  }
  return compared;
}

TableName qrkGetTabFromRDB(QrkStruct* ctx, const char* itemName, const DOM_Element& rdb) {
  const DOM_Element element = rdb.firstDescendant(u"table");
  if (element.isNull()) throw Failure(Msg::QRKQ010E, itemName);
  const char16_t* name = boundedAttribute(element.element(), u"name", kQualifiedNameLimit);
  if (!name) throw Failure(Msg::QRKQ013E);
  TableName split{};
  const int rc = qrkParseWQualTbl(ctx, name, split.schema, sizeof split.schema, split.table,
                                  sizeof split.table);
  if (rc != 0) throw Failure::said(rc, "");
  return split;
}

std::string qrkGetColFromRDB(QrkStruct* ctx, const char* itemName, const DOM_Element& rdb) {
  const DOM_Element element = rdb.firstDescendant(u"column");
  if (element.isNull()) throw Failure(Msg::QRKQ011E, itemName);
  const char16_t* given = boundedAttribute(element.element(), u"name", kColumnNameLimit);
  const char16_t* name = given ? given : u"";
  char column[kColumnSize];
  if (qrkParseWCol(ctx, name, column, sizeof column)) {
    throw Failure(Msg::QRKQ033E, textForMessage(ctx, name));
  }
  return column;
}

std::string qrkGetEleNameOfTxt(QrkStruct* ctx, const DOM_Element& textNode) {
  const DOM_Element parent = textNode.getParentNode().asElement();
  if (parent.isNull()) throw Failure(Msg::QRKQ012E);
  std::string name;
  if (!toDatabase(ctx, parent.getAttribute(u"name").view(), name) || name.empty()) {
    throw Failure(Msg::QRKQ014E);
  }
  if (name.size() >= kXmlNameSize) throw exceeded("name " + name);
  return name;
}

}  // namespace orvxml
