// Planning: what the walk learns of a node of the DAD when it first comes to it.
#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/compose/element_tags.h"
#include "src/compose/sql_document.h"
#include "src/compose/sql_query_text.h"
#include "src/dad/dad_walk.h"
#include "src/outcome/failure.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

constexpr int kNameLimit = 2047;    // UTF-16 units
constexpr size_t kNameSize = 1024;  // bytes, terminator included
constexpr int kIndentStep = 2;

// The first column below the node; nothing when there is none that can be read, of which the caller
// knows better what to say.
std::optional<std::string> columnOf(QrkStruct* ctx, const std::string& name,
                                    const DOM_Element& node) {
  std::optional<std::string> column;
  try {
    column = qrkGetColFromRDB(ctx, name.c_str(), node);
  } catch (const Failure&) {
    column.reset();
  }
  QRK_TRACE(ctx, "call qrkGetColFromRDB() returns %d.", column ? 0 : -1);
  return column;
}

// An element that is not intermediate has one of both below it.
Failure withoutColumn(const ElementPlan& element) {
  const bool hasAttribute = !element.node.firstDescendant(u"attribute_node").isNull();
  return hasAttribute ? Failure(Msg::QRKQ007E, element.name) : Failure(Msg::QRKQ008E);
}

}  // namespace

std::string SqlDocument::readName(const DOM_Element& node, Msg whenMissing) {
  const char16_t* const written = boundedAttribute(node.element(), u"name", kNameLimit);
  if (!written) throw Failure(whenMissing);
  std::string name;
  if (!toDatabase(call_.ctx, written, name) || name.size() >= kNameSize || !isXmlName(written)) {
    throw Failure(Msg::QRKQ040E, textForMessage(call_.ctx, written));
  }
  return name;
}

void SqlDocument::planElement(ElementPlan& element, const LevelQuery& rows) {
  element.name = readName(element.node, Msg::QRKQ014E);
  QRK_TRACE(call_.ctx, "***--- Element name = '%s' ---***", element.name.c_str());
  if (const auto key = keyColumnOf(element)) {
    QRK_TRACE(call_.ctx, "This element == %s is a keynode start tag emit deffered",
              element.name.c_str());
    element.keyColumn = rows.findColumn(*key);
  }
  listChildren(element);
  writeTags(element);
  element.isPlanned = true;
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

void SqlDocument::writeTags(ElementPlan& element) {
  const DOMString name = element.node.getAttribute(u"name");
  const bool endsWithElement = !element.content.empty() && element.content.back().element;
  element.startTag = startTagOf(call_.ctx, name, element.indent);
  element.endTag = endTagOf(call_.ctx, name, endsWithElement, element.indent);
  if (element.startTag.empty() || element.endTag.empty()) throw Failure::internal();
  if (element.attributes.empty()) element.startTag += '>';
}

// The column of an element that is a key node.
std::optional<std::string> SqlDocument::keyColumnOf(const ElementPlan& element) {
  QrkStruct* const ctx = call_.ctx;
  if (qrkIsNodeIntermediate(ctx, element.node)) return std::nullopt;
  QRK_TRACE(ctx, "-->Element Name == %s", element.name.c_str());
  std::optional<std::string> found = columnOf(ctx, element.name, element.node);
  if (!found) throw withoutColumn(element);
  const int level = qrkLmGetLevel(call_.levelMap, found->c_str());
  QRK_TRACE(ctx, "Current LEvel == %d", level);
  if (level < 0) throw Failure(Msg::QRKQ004E, *found);
  const std::string key = readLevel(ctx, call_.levelMap, level).front();
  QRK_TRACE(ctx, "Key Column at level %d == %s", level, key.c_str());
  QRK_TRACE(ctx, "RDB Col name corres to element name %s is == %s", element.name.c_str(),
            found->c_str());
  if (key != *found) return std::nullopt;
  QRK_TRACE(ctx, "returning true...");
  return found;
}

void SqlDocument::findColumn(ValuePlan& value, const std::string& column, const LevelQuery& rows) {
  value.column = rows.findColumn(column);
  value.columnName = column;
  value.isPlanned = true;
  QRK_TRACE(call_.ctx, "attrcolumn %s, sqlda_d: %d", column.c_str(), value.column);
}

void SqlDocument::planAttribute(ElementPlan& element, ValuePlan& attribute,
                                const LevelQuery& rows) {
  const std::string name = readName(attribute.node, Msg::QRKQ006E);
  QRK_TRACE(call_.ctx, ">>>>Attr name = '%s' <<<<<", name.c_str());
  if (!element.attributeNames.insert(name).second) {
    throw Failure(Msg::QRKQ045E, element.name, name);
  }
  const std::optional<std::string> column = columnOf(call_.ctx, name, attribute.node);
  if (!column) throw Failure(Msg::QRKQ007E, name);
  attribute.beforeValue = " " + name + "=\"";
  findColumn(attribute, *column, rows);
}

void SqlDocument::planText(ValuePlan& text, const LevelQuery& rows) {
  const std::optional<std::string> column = columnOf(call_.ctx, "", text.node);
  if (!column) throw Failure(Msg::QRKQ008E);
  findColumn(text, *column, rows);
}

// The level of a child is that of its first column, if it has one.
void SqlDocument::planChild(const ElementPlan& element, ContentPlan& child, LevelQuery& rows) {
  QrkStruct* const ctx = call_.ctx;
  const DOM_Element& node = child.element->node;
  const std::u16string_view occurrence = node.getAttribute(u"multi_occurrence").view();
  const bool isSingle = occurrence.empty() || occurrence == u"NO";
  child.isLevelKnown = true;
  if (isSingle && qrkIsNodeIntermediate(ctx, node)) return;
  const std::optional<std::string> column = columnOf(ctx, "", node);
  if (!column) return;
  const int level = qrkLmGetLevel(call_.levelMap, column->c_str());
  if (level < 0) throw Failure(Msg::QRKQ004E, *column);
  if (level < rows.level()) throw Failure(Msg::QRKQ005E, element.name, *column);
  if (level > rows.level()) child.childQuery = &rows.child(level);
}

}  // namespace orvxml
