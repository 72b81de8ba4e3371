// Dates, times and timestamps of documents in the forms that the server takes from a function,
// "2026-11-24", "20.16.07" and "2026-11-24-20.16.07.000000".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvxml::functions {

enum class DatetimeKind { Date, Time, Timestamp };

// Reads what XML Schema writes (2026-11-24Z, 20:16:07.25+01:00, 2026-11-24T20:16:07) and what the
// server writes: dates yyyy-mm-dd, mm/dd/yyyy and dd.mm.yyyy, times with points or colons and with
// AM or PM. The value is taken as it is written: a time zone is dropped, of a fraction the digits
// beyond a microsecond. A timestamp serves as a date or a time, a date as its midnight. Nothing for
// any other text and for what no calendar or clock shows.
std::optional<std::string> datetimeValue(std::string_view text, DatetimeKind kind);

}  // namespace orvxml::functions
