#include "src/decompose/decomposition.h"

#include <string>
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/notices.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "orvxml/validation.h"
#include "src/dad/dad_settings.h"
#include "src/dad/element_order.h"
#include "src/dad/mapping_model.h"
#include "src/dad/mapping_traps.h"
#include "src/decompose/row_extraction.h"
#include "src/decompose/target_table.h"
#include "src/outcome/edge.h"
#include "src/parser/parser.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/cli_handles.h"
#include "src/server_access/server_statements.h"
#include "src/server_access/stored_dad.h"

namespace orvxml {

const orv::esql::Module kQrkrdbi{"QRKRDBI", "ORVRDBI1", {}};

namespace {

constexpr char kModule[] = "qrkrdbi";
constexpr int kCollectionNameSize = 129;  // bytes, terminator included
constexpr int kSettingsError = -1;        // whatever is wrong in front of the mapping
constexpr int kInvalidDocument = -90;

// From here on a failure is about this text, until something more precise is told.
void tellSubject(const char* subject) {
  NoticeListener* listener = noticeListener();
  if (!listener) return;
  Notice notice;
  notice.kind = Notice::kPlace;
  notice.rule = subject;
  listener->notice(notice);
}

// ---- One decomposition: the steps share the context, the model and the parsed documents.
class Decomposition {
 public:
  Decomposition(QrkStruct* ctx, char* msg) : ctx_(ctx), msg_(msg), dtd_(ctx) {}
  ~Decomposition() { freeModel(); }
  Decomposition(const Decomposition&) = delete;
  Decomposition& operator=(const Decomposition&) = delete;

  int run(SQLHDBC hdbc, QrkOutbuf* dad, int dadFlag, QrkOutbuf* doc, int notEnabled);
  void releaseDtd() { dtd_.release(); }
  void freeModel();

 private:
  int parseDad(QrkOutbuf* dad, int dadFlag);
  int validate(QrkOutbuf* doc);
  int fetchDtd(const std::string& dtdid);
  int buildMapping();
  int findTopElement();
  int parseDocument(QrkOutbuf* doc);
  int checkTables();
  void tellFaultyColumn(int table);
  int insertRows();
  int sameCodePages() const {
    return ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage ? 1 : 0;
  }
  Report report() { return {ctx_, msg_}; }

  QrkStruct* ctx_;
  char* msg_;
  OutBuffer dtd_;
  rel rel_{};
  bool isModelFree_ = false;
  DOM_Document dad_;
  DOM_Element top_;
  DOM_Document document_;
  DadSettings settings_;
  char sqlState_[kSqlStateSize] = "00000";
};

// Once: at the call's end, or wherever an exception leaves it.
void Decomposition::freeModel() {
  if (isModelFree_) return;
  isModelFree_ = true;
  qrkFreeRel(ctx_, &rel_);
  QRK_TRACE(ctx_, "qrkFreeRel, errCode2=%ld, rc2=%d", 0L, 0);
}

int Decomposition::run(SQLHDBC hdbc, QrkOutbuf* dad, int dadFlag, QrkOutbuf* doc, int notEnabled) {
  rel_.hdbc = hdbc;
  tellSubject("mapping");
  if (int code = parseDad(dad, dadFlag)) return code;
  if (atEdge(report(), [&] { settings_ = readDadSettings(ctx_, dad_, kNoSettingLimits); })) {
    return kSettingsError;
  }
  if (settings_.validate) {
    tellSubject("document");
    if (int code = validate(doc)) return code;
    tellSubject("mapping");
  }
  if (int code = buildMapping()) return code;
  if (noticeListener()) tellTraps(MappingSurvey(ctx_, rel_, top_, kForDecomposition));
  tellSubject("document");
  if (int code = parseDocument(doc)) return code;
  if (notEnabled == 1) {
    tellSubject("mapping");
    if (int code = checkTables()) return code;
    tellSubject("document");
  }
  return insertRows();
}

int Decomposition::parseDad(QrkOutbuf* dad, int dadFlag) {
  char* content = qrkBufGetContent(ctx_, dad);
  if (!content) return failInternal(report(), kModule, __LINE__);
  const int rc = qrkDOM(ctx_, content, dadFlag, dad->loctype, dad_, sqlState_, msg_);
  QRK_TRACE(ctx_, "call qrkDOM() returns %ld, sqlcode %s.", static_cast<long>(rc), sqlState_);
  const int code = parseCode(ctx_, rc, sqlState_);
  return code < 0 ? code : 0;
}

int Decomposition::fetchDtd(const std::string& dtdid) {
  bool isUnknown = false;
  const int code = qrkGetDtdFileFromDtdId(ctx_, dtd_.get(), dtdid.c_str(), msg_, &isUnknown);
  if (code >= 0) return 0;
  dtd_.release();
  if (isUnknown) return 0;
  // Its message has the server's words; there is no handle that had more to say.
  return code;
}

int Decomposition::validate(QrkOutbuf* doc) {
  char* content = qrkBufGetContent(ctx_, doc);
  if (!content) return failInternal(report(), kModule, __LINE__);
  int valid = 0;
  if (settings_.hasSchema) {
    valid = qrkValidateSchema(ctx_, content, doc->loctype, sameCodePages(),
                              settings_.schemaLocation.data(), sqlState_, msg_);
  } else {
    std::string dtdid;
    // An ID that the code page lacks cannot be registered, and counts like one that is not.
    if (!toDatabase(ctx_, settings_.dtdid, dtdid)) dtdid.clear();
    if (!dtdid.empty()) {
      if (int code = fetchDtd(dtdid)) return code;
    }
    char* dtd = dtd_->data ? qrkBufGetContent(ctx_, dtd_.get()) : nullptr;
    valid = qrkValidate(ctx_, content, doc->loctype, sameCodePages(), dtd, sameCodePages(),
                        dtdid.data(), sqlState_, msg_, dtd_->loctype);
  }
  if (valid != 0) return 0;
  QRK_TRACE(ctx_, "qrkValidate returned QRK_INVALID.  msgtext='%s'", msg_);
  return kInvalidDocument;
}

int Decomposition::findTopElement() {
  const DOM_Element rootNode = dad_.getDocumentElement().firstDescendant(u"root_node");
  if (rootNode.isNull()) return fail(report(), Msg::QRKQ000E, "root_node");
  top_ = rootNode.firstDescendant(u"element_node");
  if (top_.isNull()) return fail(report(), Msg::QRKQ000E, "element_node");
  return 0;
}

int Decomposition::buildMapping() {
  if (int code = findTopElement()) return code;
  int code = atEdge(report(), [&] { qrkSetRel(ctx_, &rel_, top_, kForDecomposition); });
  QRK_TRACE(ctx_, "call qrkSetRel() returns %ld.", static_cast<long>(code));
  if (code != 0) return code;
  code = atEdge(report(), [&] { qrkProcRel(ctx_, &rel_, top_, kForDecomposition); });
  QRK_TRACE(ctx_, "call qrkProcRel() returns %ld.", static_cast<long>(code));
  return code;
}

int Decomposition::parseDocument(QrkOutbuf* doc) {
  char* content = qrkBufGetContent(ctx_, doc);
  if (!content) return failInternal(report(), kModule, __LINE__);
  const int rc = qrkDOM(ctx_, content, sameCodePages(), doc->loctype, document_, sqlState_, msg_);
  QRK_TRACE(ctx_, "call qrkDOM() returns %ld.", static_cast<long>(rc));
  const int code = parseCode(ctx_, rc, sqlState_);
  return code < 0 ? code : 0;
}

int Decomposition::checkTables() {
  for (int i = 0; i < rel_.num_of_tables; ++i) {
    const int code = check_table(ctx_, rel_.num_cond, rel_.tab[i], msg_);
    QRK_TRACE(ctx_, "call check_table() returns %ld.", static_cast<long>(code));
    if (code < 0) {
      tellFaultyColumn(i);
      return code;
    }
  }
  return 0;
}

void Decomposition::tellFaultyColumn(int table) {
  NoticeListener* listener = noticeListener();
  if (!listener) return;
  const int column = faultyColumn(ctx_, rel_.tab[table]);
  const MappingSurvey survey(ctx_, rel_, top_, kForDecomposition);
  const MappedLeaf* leaf = column < 0 ? nullptr : survey.leafOf(&rel_.tab[table]->col2xml[column]);
  Notice notice;
  notice.kind = Notice::kPlace;
  notice.rule = "mapping";
  if (leaf) notice.mappingElement = elementNumber(leaf->node);
  listener->notice(notice);
}

int Decomposition::insertRows() {
  QRK_NodeList xmlElements(ctx_);
  int code = xmlElements.add(document_.getDocumentElement(), msg_);
  QRK_TRACE(ctx_, "call xml_elements.add() returns %ld.", static_cast<long>(code));
  if (code < 0) return code;
  code = decompose_element(ctx_, &rel_, document_, nullptr, &xmlElements, &top_, msg_);
  QRK_TRACE(ctx_, "call decompose_element() returns %ld.", static_cast<long>(code));
  return code;
}

// Fetches the DAD of the collection `name`. 0 or the message's code.
int fetchDad(const Report& report, StoredDad& dad, char* name) {
  sqlca area{};
  dad.open("select dad from orvxml.xml_usage where col_name = ?", name, kCollectionNameSize, area);
  if (area.sqlcode < 0) return failCollection(report, area, name);
  dad.fetch(area);
  if (area.sqlcode == kNoRow || area.sqlcode < 0) return failCollection(report, area, name);
  return dad.indicator() < 0 ? fail(report, Msg::QRKQ029E, name) : 0;
}

}  // namespace

int qrkDecomposeByName(QrkStruct* ctx, const char* collectionName, QrkOutbuf* doc, char* msg) {
  QRK_TRACE(ctx, "Entered, collection_name=%s ", collectionName);
  tellSubject("mapping");
  const Report report{ctx, msg};
  const std::string_view fullName(collectionName);
  char name[kCollectionNameSize] = "";
  // A longer name than the column holds belongs to no collection.
  if (fullName.size() >= sizeof name) return fail(report, Msg::QRKQ028E, fullName);
  fullName.copy(name, sizeof name - 1);

  OutBuffer dad(ctx);
  StoredDad stored(kQrkrdbi);
  if (int code = fetchDad(report, stored, name)) return code;
  const int rc = stored.read(ctx, dad.get(), msg);
  if (rc != 0) {
    QRK_TRACE(ctx, "qrkGetDadFileFromLocator() failed w/ rc=%d", rc);
    return failInternal(report, kModule, __LINE__);
  }
  const bool samePages = ctx->codePages->appCodePage == ctx->codePages->dbCodePage;
  return qrkDecomposeByDAD(ctx, dad.get(), samePages ? 1 : 0, doc, 0, msg);
}

int qrkDecomposeByDAD(QrkStruct* ctx, QrkOutbuf* dad, int dadFlag, QrkOutbuf* doc, int notEnabled,
                      char* msg) {
  QRK_TRACE(ctx, "Entered, notEnabled=%d", notEnabled);
  CliConnection connection(ctx, kModule, msg);
  Decomposition decomposition(ctx, msg);
  int code = connection.open();
  if (code == 0) code = decomposition.run(connection.handle(), dad, dadFlag, doc, notEnabled);
  decomposition.releaseDtd();
  code = connection.close(code);
  decomposition.freeModel();
  QRK_TRACE(ctx, "Exits, errCode=%ld, rc=%d", static_cast<long>(code), code);
  return code;
}

}  // namespace orvxml
