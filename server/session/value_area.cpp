#include "server/session/value_area.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "orv/sqlda.h"
#include "server/values/packed_decimal.h"
#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"

namespace orv {
namespace {

[[noreturn]] void refuseType() {
  throw SqlError(-804, {"sqltype"});
}
[[noreturn]] void refuseLength() {
  throw SqlError(-311);
}

template <class T>
T loadNumber(const char* data) {
  T value;
  std::memcpy(&value, data, sizeof value);
  return value;
}

template <class T>
void storeNumber(char* data, T value) {
  std::memcpy(data, &value, sizeof value);
}

std::string_view boundedText(const char* data, int64_t length, int64_t capacity) {
  if (length < 0 || length > capacity) refuseLength();
  return {data, static_cast<size_t>(length)};
}

std::string_view terminatedText(const ValueArea& area) {
  const auto capacity = static_cast<size_t>(std::max<int64_t>(area.capacity, 0));
  const size_t length = strnlen(area.data, capacity);
  if (length == capacity) throw SqlError(-302, "22024", {});
  return {area.data, length};
}

std::string_view largeObjectBytes(const ValueArea& area) {
  if (area.lobLength) return boundedText(area.data, *area.lobLength, area.capacity);
  return boundedText(area.data + sizeof(int32_t), loadNumber<int32_t>(area.data), area.capacity);
}

int precisionOf(const ValueArea& area) {
  return static_cast<int>(area.capacity & 0xFF);
}
int scaleOf(const ValueArea& area) {
  return static_cast<int>((area.capacity >> 8) & 0xFF);
}

ValueView loadDecimal(const ValueArea& area, ValueStorage& storage) {
  std::optional<std::string> numeral = unpackDecimal(area.data, precisionOf(area), scaleOf(area));
  if (!numeral) throw SqlError(-302, "22023", {});
  storage.text = std::move(*numeral);
  return ValueView::ofText(storage.text);
}

ValueView loadLocator(const ValueArea& area, SessionState& session, ValueStorage& storage) {
  LocatorValue& value = session.locators().find(loadNumber<int32_t>(area.data));
  const bool blob = value.kind() == LocatorKind::Blob;
  storage.shared = value.utf8(session.codePage());
  return blob ? ValueView::ofBlob(*storage.shared) : ValueView::ofText(*storage.shared);
}

ValueView textOrBytes(std::string_view native, bool binary, const SessionState& session,
                      ValueStorage& storage) {
  if (binary) return ValueView::ofBlob(native);
  return ValueView::ofText(session.codePage().toUtf8(native, storage.text));
}

ValueView loadGraphic(std::string_view doubleBytes, const SessionState& session,
                      ValueStorage& storage) {
  return ValueView::ofText(session.codePage().graphicToUtf8(doubleBytes, storage.text));
}

// ------------------------------------------------------------------ storing

double doubleOf(const ValueView& value, const SqlType& type) {
  if (value.kind == ValueView::Kind::Double) return value.number;
  if (value.kind == ValueView::Kind::Integer) return static_cast<double>(value.integer);
  if (value.kind != ValueView::Kind::Text || !isNumeric(type.kind)) throw SqlError(-303);
  double number = 0;
  const char* const end = value.text.data() + value.text.size();
  const auto parsed = std::from_chars(value.text.data(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end) throw SqlError(-304);
  return number;
}

int64_t integerOf(const ValueView& value, const SqlType& type) {
  if (value.kind == ValueView::Kind::Integer) return value.integer;
  if (value.kind == ValueView::Kind::Text && isNumeric(type.kind)) {
    const std::string_view whole = value.text.substr(0, value.text.find('.'));
    int64_t number = 0;
    const char* const end = whole.data() + whole.size();
    const auto parsed = std::from_chars(whole.data(), end, number);
    if (whole == "-" || whole.empty()) return 0;
    if (parsed.ec != std::errc() || parsed.ptr != end) throw SqlError(-304);
    return number;
  }
  const double number = std::trunc(doubleOf(value, type));
  if (!(number >= -0x1p63 && number < 0x1p63)) throw SqlError(-304);
  return static_cast<int64_t>(number);
}

template <class T>
void storeInteger(char* data, int64_t value) {
  if (value < std::numeric_limits<T>::min() || value > std::numeric_limits<T>::max()) {
    throw SqlError(-304);
  }
  storeNumber(data, static_cast<T>(value));
}

void storeFloating(const ValueArea& area, double value) {
  if (area.capacity != sizeof(float)) return storeNumber(area.data, value);
  if (std::isfinite(value) && std::fabs(value) > std::numeric_limits<float>::max()) {
    throw SqlError(-304);
  }
  storeNumber(area.data, static_cast<float>(value));
}

void storeDecimal(const ValueArea& area, const ValueView& value, const SqlType& type,
                  SessionState& session) {
  SqlType target;
  target.kind = TypeKind::Decimal;
  target.length = precisionOf(area);
  target.scale = scaleOf(area);
  if (!isNumeric(type.kind)) throw SqlError(-303);
  std::string storage;
  const ValueView numeral =
      convertValue(value, target, session.textLength(), ConversionMode::Cast, storage);
  if (!packDecimal(numeral.text, precisionOf(area), scaleOf(area), area.data)) throw SqlError(-304);
}

LocatorKind locatorKind(int16_t type) {
  if (type == kSqlBlobLocator) return LocatorKind::Blob;
  return type == kSqlDbclobLocator ? LocatorKind::DbClob : LocatorKind::Clob;
}

void storeLargeObject(const ValueArea& area, std::string_view bytes) {
  if (static_cast<int64_t>(bytes.size()) > area.capacity) {
    throw SqlError(-433, {std::to_string(bytes.size()) + " bytes"});
  }
  const auto length = static_cast<int32_t>(bytes.size());
  char* data = area.data;
  if (area.lobLength) {
    *area.lobLength = length;
  } else {
    storeNumber(data, length);
    data += sizeof length;
  }
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
}

Stored whole(std::string_view bytes) {
  return {static_cast<int64_t>(bytes.size())};
}

// Text or bytes into a character layout.
Stored storeCharacters(const ValueArea& area, std::string_view bytes, bool text,
                       const CodePage& codePage) {
  const bool terminated = area.type == kSqlCString;
  if (area.capacity < (terminated ? 1 : 0)) refuseLength();
  const auto room = static_cast<size_t>(area.capacity - (terminated ? 1 : 0));
  size_t length = std::min(bytes.size(), room);
  if (length < bytes.size() && text) length = codePage.cut(bytes, room);
  const bool counted = area.type == kSqlVarchar || area.type == kSqlLongVarchar;
  char* data = area.data;
  if (counted) {
    storeNumber(data, static_cast<uint16_t>(length));
    data += sizeof(uint16_t);
  }
  if (length > 0) std::memcpy(data, bytes.data(), length);
  if (terminated) {
    data[length] = '\0';
  } else if (!counted && length < room) {
    std::string blank;
    std::memset(data + length, text ? codePage.fromUtf8(" ", blank).front() : 0, room - length);
  }
  return {static_cast<int64_t>(bytes.size()), length < bytes.size()};
}

Stored storeGraphic(const ValueArea& area, std::string_view utf8, const CodePage& codePage) {
  std::string storage;
  std::string_view doubleBytes = codePage.graphicFromUtf8(utf8, storage);
  if (area.type == kSqlDbclob) {
    storeLargeObject(area, doubleBytes);
    return whole(doubleBytes);
  }
  const auto room = static_cast<size_t>(std::max<int64_t>(area.capacity, 0)) * 2;
  const size_t length = std::min(doubleBytes.size(), room);
  char* data = area.data;
  if (area.type != kSqlGraphic) {
    storeNumber(data, static_cast<uint16_t>(length / 2));
    data += sizeof(uint16_t);
  }
  if (length > 0) std::memcpy(data, doubleBytes.data(), length);
  if (area.type == kSqlGraphic) {
    std::string blank;
    const std::string_view pad =
        codePage.isUtf8() ? std::string_view("\0 ", 2) : codePage.graphicFromUtf8("\u3000", blank);
    for (size_t at = length; at < room; at += 2) std::memcpy(data + at, pad.data(), 2);
  }
  return {static_cast<int64_t>(doubleBytes.size()), length < doubleBytes.size()};
}

Stored storeBytes(const ValueArea& area, std::string_view bytes, bool text, SessionState& session) {
  switch (area.type) {
    case kSqlCString:
    case kSqlChar:
    case kSqlVarchar:
    case kSqlLongVarchar:
    case kSqlDate:
    case kSqlTime:
    case kSqlTimestamp:
      return storeCharacters(area, bytes, text, session.codePage());
    case kSqlClob:
    case kSqlBlob:
      storeLargeObject(area, bytes);
      return whole(bytes);
    default:
      refuseType();
  }
}

bool isGraphicCode(int16_t type) {
  return type == kSqlGraphic || type == kSqlVargraphic || type == kSqlLongVargraphic ||
         type == kSqlDbclob;
}

}  // namespace

int16_t descriptorLength(const SqlType& type) {
  switch (type.kind) {
    case TypeKind::SmallInt:
      return 2;
    case TypeKind::Integer:
    case TypeKind::Real:
      return 4;
    case TypeKind::BigInt:
    case TypeKind::Double:
    case TypeKind::Time:
      return 8;
    case TypeKind::Date:
      return 10;
    case TypeKind::Timestamp:
      return 26;
    case TypeKind::Decimal:
      return static_cast<int16_t>(int64_t{type.scale} * 256 + type.length);
    case TypeKind::Clob:
    case TypeKind::DbClob:
    case TypeKind::Blob:
      return 0;
    default:
      return static_cast<int16_t>(declaredSize(type));
  }
}

int64_t layoutSize(const SqlType& type) {
  const int64_t length = descriptorLength(type);
  switch (type.kind) {
    case TypeKind::Decimal:
      return static_cast<int64_t>(packedSize(static_cast<int>(type.length)));
    case TypeKind::Varchar:
    case TypeKind::LongVarchar:
    case TypeKind::VarcharBits:
    case TypeKind::LongVarcharBits:
      return length + 2;
    case TypeKind::Graphic:
      return length * 2;
    case TypeKind::VarGraphic:
    case TypeKind::LongVarGraphic:
      return length * 2 + 2;
    case TypeKind::DbClob:
      return type.length * 2;
    case TypeKind::Clob:
    case TypeKind::Blob:
      return type.length;
    default:
      return length;
  }
}

bool isLargeObjectCode(int16_t type) {
  return type == kSqlClob || type == kSqlBlob || type == kSqlDbclob;
}

bool isLocatorCode(int16_t type) {
  return type == kSqlClobLocator || type == kSqlBlobLocator || type == kSqlDbclobLocator;
}

ValueView loadFromArea(const ValueArea& area, bool binary, SessionState& session,
                       ValueStorage& storage) {
  const char* const data = area.data;
  const int64_t capacity = area.capacity;
  switch (area.type) {
    case kSqlSmallint:
      return ValueView::of(static_cast<int64_t>(loadNumber<int16_t>(data)));
    case kSqlInteger:
      return ValueView::of(static_cast<int64_t>(loadNumber<int32_t>(data)));
    case kSqlBigint:
      return ValueView::of(loadNumber<int64_t>(data));
    case kSqlDouble:
      return ValueView::of(capacity == sizeof(float) ? static_cast<double>(loadNumber<float>(data))
                                                     : loadNumber<double>(data));
    case kSqlDecimal:
      return loadDecimal(area, storage);
    case kSqlCString:
      return textOrBytes(terminatedText(area), binary, session, storage);
    case kSqlChar:
    case kSqlDate:
    case kSqlTime:
    case kSqlTimestamp:
      return textOrBytes(boundedText(data, capacity, capacity), binary, session, storage);
    case kSqlVarchar:
    case kSqlLongVarchar:
      return textOrBytes(boundedText(data + 2, loadNumber<uint16_t>(data), capacity), binary,
                         session, storage);
    case kSqlClob:
      return textOrBytes(largeObjectBytes(area), binary, session, storage);
    case kSqlBlob:
      return ValueView::ofBlob(largeObjectBytes(area));
    case kSqlDbclob:
      return loadGraphic(largeObjectBytes(area), session, storage);
    case kSqlGraphic:
      return loadGraphic(boundedText(data, capacity * 2, capacity * 2), session, storage);
    case kSqlVargraphic:
    case kSqlLongVargraphic:
      return loadGraphic(
          boundedText(data + 2, int64_t{loadNumber<uint16_t>(data)} * 2, capacity * 2), session,
          storage);
    default:
      if (isLocatorCode(area.type)) return loadLocator(area, session, storage);
      refuseType();
  }
}

Stored storeInArea(const ValueArea& area, const ValueView& value, const SqlType& type,
                   SessionState& session) {
  switch (area.type) {
    case kSqlSmallint:
      storeInteger<int16_t>(area.data, integerOf(value, type));
      return {area.capacity};
    case kSqlInteger:
      storeInteger<int32_t>(area.data, integerOf(value, type));
      return {area.capacity};
    case kSqlBigint:
      storeNumber(area.data, integerOf(value, type));
      return {area.capacity};
    case kSqlDouble:
      storeFloating(area, doubleOf(value, type));
      return {area.capacity};
    case kSqlDecimal:
      storeDecimal(area, value, type, session);
      return {area.capacity};
    default:
      break;
  }
  const bool binary = value.kind == ValueView::Kind::Blob;
  std::string storage;
  const std::string_view utf8 = binary ? value.text : valueText(value, type, storage);
  if (isLocatorCode(area.type)) {
    storeNumber(area.data, session.locators().add({locatorKind(area.type), std::string(utf8)}));
    return {area.capacity};
  }
  if (isGraphicCode(area.type)) return storeGraphic(area, utf8, session.codePage());
  std::string native;
  if (binary) return storeBytes(area, utf8, false, session);
  return storeBytes(area, session.codePage().fromUtf8(utf8, native), true, session);
}

Stored storeNativeInArea(const ValueArea& area, std::string_view native, SessionState& session) {
  return storeBytes(area, native, true, session);
}

}  // namespace orv
