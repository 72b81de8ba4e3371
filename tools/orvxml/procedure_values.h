// Values as the library's procedures take them and give them back.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "orv/session.h"
#include "orvxml/procedures.h"

namespace orvxml::command {

// Sizes of the registered procedures' parameters, in bytes.
inline constexpr size_t kDadParameter = size_t{100} << 10;
inline constexpr size_t kDocumentParameter = size_t{1} << 20;
inline constexpr size_t kNameParameter = 128;
inline constexpr size_t kOverrideParameter = 32672;

inline constexpr int kNoSuchRoutine = -440;  // SQLCODE of a CALL

// A large object: its length, then room for `capacity` bytes, which begins with `text`, and a
// terminator.
class ClobValue {
 public:
  explicit ClobValue(std::string_view text) : ClobValue(text, text.size()) {}
  ClobValue(std::string_view text, size_t capacity) : block_(new char[kHeader + capacity + 1]) {
    const auto length = static_cast<int32_t>(text.size());
    std::memcpy(block_.get(), &length, kHeader);
    std::memcpy(block_.get() + kHeader, text.data(), text.size());
    block_[kHeader + text.size()] = '\0';
  }
  clob* get() { return reinterpret_cast<clob*>(block_.get()); }

 private:
  static constexpr size_t kHeader = offsetof(clob, data);
  std::unique_ptr<char[]> block_;
};

inline int numberOf(const orv::ResultValue& value) {
  return value ? static_cast<int>(std::strtol(value->c_str(), nullptr, 10)) : 0;
}

}  // namespace orvxml::command
