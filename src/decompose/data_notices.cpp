#include "src/decompose/data_notices.h"

#include "orvxml/code_pages.h"
#include "src/dad/element_order.h"

namespace orvxml {

namespace {

constexpr size_t kToldWithPlaces = 3;  // of one rule at one column
constexpr size_t kMostValueBytes = 60;

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

std::string noticeText(QrkStruct* ctx, std::string_view text) {
  std::u16string units;
  std::string utf8;
  if (!toUtf16(ctx, text, units) || !toDatabase(nullptr, units, utf8)) return "?";
  return utf8;
}

std::string noticeText(const XMLCh* text) {
  std::string utf8;
  if (!toDatabase(nullptr, text, utf8)) return "?";
  return utf8;
}

std::string quotedValue(std::string_view utf8) {
  std::string quoted = "'";
  const bool isLong = utf8.size() > kMostValueBytes;
  if (isLong) {
    size_t end = kMostValueBytes;
    while (end > 0 && isContinuation(utf8[end])) --end;
    utf8 = utf8.substr(0, end);
  }
  for (const char byte : utf8) quoted += byte >= 0 && byte < ' ' ? ' ' : byte;
  return quoted + (isLong ? "...'" : "'");
}

std::string placeInTable(QrkStruct* ctx, const tab& table, int column) {
  std::string text = "table ";
  if (*table.schema) text += noticeText(ctx, table.schema) + '.';
  text += noticeText(ctx, table.name);
  if (column >= 0) text += ", column " + noticeText(ctx, table.col2xml[column].col);
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
