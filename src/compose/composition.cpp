// The composition driver: one call from the DAD to the delivered documents.
#include "src/compose/composition.h"

#include <cstring>
#include <string>

#include "orv/esql.h"
#include "orvxml/code_pages.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/compose/level_map.h"
#include "src/compose/result_storage.h"
#include "src/compose/sql_mapping.h"
#include "src/compose/statement_text.h"
#include "src/dad/dad_settings.h"
#include "src/outcome/all_steps.h"
#include "src/outcome/edge.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/cli_handles.h"
#include "src/text/sql_scanner.h"

namespace orvxml {
namespace {

constexpr char kValidColumn[] = "QRK_VALID";
constexpr int kColumnExists = -612;  // SQLCODE
constexpr int kTracedBytes = 299;
constexpr DadSettingLimits kSettingLimits{.schemaLocation = 2001, .validation = 59};

// ---- One composition.
class Composition {
 public:
  Composition(QrkStruct* ctx, const CompositionRequest& request)
      : ctx_(ctx), request_(request), table_(request.table) {}

  Composed run(SQLHDBC hdbc);

 private:
  void parseDad();
  void readSettings();
  void checkResultTable();
  std::string resultColumn();
  void chooseValidColumn();
  void addValidColumn();
  Composed composeStatement(const DOM_Element& sqlStmt, Delivery& to);
  void checkObjectLevel(const level_map& map) const;
  Composed composeObjects(SqlComposition& objects, Delivery& to);
  bool composeObject(SqlComposition& objects, Delivery& to, int32_t documents);

  bool sameCodePages() const { return ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage; }

  QrkStruct* const ctx_;
  const CompositionRequest& request_;
  SQLHDBC hdbc_ = SQL_NULL_HANDLE;
  DOM_Document dad_;
  DadSettings settings_;
  std::string dtdid_;
  ValidationSource source_{kValidateByDtd, ""};
  std::optional<ResultTable> table_;
};

Composed Composition::run(SQLHDBC hdbc) {
  hdbc_ = hdbc;
  parseDad();
  readSettings();
  if (table_) {
    checkResultTable();
    chooseValidColumn();
  }
  Delivery to(ctx_, request_, table_ ? &*table_ : nullptr, settings_.validate ? &source_ : nullptr);
  const DOM_Element root = dad_.getDocumentElement();
  const DOM_Element sqlStmt = root.firstDescendant(u"SQL_stmt");
  Composed composed = sqlStmt.isNull() ? qrkGenXMLFromRDB(ctx_, hdbc, root, request_, to)
                                       : composeStatement(sqlStmt, to);
  composed.clobLength = to.clobLength();
  composed.valid = to.valid();
  return composed;
}

void Composition::parseDad() {
  const bool sameCodePages = ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage;
  dad_ = about(FailureText::kMapping, [&] {
    return qrkDOM(ctx_, request_.dad, sameCodePages ? 1 : 0, request_.dadLoctype);
  });
}

void Composition::readSettings() {
  settings_ = readDadSettings(ctx_, dad_, kSettingLimits);
  if (settings_.hasSchema) {
    source_ = {kValidateBySchema, settings_.schemaLocation.c_str()};
    return;
  }
  if (!toDatabase(ctx_, settings_.dtdid, dtdid_)) throw Failure(Msg::QRKA010E, "");
  source_.text = dtdid_.c_str();
}

// ---- The result table.
void Composition::checkResultTable() {
  std::string upper(table_->schema.size() + 1, '\0');
  if (qrk_toupper(ctx_, table_->schema.c_str(), upper.data(), static_cast<int>(upper.size())) !=
      0) {
    throw Failure(Msg::QRKA016E, table_->name);
  }
  table_->schema = upper.c_str();
  if (!table_->isTemporary() &&
      !qrkTableExists(ctx_, table_->schema.c_str(), table_->name.c_str())) {
    QRK_TRACE(ctx_, "Table '%s' does not exist.", table_->name.c_str());
    sqlca noRow{};
    noRow.sqlcode = 100;
    std::memcpy(noRow.sqlstate, "02000", sizeof noRow.sqlstate);
    throw Failure::ofServer(noRow, Msg::QRKA016E, table_->name);
  }
  if (table_->column.empty()) table_->column = resultColumn();
}

// The catalog lists no columns for a declared temporary table or an alias, and without a schema it
// is asked for a table of the user, who may work in another schema.
std::string Composition::resultColumn() {
  if (!table_->isTemporary() && !table_->schema.empty()) {
    try {
      return qrkGetColumnName(ctx_, table_->schema.c_str(), table_->name.c_str());
    } catch (const Failure& failure) {
      if (!failure.is(Msg::QRKA016E)) throw;
    }
  }
  return firstResultColumn(ctx_, hdbc_, *table_);
}

void Composition::chooseValidColumn() {
  if (!settings_.validate || !table_->validColumn.empty()) return;
  if (!table_->addsValidColumn) throw Failure(Msg::QRKQ054E, "NULL");
  addValidColumn();
}

void Composition::addValidColumn() {
  table_->validColumn = kValidColumn;
  const std::string statement =
      "ALTER TABLE " + table_->written + " ADD " + kValidColumn + " INTEGER";
  sqlca area{};
  orv::esql::executeImmediate(kQrkcomp, statement, area);
  if (area.sqlcode == 0 || area.sqlcode == kColumnExists) return;
  QRK_TRACE(ctx_, "Table %s.%s cannot be altered.", table_->schema.c_str(), table_->name.c_str());
  throw Failure::ofServer(area, Msg::QRKA013E, table_->written);
}

// ---- SQL mapping.
Composed Composition::composeStatement(const DOM_Element& sqlStmt, Delivery& to) {
  const StatementText statement =
      readStatement(ctx_, sqlStmt, request_.overrideType, request_.override);
  const LevelMap map =
      qrkLmAcquire(ctx_, hdbc_, statement.baseQuery.c_str(), statement.orderList.c_str());
  checkObjectLevel(*map);
  const bool isOverridden = request_.overrideType != NO_OVERRIDE;
  const SqlCall call{ctx_, hdbc_, *map, isOverridden ? nullptr : sqlStmt.node()};
  SqlComposition objects(call, dad_.getDocumentElement(), statement.baseQuery.c_str());
  Composed composed;
  AllSteps()
      .run([&] {
        objects.open();
        composed = composeObjects(objects, to);
      })
      .run([&] { objects.close(); })
      .end();
  return composed;
}

void Composition::checkObjectLevel(const level_map& map) const {
  const char* const columns = qrkLmGetColumns(map, 0);
  if (columns && !isEndOfColumns(columns)) return;
  QRK_TRACE(ctx_, "Levelmap does not contain any column at Level 0.");
  throw Failure::internal();
}

// Up to the caller's maximum, which is a warning even when no more objects are left.
Composed Composition::composeObjects(SqlComposition& objects, Delivery& to) {
  const int32_t maximum = request_.maxRows;
  Composed composed;
  while (maximum >= 0 && (maximum == 0 || composed.documents < maximum)) {
    if (!objects.nextObject()) return composed;
    try {
      if (composeObject(objects, to, composed.documents)) ++composed.documents;
    } catch (const Failure& failure) {
      if (!to.leavesOut(failure)) throw;
      objects.abandonDocument();
    }
  }
  composed.outcome = Msg::QRKQ003W;
  QRK_TRACE(ctx_, "m:%d, i:%d", maximum, composed.documents);
  return composed;
}

// Where the CLOB takes the first document the others are composed and counted; of those that a
// receiver does not want the objects are counted. `documents` are there before it. False: the
// object has no document.
bool Composition::composeObject(SqlComposition& objects, Delivery& to, int32_t documents) {
  const bool isReturned = to.wantsDocument(documents);
  if (!isReturned && to.countsOnly()) return !objects.isLeftOut();
  OutBuffer document(ctx_);
  acquireDocument(ctx_, document);
  if (!objects.writeDocument(document.get(), isReturned ? to.sizeLimit() : kNoSizeLimit)) {
    return false;
  }
  if (isReturned) {
    to.deliver(document.get(), objects.header(),
               [&] { return "in the object " + objects.objectName(); });
  }
  return true;
}

// ---- The call.
void traceOutcome(QrkStruct* ctx, int code, const char* message) {
  QRK_TRACE(ctx, "errCode:%d, errMsg:%s", code, message);
  QRK_TRACE(ctx, "Before CLI clean up.");
}

Composed compose(QrkStruct* ctx, Composition& composition, ServerConnection& connection) {
  char message[kMessageSize] = "";
  try {
    connection.open();
    const Composed composed = composition.run(connection.handle());
    if (ctx->traceOn) report({ctx, message}, composed.outcome);
    traceOutcome(ctx, codeOf(composed.outcome), message);
    return composed;
  } catch (const Failure& failure) {
    if (ctx->traceOn) writeFailure({ctx, message}, failure);
    traceOutcome(ctx, failure.code(), message);
    throw;
  }
}

void traceEntry(QrkStruct* ctx, const CompositionRequest& request) {
  QRK_TRACE(ctx, "Entered, dad='%.*s' overrideType=%d", kTracedBytes, request.dad,
            request.overrideType);
  if (!request.table) return;
  QRK_TRACE(ctx, "resultTable='%s' resultSchema='%s' resultTabname='%s'",
            request.table->written.c_str(), request.table->schema.c_str(),
            request.table->name.c_str());
}

}  // namespace

Composed qrkComposeXML(QrkStruct* ctx, const CompositionRequest& request) {
  traceEntry(ctx, request);
  const auto emptyClob = [&] {
    if (request.clob && request.clobCapacity > 0) *request.clob = '\0';
  };
  emptyClob();
  Composition composition(ctx, request);
  Composed composed;
  ServerConnection connection(ctx);
  try {
    AllSteps()
        .run([&] { composed = compose(ctx, composition, connection); })
        .run([&] { connection.close(); })
        .end();
  } catch (...) {
    emptyClob();
    QRK_TRACE(ctx, "Exits, rc=%d", -1);
    throw;
  }
  QRK_TRACE(ctx, "Exits, rc=%d", 0);
  return composed;
}

}  // namespace orvxml
