#include "src/compose/plain_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "src/compose/xml_writer.h"

namespace orvxml {

namespace {

// A text of ASCII characters, a byte each.
template <size_t N>
constexpr std::array<char, N - 1> narrow(const char16_t (&text)[N]) {
  std::array<char, N - 1> bytes{};
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(text[i]);
  return bytes;
}
constexpr auto kQuote = narrow(K_UC_XML_QUOTE);
constexpr auto kAmpersand = narrow(K_UC_XML_AMPERSAND);
constexpr auto kApostrophe = narrow(K_UC_XML_APOSTROPHE);
constexpr auto kLess = narrow(K_UC_XML_LESS);
constexpr auto kLarger = narrow(K_UC_XML_LARGER);

// Sixteen bytes at once.
typedef signed char ByteBlock __attribute__((vector_size(16)));

template <class Part>
Part load(const char* bytes) {
  Part part;
  std::memcpy(&part, bytes, sizeof part);
  return part;
}

// Two parts of eight bytes as a block.
ByteBlock joined(uint64_t first, uint64_t second) {
  const uint64_t parts[] = {first, second};
  return load<ByteBlock>(reinterpret_cast<const char*>(parts));
}

// Whether every byte is an ASCII character that is written as it stands in every version of XML.
bool isPlainBlock(ByteBlock block) {
  // Bytes beyond ASCII are negative here.
  const auto special = (block < ' ') | (block == '"') | (block == '&') | (block == '\'') |
                       (block == '<') | (block == '>') | (block == 0x7F);
  uint64_t halves[2];
  std::memcpy(halves, &special, sizeof halves);
  return (halves[0] | halves[1]) == 0;
}

}  // namespace

std::string_view entityOf(char byte) {
  const auto text = [](const auto& bytes) { return std::string_view(bytes.data(), bytes.size()); };
  switch (byte) {
    case '"':
      return text(kQuote);
    case '&':
      return text(kAmpersand);
    case '\'':
      return text(kApostrophe);
    case '<':
      return text(kLess);
    default:
      return text(kLarger);
  }
}

// Parts that overlap cover the end.
bool isPlain(std::string_view value) {
  const char* const begin = value.data();
  const char* const end = begin + value.size();
  if (value.size() >= sizeof(ByteBlock)) {
    for (const char* at = begin; end - at >= ptrdiff_t{sizeof(ByteBlock)};
         at += sizeof(ByteBlock)) {
      if (!isPlainBlock(load<ByteBlock>(at))) return false;
    }
    return isPlainBlock(load<ByteBlock>(end - sizeof(ByteBlock)));
  }
  if (value.size() >= sizeof(uint64_t)) {
    return isPlainBlock(joined(load<uint64_t>(begin), load<uint64_t>(end - sizeof(uint64_t))));
  }
  if (value.size() >= sizeof(uint32_t)) {
    const uint64_t both =
        uint64_t{load<uint32_t>(begin)} << 32 | load<uint32_t>(end - sizeof(uint32_t));
    return isPlainBlock(joined(both, both));
  }
  return std::all_of(begin, end,
                     [](char byte) { return classOf(byte) == ByteClass::Plain && byte != 0x7F; });
}

}  // namespace orvxml
