// The ten types of extracted values, and the double-byte CLOB: how a value's text, in the database
// code page, becomes the function's result. `store` says whether there is a value: an empty text is
// none but for the types of texts.
#pragma once

#include <string_view>
#include <type_traits>

#include "functions/datetime_values.h"
#include "functions/function_frame.h"
#include "functions/number_values.h"

namespace orvxml::functions {

// Without the white space that XML allows around numbers, dates and times.
std::string_view trimmed(std::string_view text);

// Bytes of a value's text, terminator included.
inline constexpr int kPlainValueRoom = 4001;

template <class T>
struct NumberValue {
  using Field = T;
  static constexpr int kFormat = kExtractText;
  static constexpr int kRoom = kPlainValueRoom;

  static bool store(FunctionCall& call, std::string_view text, Field* result) {
    const std::string_view number = trimmed(text);
    if (number.empty()) return false;
    switch (readNumber(number, *result)) {
      case NumberRead::Malformed:
        call.failValue(number);
      case NumberRead::OutOfRange:
        call.fail(Msg::QRKC013E);
      case NumberRead::Ok:
        return true;
    }
    return true;
  }
};
using IntegerValue = NumberValue<int32_t>;
using SmallintValue = NumberValue<int16_t>;
using DoubleValue = NumberValue<double>;
using RealValue = NumberValue<float>;

template <DatetimeKind kind>
struct DatetimeValue {
  using Field = char;
  static constexpr int kFormat = kExtractText;
  static constexpr int kRoom = kPlainValueRoom;

  static bool store(FunctionCall& call, std::string_view text, Field* result) {
    const std::string_view written = trimmed(text);
    if (written.empty()) return false;
    const auto value = datetimeValue(written, kind);
    if (!value) call.failValue(written);
    result[value->copy(result, value->size())] = 0;
    return true;
  }
};
using DateValue = DatetimeValue<DatetimeKind::Date>;
using TimeValue = DatetimeValue<DatetimeKind::Time>;
using TimestampValue = DatetimeValue<DatetimeKind::Timestamp>;

template <int maxBytes>
struct TextValue {
  using Field = char;
  static constexpr int kFormat = kExtractText;
  static constexpr int kRoom = maxBytes + 1;

  static bool store(FunctionCall&, std::string_view text, Field* result) {
    result[text.copy(result, maxBytes)] = 0;
    return true;
  }
};
using VarcharValue = TextValue<4000>;
using CharValue = TextValue<254>;  // the server pads it

// A fragment of the document: the elements with their markup.
struct ClobValue {
  using Field = sqludf_locator;
  static constexpr int kFormat = kExtractMarkup;
  static constexpr int kRoom = INT32_MAX;
  static bool store(FunctionCall& call, std::string_view text, Field* result);
};

struct DbClobValue {
  using Field = sqludf_lob;
  static constexpr int kFormat = kExtractMarkup;
  static constexpr uint32_t kMaxUnits = 10240;
  static constexpr int kRoom = 4 * kMaxUnits + 1;
  static bool store(FunctionCall& call, std::string_view text, Field* result);
  static void copy(std::u16string_view units, Field* result);
};

}  // namespace orvxml::functions
