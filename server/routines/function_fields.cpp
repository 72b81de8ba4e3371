#include "server/routines/function_fields.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "orv/sqludf.h"
#include "server/values/double_bytes.h"
#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"

namespace orv {
namespace {

using Kind = ValueView::Kind;

constexpr std::array<char, kFieldGuard> kGuard = [] {
  std::array<char, kFieldGuard> guard{};
  guard.fill(static_cast<char>(0xB5));
  return guard;
}();
constexpr size_t kLargestInPlace = 65536;  // larger results have reserved memory
constexpr size_t kLobHeader = offsetof(sqludf_lob, data);
constexpr size_t kBitsHeader = offsetof(sqludf_vc, data);

FieldLayout layoutOf(const SqlType& type) {
  if (type.locator) return FieldLayout::Locator;
  if (isLargeObject(type.kind)) return FieldLayout::LargeObject;
  if (isBinary(type.kind)) return FieldLayout::Bits;
  if (isGraphic(type.kind)) return FieldLayout::Units;
  switch (type.kind) {
    case TypeKind::SmallInt:
      return FieldLayout::SmallInt;
    case TypeKind::Integer:
      return FieldLayout::Integer;
    case TypeKind::BigInt:
      return FieldLayout::BigInt;
    case TypeKind::Real:
      return FieldLayout::Real;
    case TypeKind::Double:
      return FieldLayout::Double;
    default:
      return FieldLayout::Text;
  }
}

// Bytes of the largest value with its length or terminator.
size_t sizeOf(FieldLayout layout, const SqlType& type) {
  switch (layout) {
    case FieldLayout::SmallInt:
      return sizeof(int16_t);
    case FieldLayout::Integer:
      return sizeof(int32_t);
    case FieldLayout::BigInt:
      return sizeof(int64_t);
    case FieldLayout::Real:
      return sizeof(float);
    case FieldLayout::Double:
      return sizeof(double);
    case FieldLayout::Locator:
      return sizeof(sqludf_locator);
    case FieldLayout::Bits:
      return kBitsHeader + static_cast<size_t>(byteLength(type));
    case FieldLayout::Units:
      return static_cast<size_t>(byteLength(type)) + sizeof(char16_t);
    case FieldLayout::LargeObject:
      return kLobHeader + static_cast<size_t>(byteLength(type));
    case FieldLayout::Text:
      break;
  }
  // A number may have a zero before its point, besides the sign.
  const bool isNumber = type.kind == TypeKind::Decimal;
  return static_cast<size_t>(textLength(type)) + (isNumber ? 2 : 1);
}

LocatorKind locatorKind(TypeKind kind) {
  if (kind == TypeKind::Blob) return LocatorKind::Blob;
  return kind == TypeKind::DbClob ? LocatorKind::DbClob : LocatorKind::Clob;
}

template <class T>
void put(char* data, T value) {
  std::memcpy(data, &value, sizeof value);
}

template <class T>
T get(const char* data) {
  T value;
  std::memcpy(&value, data, sizeof value);
  return value;
}

// A large object of its own kind needs no conversion, which may have to measure it.
bool isReady(const ValueView& value, const SqlType& type) {
  return isLargeObject(type.kind) &&
         value.kind == (type.kind == TypeKind::Blob ? Kind::Blob : Kind::Text);
}

}  // namespace

void writeGuard(char* at) {
  std::memcpy(at, kGuard.data(), kFieldGuard);
}

bool isGuardWhole(const char* at) {
  return std::memcmp(at, kGuard.data(), kFieldGuard) == 0;
}

// ------------------------------------------------------------------ arguments

ArgumentField::ArgumentField(SessionState& session, const SqlType& type)
    : session_(session), type_(type), layout_(layoutOf(type)), size_(sizeOf(layout_, type)) {
  if (layout_ == FieldLayout::LargeObject) clear();
}

void ArgumentField::store(const ValueView& value) {
  indicator_ = value.kind == Kind::Null ? int16_t{-1} : int16_t{0};
  if (indicator_ < 0) return clear();
  const ValueView given = isReady(value, type_)
                              ? value
                              : convertValue(value, type_, session_.textLength(),
                                             ConversionMode::Assignment, converted_);
  switch (layout_) {
    case FieldLayout::SmallInt:
      return put(data_, static_cast<int16_t>(given.integer));
    case FieldLayout::Integer:
      return put(data_, static_cast<int32_t>(given.integer));
    case FieldLayout::BigInt:
      return put(data_, given.integer);
    case FieldLayout::Real:
      return put(data_, static_cast<float>(given.number));
    case FieldLayout::Double:
      return put(data_, given.number);
    case FieldLayout::Text:
      return storeText(given.text);
    case FieldLayout::Bits:
      return storeBits(given.text);
    case FieldLayout::Units:
      return storeUnits(given.text);
    case FieldLayout::LargeObject:
      return storeLargeObject(given);
    case FieldLayout::Locator:
      return storeLocator(given);
  }
}

void ArgumentField::clear() {
  if (layout_ == FieldLayout::LargeObject) {
    largeObject_.assign(kLobHeader, '\0');
  } else {
    std::memset(data_, 0, std::min(size_, sizeof(int64_t)));
  }
}

void ArgumentField::storeText(std::string_view utf8) {
  const std::string_view native = session_.codePage().fromUtf8(utf8, native_);
  if (native.size() >= size_) throw SqlError(-433, {shortened(utf8)});
  if (native.find('\0') != std::string_view::npos) {
    throw SqlError(-420, {shortened(utf8), typeText(type_)});
  }
  native.copy(data_, native.size());
  data_[native.size()] = '\0';
}

void ArgumentField::storeBits(std::string_view bytes) {
  if (bytes.size() > size_ - kBitsHeader) throw SqlError(-433, {shortenedBinary(bytes)});
  put(data_, static_cast<uint16_t>(bytes.size()));
  bytes.copy(data_ + kBitsHeader, bytes.size());
}

void ArgumentField::storeUnits(std::string_view utf8) {
  const std::string_view units = session_.codePage().graphicFromUtf8(utf8, native_);
  if (units.size() + sizeof(char16_t) > size_) throw SqlError(-433, {shortened(utf8)});
  for (size_t i = 0; i < units.size(); i += 2) {
    if (units[i] == '\0' && units[i + 1] == '\0') {
      throw SqlError(-420, {shortened(utf8), typeText(type_)});
    }
  }
  copyTurned(units, 0, units.size(), data_);
  put(data_ + units.size(), char16_t{0});
}

void ArgumentField::storeLargeObject(const ValueView& value) {
  std::string_view bytes = value.text;
  if (type_.kind == TypeKind::DbClob) {
    bytes = session_.codePage().graphicFromUtf8(bytes, native_);
  } else if (type_.kind == TypeKind::Clob) {
    bytes = session_.codePage().fromUtf8(bytes, native_);
  }
  if (bytes.size() > size_ - kLobHeader) throw SqlError(-433, {shortened(value.text)});
  const size_t unit = type_.kind == TypeKind::DbClob ? sizeof(char16_t) : 1;
  largeObject_.resize(kLobHeader);
  largeObject_ += bytes;
  put(largeObject_.data(), static_cast<uint32_t>(bytes.size() / unit));
  if (unit > 1) turnUnits(largeObject_.data() + kLobHeader, bytes.size());
}

void ArgumentField::storeLocator(const ValueView& value) {
  withdraw();
  locator_ = session_.locators().add(LocatorValue::borrowing(locatorKind(type_.kind), value.text));
  put(data_, locator_);
}

void ArgumentField::withdraw() {
  if (locator_ != 0) session_.locators().discard(locator_);
  locator_ = 0;
}

// ------------------------------------------------------------------ results

ResultField::ResultField(SessionState& session, const SqlType& type)
    : session_(session), type_(type), layout_(layoutOf(type)), size_(sizeOf(layout_, type)) {
  if (size_ <= kLargestInPlace) return;
  reserved_ = std::make_unique<ReservedMemory>(size_ + kFieldGuard);
  place(reserved_->data());
}

void ResultField::place(char* memory) {
  data_ = memory;
  writeGuard(data_ + size_);
}

void ResultField::prepare() {
  indicator_ = -1;
  taken_.reset();
  std::memset(data_, 0, std::min(size_, sizeof(int64_t)));
}

std::optional<ValueView> ResultField::load() {
  if (indicator_ < 0) return ValueView::null();
  if (indicator_ > 0) return std::nullopt;
  const std::optional<ValueView> value = loadAsItIs();
  if (!value) return std::nullopt;
  return convertValue(*value, type_, session_.textLength(), ConversionMode::Assignment, converted_);
}

std::optional<ValueView> ResultField::loadAsItIs() {
  switch (layout_) {
    case FieldLayout::SmallInt:
      return ValueView::of(int64_t{get<int16_t>(data_)});
    case FieldLayout::Integer:
      return ValueView::of(int64_t{get<int32_t>(data_)});
    case FieldLayout::BigInt:
      return ValueView::of(get<int64_t>(data_));
    case FieldLayout::Real:
      return ValueView::of(double{get<float>(data_)});
    case FieldLayout::Double:
      return ValueView::of(get<double>(data_));
    case FieldLayout::Text:
      return loadText();
    case FieldLayout::Bits:
      return loadBits();
    case FieldLayout::Units:
      return loadUnits();
    case FieldLayout::LargeObject:
      return loadLargeObject();
    case FieldLayout::Locator:
      break;
  }
  return loadLocator();
}

std::optional<ValueView> ResultField::loadText() {
  const size_t length = strnlen(data_, size_);
  if (length == size_) return std::nullopt;
  return ValueView::ofText(session_.codePage().toUtf8({data_, length}, utf8_));
}

std::optional<ValueView> ResultField::loadBits() {
  const size_t length = get<uint16_t>(data_);
  if (length > size_ - kBitsHeader) return std::nullopt;
  return ValueView::ofBlob({data_ + kBitsHeader, length});
}

std::optional<ValueView> ResultField::loadUnits() {
  size_t length = 0;
  while (length < size_ && get<char16_t>(data_ + length) != 0) length += sizeof(char16_t);
  if (length >= size_) return std::nullopt;
  return unitsValue({data_, length});
}

std::optional<ValueView> ResultField::loadLargeObject() {
  const bool units = type_.kind == TypeKind::DbClob;
  const size_t length = size_t{get<uint32_t>(data_)} * (units ? sizeof(char16_t) : 1);
  if (length > size_ - kLobHeader) return std::nullopt;
  const std::string_view bytes(data_ + kLobHeader, length);
  if (units) return unitsValue(bytes);
  if (type_.kind == TypeKind::Blob) return ValueView::ofBlob(bytes);
  return ValueView::ofText(session_.codePage().toUtf8(bytes, utf8_));
}

std::optional<ValueView> ResultField::loadLocator() {
  LocatorTable& locators = session_.locators();
  const auto locator = get<sqludf_locator>(data_);
  if (locators.find(locator).kind() != locatorKind(type_.kind)) return std::nullopt;
  taken_ = locators.take(locator);
  const std::string_view utf8 = taken_->utf8View(session_.codePage());
  return type_.kind == TypeKind::Blob ? ValueView::ofBlob(utf8) : ValueView::ofText(utf8);
}

ValueView ResultField::unitsValue(std::string_view units) {
  turned_.assign(units);
  turnUnits(turned_.data(), turned_.size());
  return ValueView::ofText(session_.codePage().graphicToUtf8(turned_, utf8_));
}

}  // namespace orv
