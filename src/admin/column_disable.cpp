// A column is disabled: the objects that enabling made are dropped, in an order in which no trigger
// fires for the work of another step, and the column leaves ORVXML.XML_USAGE.
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/notices.h"
#include "orvxml/sql_literal.h"
#include "orvxml/trace.h"
#include "src/admin/column.h"
#include "src/admin/column_statements.h"
#include "src/admin/column_steps.h"
#include "src/admin/trigger_texts.h"
#include "src/admin/usage_table.h"
#include "src/server_access/locator_owner.h"
#include "src/server_access/locators.h"
#include "src/server_access/server_statements.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

using orv::esql::integerVariable;
using orv::esql::stringVariable;

constexpr int kNoSuchColumn = -206;  // SQLCODE

constexpr char kUsageQuery[] =
    "SELECT COL_NAME, DAD,  DEFAULT_VIEW, DTDID, TRIGGER_SUFFIX FROM ORVXML.XML_USAGE"
    " WHERE table_schema = ? AND table_name = ? AND col_name = ?";
constexpr char kUsageDelete[] =
    "DELETE FROM ORVXML.XML_USAGE WHERE table_schema = ? AND table_name = ? AND col_name = ?";
constexpr char kOthersQuery[] =
    "SELECT COUNT(*) FROM ORVXML.XML_USAGE WHERE table_schema = ? AND table_name = ?";

// A text of the column's row; blanks that pad it do not count.
struct UsageText {
  char text[kTableSize] = "";
  int16_t indicator = 0;

  orv::esql::HostVariable output() { return stringVariable(text, sizeof text, &indicator); }
  bool isNull() const { return indicator < 0; }
  std::string value() const {
    const std::string_view all = isNull() ? "" : text;
    return std::string(all.substr(0, all.find_last_not_of(' ') + 1));
  }
};

class DisableColumn {
 public:
  DisableColumn(Call& call, const char* tableName, const char* columnName)
      : call_(call), ctx_(&call.ctx), tableName_(tableName), columnName_(columnName) {}

  int run();

 private:
  // The steps, in their order. Each returns 0 or the code of the message.
  int findColumn();
  int fetchUsage();
  int dropView();
  int takeModel();
  int dropTriggers();
  int resetRootIds();
  int dropRootIdTrigger();
  int dropSideTables();
  int releaseDtd();
  int deleteUsage();

  int dropTrigger(char letter, Msg failure);
  int findRootIds(std::string& rootids);
  int requireOwn(const side_table& sideTable, const std::string& rootids);
  int countRootIds(int32_t& count);
  void tellResetValues() const;
  int fail(Msg message) { return orvxml::fail(call_, message); }
  int failStatement(const sqlca& area, Msg message, const char* argument = "") {
    return failDb(call_.report(), area, message, argument);
  }
  orv::esql::HostVariable schema() const { return textInput(names_.schema.c_str()); }
  orv::esql::HostVariable table() const { return textInput(names_.table.c_str()); }
  orv::esql::HostVariable column() const { return textInput(names_.column.c_str()); }
  std::string qualifiedTable() const {
    return nameText(names_.schema) + '.' + nameText(names_.table);
  }

  Call& call_;
  QrkStruct* const ctx_;
  const char* const tableName_;
  const char* const columnName_;
  ColumnNames names_;
  LocatorOwner dad_;
  std::string defaultView_;
  std::string dtdid_;
  std::string suffix_;
  ModelOwner model_;
  int32_t resetRootIds_ = 0;
  bool generatesRootIds_ = false;
};

int DisableColumn::run() {
  QRK_TRACE(ctx_, "entered.");
  if (int code = findColumn()) return code;
  if (int code = fetchUsage()) return code;
  if (int code = dropView()) return code;
  if (int code = takeModel()) return code;
  if (int code = dropTriggers()) return code;
  if (int code = resetRootIds()) return code;
  if (int code = dropRootIdTrigger()) return code;
  if (int code = dropSideTables()) return code;
  if (int code = releaseDtd()) return code;
  if (int code = deleteUsage()) return code;
  return report(call_.report(), Msg::QRKA034I, columnName_);
}

int DisableColumn::findColumn() {
  if (std::strlen(columnName_) > kMaxColumnName) return fail(Msg::QRKQ032E);
  if (int code = requireUsageTable(call_.report())) return code;
  if (int code = splitTableName(call_.report(), tableName_, names_)) return code;
  QRK_TRACE(ctx_, "tabname :%s,schema_name:%s", names_.table.c_str(), names_.schema.c_str());
  return parseColumnName(call_.report(), tableName_, columnName_, names_);
}

int DisableColumn::fetchUsage() {
  UsageText column, view, dtdid, suffix;
  int16_t dadIndicator = 0;
  const sqlca area =
      fetchRow(kUsageQuery, {schema(), table(), this->column()},
               {column.output(), orv::esql::clobLocatorVariable(dad_.address(), &dadIndicator),
                view.output(), dtdid.output(), suffix.output()});
  if (area.sqlcode < 0) return failStatement(area, Msg::QRKA024E);
  if (area.sqlcode == kNoRow || column.isNull()) return fail(Msg::QRKA018E);
  if (suffix.isNull()) {
    QRK_TRACE(ctx_, " trigger_suffix is null");
    return fail(Msg::QRKA024E);
  }
  defaultView_ = view.value();
  dtdid_ = dtdid.value();
  suffix_ = suffix.value();
  return 0;
}

int DisableColumn::dropView() {
  if (defaultView_.empty()) return 0;
  const sqlca area = define("DROP VIEW " + defaultView_);
  return area.sqlcode == 0 ? 0 : failStatement(area, Msg::QRKA025E, defaultView_.c_str());
}

int DisableColumn::takeModel() {
  OutBuffer buffer(ctx_);
  const int rc = qrkGetDadFileFromLocator(ctx_, dad_.value(), buffer.get(), call_.msg);
  dad_.release();
  if (rc != 0) {
    QRK_TRACE(ctx_, "qrkGetDadFileFromLocator() failed w/ rc=%d", rc);
    return orvxml::fail(call_, Msg::QRKC004E, rc);
  }
  const bool samePages = ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage;
  model_.reset(dad_popu(ctx_, tableName_, names_.column.c_str(), buffer.get(), samePages ? 1 : 0,
                        call_.msg, call_.sqlState));
  return model_ ? 0 : fail(Msg::QRKA024E);
}

int DisableColumn::dropTrigger(char letter, Msg failure) {
  const std::string text = "DROP TRIGGER " + nameText(names_.schema) + '.' + letter + suffix_ + ' ';
  const sqlca area = define(text);
  if (area.sqlcode == 0) return 0;
  QRK_TRACE(ctx_, "Failed in sql statement: %s", text.c_str());
  return failStatement(area, failure);
}

int DisableColumn::dropTriggers() {
  if (int code = dropTrigger('J', Msg::QRKA028E)) return code;
  if (int code = dropTrigger('D', Msg::QRKA029E)) return code;
  if (int code = dropTrigger('U', Msg::QRKA030E)) return code;
  if (model_->validation != 1) return 0;
  if (int code = dropTrigger('V', Msg::QRKA051E)) return code;
  return dropTrigger('W', Msg::QRKA052E);
}

// How many root ids have to go: none in a table without the column, whose rows are known by a key
// of their own, and none while the side tables of another column still go by them.
int DisableColumn::countRootIds(int32_t& count) {
  int32_t enabled = 0;
  sqlca area = fetchRow(kOthersQuery, {schema(), table()}, {integerVariable(&enabled)});
  if (area.sqlcode < 0) return failStatement(area, Msg::QRKA024E);
  if (enabled > 1) return 0;
  area =
      fetchRow("SELECT count(QRKROOT_ID) FROM " + qualifiedTable(), {}, {integerVariable(&count)});
  if (area.sqlcode >= 0 || area.sqlcode == kNoSuchColumn) return 0;
  return failStatement(area, Msg::QRKA031E);
}

int DisableColumn::resetRootIds() {
  int32_t count = 0;
  if (int code = countRootIds(count)) return code;
  if (count == 0) return 0;
  resetRootIds_ = count;
  QRK_TRACE(ctx_, "Before reset QRKROOT_ID count of QRKROOT_ID=%d", count);
  const sqlca area = define("UPDATE " + qualifiedTable() + " SET QRKROOT_ID=NULL");
  return area.sqlcode >= 0 ? 0 : failStatement(area, Msg::QRKA031E);
}

int DisableColumn::dropRootIdTrigger() {
  char query[kCatalogQuerySize];
  const std::string trigger = 'H' + suffix_;
  int32_t count = 0;
  qrkBuildSelectStmt(ctx_, query, kCount, kFromTriggers, kThisTrigger);
  QRK_TRACE(ctx_, "Check BIT statement:%s\ntable name:%s;trigger name:%s", query,
            names_.table.c_str(), trigger.c_str());
  const sqlca area = fetchRow(query, {textInput(trigger.c_str())}, {integerVariable(&count)});
  if (area.sqlcode < 0) return failStatement(area, Msg::QRKA027E);
  generatesRootIds_ = count > 0;
  if (generatesRootIds_) return dropTrigger('H', Msg::QRKA027E);
  if (resetRootIds_ > 0) tellResetValues();
  return 0;
}

// The column goes by its name: its values may be the table's own.
void DisableColumn::tellResetValues() const {
  NoticeListener* const listener = noticeListener();
  if (!listener) return;
  std::u16string wide;
  std::string name;
  if (!toUtf16(ctx_, qualifiedTable(), wide) || !toDatabase(nullptr, wide, name)) name.clear();
  Notice notice;
  notice.rule = "values-of-qrkroot-id";
  notice.text = "QRKROOT_ID of " + name +
                " is emptied; rows with a value, which no trigger of this column fills: " +
                std::to_string(resetRootIds_);
  listener->notice(notice);
}

// The columns by which side tables may belong to the rows, as a list for SQL: the one that a
// trigger fills, and the table's only key where there is no such trigger; somebody may have dropped
// it.
int DisableColumn::findRootIds(std::string& rootids) {
  rootids = literalText(kRootIdColumn);
  if (generatesRootIds_) return 0;
  char column[kColumnSize] = "";
  const sqlca area = fetchRow(
      "SELECT colname FROM syscat.columns WHERE tabschema = ? AND tabname = ? AND keyseq = 1",
      {schema(), table()}, {stringVariable(column, sizeof column)});
  if (area.sqlcode < 0) return failStatement(area, Msg::QRKA024E);
  if (*column) rootids += ", " + literalText(column);
  return 0;
}

// The mapping's names mean other tables under another default schema than that of enabling. A table
// without the root id and the mapped columns is somebody else's; a name that means no table is for
// the server to refuse.
int DisableColumn::requireOwn(const side_table& sideTable, const std::string& rootids) {
  ColumnNames names;
  if (int code = splitTableName(call_.report(), sideTable.name, names)) {
    return code == codeOf(Msg::QRKA016E) || code == codeOf(Msg::QRKQ031E) ? 0 : code;
  }
  int32_t own = 0;
  std::string list;
  for (const side_column* column = sideTable.columns; column; column = column->next) {
    if (parseColumnName(call_.report(), sideTable.name, column->name, names)) {
      return orvxml::fail(call_, Msg::QRKA026E, sideTable.name);
    }
    list += (own++ > 0 ? ", " : "") + literalText(names.column);
  }
  const auto countOf = [](const std::string& columns) {
    return ", COUNT(CASE WHEN colname IN (" + columns + ") THEN 1 END)";
  };
  int32_t all = 0, found = 0, ids = 0;
  const sqlca area =
      fetchRow("SELECT COUNT(*)" + countOf(list) + countOf(rootids) +
                   " FROM syscat.columns WHERE tabschema = ? AND tabname = ?",
               {textInput(names.schema.c_str()), textInput(names.table.c_str())},
               {integerVariable(&all), integerVariable(&found), integerVariable(&ids)});
  if (area.sqlcode < 0) return failStatement(area, Msg::QRKA026E, sideTable.name);
  const bool isOwn = all == 0 || (found == own && ids > 0);
  return isOwn ? 0 : orvxml::fail(call_, Msg::QRKA026E, sideTable.name);
}

int DisableColumn::dropSideTables() {
  std::string rootids;
  if (int code = findRootIds(rootids)) return code;
  for (const side_table* table = model_->sideTables; table; table = table->next) {
    if (int code = requireOwn(*table, rootids)) return code;
    const sqlca area = define(std::string("DROP TABLE ") + table->name);
    if (area.sqlcode < 0) return failStatement(area, Msg::QRKA026E, table->name);
  }
  return 0;
}

int DisableColumn::releaseDtd() {
  if (dtdid_.empty()) return 0;
  const sqlca area =
      change("UPDATE orvxml.dtd_ref SET usage_count = usage_count -1 WHERE dtdid = ?",
             {textInput(dtdid_.c_str())});
  if (area.sqlcode >= 0) return 0;
  QRK_TRACE(ctx_, "Error in decrementing usage_count, sqlcode=%d", area.sqlcode);
  return failStatement(area, Msg::QRKA032E);
}

int DisableColumn::deleteUsage() {
  const sqlca area = change(kUsageDelete, {schema(), table(), column()});
  return area.sqlcode >= 0 ? 0 : failStatement(area, Msg::QRKA033E);
}

}  // namespace

int disableColumn(Call& call, const char* tableName, const char* columnName) {
  return DisableColumn(call, tableName, columnName).run();
}

}  // namespace orvxml
