#include "src/compose/compose_notices.h"

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

void tell(Notice::Kind kind, const char* rule, const xercesc::DOMNode* node,
          const std::string& text) {
  Notice notice;
  notice.kind = kind;
  notice.rule = rule;
  notice.text = text;
  notice.mappingElement = elementNumber(node);
  noticeListener()->notice(notice);
}

}  // namespace

std::string shownText(QrkStruct* ctx, std::string_view text, size_t most) {
  const std::u16string units = unitsOf(ctx, text);
  std::u16string shown;
  for (const char16_t unit : units) {
    const bool isWhole = !U16_IS_TRAIL(unit);
    if (shown.size() >= most && isWhole) {
      shown += u"...";
      break;
    }
    if (unit >= u' ' && (unit < 0x7F || unit >= 0xA0)) {
      shown += unit;
      continue;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(unit));
    shown.append(escape, escape + 6);
  }
  return textForMessage(nullptr, shown);
}

std::string shownValue(QrkStruct* ctx, std::string_view column, std::string_view value) {
  return shownText(ctx, column) + " = " + shownText(ctx, value);
}

void tellPlace(const xercesc::DOMNode* node, const std::string& text) {
  if (!noticeListener()) return;
  try {
    tell(Notice::kPlace, "", node, text);
  } catch (...) {
  }
}

void tellWarning(const char* rule, const xercesc::DOMNode* node, const std::string& text) {
  if (noticeListener()) tell(Notice::kWarning, rule, node, text);
}

}  // namespace orvxml
