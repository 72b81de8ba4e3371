#include "src/decompose/data_notices.h"

#include "src/dad/element_order.h"
#include "src/dad/trap_rules.h"

namespace orvxml {

namespace {

constexpr size_t kToldWithPlaces = 3;  // of one rule at one column

}  // namespace

std::string quotedValue(std::u16string_view value) {
  return '\'' + shown(value) + '\'';
}

std::string quotedValue(QrkStruct* ctx, std::string_view value) {
  return '\'' + shownText(ctx, value) + '\'';
}

std::string placeInTable(const MappingSurvey& survey, int table, int column) {
  std::string text = "table " + shownTable(survey, table);
  if (column >= 0) {
    text += ", column " + shownText(survey.ctx(), survey.table(table).col2xml[column].col);
  }
  return text;
}

bool isDeclaration(std::u16string_view attribute) {
  return attribute == u"xmlns" || attribute.starts_with(u"xmlns:") ||
         attribute.starts_with(u"xsi:");
}

bool isBlank(std::u16string_view text) {
  return text.find_first_not_of(u" \t\r\n") == text.npos;
}

void DataWarnings::warn(const char* rule, int table, int column,
                        const xercesc::DOMNode* documentNode, const xercesc::DOMNode* dadNode,
                        const std::function<std::string()>& makeText) {
  Met& met = met_[{rule, table, column}];
  if (++met.count == kToldWithPlaces + 1) met.firstUntold = elementNumber(documentNode);
  if (met.count > kToldWithPlaces) return;
  Notice notice;
  notice.rule = rule;
  notice.text = placeInTable(survey_, table, column) + ": " + makeText();
  notice.documentElement = elementNumber(documentNode);
  notice.mappingElement = elementNumber(dadNode);
  listener_.notice(notice);
}

void DataWarnings::tellCounts() {
  for (const auto& [key, met] : met_) {
    if (met.count <= kToldWithPlaces) continue;
    const auto& [rule, table, column] = key;
    Notice notice;
    notice.rule = rule.data();
    const size_t more = met.count - kToldWithPlaces;
    notice.text = placeInTable(survey_, table, column) + ": from here on the same " +
                  std::to_string(more) + (more == 1 ? " time more" : " times more");
    notice.documentElement = met.firstUntold;
    listener_.notice(notice);
  }
}

}  // namespace orvxml
