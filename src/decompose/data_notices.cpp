#include "src/decompose/data_notices.h"

#include "src/dad/element_order.h"

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

std::string placeInTable(QrkStruct* ctx, const tab& table, int column) {
  std::string text = "table ";
  if (*table.schema) text += shownText(ctx, table.schema) + '.';
  text += shownText(ctx, table.name);
  if (column >= 0) text += ", column " + shownText(ctx, table.col2xml[column].col);
  return text;
}

void DataWarnings::warn(const char* rule, int table, int column,
                        const xercesc::DOMNode* documentNode, const xercesc::DOMNode* dadNode,
                        const std::function<std::string()>& makeText) {
  Met& met = met_[{rule, table, column}];
  if (++met.count == kToldWithPlaces + 1) met.firstUntold = elementNumber(documentNode);
  if (met.count > kToldWithPlaces) return;
  Notice notice;
  notice.rule = rule;
  notice.text = placeInTable(ctx_, *model_.tab[table], column) + ": " + makeText();
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
    notice.text = placeInTable(ctx_, *model_.tab[table], column) + ": from here on the same " +
                  std::to_string(met.count - kToldWithPlaces) + " times more";
    notice.documentElement = met.firstUntold;
    listener_.notice(notice);
  }
}

}  // namespace orvxml
