#include "server/values/datetime_text.h"

#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"

namespace orv {
namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Takes pieces from the front of a text; every taker says whether the piece was there.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool number(size_t fewest, size_t most, int& value) {
    size_t n = 0;
    int result = 0;
    while (n < most && n < rest_.size() && isDigit(rest_[n])) {
      result = result * 10 + (rest_[n] - '0');
      ++n;
    }
    if (n < fewest) return false;
    rest_.remove_prefix(n);
    value = result;
    return true;
  }
  bool one(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool letter(char upper) { return one(upper) || one(static_cast<char>(upper + ('a' - 'A'))); }
  void blanks() {
    while (one(' ')) {
    }
  }
  // The digits after the point of a second; beyond a microsecond they are dropped.
  bool fraction(int& microsecond) {
    size_t n = 0;
    int result = 0;
    for (; n < rest_.size() && isDigit(rest_[n]); ++n) {
      if (n < 6) result = result * 10 + (rest_[n] - '0');
      if (n >= 12) return false;
    }
    for (size_t i = n; i < 6; ++i) result *= 10;
    rest_.remove_prefix(n);
    microsecond = result;
    return n > 0;
  }
  bool atEnd() const { return rest_.empty(); }
  char front() const { return rest_.empty() ? '\0' : rest_.front(); }

 private:
  std::string_view rest_;
};

// yyyy-mm-dd | mm/dd/yyyy | dd.mm.yyyy
bool readDate(Scanner& scanner, DatetimeParts& parts) {
  Scanner iso = scanner;
  if (iso.number(4, 4, parts.year) && iso.one('-')) {
    scanner = iso;
    return scanner.number(1, 2, parts.month) && scanner.one('-') && scanner.number(1, 2, parts.day);
  }
  int first = 0;
  int second = 0;
  if (!scanner.number(1, 2, first)) return false;
  char separator = scanner.front();
  if (separator != '/' && separator != '.') return false;
  if (!scanner.one(separator) || !scanner.number(1, 2, second) || !scanner.one(separator) ||
      !scanner.number(4, 4, parts.year)) {
    return false;
  }
  parts.month = separator == '/' ? first : second;
  parts.day = separator == '/' ? second : first;
  return true;
}

// AM and PM turn a 12-hour time; an hour out of 1..12 becomes one that no range accepts.
bool readHalfDay(Scanner& scanner, DatetimeParts& parts) {
  bool afternoon = scanner.letter('P');
  if (!afternoon && !scanner.letter('A')) return false;
  if (!scanner.letter('M')) return false;
  if (parts.hour < 1 || parts.hour > 12) {
    parts.hour = 25;
  } else {
    parts.hour = parts.hour % 12 + (afternoon ? 12 : 0);
  }
  return true;
}

// hh(.|:)mm[(.|:)ss] [AM|PM]
bool readTime(Scanner& scanner, DatetimeParts& parts) {
  if (!scanner.number(1, 2, parts.hour)) return false;
  char separator = scanner.front();
  if (separator == '.' || separator == ':') {
    scanner.one(separator);
    if (!scanner.number(2, 2, parts.minute)) return false;
    if (scanner.one(separator) && !scanner.number(2, 2, parts.second)) return false;
  } else if (separator != ' ') {
    return false;
  }
  Scanner half = scanner;
  half.blanks();
  if (half.front() == 'A' || half.front() == 'P' || half.front() == 'a' || half.front() == 'p') {
    scanner = half;
    return readHalfDay(scanner, parts);
  }
  return separator != ' ';
}

// date [("-" | " " | "T") time ["." fraction]]
bool readTimestamp(Scanner& scanner, DatetimeParts& parts) {
  if (!readDate(scanner, parts)) return false;
  if (scanner.atEnd()) return true;
  if (!scanner.one('-') && !scanner.one(' ') && !scanner.letter('T')) return false;
  if (!readTime(scanner, parts)) return false;
  return !scanner.one('.') || scanner.fraction(parts.microsecond);
}

bool readTimeOrTimestamp(Scanner& scanner, DatetimeParts& parts) {
  Scanner plain = scanner;
  if (readTime(plain, parts) && plain.atEnd()) {
    scanner = plain;
    return true;
  }
  parts = {};
  return readTimestamp(scanner, parts);
}

bool dateInRange(const DatetimeParts& parts) {
  return parts.year >= 1 && parts.month >= 1 && parts.month <= 12 && parts.day >= 1 &&
         parts.day <= daysInMonth(parts.year, parts.month);
}

bool timeInRange(const DatetimeParts& parts) {
  if (parts.hour == 24) return parts.minute == 0 && parts.second == 0 && parts.microsecond == 0;
  return parts.hour < 24 && parts.minute < 60 && parts.second < 60;
}

std::string_view trimBlanks(std::string_view text) {
  size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// "9" stands for any digit.
bool hasForm(std::string_view text, std::string_view form) {
  if (text.size() != form.size()) return false;
  for (size_t i = 0; i < form.size(); ++i) {
    if (form[i] == '9' ? !isDigit(text[i]) : text[i] != form[i]) return false;
  }
  return true;
}

std::string_view storedForm(TypeKind kind) {
  switch (kind) {
    case TypeKind::Date:
      return "9999-99-99";
    case TypeKind::Time:
      return "99.99.99";
    default:
      return "9999-99-99-99.99.99.999999";
  }
}

void appendNumber(std::string& out, int value, int width) {
  char digits[8];
  for (int i = width - 1; i >= 0; --i, value /= 10) {
    digits[i] = static_cast<char>('0' + value % 10);
  }
  out.append(digits, static_cast<size_t>(width));
}

}  // namespace

int daysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

DatetimeParts parseDatetime(std::string_view text, TypeKind kind) {
  DatetimeParts parts;
  Scanner scanner(trimBlanks(text));
  bool read =
      kind == TypeKind::Time ? readTimeOrTimestamp(scanner, parts) : readTimestamp(scanner, parts);
  if (!read || !scanner.atEnd()) throw SqlError(-180, {shortened(text)});
  bool hasDate = kind != TypeKind::Time || parts.year != 0;
  if ((hasDate && !dateInRange(parts)) || !timeInRange(parts)) {
    throw SqlError(-181, {shortened(text)});
  }
  return parts;
}

void writeDatetime(const DatetimeParts& parts, TypeKind kind, std::string& out) {
  out.clear();
  if (kind != TypeKind::Time) {
    appendNumber(out, parts.year, 4);
    out.push_back('-');
    appendNumber(out, parts.month, 2);
    out.push_back('-');
    appendNumber(out, parts.day, 2);
  }
  if (kind == TypeKind::Date) return;
  if (kind == TypeKind::Timestamp) out.push_back('-');
  appendNumber(out, parts.hour, 2);
  out.push_back('.');
  appendNumber(out, parts.minute, 2);
  out.push_back('.');
  appendNumber(out, parts.second, 2);
  if (kind == TypeKind::Time) return;
  out.push_back('.');
  appendNumber(out, parts.microsecond, 6);
}

std::string_view datetimeText(std::string_view text, TypeKind kind, std::string& storage) {
  DatetimeParts parts = parseDatetime(text, kind);
  if (hasForm(text, storedForm(kind))) return text;
  writeDatetime(parts, kind, storage);
  return storage;
}

}  // namespace orv
