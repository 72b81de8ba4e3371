// Packed decimal, the form of DECIMAL values in descriptor areas: two digits a byte, the last half
// byte the sign (C or D), precision / 2 + 1 bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orv {

inline size_t packedSize(int precision) {
  return static_cast<size_t>(precision) / 2 + 1;
}

// Writes a numeral such as "-20.00" with exactly `scale` decimals. False when its digits do not
// fit.
bool packDecimal(std::string_view numeral, int precision, int scale, char* out);

// The numeral, or nothing when the bytes are no packed decimal.
std::optional<std::string> unpackDecimal(const char* packed, int precision, int scale);

}  // namespace orv
