// Double-byte characters as functions see them: 16-bit units in the byte order of the machine. The
// session has them with the high byte first.
#pragma once

#include <bit>
#include <cstddef>
#include <string_view>
#include <utility>

namespace orv {

inline constexpr bool kSwapsUnits = std::endian::native == std::endian::little;

// Turns whole units from one order into the other.
inline void turnUnits(char* bytes, size_t size) {
  if constexpr (kSwapsUnits) {
    for (size_t i = 0; i + 1 < size; i += 2) std::swap(bytes[i], bytes[i + 1]);
  }
}

// Copies the part of `units` that begins at byte `from`, turned; `from` and `count` lie within it.
inline void copyTurned(std::string_view units, size_t from, size_t count, char* to) {
  constexpr size_t kPartner = kSwapsUnits ? 1 : 0;
  for (size_t i = 0; i < count; ++i) to[i] = units[(from + i) ^ kPartner];
}

}  // namespace orv
