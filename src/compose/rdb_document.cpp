#include "src/compose/rdb_document.h"

#include "src/dad/mapping_notices.h"
#include "src/server_access/locators.h"

namespace orvxml {

int RdbDocument::write(DadNode& root, TableQuery* table) {
  isPlaceTold_ = false;
  if (!root.isMet && plan_.meet(nullptr, root)) return placed(root, -1);
  if (qrkProcElementNode(root, table, 1)) return placed(root, -1);
  return queries_.closeAttributeQueries();
}

// Passes the outcome of a node on; of a failure the innermost node is told.
int RdbDocument::placed(const DadNode& node, int rc) {
  if (rc == 0 || isPlaceTold_) return rc;
  isPlaceTold_ = true;
  tellPlace(node.dad, queries_.rowsAtHand(report_.ctx));
  return rc;
}

// `current`: the table whose row is being written. A child that starts a query changes it for the
// children behind it as well. Recursion is bounded by the depth of the DAD.
int RdbDocument::qrkProcElementNode(DadNode& node, TableQuery* current, int depth) {
  if (!node.element && plan_.open(node, depth)) return -1;
  DadElement& element = *node.element;
  if (text_.append(element.startTag)) return -1;
  for (size_t i = 0; i < element.children.size(); ++i) {
    if (i == element.attributes && element.closesStartTag && text_.append(">")) return -1;
    if (writeChild(node, element.children[i], current, depth)) return -1;
  }
  return text_.append(element.endTag);
}

int RdbDocument::writeChild(DadNode& parent, DadNode& child, TableQuery*& current, int depth) {
  if (!child.isMet && plan_.meet(&parent, child)) return placed(child, -1);
  return placed(child, writeMet(child, current, depth));
}

int RdbDocument::writeMet(DadNode& child, TableQuery*& current, int depth) {
  bool isStarted = false;
  const bool isSettled = current && current == child.settledFor;
  if (!isSettled && startQuery(child, current, depth, isStarted)) return -1;
  if (child.kind != DadNodeKind::Element) return qrkProcAttTextNode(child);
  return isStarted ? writeRows(child, *current, depth)
                   : qrkProcElementNode(child, current, depth + 1);
}

// Decides which table the child's values come from and whether its query has to run for that; if
// so, it is at its first row afterwards.
int RdbDocument::startQuery(DadNode& child, TableQuery*& current, int depth, bool& isStarted) {
  const bool isInCurrent = current && (child.members & current->self()) != 0;
  const bool mayBeTop = child.tops != 0 && child.kind != DadNodeKind::Text && !isInCurrent;
  TableQuery* top = mayBeTop ? queries_.firstClosed(child.tops) : nullptr;
  const bool isForeignAttribute = child.kind == DadNodeKind::Attribute && !isInCurrent;
  if (!top && (current || child.isTrivial) && !isForeignAttribute) {
    if (!mayBeTop) child.settledFor = current;
    return 0;
  }

  if (top) {
    current = top;
  } else if (chooseTable(child, current)) {
    return -1;
  }
  // An attribute of an enclosing element's table comes from the row that is there already.
  if (current->isWalked()) return 0;
  isStarted = true;
  return current->open(depth) || current->fetch() ? -1 : 0;
}

// The table of a child that starts a query and is no top element.
int RdbDocument::chooseTable(DadNode& child, TableQuery*& current) {
  if (child.members != 0) {
    current = &queries_.first(child.members);
    return 0;
  }
  if (!current && child.isIntermediate) {
    if (plan_.findGroup(child)) return -1;
    current = child.group;
  }
  return current ? 0 : report_.internal(__LINE__);
}

int RdbDocument::writeRows(DadNode& child, TableQuery& query, int depth) {
  query.setWalked(true);
  while (query.hasRow()) {
    if (qrkProcElementNode(child, &query, depth + 1) || query.fetch()) return -1;
  }
  query.setWalked(false);
  return query.close();
}

int RdbDocument::qrkProcAttTextNode(DadNode& node) {
  if (!node.source && plan_.findSource(node)) return -1;
  if (!node.source->isOpen()) {
    return report_.failed(Msg::QRKQ062E, node.source->table().name, node.item);
  }
  if (!node.value && plan_.findColumn(node)) return -1;
  if (node.value->isNull()) return 0;
  return node.kind == DadNodeKind::Attribute ? qrkWriteXMLAttribute(node.markup, *node.value)
                                             : qrkWriteXMLText(*node.value);
}

// An attribute without a value is left out.
int RdbDocument::qrkWriteXMLAttribute(std::string_view markup, const ColumnValue& value) {
  bool isEmpty = false;
  if (isEmptyValue(value, isEmpty)) return -1;
  if (isEmpty) return 0;
  if (text_.append(markup) || qrkWriteXMLText(value)) return -1;
  return text_.append("\"");
}

int RdbDocument::qrkWriteXMLText(const ColumnValue& value) {
  return value.isLargeObject() ? text_.appendLargeObject(value.locator(), value.columnName())
                               : text_.appendValue(value.text(), value.columnName());
}

int RdbDocument::isEmptyValue(const ColumnValue& value, bool& isEmpty) {
  if (!value.isLargeObject()) {
    isEmpty = value.text().empty();
    return 0;
  }
  int32_t length = 0;
  if (qrkGetLocatorLength(report_.ctx, value.locator(), &length, report_.errCode, report_.msg)) {
    return -1;
  }
  isEmpty = length == 0;
  return 0;
}

}  // namespace orvxml
