#include "src/dad/mapping_survey.h"

#include "src/dad/dad_walk.h"
#include "src/dad/model_steps.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

using namespace dadtree;

namespace {

struct LeafCollector {
  void enter(xercesc::DOMElement*) {}
  void leave(xercesc::DOMElement*) {}
  void leaf(xercesc::DOMElement* node, xercesc::DOMElement* rdb) {
    leaves.push_back({node, rdb, nearestElementNode(node), -1, -1});
  }
  std::vector<MappedLeaf>& leaves;
};

}  // namespace

MappingSurvey::MappingSurvey(QrkStruct* ctx, const rel& model, const DOM_Element& root,
                             MappingPurpose purpose)
    : ctx_(ctx),
      model_(model),
      root_(root),
      purpose_(purpose),
      rowElements_(static_cast<size_t>(model.num_of_tables)) {
  collectLeaves();
  collectNames();
}

// Each leaf has the column of its table that the model made of it: both keep document order.
void MappingSurvey::collectLeaves() {
  if (root_.isNull()) return;
  std::vector<MappedLeaf> found;
  LeafCollector collector{found};
  try {
    walkMappedLeaves(root_.node(), purpose_, collector);
  } catch (const Failure&) {
    return;  // composition may start from another element than the model
  }
  std::vector<int> columns(rowElements_.size());
  for (MappedLeaf& leaf : found) {
    leaf.table = tableOf(leaf.rdb);
    if (leaf.table < 0 || !leaf.element) continue;
    const auto slot = static_cast<size_t>(leaf.table);
    leaf.column = columns[slot]++;
    if (!rowElements_[slot]) {
      rowElements_[slot] = orvxml::rowElement(ctx_, table(leaf.table), root_.owner(), leaf.element);
    }
    leafAt_.emplace(leaf.node, leaves_.size());
    leaves_.push_back(leaf);
  }
}

void MappingSurvey::collectNames() {
  for (int i = 0; i < model_.num_of_tables; ++i) {
    NameTables& top = names_[table(i).top_element];
    top.members |= tableBit(i);
    top.tops |= tableBit(i);
    for (int c = 0; c < table(i).num_col; ++c) {
      names_[table(i).col2xml[c].xml].members |= tableBit(i);
    }
  }
}

// As the model takes it: the last one that the RDB_node names.
int MappingSurvey::tableOf(const xercesc::DOMElement* rdb) const {
  const xercesc::DOMElement* last = nullptr;
  for (auto* child = rdb->getFirstChild(); child; child = child->getNextSibling()) {
    if (hasTag(child, u"table")) last = asElement(child);
  }
  char schema[kSchemaSize];
  char name[kTableSize];
  if (!last || qrkParseWQualTbl(ctx_, last->getAttribute(u"name"), schema, sizeof schema, name,
                                sizeof name)) {
    return -1;
  }
  for (int i = 0; i < model_.num_of_tables; ++i) {
    if (cmpQualTblName(table(i).schema, schema, table(i).name, name) == 0) return i;
  }
  return -1;
}

int MappingSurvey::mappedTable(const join_partner& partner) const {
  for (int i = 0; i < model_.num_of_tables; ++i) {
    if (cmpQualTblName(table(i).schema, partner.schema, table(i).name, partner.tab) == 0) {
      return rowElement(i) ? i : -1;
    }
  }
  return -1;
}

const MappedLeaf* MappingSurvey::leafAt(const xercesc::DOMNode* node) const {
  const auto found = leafAt_.find(node);
  return found == leafAt_.end() ? nullptr : &leaves_[found->second];
}

const MappedLeaf* MappingSurvey::firstLeafIn(xercesc::DOMNode* node) const {
  for (auto* at = node; at; at = nextInDocumentOrder(node, at)) {
    if (const MappedLeaf* leaf = leafAt(at)) return leaf;
  }
  return nullptr;
}

const MappedLeaf* MappingSurvey::leafOf(const col2xml_entry* column) const {
  for (const MappedLeaf& leaf : leaves_) {
    if (&table(leaf.table).col2xml[leaf.column] == column) return &leaf;
  }
  return nullptr;
}

bool MappingSurvey::isInside(int table, int above) const {
  const xercesc::DOMElement* own = rowElement(table);
  const xercesc::DOMElement* other = rowElement(above);
  if (!own || !other || table == above) return false;
  if (own != other) return isAncestor(other, own);
  return above < table;
}

int MappingSurvey::depth(int index) const {
  if (purpose_ == kForDecomposition) return table(index).level;
  int depth = 0;
  for (const xercesc::DOMNode* at = rowElement(index); at && at != root_.node(); ++depth) {
    at = at->getParentNode();
  }
  return depth;
}

std::string MappingSurvey::nameOf(const xercesc::DOMElement* item) const {
  std::string name;
  if (!toDatabase(ctx_, item->getAttribute(u"name"), name)) name.clear();
  return name;
}

MappingSurvey::NameTables MappingSurvey::tablesOf(const xercesc::DOMElement* item) const {
  const std::string name = nameOf(item);
  const auto found = name.empty() ? names_.end() : names_.find(name);
  return found == names_.end() ? NameTables() : found->second;
}

int MappingSurvey::columnNamedLike(int index, const xercesc::DOMElement* item) const {
  return columnNamed(table(index), nameOf(item));
}

}  // namespace orvxml
