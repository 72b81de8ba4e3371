// What every type is called and how its codes run: one row per kind.
#include "server/values/types.h"

#include <array>
#include <string_view>

#include "orv/sqlcli.h"
#include "orv/sqlda.h"

namespace orv {
namespace {

enum class Shape : uint8_t { Plain, Length, Precision, BitData };

struct TypeRow {
  TypeKind kind;
  std::string_view catalogName;
  std::string_view writtenName;
  Shape shape;
  int16_t descriptorCode;  // the even code of sqlda.h
  int16_t cliCode;
  // Of a type that declares no length; 0 otherwise.
  int16_t size = 0;  // digits or characters
  int16_t bytes = 0;
};

constexpr std::array<TypeRow, 22> kTypes{{
    {TypeKind::Unknown, "", "", Shape::Plain, kSqlVarchar, SQL_VARCHAR},
    {TypeKind::SmallInt, "SMALLINT", "SMALLINT", Shape::Plain, kSqlSmallint, SQL_SMALLINT, 5, 2},
    {TypeKind::Integer, "INTEGER", "INTEGER", Shape::Plain, kSqlInteger, SQL_INTEGER, 10, 4},
    {TypeKind::BigInt, "BIGINT", "BIGINT", Shape::Plain, kSqlBigint, SQL_BIGINT, 19, 8},
    {TypeKind::Real, "REAL", "REAL", Shape::Plain, kSqlDouble, SQL_REAL, 7, 4},
    {TypeKind::Double, "DOUBLE", "DOUBLE", Shape::Plain, kSqlDouble, SQL_DOUBLE, 15, 8},
    {TypeKind::Decimal, "DECIMAL", "DECIMAL", Shape::Precision, kSqlDecimal, SQL_DECIMAL},
    {TypeKind::Char, "CHARACTER", "CHAR", Shape::Length, kSqlChar, SQL_CHAR},
    {TypeKind::Varchar, "VARCHAR", "VARCHAR", Shape::Length, kSqlVarchar, SQL_VARCHAR},
    {TypeKind::LongVarchar, "LONG VARCHAR", "LONG VARCHAR", Shape::Plain, kSqlLongVarchar,
     SQL_LONGVARCHAR, kLongVarchar, kLongVarchar},
    {TypeKind::Clob, "CLOB", "CLOB", Shape::Length, kSqlClob, SQL_CLOB},
    {TypeKind::Graphic, "GRAPHIC", "GRAPHIC", Shape::Length, kSqlGraphic, SQL_GRAPHIC},
    {TypeKind::VarGraphic, "VARGRAPHIC", "VARGRAPHIC", Shape::Length, kSqlVargraphic,
     SQL_VARGRAPHIC},
    {TypeKind::LongVarGraphic, "LONG VARGRAPHIC", "LONG VARGRAPHIC", Shape::Plain,
     kSqlLongVargraphic, SQL_LONGVARGRAPHIC, kLongVarGraphic, kLongVarchar},
    {TypeKind::DbClob, "DBCLOB", "DBCLOB", Shape::Length, kSqlDbclob, SQL_DBCLOB},
    {TypeKind::CharBits, "CHARACTER", "CHAR", Shape::BitData, kSqlChar, SQL_BINARY},
    {TypeKind::VarcharBits, "VARCHAR", "VARCHAR", Shape::BitData, kSqlVarchar, SQL_VARBINARY},
    {TypeKind::LongVarcharBits, "LONG VARCHAR", "LONG VARCHAR FOR BIT DATA", Shape::Plain,
     kSqlLongVarchar, SQL_LONGVARBINARY, kLongVarchar, kLongVarchar},
    {TypeKind::Blob, "BLOB", "BLOB", Shape::Length, kSqlBlob, SQL_BLOB},
    {TypeKind::Date, "DATE", "DATE", Shape::Plain, kSqlDate, SQL_TYPE_DATE, 10, 4},
    {TypeKind::Time, "TIME", "TIME", Shape::Plain, kSqlTime, SQL_TYPE_TIME, 8, 3},
    {TypeKind::Timestamp, "TIMESTAMP", "TIMESTAMP", Shape::Plain, kSqlTimestamp, SQL_TYPE_TIMESTAMP,
     26, 10},
}};

constexpr bool rowsFollowTheKinds() {
  for (size_t i = 0; i < kTypes.size(); ++i) {
    if (static_cast<size_t>(kTypes[i].kind) != i) return false;
  }
  return static_cast<size_t>(TypeKind::Timestamp) + 1 == kTypes.size();
}
static_assert(rowsFollowTheKinds());

const TypeRow& row(TypeKind kind) {
  return kTypes[static_cast<size_t>(kind)];
}

}  // namespace

bool isNumeric(TypeKind kind) {
  return kind >= TypeKind::SmallInt && kind <= TypeKind::Decimal;
}
bool isInteger(TypeKind kind) {
  return kind >= TypeKind::SmallInt && kind <= TypeKind::BigInt;
}
bool isFloating(TypeKind kind) {
  return kind == TypeKind::Real || kind == TypeKind::Double;
}
bool isCharacter(TypeKind kind) {
  return kind >= TypeKind::Char && kind <= TypeKind::Clob;
}
bool isGraphic(TypeKind kind) {
  return kind >= TypeKind::Graphic && kind <= TypeKind::DbClob;
}
bool isBinary(TypeKind kind) {
  return kind >= TypeKind::CharBits && kind <= TypeKind::Blob;
}
bool isDatetime(TypeKind kind) {
  return kind >= TypeKind::Date && kind <= TypeKind::Timestamp;
}
bool isLargeObject(TypeKind kind) {
  return kind == TypeKind::Clob || kind == TypeKind::DbClob || kind == TypeKind::Blob;
}

bool sameType(const SqlType& a, const SqlType& b) {
  return a.kind == b.kind && a.length == b.length && a.scale == b.scale &&
         a.distinctSchema == b.distinctSchema && a.distinctName == b.distinctName;
}

std::string typeName(const SqlType& type) {
  return type.isDistinct() ? type.distinctName : std::string(row(type.kind).catalogName);
}

std::string typeText(const SqlType& type) {
  if (type.isDistinct()) return type.distinctSchema + "." + type.distinctName;
  const TypeRow& entry = row(type.kind);
  std::string text(entry.writtenName);
  switch (entry.shape) {
    case Shape::Plain:
      return text;
    case Shape::Length:
      return text + "(" + std::to_string(type.length) + ")";
    case Shape::Precision:
      return text + "(" + std::to_string(type.length) + "," + std::to_string(type.scale) + ")";
    case Shape::BitData:
      return text + "(" + std::to_string(type.length) + ") FOR BIT DATA";
  }
  return text;
}

int64_t declaredSize(const SqlType& type) {
  const int64_t size = row(type.kind).size;
  return size > 0 ? size : type.length;
}

int64_t byteLength(const SqlType& type) {
  if (const int64_t bytes = row(type.kind).bytes) return bytes;
  if (type.kind == TypeKind::Decimal) return type.length / 2 + 1;
  return isGraphic(type.kind) ? type.length * 2 : type.length;
}

// With sign, point and exponent.
int64_t textLength(const SqlType& type) {
  if (isFloating(type.kind)) return 24;
  const int64_t size = declaredSize(type);
  if (type.kind == TypeKind::Decimal) return size + 2;
  return isInteger(type.kind) ? size + 1 : size;
}

int16_t sqlTypeCode(const SqlType& type) {
  const int code = row(type.kind).descriptorCode + (type.nullable ? 1 : 0);
  return static_cast<int16_t>(code);
}

int16_t cliType(const SqlType& type) {
  return row(type.kind).cliCode;
}

}  // namespace orv
