// What a mapping says to no effect, or to another effect than it looks.
#include <cstring>
#include <utility>

#include "orvxml/code_pages.h"
#include "orvxml/sql_scanner.h"
#include "src/dad/dad_walk.h"
#include "src/dad/trap_rules.h"

namespace orvxml {

using namespace dadtree;

namespace {

// Whether an OR stands in the predicate outside parentheses and quotation marks.
bool hasOpenOr(std::u16string_view text) {
  int depth = 0;
  char16_t quote = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (quote) {
      if (c == quote) quote = 0;
    } else if (c == u'\'' || c == u'"') {
      quote = c;
    } else if (c == u'(' || c == u')') {
      depth += c == u'(' ? 1 : -1;
    } else if (depth == 0 && i > 0 && i + 2 < text.size()) {
      const auto isBreak = [](char16_t at) { return at <= u' ' || at == u'(' || at == u')'; };
      const bool isOr = (c | 0x20) == u'o' && (text[i + 1] | 0x20) == u'r';
      if (isOr && isBreak(text[i - 1]) && isBreak(text[i + 2])) return true;
    }
  }
  return false;
}

class IgnoredParts {
 public:
  IgnoredParts(const MappingSurvey& survey, TrapList& traps) : survey_(survey), traps_(traps) {}

  void find() {
    const xercesc::DOMElement* root = survey_.root().element();
    judgeRepeated(asElement(root->getParentNode()), u"element_node",
                  "a document has one root: only the first element_node counts");
    const DOM_Element topRdb = survey_.root().firstDescendant(u"RDB_node");
    judgeTables(topRdb.element());
    judgeRepeated(topRdb.element(), u"condition", "only the first condition counts");
    judgeWholeElements();
    countConditions();
    for (const MappedLeaf& leaf : survey_.leaves()) judgeLeaf(leaf, topRdb.element());
  }

 private:
  void judgeRepeated(const xercesc::DOMElement* parent, std::u16string_view tag, const char* rule) {
    bool isFirst = true;
    for (auto* child = parent->getFirstElementChild(); child;
         child = child->getNextElementSibling()) {
      if (hasTag(child, tag) && !std::exchange(isFirst, false)) {
        traps_.add("part-ignored", child, rule);
      }
    }
  }

  void judgeTables(const xercesc::DOMElement* topRdb) {
    int index = 0;
    for (auto* child = topRdb->getFirstElementChild(); child;
         child = child->getNextElementSibling()) {
      if (hasTag(child, u"table") && index < survey_.model().num_of_tables) {
        judgeTable(child, index++);
      }
    }
  }

  void judgeTable(const xercesc::DOMElement* element, int index) {
    const tab& table = survey_.table(index);
    for (int i = 0; i < index; ++i) {
      const tab& other = survey_.table(i);
      if (std::strcmp(table.name, other.name) != 0) continue;
      if (std::strcmp(table.schema, other.schema) == 0) {
        traps_.add("part-ignored", element,
                   shownTable(survey_, index) + " is listed already: only the first one counts");
      } else if (!*table.schema || !*other.schema) {
        traps_.add("table-with-and-without-schema", element,
                   shownTable(survey_, index) + " and " + shownTable(survey_, i) +
                       " are two tables here, whatever the default schema is; write the name "
                       "everywhere alike");
      }
    }
    const bool hasOrder = *element->getAttribute(u"orderBy") != 0;
    if (survey_.purpose() == kForComposition && hasOrder && !table.orderBy) {
      traps_.add(
          "part-ignored", element,
          "orderBy has more than 2559 characters and is left out: the rows come in no order");
    }
    const bool hasKey = *element->getAttribute(u"key") != 0;
    if (survey_.purpose() == kForDecomposition && hasKey && table.pri_key.num == 0) {
      traps_.add(
          "part-ignored", element,
          "key has more than 1023 characters and is left out: the table gets no primary key");
    }
  }

  void countConditions() {
    conditions_.assign(static_cast<size_t>(survey_.model().num_of_tables), 0);
    for (const MappedLeaf& leaf : survey_.leaves()) {
      if (childElement(leaf.rdb, u"condition")) ++conditions_[static_cast<size_t>(leaf.table)];
    }
  }

  void judgeLeaf(const MappedLeaf& leaf, const xercesc::DOMElement* topRdb) {
    if (leaf.rdb != topRdb) judgeRdb(leaf);
    if (hasTag(leaf.node, u"text_node")) judgeText(leaf);
    if (survey_.purpose() == kForComposition) judgeName(leaf);
  }

  // RDB_nodes of element_nodes other than the root's: only decomposition reads them, and only where
  // nothing else is mapped.
  void judgeWholeElements() {
    xercesc::DOMElement* const root = survey_.root().element();
    for (auto* at = nextInDocumentOrder(root, root); at; at = nextInDocumentOrder(root, at)) {
      const xercesc::DOMElement* rdb =
          hasTag(at, u"element_node") ? childElement(at, u"RDB_node") : nullptr;
      if (!rdb) continue;
      const bool isWhole = !childElement(at, u"attribute_node") &&
                           !childElement(at, u"text_node") && !childElement(at, u"element_node");
      if (!isWhole) {
        traps_.add("part-ignored", rdb,
                   shownElement(asElement(at)) +
                       " holds mapped values: the RDB_node of the element itself does not count");
      } else if (survey_.purpose() == kForComposition) {
        traps_.add("element-written-empty", at,
                   shownElement(asElement(at)) +
                       " is stored whole by decomposition, and written empty here; map its text in "
                       "a text_node if it has no elements");
      }
    }
  }

  void judgeRdb(const MappedLeaf& leaf) {
    judgeRepeated(leaf.rdb, u"table",
                  "a value comes from one table: of several, some steps take the first and others "
                  "the last");
    judgeRepeated(leaf.rdb, u"column", "only the last column of an RDB_node counts");
    judgeRepeated(leaf.rdb, u"condition", "only the last condition of a column counts");
    const xercesc::DOMElement* condition = childElement(leaf.rdb, u"condition");
    if (!condition || !hasOpenOr(childText(condition))) return;
    const bool composes = survey_.purpose() == kForComposition;
    const bool isJoined = composes && survey_.table(leaf.table).num_join > 0;
    if (!isJoined && conditions_[static_cast<size_t>(leaf.table)] < 2) return;
    traps_.add("or-without-parentheses", condition,
               "conditions stand beside each other, joined by AND: this OR lets rows pass that "
               "the others exclude" +
                   std::string(isJoined ? ", even rows of other parents" : "") +
                   "; put it in parentheses");
  }

  void judgeText(const MappedLeaf& leaf) {
    for (auto* before = leaf.node->getPreviousElementSibling(); before;
         before = before->getPreviousElementSibling()) {
      if (!hasTag(before, u"text_node")) continue;
      traps_.add("part-ignored", leaf.node,
                 shownElement(leaf.element) +
                     " has one text: both text_nodes stand for it, and for its first column");
      return;
    }
  }

  // Of two columns under one name the first is written at both places.
  void judgeName(const MappedLeaf& leaf) {
    const bool isAttribute = hasTag(leaf.node, u"attribute_node");
    const int column = survey_.columnNamedLike(leaf.table, isAttribute ? leaf.node : leaf.element);
    const tab& table = survey_.table(leaf.table);
    if (column < 0 || std::strcmp(table.col2xml[column].col, table.col2xml[leaf.column].col) == 0) {
      return;
    }
    traps_.add("name-mapped-twice", leaf.node,
               shownLeaf(leaf) + " is written from " + shownColumn(survey_, leaf.table, column) +
                   ", not from " + shownColumn(survey_, leaf.table, leaf.column) +
                   ": within a table a value is known by its name; give the two different names");
  }

  const MappingSurvey& survey_;
  TrapList& traps_;
  std::vector<int> conditions_;  // of the columns of each table
};

}  // namespace

void findIgnoredParts(const MappingSurvey& survey, TrapList& traps) {
  if (!survey.leaves().empty()) IgnoredParts(survey, traps).find();
}

}  // namespace orvxml
