#include "src/dad/mapping_traps.h"

#include <algorithm>

#include "orvxml/notices.h"
#include "src/dad/dad_walk.h"
#include "src/dad/element_order.h"
#include "src/dad/trap_rules.h"

namespace orvxml {

using namespace dadtree;

void TrapList::add(const char* rule, const xercesc::DOMNode* node, std::string_view text) {
  traps_.push_back({rule, node, std::string(text)});
}

void TrapList::tellAll() {
  NoticeListener* const listener = noticeListener();
  if (traps_.empty() || !listener) return;
  ElementNumbers numbers;
  for (const Trap& trap : traps_) numbers[trap.node] = 0;
  numberElements(numbers);
  const auto number = [&](const Trap& trap) { return numbers[trap.node]; };
  std::stable_sort(traps_.begin(), traps_.end(),
                   [&](const Trap& a, const Trap& b) { return number(a) < number(b); });
  for (Trap& trap : traps_) {
    Notice notice;
    notice.rule = trap.rule;
    notice.text = std::move(trap.text);
    notice.mappingElement = number(trap);
    listener->notice(notice);
  }
  traps_.clear();
}

std::string shownTable(const MappingSurvey& survey, int index) {
  const tab& table = survey.table(index);
  return (*table.schema ? shownText(survey.ctx(), table.schema) + '.' : "") +
         shownText(survey.ctx(), table.name);
}

std::string shownColumn(const MappingSurvey& survey, int table, int column) {
  return shownTable(survey, table) + '.' +
         shownText(survey.ctx(), survey.table(table).col2xml[column].col);
}

std::string shownElement(const xercesc::DOMElement* element) {
  return '<' + shown(element->getAttribute(u"name")) + '>';
}

std::string shownLeaf(const MappedLeaf& leaf) {
  const std::string element = shownElement(leaf.element);
  if (leaf.node == leaf.element) return "the element " + element;
  if (hasTag(leaf.node, u"text_node")) return "the text of " + element;
  return "the attribute " + shown(leaf.node->getAttribute(u"name")) + " of " + element;
}

void tellTraps(const MappingSurvey& survey) {
  if (!noticeListener()) return;
  TrapList traps;
  findIgnoredParts(survey, traps);
  findLooseTables(survey, traps);
  if (survey.purpose() == kForDecomposition) {
    findLostValues(survey, traps);
    findCaughtKeys(survey, traps);
  } else {
    findLostRows(survey, traps);
  }
  traps.tellAll();
}

const tab* unjoinedTable(const MappingSurvey& survey) {
  for (int i = 0; i < survey.model().num_of_tables; ++i) {
    if (isUnjoined(survey, i, true)) return &survey.table(i);
  }
  return nullptr;
}

}  // namespace orvxml
