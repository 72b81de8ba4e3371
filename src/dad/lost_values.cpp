// Documents into rows: where each value of the mapping really goes. Decomposition goes by names, so
// the walk here is the one of row extraction, with the mapping alone: which element_node makes rows
// of which table, and which leaves those take.
#include <algorithm>
#include <bit>
#include <set>

#include "src/dad/dad_walk.h"
#include "src/dad/trap_rules.h"

namespace orvxml {

using namespace dadtree;

namespace {

constexpr int kNoTable = -1;
constexpr int kNoColumn = -1;

// A value that rows of `table` take into `column`.
struct Taken {
  int table, column;
  const xercesc::DOMElement* place;  // the element_node whose rows these are
};

class LostValues {
 public:
  LostValues(const MappingSurvey& survey, TrapList& traps) : survey_(survey), traps_(traps) {}

  void find() {
    walk(survey_.root().element(), kNoTable);
    for (const MappedLeaf& leaf : survey_.leaves()) judge(leaf);
  }

 private:
  // decompose_element. Recursion is bounded by the depth of the mapping.
  void walk(const xercesc::DOMElement* element, int parentTable) {
    const TableBits members = survey_.members(element);
    const int current = members ? static_cast<int>(std::bit_width(members)) - 1 : kNoTable;
    if (current != kNoTable) takeRows(element, current, element);
    const int owner = current != kNoTable ? current : parentTable;
    for (auto* child = element->getFirstElementChild(); child;
         child = child->getNextElementSibling()) {
      if (!hasTag(child, u"element_node")) continue;
      if (owner != kNoTable && (survey_.members(child) & tableBit(owner)) != 0) {
        passedOver_.emplace(child, owner);
      } else {
        walk(child, owner);
      }
    }
  }

  // get_rows for the rows that `place` makes.
  void takeRows(const xercesc::DOMElement* element, int table, const xercesc::DOMElement* place) {
    bool isEmpty = true;
    for (auto* child = element->getFirstElementChild(); child;
         child = child->getNextElementSibling()) {
      const bool isText = hasTag(child, u"text_node");
      const bool isElement = hasTag(child, u"element_node");
      if (!isText && !isElement && !hasTag(child, u"attribute_node")) continue;
      isEmpty = false;
      if (isText) {
        take(child, table, survey_.columnNamedLike(table, element), place);
      } else if (!isElement) {
        const bool isOurs = (survey_.members(child) & tableBit(table)) != 0;
        if (isOurs) take(child, table, survey_.columnNamedLike(table, child), place);
      } else if (!isTopOfAnother(child, table)) {
        takeRows(child, table, place);
      }
    }
    if (isEmpty && (survey_.members(element) & tableBit(table)) != 0) {
      take(element, table, survey_.columnNamedLike(table, element), place);
    }
  }

  bool isTopOfAnother(const xercesc::DOMElement* element, int table) const {
    const TableBits tops = survey_.tops(element);
    return tops != 0 && std::countr_zero(tops) != table;
  }

  void take(const xercesc::DOMElement* leaf, int table, int column,
            const xercesc::DOMElement* place) {
    std::vector<Taken>& taken = taken_[leaf];
    const bool isKnown = std::any_of(taken.begin(), taken.end(), [&](const Taken& other) {
      return other.table == table && other.column == column;
    });
    if (!isKnown) taken.push_back({table, column, place});
  }

  void judge(const MappedLeaf& leaf) {
    const auto found = taken_.find(leaf.node);
    if (found == taken_.end()) return tellLost(leaf);
    const Taken* own = nullptr;
    for (const Taken& taken : found->second) {
      if (taken.table == leaf.table) own = &taken;
    }
    if (!own) return tellElsewhere(leaf, found->second.front());
    if (own->column != leaf.column) return tellWrongColumn(leaf, own->column);
    judgePlace(leaf, own->place);
  }

  void tellLost(const MappedLeaf& leaf) {
    const int taker = takerOf(leaf);
    if (taker == kNoTable || taker == leaf.table) return tellPieces(leaf);
    traps_.add("value-not-taken", leaf.node,
               shownLeaf(leaf) + " is never read, " + columnOf(leaf) +
                   " stays NULL: " + takerText(leaf, taker));
  }

  // The table that the element of a lost leaf counts as: one that passes over it or an element
  // around it, or the last listed one that its name belongs to.
  int takerOf(const MappedLeaf& leaf) {
    for (const xercesc::DOMNode* at = leaf.element; at; at = at->getParentNode()) {
      const auto passed = passedOver_.find(at);
      if (passed == passedOver_.end()) continue;
      lostAt_ = asElement(at);
      return passed->second;
    }
    lostAt_ = leaf.element;
    const TableBits members = survey_.members(leaf.element);
    return members ? static_cast<int>(std::bit_width(members)) - 1 : kNoTable;
  }

  std::string takerText(const MappedLeaf& leaf, int taker) const {
    const std::string element = shownElement(lostAt_);
    const bool isTop = (survey_.tops(lostAt_) & tableBit(taker)) != 0;
    if (isTop && survey_.rowElement(taker) == lostAt_) {
      return element + " stands for a row of " + shownTable(survey_, taker) + ", and of " +
             shownTable(survey_, leaf.table) + " it cannot; give each table an element of its own";
    }
    return element + " counts as part of " + shownTable(survey_, taker) +
           ", which maps something of that name; rename one of the two";
  }

  void tellElsewhere(const MappedLeaf& leaf, const Taken& taken) {
    if (taken.column == kNoColumn) {
      traps_.add("value-not-taken", leaf.node,
                 shownLeaf(leaf) + " is asked of " + shownTable(survey_, taken.table) +
                     ", which maps nothing of that name: a document that has it fails; rename " +
                     shownElement(leaf.element));
      return;
    }
    traps_.add("value-of-another-table", leaf.node,
               shownLeaf(leaf) + " goes into " + shownColumn(survey_, taken.table, taken.column) +
                   ", not into " + columnOf(leaf) +
                   ": the names belong to both tables; rename one of the two");
  }

  void tellWrongColumn(const MappedLeaf& leaf, int column) {
    const tab& table = survey_.table(leaf.table);
    if (std::string_view(table.col2xml[column].col) == table.col2xml[leaf.column].col) return;
    traps_.add("name-mapped-twice", leaf.node,
               shownLeaf(leaf) + " goes into " + shownColumn(survey_, leaf.table, column) +
                   ", not into " + columnOf(leaf) +
                   ": within a table a value is known by its name; give the two different names");
  }

  // All values of a table have to be taken by the same element.
  void judgePlace(const MappedLeaf& leaf, const xercesc::DOMElement* place) {
    const auto [known, isFirst] = places_.emplace(leaf.table, place);
    if (!isFirst && known->second != place) tellPieces(leaf);
  }

  void tellPieces(const MappedLeaf& leaf) {
    if (!toldPieces_.insert(leaf.table).second) return;
    const xercesc::DOMElement* row = survey_.rowElement(leaf.table);
    traps_.add("record-in-two-rows", leaf.node,
               shownLeaf(leaf) + " stands outside " + shownElement(row) +
                   ", which stands for a row of " + shownTable(survey_, leaf.table) +
                   " as its first mapped value: it makes a row of its own or none. Map an "
                   "attribute of the element around both first, or, where nothing of another "
                   "table stands in that element, mark it multi_occurrence=\"YES\"");
  }

  std::string columnOf(const MappedLeaf& leaf) const {
    return shownColumn(survey_, leaf.table, leaf.column);
  }

  const MappingSurvey& survey_;
  TrapList& traps_;
  std::unordered_map<const xercesc::DOMNode*, std::vector<Taken>> taken_;
  std::unordered_map<const xercesc::DOMNode*, int> passedOver_;  // elements, and for which table
  const xercesc::DOMElement* lostAt_ = nullptr;
  std::unordered_map<int, const xercesc::DOMElement*> places_;  // of the rows of a table
  std::set<int> toldPieces_;
};

}  // namespace

void findLostValues(const MappingSurvey& survey, TrapList& traps) {
  if (!survey.leaves().empty()) LostValues(survey, traps).find();
}

}  // namespace orvxml
