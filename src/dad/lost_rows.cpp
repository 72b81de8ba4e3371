// Rows into documents: which elements run a query and are written for each of its rows. The walk is
// the one of composition, with the mapping alone: what decides there are names and which queries
// are open.
#include <bit>
#include <set>

#include "src/dad/dad_walk.h"
#include "src/dad/trap_rules.h"

namespace orvxml {

using namespace dadtree;

namespace {

constexpr int kNoTable = -1;

class LostRows {
 public:
  LostRows(const MappingSurvey& survey, TrapList& traps) : survey_(survey), traps_(traps) {}

  void find() {
    xercesc::DOMElement* const root = survey_.root().element();
    if (qrkIsTrivial(survey_.ctx(), survey_.root())) return writeElement(root, kNoTable);
    const TableBits tops = survey_.tops(root);
    const int table = tops ? std::countr_zero(tops) : tableOfGroup(root);
    if (table != kNoTable) startRows(root, table);
  }

 private:
  void startRows(xercesc::DOMElement* element, int table) {
    const bool isByName = (survey_.tops(element) & tableBit(table)) != 0;
    if (isByName && survey_.rowElement(table) != element) tellForeignRows(element, table);
    writeRows(element, table);
  }

  void writeRows(xercesc::DOMElement* element, int table) {
    open_ |= tableBit(table);
    walked_ |= tableBit(table);
    const TableBits before = open_;
    writeElement(element, table);
    // The next row of the same document finds the queries of attributes open.
    const bool isDocument = element == survey_.root().element();
    if (open_ != before && !isDocument) writeElement(element, table);
    walked_ &= ~tableBit(table);
    open_ &= ~tableBit(table);
  }

  // qrkProcElementNode. Recursion is bounded by the depth of the mapping.
  void writeElement(xercesc::DOMElement* element, int current) {
    for (const bool attributes : {true, false}) {
      for (auto* child = element->getFirstElementChild(); child;
           child = child->getNextElementSibling()) {
        if (hasTag(child, u"attribute_node") == attributes) writeChild(child, current);
      }
    }
  }

  void writeChild(xercesc::DOMElement* child, int& current) {
    const bool isElement = hasTag(child, u"element_node");
    const bool isAttribute = hasTag(child, u"attribute_node");
    if (!isElement && !isAttribute) return;  // a text_node runs no query
    const bool isStarted = startQuery(child, isAttribute, current);
    if (!isElement) return;
    if (isStarted) return startRows(child, current);
    judge(child, current);
    writeElement(child, current);
  }

  // Whether the query of a table, `current` then, runs for this child.
  bool startQuery(xercesc::DOMElement* child, bool isAttribute, int& current) {
    const bool isInCurrent =
        current != kNoTable && (survey_.members(child) & tableBit(current)) != 0;
    const TableBits closed = isInCurrent ? 0 : survey_.tops(child) & ~open_;
    const bool isForeignAttribute = isAttribute && !isInCurrent;
    if (closed == 0 && !isForeignAttribute && (current != kNoTable || isTrivial(child))) {
      return false;
    }
    if (closed != 0) {
      current = std::countr_zero(closed);
    } else if (const TableBits members = survey_.members(child)) {
      current = std::countr_zero(members);
    } else if (current == kNoTable) {
      current = tableOfGroup(child);
    }
    if (current == kNoTable || (walked_ & tableBit(current)) != 0) return false;
    open_ |= tableBit(current);
    return true;
  }

  bool isTrivial(xercesc::DOMElement* element) const {
    return qrkIsTrivial(survey_.ctx(), DOM_Element(survey_.root().owner(), element));
  }

  // An element without values of its own goes by the first table that has its top element below,
  // under a name in capitals.
  int tableOfGroup(xercesc::DOMElement* element) const {
    const ComparedTable last =
        qrkFindTabForIntermediate(survey_.ctx(), DOM_Element(survey_.root().owner(), element),
                                  const_cast<rel*>(&survey_.model()));
    for (int i = 0; last.isFound && i < survey_.model().num_of_tables; ++i) {
      if (&survey_.table(i) == last.table) return i;
    }
    return kNoTable;
  }

  void tellForeignRows(xercesc::DOMElement* element, int table) {
    if (!told_.insert(element).second) return;
    traps_.add("rows-of-another-element", element,
               shownElement(element) + " is written once for each row of " +
                   shownTable(survey_, table) +
                   ", because the element that stands for one has the same name and, of the tables "
                   "for which that holds, this one is listed first; rename one of the two");
  }

  // An element that is written once, for the row of `current`.
  void judge(xercesc::DOMElement* element, int current) {
    const MappedLeaf* first = survey_.firstLeafIn(element);
    if (!first) return;
    const int table = first->table;
    const bool isRow = survey_.rowElement(table) == element;
    const bool repeats =
        isRow || qrkIsNodeMultiOccur(survey_.ctx(), DOM_Element(survey_.root().owner(), element));
    const bool isOfRow =
        table == current && current != kNoTable && (walked_ & tableBit(current)) != 0;
    if (!repeats || isOfRow || !told_.insert(element).second) return;
    traps_.add("rows-left-out", element,
               shownElement(element) + " is written once, not once for each row of " +
                   shownTable(survey_, table) + ": " + reason(element, table, current));
  }

  std::string reason(const xercesc::DOMElement* element, int table, int current) const {
    if (table == current || (open_ & tableBit(table)) != 0) {
      return "an attribute has read the first row already, and the query is still open; leave one "
             "of the two out";
    }
    if (current != kNoTable && (survey_.members(element) & tableBit(current)) != 0) {
      return "its name belongs to " + shownTable(survey_, current) +
             ", whose row is written there, as well; rename one of the two";
    }
    return "its name is not that of the element of the table's first mapped value; map a value of "
           "the table in it first, or do not mark it as repeating";
  }

  const MappingSurvey& survey_;
  TrapList& traps_;
  TableBits open_ = 0, walked_ = 0;
  std::set<const xercesc::DOMElement*> told_;
};

}  // namespace

void findLostRows(const MappingSurvey& survey, TrapList& traps) {
  if (!survey.leaves().empty()) LostRows(survey, traps).find();
}

}  // namespace orvxml
