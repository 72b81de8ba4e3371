// The SQL types of the server layer, as the resolver gives them to every column, marker and
// expression. Lengths count what the type declares: bytes for character and binary types (in the
// database code page), double-byte characters for graphic types, digits for DECIMAL.
#pragma once

#include <cstdint>
#include <string>

namespace orv {

enum class TypeKind : uint8_t {
  Unknown,  // a marker or NULL before its context has typed it
  SmallInt,
  Integer,
  BigInt,
  Real,
  Double,
  Decimal,  // length = precision (1..31), scale
  Char,     // padded with blanks to its length
  Varchar,
  LongVarchar,  // kLongVarchar bytes
  Clob,
  Graphic,
  VarGraphic,
  LongVarGraphic,
  DbClob,
  CharBits,  // CHAR FOR BIT DATA
  VarcharBits,
  LongVarcharBits,
  Blob,
  Date,
  Time,
  Timestamp,
};

// What the types hold at most: digits, bytes; characters of the graphic types.
inline constexpr int64_t kMaxPrecision = 31;
inline constexpr int64_t kMaxChar = 254;
inline constexpr int64_t kMaxVarchar = 32672;
inline constexpr int64_t kLongVarchar = 32700;
inline constexpr int64_t kMaxGraphic = kMaxChar / 2;
inline constexpr int64_t kMaxVarGraphic = kMaxVarchar / 2;
inline constexpr int64_t kLongVarGraphic = kLongVarchar / 2;
inline constexpr int64_t kMaxLob = 2147483647;
inline constexpr int64_t kMaxDbClob = kMaxLob / 2;

struct SqlType {
  TypeKind kind = TypeKind::Unknown;
  int64_t length = 0;
  int scale = 0;
  bool nullable = true;
  bool locator = false;    // AS LOCATOR, in routine parameters
  bool anyLength = false;  // of a column of another program: described by `length`, not bound by it
  // A distinct type: kind, length and scale are those of its source type.
  std::string distinctSchema;
  std::string distinctName;

  bool isDistinct() const { return !distinctName.empty(); }
};

inline SqlType makeType(TypeKind kind, int64_t length = 0, int scale = 0) {
  SqlType type;
  type.kind = kind;
  type.length = length;
  type.scale = scale;
  return type;
}

bool isNumeric(TypeKind kind);
bool isInteger(TypeKind kind);    // SmallInt, Integer, BigInt
bool isFloating(TypeKind kind);   // Real, Double
bool isCharacter(TypeKind kind);  // Char, Varchar, LongVarchar, Clob
bool isGraphic(TypeKind kind);
bool isBinary(TypeKind kind);  // ... FOR BIT DATA, Blob
bool isDatetime(TypeKind kind);
bool isLargeObject(TypeKind kind);  // Clob, DbClob, Blob

// The same type in every respect but nullability.
bool sameType(const SqlType& a, const SqlType& b);

// The name by which the catalog knows the type: "VARCHAR", "CHARACTER", "INTEGER", "DECIMAL",
// "DOUBLE", "LONG VARCHAR", ...; the distinct type's own name for a distinct type.
std::string typeName(const SqlType& type);
// The type as DDL writes it: "VARCHAR(30)", "DECIMAL(10,2)", "CHAR(8) FOR BIT DATA",
// "ORVXML.XMLCLOB".
std::string typeText(const SqlType& type);

// The length that the type declares; for one that declares none the digits of its numbers or the
// characters of its dates and times.
int64_t declaredSize(const SqlType& type);
// Bytes that a value takes at most, and characters of its text form.
int64_t byteLength(const SqlType& type);
int64_t textLength(const SqlType& type);

// The code of sqlda.h (even or odd by nullability) and the declared length as a sqlvar gives it.
int16_t sqlTypeCode(const SqlType& type);
// The type of sqlcli.h.
int16_t cliType(const SqlType& type);

}  // namespace orv
