#include "orvxml/procedure_frame.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "orvxml/trace.h"

namespace orvxml {

bool hasTextAfterNul(const char* data, size_t length) {
  const void* nul = std::memchr(data, 0, length);
  if (!nul) return false;
  return std::any_of(static_cast<const char*>(nul), data + length, [](char c) { return c != 0; });
}

int fillBuffer(Call& call, OutBuffer& buffer, const char* data, int length) {
  if (length < 0) return fail(call, Msg::QRKG004E);
  if (hasTextAfterNul(data, static_cast<size_t>(length))) return fail(call, Msg::QRKD000E);
  int code = 0;
  if (qrkBufAcquire(&call.ctx, buffer.get(), static_cast<uint32_t>(length),
                    static_cast<uint32_t>(call.ctx.fileThreshold), QRK_LOC_MEMORY, &code, call.msg,
                    1) != 0) {
    return code;
  }
  if (qrkFillBuffer(&call.ctx, buffer.get(), data, &code, call.sqlState) != 0) {
    return fail(call, Msg::QRKC003E);
  }
  return 0;
}

namespace detail {

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
  // Its outputs are out: nothing that could fail may follow.
  if (code >= 0 && info.warns && *call.msg != '\0') return code;
  if (code >= 0) return report(Report{&call.ctx, call.msg}, info.success);
  if (*call.msg == '\0') giveMessage(call, info, code);
  return code;
}

int endCall(Call& call, int code) {
  QRK_TRACE(&call.ctx, "Exits, *errCode=%ld", static_cast<long>(code));
  QRK_TRACE(&call.ctx, "stored procedure exits.");
  QRK_TRACE(&call.ctx, "exit. error code:%d; message:%s", code, call.msg);
  const int exitCode = qrkExit(&call.ctx, call.sqlState);
  return code == 0 ? exitCode : code;
}

bool hasParameters(const sqlda* da, const ProcedureInfo& info) {
  return da->sqld >= info.inputs + info.outputs;
}

void setDescriptorOutputs(sqlda* da, const ProcedureInfo& info, int code) {
  const int inputs = std::min(info.inputs, da->sqld - 2);
  for (int i = 0; i < inputs; ++i) setIndicator(da->sqlvar[i].sqlind, kInputNotReturned);
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

}  // namespace detail
}  // namespace orvxml
