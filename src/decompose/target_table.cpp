// The SQL text that decomposition sends about its target tables: CREATE TABLE for a missing table,
// the check of an existing one, and the INSERT that is prepared once per table.
//
// A statement is built in a buffer of fixed size. What does not fit sets a mark, and one test at
// the end decides: a cut statement is never sent.
#include "src/decompose/target_table.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "src/outcome/traced_call.h"
#include "src/server_access/catalog_queries.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

const orv::esql::Module kQrktab = {"QRKTAB", "QTB00001", {}};

namespace {

constexpr char kModule[] = "qrktab";
constexpr int kCreateSize = 2048;
constexpr int kLongestCharacter = 4;  // bytes, in any code page
constexpr int kTypeSchemaSize = 31;
constexpr int kTypeNameSize = 27;
constexpr int kTypeTextSize = 58;
// Type schema, period, type name and terminator: every type text fits.
static_assert(kTypeSchemaSize + kTypeNameSize <= kTypeTextSize);
static_assert(kDataTypeSize <= kTypeTextSize);

// A statement under construction.
class StatementText {
 public:
  StatementText(QrkStruct* ctx, char* buffer, int size)
      : ctx_(ctx), begin_(buffer), end_(buffer + size), cursor_(buffer) {
    *buffer = 0;
  }

  StatementText& text(std::string_view piece) {
    safetyadd(cursor_, end_, piece.data(), static_cast<int>(piece.size()));
    return *this;
  }
  StatementText& name(const char* identifier) {
    qrkAddOutputSqlId(ctx_, &cursor_, end_, identifier);
    return *this;
  }
  StatementText& table(const char* schema, const char* table) {
    if (*schema) name(schema).text(".");
    return name(table);
  }
  // The separator behind the last item of a list gives way to `ch`.
  StatementText& closeList(char ch) {
    if (cursor_ != kWriteError && cursor_ > begin_) cursor_[-1] = ch;
    return *this;
  }
  bool isComplete() const { return cursor_ != kWriteError && end_ - cursor_ >= kLongestCharacter; }

 private:
  QrkStruct* ctx_;
  char* begin_;
  char* end_;
  char* cursor_;
};

std::string writtenName(const tab& table) {
  return *table.schema ? std::string(table.schema) + '.' + table.name : table.name;
}

// The table that the foreign keys point at: the one that the first key's own join names by the
// column that supplies it. Null when there is none.
const join_partner* referencedTable(const tab& table) {
  const foreign_key& key = table.fk[0];
  const std::span<const join_partner> own(key.column->foreign,
                                          static_cast<size_t>(key.column->num_join));
  const auto partner = std::find_if(own.begin(), own.end(), [&](const join_partner& candidate) {
    return std::strcmp(candidate.col, key.parent->col) == 0;
  });
  return partner == own.end() ? nullptr : &*partner;
}

// The clause names one table, and columns by the names that they have where the values come from.
// Whether the key is joined to that table's column of that name, and is named once.
bool pointsAt(const tab& table, int index, const join_partner& parent) {
  const foreign_key& key = table.fk[index];
  for (int i = 0; i < index; ++i) {
    if (table.fk[i].column == key.column) return false;
  }
  const join_partner* const joins = key.column->foreign;
  return std::any_of(joins, joins + key.column->num_join, [&](const join_partner& partner) {
    return std::strcmp(partner.col, key.parent->col) == 0 &&
           cmpQualTblName(partner.schema, parent.schema, partner.tab, parent.tab) == 0;
  });
}

bool hasAllParents(const tab& table) {
  return std::all_of(table.fk, table.fk + table.num_fk,
                     [](const foreign_key& key) { return key.column && key.parent; });
}

void addPrimaryKey(StatementText& sql, StatementText& index, const tab& table) {
  if (table.pri_key.num == 0) return;
  sql.text("PRIMARY KEY (");
  index.table(table.schema, table.name).text("(");
  for (int i = 0; i < table.pri_key.num; ++i) {
    sql.name(table.pri_key.name[i]).text(",");
    index.name(table.pri_key.name[i]).text(",");
  }
  sql.closeList(')').text(",");
  index.closeList(')');
}

// Whether a value of the document goes into the column, which is then declared with its type.
bool isMapped(const tab& table, const char* column) {
  return std::any_of(table.col2xml, table.col2xml + table.num_col,
                     [&](const col2xml_entry& entry) { return !std::strcmp(entry.col, column); });
}

// The foreign keys of a table that has some; QRKG001E when nothing supplies one of them, QRKQ035E
// for one that is not of the referenced table: no clause says what the mapping means then.
void addForeignKeys(QrkStruct* ctx, StatementText& sql, const tab& table) {
  const join_partner* const parent = hasAllParents(table) ? referencedTable(table) : nullptr;
  if (!parent) {
    QRK_TRACE(ctx,
              "Can not find parent tab and col from '%s%s%s'->join_info for foreign key '%s'.\n"
              "rel is inconsistent.",
              table.schema, *table.schema ? "." : "", table.name,
              table.fk[0].column ? table.fk[0].column->col : "");
    throw Failure::internal(kModule);
  }
  for (int i = 0; i < table.num_fk; ++i) {
    if (pointsAt(table, i, *parent)) continue;
    throw Failure(Msg::QRKQ035E, writtenName(table) + '.' + table.fk[i].column->col);
  }
  const std::span<const foreign_key> keys(table.fk, static_cast<size_t>(table.num_fk));
  for (const foreign_key& key : keys) {
    const bool inPrimaryKey = isPriKey(ctx, key.column->col, &table.pri_key);
    if (inPrimaryKey && isMapped(table, key.column->col)) continue;
    sql.name(key.column->col).text(" ").text(key.parent->dataType);
    sql.text(inPrimaryKey ? " NOT NULL, " : ", ");
  }
  sql.text("FOREIGN KEY (");
  for (const foreign_key& key : keys) sql.name(key.column->col).text(",");
  sql.closeList(')').text(" REFERENCES ").table(parent->schema, parent->tab).text("(");
  for (const foreign_key& key : keys) sql.name(key.parent->col).text(",");
  sql.closeList(')').text(",");
}

void addColumns(QrkStruct* ctx, StatementText& sql, const tab& table) {
  for (int i = 0; i < table.num_col; ++i) {
    const col2xml_entry& column = table.col2xml[i];
    sql.name(column.col).text(" ").text(column.dataType);
    sql.text(isPriKey(ctx, column.col, &table.pri_key) ? " NOT NULL," : ",");
  }
}

// A type as the DAD writes it, as the catalog would name it, and its length (0: none).
struct WrittenType {
  std::string name;
  long length = 0;
};

WrittenType readType(QrkStruct* ctx, const char* dataType) {
  WrittenType type;
  const std::string_view whole = dataType;
  const size_t parenthesis = whole.find('(');
  char text[kTypeTextSize];
  const std::string word(whole.substr(0, parenthesis));
  if (qrk_toupper(ctx, word.c_str(), text, sizeof text) != 0) throw Failure::internal(kModule);
  if (parenthesis != whole.npos) type.length = std::strtol(dataType + parenthesis + 1, nullptr, 10);
  const bool isFloat = std::strcmp(text, "FLOAT") == 0;
  qrkConvertTypename(ctx, text, static_cast<int>(std::clamp(type.length, 0L, long{INT32_MAX})));
  // The number behind FLOAT is a precision and has done its work: the name depends on it.
  if (isFloat) type.length = 0;
  type.name = text;
  return type;
}

CatalogType catalogType(QrkStruct* ctx, const tab& table, const char* column) {
  CatalogType type = qrkGetCatalogColumnType(ctx, table.schema, table.name, column);
  if (type.schema.size() >= kTypeSchemaSize || type.name.size() >= kTypeNameSize) {
    throw Failure::internal(kModule).withCode(-1);
  }
  return type;
}

void checkColumn(QrkStruct* ctx, const tab& table, const col2xml_entry& column) {
  const CatalogType type = catalogType(ctx, table, column.col);
  const WrittenType written = readType(ctx, column.dataType);
  const std::string actual = type.schema.empty() ? type.name : type.schema + '.' + type.name;
  if (written.name != actual) {
    throw Failure(Msg::QRKQ022E, column.col, writtenName(table), type.name);
  }
  if (type.length >= 1 && written.length > type.length) {
    throw Failure(Msg::QRKQ023E, column.col, writtenName(table), type.length);
  }
}

}  // namespace

bool isPriKey(QrkStruct* ctx, const char* column, const key_columns* keys) {
  bool found = false;
  for (int i = 0; i < keys->num && !found; ++i) found = std::strcmp(column, keys->name[i]) == 0;
  QRK_TRACE(ctx, "%s is%s a part of the primary key.", column, found ? "" : " not");
  return found;
}

void prepare_tables(QrkStruct* ctx, const rel* relinfo, const char* tablespace) {
  for (int i = 0; i < relinfo->num_of_tables; ++i) {
    const tab& table = *relinfo->tab[i];
    if (qrkTableExists(ctx, table.schema, table.name)) {
      traced(ctx, "call check_table() returns %ld.",
             [&] { check_table(ctx, relinfo->num_cond, table); });
    } else {
      traced(ctx, "call create_table() returns %ld.",
             [&] { create_table(ctx, table, tablespace); });
    }
  }
}

void create_table(QrkStruct* ctx, const tab& table, const char* tablespace) {
  char statement[kCreateSize];
  char indexText[kCreateSize];
  StatementText sql(ctx, statement, sizeof statement);
  StatementText index(ctx, indexText, sizeof indexText);
  sql.text("CREATE TABLE ").table(table.schema, table.name).text("(");
  addColumns(ctx, sql, table);
  addPrimaryKey(sql, index, table);
  if (table.num_fk > 0) addForeignKeys(ctx, sql, table);
  sql.closeList(')');
  if (tablespace && *tablespace) sql.text(" IN ").text(tablespace);
  QRK_TRACE(ctx, "sql_stmt = '%s'", statement);
  if (!sql.isComplete() || !index.isComplete()) throw Failure::internal(kModule);
  sqlca area{};
  orv::esql::executeImmediate(kQrktab, statement, area);
  if (table.pri_key.num > 0) {
    QRK_TRACE(ctx, "Call qrkCreateIndex on %s", indexText);
    qrkCreateIndex(ctx, indexText);
  }
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKQ024E, table.name);
}

void check_table(QrkStruct* ctx, int num_cond, const tab& table) {
  for (int i = 0; i < table.num_col; ++i) checkColumn(ctx, table, table.col2xml[i]);
  for (int i = 0; table.join_info && i < num_cond && *table.join_info[i].col; ++i) {
    catalogType(ctx, table, table.join_info[i].col);
  }
}

int faultyColumn(QrkStruct* ctx, const tab& table) {
  int column = 0;
  try {
    for (; column < table.num_col; ++column) checkColumn(ctx, table, table.col2xml[column]);
  } catch (const Failure&) {
    return column;
  }
  return -1;
}

void generate_SQLi(QrkStruct* ctx, const tab& table, char* stmt, int size) {
  if (!hasAllParents(table)) throw Failure::internal(kModule);
  const std::span<const col2xml_entry> columns(table.col2xml, static_cast<size_t>(table.num_col));
  const std::span<const foreign_key> keys(table.fk, static_cast<size_t>(table.num_fk));
  StatementText sql(ctx, stmt, size);
  sql.text("INSERT INTO ").table(table.schema, table.name).text("(");
  for (const col2xml_entry& column : columns) sql.name(column.col).text(",");
  for (const foreign_key& key : keys) sql.name(key.column->col).text(",");
  sql.closeList(')').text(" SELECT * FROM TABLE(VALUES(");
  for (const col2xml_entry& column : columns) {
    sql.text("CAST(? AS ").text(column.dataType).text("),");
  }
  for (const foreign_key& key : keys) {
    sql.text("CAST(? AS ").text(key.parent->dataType).text("),");
  }
  sql.closeList(' ').text(")) AS T");
  if (*table.condition) sql.text(" WHERE ").text(table.condition);
  const bool isComplete = sql.isComplete();
  if (!isComplete) *stmt = 0;
  QRK_TRACE(ctx, "Exits, sql_stmt='%s' errCode=%d.", stmt, isComplete ? 0 : codeOf(Msg::QRKG001E));
  if (!isComplete) throw Failure::internal(kModule);
}

}  // namespace orvxml
