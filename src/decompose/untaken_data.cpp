#include "src/decompose/untaken_data.h"

#include <algorithm>
#include <string_view>

#include "orvxml/code_pages.h"
#include "src/dad/dad_walk.h"
#include "src/dad/trap_rules.h"
#include "src/decompose/document_names.h"
#include "src/decompose/selection.h"

namespace orvxml {

using xercesc::DOMNode;

namespace {

constexpr size_t kMostNames = 200;  // counted one by one
constexpr size_t kNamesShown = 8;

// What does not count, and what the walk itself notes.
bool isNoData(std::u16string_view attribute) {
  return isDeclaration(attribute) || attribute.starts_with(joinAttributeName(u""));
}

std::string counted(size_t count, const char* noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

}  // namespace

UntakenData::UntakenData(const MappingSurvey& survey, const Takers& takers, DataWarnings& warnings)
    : survey_(survey), takers_(takers), warnings_(warnings) {
  nodes_[survey.root().element()] = &root_;
  for (const MappedLeaf& leaf : survey.leaves()) {
    Node& node = nodeOf(leaf.element);
    const bool isAttribute = dadtree::hasTag(leaf.node, u"attribute_node");
    std::vector<const MappedLeaf*>& astray =
        isAttribute ? node.attributes[leaf.node->getAttribute(u"name")] : node.texts;
    node.hasText |= !isAttribute;
    node.isWhole |= leaf.node == leaf.element;
    if (goesAstray(leaf)) astray.push_back(&leaf);
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

std::span<const int> UntakenData::takersOf(const MappedLeaf& leaf) const {
  const auto entry = takers_.find(leaf.node);
  return entry == takers_.end() ? std::span<const int>() : std::span<const int>(entry->second);
}

bool UntakenData::goesAstray(const MappedLeaf& leaf) const {
  const std::span<const int> takers = takersOf(leaf);
  return takers.size() != 1 || takers.front() != leaf.table;
}

void UntakenData::warn(const std::vector<const MappedLeaf*>& astray, const Element* element) {
  for (const MappedLeaf* leaf : astray) {
    const std::span<const int> takers = takersOf(*leaf);
    if (std::find(takers.begin(), takers.end(), leaf->table) == takers.end()) {
      warnLost(*leaf, element);
    }
    for (const int table : takers) {
      if (table != leaf->table) warnElsewhere(*leaf, table, element);
    }
  }
}

// Which element's name is why the value's table does not come by here. That of an element around
// the table's own rows is none where it stands for rows of another table itself.
std::string UntakenData::reason(const MappedLeaf& leaf) const {
  const Element* const row = survey_.rowElement(leaf.table);
  for (const Element* at = leaf.element; at;
       at = at == survey_.root().element() ? nullptr : dadtree::asElement(at->getParentNode())) {
    std::string name;
    if (!toDatabase(survey_.ctx(), at->getAttribute(u"name"), name)) break;
    for (int i = survey_.model().num_of_tables - 1; i >= 0; --i) {
      const tab& table = survey_.table(i);
      if (i == leaf.table || !isInTab(survey_.ctx(), &table, name.c_str())) continue;
      if (at != leaf.element && at != row && name == table.top_element) continue;
      return shownElement(at) + " counts as an element of " + placeInTable(survey_, i, -1);
    }
  }
  return "it stands outside of " + shownElement(row);
}

void UntakenData::warnLost(const MappedLeaf& leaf, const Element* element) {
  warnings_.warn("value-not-taken", leaf.table, leaf.column, element, leaf.node,
                 [&] { return shownLeaf(leaf) + " is not stored: " + reason(leaf); });
}

void UntakenData::warnElsewhere(const MappedLeaf& leaf, int table, const Element* element) {
  warnings_.warn("value-of-another-table", leaf.table, leaf.column, element, leaf.node, [&] {
    return shownLeaf(leaf) + " goes into " + placeInTable(survey_, table, -1) +
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
              shownTable(survey_, static_cast<int>(i));
  }
  if (!text.empty() && !tables.empty()) text += "; ";
  return text + tables;
}

}  // namespace orvxml
