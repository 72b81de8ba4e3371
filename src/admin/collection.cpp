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
  Enabling(Call& call, const char* name) : ctx_(&call.ctx), name_(name), dad_(&call.ctx) {}
  ~Enabling() { qrkFreeRel(ctx_, &rel_); }
  Enabling(const Enabling&) = delete;
  Enabling& operator=(const Enabling&) = delete;

  // Returns 0, with the message of success.
  int run(Call& call, const clob& dadBuf, char* tableSpace);

 private:
  void parse(Call& call, const clob& dadBuf);
  void takeMapping(char* tableSpace);
  bool usesSqlMapping() const;
  void buildModel();
  void prepareTables(char* tableSpace);
  void record();

  QrkStruct* ctx_;
  const char* name_;
  OutBuffer dad_;
  DOM_Document document_;
  DadSettings settings_;
  rel rel_{};
};

int Enabling::run(Call& call, const clob& dadBuf, char* tableSpace) {
  QRK_TRACE(ctx_, "enter Enable collection.");
  QRK_TRACE(ctx_, "dadlen:%d, tbspacename:%s.", dadBuf.length, tableSpace);
  if (std::strlen(name_) > kMaxCollectionName) throw Failure(Msg::QRKQ032E);
  requireUsageTable(ctx_);
  about(FailureText::kMapping, [&] {
    parse(call, dadBuf);
    takeMapping(tableSpace);
  });
  record();
  if (settings_.hasSchema && settings_.validate) {
    warnOfUnusableSchema(ctx_, settings_.schemaLocation);
  }
  return report(call.report(), Msg::QRKA067I, name_);
}

void Enabling::takeMapping(char* tableSpace) {
  settings_ = readDadSettings(ctx_, document_, kNoSettingLimits);
  const bool sqlMapping = usesSqlMapping();
  if (!sqlMapping) buildModel();
  if (!settings_.hasValidation) throw Failure(Msg::QRKA056E, "(NULL)");
  if (!sqlMapping) prepareTables(tableSpace);
}

void Enabling::parse(Call& call, const clob& dadBuf) {
  takeInto(call, dad_, dadBuf.data, dadBuf.length);
  const char* const content = qrkBufGetContent(ctx_, dad_.get());
  if (!content) throw Failure::internal();
  const bool samePages = ctx_->codePages->appCodePage == ctx_->codePages->dbCodePage;
  document_ = qrkDOM(ctx_, content, samePages ? 1 : 0, dad_->loctype);
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

void Enabling::buildModel() {
  qrkSetRel(ctx_, &rel_, document_.getDocumentElement(), kForDecomposition);
}

void Enabling::prepareTables(char* tableSpace) {
  const DOM_Element top = document_.getDocumentElement().firstDescendant(u"element_node");
  if (top.isNull()) throw Failure(Msg::QRKQ000E, "element_node");
  qrkProcRel(ctx_, &rel_, top, kForDecomposition);
  prepare_tables(ctx_, &rel_, tableSpace);
}

void Enabling::record() {
  std::string dtdid;
  if (!toDatabase(ctx_, settings_.dtdid, dtdid)) throw Failure(Msg::QRKA010E, "");
  QRK_TRACE(ctx_, "Insert a row into xml_usage.");
  qrkInsertXMLUsageBuf(ctx_, {.schema = "QRK_COLL",
                              .table = "QRK_COLLECTION",
                              .column = name_,
                              .dtdid = dtdid.empty() ? nullptr : dtdid.c_str(),
                              .dad = dad_.get(),
                              .accessMode = kCollectionAccess,
                              .validation = settings_.validate ? 1 : 0,
                              .defaultView = nullptr,
                              .suffix = "0  "});
}

// A CLOB as the list forms take it, with a terminator behind its text.
std::vector<char> clobOf(const char* data, int32_t length) {
  std::vector<char> bytes(sizeof length + static_cast<size_t>(length) + 1);
  std::memcpy(bytes.data(), &length, sizeof length);
  if (length > 0) std::memcpy(bytes.data() + sizeof length, data, static_cast<size_t>(length));
  return bytes;
}

int enableFromDescriptor(Call& call, sqlda* da) {
  std::string dbName = takeText(call, da, 0);
  std::string name = takeText(call, da, 1);
  if (isNull(da->sqlvar[2])) throw Failure(Msg::QRKG004E);
  if (name.size() > kMaxCollectionName) throw Failure(Msg::QRKQ032E);
  const DescriptorText mapping = takeBytes(&call.ctx, da, 2);
  if (mapping.length < 0) throw Failure(Msg::QRKG004E);
  std::string tableSpace = takeOptionalText(call, da, 3);
  int code = 0;
  std::vector<char> dad = clobOf(mapping.data, mapping.length);
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

int disable(Call& call, const char* name) {
  QrkStruct* const ctx = &call.ctx;
  QRK_TRACE(ctx, "Enter Disable collection.");
  requireUsageTable(ctx);
  if (std::strlen(name) > kMaxNameParameter) throw Failure(Msg::QRKQ028E, name);
  const sqlca area = deleteUsage(name);
  if (area.sqlcode == kNoRow || isValueTooLong(area)) {
    QRK_TRACE(ctx, "There is no such collection name in %s. ", kUsageTable);
    throw Failure(Msg::QRKQ028E, name);
  }
  if (area.sqlcode == kPackageNotBound) {
    QRK_TRACE(ctx, "Database not bound missing package(s)...");
    throw Failure::ofServer(area, Msg::QRKA073E);
  }
  if (area.sqlcode != 0) {
    QRK_TRACE(ctx, "Error occured while deleting row from xml_usage");
    throw Failure(Msg::QRKG001E, buildStamp(), kModule, kDeleteLine);
  }
  return report(call.report(), Msg::QRKA066I, name);
}

int disableFromDescriptor(Call& call, sqlda* da) {
  std::string dbName = takeText(call, da, 0);
  std::string name = takeText(call, da, 1);
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
    return disable(call, collectionName);
  });
}
}
