// Which bytes of a value are written as they stand, found sixteen at once where that is all of
// them.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace orvxml {

// What a byte of ASCII text is in a document.
enum class ByteClass : uint8_t { Plain, Entity, Control, NotAscii };

constexpr ByteClass classFor(int byte) {
  if (byte >= 0x80) return ByteClass::NotAscii;
  if (byte == '"' || byte == '&' || byte == '\'' || byte == '<' || byte == '>') {
    return ByteClass::Entity;
  }
  const bool control = byte < ' ' && byte != '\t' && byte != '\n' && byte != '\r';
  return control ? ByteClass::Control : ByteClass::Plain;
}

inline constexpr auto kByteClasses = [] {
  std::array<ByteClass, 256> classes{};
  for (int byte = 0; byte < 256; ++byte) classes[static_cast<size_t>(byte)] = classFor(byte);
  return classes;
}();

inline ByteClass classOf(char byte) {
  return kByteClasses[static_cast<unsigned char>(byte)];
}

// The entity of a byte of class Entity.
std::string_view entityOf(char byte);

// Whether every byte is an ASCII character that is written as it stands in every version of XML;
// false also means that one has to look closer.
bool isPlain(std::string_view value);

}  // namespace orvxml
