// Texts for notices, which are in UTF-8.
#pragma once

#include <string>
#include <string_view>

#include <unicode/unistr.h>

namespace orvxml {

inline std::string utf8Text(std::u16string_view text) {
  std::string out;
  icu::UnicodeString(false, text.data(), static_cast<int32_t>(text.size())).toUTF8String(out);
  return out;
}

}  // namespace orvxml
