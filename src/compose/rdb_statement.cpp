// The SELECT statement of a table: its mapped columns, the columns that other tables are joined to,
// its own conditions, and one predicate per column that is joined to a parent table.
//
//   SELECT "T"."C", "T"."D" FROM "T" WHERE condition AND "T"."P" = ?  ORDER BY columns
#include <cstring>

#include "orvxml/trace.h"
#include "src/compose/column_buffers.h"
#include "src/compose/composition.h"
#include "src/compose/rdb_query.h"
#include "src/server_access/cli_diagnostics.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

constexpr int kMaxParameters = sizeof(tab::param) / sizeof(join_parameter);

bool isMapped(const tab& table, const char* column) {
  for (int i = 0; i < table.num_col; ++i) {
    if (std::strcmp(table.col2xml[i].col, column) == 0) return true;
  }
  return false;
}

// Whether the query of `partner` will run for the rows of `table`. One that only supplies
// attributes of the table's own element has the table's level until it is used.
bool runsWithin(const tab& table, const tab& partner, int32_t partnerLevel) {
  if (partnerLevel > table.level) return true;
  return partnerLevel == table.level && &partner != &table && *partner.stmt == 0 &&
         std::strcmp(partner.top_element, table.top_element) == 0;
}

// The place in the parent's select list of the column that `partner` names, or -1.
int positionOf(const tab& parent, const join_partner& partner, const tab& child,
               const char* childColumn) {
  for (int i = 0; i < parent.num_col; ++i) {
    if (std::strcmp(parent.col2xml[i].col, partner.col) == 0) return parent.col2xml[i].col_no;
  }
  for (int i = 0; i < parent.num_join; ++i) {
    const join_info_entry& join = parent.join_info[i];
    if (std::strcmp(join.col, partner.col) != 0) continue;
    for (int k = 0; k < join.num_join; ++k) {
      const join_partner& back = join.foreign[k];
      if (cmpQualTblName(back.schema, child.schema, back.tab, child.name) == 0 &&
          std::strcmp(back.col, childColumn) == 0) {
        return back.value_col;
      }
    }
  }
  return -1;
}

class StatementWriter {
 public:
  StatementWriter(QrkStruct* ctx, TableQueries& queries, TableQuery& query)
      : ctx_(ctx), queries_(queries), query_(query), table_(query.table()) {}

  void write() {
    selectMappedColumns();
    selectJoinColumns();
    sql_ += " FROM ";
    prefix_qualification(sql_, table_);
    sql_.pop_back();
    if (*table_.condition) sql_ += std::string(" WHERE ") + table_.condition;
    joinParents();
    finish();
  }

 private:
  void addColumn(const char* column) {
    prefix_qualification(sql_, table_);
    sql_ += delimitedName(column);
  }

  void selectMappedColumns() {
    for (int i = 0; i < table_.num_col; ++i) {
      if (i > 0) sql_ += ", ";
      addColumn(table_.col2xml[i].col);
      table_.col2xml[i].col_no = i;
    }
  }

  void selectJoinColumns() {
    int32_t position = table_.num_col;
    for (int i = 0; i < table_.num_join; ++i) {
      join_info_entry& join = table_.join_info[i];
      if (selectJoinColumn(join, isMapped(table_, join.col), position)) ++position;
    }
  }

  // Every partner learns where its value stands: at `position` if a partner runs within this
  // table's rows and the column is not selected anyway.
  bool selectJoinColumn(join_info_entry& join, bool isSelected, int32_t position) {
    bool added = false;
    for (int k = 0; k < join.num_join; ++k) {
      join_partner& partner = join.foreign[k];
      partner.value_col = -1;
      const tab* other = findTabByName(ctx_, &queries_.model(), partner.schema, partner.tab);
      if (isSelected || !other || !runsWithin(table_, *other, other->level)) continue;
      if (!added) {
        sql_ += ", ";
        addColumn(join.col);
      }
      added = true;
      partner.value_col = position;
    }
    return added;
  }

  void joinParents() {
    for (int i = 0; i < table_.num_join; ++i) {
      const join_info_entry& join = table_.join_info[i];
      for (int k = 0; k < join.num_join; ++k) {
        const join_partner& partner = join.foreign[k];
        const int32_t level = getLevel(ctx_, &queries_.model(), partner.schema, partner.tab);
        if (level < 0) throw Failure(Msg::QRKQ016E);
        if (level < table_.level) joinParent(join, partner);
      }
    }
  }

  void joinParent(const join_info_entry& join, const join_partner& partner) {
    if (table_.num_param == kMaxParameters) {
      throw Failure::ofLimit(std::string("QRK_NUM_PARAMETERS of table ") + table_.name);
    }
    qrkGetJoinValue(join, partner);
    const bool isFirst = table_.num_param++ == 0 && *table_.condition == 0;
    sql_ += isFirst ? " WHERE " : " AND ";
    addColumn(join.col);
    sql_ += " = ? ";
  }

  // Finds the parent's value and binds the next parameter to it.
  void qrkGetJoinValue(const join_info_entry& join, const join_partner& partner) {
    tab& parent = qrkFindTabByName(ctx_, &queries_.model(), partner.schema, partner.tab);
    if (!parent.descriptor) throw Failure(Msg::QRKQ012E);
    const int position = positionOf(parent, partner, table_, join.col);
    if (position < 0) throw Failure(Msg::QRKQ012E);
    queries_.of(&parent).supply(query_, table_.num_param, position);
  }

  void finish() {
    checkLength();
    if (table_.orderBy) sql_ += std::string(" ORDER BY ") + table_.orderBy;
    checkLength();
    std::memcpy(table_.stmt, sql_.c_str(), sql_.size() + 1);
  }

  void checkLength() const {
    if (sql_.size() >= kStatementLimit - 1) throw Failure(Msg::QRKQ038E, kStatementTooLong);
  }

  QrkStruct* const ctx_;
  TableQueries& queries_;
  TableQuery& query_;
  tab& table_;
  std::string sql_ = "SELECT ";
};

void bindParameter(tab& table, int index) {
  SQLSMALLINT type = 0, digits = 0, nullable = 0;
  SQLUINTEGER size = 0;
  const auto number = static_cast<SQLUSMALLINT>(index + 1);
  if (SQLDescribeParam(table.hstmt, number, &type, &size, &digits, &nullable) < 0) {
    throw refusedStatement(table.hstmt);
  }
  join_parameter& parameter = table.param[index];
  const bool byLocator = (parameter.var->sqltype & ~1) == orv::kSqlClobLocator;
  const SQLSMALLINT cType = byLocator             ? SQL_C_CLOB_LOCATOR
                            : isGraphicType(type) ? SQL_C_DBCHAR
                                                  : SQL_C_CHAR;
  const SQLRETURN rc =
      SQLBindParameter(table.hstmt, number, SQL_PARAM_INPUT, cType, type, size, digits,
                       parameter.value, static_cast<SQLINTEGER>(size), &parameter.ind);
  if (rc < 0) throw refusedStatement(table.hstmt);
}

}  // namespace

void prefix_qualification(std::string& out, const tab& table) {
  if (*table.schema) out += delimitedName(table.schema) + '.';
  out += delimitedName(table.name) + '.';
}

int32_t getLevel(QrkStruct* ctx, rel* relinfo, const char* schema, const char* table) {
  const tab* found = findTabByName(ctx, relinfo, schema, table);
  return found ? found->level : -1;
}

void qrkGenSQL(QrkStruct* ctx, TableQueries& queries, TableQuery& query) {
  tab& table = query.table();
  StatementWriter(ctx, queries, query).write();
  QRK_TRACE(ctx, "%s", table.stmt);
  if (SQLPrepare(table.hstmt, reinterpret_cast<SQLCHAR*>(table.stmt), SQL_NTS) < 0) {
    throw refusedStatement(table.hstmt);
  }
  for (int i = 0; i < table.num_param; ++i) bindParameter(table, i);
}

Failure refusedStatement(SQLHSTMT statement) {
  return Failure(Msg::QRKQ053E, firstDiagnostic(SQL_HANDLE_STMT, statement).text);
}

}  // namespace orvxml
