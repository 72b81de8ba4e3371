// Quotation by doubling, for names and texts alike; SQLite knows no other escape.
#include "server/engine/sqlite/connection/sql_text.h"

#include "server/values/utf8_text.h"

namespace orv::sqlite {

void SqlText::appendQuoted(std::string_view content, char quote) {
  text_.push_back(quote);
  for (char c : content) {
    text_.push_back(c);
    if (c == quote) text_.push_back(quote);
  }
  text_.push_back(quote);
}

SqlText& SqlText::operator<<(Name name) {
  appendQuoted(name.text, '"');
  return *this;
}

SqlText& SqlText::operator<<(TextLiteral literal) {
  // The engine reads SQL text up to the first zero byte, so such a literal goes in as bytes.
  if (literal.text.find('\0') != std::string_view::npos) {
    return *this << "CAST(" << BlobLiteral{literal.text} << " AS TEXT)";
  }
  appendQuoted(literal.text, '\'');
  return *this;
}

SqlText& SqlText::operator<<(BlobLiteral literal) {
  text_.append("X'");
  text_.append(hexDigits(literal.bytes));
  text_.push_back('\'');
  return *this;
}

SqlText& SqlText::operator<<(int64_t number) {
  char digits[24];
  auto [end, error] = std::to_chars(digits, digits + sizeof digits, number);
  text_.append(digits, end);
  return *this;
}

std::string dropText(Verbatim kind, std::string_view name) {
  SqlText sql;
  sql << "DROP " << kind << " " << Name{name};
  return sql.take();
}

}  // namespace orv::sqlite
