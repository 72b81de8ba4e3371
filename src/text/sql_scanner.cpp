// One token of SQL text at a time. Problems are token classes; nothing is reported here.
//
//   token      = end | delimited | string | number | operator | delimiter | word
//   delimited  = '"' ( any | '""' )* '"'
//   string     = prefix? "'" ( any | "''" )* "'"
//   number     = ( digits ( '.' digits? )? | '.' digits ) ( [Ee] [+-]? digits )?
#include "src/text/sql_scanner.h"

#include <cstring>
#include <string>
#include <string_view>

#include "orvxml/code_pages.h"
#include "src/outcome/failure.h"

namespace orvxml {

constexpr char16_t K_UC_SQL_SELFDELIMITINGTOKENS[] = u"+-/*().,=<>^!|;?:{}[]&\u00AC";
constexpr char16_t K_UC_SQL_STRINGPREFIXCHARS[] = u"XxGgNn";
const char16_t K_UC_SQL_WORD_AND[] = u"AND";

namespace {

constexpr size_t kWorkArea = 512;  // characters of a name while it is read
constexpr char16_t kNotSign = 0x00AC;

constexpr std::u16string_view kSelfDelimiting = K_UC_SQL_SELFDELIMITINGTOKENS;
constexpr std::u16string_view kStringPrefixes = K_UC_SQL_STRINGPREFIXCHARS;

bool isOneOf(char16_t c, std::u16string_view set) {
  return set.find(c) != set.npos;
}
bool isSpace(char16_t c) {
  return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}
bool isDigit(char16_t c) {
  return c >= '0' && c <= '9';
}
bool endsWord(char16_t c) {
  return c == 0 || isSpace(c) || isOneOf(c, kSelfDelimiting);
}

// A name while it is read, up to the size of the work area, terminated.
class NameBuffer {
 public:
  void add(char16_t c) {
    if (length_ < kWorkArea - 1) {
      text_[length_++] = c;
    } else {
      tooLong_ = true;
    }
  }
  // The name in the database code page into the token, whose class is `type` unless it fails.
  void store(QrkStruct* ctx, int32_t type, QrkSqlToken* token) {
    text_[length_] = 0;
    token->type = type;
    if (!tooLong_ && QRK_wcstombsFunction(ctx, token->text, text_, kNamePartSize) >= 0) return;
    token->text[0] = 0;
    std::string whole;
    const bool converts = tooLong_ || toDatabase(ctx, {text_, length_}, whole);
    token->type = converts ? Type_TooLong : Type_BadChar;
  }

 private:
  char16_t text_[kWorkArea];
  size_t length_ = 0;
  bool tooLong_ = false;
};

// Steps over a quoted section, of which a doubled quote is part; null without a closing quote.
// Every character of the content goes to `use`.
template <class Use>
const char16_t* skipQuoted(const char16_t*& p, const Use& use) {
  const char16_t quote = *p++;
  for (; *p != 0; ++p) {
    if (*p == quote && *++p != quote) return p;
    use(*p);
  }
  return nullptr;
}

const char16_t* scanDelimited(QrkStruct* ctx, const char16_t* p, QrkSqlToken* token) {
  NameBuffer name;
  if (skipQuoted(p, [&](char16_t c) { name.add(c); })) {
    name.store(ctx, Type_DelimitedId, token);
  } else {
    token->type = Type_Unterminated;
  }
  return p;
}

bool startsString(const char16_t* p) {
  return *p == '\'' || (isOneOf(*p, kStringPrefixes) && p[1] == '\'');
}

const char16_t* scanString(const char16_t* p, QrkSqlToken* token) {
  if (*p != '\'') ++p;
  token->type = skipQuoted(p, [](char16_t) {}) ? Type_String : Type_Unterminated;
  return p;
}

const char16_t* skipDigits(const char16_t* p) {
  while (isDigit(*p)) ++p;
  return p;
}

// Behind the exponent that starts at `p`, or `p` when there is none.
const char16_t* skipExponent(const char16_t* p) {
  if (*p != 'E' && *p != 'e') return p;
  const char16_t* digits = p + 1;
  if (*digits == '+' || *digits == '-') ++digits;
  return isDigit(*digits) ? skipDigits(digits) : p;
}

const char16_t* scanNumber(const char16_t* p, QrkSqlToken* token) {
  token->type = Type_Integer;
  p = skipDigits(p);
  if (*p == '.') {
    token->type = Type_Decimal;
    p = skipDigits(p + 1);
  }
  const char16_t* end = skipExponent(p);
  if (end != p) token->type = Type_Float;
  p = end;
  if (!endsWord(*p)) token->type = Type_BadNumber;
  while (!endsWord(*p)) ++p;
  return p;
}

bool isOperator(char16_t first, char16_t second) {
  switch (first) {
    case u'<':
      return second == '=' || second == '>';
    case u'>':
      return second == '=';
    case u'|':
      return second == '|';
    case u'^':
    case u'!':
    case kNotSign:
      return second == '<' || second == '=' || second == '>';
    default:
      return false;
  }
}

const char16_t* scanWord(QrkStruct* ctx, const char16_t* p, QrkSqlToken* token) {
  NameBuffer name;
  for (; !endsWord(*p); ++p) name.add(QRK_towupper(*p));
  name.store(ctx, Type_Identifier, token);
  return p;
}

// Fills the token's class and text; returns the position behind it.
const char16_t* scan(QrkStruct* ctx, const char16_t* p, QrkSqlToken* token) {
  if (*p == 0) {
    token->type = Type_EOF;
    return p;
  }
  if (*p == '"') return scanDelimited(ctx, p, token);
  if (startsString(p)) return scanString(p, token);
  if (isDigit(*p) || (*p == '.' && isDigit(p[1]))) return scanNumber(p, token);
  if (isOperator(*p, p[1])) {
    token->type = Type_Operator;
    return p + 2;
  }
  if (isOneOf(*p, kSelfDelimiting)) {
    token->type = Type_Delimiter;
    return p + 1;
  }
  return scanWord(ctx, p, token);
}

}  // namespace

void qrkGetSqlToken(QrkStruct* ctx, const char16_t** cursor, QrkSqlToken* token) {
  const char16_t* start = *cursor;
  while (isSpace(*start)) ++start;
  token->startptr = start;
  token->text[0] = 0;
  *cursor = scan(ctx, start, token);
  token->endptr = *cursor == start ? start : *cursor - 1;
}

// Copies in place; the text never grows. Quoted sections pass unchanged.
void qrkCleanQueryUcs(char16_t* query) {
  if (!query) throw Failure::internal();
  const char16_t* from = query;
  while (isSpace(*from)) ++from;
  char16_t* to = query;
  char16_t quote = 0;
  for (; *from != 0; ++from) {
    if (quote != 0) {
      if (*from == quote) quote = 0;
    } else if (*from == '"' || *from == '\'') {
      quote = *from;
    } else if (isSpace(*from)) {
      while (isSpace(from[1])) ++from;
      *to++ = ' ';
      continue;
    }
    *to++ = *from;
  }
  *to = 0;
}

}  // namespace orvxml
