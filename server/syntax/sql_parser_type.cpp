// Type names as DDL and CAST write them.
#include "server/syntax/sql_parser_impl.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

constexpr int64_t kDefaultLob = 1048576;
constexpr int64_t kSingleFloatBits = 24;
constexpr int64_t kMaxFloatBits = 53;

TypeKind withBitData(TypeKind kind) {
  if (kind == TypeKind::Char) return TypeKind::CharBits;
  return kind == TypeKind::Varchar ? TypeKind::VarcharBits : TypeKind::LongVarcharBits;
}

}  // namespace

// type: built-in type | [schema .] name
ParsedType Parser::parseType() {
  ParsedType parsed;
  const bool qualified = isSymbol(".", 1);
  if (qualified && isWord("SYSNTQ")) at_ += 2;
  if (!qualified || !isSymbol(".", 1)) {
    if (std::optional<SqlType> builtIn = parseBuiltInType()) {
      parsed.type = std::move(*builtIn);
      return parsed;
    }
  }
  if (!isName()) unexpected("<data type>");
  parsed.name = parseQualifiedName();
  return parsed;
}

// Nothing when the next word names no built-in type.
std::optional<SqlType> Parser::parseBuiltInType() {
  if (token().kind != TokenKind::Word) return std::nullopt;
  struct Simple {
    std::string_view word;
    TypeKind kind;
  };
  static constexpr Simple kSimple[] = {
      {"SMALLINT", TypeKind::SmallInt}, {"INTEGER", TypeKind::Integer},
      {"INT", TypeKind::Integer},       {"BIGINT", TypeKind::BigInt},
      {"REAL", TypeKind::Real},         {"DATE", TypeKind::Date},
      {"TIME", TypeKind::Time},         {"TIMESTAMP", TypeKind::Timestamp}};
  for (const Simple& simple : kSimple) {
    if (acceptWord(simple.word)) return makeType(simple.kind);
  }
  for (const std::string_view word : {"CHARACTER", "CHAR", "VARCHAR", "CLOB"}) {
    if (isWord(word)) return parseCharacterType(word);
  }
  for (const std::string_view word : {"DECIMAL", "DEC", "NUMERIC", "NUM"}) {
    if (acceptWord(word)) return parseDecimalType();
  }
  if (acceptWord("DOUBLE")) {
    acceptWord("PRECISION");
    return makeType(TypeKind::Double);
  }
  if (acceptWord("FLOAT")) return parseFloatType();
  if (acceptWord("GRAPHIC")) return parseGraphicType(TypeKind::Graphic);
  if (acceptWord("VARGRAPHIC")) return parseGraphicType(TypeKind::VarGraphic);
  if (acceptWord("DBCLOB")) return parseGraphicType(TypeKind::DbClob);
  if (acceptWord("BLOB"))
    return makeType(TypeKind::Blob, parseLength(kDefaultLob, kMaxLob, "BLOB"));
  if (isWord("LONG")) return parseLongType();
  return std::nullopt;
}

// (CHAR | CHARACTER) [VARYING | LARGE OBJECT] [(n)] | VARCHAR (n) | CLOB [(n)], with bit data
SqlType Parser::parseCharacterType(std::string_view word) {
  advance();
  TypeKind kind = word.starts_with("CHAR") ? TypeKind::Char : TypeKind::Varchar;
  if (word == "CLOB") kind = TypeKind::Clob;
  if (kind == TypeKind::Char && acceptWord("VARYING")) kind = TypeKind::Varchar;
  if (kind == TypeKind::Char && acceptWords("LARGE OBJECT")) kind = TypeKind::Clob;
  if (kind == TypeKind::Clob) return makeType(kind, parseLength(kDefaultLob, kMaxLob, "CLOB"));
  if (kind == TypeKind::Varchar && !isSymbol("(")) unexpected("(");
  const bool varying = kind == TypeKind::Varchar;
  SqlType type = makeType(
      kind, parseLength(1, varying ? kMaxVarchar : kMaxChar, varying ? "VARCHAR" : "CHAR"));
  if (parseForBitData()) type.kind = withBitData(kind);
  return type;
}

// LONG (VARCHAR [FOR BIT DATA] | VARGRAPHIC)
SqlType Parser::parseLongType() {
  expectWord("LONG");
  if (acceptWord("VARGRAPHIC")) return makeType(TypeKind::LongVarGraphic, kLongVarGraphic);
  expectWord("VARCHAR");
  SqlType type = makeType(TypeKind::LongVarchar, kLongVarchar);
  if (parseForBitData()) type.kind = TypeKind::LongVarcharBits;
  return type;
}

SqlType Parser::parseGraphicType(TypeKind kind) {
  if (kind == TypeKind::Graphic) return makeType(kind, parseLength(1, kMaxGraphic, "GRAPHIC"));
  if (kind == TypeKind::DbClob)
    return makeType(kind, parseLength(kDefaultLob, kMaxDbClob, "DBCLOB"));
  if (!isSymbol("(")) unexpected("(");
  return makeType(kind, parseLength(1, kMaxVarGraphic, "VARGRAPHIC"));
}

// (DECIMAL | ...) [ ( precision [, scale] ) ]
SqlType Parser::parseDecimalType() {
  SqlType type = makeType(TypeKind::Decimal, 5);
  if (!acceptSymbol("(")) return type;
  type.length = parseInteger();
  const int64_t scale = acceptSymbol(",") ? parseInteger() : 0;
  expectSymbol(")");
  if (type.length < 1 || type.length > kMaxPrecision || scale > type.length) {
    throw SqlError(-604, {"DECIMAL"});
  }
  type.scale = static_cast<int>(scale);
  return type;
}

// FLOAT [(bits)]
SqlType Parser::parseFloatType() {
  const int64_t bits = parseLength(kMaxFloatBits, kMaxFloatBits, "FLOAT");
  return makeType(bits <= kSingleFloatBits ? TypeKind::Real : TypeKind::Double);
}

// length: [ ( n [K | M | G] ) ]; a length of exactly 2G means the largest one.
int64_t Parser::parseLength(int64_t fallback, int64_t maximum, std::string_view name) {
  if (!acceptSymbol("(")) return fallback;
  int64_t unit = 1;
  int64_t length = parseInteger();
  if (acceptWord("K")) unit = 1024;
  if (unit == 1 && acceptWord("M")) unit = int64_t{1024} * 1024;
  if (unit == 1 && acceptWord("G")) unit = int64_t{1024} * 1024 * 1024;
  expectSymbol(")");
  if (length < 1 || length > maximum) throw SqlError(-604, {std::string(name)});
  length *= unit;
  if (unit > 1 && length == maximum + 1) return maximum;
  if (length > maximum) throw SqlError(-604, {std::string(name)});
  return length;
}

// [FOR (BIT | SBCS | MIXED) DATA]
bool Parser::parseForBitData() {
  if (acceptWords("FOR BIT DATA")) return true;
  if (!acceptWords("FOR SBCS DATA")) acceptWords("FOR MIXED DATA");
  return false;
}

}  // namespace orv
