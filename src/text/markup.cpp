#include "src/text/markup.h"

namespace orvxml {

std::u16string_view entityOf(char16_t ch) {
  switch (ch) {
    case u'"':
      return K_UC_XML_QUOTE;
    case u'&':
      return K_UC_XML_AMPERSAND;
    case u'\'':
      return K_UC_XML_APOSTROPHE;
    case u'<':
      return K_UC_XML_LESS;
    case u'>':
      return K_UC_XML_LARGER;
    default:
      return {};
  }
}

void appendEscaped(std::u16string& out, std::u16string_view text) {
  size_t plain = 0;
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] > u'>') continue;
    const std::u16string_view entity = entityOf(text[at]);
    if (entity.empty()) continue;
    out.append(text.substr(plain, at - plain)).append(entity);
    plain = at + 1;
  }
  out.append(text.substr(plain));
}

}  // namespace orvxml
