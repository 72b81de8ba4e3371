// What a mapping says to no effect, or to another effect than it looks.
#include <cstring>
#include <utility>

#include "orvxml/code_pages.h"
#include "src/dad/dad_walk.h"
#include "src/dad/trap_rules.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

using namespace dadtree;

namespace {

// Whether an OR stands in the predicate outside parentheses and CASE.
bool hasOpenOr(QrkStruct* ctx, const char16_t* at) {
  QrkSqlToken token;
  for (int depth = 0;;) {
    qrkGetSqlToken(ctx, &at, &token);
    if (token.type == Type_EOF || (token.type < 0 && token.type != Type_TooLong)) return false;
    const std::string_view word = token.type == Type_Identifier ? token.text : "";
    const char16_t mark = token.type == Type_Delimiter ? *token.startptr : u' ';
    if (mark == u'(' || word == "CASE") ++depth;
    if (mark == u')' || word == "END") --depth;
    if (depth == 0 && word == "OR") return true;
  }
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
    judgeConditions();
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
      traps_.add("part-ignored", element,
                 "orderBy has more than " + std::to_string(kOrderByLimit) +
                     " characters and is left out: the rows come in no order");
    }
    const auto keyLength =
        static_cast<int>(std::u16string_view(element->getAttribute(u"key")).size());
    if (survey_.purpose() == kForDecomposition && keyLength > kKeyLimit) {
      traps_.add("part-ignored", element,
                 "key has more than " + std::to_string(kKeyLimit) +
                     " characters and is left out: the table gets no primary key");
    }
  }

  // The table's condition as it stands in its statement: overrides count, what they replace does
  // not.
  void judgeConditions() {
    for (int i = 0; i < survey_.model().num_of_tables; ++i) {
      std::u16string text;
      if (!*survey_.table(i).condition || !survey_.rowElement(i) ||
          !toUtf16(survey_.ctx(), survey_.table(i).condition, text) ||
          !hasOpenOr(survey_.ctx(), text.c_str())) {
        continue;
      }
      const bool isJoined = survey_.purpose() == kForComposition && isJoinedUpward(survey_, i);
      const xercesc::DOMElement* first = nullptr;
      int count = 0;
      for (const MappedLeaf& leaf : survey_.leaves()) {
        const auto* own = leaf.table == i ? childElement(leaf.rdb, u"condition") : nullptr;
        if (own && count++ == 0) first = own;
      }
      if (!isJoined && count < 2) continue;
      traps_.add("or-without-parentheses", first ? first : survey_.rowElement(i),
                 "conditions stand beside each other, joined by AND: this OR lets rows pass that "
                 "the others exclude" +
                     std::string(isJoined ? ", even rows of other parents" : "") +
                     "; put it in parentheses");
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
};

}  // namespace

void findIgnoredParts(const MappingSurvey& survey, TrapList& traps) {
  if (!survey.leaves().empty()) IgnoredParts(survey, traps).find();
}

}  // namespace orvxml
