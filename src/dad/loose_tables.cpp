// Tables whose rows are not tied to the rows that they stand in, or to the wrong ones.

#include "src/dad/dad_walk.h"
#include "src/dad/trap_rules.h"

namespace orvxml {

using namespace dadtree;

namespace {

bool standOnOneElement(const MappingSurvey& survey, int a, int b) {
  return survey.rowElement(a) == survey.rowElement(b);
}

// The partners of the table's joins, of which something is mapped.
template <class Visit>
void eachPartner(const MappingSurvey& survey, int table, Visit&& visit) {
  const tab& own = survey.table(table);
  for (int j = 0; j < own.num_join; ++j) {
    for (int p = 0; p < own.join_info[j].num_join; ++p) {
      const int partner = survey.mappedTable(own.join_info[j].foreign[p]);
      if (partner >= 0) visit(own.join_info[j], own.join_info[j].foreign[p], partner);
    }
  }
}

const xercesc::DOMNode* topCondition(const MappingSurvey& survey) {
  const DOM_Element rdb = survey.root().firstDescendant(u"RDB_node");
  const DOM_Element condition = rdb.firstDescendant(u"condition");
  return condition.isNull() ? rdb.node() : condition.node();
}

std::string joinText(const MappingSurvey& survey, int table, const join_info_entry& join,
                     const join_partner& partner, int other) {
  return shownTable(survey, table) + '.' + shownText(survey.ctx(), join.col) + " = " +
         shownTable(survey, other) + '.' + shownText(survey.ctx(), partner.col);
}

// A join of tables of which neither stands in the other. Decomposition goes by depth alone, and
// passes over those of equal depth; composition has no row to tie the later one to but the last.
void judgeJoin(const MappingSurvey& survey, int table, const join_info_entry& join,
               const join_partner& partner, int other, TrapList& traps) {
  if (survey.isInside(table, other) || survey.isInside(other, table)) return;
  const bool isEven = survey.depth(table) == survey.depth(other);
  if (survey.purpose() == kForDecomposition && !isEven) return;
  traps.add("join-of-neighbours", topCondition(survey),
            "the join " + joinText(survey, table, join, partner, other) +
                (isEven ? " is passed over: " : " takes whatever row was read last: ") +
                shownElement(survey.rowElement(table)) + " and " +
                shownElement(survey.rowElement(other)) +
                " stand beside each other; one must stand inside the other");
}

// Composition refuses a table that is not joined.
void judgeTable(const MappingSurvey& survey, int table, TrapList& traps) {
  if (survey.purpose() == kForDecomposition && isUnjoined(survey, table, false)) {
    traps.add("table-not-joined", survey.rowElement(table),
              "no condition joins " + shownTable(survey, table) +
                  " to the tables around it: its rows will not tell what they belong to; add an "
                  "equality to the condition of the top RDB_node");
  }
  eachPartner(survey, table,
              [&](const join_info_entry& join, const join_partner& partner, int other) {
                if (table < other) judgeJoin(survey, table, join, partner, other, traps);
              });
}

// ---- Foreign keys: the value is looked for from the row's element up.
class CaughtKeys {
 public:
  CaughtKeys(const MappingSurvey& survey, TrapList& traps) : survey_(survey), traps_(traps) {}

  void judge(int table, const foreign_key& key) {
    const MappedLeaf* source = survey_.leafOf(key.parent);
    if (!source) return;
    const xercesc::DOMElement* row = survey_.rowElement(table);
    for (auto* at = nearestElementNode(row->getParentNode()); at;
         at = nearestElementNode(at->getParentNode())) {
      const xercesc::DOMElement* found =
          hasTag(source->node, u"attribute_node") ? attributeAt(at, *source) : textIn(at, *source);
      if (found == source->node) return;
      const bool climbsOn = (survey_.members(at) & tableBit(table)) != 0;
      if (found && !climbsOn) return tell(table, key, *source, found);
    }
  }

 private:
  // The attribute_node of the source's name in this element_node.
  const xercesc::DOMElement* attributeAt(xercesc::DOMElement* element,
                                         const MappedLeaf& source) const {
    for (auto* child = element->getFirstElementChild(); child;
         child = child->getNextElementSibling()) {
      if (hasTag(child, u"attribute_node") && sameName(child, source.node)) return child;
    }
    return nullptr;
  }

  // The first text below this element_node in an element of the source's name.
  const xercesc::DOMElement* textIn(xercesc::DOMElement* element, const MappedLeaf& source) const {
    for (auto* at = nextInDocumentOrder(element, element); at;
         at = nextInDocumentOrder(element, at)) {
      if (!hasTag(at, u"element_node") || !sameName(asElement(at), source.element)) continue;
      return asElement(at) == source.element ? source.node : asElement(at);
    }
    return nullptr;
  }

  static bool sameName(const xercesc::DOMElement* a, const xercesc::DOMElement* b) {
    return std::u16string_view(a->getAttribute(u"name")) == b->getAttribute(u"name");
  }

  void tell(int table, const foreign_key& key, const MappedLeaf& source,
            const xercesc::DOMElement* found) {
    traps_.add("key-from-in-between", found,
               shownTable(survey_, table) + '.' + shownText(survey_.ctx(), key.column->col) +
                   " takes the value from here, the nearest of that name above or beside its " +
                   "row, not " + shownLeaf(source) + " (" +
                   shownColumn(survey_, source.table, source.column) +
                   "); only another name in the documents helps");
  }

  const MappingSurvey& survey_;
  TrapList& traps_;
};

}  // namespace

bool isUnjoined(const MappingSurvey& survey, int table, bool onOneElement) {
  bool standsInside = false;
  for (int other = 0; other < survey.model().num_of_tables; ++other) {
    if (!survey.isInside(table, other)) continue;
    standsInside |= onOneElement || !standOnOneElement(survey, table, other);
  }
  return standsInside && !isJoinedUpward(survey, table);
}

bool isJoinedUpward(const MappingSurvey& survey, int table) {
  bool isJoined = false;
  eachPartner(survey, table, [&](const join_info_entry&, const join_partner&, int partner) {
    isJoined |= survey.isInside(table, partner) || survey.depth(partner) < survey.depth(table);
  });
  return isJoined;
}

void findLooseTables(const MappingSurvey& survey, TrapList& traps) {
  for (int i = 0; i < survey.model().num_of_tables; ++i) {
    if (survey.rowElement(i)) judgeTable(survey, i, traps);
  }
}

void findCaughtKeys(const MappingSurvey& survey, TrapList& traps) {
  CaughtKeys keys(survey, traps);
  for (int i = 0; i < survey.model().num_of_tables; ++i) {
    const tab& table = survey.table(i);
    if (!survey.rowElement(i)) continue;
    for (int k = 0; k < table.num_fk; ++k) {
      if (table.fk[k].parent) keys.judge(i, table.fk[k]);
    }
  }
}

}  // namespace orvxml
