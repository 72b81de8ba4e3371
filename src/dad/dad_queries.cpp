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
  char schema[kSchemaSize];
  char name[kTableSize];
  if (qrkGetTabFromRDB(ctx, "", rdb, schema, name, nullptr, nullptr)) return false;
  return std::strcmp(schema, table.schema) != 0 || std::strcmp(name, table.name) != 0;
}

}  // namespace

int qrkIsNodeMultiOccur(QrkStruct* ctx, const DOM_Element& element) {
  const std::u16string_view value = element.getAttribute(u"multi_occurrence").view();
  if (value.empty()) return 0;
  char folded[kOccurrenceLimit + 1];
  std::string no;
  const bool isNo = qrk_utoupper(ctx, value, folded, sizeof folded) == 0 &&
                    toDatabase(ctx, u"NO", no) && no == folded;
  return isNo ? 0 : 1;
}

int qrkIsNodeIntermediate(QrkStruct* /*ctx*/, const DOM_Node& node) {
  return node.node() && hasTag(node.node(), u"element_node") && isUnmappedGroup(node.node());
}

int qrkIsTrivial(QrkStruct* ctx, const DOM_Element& element) {
  if (!qrkIsNodeIntermediate(ctx, element)) return 0;
  const std::u16string_view value = element.getAttribute(u"multi_occurrence").view();
  return value.empty() || value == u"NO" || value == u"no";
}

int qrkHasChildFromOtherTab(QrkStruct* ctx, const DOM_Element& element, const tab* table,
                            int depth) {
  for (auto* child = element.node()->getFirstChild(); child; child = child->getNextSibling()) {
    if (child->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) continue;
    const DOM_Element item(element.owner(), asElement(child));
    if (depth == 0 && hasTag(child, u"element_node") &&
        qrkHasChildFromOtherTab(ctx, item, table, 1)) {
      return 1;
    }
    const bool isValue = hasTag(child, u"attribute_node") || hasTag(child, u"text_node");
    if (isValue && comesFromOtherTable(ctx, item, *table)) return 1;
  }
  return 0;
}

int qrkFindTabForIntermediate(QrkStruct* ctx, const DOM_Element& element, const char* itemName,
                              rel* relinfo, tab** found, const Report& report) {
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
      *found = relinfo->tab[i];
      if (std::strcmp(name, (*found)->top_element) == 0) return 0;
    }
  }
  return fail(report, Msg::QRKQ037E, itemName);
}

int qrkGetTabFromRDB(QrkStruct* ctx, const char* itemName, const DOM_Element& rdb, char* schema,
                     char* table, int* errCode, char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  schema[0] = table[0] = 0;
  const DOM_Element element = rdb.firstDescendant(u"table");
  if (element.isNull()) return failed(report, Msg::QRKQ010E, itemName);
  const char16_t* name = boundedAttribute(element.element(), u"name", kQualifiedNameLimit);
  if (!name) fail(report, Msg::QRKQ013E);
  const int rc = qrkParseWQualTbl(ctx, name ? name : u"", schema, kSchemaSize, table, kTableSize);
  // Without a name the code is that of the message, and the result the scanner's all the same.
  if (rc && name && errCode) *errCode = rc;
  return rc;
}

int qrkGetColFromRDB(QrkStruct* ctx, const char* itemName, const DOM_Element& rdb, char* column,
                     int* errCode, char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  column[0] = 0;
  const DOM_Element element = rdb.firstDescendant(u"column");
  if (element.isNull()) return failed(report, Msg::QRKQ011E, itemName);
  const char16_t* name = boundedAttribute(element.element(), u"name", kColumnNameLimit);
  if (!name) fail(report, Msg::QRKQ013E);
  if (qrkParseWCol(ctx, name ? name : u"", column, kColumnSize)) {
    return failed(report, Msg::QRKQ033E, textForMessage(ctx, name ? name : u""));
  }
  return 0;
}

int qrkGetEleNameOfTxt(QrkStruct* ctx, const DOM_Element& textNode, char* name, int* errCode,
                       char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  name[0] = 0;
  const DOM_Element parent = textNode.getParentNode().asElement();
  if (parent.isNull()) return failed(report, Msg::QRKQ012E);
  std::string text;
  if (!toDatabase(ctx, parent.getAttribute(u"name").view(), text) || text.empty()) {
    return failed(report, Msg::QRKQ014E);
  }
  if (text.size() >= kXmlNameSize) return failLimit(report, "name " + text, __LINE__);
  std::strcpy(name, text.c_str());
  return 0;
}

}  // namespace orvxml
