// Large-object locators of one session: numbers that stand for values too large to hand around.
// A value is shared, not copied, between the locators and the statements that use it; it is kept in
// the form in which it came (UTF-8 or the database code page) and converted at most once. Locators
// live until they are freed or the unit of work ends, and no number is ever used twice.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "server/session/code_page.h"

namespace orv {

enum class LocatorKind : uint8_t { Clob, Blob, DbClob };

class LocatorValue {
 public:
  using Bytes = std::shared_ptr<const std::string>;

  // An empty value, to append to.
  explicit LocatorValue(LocatorKind kind);
  LocatorValue(LocatorKind kind, std::string utf8);
  // Stands for bytes that their owner keeps as they are as long as this value lives.
  static LocatorValue borrowing(LocatorKind kind, std::string_view utf8);

  LocatorKind kind() const { return kind_; }
  // The bytes in the code page of the database (binary: the bytes). -191 when they do not convert.
  Bytes native(const CodePage& codePage);
  Bytes utf8(const CodePage& codePage);
  // The same without a share in them: borrowed bytes are not copied. Good while the value lives and
  // is not appended to.
  std::string_view nativeView(const CodePage& codePage);
  std::string_view utf8View(const CodePage& codePage);
  // Adds native bytes. Copies the value first when a statement still reads it.
  void append(std::string_view bytes, const CodePage& codePage);

 private:
  LocatorValue() = default;
  void own();

  LocatorKind kind_ = LocatorKind::Clob;
  std::shared_ptr<std::string> utf8_;  // one of the two may be null; both may be the same
  std::shared_ptr<std::string> native_;
  std::string_view borrowed_;  // in place of `utf8_`
  bool isBorrowed_ = false;
  bool isBorrowedNative_ = false;  // the borrowed bytes are those in the code page too
};

class LocatorTable {
 public:
  // A new locator. -429 when the session has used up its numbers.
  int32_t add(LocatorValue value);
  // -423 for a number that stands for no value.
  LocatorValue& find(int32_t locator) { return entry(locator).value; }
  // The number of an existing locator at an address that is good while the locator lives.
  int32_t* address(int32_t locator) { return &entry(locator).number; }
  void free(int32_t locator);
  // The value of a locator that ends.
  LocatorValue take(int32_t locator);
  // Frees a locator that may have been freed or taken already.
  void discard(int32_t locator) { values_.erase(locator); }
  void clear() { values_.clear(); }

 private:
  struct Entry {
    int32_t number;
    LocatorValue value;
  };
  Entry& entry(int32_t locator);

  std::unordered_map<int32_t, Entry> values_;
  int32_t last_ = 0;
};

}  // namespace orv
