// Tokens, names, constants and errors.
#include <algorithm>
#include <charconv>

#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"
#include "server/values/utf8.h"
#include "server/values/utf8_text.h"

namespace orv {

Parser::Parser(std::string_view text)
    : text_(text), tokens_(scan(text)), statement_(std::make_unique<Statement>()) {
  statement_->text = text;
}

Parser::Nesting::Nesting(Parser& parser) : parser_(parser) {
  if (parser_.nesting_ >= kMaxNesting) throw SqlError(-101);
  ++parser_.nesting_;
}

// Looking past the end finds the End token.
const Token& Parser::token(size_t ahead) const {
  return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
}

bool Parser::isWord(std::string_view word, size_t ahead) const {
  const Token& next = token(ahead);
  return next.kind == TokenKind::Word && next.text == word;
}

bool Parser::isSymbol(std::string_view symbol, size_t ahead) const {
  const Token& next = token(ahead);
  return next.kind == TokenKind::Symbol && next.text == symbol;
}

bool Parser::isName(size_t ahead) const {
  const TokenKind kind = token(ahead).kind;
  return kind == TokenKind::Word || kind == TokenKind::Delimited;
}

bool Parser::areWords(std::string_view words) const {
  for (size_t ahead = 0;; ++ahead) {
    const size_t end = words.find(' ');
    if (!isWord(words.substr(0, end), ahead)) return false;
    if (end == std::string_view::npos) return true;
    words.remove_prefix(end + 1);
  }
}

bool Parser::acceptWord(std::string_view word) {
  if (!isWord(word)) return false;
  advance();
  return true;
}

bool Parser::acceptWords(std::string_view words) {
  if (!areWords(words)) return false;
  at_ += 1 + static_cast<size_t>(std::ranges::count(words, ' '));
  return true;
}

bool Parser::acceptSymbol(std::string_view symbol) {
  if (!isSymbol(symbol)) return false;
  advance();
  return true;
}

void Parser::expectWord(std::string_view word) {
  if (!acceptWord(word)) unexpected(word);
}

void Parser::expectSymbol(std::string_view symbol) {
  if (!acceptSymbol(symbol)) unexpected(symbol);
}

std::string_view Parser::textOf(const Token& token) const {
  return text_.substr(token.begin, token.end - token.begin);
}

void Parser::unexpected(std::string_view expected) const {
  unexpectedAt(at_, expected);
}

// The token, the text before it (as much as a message holds, from a whole character on) and what
// would have been right.
void Parser::unexpectedAt(size_t index, std::string_view expected) const {
  constexpr size_t kShown = 24;
  const Token& bad = tokens_[std::min(index, tokens_.size() - 1)];
  std::string found(utf8Prefix(textOf(bad), 60));
  if (bad.kind == TokenKind::End) found = "END-OF-STATEMENT";
  std::string before = "BEGIN-OF-STATEMENT";
  if (index > 0) {
    const size_t end = tokens_[std::min(index, tokens_.size() - 1) - 1].end;
    size_t begin = end > kShown ? end - kShown : 0;
    while (!isCharacterStart(text_, begin)) ++begin;
    before = text_.substr(begin, end - begin);
  }
  throw SqlError(-104, {found, before, std::string(expected)});
}

std::string Parser::parseName(std::string_view expected) {
  if (!isName()) unexpected(expected);
  std::string name = token().text;
  advance();
  return name;
}

// name: identifier | schema . identifier
QualifiedName Parser::parseQualifiedName() {
  QualifiedName result;
  result.name = parseName();
  if (acceptSymbol(".")) {
    result.schema = std::move(result.name);
    result.name = parseName();
  }
  return result;
}

std::vector<std::string> Parser::parseNameList() {
  std::vector<std::string> names;
  expectSymbol("(");
  do {
    names.push_back(parseName());
  } while (acceptSymbol(","));
  expectSymbol(")");
  return names;
}

int64_t Parser::parseInteger() {
  if (token().kind != TokenKind::Integer) unexpected("<integer>");
  const std::string& digits = token().text;
  int64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc{}) throw SqlError(-405, {digits.substr(0, 60)});
  advance();
  return value;
}

std::string Parser::parseStringConstant() {
  if (token().kind != TokenKind::String) unexpected("<string>");
  std::string value = token().text;
  advance();
  return value;
}

}  // namespace orv
