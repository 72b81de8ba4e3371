// A column is enabled: it is checked together with its table and its mapping, then its objects are
// made one after the other, then it is entered into ORVXML.XML_USAGE.
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/admin/column.h"
#include "src/admin/column_statements.h"
#include "src/admin/column_steps.h"
#include "src/admin/random_name.h"
#include "src/admin/schema_warning.h"
#include "src/admin/trigger_texts.h"
#include "src/admin/usage_table.h"
#include "src/dad/column_model.h"
#include "src/parser/parser.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/server_statements.h"
#include "src/text/sql_scanner.h"
#include "src/xmlcolumn/location_path.h"

namespace orvxml {

namespace {

using orv::esql::integerVariable;
using orv::esql::stringVariable;

constexpr int32_t kRootIdLength = 13;

// A column's type as the catalog gives it.
struct KeyType {
  char name[kColumnSize] = "";
  int32_t length = 0;
  int32_t scale = 0;
  int32_t keySequence = 0;
  int16_t keyIndicator = 0;
};

// The type as a column definition has it.
std::string definitionOf(const KeyType& type) {
  const auto begins = [&](std::string_view word) { return typeBegins(type.name, word); };
  std::string text = type.name;
  if (begins("varchar") || begins("char") || begins("graphic") || begins("vargraphic")) {
    text += '(' + std::to_string(type.length) + ')';
  } else if (begins("decimal")) {
    text += '(' + std::to_string(type.length) + ',' + std::to_string(type.scale) + ')';
  }
  return text;
}

bool isPath(QrkStruct* ctx, const char* path) {
  std::u16string text;
  if (!toUtf16(ctx, path, text)) return false;
  return QrkQuery(ctx, text.data()).state == 0;
}

// In the triggers a side table of such a name would stand for itself where the row is meant: each
// document would change the rows of all.
bool hidesRow(QrkStruct* ctx, const char* sideTable) {
  char schema[kSchemaSize], table[kTableSize];
  if (qrkParseQualTbl(ctx, sideTable, schema, sizeof schema, table, sizeof table)) return false;
  return std::string_view(table) == "NEWROW" || std::string_view(table) == "OLDROW";
}

class EnableColumn {
 public:
  EnableColumn(Call& call, const ColumnRequest& request)
      : call_(call), ctx_(&call.ctx), request_(request), dad_(&call.ctx) {}

  int run();

 private:
  // The steps, in their order.
  void checkNames();
  void checkTable();
  void takeRootId();
  void takeModel();
  void checkModel() const;
  void checkDtd() const;
  void drawSuffix();
  void createObjects() const;
  void createTriggers(const ColumnObjects& of) const;
  void recordUsage();

  void traceModel() const;
  void takeGivenRootId();
  KeyType fetchKeyType() const;
  void takeGeneratedRootId() const;
  void checkExistingRootId() const;
  void checkSideTable(const side_table& table) const;
  bool hasRootId() const { return *request_.rootID != 0; }
  bool hasDtd() const { return !model_->isSchema && *model_->dtdid; }
  const char* rootid() const { return hasRootId() ? request_.rootID : kRootIdColumn; }
  Failure rootIdFailure() const {
    return Failure(Msg::QRKA014E, request_.rootID, request_.tableName);
  }

  Call& call_;
  QrkStruct* const ctx_;
  const ColumnRequest& request_;
  OutBuffer dad_;
  ColumnNames names_;
  std::string rootidColumn_;      // the given root id, as the catalog has it
  std::string rootidDefinition_;  // its type
  ModelOwner model_;
  char suffix_[kSuffixLength + 1] = "";
};

int EnableColumn::run() {
  QRK_TRACE(ctx_, "entered.");
  checkNames();
  takeInto(call_, dad_, request_.dad, request_.dadLength);
  checkTable();
  takeRootId();
  takeModel();
  checkModel();
  checkDtd();
  drawSuffix();
  createObjects();
  recordUsage();
  if (model_->isSchema && model_->validation == 1) {
    warnOfUnusableSchema(ctx_, schemaLocation(*model_));
  }
  return report(call_.report(), Msg::QRKA022I, request_.columnName);
}

void EnableColumn::checkNames() {
  if (std::strlen(request_.columnName) > kMaxColumnName) throw Failure(Msg::QRKQ032E);
  requireUsageTable(ctx_);
  splitTableName(ctx_, request_.tableName, names_);
  names_.column = parseColumnName(ctx_, request_.tableName, request_.columnName);
  if (!hasRootId()) return;
  char rootid[kColumnSize];
  if (qrkParseCol(ctx_, request_.rootID, rootid, sizeof rootid) != 0) throw rootIdFailure();
  rootidColumn_ = rootid;
}

void EnableColumn::checkTable() {
  const char* const schema = names_.schema.c_str();
  const char* const table = names_.table.c_str();
  check_table(ctx_, schema, table);
  check_column(ctx_, schema, table, names_.column.c_str());
}

void EnableColumn::takeRootId() {
  hasRootId() ? takeGivenRootId() : takeGeneratedRootId();
}

void EnableColumn::takeGivenRootId() {
  char query[kCatalogQuerySize];
  int32_t keyColumns = 0;
  qrkBuildSelectStmt(ctx_, query, kKeyColumns, kFromTables, kThisTable);
  const sqlca area =
      fetchRow(query, {textInput(names_.schema.c_str()), textInput(names_.table.c_str())},
               {integerVariable(&keyColumns)});
  if (area.sqlcode != 0) throw rootIdFailure();
  if (keyColumns < 1) QRK_TRACE(ctx_, "Error: table has no primary key");
  if (keyColumns > 1) QRK_TRACE(ctx_, "Error: primary key is composite");
  if (keyColumns != 1) throw rootIdFailure();
  rootidDefinition_ = definitionOf(fetchKeyType());
}

KeyType EnableColumn::fetchKeyType() const {
  KeyType type;
  char query[kCatalogQuerySize];
  qrkBuildSelectStmt(ctx_, query, kTypeAndKey, kFromColumns, kThisColumn);
  const sqlca area = fetchRow(
      query,
      {textInput(names_.schema.c_str()), textInput(names_.table.c_str()),
       textInput(rootidColumn_.c_str())},
      {stringVariable(type.name, sizeof type.name), integerVariable(&type.length),
       integerVariable(&type.scale), integerVariable(&type.keySequence, &type.keyIndicator)});
  if (area.sqlcode == 0 && type.keyIndicator >= 0) return type;
  QRK_TRACE(ctx_, "Rootid %s is not a primary key, keyseq_ind=%d", request_.rootID,
            type.keyIndicator);
  throw rootIdFailure();
}

void EnableColumn::takeGeneratedRootId() const {
  if (hasColumn(ctx_, names_.schema.c_str(), names_.table.c_str(), kRootIdColumn)) {
    return checkExistingRootId();
  }
  QRK_TRACE(ctx_, "Alter table : %s to add column QRKROOT_ID", request_.tableName);
  const sqlca area = define(std::string("ALTER TABLE ") + request_.tableName +
                            " ADD QRKROOT_ID CHAR(13) FOR BIT DATA");
  if (area.sqlcode != 0) throw Failure::ofServer(area, Msg::QRKA013E, request_.tableName);
}

void EnableColumn::checkExistingRootId() const {
  char query[kCatalogQuerySize];
  qrkBuildSelectStmt(ctx_, query, kTypeAndLength, kFromColumns, kThisColumn);
  std::string text = query;
  text.pop_back();
  text += " 'QRKROOT_ID'";
  KeyType type;
  const sqlca area =
      fetchRow(text, {textInput(names_.schema.c_str()), textInput(names_.table.c_str())},
               {stringVariable(type.name, sizeof type.name), integerVariable(&type.length)});
  const bool fits =
      area.sqlcode == 0 && typeBegins(type.name, "CHAR") && type.length == kRootIdLength;
  if (!fits) throw Failure(Msg::QRKA015E, request_.tableName);
}

void EnableColumn::traceModel() const {
  QRK_TRACE(ctx_, "called dad_popu.  pointer of DAD:%x",
            static_cast<unsigned>(reinterpret_cast<uintptr_t>(model_.get())));
}

// The code is that of the SQLSTATE.
void EnableColumn::takeModel() {
  const bool samePages = ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage;
  try {
    model_ = columnModel(ctx_, request_.tableName, names_.column.c_str(), dad_.get(), samePages);
  } catch (Failure& failure) {
    traceModel();
    if (failure.is(Msg::QRKA009E)) {
      QRK_TRACE(ctx_, "access_mode %d not supported.", 1);
      throw;
    }
    const int code = parseCode(ctx_, failure.code(), failure.sqlState().c_str());
    throw std::move(failure).withCode(code);
  }
  traceModel();
}

// What no side table or trigger could be made of, and what would fail at the first document.
void EnableColumn::checkModel() const {
  for (const side_table* table = model_->sideTables; table; table = table->next) {
    checkSideTable(*table);
  }
}

void EnableColumn::checkSideTable(const side_table& table) const {
  const auto at = [](size_t element, Failure failure) {
    return failure.atElement(FailureText::kMapping, element);
  };
  if (hidesRow(ctx_, table.name)) throw at(table.element, Failure(Msg::QRKA057E, table.name));
  if (!table.columns) throw at(table.element, Failure(Msg::QRKA058E, "(NULL)"));
  for (const side_column* column = table.columns; column; column = column->next) {
    const std::string_view occurrence = column->multi_occurrence;
    if (occurrence != "YES" && occurrence != "NO") {
      throw at(column->element, Failure(Msg::QRKA061E, column->multi_occurrence, column->name));
    }
    if (!isPath(ctx_, column->path)) {
      throw at(column->element, Failure(Msg::QRKA060E, column->path, column->name));
    }
  }
}

void EnableColumn::checkDtd() const {
  if (!hasDtd()) return;
  QRK_TRACE(ctx_, "Check dtdid: %s against dtd_ref.", model_->dtdid);
  int32_t count = 0;
  const sqlca area = fetchRow("SELECT count(*) FROM orvxml.dtd_ref WHERE dtdid = ?",
                              {textInput(model_->dtdid)}, {integerVariable(&count)});
  if (area.sqlcode == 0 && count > 0) return;
  Failure failure = Failure::ofServer(area, Msg::QRKA010E, model_->dtdid);
  failure.about(FailureText::kMapping);
  throw failure;
}

// A suffix that no enabled column has yet.
void EnableColumn::drawSuffix() {
  constexpr char kQuery[] = "SELECT COUNT(*) FROM ORVXML.XML_USAGE WHERE TRIGGER_SUFFIX = ?";
  int32_t count = 1;
  for (int i = 0; i < kNameAttempts && count > 0; ++i) {
    qrk_GetRandName(ctx_, suffix_, kSuffixLength);
    QRK_TRACE(ctx_, "sql statement:%s", kQuery);
    QRK_TRACE(ctx_, "trigger suffix = %s", suffix_);
    const sqlca area = fetchRow(kQuery, {textInput(suffix_)}, {integerVariable(&count)});
    if (area.sqlcode == 0) continue;
    QRK_TRACE(ctx_, "Error in getting trigger suffix count, sqlcode=%d.", area.sqlcode);
    throw Failure::ofServer(area, Msg::QRKA062E, names_.column, names_.table);
  }
}

void EnableColumn::createObjects() const {
  QRK_TRACE(ctx_, "calling createSidetables(), rootid:%s, rootid_def:%s", request_.rootID,
            rootidDefinition_.c_str());
  createSidetables(ctx_, *model_, request_.rootID, rootidDefinition_.c_str(), request_.tableSpace);
  const ColumnObjects objects{*model_, names_.schema.c_str(), suffix_, rootid()};
  createTriggers(objects);
  if (*request_.defaultView) {
    createDefaultView(ctx_, objects, names_.table.c_str(), request_.defaultView);
  }
}

void EnableColumn::createTriggers(const ColumnObjects& of) const {
  if (!hasRootId()) rootidTrigger_BIT(of);
  insertTrigger_AIT(ctx_, of);
  deleteTrigger_ADT(of);
  updateTrigger_AUT(ctx_, of);
  if (model_->validation != 1) return;
  validationTrigger_VBIT(ctx_, of);
  validationTrigger_VBUT(ctx_, of);
}

void EnableColumn::recordUsage() {
  QRK_TRACE(ctx_, "Insert a row into xml_usage.");
  qrkInsertXMLUsageBuf(ctx_, {.schema = names_.schema.c_str(),
                              .table = names_.table.c_str(),
                              .column = names_.column.c_str(),
                              .dtdid = hasDtd() ? model_->dtdid : nullptr,
                              .dad = dad_.get(),
                              .accessMode = model_->noXcolumn,
                              .validation = model_->validation,
                              .defaultView = *request_.defaultView ? request_.defaultView : nullptr,
                              .suffix = suffix_});
  if (!hasDtd()) return;
  QRK_TRACE(ctx_, "Increment usage_count of dtd:%s ", model_->dtdid);
  const sqlca area = change("UPDATE orvxml.dtd_ref SET usage_count=usage_count+1 WHERE dtdid = ?",
                            {textInput(model_->dtdid)});
  if (area.sqlcode != 0) throw Failure::ofServer(area, Msg::QRKA012E);
}

}  // namespace

int enableColumn(Call& call, const ColumnRequest& request) {
  return EnableColumn(call, request).run();
}

}  // namespace orvxml
