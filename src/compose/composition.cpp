// The composition driver: one call from the DAD to the delivered documents.
#include <cstring>
#include <string>

#include "orv/esql.h"
#include "orvxml/code_pages.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/compose/composition.h"
#include "src/compose/level_map.h"
#include "src/compose/modules.h"
#include "src/compose/result_storage.h"
#include "src/compose/sql_mapping.h"
#include "src/compose/statement_text.h"
#include "src/dad/dad_settings.h"
#include "src/dad/mapping_notices.h"
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

// What the caller asks for.
struct Request {
  const char* dad;
  int32_t dadLoctype;
  const char* resultTable;
  char* resultSchema;
  char* resultTabname;
  const char* resultColumn;
  const char* validColumn;
  int32_t overrideType;
  const char* override;
  int32_t maxRows;
  char* clobOut;
  int32_t clobCapacity;
  bool addValidColumn;
  DocumentReceiver* receiver = nullptr;  // in place of all results
  bool firstOnly = false;
};

// The level map of a call, released with its owner.
class LevelMapOwner {
 public:
  explicit LevelMapOwner(QrkStruct* ctx) : ctx_(ctx) {}
  ~LevelMapOwner() { qrkLmRelease(ctx_, map_); }
  LevelMapOwner(const LevelMapOwner&) = delete;
  LevelMapOwner& operator=(const LevelMapOwner&) = delete;
  level_map** address() { return &map_; }
  const level_map* get() const { return map_; }

 private:
  QrkStruct* ctx_;
  level_map* map_ = nullptr;
};

// ---- One composition. Steps return 0, or anything else with code and message stored.
class Composition {
 public:
  Composition(QrkStruct* ctx, const Request& request, int32_t* errCode, char* msg)
      : ctx_(ctx), request_(request), report_{ctx, msg, errCode} {}

  int run(SQLHDBC hdbc);
  int32_t documents() const { return documents_; }
  int32_t clobLength() const { return clobLength_; }
  int32_t valid() const { return valid_; }

 private:
  int parseDad();
  int readSettings();
  void setDelivery(SQLHDBC hdbc);
  int checkResultTable();
  int chooseResultColumn();
  int chooseValidColumn();
  int addValidColumn();
  int composeStatement(const DOM_Element& sqlStmt);
  int checkObjectLevel(const level_map* map);
  int composeObjects(SqlComposition& objects);
  int composeObject(SqlComposition& objects);

  template <class... Args>
  int failed(Msg message, const Args&... args) {
    return orvxml::failed(report_, message, args...);
  }
  // A step of another module that brings its code along; its message stands.
  int failedWith(int code) {
    *report_.errCode = code;
    return -1;
  }
  int sameCodePages() const {
    return ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage ? 1 : 0;
  }

  QrkStruct* const ctx_;
  const Request& request_;
  const Report report_;
  DOM_Document dad_;
  DadSettings settings_;
  std::string dtdid_;
  ValidationSource source_{kValidateByDtd, ""};
  char resultColumn_[kColumnSize] = "";
  ResultWriter writer_;
  Delivery delivery_;
  int32_t documents_ = 0;
  int32_t clobLength_ = 0;
  int32_t valid_ = -1;
};

int Composition::run(SQLHDBC hdbc) {
  if (parseDad() || readSettings()) return -1;
  setDelivery(hdbc);
  if (delivery_.toTable() && (checkResultTable() || chooseValidColumn())) return -1;
  const DOM_Element root = dad_.getDocumentElement();
  const DOM_Element sqlStmt = root.firstDescendant(u"SQL_stmt");
  if (!sqlStmt.isNull()) return composeStatement(sqlStmt);
  return qrkGenXMLFromRDB(ctx_, hdbc, root, delivery_, request_.overrideType, request_.override,
                          request_.maxRows, &documents_, report_.errCode, report_.msg);
}

int Composition::parseDad() {
  char sqlState[kSqlStateSize] = "00000";
  const int rc = qrkDOM(ctx_, const_cast<char*>(request_.dad), sameCodePages(), request_.dadLoctype,
                        dad_, sqlState, report_.msg);
  const int code = parseCode(ctx_, rc, sqlState);
  return code < 0 ? failedWith(code) : 0;
}

int Composition::readSettings() {
  if (int code = atEdge({ctx_, report_.msg},
                        [&] { settings_ = readDadSettings(ctx_, dad_, kSettingLimits); })) {
    return failedWith(code);
  }
  if (settings_.hasSchema) {
    source_ = {kValidateBySchema, settings_.schemaLocation.c_str()};
    return 0;
  }
  if (!toDatabase(ctx_, settings_.dtdid, dtdid_)) return failed(Msg::QRKA010E, "");
  source_.text = dtdid_.c_str();
  return 0;
}

void Composition::setDelivery(SQLHDBC hdbc) {
  delivery_.hdbc = hdbc;
  delivery_.validate = settings_.validate;
  delivery_.validSource = &source_;
  delivery_.receiver = request_.receiver;
  delivery_.firstOnly = request_.firstOnly;
  if (request_.resultTable) {
    delivery_.resultTable = request_.resultTable;
    delivery_.resultSchema = request_.resultSchema;
    delivery_.resultTabname = request_.resultTabname;
    delivery_.resultColumn = request_.resultColumn;
    delivery_.validColumn = request_.validColumn;
    delivery_.writer = &writer_;
    return;
  }
  delivery_.clobOut = request_.clobOut;
  delivery_.clobCapacity = request_.clobCapacity;
  delivery_.clobLen = &clobLength_;
  delivery_.valid = &valid_;
}

// ---- The result table.
int Composition::checkResultTable() {
  const size_t size = std::strlen(request_.resultSchema) + 1;
  std::string schema(size, '\0');
  if (qrk_toupper(ctx_, request_.resultSchema, schema.data(), static_cast<int>(size)) != 0) {
    return failed(Msg::QRKA016E, request_.resultTabname);
  }
  std::memcpy(request_.resultSchema, schema.c_str(), std::strlen(schema.c_str()) + 1);
  if (delivery_.toSessionTable()) return chooseResultColumn();
  int exists = 0;
  if (int code = qrkTableExists(ctx_, request_.resultSchema, request_.resultTabname, &exists,
                                report_.msg)) {
    return failedWith(code);
  }
  if (exists) return chooseResultColumn();
  QRK_TRACE(ctx_, "Table '%s' does not exist.", request_.resultTabname);
  sqlca noRow{};
  noRow.sqlcode = 100;
  std::memcpy(noRow.sqlstate, "02000", sizeof noRow.sqlstate);
  failDb(report_, noRow, Msg::QRKA016E, request_.resultTabname);
  return -1;
}

// The catalog lists no columns for a declared temporary table or an alias, and without a schema it
// is asked for a table of the user, who may work in another schema.
int Composition::chooseResultColumn() {
  if (request_.resultColumn) return 0;
  delivery_.resultColumn = resultColumn_;
  if (!delivery_.toSessionTable() && !isEmpty(request_.resultSchema)) {
    const int code = qrkGetColumnName(ctx_, request_.resultSchema, request_.resultTabname,
                                      resultColumn_, report_.errCode, report_.msg);
    if (code != codeOf(Msg::QRKA016E)) return code;
    *report_.errCode = 0;
    *report_.msg = '\0';
  }
  return firstResultColumn(ctx_, delivery_, resultColumn_, report_.errCode, report_.msg);
}

int Composition::chooseValidColumn() {
  if (!settings_.validate || !isEmpty(request_.validColumn)) return 0;
  return request_.addValidColumn ? addValidColumn() : failed(Msg::QRKQ054E, "NULL");
}

int Composition::addValidColumn() {
  delivery_.validColumn = kValidColumn;
  const std::string statement =
      std::string("ALTER TABLE ") + request_.resultTable + " ADD " + kValidColumn + " INTEGER";
  sqlca area{};
  orv::esql::executeImmediate(kQrkcomp, statement, area);
  if (area.sqlcode == 0 || area.sqlcode == kColumnExists) return 0;
  QRK_TRACE(ctx_, "Table %s.%s cannot be altered.", request_.resultSchema, request_.resultTabname);
  failDb(report_, area, Msg::QRKA013E, request_.resultTable);
  return -1;
}

// ---- SQL mapping.
int Composition::composeStatement(const DOM_Element& sqlStmt) {
  StatementText statement;
  if (readStatement(ctx_, sqlStmt, request_.overrideType, request_.override, statement,
                    report_.errCode, report_.msg)) {
    return -1;
  }
  LevelMapOwner map(ctx_);
  if (int rc = qrkLmAcquire(ctx_, map.address(), delivery_.hdbc, statement.baseQuery.c_str(),
                            statement.orderList.c_str(), report_.errCode, report_.msg)) {
    return rc;
  }
  if (int rc = checkObjectLevel(map.get())) return rc;
  const bool isOverridden = request_.overrideType != NO_OVERRIDE;
  const SqlCall call{report_, delivery_.hdbc, map.get(), isOverridden ? nullptr : sqlStmt.node()};
  SqlComposition objects(call, dad_.getDocumentElement(), statement.baseQuery.c_str());
  int rc = objects.open();
  if (rc == 0) rc = composeObjects(objects);
  return objects.close() == 0 ? rc : failedWith(codeOf(Msg::QRKG006E));
}

int Composition::checkObjectLevel(const level_map* map) {
  const char* columns = nullptr;
  if (int code = qrkLmGetColumns(ctx_, map, 0, &columns)) {
    failInternal(report_, kComposeModule, __LINE__);
    return code;
  }
  if (columns && !isEndOfColumns(columns)) return 0;
  QRK_TRACE(ctx_, "Levelmap does not contain any column at Level 0.");
  failInternal(report_, kComposeModule, __LINE__);
  return -1;
}

// Up to the caller's maximum, which is a warning even when no more objects are left.
int Composition::composeObjects(SqlComposition& objects) {
  const int32_t maximum = request_.maxRows;
  while (maximum >= 0) {
    const int rc = objects.nextObject();
    if (rc == SQL_NO_DATA) return 0;
    if (rc != 0) return rc;
    if (int failure = composeObject(objects)) {
      if (leaveOutDocument(delivery_, report_.errCode, report_.msg)) return failure;
      if (objects.abandonDocument()) return -1;
      continue;
    }
    if (maximum != 0 && documents_ >= maximum) break;
  }
  report(report_, Msg::QRKQ003W);
  QRK_TRACE(ctx_, "m:%d, i:%d", maximum, documents_);
  return 0;
}

// Where the CLOB takes the first document the others are composed and counted; of those that a
// receiver does not want the objects are counted.
int Composition::composeObject(SqlComposition& objects) {
  const bool isReturned = delivery_.wantsDocument(documents_);
  if (!isReturned && delivery_.receiver) {
    if (!objects.isLeftOut()) ++documents_;
    return 0;
  }
  OutBuffer document(ctx_);
  if (qrkBufAcquire(ctx_, document.get(), kDocumentInitialSize, kDocumentMemoryLimit,
                    QRK_LOC_MEMORY, report_.errCode, report_.msg, 0)) {
    return -1;
  }
  const int rc =
      objects.writeDocument(document.get(), isReturned ? delivery_.sizeLimit() : kNoSizeLimit);
  if (rc == kKeyIsNull) return 0;
  if (rc != 0) return rc;
  if (isReturned && deliverDocument(ctx_, delivery_, document.get(), objects.header(),
                                    report_.errCode, report_.msg)) {
    if (isRefusedRow(*report_.errCode)) {
      tellPlace(nullptr, "in the object " + objects.objectName());
    }
    return -1;
  }
  ++documents_;
  return 0;
}

// ---- The outcome.
// Nothing that failed looks like a success, or leaves the caller without a word.
void settleFailure(const Report& report) {
  const int code = *report.errCode;
  if (*report.msg == '\0') failInternal(report, kComposeModule, __LINE__);
  *report.errCode = code < 0 ? code : codeOf(Msg::QRKG006E);
}

int compose(QrkStruct* ctx, Composition& composition, const Report& report) {
  CliConnection connection(ctx, kComposeModule, report.msg);
  int rc = connection.open();
  if (rc != 0) {
    *report.errCode = rc;
  } else {
    rc = composition.run(connection.handle());
  }
  if (rc != 0) {
    settleFailure(report);
  } else if (*report.errCode == 0) {
    orvxml::report(report, Msg::QRKQ020I);
  }
  QRK_TRACE(ctx, "errCode:%d, errMsg:%s", *report.errCode, report.msg);
  QRK_TRACE(ctx, "Before CLI clean up.");
  if (connection.close(0) != 0) *report.errCode = rc = codeOf(Msg::QRKG006E);
  return rc;
}

}  // namespace

int qrkComposeTo(QrkStruct* ctx, const char* dad, int32_t dadLoctype, const ComposeRequest& wanted,
                 DocumentReceiver& receiver, int32_t* numDocs, int32_t* errCode, char* msg) {
  QRK_TRACE(ctx, "Entered, dad='%.*s' overrideType=%d", kTracedBytes, dad, wanted.overrideType);
  Request request{};
  request.dad = dad;
  request.dadLoctype = dadLoctype;
  request.overrideType = wanted.overrideType;
  request.override = wanted.override;
  request.maxRows = wanted.maxRows;
  request.receiver = &receiver;
  request.firstOnly = wanted.firstOnly;
  *errCode = 0;
  *msg = '\0';
  Composition composition(ctx, request, errCode, msg);
  const int rc = compose(ctx, composition, Report{ctx, msg, errCode});
  if (rc == 0) *numDocs = composition.documents();
  QRK_TRACE(ctx, "Exits, rc=%d", rc);
  return rc;
}

int qrkComposeXML(QrkStruct* ctx, const char* dad, int32_t dadLoctype, const char* resultTable,
                  char* resultSchema, char* resultTabname, const char* resultColumn,
                  const char* validColumn, int32_t overrideType, const char* override,
                  int32_t maxRows, int32_t* numDocs, char* clobOut, int32_t* clobLen,
                  int32_t* validOut, int32_t* errCode, char* msg, int32_t addValidColumn) {
  QRK_TRACE(ctx, "Entered, dad='%.*s' overrideType=%d", kTracedBytes, dad, overrideType);
  if (resultTable) {
    QRK_TRACE(ctx, "resultTable='%s' resultSchema='%s' resultTabname='%s'", resultTable,
              resultSchema, resultTabname);
  }
  *errCode = 0;
  *msg = '\0';
  const int32_t capacity = clobOut && clobLen ? *clobLen : 0;
  if (capacity > 0) *clobOut = '\0';
  if (clobLen) *clobLen = 0;
  if (validOut) *validOut = -1;
  const Request request{dad,          dadLoctype,  resultTable,        resultSchema, resultTabname,
                        resultColumn, validColumn, overrideType,       override,     maxRows,
                        clobOut,      capacity,    addValidColumn != 0};
  Composition composition(ctx, request, errCode, msg);
  const int rc = compose(ctx, composition, Report{ctx, msg, errCode});
  if (rc == 0) {
    *numDocs = composition.documents();
    if (clobLen) *clobLen = composition.clobLength();
    if (validOut) *validOut = composition.valid();
  } else if (capacity > 0) {
    *clobOut = '\0';
  }
  QRK_TRACE(ctx, "Exits, rc=%d", rc);
  return rc;
}

}  // namespace orvxml
