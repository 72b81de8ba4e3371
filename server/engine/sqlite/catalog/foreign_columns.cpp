// A sample of the first rows, all columns in one query, decides. It is read again with the next
// wider type for those columns only that held something else, until every column has a type that
// its values are of.
#include "server/engine/sqlite/catalog/foreign_columns.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "server/catalog/declared_type.h"
#include "server/engine/sqlite/connection/sql_text.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/engine/sqlite/functions/engine_functions.h"
#include "server/engine/sqlite/functions/foreign_value.h"
#include "server/syntax/lexer.h"
#include "server/values/sql_error.h"
#include "server/values/utf8_text.h"

namespace orv::sqlite {
namespace {

constexpr int kSampledRows = 1000;
constexpr int kUtf8 = 1208;
constexpr int kNoMemory = -954;  // SQLCODE
constexpr int kLocked = -911;
constexpr int64_t kLongestNumber = 24;  // characters

using Kind = ValueView::Kind;

// The next type to try; nothing when every value can be read as one of `type`, or none has a better
// chance.
std::optional<SqlType> widerType(const SqlType& type) {
  switch (type.kind) {
    case TypeKind::SmallInt:
    case TypeKind::Integer:
      return makeType(TypeKind::BigInt);
    case TypeKind::BigInt:
    case TypeKind::Decimal:
      return makeType(TypeKind::Double);
    case TypeKind::Double:
    case TypeKind::Date:
    case TypeKind::Time:
    case TypeKind::Timestamp:
      return foreignType("TEXT");
    case TypeKind::Varchar:
      return type.length < kMaxVarchar ? foreignType("TEXT") : makeType(TypeKind::Clob, kMaxLob);
    case TypeKind::LongVarchar:
      return makeType(TypeKind::Clob, kMaxLob);
    default:
      return std::nullopt;
  }
}

bool fits(const ValueView& value, const SqlType& type, const TextLength& length) {
  if (value.kind == Kind::Null) return true;
  if (isCharacter(type.kind)) {
    const bool number = value.kind == Kind::Integer || value.kind == Kind::Double;
    return (number ? kLongestNumber : static_cast<int64_t>(value.text.size())) <= type.length;
  }
  try {
    std::string storage;
    foreignValue(value, type, length, storage);
    return true;
  } catch (const SqlError&) {
    return false;
  }
}

void giveType(Column& column, SqlType type) {
  // Numbers stay numbers where they are stored, and texts of them are compared as texts.
  if (!isCharacter(column.type.kind) && isCharacter(type.kind)) column.isUntyped = true;
  type.nullable = column.type.nullable;
  column.type = std::move(type);
}

// Takes the columns whose values all fit out of `columns`, and gives the others the next type.
void widenMisfits(sqlite3* database, const Table& table, std::vector<Column*>& columns) {
  static const TextLength kLength(kUtf8);
  SqlText sql;
  Comma comma;
  sql << "SELECT ";
  for (const Column* column : columns) sql << comma << Name{column->storedName};
  sql << " FROM " << Name{table.storedName} << " LIMIT " << kSampledRows;
  std::vector<bool> misfit(columns.size());
  Command rows(database, sql.text());
  while (rows.step()) {
    for (size_t i = 0; i < columns.size(); ++i) {
      misfit[i] =
          misfit[i] || !fits(viewOf(rows.value(static_cast<int>(i))), columns[i]->type, kLength);
    }
  }
  std::vector<Column*> widened;
  for (size_t i = 0; i < columns.size(); ++i) {
    if (!misfit[i]) continue;
    giveType(*columns[i], *widerType(columns[i]->type));
    if (widerType(columns[i]->type)) widened.push_back(columns[i]);
  }
  columns = std::move(widened);
}

}  // namespace

SqlType foreignType(std::string_view declared) {
  SqlType type = declaredType(declared);
  if (type.kind == TypeKind::Real) type.kind = TypeKind::Double;
  if (type.kind == TypeKind::Char) type.kind = TypeKind::Varchar;
  if (type.kind == TypeKind::Graphic) type.kind = TypeKind::VarGraphic;
  const bool isText = foldAscii(declared).find("TEXT") != std::string::npos;
  if (type.kind == TypeKind::Clob && isText) type = makeType(TypeKind::Varchar, kMaxVarchar);
  type.anyLength = type.kind == TypeKind::Varchar && type.length == kMaxVarchar;
  return type;
}

// The engine's own rules.
bool keepsNumbers(std::string_view declared) {
  const std::string words = foldAscii(declared);
  const auto has = [&](std::string_view part) { return words.find(part) != std::string::npos; };
  return has("INT") || !(has("CHAR") || has("CLOB") || has("TEXT"));
}

void ForeignColumns::choose(sqlite3* database, Table& table) {
  std::vector<Column*> columns;
  std::vector<std::string> keys;
  for (Column& column : table.columns) {
    if (!widerType(column.type)) continue;
    std::string key = table.storedName + '\n' + column.storedName + '\n' + typeText(column.type);
    const auto known = chosen_.find(key);
    if (known == chosen_.end()) {
      columns.push_back(&column);
      keys.push_back(std::move(key));
      continue;
    }
    giveType(column, known->second);
  }
  try {
    for (std::vector<Column*> open = columns; !open.empty();) widenMisfits(database, table, open);
  } catch (const SqlError& error) {
    // Rows that cannot be read (a damaged page, a generated column of an unknown function) are told
    // of when somebody asks for them.
    if (error.sqlcode() == kNoMemory || error.sqlcode() == kLocked) throw;
  }
  for (size_t i = 0; i < columns.size(); ++i) chosen_[keys[i]] = columns[i]->type;
}

}  // namespace orv::sqlite
