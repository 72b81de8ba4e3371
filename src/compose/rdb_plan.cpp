#include "src/compose/rdb_plan.h"

#include "orvxml/code_pages.h"
#include "src/compose/document_text.h"
#include "src/compose/element_tags.h"
#include "src/dad/dad_walk.h"
#include "src/outcome/edge.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

using dadtree::asElement;
using dadtree::hasTag;

namespace {

void addChildren(const DadNode& node, DadNodeKind kind, std::u16string_view tag,
                 std::vector<DadNode>& children) {
  for (auto* child = node.dad->getFirstChild(); child; child = child->getNextSibling()) {
    if (hasTag(child, tag)) children.emplace_back(kind, asElement(child));
  }
}

void addContent(const DadNode& node, std::vector<DadNode>& children) {
  for (auto* child = node.dad->getFirstChild(); child; child = child->getNextSibling()) {
    if (hasTag(child, u"element_node")) {
      children.emplace_back(DadNodeKind::Element, asElement(child));
    } else if (hasTag(child, u"text_node")) {
      children.emplace_back(DadNodeKind::Text, asElement(child));
    }
  }
}

}  // namespace

int RdbPlan::meet(DadNode* parent, DadNode& node) {
  if (node.kind != DadNodeKind::Text && readName(node)) return -1;
  if (node.kind == DadNodeKind::Attribute && checkAttributeName(*parent, node)) return -1;
  node.tops = queries_.withTopElement(node.name.c_str());
  node.members = queries_.containing(report_.ctx, node.name.c_str());
  node.isIntermediate = qrkIsNodeIntermediate(report_.ctx, handle(node)) != 0;
  node.isTrivial = qrkIsTrivial(report_.ctx, handle(node)) != 0;
  if (node.kind == DadNodeKind::Attribute) node.markup = " " + node.name + "=\"";
  node.isMet = true;
  return 0;
}

int RdbPlan::readName(DadNode& node) {
  const char16_t* name = node.dad->getAttribute(u"name");
  if (!*name) {
    const bool isElement = node.kind == DadNodeKind::Element;
    return report_.failed(isElement ? Msg::QRKQ014E : Msg::QRKQ006E);
  }
  const bool isWritable = isXmlName(name) && toDatabase(report_.ctx, name, node.name);
  if (isWritable) return 0;
  return report_.failed(Msg::QRKQ040E, textForMessage(report_.ctx, name));
}

int RdbPlan::checkAttributeName(DadNode& parent, const DadNode& node) {
  if (parent.element->attributeNames.insert(node.name).second) return 0;
  return report_.failed(Msg::QRKQ045E, parent.name, node.name);
}

int RdbPlan::open(DadNode& node, int depth) {
  auto element = std::make_unique<DadElement>();
  std::vector<DadNode>& children = element->children;
  addChildren(node, DadNodeKind::Attribute, u"attribute_node", children);
  element->attributes = children.size();
  addContent(node, children);

  const bool hasAttributes = element->attributes > 0;
  const bool hasContent = children.size() > element->attributes;
  const bool endsWithElement = hasContent && children.back().kind == DadNodeKind::Element;
  const DOMString name(node.dad->getAttribute(u"name"));
  const int indent = 2 * (depth - 1);
  std::string startTag = startTagOf(report_.ctx, name, indent);
  std::string endTag = endTagOf(report_.ctx, name, endsWithElement, indent);
  if (startTag.empty() || endTag.empty()) return report_.failed(Msg::QRKQ002E);
  element->closesStartTag = hasAttributes && hasContent;
  if (hasContent && !hasAttributes) startTag += '>';
  if (!hasContent) endTag.insert(0, ">");
  element->startTag = std::move(startTag);
  element->endTag = std::move(endTag);
  node.element = std::move(element);
  return 0;
}

int RdbPlan::findGroup(DadNode& node) {
  if (node.group) return 0;
  const ComparedTable last =
      qrkFindTabForIntermediate(report_.ctx, handle(node), &queries_.model());
  if (!last.isFound) return report_.failed(Msg::QRKQ037E, node.name);
  node.group = &queries_.of(last.table);
  return 0;
}

int RdbPlan::findSource(DadNode& node) {
  node.item = node.name;
  if (node.kind == DadNodeKind::Text) {
    if (atEdge(report_.report(),
               [&] { node.item = qrkGetEleNameOfTxt(report_.ctx, handle(node)); })) {
      return -1;
    }
  }
  const DOM_Element rdb = columnNode(node);
  if (rdb.isNull()) return report_.failed(Msg::QRKQ007E, node.item);
  TableName name{};
  if (atEdge(report_.report(),
             [&] { name = qrkGetTabFromRDB(report_.ctx, node.item.c_str(), rdb); })) {
    if (*report_.msg == 0) report_.failed(Msg::QRKQ013E);
    return -1;
  }
  return statusAtEdge(report_.report(), [&] {
    node.source =
        &queries_.of(&qrkFindTabByName(report_.ctx, &queries_.model(), name.schema, name.table));
  });
}

// A value is known by the name of its item: the table's first column of that name.
int RdbPlan::findColumn(DadNode& node) {
  if (atEdge(report_.report(),
             [&] { qrkGetColFromRDB(report_.ctx, node.item.c_str(), columnNode(node)); })) {
    return -1;
  }
  const tab& table = node.source->table();
  const int mapped = columnNamed(table, node.item);
  if (mapped < 0) return report_.failed(Msg::QRKQ012E);
  node.value.emplace(table, mapped);
  return 0;
}

}  // namespace orvxml
