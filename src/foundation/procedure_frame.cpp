#include "orvxml/procedure_frame.h"

#include <cstring>

#include "orvxml/trace.h"

namespace orvxml::detail {

int beginCall(Call& call) {
  const int code = qrkInit(&call.ctx, CALL_FROM_STP, nullptr, call.sqlState, nullptr);
  if (code != 0) return code < 0 ? code : -code;
  QRK_TRACE(&call.ctx, "Entered the stored procedure.");
  QRK_TRACE(&call.ctx, "codepage is %ld", static_cast<long>(call.ctx.codePages->dbCodePage));
  return 0;
}

int settleOutcome(Call& call, const ProcedureInfo& info, int code) {
  if (code >= 0) return report(Report{&call.ctx, call.msg}, info.success);
  if (*call.msg == '\0') failInternal(Report{&call.ctx, call.msg}, info.module, __LINE__);
  return code;
}

int endCall(Call& call, int code) {
  QRK_TRACE(&call.ctx, "stored procedure exits.");
  const int exitCode = qrkExit(&call.ctx, call.sqlState);
  return code == 0 ? exitCode : code;
}

bool hasParameters(const sqlda* da, const ProcedureInfo& info) {
  return da != nullptr && da->sqld >= info.inputs + 2;
}

void setDescriptorOutputs(sqlda* da, const ProcedureInfo& info, int code) {
  for (int i = 0; i < info.inputs; ++i) setIndicator(da->sqlvar[i].sqlind, kInputNotReturned);
  for (int i = da->sqld - 2; i < da->sqld; ++i) setIndicator(da->sqlvar[i].sqlind, 0);
  const sqlvar& entry = da->sqlvar[da->sqld - 2];
  if (!entry.sqldata) return;
  const int16_t type = static_cast<int16_t>(entry.sqltype & ~1);
  if (type == orv::kSqlInteger) {
    std::memcpy(entry.sqldata, &code, sizeof(code));
  } else if (type == orv::kSqlSmallint) {
    const int16_t small = static_cast<int16_t>(code);
    std::memcpy(entry.sqldata, &small, sizeof(small));
  }
}

}  // namespace orvxml::detail
