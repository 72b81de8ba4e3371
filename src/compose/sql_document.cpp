// Writing: what happens for every object and row.
#include "src/compose/sql_document.h"

#include "orvxml/trace.h"
#include "src/dad/mapping_notices.h"

namespace orvxml {

namespace {

constexpr int kKeyIsNull = 525;  // in the trace: the element is left out

// Runs `work` on a node; of a failure the innermost node is told.
template <class Work>
auto placedInRow(const DOM_Element& node, const LevelQuery& rows, Work&& work) {
  return placed(node.node(), work, [&] {
    const std::string row = rows.rowName();
    return row.empty() ? row : "in the row " + row;
  });
}

}  // namespace

SqlDocument::SqlDocument(const SqlCall& call, const DOM_Element& dadRoot, LevelQuery& top)
    : call_(call), dadRoot_(dadRoot), top_(top), text_(call.ctx) {}

bool SqlDocument::qrkGenXMLDoc(QrkOutbuf* document, uint32_t sizeLimit) {
  if (!hasHeader_) prepareHeader();
  text_.begin(document, header_, sizeLimit);
  const bool isWritten = qrkGenXMLElement(root_, top_);
  QRK_TRACE(call_.ctx, "call qrkGenXMLElement() returns %d.", isWritten ? 0 : kKeyIsNull);
  if (isWritten) text_.flush();
  return isWritten;
}

void SqlDocument::prepareHeader() {
  const DOM_Element rootNode = dadRoot_.firstDescendant(u"root_node");
  if (!rootNode.isNull()) root_.node = rootNode.firstDescendant(u"element_node");
  header_ = checkedDocHeader(call_.ctx, dadRoot_, root_.node);
  if (root_.node.isNull()) {
    throw Failure(Msg::QRKQ000E, rootNode.isNull() ? "root_node" : "element_node");
  }
  hasHeader_ = true;
}

// False: the element is left out because its key is null.
bool SqlDocument::qrkGenXMLElement(ElementPlan& element, LevelQuery& rows) {
  const bool isWritten =
      placedInRow(element.node, rows, [&] { return writeElement(element, rows); });
  QRK_TRACE(call_.ctx, "Exits, rc=%d", isWritten ? 0 : kKeyIsNull);
  return isWritten;
}

bool SqlDocument::writeElement(ElementPlan& element, LevelQuery& rows) {
  if (!element.isPlanned) planElement(element, rows);
  // Decided before anything is written, so that no half element can stand in the document.
  if (element.keyColumn >= 0) {
    if (rows.column(element.keyColumn).isNull()) return false;
    QRK_TRACE(call_.ctx, "Key node.. emitting start tag now");
  }
  text_.append(element.startTag);
  for (ValuePlan& attribute : element.attributes) {
    placedInRow(attribute.node, rows, [&] { qrkGenXMLAttribute(element, attribute, rows); });
  }
  if (!element.attributes.empty()) text_.append(">");
  writeContent(element, rows);
  text_.append(element.endTag);
  return true;
}

void SqlDocument::qrkGenXMLAttribute(ElementPlan& element, ValuePlan& attribute,
                                     const LevelQuery& rows) {
  if (!attribute.isPlanned) planAttribute(element, attribute, rows);
  if (attribute.column < 0) return;
  const ResultColumn& column = rows.column(attribute.column);
  if (column.isNull()) return;
  text_.append(attribute.beforeValue);
  writeValue(attribute, column);
  text_.append("\"");
}

void SqlDocument::qrkGenXMLText(ValuePlan& text, const LevelQuery& rows) {
  if (!text.isPlanned) planText(text, rows);
  if (text.column < 0) return;
  const ResultColumn& column = rows.column(text.column);
  if (!column.isNull()) writeValue(text, column);
}

void SqlDocument::writeValue(const ValuePlan& value, const ResultColumn& column) {
  if (column.isLargeObject()) return text_.appendLargeObject(column.locator, value.columnName);
  text_.appendValue(column.text(), value.columnName);
}

void SqlDocument::writeContent(ElementPlan& element, LevelQuery& rows) {
  for (ContentPlan& child : element.content) {
    if (child.element) {
      placedInRow(child.element->node, rows, [&] { writeChild(element, child, rows); });
    } else {
      placedInRow(child.text.node, rows, [&] { qrkGenXMLText(child.text, rows); });
    }
  }
}

void SqlDocument::writeChild(ElementPlan& element, ContentPlan& child, LevelQuery& rows) {
  if (!child.isLevelKnown) planChild(element, child, rows);
  if (child.childQuery) {
    writeChildRows(*child.element, *child.childQuery);
  } else {
    qrkGenXMLElement(*child.element, rows);
  }
}

void SqlDocument::writeChildRows(ElementPlan& child, LevelQuery& childRows) {
  childRows.run();
  while (childRows.qrkFetchNextObj()) qrkGenXMLElement(child, childRows);
  childRows.endRows();
}

}  // namespace orvxml
