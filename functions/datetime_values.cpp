#include "functions/datetime_values.h"

#include <cstdio>

namespace orvxml::functions {
namespace {

struct Parts {
  int year = 0, month = 0, day = 0;
  int hour = 0, minute = 0, second = 0;
  int microsecond = 0;
};

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Takes pieces from the front of a text; every taker says whether the piece was there, and takes
// nothing when it was not.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool number(size_t fewest, size_t most, int& value) {
    size_t n = 0;
    int result = 0;
    for (; n < most && n < rest_.size() && isDigit(rest_[n]); ++n) {
      result = result * 10 + (rest_[n] - '0');
    }
    if (n < fewest) return false;
    rest_.remove_prefix(n);
    value = result;
    return true;
  }
  bool one(char c) {
    if (front() != c || atEnd()) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool anyOf(std::string_view characters) {
    if (atEnd() || characters.find(front()) == characters.npos) return false;
    rest_.remove_prefix(1);
    return true;
  }
  // The digits behind the point of a second, of which six are kept.
  bool fraction(int& microsecond) {
    size_t n = 0;
    microsecond = 0;
    for (; n < rest_.size() && isDigit(rest_[n]); ++n) {
      if (n < 6) microsecond = microsecond * 10 + (rest_[n] - '0');
    }
    for (size_t i = n; i < 6; ++i) microsecond *= 10;
    rest_.remove_prefix(n);
    return n > 0;
  }
  char front() const { return rest_.empty() ? '\0' : rest_.front(); }
  bool atEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

// yyyy-mm-dd | mm/dd/yyyy | dd.mm.yyyy
bool readDate(Scanner& in, Parts& parts) {
  Scanner iso = in;
  if (iso.number(4, 4, parts.year) && iso.one('-')) {
    in = iso;
    return in.number(1, 2, parts.month) && in.one('-') && in.number(1, 2, parts.day);
  }
  int first = 0, second = 0;
  if (!in.number(1, 2, first)) return false;
  const char separator = in.front();
  if (separator != '/' && separator != '.') return false;
  if (!in.one(separator) || !in.number(1, 2, second) || !in.one(separator) ||
      !in.number(4, 4, parts.year)) {
    return false;
  }
  parts.month = separator == '/' ? first : second;
  parts.day = separator == '/' ? second : first;
  return true;
}

// " "* (AM | PM), if it is there. The hour goes from 1 to 12; any other becomes one that no clock
// shows.
bool readHalfDay(Scanner& in, Parts& parts) {
  Scanner half = in;
  while (half.one(' ')) {
  }
  const bool afternoon = half.anyOf("Pp");
  if ((!afternoon && !half.anyOf("Aa")) || !half.anyOf("Mm")) return false;
  in = half;
  const bool isHour = parts.hour >= 1 && parts.hour <= 12;
  parts.hour = isHour ? parts.hour % 12 + (afternoon ? 12 : 0) : 25;
  return true;
}

// hh(:|.)mm[(:|.)ss[.fraction]] [AM | PM] | hh (AM | PM)
bool readTime(Scanner& in, Parts& parts) {
  if (!in.number(1, 2, parts.hour)) return false;
  const char separator = in.front();
  if (separator != ':' && separator != '.') return readHalfDay(in, parts);
  in.one(separator);
  if (!in.number(2, 2, parts.minute)) return false;
  if (in.one(separator)) {
    if (!in.number(2, 2, parts.second)) return false;
    if (in.one('.') && !in.fraction(parts.microsecond)) return false;
  }
  readHalfDay(in, parts);
  return true;
}

// Z | (+|-)hh:mm, at the end.
bool readZone(Scanner& in) {
  Scanner zone = in;
  int hours = 0, minutes = 0;
  if (!zone.one('Z')) {
    if (!zone.anyOf("+-") || !zone.number(2, 2, hours) || !zone.one(':') ||
        !zone.number(2, 2, minutes) || hours > 14 || minutes > (hours == 14 ? 0 : 59)) {
      return false;
    }
  }
  if (!zone.atEnd()) return false;
  in = zone;
  return true;
}

// date [zone] | date ("T" | "-" | " ") time [zone]
bool readTimestamp(Scanner& in, Parts& parts) {
  if (!readDate(in, parts)) return false;
  if (in.atEnd() || readZone(in)) return true;
  return in.anyOf("Tt- ") && readTime(in, parts) && (in.atEnd() || readZone(in));
}

bool readWhole(std::string_view text, DatetimeKind kind, Parts& parts) {
  if (kind == DatetimeKind::Time) {
    Scanner in(text);
    if (readTime(in, parts) && (in.atEnd() || readZone(in))) return true;
    parts = {};
  }
  Scanner in(text);
  return readTimestamp(in, parts);
}

int daysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

bool isDate(const Parts& parts) {
  return parts.year >= 1 && parts.month >= 1 && parts.month <= 12 && parts.day >= 1 &&
         parts.day <= daysInMonth(parts.year, parts.month);
}

bool isTime(const Parts& parts) {
  if (parts.hour == 24) return parts.minute == 0 && parts.second == 0 && parts.microsecond == 0;
  return parts.hour < 24 && parts.minute < 60 && parts.second < 60;
}

}  // namespace

std::optional<std::string> datetimeValue(std::string_view text, DatetimeKind kind) {
  Parts p;
  if (!readWhole(text, kind, p)) return std::nullopt;
  const bool hasDate = kind != DatetimeKind::Time || p.year != 0 || p.month != 0;
  if ((hasDate && !isDate(p)) || !isTime(p)) return std::nullopt;
  char out[64];
  switch (kind) {
    case DatetimeKind::Date:
      std::snprintf(out, sizeof out, "%04d-%02d-%02d", p.year, p.month, p.day);
      break;
    case DatetimeKind::Time:
      std::snprintf(out, sizeof out, "%02d.%02d.%02d", p.hour, p.minute, p.second);
      break;
    case DatetimeKind::Timestamp:
      std::snprintf(out, sizeof out, "%04d-%02d-%02d-%02d.%02d.%02d.%06d", p.year, p.month, p.day,
                    p.hour, p.minute, p.second, p.microsecond);
  }
  return out;
}

}  // namespace orvxml::functions
