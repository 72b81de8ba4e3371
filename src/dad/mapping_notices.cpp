#include "src/dad/mapping_notices.h"

#include <cstdio>

#include <unicode/utf16.h>

#include "orvxml/code_pages.h"
#include "src/dad/element_order.h"

namespace orvxml {

namespace {

std::u16string unitsOf(QrkStruct* ctx, std::string_view text) {
  std::u16string units;
  if (toUtf16(ctx, text, units)) return units;
  units.clear();
  for (const char byte : text) {
    units += static_cast<unsigned char>(byte) < 0x80 ? static_cast<char16_t>(byte) : u'\uFFFD';
  }
  return units;
}

}  // namespace

std::string shown(std::u16string_view text, size_t most) {
  std::u16string line;
  for (const char16_t unit : text) {
    const bool isWhole = !U16_IS_TRAIL(unit);
    if (line.size() >= most && isWhole) {
      line += u"...";
      break;
    }
    if (unit >= u' ' && (unit < 0x7F || unit >= 0xA0)) {
      line += unit;
      continue;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(unit));
    line.append(escape, escape + 6);
  }
  return textForMessage(nullptr, line);
}

std::string shownText(QrkStruct* ctx, std::string_view text, size_t most) {
  return shown(unitsOf(ctx, text), most);
}

std::string shownValue(QrkStruct* ctx, std::string_view column, std::string_view value) {
  return shownText(ctx, column) + " = " + shownText(ctx, value);
}

Failure at(const xercesc::DOMNode* node, Failure failure, std::string_view lacks) {
  if (!noticeListener()) return std::move(failure.about(FailureText::kMapping));
  return std::move(
      failure.atElement(FailureText::kMapping, elementNumber(node), std::string(lacks)));
}

void tellWarning(const char* rule, const xercesc::DOMNode* node, std::string_view text) {
  NoticeListener* const listener = noticeListener();
  if (!listener) return;
  Notice notice;
  notice.rule = rule;
  notice.text = text;
  notice.mappingElement = elementNumber(node);
  listener->notice(notice);
}

}  // namespace orvxml
