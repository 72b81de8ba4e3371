// A database is enabled and disabled: lists of statements, run one by one in the caller's unit of
// work. The first statement that fails ends the list; what ran before it stays pending.
#include "src/admin/database_enable.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include <unicode/utf16.h>

#include "orvxml/administration.h"
#include "orvxml/code_pages.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "src/admin/admin_parameters.h"
#include "src/admin/database_statements.h"
#include "src/call/procedure_frame.h"
#include "src/server_access/catalog_queries.h"

namespace orvxml {
namespace {

constexpr int32_t kShownNameCharacters = 8;

constexpr char kDoubleByteProbe[] = "DOUBLE_BYTE_PROBE";
constexpr orv::esql::Section kSections[] = {
    {kDoubleByteProbe,
     "CREATE DISTINCT TYPE ORVXML.QRKDBCSTEST AS VARGRAPHIC(10) WITH COMPARISONS"},
};

// SQLCODEs.
constexpr int kNoSuchObject = -204;
constexpr int kAlreadyExists = -601;
constexpr int kGraphicNotSupported = -1216;

constexpr ProcedureInfo kEnableDb{Msg::QRKA006I, 1, 2, true};
constexpr ProcedureInfo kEnableDbIn{Msg::QRKA006I, 3, 2, true};
constexpr ProcedureInfo kEnableServer{Msg::QRKA006I, 2, 2, true};
constexpr ProcedureInfo kDisableDb{Msg::QRKA036I, 1, 2, true};
constexpr ProcedureInfo kDisableServer{Msg::QRKA036I, 0, 2, true};

// The database that a call is about, and where the outcome goes.
struct Target {
  Report report;
  char* dbName = nullptr;  // null: a server without a database name
  std::string shownName;   // in messages

  QrkStruct* ctx() const { return report.ctx; }
  bool isServer() const { return dbName == nullptr; }
};

// Table spaces of the administrative tables; null or empty: none is given.
struct TableSpaces {
  const char* dtdRef = nullptr;
  const char* xmlUsage = nullptr;
};

std::string firstCharacters(QrkStruct* ctx, std::string_view text, int32_t count) {
  std::u16string wide;
  std::string first;
  if (toUtf16(ctx, text, wide)) {
    int32_t units = 0;
    U16_FWD_N(wide.data(), units, static_cast<int32_t>(wide.size()), count);
    if (toDatabase(ctx, std::u16string_view(wide).substr(0, static_cast<size_t>(units)), first)) {
      return first;
    }
  }
  return std::string(text.substr(0, static_cast<size_t>(count)));
}

sqlca runStatement(const std::string& text) {
  sqlca area{};
  orv::esql::executeImmediate(kQrkdb, text, area);
  return area;
}

// The server's text, QRKM001W and `message`; the code is the SQLCODE.
Failure statementFailure(const Target& target, const sqlca& area, Msg message) {
  return Failure::ofServer(area, message, target.shownName).withCode(area.sqlcode);
}

bool isEnabled(const Target& target) {
  return qrkTableExists(target.ctx(), "ORVXML", "XML_USAGE");
}

// One of the lists, and what ends it.
struct ListRun {
  const char* name;  // in the trace, in front of the statement's number
  Msg failure;
  // Whether the list goes on behind this SQLCODE of statement `index`.
  std::function<bool(int sqlcode, size_t index)> goesOn;
  // What is done to the text of statement `index` before it is run.
  std::function<void(size_t index, std::string& text)> complete = {};
};

void runList(const Target& target, StatementList statements, const ListRun& run) {
  for (size_t i = 0; i < statements.size(); ++i) {
    if (run.complete) run.complete(i, statements[i]);
    const sqlca area = runStatement(statements[i]);
    const int number = static_cast<int>(i);
    QRK_TRACE(target.ctx(), "%s%d ", run.name, number);
    if (run.goesOn(area.sqlcode, i)) continue;
    QRK_TRACE(target.ctx(), "%s%d failed.", run.name, number);
    QRK_TRACE(target.ctx(), "%s", statements[i].c_str());
    QRK_TRACE(target.ctx(), "SQLCODE = %d", area.sqlcode);
    throw statementFailure(target, area, run.failure);
  }
}

bool isSuccess(int sqlcode, size_t) {
  return sqlcode == 0;
}

// ---------------------------------------------------------------- enabling

// Whether the object of this statement may be there already.
bool mayExist(const Target& target, size_t index) {
  if (target.isServer()) return index <= kLastExistingOnServer;
  return index == kCreateXmlVarchar || index == kCreateXmlClob;
}

// The administrative tables stand in the table spaces that are given.
void completeTable(const Target& target, const TableSpaces& spaces, size_t index,
                   std::string& text) {
  if (target.isServer() || (index != kCreateDtdRef && index != kCreateXmlUsage)) return;
  const bool isDtdRef = index == kCreateDtdRef;
  text = appendTableSpaceClause(target.ctx(), text.c_str(), isDtdRef ? 1 : 2,
                                isDtdRef ? spaces.dtdRef : spaces.xmlUsage, nullptr);
}

int enable(const Target& target, const TableSpaces& spaces) {
  if (isEnabled(target)) return report(target.report, Msg::QRKA070W);
  const ListRun run = {
      "Enable Database Stmt I  ", Msg::QRKA004E,
      [&](int sqlcode, size_t index) {
        return sqlcode >= 0 || (sqlcode == kAlreadyExists && mayExist(target, index));
      },
      [&](size_t index, std::string& text) { completeTable(target, spaces, index, text); }};
  runList(target, enableStmt(), run);
  if (!target.isServer() && isDBCS_DB(target.ctx(), target.dbName) != 0) {
    const ListRun more = {"Enable Database Stmt II ", Msg::QRKA004E, isSuccess};
    runList(target, enableStmtDB(), more);
  }
  const auto noFailure = [](int sqlcode, size_t) { return sqlcode >= 0; };
  const ListRun schema = {"Enable Database Stmt III ", Msg::QRKA004E, noFailure};
  runList(target, enableStmtSchema(), schema);
  return report(target.report, Msg::QRKA006I, target.shownName);
}

// ---------------------------------------------------------------- disabling

void dropDocumentTypes(const Target& target) {
  const sqlca area = qrkDropSchema(target.ctx());
  if (area.sqlcode != 0) throw statementFailure(target, area, Msg::QRKA007E);
}

// A warning ends a list as a failure does.
int disable(const Target& target) {
  if (!isEnabled(target)) return report(target.report, Msg::QRKA071W);
  // The functions that ask a schema depend on the document types and so go before them. Where they
  // are missing, the schema ORVXML was made by other means.
  const auto isGone = [](int sqlcode, size_t) { return sqlcode >= 0 || sqlcode == kNoSuchObject; };
  const ListRun schema = {"Disable Database Stmt III ", Msg::QRKA007E, isGone};
  const ListRun all = {"Disable Database Stmt ", Msg::QRKA007E, isSuccess};
  runList(target, disableStmtSchema(), schema);
  runList(target, disableStmt(), all);
  if (!target.isServer() && isDBCS_DB(target.ctx(), target.dbName) != 0) {
    runList(target, disableStmtDB(), all);
  }
  dropDocumentTypes(target);
  return report(target.report, Msg::QRKA036I, target.shownName);
}

Target serverTarget(Call& call) {
  return {Report{&call.ctx, call.msg}, nullptr, ""};
}

// Names and qualifier have no place in the statements.
int enableServer(Call& call, std::string_view names, const char* qualifier) {
  const size_t comma = std::min(names.find(','), names.size());
  const std::string_view second = names.substr(std::min(comma + 1, names.size()));
  QRK_TRACE(&call.ctx, "names: '%.*s', '%.*s', qualifier: '%s'", static_cast<int>(comma),
            names.data(), static_cast<int>(second.size()), second.data(), qualifier);
  return enable(serverTarget(call), {});
}

Target targetOf(const Report& report, char* dbName) {
  return {report, dbName, firstCharacters(report.ctx, dbName, kShownNameCharacters)};
}

// ---------------------------------------------------------------- descriptor forms

int enableFromDescriptor(Call& call, sqlda* da) {
  std::string dbName = takeText(call, da, 0);
  int code = 0;
  short in = 0, codeInd = 0, msgInd = 0;
  return qrkEnableDB_STP(dbName.data(), &code, call.msg, &in, &codeInd, &msgInd);
}

int enableInFromDescriptor(Call& call, sqlda* da) {
  std::string dbName = takeText(call, da, 0);
  std::string tableSpace = takeOptionalText(call, da, 1);
  std::string tableSpace2 = takeOptionalText(call, da, 2);
  int code = 0;
  short in[3] = {}, codeInd = 0, msgInd = 0;
  return qrkEnableDB_STP1(dbName.data(), tableSpace.data(), tableSpace2.data(), &code, call.msg,
                          &in[0], &in[1], &in[2], &codeInd, &msgInd);
}

int disableFromDescriptor(Call& call, sqlda* da) {
  std::string dbName = takeText(call, da, 0);
  int code = 0;
  short in = 0, codeInd = 0, msgInd = 0;
  return qrkDisableDB_STP(dbName.data(), &code, call.msg, &in, &codeInd, &msgInd);
}

}  // namespace

constexpr orv::esql::SectionsToken kToken = orv::esql::tokenOf(kSections);
const orv::esql::Module kQrkdb = {"QRKDB", kToken.text, kSections};

int isDBCS_DB(QrkStruct* ctx, char* dbName) {
  sqlca area{};
  orv::esql::execute(kQrkdb, kDoubleByteProbe, {}, {}, area);
  QRK_TRACE(ctx, "sqlcode of the double-byte probe %d", area.sqlcode);
  if (area.sqlcode == kGraphicNotSupported) return 0;
  if (area.sqlcode != 0) return -1;
  area = runStatement(dbName ? "DROP DISTINCT TYPE orvxml.QRKDBCSTEST"
                             : "DROP DISTINCT TYPE orvxml.QRKDBCSTEST RESTRICT");
  return area.sqlcode < 0 ? -1 : 1;
}

int qrkEnableDB_STP_Main(QrkStruct* ctx, char* dbName, char* tableSpace, char* tableSpace2,
                         int* returnCode, char* returnMsg, short* dbNameInd, short* tableSpaceInd,
                         short* tableSpace2Ind, short* returnCodeInd, short* returnMsgInd) {
  setIndicator(returnCodeInd, 0);
  setIndicator(returnMsgInd, 0);
  const bool absent = isNull(dbName, dbNameInd);
  TableSpaces spaces;
  if (!isNull(tableSpace, tableSpaceInd)) spaces.dtdRef = tableSpace;
  const bool second = !isNull(tableSpace2, tableSpace2Ind) && *tableSpace2 != '\0';
  spaces.xmlUsage = second ? tableSpace2 : spaces.dtdRef;
  inputsNotReturned({dbNameInd, tableSpaceInd, tableSpace2Ind});
  QRK_TRACE(ctx, "table spaces: '%s', '%s'", spaces.dtdRef ? spaces.dtdRef : "",
            spaces.xmlUsage ? spaces.xmlUsage : "");
  const Report report{ctx, returnMsg};
  const int code = atEdge(report, [&] {
    if (absent) throw Failure(Msg::QRKG004E);
    return enable(targetOf(report, dbName), spaces);
  });
  if (returnCode) *returnCode = code;
  return code;
}

}  // namespace orvxml

extern "C" {

int qrkEnableDB(void*, void*, sqlda* da, sqlca*) {
  using namespace orvxml;
  const bool inTableSpaces = da && da->sqld == kEnableDbIn.inputs + kEnableDbIn.outputs;
  return sqldaProcedure(inTableSpaces ? kEnableDbIn : kEnableDb, da, [&](Call& call) {
    return inTableSpaces ? enableInFromDescriptor(call, da) : enableFromDescriptor(call, da);
  });
}

int qrkEnableDB_STP(char* dbName, int* returnCode, char* returnMsg, short* dbNameInd,
                    short* returnCodeInd, short* returnMsgInd) {
  return qrkEnableDB_STP1(dbName, nullptr, nullptr, returnCode, returnMsg, dbNameInd, nullptr,
                          nullptr, returnCodeInd, returnMsgInd);
}

int qrkEnableDB_STP1(char* dbName, char* tableSpace, char* tableSpace2, int* returnCode,
                     char* returnMsg, short* dbNameInd, short* tableSpaceInd, short* tableSpace2Ind,
                     short* returnCodeInd, short* returnMsgInd) {
  using namespace orvxml;
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  const int code = listProcedure(kEnableDb, outputs, [&](Call& call) {
    return qrkEnableDB_STP_Main(&call.ctx, dbName, tableSpace, tableSpace2, returnCode, call.msg,
                                dbNameInd, tableSpaceInd, tableSpace2Ind, returnCodeInd,
                                returnMsgInd);
  });
  // Where the context could not be set up, the body did not get so far.
  inputsNotReturned({dbNameInd, tableSpaceInd, tableSpace2Ind});
  return code;
}

int qrkDisableDB(void*, void*, sqlda* da, sqlca*) {
  using namespace orvxml;
  return sqldaProcedure(kDisableDb, da,
                        [&](Call& call) { return disableFromDescriptor(call, da); });
}

int qrkDisableDB_STP(char* dbName, int* returnCode, char* returnMsg, short* dbNameInd,
                     short* returnCodeInd, short* returnMsgInd) {
  using namespace orvxml;
  const bool absent = isNull(dbName, dbNameInd);
  inputsNotReturned({dbNameInd});
  return listProcedure(kDisableDb, {returnCode, returnMsg, returnCodeInd, returnMsgInd},
                       [&](Call& call) {
                         if (absent) return fail(call, Msg::QRKG004E);
                         return disable(targetOf(Report{&call.ctx, call.msg}, dbName));
                       });
}

int qrkEnableServer_STP(char* names, char* qualifier, int* returnCode, char* returnMsg,
                        short* namesInd, short* qualifierInd, short* returnCodeInd,
                        short* returnMsgInd) {
  using namespace orvxml;
  const std::string_view both = isNull(names, namesInd) ? "" : names;
  const char* const owner = isNull(qualifier, qualifierInd) ? "ORV" : qualifier;
  inputsNotReturned({namesInd, qualifierInd});
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  return listProcedure(kEnableServer, outputs,
                       [&](Call& call) { return enableServer(call, both, owner); });
}

int qrkDisableServer_STP(int* returnCode, char* returnMsg, short* returnCodeInd,
                         short* returnMsgInd) {
  using namespace orvxml;
  return listProcedure(kDisableServer, {returnCode, returnMsg, returnCodeInd, returnMsgInd},
                       [&](Call& call) { return disable(serverTarget(call)); });
}
}
