#include "src/decompose/data_notices.h"

#include <utility>

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
  if (++met.count == kToldWithPlaces + 1) met.firstUntold = documentNode;
  if (met.count > kToldWithPlaces) return;
  warnings_.push_back(
      {rule, placeInTable(survey_, table, column) + ": " + makeText(), documentNode, dadNode});
}

void DataWarnings::tellAll() {
  for (const auto& [key, met] : met_) {
    if (met.count <= kToldWithPlaces) continue;
    const auto& [rule, table, column] = key;
    const size_t more = met.count - kToldWithPlaces;
    warnings_.push_back({rule.data(),
                         placeInTable(survey_, table, column) + ": from here on the same " +
                             std::to_string(more) + (more == 1 ? " time more" : " times more"),
                         met.firstUntold, nullptr});
  }
  ElementNumbers inDocument, inMapping;
  for (const Warning& warning : warnings_) {
    inDocument[warning.documentNode] = 0;
    if (warning.dadNode) inMapping[warning.dadNode] = 0;
  }
  numberElements(inDocument);
  numberElements(inMapping);
  for (Warning& warning : warnings_) {
    Notice notice;
    notice.rule = warning.rule;
    notice.text = std::move(warning.text);
    notice.documentElement = inDocument[warning.documentNode];
    if (warning.dadNode) notice.mappingElement = inMapping[warning.dadNode];
    listener_.notice(notice);
  }
}

}  // namespace orvxml
