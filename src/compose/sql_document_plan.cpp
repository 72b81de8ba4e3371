// Planning: what the walk learns of a node of the DAD when it first comes to it.
#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/element_tags.h"
#include "src/compose/modules.h"
#include "src/compose/sql_document.h"
#include "src/compose/sql_query_text.h"
#include "src/dad/dad_walk.h"
#include "src/outcome/edge.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

constexpr int kNameLimit = 2047;    // UTF-16 units
constexpr size_t kNameSize = 1024;  // bytes, terminator included
constexpr int kIndentStep = 2;

}  // namespace

int SqlDocument::readName(const DOM_Element& node, Msg whenMissing, std::string& name) {
  const char16_t* const written = boundedAttribute(node.element(), u"name", kNameLimit);
  if (!written) {
    return failed(call_.report, whenMissing);
  }
  if (!toDatabase(call_.report.ctx, written, name) || name.size() >= kNameSize ||
      !isXmlName(written)) {
    return failed(call_.report, Msg::QRKQ040E, textForMessage(call_.report.ctx, written));
  }
  return 0;
}

int SqlDocument::planElement(ElementPlan& element, const LevelQuery& rows) {
  QrkStruct* const ctx = call_.report.ctx;
  if (int rc = readName(element.node, Msg::QRKQ014E, element.name)) return rc;
  QRK_TRACE(ctx, "***--- Element name = '%s' ---***", element.name.c_str());
  bool isKey = false;
  std::string column;
  if (int rc = isKeyNode(element, &isKey, &column)) return rc;
  if (isKey) {
    QRK_TRACE(ctx, "This element == %s is a keynode start tag emit deffered", element.name.c_str());
    element.keyColumn = rows.findColumn(column);
  }
  listChildren(element);
  if (int rc = writeTags(element)) return rc;
  element.isPlanned = true;
  return 0;
}

void SqlDocument::listChildren(ElementPlan& element) {
  for (DOM_Node child = element.node.getFirstChild(); !child.isNull();
       child = child.getNextSibling()) {
    if (dadtree::hasTag(child.node(), u"attribute_node")) {
      element.attributes.emplace_back().node = child.asElement();
    } else if (dadtree::hasTag(child.node(), u"text_node")) {
      element.content.emplace_back().text.node = child.asElement();
    } else if (dadtree::hasTag(child.node(), u"element_node")) {
      ContentPlan& content = element.content.emplace_back();
      content.element = std::make_unique<ElementPlan>();
      content.element->node = child.asElement();
      content.element->indent = element.indent + kIndentStep;
    }
  }
}

int SqlDocument::writeTags(ElementPlan& element) {
  QrkStruct* const ctx = call_.report.ctx;
  const DOMString name = element.node.getAttribute(u"name");
  const bool endsWithElement = !element.content.empty() && element.content.back().element;
  element.startTag = startTagOf(ctx, name, element.indent);
  element.endTag = endTagOf(ctx, name, endsWithElement, element.indent);
  if (element.startTag.empty() || element.endTag.empty()) {
    failInternal(call_.report, kSqlMappingModule, __LINE__);
    return -1;
  }
  if (element.attributes.empty()) element.startTag += '>';
  return 0;
}

int SqlDocument::isKeyNode(const ElementPlan& element, bool* isKey, std::string* column) {
  QrkStruct* const ctx = call_.report.ctx;
  *isKey = false;
  if (qrkIsNodeIntermediate(ctx, element.node)) return 0;
  QRK_TRACE(ctx, "-->Element Name == %s", element.name.c_str());
  std::string found;
  const int rc = statusAtEdge(
      call_.report, [&] { found = qrkGetColFromRDB(ctx, element.name.c_str(), element.node); });
  QRK_TRACE(ctx, "Errcode from qrkGetColFromRdb  == %ld", static_cast<long>(rc));
  if (rc) return failWithoutColumn(element);
  *column = found;
  const int level = qrkLmGetLevel(ctx, call_.levelMap, found.c_str());
  QRK_TRACE(ctx, "Current LEvel == %d", level);
  if (level < 0) {
    return failed(call_.report, Msg::QRKQ004E, found);
  }
  std::vector<std::string> columns;
  if (int status = readLevel(call_.report, call_.levelMap, level, columns)) return status;
  QRK_TRACE(ctx, "Key Column at level %d == %s", level, columns.front().c_str());
  QRK_TRACE(ctx, "RDB Col name corres to element name %s is == %s", element.name.c_str(),
            found.c_str());
  *isKey = columns.front() == found;
  if (*isKey) QRK_TRACE(ctx, "returning true...");
  return 0;
}

// An element that is not intermediate has one of both below it.
int SqlDocument::failWithoutColumn(const ElementPlan& element) {
  if (!element.node.firstDescendant(u"attribute_node").isNull()) {
    fail(call_.report, Msg::QRKQ007E, element.name);
  } else {
    fail(call_.report, Msg::QRKQ008E);
  }
  return -1;
}

void SqlDocument::findColumn(ValuePlan& value, const char* column, const LevelQuery& rows) {
  value.column = rows.findColumn(column);
  value.columnName = column;
  value.isPlanned = true;
  QRK_TRACE(call_.report.ctx, "attrcolumn %s, sqlda_d: %d", column, value.column);
}

int SqlDocument::planAttribute(ElementPlan& element, ValuePlan& attribute, const LevelQuery& rows) {
  std::string name;
  if (int rc = readName(attribute.node, Msg::QRKQ006E, name)) return rc;
  QRK_TRACE(call_.report.ctx, ">>>>Attr name = '%s' <<<<<", name.c_str());
  if (!element.attributeNames.insert(name).second) {
    return failed(call_.report, Msg::QRKQ045E, element.name, name);
  }
  std::string column;
  const int rc = statusAtEdge(
      {}, [&] { column = qrkGetColFromRDB(call_.report.ctx, name.c_str(), attribute.node); });
  QRK_TRACE(call_.report.ctx, "call qrkGetColFromRDB() returns %d.", rc);
  if (rc) {
    return failed(call_.report, Msg::QRKQ007E, name);
  }
  attribute.beforeValue = " " + name + "=\"";
  findColumn(attribute, column.c_str(), rows);
  return 0;
}

int SqlDocument::planText(ValuePlan& text, const LevelQuery& rows) {
  std::string column;
  const int rc =
      statusAtEdge({}, [&] { column = qrkGetColFromRDB(call_.report.ctx, "", text.node); });
  QRK_TRACE(call_.report.ctx, "call qrkGetColFromRDB() returns %d.", rc);
  if (rc) {
    return failed(call_.report, Msg::QRKQ008E);
  }
  findColumn(text, column.c_str(), rows);
  return 0;
}

// The level of a child is that of its first column, if it has one.
int SqlDocument::planChild(const ElementPlan& element, ContentPlan& child, LevelQuery& rows) {
  QrkStruct* const ctx = call_.report.ctx;
  const DOM_Element& node = child.element->node;
  const std::u16string_view occurrence = node.getAttribute(u"multi_occurrence").view();
  const bool isSingle = occurrence.empty() || occurrence == u"NO";
  child.isLevelKnown = true;
  if (isSingle && qrkIsNodeIntermediate(ctx, node)) return 0;
  std::string column;
  if (atEdge({}, [&] { column = qrkGetColFromRDB(ctx, "", node); })) return 0;
  const int level = qrkLmGetLevel(ctx, call_.levelMap, column.c_str());
  if (level < 0) {
    return failed(call_.report, Msg::QRKQ004E, column);
  }
  if (level < rows.level()) {
    return failed(call_.report, Msg::QRKQ005E, element.name, column);
  }
  if (level == rows.level()) return 0;
  child.childQuery = rows.child(level);
  return child.childQuery ? 0 : -1;
}

}  // namespace orvxml
