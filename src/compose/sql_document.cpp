// Writing: what happens for every object and row.
#include "src/compose/sql_document.h"

#include "orvxml/trace.h"
#include "src/compose/xml_writer.h"
#include "src/dad/mapping_notices.h"

namespace orvxml {

SqlDocument::SqlDocument(const SqlCall& call, const DOM_Element& dadRoot, LevelQuery& top)
    : call_(call),
      dadRoot_(dadRoot),
      top_(top),
      text_(call.report.ctx, call.report.errCode, call.report.msg) {}

int SqlDocument::qrkGenXMLDoc(QrkOutbuf* document, uint32_t sizeLimit) {
  isPlaceTold_ = false;
  if (!hasHeader_) {
    if (int rc = prepareHeader()) return rc;
  }
  if (int rc = text_.begin(document, header_, sizeLimit)) return rc;
  int rc = qrkGenXMLElement(root_, top_);
  QRK_TRACE(call_.report.ctx, "call qrkGenXMLElement() returns %d.", rc);
  if (rc == 0) rc = text_.flush();
  return rc;
}

int SqlDocument::prepareHeader() {
  const DOM_Element rootNode = dadRoot_.firstDescendant(u"root_node");
  if (!rootNode.isNull()) root_.node = rootNode.firstDescendant(u"element_node");
  char header[kHeaderSize];
  if (int rc = checkedDocHeader(call_.report.ctx, dadRoot_, root_.node, header,
                                call_.report.errCode, call_.report.msg)) {
    return rc;
  }
  if (root_.node.isNull()) {
    return failed(call_.report, Msg::QRKQ000E, rootNode.isNull() ? "root_node" : "element_node");
  }
  header_ = header;
  hasHeader_ = true;
  return 0;
}

int SqlDocument::qrkGenXMLElement(ElementPlan& element, LevelQuery& rows) {
  const int rc = placed(element.node, rows, writeElement(element, rows));
  QRK_TRACE(call_.report.ctx, "Exits, rc=%d", rc);
  return rc;
}

// Passes the outcome of a node on; of a failure the innermost node is told.
int SqlDocument::placed(const DOM_Element& node, const LevelQuery& rows, int rc) {
  if (rc == 0 || rc == kKeyIsNull || isPlaceTold_) return rc;
  isPlaceTold_ = true;
  const std::string row = rows.rowName();
  tellPlace(node.node(), row.empty() ? row : "in the row " + row);
  return rc;
}

int SqlDocument::writeElement(ElementPlan& element, LevelQuery& rows) {
  if (!element.isPlanned) {
    if (int rc = planElement(element, rows)) return rc;
  }
  // Decided before anything is written, so that no half element can stand in the document.
  if (element.keyColumn >= 0) {
    if (rows.column(element.keyColumn).isNull()) return kKeyIsNull;
    QRK_TRACE(call_.report.ctx, "Key node.. emitting start tag now");
  }
  if (int rc = text_.append(element.startTag)) return rc;
  for (ValuePlan& attribute : element.attributes) {
    if (int rc = qrkGenXMLAttribute(element, attribute, rows)) {
      return placed(attribute.node, rows, rc);
    }
  }
  if (!element.attributes.empty()) {
    if (int rc = text_.append(">")) return rc;
  }
  if (int rc = writeContent(element, rows)) return rc;
  return text_.append(element.endTag);
}

int SqlDocument::qrkGenXMLAttribute(ElementPlan& element, ValuePlan& attribute,
                                    const LevelQuery& rows) {
  if (!attribute.isPlanned) {
    if (int rc = planAttribute(element, attribute, rows)) return rc;
  }
  if (attribute.column < 0) return 0;
  const ResultColumn& column = rows.column(attribute.column);
  if (column.isNull()) return 0;
  if (int rc = text_.append(attribute.beforeValue)) return rc;
  if (int rc = writeValue(attribute, column)) return rc;
  return text_.append("\"");
}

int SqlDocument::qrkGenXMLText(ValuePlan& text, const LevelQuery& rows) {
  if (!text.isPlanned) {
    if (int rc = planText(text, rows)) return rc;
  }
  if (text.column < 0) return 0;
  const ResultColumn& column = rows.column(text.column);
  return column.isNull() ? 0 : writeValue(text, column);
}

int SqlDocument::writeValue(const ValuePlan& value, const ResultColumn& column) {
  if (column.isLargeObject()) return text_.appendLargeObject(column.locator, value.columnName);
  return text_.appendValue(column.text(), value.columnName);
}

int SqlDocument::writeContent(ElementPlan& element, LevelQuery& rows) {
  for (ContentPlan& child : element.content) {
    if (child.element) {
      if (int rc = writeChild(element, child, rows)) return placed(child.element->node, rows, rc);
    } else if (int rc = qrkGenXMLText(child.text, rows)) {
      return placed(child.text.node, rows, rc);
    }
  }
  return 0;
}

int SqlDocument::writeChild(ElementPlan& element, ContentPlan& child, LevelQuery& rows) {
  if (!child.isLevelKnown) {
    if (int rc = planChild(element, child, rows)) return rc;
  }
  if (child.childQuery) return writeChildRows(*child.element, *child.childQuery);
  const int rc = qrkGenXMLElement(*child.element, rows);
  return rc == kKeyIsNull ? 0 : rc;
}

int SqlDocument::writeChildRows(ElementPlan& child, LevelQuery& childRows) {
  if (int rc = childRows.run()) return rc;
  int rc = childRows.qrkFetchNextObj();
  for (; rc == 0; rc = childRows.qrkFetchNextObj()) {
    const int written = qrkGenXMLElement(child, childRows);
    if (written && written != kKeyIsNull) return written;
  }
  if (rc != SQL_NO_DATA) {
    QRK_TRACE(call_.report.ctx, "Abnormal termination from SQLFetch(childhstmt). rc=%d", rc);
    return rc;
  }
  return childRows.endRows();
}

}  // namespace orvxml
