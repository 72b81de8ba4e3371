#include "src/decompose/row_insert.h"

#include <string>

#include "orvxml/trace.h"
#include "src/server_access/cli_diagnostics.h"

namespace orvxml {

namespace {

constexpr char kModule[] = "qrkrdbi";
constexpr char kShiftOut = 0x0E;
constexpr char kShiftIn = 0x0F;

bool isCharacterType(SQLSMALLINT type) {
  return type == SQL_CHAR || type == SQL_VARCHAR || type == SQL_LONGVARCHAR;
}

bool isGraphicType(SQLSMALLINT type) {
  return type == SQL_GRAPHIC || type == SQL_VARGRAPHIC || type == SQL_LONGVARGRAPHIC ||
         type == SQL_DBCLOB;
}

// The column that parameter `index` fills and the name of the XML item that its value comes from.
const char* columnOf(const tab& table, int index) {
  return index < table.num_col ? table.col2xml[index].col
                               : table.fk[index - table.num_col].column->col;
}
const char* xmlNameOf(const tab& table, int index) {
  return index < table.num_col ? table.col2xml[index].xml
                               : table.fk[index - table.num_col].parent->xml;
}

}  // namespace

RowInserter::~RowInserter() {
  if (hstmt_ != SQL_NULL_HANDLE) SQLFreeHandle(SQL_HANDLE_STMT, hstmt_);
}

Failure RowInserter::failure(SQLRETURN rc, const char* what, SourcePlace where) const {
  return cliFailure(ctx_, rc, SQL_HANDLE_STMT, hstmt_, what, kModule, where);
}

void RowInserter::prepare() {
  SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_STMT, rel_->hdbc, &hstmt_);
  if (rc < 0) {
    throw cliFailure(ctx_, rc, SQL_HANDLE_DBC, rel_->hdbc, "SQLAllocHandle for insert stmt",
                     kModule);
  }
  rc = SQLPrepare(hstmt_, reinterpret_cast<SQLCHAR*>(table_.stmt), SQL_NTS);
  if (rc < 0) {
    QRK_TRACE(ctx_, "SQLPrepare failed for %s.", table_.stmt);
    throw failure(rc, "SQLPrepare");
  }
  indicators_.resize(static_cast<size_t>(parameterCount()));
  descriptions_.reserve(indicators_.size());
}

void RowInserter::close() {
  if (hstmt_ == SQL_NULL_HANDLE) return;
  const SQLRETURN rc = SQLFreeHandle(SQL_HANDLE_STMT, hstmt_);
  if (rc < 0) throw failure(rc, "SQLFreeHandle for insert");
  hstmt_ = SQL_NULL_HANDLE;
}

void RowInserter::insert(const Value* row) {
  QRK_TRACE(ctx_, "Entered, insert_stmt='%s',\n\t\t\trow->num_col=%d", table_.stmt, table_.num_col);
  for (int i = 0; i < parameterCount(); ++i) {
    if (static_cast<size_t>(i) >= descriptions_.size()) describe(i);
    bindParameter(i, row[i]);
  }
  const SQLRETURN rc = SQLExecute(hstmt_);
  QRK_TRACE(ctx_, "call SQLExecute() returns %ld.", static_cast<long>(rc));
  if (rc >= 0) return;
  QRK_TRACE(ctx_, "SQLExecute failed for %s", table_.stmt);
  throw failure(rc, "SQLExecute (insert)");
}

void RowInserter::describe(int index) {
  Description described;
  const SQLRETURN rc =
      SQLDescribeParam(hstmt_, static_cast<SQLUSMALLINT>(index + 1), &described.type,
                       &described.size, &described.digits, &described.nullable);
  if (rc < 0) {
    QRK_TRACE(ctx_, "SQLDescribeParam failed for (%s, i=%d, %s, %s)", table_.stmt, index + 1,
              xmlNameOf(table_, index), columnOf(table_, index));
    throw failure(rc, "SQLDescribeParam");
  }
  descriptions_.push_back(described);
}

// The server refuses a row without saying which value it could not convert: each is tried alone.
int RowInserter::faultyParameter(const Value* row) {
  for (int i = 0; faulty_ < 0 && i < parameterCount(); ++i) {
    if (row[i].length > 0 && !converts(i, row[i])) faulty_ = i;
  }
  return faulty_;
}

bool RowInserter::converts(int index, const Value& value) const {
  if (static_cast<size_t>(index) >= descriptions_.size()) return true;
  const Description& described = descriptions_[static_cast<size_t>(index)];
  if (isGraphicType(described.type)) return true;
  const char* type = index < table_.num_col ? table_.col2xml[index].dataType
                                            : table_.fk[index - table_.num_col].parent->dataType;
  std::string query = std::string("SELECT * FROM TABLE(VALUES(CAST(? AS ") + type + "))) AS T";
  SQLHSTMT hstmt = SQL_NULL_HANDLE;
  if (SQLAllocHandle(SQL_HANDLE_STMT, rel_->hdbc, &hstmt) < 0) return true;
  SQLINTEGER indicator = SQL_NTS;
  bool converts = true;
  if (SQLPrepare(hstmt, reinterpret_cast<SQLCHAR*>(query.data()), SQL_NTS) >= 0 &&
      SQLBindParameter(hstmt, 1, SQL_PARAM_INPUT, SQL_C_CHAR, described.type, described.size,
                       described.digits, const_cast<char*>(value.text),
                       static_cast<SQLINTEGER>(value.length), &indicator) >= 0) {
    converts = SQLExecute(hstmt) >= 0 && SQLFetch(hstmt) >= 0;
  }
  SQLFreeHandle(SQL_HANDLE_STMT, hstmt);
  return converts;
}

// In a code page with shift states a double-byte value stands between shift bytes, which are no
// part of a graphic value.
void RowInserter::dropShiftBytes(const char*& text, SQLINTEGER& length) const {
  if (ucnv_getType(ctx_->codePages->dbConverter) != UCNV_EBCDIC_STATEFUL || length < 2) return;
  if (text[0] != kShiftOut || text[length - 1] != kShiftIn) return;
  ++text;
  length -= 2;
}

void RowInserter::bindParameter(int index, const Value& value) {
  const Description& described = descriptions_[static_cast<size_t>(index)];
  const char* text = value.length > 0 ? value.text : "";
  SQLINTEGER length = static_cast<SQLINTEGER>(value.length);
  SQLINTEGER& indicator = indicators_[static_cast<size_t>(index)];
  indicator = length > 0 ? SQL_NTS : SQL_NULL_DATA;
  QRK_TRACE(ctx_,
            "BindParam#%d %s:%d:%s\nCLI_type=%hd, CLI_size=%hd, CLI_digits=%hd, "
            "CLI_ind[i]=%ld",
            index + 1, columnOf(table_, index), length, text, described.type,
            static_cast<short>(described.size), described.digits, static_cast<long>(indicator));
  if (isCharacterType(described.type) && value.length > described.size) {
    faulty_ = index;
    const char* xmlName = xmlNameOf(table_, index);
    const char* column = columnOf(table_, index);
    QRK_TRACE(ctx_, "XML element %s too large to fit in column %s", xmlName, column);
    throw Failure(Msg::QRKQ026E, xmlName, column);
  }
  SQLSMALLINT cType = SQL_C_CHAR;
  if (isGraphicType(described.type)) {
    cType = SQL_C_DBCHAR;
    dropShiftBytes(text, length);
    if (indicator != SQL_NULL_DATA) indicator = length;
  }
  const SQLRETURN rc = SQLBindParameter(
      hstmt_, static_cast<SQLUSMALLINT>(index + 1), SQL_PARAM_INPUT, cType, described.type,
      described.size, described.digits, const_cast<char*>(text), length, &indicator);
  if (rc >= 0) return;
  QRK_TRACE(ctx_, "SQLBindParameter failed for (%s, i=%d, %s, %s)", table_.stmt, index + 1,
            xmlNameOf(table_, index), columnOf(table_, index));
  throw failure(rc, "SQLBindParameter");
}

}  // namespace orvxml
