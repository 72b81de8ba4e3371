// Running the statements of tables: binding their columns, fetching, closing.
#include "src/compose/rdb_query.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "orv/esql.h"
#include "src/compose/column_buffers.h"
#include "src/compose/composition.h"
#include "src/compose/level_map.h"
#include "src/dad/mapping_notices.h"
#include "src/server_access/cli_diagnostics.h"
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

Failure serverWords(SQLSMALLINT type, SQLHANDLE handle, SourcePlace where = SourcePlace::here()) {
  return failureInServerWords(firstDiagnostic(type, handle), where);
}

}  // namespace

// ---- One table
TableQuery::~TableQuery() {
  releaseLocators();
}

void TableQuery::open(int level) {
  const bool isFirstUse = *table_.stmt == 0;
  if (isFirstUse) prepare(level);
  if (isOpen()) close();
  forgetRow();
  execute();
  if (isFirstUse) describeColumns(level == 0);
  table_.cursor_open = 1;
}

void TableQuery::prepare(int level) {
  table_.level = level;
  if (SQLAllocHandle(SQL_HANDLE_STMT, hdbc_, &table_.hstmt) < 0) {
    throw serverWords(SQL_HANDLE_DBC, hdbc_);
  }
  try {
    qrkGenSQL(ctx_, all_, *this);
  } catch (Failure& reason) {
    if (level == 0) throw;
    throw Failure::internal().with(std::move(reason));
  }
}

void TableQuery::execute() {
  for (int i = 0; i < table_.num_param; ++i) {
    table_.param[i].ind = *parameterLengths_[static_cast<size_t>(i)];
  }
  const SQLRETURN rc =
      SQLExecDirect(table_.hstmt, reinterpret_cast<SQLCHAR*>(table_.stmt), SQL_NTS);
  if (rc < 0) throw refusedStatement(table_.hstmt);
}

void TableQuery::require(SQLRETURN rc, const char* what, SourcePlace where) const {
  if (rc < 0) {
    throw cliFailure(ctx_, rc, SQL_HANDLE_STMT, table_.hstmt, what, "qrkrcomp", where);
  }
}

void TableQuery::describeColumns(bool isRoot) {
  SQLSMALLINT count = 0;
  require(SQLNumResultCols(table_.hstmt, &count), "SQLNumResultsCols");
  table_.descriptor = newDescriptor(count);
  const auto columns = static_cast<size_t>(count);
  table_.lengths = allocateZeroed<int32_t>(columns);
  table_.indicators = allocateZeroed<int16_t>(columns);
  std::fill_n(table_.lengths, columns, SQL_NULL_DATA);
  for (int i = 0; i < count; ++i) describeColumn(i, isRoot);
}

void TableQuery::describeColumn(int column, bool isRoot) {
  SQLCHAR name[kColumnSize] = "";
  SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
  SQLUINTEGER size = 0;
  const auto number = static_cast<SQLUSMALLINT>(column + 1);
  require(SQLDescribeCol(table_.hstmt, number, name, sizeof name, &nameLength, &type, &size,
                         &digits, &nullable),
          "SQLDescribeCol");

  const bool byLocator = isFetchedByLocator(type);
  const int32_t capacity =
      byLocator ? static_cast<int32_t>(sizeof(int32_t)) : textBufferSize(type, size);
  sqlvar& entry = table_.descriptor->sqlvar[column];
  table_.descriptor->sqld = static_cast<int16_t>(number);
  setEntryName(ctx_, entry, reinterpret_cast<const char*>(name));
  entry.sqltype = byLocator ? kLocator : kString;
  if (!isRoot) entry.sqllen = describedLength(type, size);
  entry.sqlind = &table_.indicators[column];
  entry.sqldata = allocateZeroed<char>(static_cast<size_t>(capacity));
  if (byLocator) largeObjects_.push_back(column);
  require(SQLBindCol(table_.hstmt, number, byLocator ? SQL_C_CLOB_LOCATOR : SQL_C_CHAR,
                     entry.sqldata, capacity, &table_.lengths[column]),
          "SQLBindCol");
}

void TableQuery::fetch() {
  freeLocators();
  const SQLRETURN rc = SQLFetch(table_.hstmt);
  hasRow_ = rc == SQL_SUCCESS;
  if (rc == SQL_NO_DATA) return;
  // A value that was cut comes with a warning: that is no value to write.
  if (!hasRow_) throw serverWords(SQL_HANDLE_STMT, table_.hstmt);
  for (int i = 0; i < table_.descriptor->sqld; ++i) {
    table_.indicators[i] = static_cast<int16_t>(
        std::min<int32_t>(table_.lengths[i], std::numeric_limits<int16_t>::max()));
  }
  hasValues_ = true;
  forgetDependentRows();
}

void TableQuery::close() {
  table_.cursor_open = 0;
  freeLocators();
  if (SQLCloseCursor(table_.hstmt) < 0) throw serverWords(SQL_HANDLE_STMT, table_.hstmt);
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

std::optional<sqlca> TableQuery::releaseLocators() {
  std::optional<sqlca> refusal;
  for (const int column : largeObjects_) {
    sqlca area{};
    if (!freeLocator(column, area)) refusal = area;
  }
  return refusal;
}

void TableQuery::freeLocators() {
  if (const auto refusal = releaseLocators()) throw Failure::ofServerInternal(*refusal);
}

// ---- All of them
TableQueries::TableQueries(QrkStruct* ctx, SQLHDBC hdbc, rel& model) : model_(model) {
  for (int i = 0; i < model.num_of_tables; ++i) {
    queries_.emplace_back(ctx, *this, hdbc, *model.tab[i], tableBit(i));
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

void TableQueries::closeAllBut(const TableQuery& documents) {
  for (TableQuery& query : queries_) {
    if (&query == &documents) continue;
    query.setWalked(false);
    if (query.isOpen()) query.close();
  }
}

void TableQueries::closeAttributeQueries() {
  for (TableQuery& query : queries_) {
    if (query.isOpen() && !query.isWalked()) query.close();
  }
}

void TableQueries::closeAfterFailure() {
  for (TableQuery& query : queries_) {
    if (!query.isOpen()) continue;
    query.table().cursor_open = 0;
    SQLCloseCursor(query.table().hstmt);
  }
}

}  // namespace orvxml
