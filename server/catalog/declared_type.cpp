#include "server/catalog/declared_type.h"

#include <algorithm>
#include <charconv>

#include "server/catalog/catalog_data.h"
#include "server/values/utf8_text.h"

namespace orv {
namespace {

// A character that another program counts once takes up to four bytes.
constexpr int64_t kBytesPerCharacter = 4;

struct Declaration {
  std::string words;   // upper case, single blanks, without the parentheses
  int64_t first = -1;  // numbers in parentheses; -1 when there is none
  int64_t second = -1;
};

int64_t takeNumber(std::string_view& rest) {
  size_t start = std::min(rest.find_first_of("0123456789)"), rest.size());
  rest.remove_prefix(start);
  int64_t value = -1;
  auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
  if (error != std::errc()) return -1;
  rest.remove_prefix(static_cast<size_t>(end - rest.data()));
  return value;
}

Declaration split(std::string_view text) {
  Declaration result;
  std::string upper = foldAscii(text);
  size_t open = upper.find('(');
  std::string words = upper.substr(0, open);
  if (open != std::string::npos) {
    size_t close = upper.find(')', open);
    std::string_view inside(upper);
    inside = inside.substr(open + 1, close == std::string::npos ? close : close - open);
    result.first = takeNumber(inside);
    if (inside.find(',') != std::string_view::npos) result.second = takeNumber(inside);
    if (close != std::string::npos) words.append(" ").append(upper, close + 1);
  }
  for (char c : words) {
    bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
    if (blank && (result.words.empty() || result.words.back() == ' ')) continue;
    result.words.push_back(blank ? ' ' : c);
  }
  if (!result.words.empty() && result.words.back() == ' ') result.words.pop_back();
  return result;
}

enum class Length : uint8_t { None, Bytes, Characters, Decimal };

struct Spelling {
  std::string_view words;
  TypeKind kind;
  Length length;
  int64_t standard;  // the length when none is written
};

constexpr Spelling kSpellings[] = {
    {"SMALLINT", TypeKind::SmallInt, Length::None, 0},
    {"INT2", TypeKind::SmallInt, Length::None, 0},
    {"TINYINT", TypeKind::SmallInt, Length::None, 0},
    {"INTEGER", TypeKind::Integer, Length::None, 0},
    {"INT", TypeKind::Integer, Length::None, 0},
    {"MEDIUMINT", TypeKind::Integer, Length::None, 0},
    {"BIGINT", TypeKind::BigInt, Length::None, 0},
    {"INT8", TypeKind::BigInt, Length::None, 0},
    {"UNSIGNED BIG INT", TypeKind::BigInt, Length::None, 0},
    {"BOOLEAN", TypeKind::SmallInt, Length::None, 0},
    {"BOOL", TypeKind::SmallInt, Length::None, 0},
    {"REAL", TypeKind::Real, Length::None, 0},
    {"FLOAT", TypeKind::Double, Length::None, 0},
    {"DOUBLE", TypeKind::Double, Length::None, 0},
    {"DOUBLE PRECISION", TypeKind::Double, Length::None, 0},
    {"DECIMAL", TypeKind::Decimal, Length::Decimal, 0},
    {"DEC", TypeKind::Decimal, Length::Decimal, 0},
    {"NUMERIC", TypeKind::Decimal, Length::Decimal, 0},
    {"MONEY", TypeKind::Decimal, Length::Decimal, 0},
    {"CHAR", TypeKind::Char, Length::Bytes, 1},
    {"CHARACTER", TypeKind::Varchar, Length::Characters, kMaxVarchar},
    {"NCHAR", TypeKind::Varchar, Length::Characters, kMaxVarchar},
    {"VARCHAR", TypeKind::Varchar, Length::Bytes, kMaxVarchar},
    {"CHARACTER VARYING", TypeKind::Varchar, Length::Bytes, kMaxVarchar},
    {"VARYING CHARACTER", TypeKind::Varchar, Length::Bytes, kMaxVarchar},
    {"VARCHAR2", TypeKind::Varchar, Length::Bytes, kMaxVarchar},
    {"NVARCHAR", TypeKind::Varchar, Length::Characters, kMaxVarchar},
    {"NATIVE CHARACTER", TypeKind::Varchar, Length::Characters, kMaxVarchar},
    {"LONG VARCHAR", TypeKind::LongVarchar, Length::None, kLongVarchar},
    {"TEXT", TypeKind::Clob, Length::None, kMaxLob},
    {"CLOB", TypeKind::Clob, Length::Bytes, kMaxLob},
    {"NCLOB", TypeKind::Clob, Length::None, kMaxLob},
    {"GRAPHIC", TypeKind::Graphic, Length::Bytes, 1},
    {"VARGRAPHIC", TypeKind::VarGraphic, Length::Bytes, kMaxVarGraphic},
    {"LONG VARGRAPHIC", TypeKind::LongVarGraphic, Length::None, kLongVarGraphic},
    {"DBCLOB", TypeKind::DbClob, Length::Bytes, kMaxDbClob},
    {"CHAR FOR BIT DATA", TypeKind::CharBits, Length::Bytes, 1},
    {"VARCHAR FOR BIT DATA", TypeKind::VarcharBits, Length::Bytes, kMaxVarchar},
    {"LONG VARCHAR FOR BIT DATA", TypeKind::LongVarcharBits, Length::None, kLongVarchar},
    {"BLOB", TypeKind::Blob, Length::Bytes, kMaxLob},
    {"BINARY", TypeKind::Blob, Length::None, kMaxLob},
    {"VARBINARY", TypeKind::Blob, Length::None, kMaxLob},
    {"DATE", TypeKind::Date, Length::None, 0},
    {"TIME", TypeKind::Time, Length::None, 0},
    {"TIMESTAMP", TypeKind::Timestamp, Length::None, 0},
    {"DATETIME", TypeKind::Timestamp, Length::None, 0},
};

SqlType decimalType(const Declaration& declaration) {
  SqlType type;
  if (declaration.first < 1) {
    // NUMERIC without digits holds what it likes.
    type.kind = TypeKind::Double;
    return type;
  }
  type.kind = TypeKind::Decimal;
  type.length = std::min(declaration.first, kMaxPrecision);
  type.scale = static_cast<int>(std::clamp<int64_t>(declaration.second, 0, type.length));
  return type;
}

// Unknown words, by the parts that the engine itself goes by.
SqlType typeByParts(const Declaration& declaration) {
  auto has = [&](std::string_view part) {
    return declaration.words.find(part) != std::string::npos;
  };
  SqlType type;
  if (has("INT")) {
    type.kind = TypeKind::BigInt;
  } else if (has("CLOB") || has("TEXT")) {
    type.kind = TypeKind::Clob;
    type.length = kMaxLob;
  } else if (has("BLOB")) {
    type.kind = TypeKind::Blob;
    type.length = kMaxLob;
  } else if (has("REAL") || has("FLOA") || has("DOUB")) {
    type.kind = TypeKind::Double;
  } else {
    type.kind = TypeKind::Varchar;
    type.length = kMaxVarchar;
  }
  return type;
}

}  // namespace

SqlType declaredType(std::string_view text) {
  Declaration declaration = split(text);
  const auto* found =
      std::find_if(std::begin(kSpellings), std::end(kSpellings),
                   [&](const Spelling& spelling) { return spelling.words == declaration.words; });
  if (found == std::end(kSpellings)) return typeByParts(declaration);
  if (found->length == Length::Decimal) return decimalType(declaration);
  SqlType type;
  type.kind = found->kind;
  type.length = found->standard;
  if (found->length != Length::None && declaration.first > 0) {
    type.length = declaration.first;
    if (found->length == Length::Characters) type.length *= kBytesPerCharacter;
  }
  if (type.kind == TypeKind::Varchar && type.length > kMaxVarchar) {
    type.kind = TypeKind::Clob;
    type.length = std::max(type.length, kMaxLob);
  }
  if (type.kind == TypeKind::Char && type.length > kMaxChar) type.kind = TypeKind::Varchar;
  return type;
}

}  // namespace orv
