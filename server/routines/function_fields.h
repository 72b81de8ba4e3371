// The arguments and results of a function in the memory that the function sees, in the layouts of
// orv/sqludf.h. A field is laid out once and used for every call. Small values lie together in the
// memory of the call; a large object has memory of its own, because its type may declare far more
// than a value takes.
//
// A result is followed by guard bytes: what a function writes beyond its end is noticed, and what
// it leaves there is read only within its bounds.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "server/engine/engine.h"
#include "server/routines/reserved_memory.h"
#include "server/session/session_state.h"

namespace orv {

enum class FieldLayout : uint8_t {
  SmallInt,
  Integer,
  BigInt,
  Real,
  Double,
  Text,   // terminated
  Bits,   // 16-bit length and the bytes
  Units,  // 16-bit units, terminated
  LargeObject,
  Locator,
};

inline constexpr size_t kFieldGuard = 32;
void writeGuard(char* at);
bool isGuardWhole(const char* at);

class ArgumentField {
 public:
  ArgumentField(SessionState& session, const SqlType& type);

  // Bytes that it takes in the memory of the call.
  size_t size() const { return layout_ == FieldLayout::LargeObject ? 0 : size_; }
  void place(char* memory) { data_ = memory; }

  // Converts the value to the field's type. Its bytes stay where they are while the call runs. -420
  // for text that holds a terminator, -433 for what is too long.
  void store(const ValueView& value);
  // The call is over: a locator ends.
  void withdraw();

  // Another one after each store() of a large object.
  void* address() { return layout_ == FieldLayout::LargeObject ? largeObject_.data() : data_; }
  int16_t* indicator() { return &indicator_; }

 private:
  void clear();
  void storeText(std::string_view utf8);
  void storeBits(std::string_view bytes);
  void storeUnits(std::string_view utf8);
  void storeLargeObject(const ValueView& value);
  void storeLocator(const ValueView& value);

  SessionState& session_;
  SqlType type_;
  FieldLayout layout_;
  size_t size_;
  char* data_ = nullptr;
  int16_t indicator_ = -1;
  int32_t locator_ = 0;      // given out, 0 for none
  std::string converted_;    // to the type
  std::string native_;       // to the code page
  std::string largeObject_;  // as the function sees it
};

class ResultField {
 public:
  ResultField(SessionState& session, const SqlType& type);

  size_t size() const { return reserved_ ? 0 : size_ + kFieldGuard; }
  void place(char* memory);

  // Null and empty, for the next call.
  void prepare();
  bool isWhole() const { return isGuardWhole(data_ + size_); }
  // The value that the function left, of the field's type; a locator has ended. Good until
  // prepare(). Nothing when it is malformed; an SqlError for one that does not fit the type.
  std::optional<ValueView> load();

  void* address() { return data_; }
  int16_t* indicator() { return &indicator_; }

 private:
  std::optional<ValueView> loadAsItIs();
  std::optional<ValueView> loadText();
  std::optional<ValueView> loadBits();
  std::optional<ValueView> loadUnits();
  std::optional<ValueView> loadLargeObject();
  std::optional<ValueView> loadLocator();
  ValueView unitsValue(std::string_view units);

  SessionState& session_;
  SqlType type_;
  FieldLayout layout_;
  size_t size_;
  std::unique_ptr<ReservedMemory> reserved_;
  char* data_ = nullptr;
  int16_t indicator_ = -1;
  std::optional<LocatorValue> taken_;
  std::string turned_;     // units in the session's order
  std::string utf8_;       // from the code page
  std::string converted_;  // to the type
};

}  // namespace orv
