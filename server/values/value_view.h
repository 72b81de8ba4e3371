// One value on its way between the engine, the conversions and the callers: its kind, and for texts
// and bytes where they stand, so that a large object passes every layer without a copy.
#pragma once

#include <cstdint>
#include <string_view>

namespace orv {

// A value without ownership. DECIMAL is Text ("20.00"), dates and times are Text in the forms
// "2026-11-24", "20.16.07" and "2026-11-24-20.16.07.000000"; binary is Blob; graphic types are
// Text in UTF-8.
struct ValueView {
  enum class Kind : uint8_t { Null, Integer, Double, Text, Blob } kind = Kind::Null;
  int64_t integer = 0;
  double number = 0;
  std::string_view text;  // Text and Blob

  static ValueView null() { return {}; }
  static ValueView of(int64_t value) { return {Kind::Integer, value, 0, {}}; }
  static ValueView of(double value) { return {Kind::Double, 0, value, {}}; }
  static ValueView ofText(std::string_view value) { return {Kind::Text, 0, 0, value}; }
  static ValueView ofBlob(std::string_view value) { return {Kind::Blob, 0, 0, value}; }
};

}  // namespace orv
