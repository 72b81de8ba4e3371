#include "server/values/value_conversion.h"

#include <gtest/gtest.h>

#include "server/values/sql_error.h"

namespace orv {
namespace {

SqlType type(TypeKind kind, int64_t length = 0, int scale = 0) {
  SqlType t;
  t.kind = kind;
  t.length = length;
  t.scale = scale;
  return t;
}

std::string shown(const ValueView& value, const SqlType& target) {
  std::string storage;
  if (value.kind == ValueView::Kind::Null) return "null";
  if (value.kind == ValueView::Kind::Blob)
    return "X" + std::string(valueText(value, target, storage));
  return std::string(valueText(value, target, storage));
}

// The converted value as text, or "-433 22001" when it is refused.
std::string convert(const ValueView& value, const SqlType& target, ConversionMode mode,
                    int codePage = 1208) {
  try {
    std::string storage;
    TextLength length(codePage);
    return shown(convertValue(value, target, length, mode, storage), target);
  } catch (const SqlError& error) {
    return std::to_string(error.sqlcode()) + " " + error.sqlstate();
  }
}

struct Case {
  ValueView value;
  SqlType target;
  const char* assigned;
  const char* cast = nullptr;  // null: as assigned
};

void expectAll(std::initializer_list<Case> cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(typeText(c.target) + " from " + shown(c.value, c.target));
    EXPECT_EQ(convert(c.value, c.target, ConversionMode::Assignment), c.assigned);
    EXPECT_EQ(convert(c.value, c.target, ConversionMode::Cast), c.cast ? c.cast : c.assigned);
  }
}

ValueView text(std::string_view t) {
  return ValueView::ofText(t);
}
ValueView number(int64_t n) {
  return ValueView::of(n);
}
ValueView real(double d) {
  return ValueView::of(d);
}

constexpr const char* kOverflow = "-413 22003";
constexpr const char* kNoNumber = "-420 22018";
constexpr const char* kTooLong = "-433 22001";
constexpr const char* kBadDate = "-180 22007";
constexpr const char* kImpossibleDate = "-181 22007";

TEST(ValueConversionTest, TextBecomesIntegersWithinTheirRange) {
  SqlType integer = type(TypeKind::Integer);
  SqlType small = type(TypeKind::SmallInt);
  SqlType big = type(TypeKind::BigInt);
  expectAll({
      {text("  +12 "), integer, "12"},
      {text("-12.99"), integer, "-12"},
      {text("1.5e3"), integer, "1500"},
      {text("25e-1"), integer, "2"},
      {text("0.000e99999999999999999999"), integer, "0"},
      {text("1e99999999999999999999"), integer, kOverflow},
      {text("00000000000000000000000000007"), integer, "7"},
      {text("2147483648"), integer, kOverflow},
      {text("-2147483648"), integer, "-2147483648"},
      {text("32768"), small, kOverflow},
      {text("9223372036854775807"), big, "9223372036854775807"},
      {text("9223372036854775808"), big, kOverflow},
      {text("-9223372036854775808.9"), big, "-9223372036854775808"},
      {text(""), integer, kNoNumber},
      {text("  "), integer, kNoNumber},
      {text("12abc"), integer, kNoNumber},
      {text("1 2"), integer, kNoNumber},
      {text("."), integer, kNoNumber},
      {text("1e"), integer, kNoNumber},
      {text("--1"), integer, kNoNumber},
      {text("0x10"), integer, kNoNumber},
      {real(-2.9), integer, "-2"},
      {real(9.3e18), big, kOverflow},
      {ValueView::null(), integer, "null"},
  });
}

TEST(ValueConversionTest, DecimalsKeepEveryDigit) {
  expectAll({
      {text("20"), type(TypeKind::Decimal, 10, 2), "20.00"},
      {text("20.00"), type(TypeKind::Decimal, 10, 2), "20.00"},
      {text(" .5"), type(TypeKind::Decimal, 5, 2), "0.50"},
      {text("-0.009"), type(TypeKind::Decimal, 5, 2), "0.00"},
      {text("1.999"), type(TypeKind::Decimal, 5, 2), "1.99"},
      {text("1000"), type(TypeKind::Decimal, 5, 2), kOverflow},
      {text("000999.5"), type(TypeKind::Decimal, 5, 2), "999.50"},
      {text("-0.00"), type(TypeKind::Decimal, 5, 2), "0.00"},
      {text("00.50"), type(TypeKind::Decimal, 5, 2), "0.50"},
      {text("1000.00"), type(TypeKind::Decimal, 5, 2), kOverflow},
      {text("1:00"), type(TypeKind::Decimal, 5, 2), kNoNumber},
      {text("12e-3"), type(TypeKind::Decimal, 5, 4), "0.0120"},
      {text("0.5"), type(TypeKind::Decimal, 2, 2), "0.50"},
      {text("1"), type(TypeKind::Decimal, 2, 2), kOverflow},
      {text("1234567890123456789012345678901"), type(TypeKind::Decimal, 31, 0),
       "1234567890123456789012345678901"},
      {text("-0.1234567890123456789012345678901"), type(TypeKind::Decimal, 31, 31),
       "-0.1234567890123456789012345678901"},
      {real(0.99), type(TypeKind::Decimal, 10, 2), "0.99"},
      {real(1e30), type(TypeKind::Decimal, 31, 0), "1000000000000000000000000000000"},
      {number(-7), type(TypeKind::Decimal, 4, 1), "-7.0"},
      {text("ten"), type(TypeKind::Decimal, 4, 1), kNoNumber},
  });
}

TEST(ValueConversionTest, FloatingNumbers) {
  expectAll({
      {text("1.5"), type(TypeKind::Double), "1.5E0"},
      {text("-12345678.9"), type(TypeKind::Double), "-1.23456789E7"},
      {text("1e-400"), type(TypeKind::Double), "0.0E0"},
      {text("0.1e-9999999"), type(TypeKind::Double), "0.0E0"},
      {text("1e400"), type(TypeKind::Double), kOverflow},
      {text("nan"), type(TypeKind::Double), kNoNumber},
      {text("inf"), type(TypeKind::Double), kNoNumber},
      {text("0.1"), type(TypeKind::Real), "1.0E-1"},
      {text("1e39"), type(TypeKind::Real), kOverflow},
      {text("-3.4028235E38"), type(TypeKind::Real), "-3.4028235E38"},
      {text("3.402823567797337E38"), type(TypeKind::Real), kOverflow},
  });
}

TEST(ValueConversionTest, StringsArePaddedAndCutBetweenCharacters) {
  expectAll({
      {text("ab"), type(TypeKind::Char, 4), "ab  "},
      {text("abcd  "), type(TypeKind::Varchar, 4), "abcd"},
      {text("abcde"), type(TypeKind::Varchar, 4), kTooLong, "abcd"},
      {text("abc\xC3\xA4"), type(TypeKind::Varchar, 4), kTooLong, "abc"},
      {text("abc\xC3\xA4"), type(TypeKind::Char, 4), kTooLong, "abc "},
      {text("\xF0\x9F\x98\x80"), type(TypeKind::Varchar, 3), kTooLong, ""},
      {text("\xC3\xA4\xF0\x9F\x98\x80"), type(TypeKind::VarGraphic, 3), "\xC3\xA4\xF0\x9F\x98\x80"},
      {text("\xC3\xA4\xF0\x9F\x98\x80"), type(TypeKind::VarGraphic, 2), kTooLong, "\xC3\xA4"},
      {text("\xC3\xA4"), type(TypeKind::Graphic, 2), "\xC3\xA4 "},
      {number(12345), type(TypeKind::Varchar, 4), kTooLong},
      {ValueView::ofBlob("ab"), type(TypeKind::CharBits, 4), "X61622020"},
      {ValueView::ofBlob("ab\x01"), type(TypeKind::Blob, 2), "-433 22001", "X6162"},
      {ValueView::ofBlob("\xFF"), type(TypeKind::Varchar, 4), "XFF", "-408 42821"},
      {ValueView::ofBlob("\xFF"), type(TypeKind::Char, 3), "XFF2020", "-408 42821"},
      {ValueView::ofBlob("\xFFxy"), type(TypeKind::Varchar, 2), "-433 22001", "-408 42821"},
      {ValueView::ofBlob("\xFF"), type(TypeKind::Clob, 4), "-408 42821"},
      {ValueView::ofBlob("1"), type(TypeKind::Integer), "-408 42821"},
  });
}

TEST(ValueConversionTest, LengthsCountInTheCodePageOfTheDatabase) {
  struct CodePageCase {
    const char* label;
    int codePage;
    const char* value;
    int64_t length;
    const char* cast;
  };
  constexpr CodePageCase kCases[] = {
      {"one byte for an umlaut", 819, "\xC3\xA4\xC3\xB6", 2, "\xC3\xA4\xC3\xB6"},
      {"and no half of one", 819, "\xC3\xA4\xC3\xB6", 1, "\xC3\xA4"},
      {"two bytes for a kanji", 943, "\xE6\xBC\xA2\xE5\xAD\x97", 4, "\xE6\xBC\xA2\xE5\xAD\x97"},
      {"three bytes hold one kanji", 943, "\xE6\xBC\xA2\xE5\xAD\x97", 3, "\xE6\xBC\xA2"},
      {"half-width letters take one byte", 943, "\xEF\xBD\xB1\xEF\xBD\xB2", 2,
       "\xEF\xBD\xB1\xEF\xBD\xB2"},
      {"but two in the other encoding", 33722, "\xEF\xBD\xB1\xEF\xBD\xB2", 3, "\xEF\xBD\xB1"},
      {"shift sequences count", 930, "a\xE6\xBC\xA2", 5, "a\xE6\xBC\xA2"},
      {"and may leave no room", 930, "a\xE6\xBC\xA2", 4, "a"},
      {"four bytes where UTF-8 takes two", 1392, "\xC3\xA4", 3, ""},
  };
  for (const CodePageCase& c : kCases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(
        convert(text(c.value), type(TypeKind::Varchar, c.length), ConversionMode::Cast, c.codePage),
        c.cast);
  }
  EXPECT_EQ(convert(text("\xE6\xBC\xA2"), type(TypeKind::Char, 4), ConversionMode::Assignment, 943),
            "\xE6\xBC\xA2  ");
}

TEST(ValueConversionTest, DatesAndTimesAreReadInAllForms) {
  SqlType date = type(TypeKind::Date);
  SqlType time = type(TypeKind::Time);
  SqlType timestamp = type(TypeKind::Timestamp);
  expectAll({
      {text("2026-11-24"), date, "2026-11-24"},
      {text("2026-1-2 "), date, "2026-01-02"},
      {text("11/24/2026"), date, "2026-11-24"},
      {text("24.11.2026"), date, "2026-11-24"},
      {text("2026-11-24-20.16.07.000000"), date, "2026-11-24"},
      {text("2024-02-29"), date, "2024-02-29"},
      {text("1900-02-29"), date, kImpossibleDate},
      {text("2026-13-01"), date, kImpossibleDate},
      {text("0000-01-01"), date, kImpossibleDate},
      {text("2026/11/24"), date, kBadDate},
      {text("2026-11-24x"), date, kBadDate},
      {text("11.24"), date, kBadDate},
      {text(""), date, kBadDate},
      {number(20261124), date, "-408 42821"},
      {text("20.16.07"), time, "20.16.07"},
      {text("20:16"), time, "20.16.00"},
      {text("8:05 PM"), time, "20.05.00"},
      {text("12:00 am"), time, "00.00.00"},
      {text("12 PM"), time, "12.00.00"},
      {text("13:00 AM"), time, kImpossibleDate},
      {text("24:00:00"), time, "24.00.00"},
      {text("24:00:01"), time, kImpossibleDate},
      {text("20:60"), time, kImpossibleDate},
      {text("20"), time, kBadDate},
      {text("20.16:07"), time, kBadDate},
      {text("2026-11-24 20:16:07.5"), time, "20.16.07"},
      {text("2026-11-24-20.16.07.123456"), timestamp, "2026-11-24-20.16.07.123456"},
      {text("2026-11-24T20:16:07.1234567"), timestamp, "2026-11-24-20.16.07.123456"},
      {text("2026-11-24 20:16:07"), timestamp, "2026-11-24-20.16.07.000000"},
      {text("2026-11-24"), timestamp, "2026-11-24-00.00.00.000000"},
      {text("2026-11-24-20.16.07."), timestamp, kBadDate},
  });
}

TEST(ValueConversionTest, NothingIsCopiedWhenNothingChanges) {
  const std::string value = "20.00";
  const std::string day = "2026-11-24";
  std::string storage;
  TextLength utf8(1208);
  for (const SqlType& target : {type(TypeKind::Varchar, 5), type(TypeKind::Char, 5),
                                type(TypeKind::Clob, 100), type(TypeKind::Decimal, 5, 2)}) {
    ValueView result = convertValue(text(value), target, utf8, ConversionMode::Assignment, storage);
    EXPECT_EQ(result.text.data(), value.data()) << typeText(target);
  }
  EXPECT_EQ(convertValue(text(day), type(TypeKind::Date), utf8, ConversionMode::Cast, storage)
                .text.data(),
            day.data());
  EXPECT_TRUE(storage.empty());
}

TEST(ValueConversionTest, DecimalNumeralsCompareByValue) {
  struct Comparison {
    const char* a;
    const char* b;
    int order;
  };
  constexpr Comparison kCases[] = {
      {"1.0", "1.00", 0}, {"-0.00", "0", 0},
      {"10", "9.99", 1},  {"-10", "-9.99", -1},
      {"0.1", "0.01", 1}, {"00012", "12.0", 0},
      {"-1", "1", -1},    {"99999999999999999999.1", "99999999999999999999.2", -1},
  };
  for (const Comparison& c : kCases) {
    EXPECT_EQ(compareDecimals(c.a, c.b), c.order) << c.a << " and " << c.b;
    EXPECT_EQ(compareDecimals(c.b, c.a), -c.order) << c.b << " and " << c.a;
  }
}

}  // namespace
}  // namespace orv
