#include "src/compose/rdb_plan.h"

#include "orvxml/code_pages.h"
#include "src/compose/document_text.h"
#include "src/compose/element_tags.h"
#include "src/dad/dad_walk.h"
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

void RdbPlan::meet(DadNode* parent, DadNode& node) {
  if (node.kind != DadNodeKind::Text) readName(node);
  if (node.kind == DadNodeKind::Attribute &&
      !parent->element->attributeNames.insert(node.name).second) {
    throw Failure(Msg::QRKQ045E, parent->name, node.name);
  }
  node.tops = queries_.withTopElement(node.name.c_str());
  node.members = queries_.containing(ctx_, node.name.c_str());
  node.isIntermediate = qrkIsNodeIntermediate(ctx_, handle(node));
  node.isTrivial = qrkIsTrivial(ctx_, handle(node));
  if (node.kind == DadNodeKind::Attribute) node.markup = " " + node.name + "=\"";
  node.isMet = true;
}

void RdbPlan::readName(DadNode& node) {
  const char16_t* name = node.dad->getAttribute(u"name");
  if (!*name) {
    throw Failure(node.kind == DadNodeKind::Element ? Msg::QRKQ014E : Msg::QRKQ006E);
  }
  if (!isXmlName(name) || !toDatabase(ctx_, name, node.name)) {
    throw Failure(Msg::QRKQ040E, textForMessage(ctx_, name));
  }
}

void RdbPlan::open(DadNode& node, int depth) {
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
  std::string startTag = startTagOf(ctx_, name, indent);
  std::string endTag = endTagOf(ctx_, name, endsWithElement, indent);
  if (startTag.empty() || endTag.empty()) throw Failure(Msg::QRKQ002E);
  element->closesStartTag = hasAttributes && hasContent;
  if (hasContent && !hasAttributes) startTag += '>';
  if (!hasContent) endTag.insert(0, ">");
  element->startTag = std::move(startTag);
  element->endTag = std::move(endTag);
  node.element = std::move(element);
}

void RdbPlan::findGroup(DadNode& node) {
  if (node.group) return;
  const ComparedTable last = qrkFindTabForIntermediate(ctx_, handle(node), &queries_.model());
  if (!last.isFound) throw Failure(Msg::QRKQ037E, node.name);
  node.group = &queries_.of(last.table);
}

void RdbPlan::findSource(DadNode& node) {
  node.item = node.kind == DadNodeKind::Text ? qrkGetEleNameOfTxt(ctx_, handle(node)) : node.name;
  if (columnNode(node).isNull()) throw Failure(Msg::QRKQ007E, node.item);
  const TableName name = tableNameOf(node);
  node.source = &queries_.of(&qrkFindTabByName(ctx_, &queries_.model(), name.schema, name.table));
}

TableName RdbPlan::tableNameOf(const DadNode& node) const {
  try {
    return qrkGetTabFromRDB(ctx_, node.item.c_str(), columnNode(node));
  } catch (const Failure& failure) {
    // A name that the scanner refuses has no message of its own.
    if (failure.is(Msg{})) throw Failure(Msg::QRKQ013E);
    throw;
  }
}

// A value is known by the name of its item: the table's first column of that name.
void RdbPlan::findColumn(DadNode& node) {
  qrkGetColFromRDB(ctx_, node.item.c_str(), columnNode(node));
  const tab& table = node.source->table();
  const int mapped = columnNamed(table, node.item);
  if (mapped < 0) throw Failure(Msg::QRKQ012E);
  node.value.emplace(table, mapped);
}

}  // namespace orvxml
