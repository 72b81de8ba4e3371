#include "server/syntax/lexer.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <utility>

#include "server/values/sql_error.h"
#include "server/values/utf8.h"
#include "server/values/utf8_text.h"

namespace orv {
namespace {

constexpr char32_t kIdeographicSpace = 0x3000;
constexpr std::string_view kNotSign = "\xC2\xAC";

bool isFullWidthLetter(char32_t c) {
  return c >= 0xFF21 && c <= 0xFF5A;
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isWordStart(char32_t c) {
  if (c == kInvalidUtf8) return false;
  if (c == '_' || c == '$' || c == '#' || c == '@') return true;
  return u_isalpha(static_cast<UChar32>(c));
}
bool isWordPart(char32_t c) {
  if (isWordStart(c)) return true;
  if (c == kInvalidUtf8) return false;
  const auto codePoint = static_cast<UChar32>(c);
  return u_isdigit(codePoint) || u_charType(codePoint) == U_NON_SPACING_MARK;
}

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {}

  std::vector<Token> run() {
    if (text_.size() > kMaxStatementBytes) throw SqlError(-101);
    tokens_.reserve(text_.size() / 5 + 8);
    for (skipBlanks(); at_ < text_.size(); skipBlanks()) scanToken();
    add(TokenKind::End, text_.size(), "");
    return std::move(tokens_);
  }

 private:
  char peek(size_t ahead = 0) const {
    return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
  }

  char32_t codePoint(size_t& next) const { return decodeUtf8(text_, at_, next); }

  void add(TokenKind kind, size_t begin, std::string text) {
    tokens_.push_back({kind, std::move(text), begin, at_});
  }

  // The text from `begin` on, short enough for a message.
  std::string excerpt(size_t begin) const {
    return std::string(utf8Prefix(text_.substr(begin), 20));
  }

  std::string previousText() const {
    if (tokens_.empty()) return "BEGIN-OF-STATEMENT";
    const Token& last = tokens_.back();
    return std::string(utf8Prefix(text_.substr(last.begin, last.end - last.begin), 60));
  }

  void skipBlanks() {
    while (at_ < text_.size()) {
      const char c = text_[at_];
      if (c == ' ' || (c >= '\t' && c <= '\r')) {
        ++at_;
      } else if (c == '-' && peek(1) == '-') {
        const size_t end = text_.find('\n', at_);
        at_ = end == std::string_view::npos ? text_.size() : end;
      } else if (c == '/' && peek(1) == '*') {
        skipBlockComment();
      } else {
        size_t next = 0;
        if (static_cast<unsigned char>(c) < 0x80 || codePoint(next) != kIdeographicSpace) return;
        at_ = next;
      }
    }
  }

  void skipBlockComment() {
    const size_t begin = at_;
    int depth = 0;
    do {
      if (at_ + 1 >= text_.size()) throw SqlError(-10, {excerpt(begin)});
      if (peek() == '/' && peek(1) == '*') {
        ++depth;
        at_ += 2;
      } else if (peek() == '*' && peek(1) == '/') {
        --depth;
        at_ += 2;
      } else {
        ++at_;
      }
    } while (depth > 0);
  }

  void scanToken() {
    const char c = peek();
    if (c == '"') return scanDelimited();
    if (c == '\'') return scanString(TokenKind::String, at_);
    if (peek(1) == '\'') {
      const size_t begin = at_;
      if (c == 'X' || c == 'x') return ++at_, scanString(TokenKind::HexString, begin);
      if (c == 'G' || c == 'g' || c == 'N' || c == 'n') {
        return ++at_, scanString(TokenKind::GraphicString, begin);
      }
    }
    if (isDigit(c) || (c == '.' && isDigit(peek(1)))) return scanNumber();
    size_t next = 0;
    if (isWordStart(codePoint(next))) return scanWord();
    scanSymbol();
  }

  // Reads up to the closing `quote`; a doubled one stands for itself. The cursor is on the opening.
  std::string quoted(char quote, size_t begin) {
    std::string content;
    ++at_;
    for (;;) {
      const size_t end = text_.find(quote, at_);
      if (end == std::string_view::npos) throw SqlError(-10, {excerpt(begin)});
      content.append(text_, at_, end - at_);
      at_ = end + 1;
      if (peek() != quote) return content;
      content += quote;
      ++at_;
    }
  }

  void scanDelimited() {
    const size_t begin = at_;
    std::string name = quoted('"', begin);
    if (name.empty()) throw SqlError(-104, {"\"\"", previousText(), "<identifier>"});
    addName(TokenKind::Delimited, begin, std::move(name));
  }

  void addName(TokenKind kind, size_t begin, std::string name) {
    if (name.size() > kMaxNameBytes) {
      throw SqlError(-107, {excerpt(begin), std::to_string(kMaxNameBytes)});
    }
    add(kind, begin, std::move(name));
  }

  void scanString(TokenKind kind, size_t begin) {
    std::string content = quoted('\'', begin);
    if (kind == TokenKind::HexString) {
      std::optional<std::string> bytes = bytesOfHex(content);
      if (!bytes) throw SqlError(-105, {excerpt(begin)});
      content = std::move(*bytes);
    }
    if (content.size() > kMaxStringBytes) throw SqlError(-102, {excerpt(begin)});
    add(kind, begin, std::move(content));
  }

  void skipDigits() {
    while (isDigit(peek())) ++at_;
  }

  // number: digits [. [digits]] [E [+|-] digits] | . digits [E ...]
  void scanNumber() {
    const size_t begin = at_;
    TokenKind kind = TokenKind::Integer;
    skipDigits();
    if (peek() == '.') {
      kind = TokenKind::Decimal;
      ++at_;
      skipDigits();
    }
    if (peek() == 'E' || peek() == 'e') {
      kind = TokenKind::Float;
      ++at_;
      if (peek() == '+' || peek() == '-') ++at_;
      if (!isDigit(peek())) malformedNumber(begin);
      skipDigits();
    }
    size_t next = 0;
    const bool goesOn = at_ < text_.size() && (peek() == '.' || isWordPart(codePoint(next)));
    if (goesOn && !(kind == TokenKind::Integer && isLengthUnit())) malformedNumber(begin);
    add(kind, begin, std::string(text_.substr(begin, at_ - begin)));
  }

  // The K, M or G of a length in parentheses, CLOB(100K).
  bool isLengthUnit() const {
    constexpr std::string_view kUnits = "KkMmGg";
    const size_t after = text_.find_first_not_of(' ', at_ + 1);
    return kUnits.find(peek()) != std::string_view::npos && after != std::string_view::npos &&
           text_[after] == ')';
  }

  [[noreturn]] void malformedNumber(size_t begin) {
    size_t next = at_;
    while (at_ < text_.size() && (peek() == '.' || isWordPart(codePoint(next)))) {
      at_ = peek() == '.' ? at_ + 1 : next;
    }
    throw SqlError(-103, {std::string(utf8Prefix(text_.substr(begin, at_ - begin), 60))});
  }

  void scanWord() {
    const size_t begin = at_;
    size_t next = at_;
    while (at_ < text_.size() && isWordPart(codePoint(next))) at_ = next;
    addName(TokenKind::Word, begin, foldName(text_.substr(begin, at_ - begin)));
  }

  void scanSymbol() {
    const size_t begin = at_;
    const bool notSign = text_.substr(at_).starts_with(kNotSign);
    if (notSign || peek() == '^' || peek() == '!') {
      at_ += notSign ? kNotSign.size() : 1;
      return scanNegatedComparison(begin);
    }
    static constexpr std::string_view kPairs[] = {"<>", "<=", ">=", "||"};
    for (const std::string_view pair : kPairs) {
      if (text_.substr(at_).starts_with(pair)) {
        at_ += pair.size();
        return add(TokenKind::Symbol, begin, std::string(pair));
      }
    }
    const char c = peek();
    constexpr std::string_view kSingles = "+-*/(),.;:=<>?";
    if (c == '\0' || kSingles.find(c) == std::string_view::npos) badCharacter(begin);
    ++at_;
    add(c == '?' ? TokenKind::Marker : TokenKind::Symbol, begin, std::string(1, c));
  }

  // not-sign, ^ or ! before =, < or >
  void scanNegatedComparison(size_t begin) {
    const char c = peek();
    ++at_;
    if (c == '=') return add(TokenKind::Symbol, begin, "<>");
    if (c == '<') return add(TokenKind::Symbol, begin, ">=");
    if (c == '>') return add(TokenKind::Symbol, begin, "<=");
    badCharacter(begin);
  }

  [[noreturn]] void badCharacter(size_t begin) const {
    size_t end = begin;
    const bool valid = decodeUtf8(text_, begin, end) != kInvalidUtf8;
    throw SqlError(-7,
                   {valid ? std::string(text_.substr(begin, end - begin)) : "?", previousText()});
  }

  std::string_view text_;
  size_t at_ = 0;
  std::vector<Token> tokens_;
};

}  // namespace

std::vector<Token> scan(std::string_view text) {
  return Lexer(text).run();
}

std::string foldName(std::string_view name) {
  std::string folded;
  folded.reserve(name.size());
  size_t next = 0;
  for (size_t at = 0; at < name.size(); at = next) {
    const char32_t c = decodeUtf8(name, at, next);
    if (c < 0x80) {
      folded += static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    } else if (c == kInvalidUtf8 || isFullWidthLetter(c)) {
      folded.append(name, at, next - at);
    } else {
      appendUtf8(folded, static_cast<char32_t>(u_toupper(static_cast<UChar32>(c))));
    }
  }
  return folded;
}

}  // namespace orv
