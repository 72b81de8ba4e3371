// A column is enabled: it is checked together with its table and its mapping, then its objects are
// made one after the other, then it is entered into ORVXML.XML_USAGE.
#include <new>
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/notices.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/admin/column.h"
#include "src/admin/column_statements.h"
#include "src/admin/column_steps.h"
#include "src/admin/random_name.h"
#include "src/admin/schema_warning.h"
#include "src/admin/trigger_texts.h"
#include "src/admin/usage_table.h"
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
struct CatalogType {
  char name[kColumnSize] = "";
  int32_t length = 0;
  int32_t scale = 0;
  int32_t keySequence = 0;
  int16_t keyIndicator = 0;
};

// The type as a column definition has it.
std::string definitionOf(const CatalogType& type) {
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
  // The steps, in their order. Each returns 0 or the code of the message.
  int checkNames();
  int checkTable();
  int takeRootId();
  int takeModel();
  int checkModel();
  int checkDtd();
  int drawSuffix();
  int createObjects();
  int createTriggers();
  int recordUsage();

  int takeGivenRootId();
  int fetchKeyType(CatalogType& type);
  int takeGeneratedRootId();
  int checkExistingRootId();
  int checkSideTable(const side_table& table);
  Report report() { return call_.report(); }
  bool hasRootId() const { return *request_.rootID != 0; }
  bool hasDtd() const { return !model_->isSchema && *model_->dtdid; }
  const char* rootid() const { return hasRootId() ? request_.rootID : kRootIdColumn; }
  int failRootId() { return fail(call_, Msg::QRKA014E, request_.rootID, request_.tableName); }

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
  if (int code = checkNames()) return code;
  if (int code = fillBuffer(call_, dad_, request_.dad, request_.dadLength)) return code;
  if (int code = checkTable()) return code;
  if (int code = takeRootId()) return code;
  if (int code = takeModel()) return code;
  if (int code = checkModel()) return code;
  if (int code = checkDtd()) return code;
  if (int code = drawSuffix()) return code;
  if (int code = createObjects()) return code;
  if (int code = recordUsage()) return code;
  if (model_->isSchema && model_->validation == 1) {
    warnOfUnusableSchema(ctx_, schemaLocation(*model_));
  }
  return orvxml::report(report(), Msg::QRKA022I, request_.columnName);
}

int EnableColumn::checkNames() {
  if (std::strlen(request_.columnName) > kMaxColumnName) return fail(call_, Msg::QRKQ032E);
  if (int code = requireUsageTable(report())) return code;
  if (int code = splitTableName(report(), request_.tableName, names_)) return code;
  if (int code = parseColumnName(report(), request_.tableName, request_.columnName, names_)) {
    return code;
  }
  if (!hasRootId()) return 0;
  char rootid[kColumnSize];
  if (qrkParseCol(ctx_, request_.rootID, rootid, sizeof rootid) != 0) return failRootId();
  rootidColumn_ = rootid;
  return 0;
}

int EnableColumn::checkTable() {
  const char* const schema = names_.schema.c_str();
  const char* const table = names_.table.c_str();
  int code = 0;
  if (check_table(ctx_, schema, table, &code, call_.msg)) return code;
  if (check_column(ctx_, schema, table, names_.column.c_str(), &code, call_.msg)) return code;
  return 0;
}

int EnableColumn::takeRootId() {
  return hasRootId() ? takeGivenRootId() : takeGeneratedRootId();
}

int EnableColumn::takeGivenRootId() {
  char query[kCatalogQuerySize];
  int32_t keyColumns = 0;
  qrkBuildSelectStmt(ctx_, query, kKeyColumns, kFromTables, kThisTable);
  const sqlca area =
      fetchRow(query, {textInput(names_.schema.c_str()), textInput(names_.table.c_str())},
               {integerVariable(&keyColumns)});
  if (area.sqlcode != 0) return failRootId();
  if (keyColumns < 1) QRK_TRACE(ctx_, "Error: table has no primary key");
  if (keyColumns > 1) QRK_TRACE(ctx_, "Error: primary key is composite");
  if (keyColumns != 1) return failRootId();
  CatalogType type;
  if (int code = fetchKeyType(type)) return code;
  rootidDefinition_ = definitionOf(type);
  return 0;
}

int EnableColumn::fetchKeyType(CatalogType& type) {
  char query[kCatalogQuerySize];
  qrkBuildSelectStmt(ctx_, query, kTypeAndKey, kFromColumns, kThisColumn);
  const sqlca area = fetchRow(
      query,
      {textInput(names_.schema.c_str()), textInput(names_.table.c_str()),
       textInput(rootidColumn_.c_str())},
      {stringVariable(type.name, sizeof type.name), integerVariable(&type.length),
       integerVariable(&type.scale), integerVariable(&type.keySequence, &type.keyIndicator)});
  if (area.sqlcode == 0 && type.keyIndicator >= 0) return 0;
  QRK_TRACE(ctx_, "Rootid %s is not a primary key, keyseq_ind=%d", request_.rootID,
            type.keyIndicator);
  return failRootId();
}

int EnableColumn::takeGeneratedRootId() {
  bool exists = false;
  int code = 0;
  if (hasColumn({ctx_, call_.msg, &code}, names_.schema.c_str(), names_.table.c_str(),
                kRootIdColumn, exists)) {
    return code;
  }
  if (exists) return checkExistingRootId();
  QRK_TRACE(ctx_, "Alter table : %s to add column QRKROOT_ID", request_.tableName);
  const sqlca area = define(std::string("ALTER TABLE ") + request_.tableName +
                            " ADD QRKROOT_ID CHAR(13) FOR BIT DATA");
  return area.sqlcode == 0 ? 0 : failDb(report(), area, Msg::QRKA013E, request_.tableName);
}

int EnableColumn::checkExistingRootId() {
  char query[kCatalogQuerySize];
  qrkBuildSelectStmt(ctx_, query, kTypeAndLength, kFromColumns, kThisColumn);
  std::string text = query;
  text.pop_back();
  text += " 'QRKROOT_ID'";
  CatalogType type;
  const sqlca area =
      fetchRow(text, {textInput(names_.schema.c_str()), textInput(names_.table.c_str())},
               {stringVariable(type.name, sizeof type.name), integerVariable(&type.length)});
  const bool fits =
      area.sqlcode == 0 && typeBegins(type.name, "CHAR") && type.length == kRootIdLength;
  return fits ? 0 : fail(call_, Msg::QRKA015E, request_.tableName);
}

int EnableColumn::takeModel() {
  const bool samePages = ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage;
  int32_t noXcolumn = 0;
  int failure = 0;
  model_.reset(dad_popu(ctx_, request_.tableName, names_.column.c_str(), dad_.get(),
                        samePages ? 1 : 0, call_.msg, call_.sqlState, &noXcolumn, &failure));
  const int code = parseCode(ctx_, model_ ? 0 : failure, call_.sqlState);
  QRK_TRACE(ctx_, "called dad_popu.  pointer of DAD:%x",
            static_cast<unsigned>(reinterpret_cast<uintptr_t>(model_.get())));
  if (noXcolumn) {
    QRK_TRACE(ctx_, "access_mode %d not supported.", noXcolumn);
    return fail(call_, Msg::QRKA009E);
  }
  return model_ ? 0 : code;
}

// What no side table or trigger could be made of, and what would fail at the first document.
int EnableColumn::checkModel() {
  for (const side_table* table = model_->sideTables; table; table = table->next) {
    if (int code = checkSideTable(*table)) return code;
  }
  return 0;
}

int EnableColumn::checkSideTable(const side_table& table) {
  const auto failAt = [&](size_t element, Msg message, const auto&... arguments) {
    tellMappingPlace(element);
    return fail(call_, message, arguments...);
  };
  if (hidesRow(ctx_, table.name)) return failAt(table.element, Msg::QRKA057E, table.name);
  if (!table.columns) return failAt(table.element, Msg::QRKA058E, "(NULL)");
  for (const side_column* column = table.columns; column; column = column->next) {
    const std::string_view occurrence = column->multi_occurrence;
    if (occurrence != "YES" && occurrence != "NO") {
      return failAt(column->element, Msg::QRKA061E, column->multi_occurrence, column->name);
    }
    if (!isPath(ctx_, column->path)) {
      return failAt(column->element, Msg::QRKA060E, column->path, column->name);
    }
  }
  return 0;
}

int EnableColumn::checkDtd() {
  if (!hasDtd()) return 0;
  QRK_TRACE(ctx_, "Check dtdid: %s against dtd_ref.", model_->dtdid);
  int32_t count = 0;
  const sqlca area = fetchRow("SELECT count(*) FROM orvxml.dtd_ref WHERE dtdid = ?",
                              {textInput(model_->dtdid)}, {integerVariable(&count)});
  if (area.sqlcode == 0 && count > 0) return 0;
  return failDb(report(), area, Msg::QRKA010E, model_->dtdid);
}

// A suffix that no enabled column has yet.
int EnableColumn::drawSuffix() {
  constexpr char kQuery[] = "SELECT COUNT(*) FROM ORVXML.XML_USAGE WHERE TRIGGER_SUFFIX = ?";
  int32_t count = 1;
  for (int i = 0; i < kNameAttempts && count > 0; ++i) {
    qrk_GetRandName(ctx_, suffix_, kSuffixLength);
    QRK_TRACE(ctx_, "sql statement:%s", kQuery);
    QRK_TRACE(ctx_, "trigger suffix = %s", suffix_);
    sqlca area = fetchRow(kQuery, {textInput(suffix_)}, {integerVariable(&count)});
    if (area.sqlcode == 0) continue;
    QRK_TRACE(ctx_, "Error in getting trigger suffix count, sqlcode=%d.", area.sqlcode);
    qrkDbSprint(ctx_, call_.msg, &area, static_cast<int>(Msg::QRKA062E), names_.column.c_str(),
                names_.table.c_str());
    return codeOf(Msg::QRKA062E);
  }
  return 0;
}

int EnableColumn::createObjects() {
  int code = 0;
  QRK_TRACE(ctx_, "calling createSidetables(), rootid:%s, rootid_def:%s", request_.rootID,
            rootidDefinition_.c_str());
  if (createSidetables(ctx_, model_.get(), suffix_, request_.rootID, rootidDefinition_.c_str(),
                       request_.tableSpace, &code, call_.msg)) {
    return code;
  }
  if (int failure = createTriggers()) return failure;
  if (*request_.defaultView &&
      createDefaultView(ctx_, model_.get(), rootid(), names_.schema.c_str(), names_.table.c_str(),
                        request_.defaultView, &code, call_.msg)) {
    return code;
  }
  return 0;
}

int EnableColumn::createTriggers() {
  const dad* const model = model_.get();
  const char* const schema = names_.schema.c_str();
  char* const msg = call_.msg;
  int code = 0;
  if (!hasRootId() && rootidTrigger_BIT(ctx_, model, schema, suffix_, &code, msg)) return code;
  if (insertTrigger_AIT(ctx_, model, schema, suffix_, rootid(), &code, msg)) return code;
  if (deleteTrigger_ADT(ctx_, model, schema, suffix_, rootid(), &code, msg)) return code;
  if (updateTrigger_AUT(ctx_, model, schema, suffix_, rootid(), &code, msg)) return code;
  if (model->validation != 1) return 0;
  if (validationTrigger_VBIT(ctx_, model, schema, suffix_, &code, msg)) return code;
  if (validationTrigger_VBUT(ctx_, model, schema, suffix_, &code, msg)) return code;
  return 0;
}

int EnableColumn::recordUsage() {
  QRK_TRACE(ctx_, "Insert a row into xml_usage.");
  const short dtdidInd = hasDtd() ? 0 : -1;
  const short viewInd = *request_.defaultView ? 0 : -1;
  int code = 0;
  if (qrkInsertXMLUsageBuf(ctx_, names_.schema.c_str(), names_.table.c_str(), names_.column.c_str(),
                           hasDtd() ? model_->dtdid : "", dtdidInd, dad_.get(), model_->noXcolumn,
                           model_->validation, request_.defaultView, viewInd, suffix_, &code,
                           call_.msg)) {
    return code;
  }
  if (!hasDtd()) return 0;
  QRK_TRACE(ctx_, "Increment usage_count of dtd:%s ", model_->dtdid);
  const sqlca area = change("UPDATE orvxml.dtd_ref SET usage_count=usage_count+1 WHERE dtdid = ?",
                            {textInput(model_->dtdid)});
  return area.sqlcode == 0 ? 0 : failDb(report(), area, Msg::QRKA012E);
}

}  // namespace

int enableColumn(Call& call, const ColumnRequest& request) {
  return EnableColumn(call, request).run();
}

}  // namespace orvxml
