// Which declared type, collation and constraint texts stand for the types of the server layer; and
// how a definition is exchanged where it stands. SQLite could only copy the table, with all its
// rows, triggers and indexes, to take in a constraint: here its text is written as data, as SQLite
// allows with a new schema version.
#include "server/engine/sqlite/catalog/table_text.h"

#include "server/engine/sqlite/connection/sql_text.h"

namespace orv::sqlite {
namespace {

// The declared type gives the affinity: TEXT for decimals and strings, so that digits stay as they
// are; the collation gives the comparison.
void storedType(SqlText& out, const SqlType& type) {
  int64_t length = type.length;
  switch (type.kind) {
    case TypeKind::Decimal:
      out << "DECIMAL_TEXT(" << length << "," << type.scale << ") COLLATE ORV_DECIMAL";
      break;
    case TypeKind::Char:
      out << "CHAR(" << length << ") COLLATE RTRIM";
      break;
    case TypeKind::Varchar:
      out << "VARCHAR(" << length << ") COLLATE RTRIM";
      break;
    case TypeKind::LongVarchar:
      out << "LONG VARCHAR COLLATE RTRIM";
      break;
    case TypeKind::Clob:
      out << "CLOB";
      break;
    case TypeKind::Graphic:
      out << "NCHAR(" << length << ") COLLATE RTRIM";
      break;
    case TypeKind::VarGraphic:
    case TypeKind::LongVarGraphic:
      out << "NVARCHAR(" << length << ") COLLATE RTRIM";
      break;
    case TypeKind::DbClob:
      out << "NCLOB";
      break;
    case TypeKind::CharBits:
    case TypeKind::VarcharBits:
    case TypeKind::LongVarcharBits:
    case TypeKind::Blob:
      out << "BLOB";
      break;
    default: {
      SqlType source = type;
      source.distinctSchema.clear();
      source.distinctName.clear();
      out << Verbatim{typeText(source)};
    }
  }
}

void columnNames(SqlText& out, const Table& table, const std::vector<int>& columns) {
  out << "(";
  Comma comma;
  for (int column : columns) {
    out << comma << Name{table.columns[static_cast<size_t>(column)].storedName};
  }
  out << ")";
}

void keyConstraint(SqlText& out, const Table& table, const Key& key, bool primary) {
  out << ",CONSTRAINT " << Name{key.name};
  if (primary) {
    out << " PRIMARY KEY";
  } else {
    out << " UNIQUE";
  }
  columnNames(out, table, key.columns);
}

// While one lives, definitions may be written as data.
class SchemaAccess {
 public:
  explicit SchemaAccess(sqlite3* database) : database_(database) {
    sqlite3_db_config(database_, SQLITE_DBCONFIG_DEFENSIVE, 0, nullptr);
    sqlite3_db_config(database_, SQLITE_DBCONFIG_WRITABLE_SCHEMA, 1, nullptr);
  }
  ~SchemaAccess() {
    sqlite3_db_config(database_, SQLITE_DBCONFIG_WRITABLE_SCHEMA, 0, nullptr);
    sqlite3_db_config(database_, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  }
  SchemaAccess(const SchemaAccess&) = delete;
  SchemaAccess& operator=(const SchemaAccess&) = delete;

  // Also makes every connection, this one included, read the definitions again.
  void write(std::string_view storedTable, const std::string& sql) {
    Command(database_, "UPDATE sqlite_schema SET sql=? WHERE type='table' AND name=?")
        .bind(sql, storedTable)
        .run();
    Command version(database_, "PRAGMA schema_version");
    int64_t number = version.step() ? version.integer(0) : 0;
    version.reset();
    execute(database_, "PRAGMA schema_version=" + std::to_string(number + 1));
    execute(database_, "PRAGMA writable_schema=RESET");
  }

 private:
  sqlite3* database_;
};

std::string definitionOf(sqlite3* database, std::string_view storedTable) {
  Command command(database, "SELECT sql FROM sqlite_schema WHERE type='table' AND name=?");
  command.bind(storedTable);
  if (!command.step()) throw SqlError(-204, {std::string(storedTable)});
  return command.text(0);
}

// The end of a quoted piece or comment that begins at `at`, or the next character.
size_t afterToken(std::string_view sql, size_t at) {
  auto after = [&](std::string_view end, size_t from) {
    size_t found = sql.find(end, from);
    return found == std::string_view::npos ? sql.size() : found + end.size();
  };
  char c = sql[at];
  if (c == '\'' || c == '"' || c == '`') return after(std::string_view(&sql[at], 1), at + 1);
  if (c == '[') return after("]", at + 1);
  if (sql.substr(at).starts_with("--")) return after("\n", at);
  if (sql.substr(at).starts_with("/*")) return after("*/", at + 2);
  return at + 1;
}

// The parenthesis that closes the list of columns and constraints.
size_t closingParenthesis(std::string_view sql) {
  int depth = 0;
  for (size_t at = 0; at < sql.size(); at = afterToken(sql, at)) {
    if (sql[at] == '(') ++depth;
    if (sql[at] == ')' && --depth == 0) return at;
  }
  throw SqlError(-901, {"unreadable table definition"});
}

}  // namespace

std::string columnText(const Column& column) {
  SqlText out;
  out << Name{column.storedName} << " ";
  storedType(out, column.type);
  if (!column.type.nullable) out << " NOT NULL";
  if (!column.storedDefault.empty()) out << " DEFAULT (" << Verbatim{column.storedDefault} << ")";
  return out.take();
}

std::string foreignKeyText(const Table& table, const ForeignKey& key, const CatalogData& catalog) {
  bool self = key.parentSchema == table.schema && key.parentTable == table.name;
  const Table* parent = self ? &table : catalog.findTable(key.parentSchema, key.parentTable);
  if (!parent) throw SqlError(-204, {key.parentSchema + "." + key.parentTable});
  SqlText out;
  out << "CONSTRAINT " << Name{key.name} << " FOREIGN KEY";
  columnNames(out, table, key.columns);
  out << " REFERENCES " << Name{parent->storedName};
  std::vector<int> parentColumns;
  for (const std::string& column : key.parentColumns) {
    parentColumns.push_back(parent->columnIndex(column));
  }
  columnNames(out, *parent, parentColumns);
  if (!key.onDelete.empty()) out << " ON DELETE " << Verbatim{key.onDelete};
  return out.take();
}

std::string checkText(const RenderedCheck& check) {
  SqlText out;
  out << "CONSTRAINT " << Name{check.name} << " CHECK (" << Verbatim{check.sql} << ")";
  return out.take();
}

std::string createTableText(const Table& table, const CatalogData& catalog,
                            const std::vector<RenderedCheck>& checks) {
  SqlText out;
  out << "CREATE ";
  if (table.declared) out << "TEMP ";
  out << "TABLE " << Name{table.storedName} << "(";
  Comma comma;
  for (const Column& column : table.columns) out << comma << Verbatim{columnText(column)};
  if (table.primaryKey) keyConstraint(out, table, *table.primaryKey, true);
  for (const Key& key : table.uniqueKeys) keyConstraint(out, table, key, false);
  for (const ForeignKey& key : table.foreignKeys) {
    out << "," << Verbatim{foreignKeyText(table, key, catalog)};
  }
  for (const RenderedCheck& check : checks) out << "," << Verbatim{checkText(check)};
  out << ")";
  return out.take();
}

void addConstraint(sqlite3* database, std::string_view storedTable, std::string_view constraint) {
  std::string sql = definitionOf(database, storedTable);
  size_t at = closingParenthesis(sql);
  sql.insert(at, "," + std::string(constraint));
  SchemaAccess(database).write(storedTable, sql);
}

bool removeConstraint(sqlite3* database, std::string_view storedTable,
                      std::string_view constraint) {
  std::string sql = definitionOf(database, storedTable);
  std::string piece = "," + std::string(constraint);
  size_t at = sql.rfind(piece);
  if (at == std::string::npos) return false;
  sql.erase(at, piece.size());
  SchemaAccess(database).write(storedTable, sql);
  return true;
}

void replaceText(sqlite3* database, std::string_view storedTable, std::string_view from,
                 std::string_view to) {
  std::string sql = definitionOf(database, storedTable);
  size_t at = sql.find(from);
  if (at == std::string::npos) throw SqlError(-901, {"unreadable table definition"});
  sql.replace(at, from.size(), to);
  SchemaAccess(database).write(storedTable, sql);
}

}  // namespace orv::sqlite
