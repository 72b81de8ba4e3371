#include "src/decompose/decomposition.h"

#include <optional>
#include <string>
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/notices.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "src/dad/dad_settings.h"
#include "src/dad/element_order.h"
#include "src/dad/mapping_model.h"
#include "src/dad/mapping_traps.h"
#include "src/decompose/row_extraction.h"
#include "src/decompose/target_table.h"
#include "src/outcome/all_steps.h"
#include "src/outcome/edge.h"
#include "src/outcome/traced_call.h"
#include "src/parser/parser.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/cli_handles.h"
#include "src/server_access/server_statements.h"
#include "src/server_access/stored_dad.h"
#include "src/xmlcolumn/judgement.h"

namespace orvxml {

const orv::esql::Module kQrkrdbi{"QRKRDBI", "ORVRDBI1", {}};

namespace {

constexpr char kModule[] = "qrkrdbi";
constexpr int kCollectionNameSize = 129;  // bytes, terminator included
constexpr int kSettingsError = -1;        // whatever is wrong in front of the mapping
constexpr int kInvalidDocument = -90;

char* contentOf(QrkStruct* ctx, QrkOutbuf* buffer) {
  char* const content = qrkBufGetContent(ctx, buffer);
  if (!content) throw Failure::internal();
  return content;
}

// ---- One decomposition: the steps share the context, the model and the parsed documents.
class Decomposition {
 public:
  Decomposition(QrkStruct* ctx, SQLHDBC hdbc) : ctx_(ctx) { rel_.hdbc = hdbc; }
  ~Decomposition() {
    qrkFreeRel(ctx_, &rel_);
    QRK_TRACE(ctx_, "qrkFreeRel, errCode2=%ld, rc2=%d", 0L, 0);
  }
  Decomposition(const Decomposition&) = delete;
  Decomposition& operator=(const Decomposition&) = delete;

  void run(QrkOutbuf* dad, int dadFlag, QrkOutbuf* doc, int notEnabled);

 private:
  void parseDad(QrkOutbuf* dad, int dadFlag);
  void readSettings();
  void validate(QrkOutbuf* doc);
  void fetchDtd(OutBuffer& dtd, const std::string& dtdid);
  Judgement judge(const JudgedDocument& document);
  void buildMapping();
  void findTopElement();
  void parseDocument(QrkOutbuf* doc);
  void checkTables();
  void locateFaultyColumn(Failure& failure, int table) const;
  void insertRows();
  int sameCodePages() const {
    return ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage ? 1 : 0;
  }

  QrkStruct* ctx_;
  rel rel_{};
  DOM_Document dad_;
  DOM_Element top_;
  DOM_Document document_;
  DadSettings settings_;
};

void Decomposition::run(QrkOutbuf* dad, int dadFlag, QrkOutbuf* doc, int notEnabled) {
  about(FailureText::kMapping, [&] {
    parseDad(dad, dadFlag);
    readSettings();
  });
  if (settings_.validate) about(FailureText::kDocument, [&] { validate(doc); });
  about(FailureText::kMapping, [&] { buildMapping(); });
  if (noticeListener()) tellTraps(MappingSurvey(ctx_, rel_, top_, kForDecomposition));
  about(FailureText::kDocument, [&] { parseDocument(doc); });
  if (notEnabled == 1) about(FailureText::kMapping, [&] { checkTables(); });
  about(FailureText::kDocument, [&] { insertRows(); });
}

void Decomposition::parseDad(QrkOutbuf* dad, int dadFlag) {
  const char* const content = contentOf(ctx_, dad);
  try {
    dad_ = qrkDOM(ctx_, content, dadFlag, dad->loctype);
    QRK_TRACE(ctx_, "call qrkDOM() returns %ld, sqlcode %s.", 0L, "00000");
  } catch (const Failure& failure) {
    QRK_TRACE(ctx_, "call qrkDOM() returns %ld, sqlcode %s.", static_cast<long>(failure.code()),
              failure.sqlState().c_str());
    throw;
  }
}

void Decomposition::readSettings() {
  try {
    settings_ = readDadSettings(ctx_, dad_, kNoSettingLimits);
  } catch (Failure& failure) {
    throw std::move(failure).withCode(kSettingsError);
  }
}

// An ID that is not registered is done without.
void Decomposition::fetchDtd(OutBuffer& dtd, const std::string& dtdid) {
  if (!qrkGetDtdFileFromDtdId(ctx_, dtd.get(), dtdid.c_str())) dtd.release();
}

Judgement Decomposition::judge(const JudgedDocument& document) {
  if (settings_.hasSchema) return judgeBySchema(ctx_, document, settings_.schemaLocation.c_str());
  std::string dtdid;
  // An ID that the code page lacks cannot be registered, and counts like one that is not.
  if (!toDatabase(ctx_, settings_.dtdid, dtdid)) dtdid.clear();
  OutBuffer dtd(ctx_);
  if (!dtdid.empty()) fetchDtd(dtd, dtdid);
  const char* const text = dtd->data ? qrkBufGetContent(ctx_, dtd.get()) : nullptr;
  const bool isText = dtd->loctype != QRK_LOC_FILE;
  return judgeByDtd(ctx_, document, {text, isText, document.inDbEncoding, dtdid.c_str()});
}

void Decomposition::validate(QrkOutbuf* doc) {
  const Judgement found =
      judge({contentOf(ctx_, doc), doc->loctype != QRK_LOC_FILE, sameCodePages() == 1});
  if (found.verdict == kValid) return;
  if (tracing(ctx_)) {
    char text[kMessageSize] = "";
    writeFailure({ctx_, text}, *found.failure);
    QRK_TRACE(ctx_, "qrkValidate returned QRK_INVALID.  msgtext='%s'", text);
  }
  throw Failure(*found.failure).withCode(kInvalidDocument);
}

void Decomposition::findTopElement() {
  const DOM_Element rootNode = dad_.getDocumentElement().firstDescendant(u"root_node");
  if (rootNode.isNull()) throw Failure(Msg::QRKQ000E, "root_node");
  top_ = rootNode.firstDescendant(u"element_node");
  if (top_.isNull()) throw Failure(Msg::QRKQ000E, "element_node");
}

void Decomposition::buildMapping() {
  findTopElement();
  traced(ctx_, "call qrkSetRel() returns %ld.",
         [&] { qrkSetRel(ctx_, &rel_, top_, kForDecomposition); });
  traced(ctx_, "call qrkProcRel() returns %ld.",
         [&] { qrkProcRel(ctx_, &rel_, top_, kForDecomposition); });
}

void Decomposition::parseDocument(QrkOutbuf* doc) {
  const char* const content = contentOf(ctx_, doc);
  document_ = traced(ctx_, "call qrkDOM() returns %ld.",
                     [&] { return qrkDOM(ctx_, content, sameCodePages(), doc->loctype); });
}

void Decomposition::checkTables() {
  for (int i = 0; i < rel_.num_of_tables; ++i) {
    try {
      traced(ctx_, "call check_table() returns %ld.",
             [&] { check_table(ctx_, rel_.num_cond, *rel_.tab[i]); });
    } catch (Failure& failure) {
      if (noticeListener()) locateFaultyColumn(failure, i);
      throw;
    }
  }
}

void Decomposition::locateFaultyColumn(Failure& failure, int table) const {
  const int column = faultyColumn(ctx_, *rel_.tab[table]);
  if (column < 0) return;
  const MappingSurvey survey(ctx_, rel_, top_, kForDecomposition);
  const MappedLeaf* leaf = survey.leafOf(&rel_.tab[table]->col2xml[column]);
  if (leaf) failure.atElement(FailureText::kMapping, elementNumber(leaf->node));
}

void Decomposition::insertRows() {
  QRK_TRACE(ctx_, "call xml_elements.add() returns %ld.", 0L);
  traced(ctx_, "call decompose_element() returns %ld.",
         [&] { decompose_element(ctx_, &rel_, document_, top_); });
}

// Fetches the DAD of the collection `name`.
void fetchDad(StoredDad& dad, char* name) {
  sqlca area{};
  dad.open("select dad from orvxml.xml_usage where col_name = ?", name, kCollectionNameSize, area);
  if (area.sqlcode < 0) throw collectionFailure(area, name);
  dad.fetch(area);
  if (area.sqlcode == kNoRow || area.sqlcode < 0) throw collectionFailure(area, name);
  if (dad.indicator() < 0) throw Failure(Msg::QRKQ029E, name);
}

void readDad(QrkStruct* ctx, StoredDad& stored, OutBuffer& dad) {
  try {
    stored.read(ctx, dad.get());
  } catch (const Failure& failure) {
    QRK_TRACE(ctx, "qrkGetDadFileFromLocator() failed w/ rc=%d", failure.code());
    throw Failure::internal(kModule);
  }
}

}  // namespace

void qrkDecomposeByName(QrkStruct* ctx, const char* collectionName, QrkOutbuf* doc) {
  QRK_TRACE(ctx, "Entered, collection_name=%s ", collectionName);
  OutBuffer dad(ctx);
  StoredDad stored(kQrkrdbi);
  about(FailureText::kMapping, [&] {
    const std::string_view fullName(collectionName);
    char name[kCollectionNameSize] = "";
    // A longer name than the column holds belongs to no collection.
    if (fullName.size() >= sizeof name) throw Failure(Msg::QRKQ028E, fullName);
    fullName.copy(name, sizeof name - 1);
    fetchDad(stored, name);
    readDad(ctx, stored, dad);
  });
  const bool samePages = ctx->codePages->appCodePage == ctx->codePages->dbCodePage;
  qrkDecomposeByDAD(ctx, dad.get(), samePages ? 1 : 0, doc, 0);
}

void qrkDecomposeByDAD(QrkStruct* ctx, QrkOutbuf* dad, int dadFlag, QrkOutbuf* doc,
                       int notEnabled) {
  QRK_TRACE(ctx, "Entered, notEnabled=%d", notEnabled);
  traced(ctx, "Exits, errCode=%1$ld, rc=%1$ld", [&] {
    ServerConnection connection(ctx, kModule);
    std::optional<Decomposition> decomposition;
    AllSteps()
        .run([&] {
          connection.open();
          decomposition.emplace(ctx, connection.handle()).run(dad, dadFlag, doc, notEnabled);
        })
        .run([&] { connection.close(); })
        .end();
  });
}

}  // namespace orvxml
