// SQL text for the engine, built from typed pieces: a name quotes itself, a literal escapes itself,
// and only fragments written in the source stand as they are.
#pragma once

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv::sqlite {

struct Name {
  std::string_view text;
};
struct TextLiteral {
  std::string_view text;
};
struct BlobLiteral {
  std::string_view bytes;
};
// Text that is SQL of this engine already.
struct Verbatim {
  std::string_view text;
};

class SqlText {
 public:
  template <size_t N>
  SqlText& operator<<(const char (&fragment)[N]) {
    text_.append(fragment, N - 1);
    return *this;
  }
  SqlText& operator<<(Verbatim fragment) {
    text_.append(fragment.text);
    return *this;
  }
  SqlText& operator<<(Name name);
  SqlText& operator<<(TextLiteral literal);
  SqlText& operator<<(BlobLiteral literal);
  SqlText& operator<<(int64_t number);
  SqlText& operator<<(int number) { return *this << int64_t{number}; }

  const std::string& text() const { return text_; }
  std::string take() { return std::move(text_); }
  bool empty() const { return text_.empty(); }

 private:
  void appendQuoted(std::string_view content, char quote);
  std::string text_;
};

// DROP TABLE and the like.
std::string dropText(Verbatim kind, std::string_view name);

// Writes nothing the first time and a comma every other time.
class Comma {
 public:
  friend SqlText& operator<<(SqlText& out, Comma& comma) {
    if (!comma.first_) out << ",";
    comma.first_ = false;
    return out;
  }

 private:
  bool first_ = true;
};

}  // namespace orv::sqlite
