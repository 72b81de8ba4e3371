// The mapped leaves of a DAD, each with the column that it names: what the mapping's writer means,
// beside which stands what the walk makes of names alone.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "orvxml/mapping_model.h"

namespace orvxml {

struct MappedValue {
  const xercesc::DOMElement* leaf;     // attribute_node, text_node or element_node
  const xercesc::DOMElement* element;  // the element_node whose document elements hold the value
  int table;                           // in the model
  int column;                          // of its col2xml

  bool isAttribute() const { return leaf != element && isTagged(u"attribute_node"); }
  bool isText() const { return leaf != element && isTagged(u"text_node"); }

 private:
  bool isTagged(std::u16string_view tag) const { return tag == leaf->getTagName(); }
};

class MappedValues {
 public:
  // `top` is the element_node that `model` was built from.
  MappedValues(QrkStruct* ctx, const rel& model, const DOM_Element& top);

  std::span<const MappedValue> all() const { return values_; }
  // Null when there is none.
  const MappedValue* of(int table, int column) const;
  // The number of the table whose column `entry` is.
  int tableOf(const col2xml_entry* entry) const;
  const xercesc::DOMElement* top() const { return top_; }

  // Whether `node`, an element of the document, is where the DAD's `element` stands: the same names
  // up to the root, whose own name does not count.
  bool isAt(const xercesc::DOMNode* node, const xercesc::DOMElement* element) const;

 private:
  class Collector;

  const rel& model_;
  const xercesc::DOMElement* top_;
  std::vector<MappedValue> values_;
};

}  // namespace orvxml
