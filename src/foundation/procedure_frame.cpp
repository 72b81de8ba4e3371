#include "orvxml/procedure_frame.h"

#include <cstdio>
#include <cstring>

#include "orvxml/trace.h"

namespace orvxml::detail {

int plainOutcome(Call& call, Msg message) {
  std::snprintf(call.msg, kMessageSize, "%s\n", qrkMsgTable[static_cast<size_t>(message)]);
  std::snprintf(call.sqlState, kSqlStateSize, "%s", sqlStateOf(message));
  return codeOf(message);
}

int beginCall(Call& call) {
  const int code = qrkInit(&call.ctx, CALL_FROM_STP, nullptr, call.sqlState, nullptr);
  if (code != 0) return code < 0 ? code : -code;
  QRK_TRACE(&call.ctx, "Entered the stored procedure.");
  QRK_TRACE(&call.ctx, "codepage is %ld", static_cast<long>(call.ctx.codePages->dbCodePage));
  return 0;
}

namespace {

// The message of a failure that brought none: the one of its code when that stands without
// arguments, else an internal error.
void giveMessage(Call& call, const ProcedureInfo& info, int code) {
  const Report report{&call.ctx, call.msg};
  for (int i = 1; i < kMessageCount; ++i) {
    const auto row = static_cast<size_t>(i);
    if (qrkErrCodeTable[row] != code || std::strchr(qrkMsgTable[row], '%')) continue;
    fail(report, static_cast<Msg>(i));
    return;
  }
  failInternal(report, info.module, __LINE__);
}

}  // namespace

int settleOutcome(Call& call, const ProcedureInfo& info, int code) {
  if (code >= 0) return report(Report{&call.ctx, call.msg}, info.success);
  if (*call.msg == '\0') giveMessage(call, info, code);
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
