#include "src/decompose/mapped_values.h"

#include <algorithm>

#include "orvxml/sql_scanner.h"
#include "src/dad/dad_walk.h"

namespace orvxml {

using xercesc::DOMElement;
using xercesc::DOMNode;

namespace {

const DOMElement* parentElement(const DOMNode* node) {
  const DOMNode* parent = node->getParentNode();
  return parent && parent->getNodeType() == DOMNode::ELEMENT_NODE
             ? static_cast<const DOMElement*>(parent)
             : nullptr;
}

}  // namespace

// The leaves come in the order in which the model took them, so a count for each table gives the
// column.
class MappedValues::Collector {
 public:
  Collector(QrkStruct* ctx, const rel& model, const DOM_Element& top,
            std::vector<MappedValue>& values)
      : ctx_(ctx), model_(model), top_(top), values_(values) {}

  void enter(DOMElement*) {}
  void leave(DOMElement*) {}
  int leaf(DOMElement* leaf, DOMElement* rdb) {
    char schema[kSchemaSize];
    char name[kTableSize];
    if (qrkGetTabFromRDB(ctx_, "", DOM_Element(top_.owner(), rdb), schema, name, nullptr,
                         nullptr)) {
      return 0;
    }
    for (int i = 0; i < model_.num_of_tables; ++i) {
      const tab& table = *model_.tab[i];
      if (std::string_view(schema) != table.schema || std::string_view(name) != table.name)
        continue;
      const bool isElement = dadtree::hasTag(leaf, u"element_node");
      const DOMElement* element = isElement ? leaf : parentElement(leaf);
      if (columns_[i] < table.num_col) values_.push_back({leaf, element, i, columns_[i]++});
      break;
    }
    return 0;
  }

 private:
  QrkStruct* ctx_;
  const rel& model_;
  const DOM_Element& top_;
  std::vector<MappedValue>& values_;
  int columns_[QRK_NUMTAB_IN_REL] = {};
};

MappedValues::MappedValues(QrkStruct* ctx, const rel& model, const DOM_Element& top)
    : model_(model), top_(top.element()) {
  char msg[kMessageSize] = "";
  Collector collector(ctx, model, top, values_);
  dadtree::walkMappedLeaves({ctx, msg}, top.node(), kForDecomposition, collector);
}

const MappedValue* MappedValues::of(int table, int column) const {
  const auto found = std::find_if(values_.begin(), values_.end(), [&](const MappedValue& value) {
    return value.table == table && value.column == column;
  });
  return found == values_.end() ? nullptr : &*found;
}

int MappedValues::tableOf(const col2xml_entry* entry) const {
  for (int i = 0; i < model_.num_of_tables; ++i) {
    const tab& table = *model_.tab[i];
    if (entry >= table.col2xml && entry < table.col2xml + table.num_col) return i;
  }
  return -1;
}

bool MappedValues::isAt(const DOMNode* node, const DOMElement* element) const {
  for (; element != top_; element = parentElement(element)) {
    if (!element || !node || node->getNodeType() != DOMNode::ELEMENT_NODE) return false;
    const std::u16string_view name = element->getAttribute(u"name");
    if (name != node->getNodeName()) return false;
    node = node->getParentNode();
  }
  return node && node->getNodeType() == DOMNode::ELEMENT_NODE && !parentElement(node);
}

}  // namespace orvxml
