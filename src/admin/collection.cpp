// A collection is enabled and disabled: its mapping is checked, its tables are prepared, and its
// DAD is kept in ORVXML.XML_USAGE under the collection's name.
#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "orvxml/administration.h"
#include "orvxml/code_pages.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "src/admin/admin_parameters.h"
#include "src/admin/schema_warning.h"
#include "src/admin/usage_table.h"
#include "src/call/procedure_frame.h"
#include "src/dad/dad_settings.h"
#include "src/dad/mapping_model.h"
#include "src/decompose/target_table.h"
#include "src/parser/parser.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/server_statements.h"

namespace orvxml {

const orv::esql::Module kQrkcoll = {"QRKCOLL", "QCL00001", {}};

namespace {

constexpr char kModule[] = "qrkcoll";
constexpr int kDeleteLine = 1284;          // what an internal error of the deletion names
constexpr size_t kMaxCollectionName = 30;  // bytes: what its column holds besides a terminator
constexpr size_t kMaxNameParameter = 128;
constexpr char kUsageTable[] = "ORVXML.XML_USAGE";
constexpr int kCollectionAccess = 1;

constexpr ProcedureInfo kEnable{Msg::QRKA067I, 4, 2, true};
constexpr ProcedureInfo kDisable{Msg::QRKA066I, 2, 2, true};

// ---------------------------------------------------------------- enabling

// One collection that is being enabled: the steps share its DAD and its model.
class Enabling {
 public:
  Enabling(Call& call, const char* name)
      : ctx_(&call.ctx), msg_(call.msg), name_(name), dad_(&call.ctx) {}
  ~Enabling() { qrkFreeRel(ctx_, &rel_); }
  Enabling(const Enabling&) = delete;
  Enabling& operator=(const Enabling&) = delete;

  int run(Call& call, const clob& dadBuf, char* tableSpace);

 private:
  int parse(Call& call, const clob& dadBuf);
  bool usesSqlMapping() const;
  int buildModel();
  int prepareTables(char* tableSpace);
  int record();
  Report report() const { return {ctx_, msg_}; }

  QrkStruct* ctx_;
  char* msg_;
  const char* name_;
  OutBuffer dad_;
  DOM_Document document_;
  DadSettings settings_;
  rel rel_{};
};

int Enabling::run(Call& call, const clob& dadBuf, char* tableSpace) {
  QRK_TRACE(ctx_, "enter Enable collection.");
  QRK_TRACE(ctx_, "dadlen:%d, tbspacename:%s.", dadBuf.length, tableSpace);
  if (std::strlen(name_) > kMaxCollectionName) return fail(report(), Msg::QRKQ032E);
  if (int code = requireUsageTable(report())) return code;
  if (int code = parse(call, dadBuf)) return code;
  if (int code = readDadSettings(ctx_, document_, kNoSettingLimits, settings_, msg_)) return code;
  const bool sqlMapping = usesSqlMapping();
  if (!sqlMapping) {
    if (int code = buildModel()) return code;
  }
  if (!settings_.hasValidation) return fail(report(), Msg::QRKA056E, "(NULL)");
  if (!sqlMapping) {
    if (int code = prepareTables(tableSpace)) return code;
  }
  if (int code = record()) return code;
  if (settings_.hasSchema && settings_.validate) {
    warnOfUnusableSchema(ctx_, settings_.schemaLocation);
  }
  return orvxml::report(report(), Msg::QRKA067I, name_);
}

int Enabling::parse(Call& call, const clob& dadBuf) {
  if (int code = fillBuffer(call, dad_, dadBuf.data, dadBuf.length)) return code;
  char* const content = qrkBufGetContent(ctx_, dad_.get());
  if (!content) return failInternal(report(), kModule, __LINE__);
  const bool samePages = ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage;
  const int rc =
      qrkDOM(ctx_, content, samePages ? 1 : 0, dad_->loctype, document_, call.sqlState, call.msg);
  QRK_TRACE(ctx_, "called qrkDOM(), rc = %d", rc);
  return std::min(parseCode(ctx_, rc, call.sqlState), 0);
}

bool Enabling::usesSqlMapping() const {
  const DOM_Element root = document_.getDocumentElement();
  int count = 0;
  for (auto* node = nextInDocumentOrder(root.node(), root.node()); node;
       node = nextInDocumentOrder(root.node(), node)) {
    if (std::u16string_view(u"SQL_stmt") == node->getNodeName()) ++count;
  }
  QRK_TRACE(ctx_, "Of SQL_stmt, num_nodes = %d", count);
  return count > 0;
}

int Enabling::buildModel() {
  *msg_ = '\0';
  int code = 0;
  const int rc =
      qrkSetRel(ctx_, &rel_, document_.getDocumentElement(), kForDecomposition, &code, msg_);
  const int failure = mappingOutcome(report(), rc, code);
  if (failure != 0) QRK_TRACE(ctx_, "qrkEnableCollection(), qrkSetRel fail rc:%d", rc);
  return failure;
}

int Enabling::prepareTables(char* tableSpace) {
  const DOM_Element top = document_.getDocumentElement().firstDescendant(u"element_node");
  if (top.isNull()) return fail(report(), Msg::QRKQ000E, "element_node");
  *msg_ = '\0';
  int code = 0;
  const int rc = qrkProcRel(ctx_, &rel_, top, kForDecomposition, nullptr, &code, msg_);
  if (int failure = mappingOutcome(report(), rc, code)) {
    QRK_TRACE(ctx_, "qrkEnableCollection(), qrkProcRel fail rc:%d", rc);
    return failure;
  }
  const int prepared = prepare_tables(ctx_, &rel_, tableSpace, msg_);
  if (prepared < 0) {
    QRK_TRACE(ctx_, "qrkEnableCollection(), prepare_tables fail rc:%d", prepared);
    return prepared;
  }
  return 0;
}

int Enabling::record() {
  std::string dtdid;
  if (!toDatabase(ctx_, settings_.dtdid, dtdid)) return fail(report(), Msg::QRKA010E, "");
  QRK_TRACE(ctx_, "Insert a row into xml_usage.");
  int code = 0;
  return qrkInsertXMLUsageBuf(ctx_, "QRK_COLL", "QRK_COLLECTION", name_, dtdid.c_str(),
                              dtdid.empty() ? short{-1} : short{0}, dad_.get(), kCollectionAccess,
                              settings_.validate ? 1 : 0, nullptr, -1, "0  ", &code, msg_);
}

// A CLOB as the list forms take it, with a terminator behind its text.
std::vector<char> clobOf(const char* data, int32_t length) {
  std::vector<char> bytes(sizeof length + static_cast<size_t>(length) + 1);
  std::memcpy(bytes.data(), &length, sizeof length);
  if (length > 0) std::memcpy(bytes.data() + sizeof length, data, static_cast<size_t>(length));
  return bytes;
}

int enableFromDescriptor(Call& call, sqlda* da) {
  std::string dbName, name, tableSpace;
  if (int code = takeText(call, da, 0, dbName)) return code;
  if (int code = takeText(call, da, 1, name)) return code;
  if (isNull(da->sqlvar[2])) return fail(call, Msg::QRKG004E);
  if (name.size() > kMaxCollectionName) return fail(call, Msg::QRKQ032E);
  char* data = nullptr;
  int length = 0;
  int code = 0;
  if (qrkGetStProcParam(&call.ctx, da, 2, &data, &length, &code, call.msg) != 0) return code;
  if (length < 0) return fail(call, Msg::QRKG004E);
  if (int rc = takeOptionalText(call, da, 3, tableSpace)) return rc;
  std::vector<char> dad = clobOf(data, length);
  short in[4] = {}, codeInd = 0, msgInd = 0;
  return qrkEnableColl_STP(dbName.data(), name.data(), reinterpret_cast<clob*>(dad.data()),
                           tableSpace.data(), &code, call.msg, &in[0], &in[1], &in[2], &in[3],
                           &codeInd, &msgInd);
}

// ---------------------------------------------------------------- disabling

sqlca deleteUsage(const char* name) {
  sqlca area{};
  orv::esql::Statement statement(kQrkcoll);
  const std::string text = std::string("delete from ") + kUsageTable + " where col_name = ?";
  statement.prepare(text, area);
  if (area.sqlcode < 0) return area;
  const orv::esql::HostVariable input = textInput(name);
  statement.execute(orv::esql::Variables(&input, 1), area);
  return area;
}

int disable(const Report& report, const char* name) {
  QRK_TRACE(report.ctx, "Enter Disable collection.");
  if (int code = requireUsageTable(report)) return code;
  if (std::strlen(name) > kMaxNameParameter) return fail(report, Msg::QRKQ028E, name);
  const sqlca area = deleteUsage(name);
  if (area.sqlcode == kNoRow || isValueTooLong(area)) {
    QRK_TRACE(report.ctx, "There is no such collection name in %s. ", kUsageTable);
    return fail(report, Msg::QRKQ028E, name);
  }
  if (area.sqlcode == kPackageNotBound) {
    QRK_TRACE(report.ctx, "Database not bound missing package(s)...");
    return failDb(report, area, Msg::QRKA073E);
  }
  if (area.sqlcode != 0) {
    QRK_TRACE(report.ctx, "Error occured while deleting row from xml_usage");
    return failInternal(report, kModule, kDeleteLine);
  }
  return orvxml::report(report, Msg::QRKA066I, name);
}

int disableFromDescriptor(Call& call, sqlda* da) {
  std::string dbName, name;
  if (int code = takeText(call, da, 0, dbName)) return code;
  if (int code = takeText(call, da, 1, name)) return code;
  int code = 0;
  short in[2] = {}, codeInd = 0, msgInd = 0;
  return qrkDisableColl_STP(dbName.data(), name.data(), &code, call.msg, &in[0], &in[1], &codeInd,
                            &msgInd);
}

}  // namespace
}  // namespace orvxml

extern "C" {

int qrkEnableColl(void*, void*, sqlda* da, sqlca*) {
  using namespace orvxml;
  return sqldaProcedure(kEnable, da, [&](Call& call) { return enableFromDescriptor(call, da); });
}

int qrkEnableColl_STP(char* dbName, char* collectionName, clob* dadBuf, char* tableSpace,
                      int* returnCode, char* returnMsg, short* dbNameInd, short* collectionNameInd,
                      short* dadInd, short* tableSpaceInd, short* returnCodeInd,
                      short* returnMsgInd) {
  using namespace orvxml;
  const bool absent = isNull(dbName, dbNameInd) || isNull(collectionName, collectionNameInd) ||
                      isNull(dadBuf, dadInd);
  char none[] = "";
  char* const space = isNull(tableSpace, tableSpaceInd) ? none : tableSpace;
  inputsNotReturned({dbNameInd, collectionNameInd, dadInd, tableSpaceInd});
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  return listProcedure(kEnable, outputs, [&](Call& call) {
    if (absent) return fail(call, Msg::QRKG004E);
    return Enabling(call, collectionName).run(call, *dadBuf, space);
  });
}

int qrkDisableColl(void*, void*, sqlda* da, sqlca*) {
  using namespace orvxml;
  return sqldaProcedure(kDisable, da, [&](Call& call) { return disableFromDescriptor(call, da); });
}

int qrkDisableColl_STP(char* dbName, char* collectionName, int* returnCode, char* returnMsg,
                       short* dbNameInd, short* collectionNameInd, short* returnCodeInd,
                       short* returnMsgInd) {
  using namespace orvxml;
  const bool absent = isNull(dbName, dbNameInd) || isNull(collectionName, collectionNameInd);
  inputsNotReturned({dbNameInd, collectionNameInd});
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  return listProcedure(kDisable, outputs, [&](Call& call) {
    if (absent) return fail(call, Msg::QRKG004E);
    return disable(Report{&call.ctx, call.msg}, collectionName);
  });
}
}
