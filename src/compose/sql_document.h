// One document of SQL mapping: the walk over the DAD's element tree for the current object.
//
// What the walk learns of a node (its name, its column's place in the result, its tags, the query
// that its rows come from) is the same for every object. It is kept in a plan, node by node, when
// the walk first comes to the node, so that a wrong DAD is reported where the walk meets it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "src/compose/document_text.h"
#include "src/compose/sql_level_query.h"

namespace orvxml {

// An attribute_node or a text_node.
struct ValuePlan {
  DOM_Element node;
  bool isPlanned = false;
  int column = -1;          // of the result set at hand; -1: not there, nothing is written
  std::string columnName;   // names the source of a value that cannot be written
  std::string beforeValue;  // of an attribute: blank, name, equals sign and quotation mark
};

struct ElementPlan;

// A child that is content of its element: a text_node, or an element_node.
struct ContentPlan {
  ValuePlan text;
  std::unique_ptr<ElementPlan> element;  // null: a text_node
  bool isLevelKnown = false;             // of the element
  LevelQuery* childQuery = nullptr;      // null: the element is on its parent's level
};

// An element_node.
struct ElementPlan {
  DOM_Element node;
  int indent = 0;
  bool isPlanned = false;
  std::string name;
  int keyColumn = -1;    // the column whose null leaves the element out; -1: none does
  std::string startTag;  // closed when no attributes follow
  std::string endTag;
  std::vector<ValuePlan> attributes;
  std::unordered_set<std::string> attributeNames;  // of those planned
  std::vector<ContentPlan> content;
};

class SqlDocument {
 public:
  SqlDocument(const SqlCall& call, const DOM_Element& dadRoot, LevelQuery& top);

  // Appends the document of the top query's current object; false when its root is left out.
  bool qrkGenXMLDoc(QrkOutbuf* document, uint32_t sizeLimit);
  // Whether the root is left out; known once a document was written.
  bool isLeftOut() const { return root_.keyColumn >= 0 && top_.column(root_.keyColumn).isNull(); }
  std::string_view header() const { return header_; }

 private:
  void prepareHeader();
  bool qrkGenXMLElement(ElementPlan& element, LevelQuery& rows);
  bool writeElement(ElementPlan& element, LevelQuery& rows);
  void qrkGenXMLAttribute(ElementPlan& element, ValuePlan& attribute, const LevelQuery& rows);
  void qrkGenXMLText(ValuePlan& text, const LevelQuery& rows);
  void writeContent(ElementPlan& element, LevelQuery& rows);
  void writeChild(ElementPlan& element, ContentPlan& child, LevelQuery& rows);
  void writeChildRows(ElementPlan& child, LevelQuery& childRows);
  void writeValue(const ValuePlan& value, const ResultColumn& column);

  void planElement(ElementPlan& element, const LevelQuery& rows);
  void listChildren(ElementPlan& element);
  void writeTags(ElementPlan& element);
  std::optional<std::string> keyColumnOf(const ElementPlan& element);
  void planAttribute(ElementPlan& element, ValuePlan& attribute, const LevelQuery& rows);
  void planText(ValuePlan& text, const LevelQuery& rows);
  void planChild(const ElementPlan& element, ContentPlan& child, LevelQuery& rows);
  std::string readName(const DOM_Element& node, Msg whenMissing);
  void findColumn(ValuePlan& value, const std::string& column, const LevelQuery& rows);

  const SqlCall& call_;
  DOM_Element dadRoot_;
  LevelQuery& top_;
  DocumentText text_;
  std::string header_;
  ElementPlan root_;
  bool hasHeader_ = false;
};

}  // namespace orvxml
