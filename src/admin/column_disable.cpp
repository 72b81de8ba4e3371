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
#include "src/dad/column_model.h"
#include "src/outcome/failure.h"
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
  // The steps, in their order.
  void findColumn();
  void fetchUsage();
  void dropView() const;
  void takeModel();
  void dropTriggers() const;
  void resetRootIds();
  void dropRootIdTrigger();
  void dropSideTables() const;
  void releaseDtd() const;
  void deleteUsage() const;

  void dropTrigger(char letter, Msg failure) const;
  std::string rootIds() const;
  void requireOwn(const side_table& sideTable, const std::string& rootids) const;
  int32_t countRootIds() const;
  void tellResetValues() const;
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
  findColumn();
  fetchUsage();
  dropView();
  takeModel();
  dropTriggers();
  resetRootIds();
  dropRootIdTrigger();
  dropSideTables();
  releaseDtd();
  deleteUsage();
  return report(call_.report(), Msg::QRKA034I, columnName_);
}

void DisableColumn::findColumn() {
  if (std::strlen(columnName_) > kMaxColumnName) throw Failure(Msg::QRKQ032E);
  requireUsageTable(ctx_);
  splitTableName(ctx_, tableName_, names_);
  QRK_TRACE(ctx_, "tabname :%s,schema_name:%s", names_.table.c_str(), names_.schema.c_str());
  names_.column = parseColumnName(ctx_, tableName_, columnName_);
}

void DisableColumn::fetchUsage() {
  UsageText column, view, dtdid, suffix;
  int16_t dadIndicator = 0;
  const sqlca area =
      fetchRow(kUsageQuery, {schema(), table(), this->column()},
               {column.output(), orv::esql::clobLocatorVariable(dad_.address(), &dadIndicator),
                view.output(), dtdid.output(), suffix.output()});
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA024E);
  if (area.sqlcode == kNoRow || column.isNull()) throw Failure(Msg::QRKA018E);
  if (suffix.isNull()) {
    QRK_TRACE(ctx_, " trigger_suffix is null");
    throw Failure(Msg::QRKA024E);
  }
  defaultView_ = view.value();
  dtdid_ = dtdid.value();
  suffix_ = suffix.value();
}

void DisableColumn::dropView() const {
  if (defaultView_.empty()) return;
  const sqlca area = define("DROP VIEW " + defaultView_);
  if (area.sqlcode != 0) throw Failure::ofServer(area, Msg::QRKA025E, defaultView_);
}

void DisableColumn::takeModel() {
  OutBuffer buffer(ctx_);
  try {
    qrkGetDataFromLocator(ctx_, dad_.value(), buffer.get());
  } catch (const Failure&) {
    QRK_TRACE(ctx_, "qrkGetDadFileFromLocator() failed w/ rc=%d", -1);
    throw Failure(Msg::QRKC004E, -1);
  }
  dad_.release();
  const bool samePages = ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage;
  try {
    model_ = columnModel(ctx_, tableName_, names_.column.c_str(), buffer.get(), samePages);
  } catch (const Failure&) {
    throw Failure(Msg::QRKA024E);
  }
}

void DisableColumn::dropTrigger(char letter, Msg failure) const {
  const std::string text = "DROP TRIGGER " + nameText(names_.schema) + '.' + letter + suffix_ + ' ';
  const sqlca area = define(text);
  if (area.sqlcode == 0) return;
  QRK_TRACE(ctx_, "Failed in sql statement: %s", text.c_str());
  throw Failure::ofServer(area, failure);
}

void DisableColumn::dropTriggers() const {
  dropTrigger('J', Msg::QRKA028E);
  dropTrigger('D', Msg::QRKA029E);
  dropTrigger('U', Msg::QRKA030E);
  if (model_->validation != 1) return;
  dropTrigger('V', Msg::QRKA051E);
  dropTrigger('W', Msg::QRKA052E);
}

// How many root ids have to go: none in a table without the column, whose rows are known by a key
// of their own, and none while the side tables of another column still go by them.
int32_t DisableColumn::countRootIds() const {
  int32_t enabled = 0, count = 0;
  sqlca area = fetchRow(kOthersQuery, {schema(), table()}, {integerVariable(&enabled)});
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA024E);
  if (enabled > 1) return 0;
  area =
      fetchRow("SELECT count(QRKROOT_ID) FROM " + qualifiedTable(), {}, {integerVariable(&count)});
  if (area.sqlcode < 0 && area.sqlcode != kNoSuchColumn) {
    throw Failure::ofServer(area, Msg::QRKA031E);
  }
  return count;
}

void DisableColumn::resetRootIds() {
  resetRootIds_ = countRootIds();
  if (resetRootIds_ == 0) return;
  QRK_TRACE(ctx_, "Before reset QRKROOT_ID count of QRKROOT_ID=%d", resetRootIds_);
  const sqlca area = define("UPDATE " + qualifiedTable() + " SET QRKROOT_ID=NULL");
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA031E);
}

void DisableColumn::dropRootIdTrigger() {
  char query[kCatalogQuerySize];
  const std::string trigger = 'H' + suffix_;
  int32_t count = 0;
  qrkBuildSelectStmt(ctx_, query, kCount, kFromTriggers, kThisTrigger);
  QRK_TRACE(ctx_, "Check BIT statement:%s\ntable name:%s;trigger name:%s", query,
            names_.table.c_str(), trigger.c_str());
  const sqlca area = fetchRow(query, {textInput(trigger.c_str())}, {integerVariable(&count)});
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA027E);
  generatesRootIds_ = count > 0;
  if (generatesRootIds_) return dropTrigger('H', Msg::QRKA027E);
  if (resetRootIds_ > 0) tellResetValues();
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
std::string DisableColumn::rootIds() const {
  std::string rootids = literalText(kRootIdColumn);
  if (generatesRootIds_) return rootids;
  char column[kColumnSize] = "";
  const sqlca area = fetchRow(
      "SELECT colname FROM syscat.columns WHERE tabschema = ? AND tabname = ? AND keyseq = 1",
      {schema(), table()}, {stringVariable(column, sizeof column)});
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA024E);
  if (*column) rootids += ", " + literalText(column);
  return rootids;
}

// The mapping's names mean other tables under another default schema than that of enabling. A table
// without the root id and the mapped columns is somebody else's; a name that means no table is for
// the server to refuse.
void DisableColumn::requireOwn(const side_table& sideTable, const std::string& rootids) const {
  const auto stranger = [&] { return Failure(Msg::QRKA026E, sideTable.name); };
  ColumnNames names;
  try {
    splitTableName(ctx_, sideTable.name, names);
  } catch (const Failure& failure) {
    if (failure.is(Msg::QRKA016E) || failure.is(Msg::QRKQ031E)) return;
    throw;
  }
  int32_t own = 0;
  std::string list;
  for (const side_column* column = sideTable.columns; column; column = column->next) {
    char name[kColumnSize];
    if (qrkParseCol(ctx_, column->name, name, sizeof name) != 0) throw stranger();
    list += (own++ > 0 ? ", " : "") + literalText(name);
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
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA026E, sideTable.name);
  if (all != 0 && (found != own || ids == 0)) throw stranger();
}

void DisableColumn::dropSideTables() const {
  const std::string rootids = rootIds();
  for (const side_table* table = model_->sideTables; table; table = table->next) {
    requireOwn(*table, rootids);
    const sqlca area = define(std::string("DROP TABLE ") + table->name);
    if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA026E, table->name);
  }
}

void DisableColumn::releaseDtd() const {
  if (dtdid_.empty()) return;
  const sqlca area =
      change("UPDATE orvxml.dtd_ref SET usage_count = usage_count -1 WHERE dtdid = ?",
             {textInput(dtdid_.c_str())});
  if (area.sqlcode >= 0) return;
  QRK_TRACE(ctx_, "Error in decrementing usage_count, sqlcode=%d", area.sqlcode);
  throw Failure::ofServer(area, Msg::QRKA032E);
}

void DisableColumn::deleteUsage() const {
  const sqlca area = change(kUsageDelete, {schema(), table(), column()});
  if (area.sqlcode < 0) throw Failure::ofServer(area, Msg::QRKA033E);
}

}  // namespace

int disableColumn(Call& call, const char* tableName, const char* columnName) {
  return DisableColumn(call, tableName, columnName).run();
}

}  // namespace orvxml
