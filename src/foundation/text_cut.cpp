#include "src/foundation/text_cut.h"

namespace orvxml {
namespace {

// Bytes of the UTF-8 character that `lead` begins; 0 for a byte that begins none of two or more.
size_t sequenceLength(unsigned char lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

}  // namespace

size_t wholeCharacters(std::string_view text) {
  const size_t deepest = text.size() < 3 ? text.size() : 3;
  for (size_t back = 1; back <= deepest; ++back) {
    const auto byte = static_cast<unsigned char>(text[text.size() - back]);
    if ((byte & 0xC0) == 0x80) continue;
    return sequenceLength(byte) > back ? text.size() - back : text.size();
  }
  return text.size();
}

}  // namespace orvxml
