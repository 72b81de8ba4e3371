// Dates, times and timestamps as text: reading every accepted form and writing the one that is
// stored, "2026-11-24", "20.16.07" and "2026-11-24-20.16.07.000000".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "server/values/types.h"

namespace orv {

struct DatetimeParts {
  int year = 0, month = 0, day = 0;
  int hour = 0, minute = 0, second = 0;
  int microsecond = 0;
};

// Reads `text` as a value of `kind` (Date, Time or Timestamp); a timestamp also serves as a date or
// a time, and a date as the timestamp of its midnight. Throws SqlError -180 for text of no such
// form and -181 for parts out of range.
DatetimeParts parseDatetime(std::string_view text, TypeKind kind);

void writeDatetime(const DatetimeParts& parts, TypeKind kind, std::string& out);

// `text` in the stored form of `kind`: a view of `text` itself when it has that form already, else
// of `storage`.
std::string_view datetimeText(std::string_view text, TypeKind kind, std::string& storage);

int daysInMonth(int year, int month);

}  // namespace orv
