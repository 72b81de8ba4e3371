// Running the statements of tables: binding their columns, fetching, closing.
#include "src/compose/rdb_query.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "orv/esql.h"
#include "src/compose/column_buffers.h"
#include "src/compose/composition.h"
#include "src/compose/level_map.h"
#include "src/dad/mapping_notices.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

constexpr int16_t kString = orv::kSqlCString | 1;
constexpr int16_t kLocator = orv::kSqlClobLocator | 1;
constexpr int kNamingColumns = 2;  // of a row, in messages

// The column's size as a descriptor has it: bytes.
int16_t describedLength(SQLSMALLINT type, SQLUINTEGER size) {
  const uint64_t bytes = uint64_t{size} * (isGraphicType(type) ? 2 : 1);
  return static_cast<int16_t>(std::min<uint64_t>(bytes, std::numeric_limits<int16_t>::max()));
}

}  // namespace

// ---- One table
TableQuery::~TableQuery() {
  sqlca area{};
  for (const int column : largeObjects_) freeLocator(column, area);
}

int TableQuery::open(int level) {
  const bool isFirstUse = *table_.stmt == 0;
  if (isFirstUse && prepare(level)) return -1;
  if (isOpen() && close()) return -1;
  forgetRow();
  if (execute()) return -1;
  if (isFirstUse && describeColumns(level == 0)) return -1;
  table_.cursor_open = 1;
  return 0;
}

int TableQuery::prepare(int level) {
  table_.level = level;
  const SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_STMT, hdbc_, &table_.hstmt);
  if (rc < 0) return report_.serverWords(SQL_HANDLE_DBC, hdbc_, __LINE__);
  if (qrkGenSQL(report_, all_, *this) == 0) return 0;
  return level == 0 ? -1 : report_.internalBecause(__LINE__);
}

int TableQuery::execute() {
  for (int i = 0; i < table_.num_param; ++i) {
    table_.param[i].ind = *parameterLengths_[static_cast<size_t>(i)];
  }
  const SQLRETURN rc =
      SQLExecDirect(table_.hstmt, reinterpret_cast<SQLCHAR*>(table_.stmt), SQL_NTS);
  return rc < 0 ? report_.statement(table_.hstmt) : 0;
}

int TableQuery::describeColumns(bool isRoot) {
  SQLSMALLINT count = 0;
  const SQLRETURN rc = SQLNumResultCols(table_.hstmt, &count);
  if (rc < 0) {
    return report_.cli(rc, table_.hstmt, "SQLNumResultsCols", __LINE__);
  }
  if (qrk_init_da(report_.ctx, &table_.descriptor, count)) return report_.failed(Msg::QRKG002E);
  const auto columns = static_cast<size_t>(count);
  table_.lengths = static_cast<int32_t*>(std::calloc(columns, sizeof(int32_t)));
  table_.indicators = static_cast<int16_t*>(std::calloc(columns, sizeof(int16_t)));
  if (!table_.lengths || !table_.indicators) return report_.failed(Msg::QRKG002E);
  std::fill_n(table_.lengths, columns, SQL_NULL_DATA);
  for (int i = 0; i < count; ++i) {
    if (describeColumn(i, isRoot)) return -1;
  }
  return 0;
}

int TableQuery::describeColumn(int column, bool isRoot) {
  SQLCHAR name[kColumnSize] = "";
  SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
  SQLUINTEGER size = 0;
  const auto number = static_cast<SQLUSMALLINT>(column + 1);
  SQLRETURN rc = SQLDescribeCol(table_.hstmt, number, name, sizeof name, &nameLength, &type, &size,
                                &digits, &nullable);
  if (rc < 0) return report_.cli(rc, table_.hstmt, "SQLDescribeCol", __LINE__);

  const bool byLocator = isFetchedByLocator(type);
  const int32_t capacity =
      byLocator ? static_cast<int32_t>(sizeof(int32_t)) : textBufferSize(type, size);
  sqlvar& entry = table_.descriptor->sqlvar[column];
  table_.descriptor->sqld = static_cast<int16_t>(number);
  setEntryName(report_.ctx, entry, reinterpret_cast<const char*>(name));
  entry.sqltype = byLocator ? kLocator : kString;
  if (!isRoot) entry.sqllen = describedLength(type, size);
  entry.sqlind = &table_.indicators[column];
  entry.sqldata = static_cast<char*>(std::calloc(1, static_cast<size_t>(capacity)));
  if (!entry.sqldata) return report_.failed(Msg::QRKG002E);
  if (byLocator) largeObjects_.push_back(column);
  rc = SQLBindCol(table_.hstmt, number, byLocator ? SQL_C_CLOB_LOCATOR : SQL_C_CHAR, entry.sqldata,
                  capacity, &table_.lengths[column]);
  if (rc < 0) return report_.cli(rc, table_.hstmt, "SQLBindCol", __LINE__);
  return 0;
}

int TableQuery::fetch() {
  if (freeLocators()) return -1;
  const SQLRETURN rc = SQLFetch(table_.hstmt);
  hasRow_ = rc == SQL_SUCCESS;
  if (rc == SQL_NO_DATA) return 0;
  // A value that was cut comes with a warning: that is no value to write.
  if (!hasRow_) return report_.serverWords(SQL_HANDLE_STMT, table_.hstmt, __LINE__);
  for (int i = 0; i < table_.descriptor->sqld; ++i) {
    table_.indicators[i] = static_cast<int16_t>(
        std::min<int32_t>(table_.lengths[i], std::numeric_limits<int16_t>::max()));
  }
  hasValues_ = true;
  forgetDependentRows();
  return 0;
}

int TableQuery::close() {
  table_.cursor_open = 0;
  if (freeLocators()) return -1;
  const SQLRETURN rc = SQLCloseCursor(table_.hstmt);
  if (rc < 0) return report_.serverWords(SQL_HANDLE_STMT, table_.hstmt, __LINE__);
  return 0;
}

std::string TableQuery::rowName(QrkStruct* ctx) const {
  std::string name;
  int named = 0;
  for (int i = 0; i < table_.num_col && named < kNamingColumns; ++i) {
    const ColumnValue value(table_, i);
    if (value.isNull() || value.isLargeObject()) continue;
    name += (named++ ? " and " : "") + shownValue(ctx, value.columnName(), value.text());
  }
  if (!name.empty()) name += " of " + shownText(ctx, table_.name);
  return name;
}

void TableQuery::forgetRow() {
  hasRow_ = false;
  if (!hasValues_) return;
  hasValues_ = false;
  std::fill_n(table_.lengths, table_.descriptor->sqld, SQL_NULL_DATA);
  std::fill_n(table_.indicators, table_.descriptor->sqld, int16_t{SQL_NULL_DATA});
  forgetDependentRows();
}

// The rows that an element is repeating for are still being written.
void TableQuery::forgetDependentRows() {
  for (TableQuery* dependent : dependents_) {
    if (!dependent->isWalked_) dependent->forgetRow();
  }
}

void TableQuery::supply(TableQuery& child, int number, int column) {
  join_parameter& parameter = child.table_.param[number];
  parameter.var = &table_.descriptor->sqlvar[column];
  parameter.value = parameter.var->sqldata;
  parameter.ind = table_.lengths[column];
  child.parameterLengths_.push_back(&table_.lengths[column]);
  if (dependents_.empty() || dependents_.back() != &child) dependents_.push_back(&child);
}

// The value is null afterwards. False when the server refuses.
bool TableQuery::freeLocator(int column, sqlca& area) {
  auto& locator = *reinterpret_cast<int32_t*>(table_.descriptor->sqlvar[column].sqldata);
  if (locator == 0) return true;
  orv::esql::freeLocator(locator, area);
  locator = 0;
  table_.lengths[column] = SQL_NULL_DATA;
  return area.sqlcode >= 0;
}

int TableQuery::freeLocators() {
  int result = 0;
  for (const int column : largeObjects_) {
    sqlca area{};
    if (freeLocator(column, area)) continue;
    failDbInternal(report_.report(), area, kRdbModule, __LINE__);
    result = -1;
  }
  return result;
}

// ---- All of them
TableQueries::TableQueries(const RdbReport& report, SQLHDBC hdbc, rel& model) : model_(model) {
  for (int i = 0; i < model.num_of_tables; ++i) {
    queries_.emplace_back(*this, report, hdbc, *model.tab[i], tableBit(i));
  }
}

TableQuery& TableQueries::of(const tab* table) {
  int i = 0;
  while (model_.tab[i] != table) ++i;
  return at(i);
}

TableQuery* TableQueries::firstClosed(TableBits set) {
  for (; set != 0; set &= set - 1) {
    TableQuery& query = first(set);
    if (!query.isOpen()) return &query;
  }
  return nullptr;
}

TableBits TableQueries::withTopElement(const char* name) const {
  TableBits set = 0;
  for (const TableQuery& query : queries_) {
    if (std::strcmp(query.table().top_element, name) == 0) set |= query.self();
  }
  return set;
}

TableBits TableQueries::containing(QrkStruct* ctx, const char* name) const {
  TableBits set = 0;
  for (const TableQuery& query : queries_) {
    if (isInTab(ctx, &query.table(), name)) set |= query.self();
  }
  return set;
}

std::string TableQueries::rowsAtHand(QrkStruct* ctx) const {
  std::string rows;
  for (const TableQuery& query : queries_) {
    const std::string row = query.isWalked() && query.hasRow() ? query.rowName(ctx) : "";
    if (row.empty()) continue;
    rows += (rows.empty() ? "in the row " : ", ") + row;
  }
  return rows;
}

int TableQueries::closeAllBut(const TableQuery& documents) {
  for (TableQuery& query : queries_) {
    if (&query == &documents) continue;
    query.setWalked(false);
    if (query.isOpen() && query.close()) return -1;
  }
  return 0;
}

int TableQueries::closeAttributeQueries() {
  for (TableQuery& query : queries_) {
    if (query.isOpen() && !query.isWalked() && query.close()) return -1;
  }
  return 0;
}

void TableQueries::closeAfterFailure() {
  for (TableQuery& query : queries_) {
    if (!query.isOpen()) continue;
    query.table().cursor_open = 0;
    SQLCloseCursor(query.table().hstmt);
  }
}

}  // namespace orvxml
