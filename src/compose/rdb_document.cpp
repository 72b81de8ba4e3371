#include "src/compose/rdb_document.h"

#include "src/dad/mapping_notices.h"
#include "src/server_access/locators.h"

namespace orvxml {

void RdbDocument::write(DadNode& root, TableQuery* table) {
  const auto writeRoot = [&] {
    if (!root.isMet) plan_.meet(nullptr, root);
    qrkProcElementNode(root, table, 1);
  };
  placed(root.dad, writeRoot, [&] { return queries_.rowsAtHand(ctx_); });
  queries_.closeAttributeQueries();
}

// Recursion is bounded by the depth of the DAD.
void RdbDocument::qrkProcElementNode(DadNode& node, TableQuery* current, int depth) {
  if (!node.element) plan_.open(node, depth);
  DadElement& element = *node.element;
  text_.append(element.startTag);
  for (size_t i = 0; i < element.children.size(); ++i) {
    DadNode& child = element.children[i];
    if (i == element.attributes && element.closesStartTag) text_.append(">");
    const auto writeThis = [&] { return writeChild(node, child, current, depth); };
    current = placed(child.dad, writeThis, [&] { return queries_.rowsAtHand(ctx_); });
  }
  text_.append(element.endTag);
}

// Returns the current table of the next child.
TableQuery* RdbDocument::writeChild(DadNode& parent, DadNode& child, TableQuery* current,
                                    int depth) {
  if (!child.isMet) plan_.meet(&parent, child);
  const bool isSettled = current && current == child.settledFor;
  const Source source = isSettled ? Source{current} : sourceOf(child, current, depth);
  if (child.kind != DadNodeKind::Element) {
    qrkProcAttTextNode(child);
  } else if (source.isStarted) {
    writeRows(child, *source.table, depth);
  } else {
    qrkProcElementNode(child, source.table, depth + 1);
  }
  return source.table;
}

// Decides which table the child's values come from and whether its query has to run for that.
RdbDocument::Source RdbDocument::sourceOf(DadNode& child, TableQuery* current, int depth) {
  const bool isInCurrent = current && (child.members & current->self()) != 0;
  const bool mayBeTop = child.tops != 0 && child.kind != DadNodeKind::Text && !isInCurrent;
  TableQuery* const top = mayBeTop ? queries_.firstClosed(child.tops) : nullptr;
  const bool isForeignAttribute = child.kind == DadNodeKind::Attribute && !isInCurrent;
  if (!top && (current || child.isTrivial) && !isForeignAttribute) {
    if (!mayBeTop) child.settledFor = current;
    return {current};
  }

  TableQuery& table = top ? *top : chooseTable(child, current);
  // An attribute of an enclosing element's table comes from the row that is there already.
  if (table.isWalked()) return {&table};
  table.open(depth);
  table.fetch();
  return {&table, true};
}

// The table of a child that starts a query and is no top element.
TableQuery& RdbDocument::chooseTable(DadNode& child, TableQuery* current) {
  if (child.members != 0) return queries_.first(child.members);
  if (!current && child.isIntermediate) {
    plan_.findGroup(child);
    current = child.group;
  }
  if (!current) throw Failure::internal();
  return *current;
}

void RdbDocument::writeRows(DadNode& child, TableQuery& query, int depth) {
  query.setWalked(true);
  for (; query.hasRow(); query.fetch()) qrkProcElementNode(child, &query, depth + 1);
  query.setWalked(false);
  query.close();
}

void RdbDocument::qrkProcAttTextNode(DadNode& node) {
  if (!node.source) plan_.findSource(node);
  if (!node.source->isOpen()) {
    throw Failure(Msg::QRKQ062E, node.source->table().name, node.item);
  }
  if (!node.value) plan_.findColumn(node);
  if (node.value->isNull()) return;
  if (node.kind == DadNodeKind::Attribute) {
    qrkWriteXMLAttribute(node.markup, *node.value);
  } else {
    qrkWriteXMLText(*node.value);
  }
}

// An attribute without a value is left out.
void RdbDocument::qrkWriteXMLAttribute(std::string_view markup, const ColumnValue& value) {
  if (isEmpty(value)) return;
  text_.append(markup);
  qrkWriteXMLText(value);
  text_.append("\"");
}

void RdbDocument::qrkWriteXMLText(const ColumnValue& value) {
  if (value.isLargeObject()) {
    text_.appendLargeObject(value.locator(), value.columnName());
  } else {
    text_.appendValue(value.text(), value.columnName());
  }
}

bool RdbDocument::isEmpty(const ColumnValue& value) const {
  return value.isLargeObject() ? qrkGetLocatorLength(ctx_, value.locator()) == 0
                               : value.text().empty();
}

}  // namespace orvxml
