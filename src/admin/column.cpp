// The exported procedures of columns: they unpack, call and report.
#include "src/admin/column.h"

#include "orvxml/administration.h"
#include "orvxml/trace.h"
#include "src/admin/admin_parameters.h"
#include "src/admin/column_statements.h"

namespace orvxml {

namespace {

constexpr ProcedureInfo kEnable{Msg::QRKA022I, 7, 2, true};
constexpr ProcedureInfo kDisable{Msg::QRKA034I, 3, 2, true};

// By the name of the entry, inside of which the step is.
void traceEntered(Call& call, const char* entry) {
  if (!tracing(&call.ctx)) return;
  qrkDebugPrintFunction(&call.ctx, "%s:\t\t", entry);
  qrkDebugPrintFunction(&call.ctx, "entered.\n");
}

const char* textOrEmpty(const char* text, const short* indicator) {
  return isNull(text, indicator) ? "" : text;
}

struct DescriptorColumn {
  std::string database, table, column;
};

// The parameters that both procedures begin with.
DescriptorColumn takeColumn(Call& call, sqlda* da) {
  DescriptorColumn taken;
  taken.database = takeText(call, da, 0);
  QRK_TRACE(&call.ctx, "dbName_ptr:%s, len:%d, rc:%d", taken.database.c_str(),
            static_cast<int>(taken.database.size()), 0);
  taken.table = takeText(call, da, 1);
  QRK_TRACE(&call.ctx, "tabName_ptr:%s, len:%d, rc:%d", taken.table.c_str(),
            static_cast<int>(taken.table.size()), 0);
  taken.column = takeText(call, da, 2);
  QRK_TRACE(&call.ctx, "colName_ptr:%s, len:%d, rc:%d", taken.column.c_str(),
            static_cast<int>(taken.column.size()), 0);
  return taken;
}

int enableFromDescriptor(Call& call, sqlda* da) {
  const DescriptorColumn taken = takeColumn(call, da);
  const DescriptorText mapping = takeBytes(&call.ctx, da, 3);
  QRK_TRACE(&call.ctx, "dad length:%d", mapping.length);
  const std::string tableSpace = takeOptionalText(call, da, 4);
  QRK_TRACE(&call.ctx, "tbslen:%d, rc:%d", static_cast<int>(tableSpace.size()), 0);
  const std::string defaultView = takeOptionalText(call, da, 5);
  QRK_TRACE(&call.ctx, "defaultv len:%d, rc:%d", static_cast<int>(defaultView.size()), 0);
  const std::string rootID = takeOptionalText(call, da, 6);
  QRK_TRACE(&call.ctx, "rootid len:%d, rc:%d", static_cast<int>(rootID.size()), 0);
  return enableColumn(call,
                      {taken.table.c_str(), taken.column.c_str(), mapping.data, mapping.length,
                       tableSpace.c_str(), defaultView.c_str(), rootID.c_str()});
}

int disableFromDescriptor(Call& call, sqlda* da) {
  const DescriptorColumn taken = takeColumn(call, da);
  return disableColumn(call, taken.table.c_str(), taken.column.c_str());
}

}  // namespace

}  // namespace orvxml

extern "C" {

int qrkEnableColumn(void*, void*, sqlda* da) {
  using namespace orvxml;
  return sqldaProcedure(kEnable, da, [&](Call& call) { return enableFromDescriptor(call, da); });
}

int qrkEnableColumn_STP(const char* tableName, const char* columnName, clob* dadBuf,
                        char* tableSpace, char* defaultView, const char* rootID, int* returnCode,
                        char* returnMsg, short* tableNameInd, short* columnNameInd,
                        short* dadBufInd, short* tableSpaceInd, short* defaultViewInd,
                        short* rootIDInd, short* returnCodeInd, short* returnMsgInd) {
  using namespace orvxml;
  const bool absent = isNull(tableName, tableNameInd) || isNull(columnName, columnNameInd) ||
                      isNull(dadBuf, dadBufInd);
  const char* const space = textOrEmpty(tableSpace, tableSpaceInd);
  const char* const view = textOrEmpty(defaultView, defaultViewInd);
  const char* const rootid = textOrEmpty(rootID, rootIDInd);
  inputsNotReturned(
      {tableNameInd, columnNameInd, dadBufInd, tableSpaceInd, defaultViewInd, rootIDInd});
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  return listProcedure(kEnable, outputs, [&](Call& call) {
    if (absent) return fail(call, Msg::QRKG004E);
    return enableColumn(call,
                        {tableName, columnName, dadBuf->data, dadBuf->length, space, view, rootid});
  });
}

int qrkEnableColumn0_STP(const char*, const char* tableName, const char* columnName, clob* dadBuf,
                         char* tableSpace, char* defaultView, const char* rootID, int* returnCode,
                         char* returnMsg, short* dbNameInd, short* tableNameInd,
                         short* columnNameInd, short* dadBufInd, short* tableSpaceInd,
                         short* defaultViewInd, short* rootIDInd, short* returnCodeInd,
                         short* returnMsgInd) {
  using namespace orvxml;
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  const int code = listProcedure(kEnable, outputs, [&](Call& call) {
    traceEntered(call, "qrkEnableColumn0_STP");
    return qrkEnableColumn_STP(tableName, columnName, dadBuf, tableSpace, defaultView, rootID,
                               returnCode, call.msg, tableNameInd, columnNameInd, dadBufInd,
                               tableSpaceInd, defaultViewInd, rootIDInd, nullptr, nullptr);
  });
  inputsNotReturned({dbNameInd, tableNameInd, columnNameInd, dadBufInd, tableSpaceInd,
                     defaultViewInd, rootIDInd});
  return code;
}

int qrkDisableColumn(void*, void*, sqlda* da) {
  using namespace orvxml;
  return sqldaProcedure(kDisable, da, [&](Call& call) { return disableFromDescriptor(call, da); });
}

int qrkDisableColumn_STP(const char* tableName, const char* columnName, int* returnCode,
                         char* returnMsg, short* tableNameInd, short* columnNameInd,
                         short* returnCodeInd, short* returnMsgInd) {
  using namespace orvxml;
  const bool absent = isNull(tableName, tableNameInd) || isNull(columnName, columnNameInd);
  inputsNotReturned({tableNameInd, columnNameInd});
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  return listProcedure(kDisable, outputs, [&](Call& call) {
    return absent ? fail(call, Msg::QRKG004E) : disableColumn(call, tableName, columnName);
  });
}

int qrkDisableColumn0_STP(const char*, const char* tableName, const char* columnName,
                          int* returnCode, char* returnMsg, short* dbNameInd, short* tableNameInd,
                          short* columnNameInd, short* returnCodeInd, short* returnMsgInd) {
  using namespace orvxml;
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  const int code = listProcedure(kDisable, outputs, [&](Call& call) {
    traceEntered(call, "qrkDisableColumn0_STP");
    return qrkDisableColumn_STP(tableName, columnName, returnCode, call.msg, tableNameInd,
                                columnNameInd, nullptr, nullptr);
  });
  inputsNotReturned({dbNameInd, tableNameInd, columnNameInd});
  return code;
}
}
