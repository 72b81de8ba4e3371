#include "src/decompose/untaken_data.h"

#include <algorithm>
#include <string_view>

#include "orvxml/code_pages.h"
#include "src/decompose/document_names.h"
#include "src/decompose/selection.h"

namespace orvxml {

using xercesc::DOMNode;

namespace {

constexpr size_t kMostNames = 200;  // counted one by one
constexpr size_t kNamesShown = 8;

bool isBlank(std::u16string_view text) {
  return text.find_first_not_of(u" \t\r\n") == text.npos;
}

// What belongs to the XML of a document and not to its data, and what the walk itself notes.
bool isNoData(std::u16string_view attribute) {
  return attribute == u"xmlns" || attribute.starts_with(u"xmlns:") ||
         attribute.starts_with(u"xml:") || attribute.starts_with(u"xsi:") ||
         attribute.starts_with(joinAttributeName(u""));
}

std::string counted(size_t count, const char* noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

}  // namespace

UntakenData::UntakenData(QrkStruct* ctx, const rel& model, const MappedValues& values,
                         const Takers& takers, DataWarnings& warnings)
    : ctx_(ctx), model_(model), values_(values), takers_(takers), warnings_(warnings) {
  nodes_[values.top()] = &root_;
  for (const MappedValue& value : values.all()) {
    Node& node = nodeOf(value.element);
    std::vector<const MappedValue*>& astray =
        value.isAttribute() ? node.attributes[value.leaf->getAttribute(u"name")] : node.texts;
    node.hasText |= !value.isAttribute();
    node.isWhole |= !value.isAttribute() && !value.isText();
    if (goesAstray(value)) astray.push_back(&value);
  }
}

UntakenData::Node& UntakenData::nodeOf(const Element* dadElement) {
  if (const auto known = nodes_.find(dadElement); known != nodes_.end()) return *known->second;
  Node& parent = nodeOf(static_cast<const Element*>(dadElement->getParentNode()));
  std::unique_ptr<Node>& node = parent.children[dadElement->getAttribute(u"name")];
  if (!node) node = std::make_unique<Node>();
  nodes_[dadElement] = node.get();
  return *node;
}

void UntakenData::findIn(const Element* root) {
  look(root_, root);
}

// As deep as the mapping at most, which the parser bounds.
void UntakenData::look(const Node& node, const Element* element) {
  lookAtAttributes(node, element);
  lookAtText(node, element);
  if (node.isWhole) return;
  forChildElements(element, [&](const Element* child, const XMLCh* name) {
    const auto below = node.children.find(std::u16string_view(name));
    if (below == node.children.end()) {
      add(kElement, shown(name));
    } else {
      look(*below->second, child);
    }
  });
}

void UntakenData::lookAtAttributes(const Node& node, const Element* element) {
  if (node.isWhole || !element->hasAttributes()) return;
  const xercesc::DOMNamedNodeMap* attributes = element->getAttributes();
  for (XMLSize_t i = 0; i < attributes->getLength(); ++i) {
    const DOMNode* attribute = attributes->item(i);
    const auto mapped = node.attributes.find(std::u16string_view(attribute->getNodeName()));
    if (mapped != node.attributes.end()) {
      if (*attribute->getNodeValue() != 0) warn(mapped->second, element);
    } else if (!isNoData(attribute->getNodeName())) {
      add(kAttribute, shown(attribute->getNodeName()));
    }
  }
}

void UntakenData::lookAtText(const Node& node, const Element* element) {
  if (node.isWhole) return warn(node.texts, element);
  for (const DOMNode* child = element->getFirstChild(); child; child = child->getNextSibling()) {
    const auto type = child->getNodeType();
    if (type != DOMNode::TEXT_NODE && type != DOMNode::CDATA_SECTION_NODE) continue;
    if (isBlank(child->getNodeValue())) continue;
    if (node.hasText) return warn(node.texts, element);
    return add(kText, shown(element->getTagName()));
  }
}

std::span<const int> UntakenData::takersOf(const MappedValue& value) const {
  const auto entry = takers_.find(value.leaf);
  return entry == takers_.end() ? std::span<const int>() : std::span<const int>(entry->second);
}

bool UntakenData::goesAstray(const MappedValue& value) const {
  const std::span<const int> takers = takersOf(value);
  return takers.size() != 1 || takers.front() != value.table;
}

void UntakenData::warn(const std::vector<const MappedValue*>& astray, const Element* element) {
  for (const MappedValue* value : astray) {
    const std::span<const int> takers = takersOf(*value);
    if (std::find(takers.begin(), takers.end(), value->table) == takers.end()) {
      warnLost(*value, element);
    }
    for (const int table : takers) {
      if (table != value->table) warnElsewhere(*value, table, element);
    }
  }
}

std::string UntakenData::itemText(const MappedValue& value) const {
  const std::string element = "'" + shown(value.element->getAttribute(u"name")) + "'";
  if (value.isAttribute()) {
    return "attribute '" + shown(value.leaf->getAttribute(u"name")) + "' of " + element;
  }
  return (value.isText() ? "the text of " : "") + element;
}

// Which element's name is why the value's table does not come by here.
std::string UntakenData::reason(const MappedValue& value) const {
  for (const Element* at = value.element; at;
       at = at == values_.top() ? nullptr : static_cast<const Element*>(at->getParentNode())) {
    std::string name;
    if (!toDatabase(ctx_, at->getAttribute(u"name"), name)) break;
    for (int i = model_.num_of_tables - 1; i >= 0; --i) {
      if (i == value.table || !isInTab(ctx_, model_.tab[i], name.c_str())) continue;
      return "'" + shownText(ctx_, name) + "' counts as an element of " +
             placeInTable(ctx_, *model_.tab[i], -1);
    }
  }
  return "it stands outside of '" + shownText(ctx_, model_.tab[value.table]->top_element) + "'";
}

void UntakenData::warnLost(const MappedValue& value, const Element* element) {
  warnings_.warn("value-not-taken", value.table, value.column, element, value.leaf,
                 [&] { return itemText(value) + " is not stored: " + reason(value); });
}

void UntakenData::warnElsewhere(const MappedValue& value, int table, const Element* element) {
  warnings_.warn("value-of-another-table", value.table, value.column, element, value.leaf, [&] {
    return itemText(value) + " goes into " + placeInTable(ctx_, *model_.tab[table], -1) +
           ", which maps the same name";
  });
}

// ---- What the mapping does not name

void UntakenData::add(Kind kind, const std::string& name) {
  Names& names = names_[kind];
  ++names.count;
  const auto [entry, isNew] = names.indexes.try_emplace(name, names.counts.size());
  if (!isNew) {
    ++names.counts[entry->second].second;
  } else if (names.counts.size() < kMostNames) {
    names.counts.emplace_back(name, 1);
  } else {
    names.indexes.erase(entry);
  }
}

std::string UntakenData::text(std::span<const size_t> rowCounts) const {
  static constexpr const char* kNouns[] = {"element", "attribute", "text"};
  static constexpr const char* kMarks[] = {"", "@", "text of "};
  std::string text;
  std::string shown;
  size_t names = 0;
  for (const int kind : {kElement, kAttribute, kText}) {
    const Names& found = names_[kind];
    if (found.count == 0) continue;
    text += (text.empty() ? "" : ", ") + counted(found.count, kNouns[kind]);
    for (const auto& [name, count] : found.counts) {
      if (++names > kNamesShown) break;
      shown += (shown.empty() ? "" : ", ") + (kMarks[kind] + name);
      if (count > 1) shown += " (" + std::to_string(count) + ')';
    }
  }
  if (!text.empty()) text += ": " + shown + (names > kNamesShown ? ", ..." : "");
  std::string tables;
  for (size_t i = 0; i < rowCounts.size(); ++i) {
    if (rowCounts[i] > 0) continue;
    tables += (tables.empty() ? "tables without a row: " : ", ") +
              placeInTable(ctx_, *model_.tab[i], -1).substr(std::string_view("table ").size());
  }
  if (!text.empty() && !tables.empty()) text += "; ";
  return text + tables;
}

}  // namespace orvxml
