// The five characters of XML's predefined entities, which character data is written without.
#pragma once

#include <string>
#include <string_view>

namespace orvxml {

inline constexpr char16_t K_UC_XML_QUOTE[] = u"&quot;";
inline constexpr char16_t K_UC_XML_AMPERSAND[] = u"&amp;";
inline constexpr char16_t K_UC_XML_APOSTROPHE[] = u"&apos;";
inline constexpr char16_t K_UC_XML_LESS[] = u"&lt;";
inline constexpr char16_t K_UC_XML_LARGER[] = u"&gt;";

// The entity of a character that character data must not hold, or an empty text.
std::u16string_view entityOf(char16_t ch);
// Appends `text`, escaped, to `out`.
void appendEscaped(std::u16string& out, std::u16string_view text);

}  // namespace orvxml
