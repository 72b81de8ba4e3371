#include "src/call/procedure_frame.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/text/converters.h"

namespace orvxml {

void storeInteger(const sqlvar& parameter, int32_t value) {
  if (!parameter.sqldata) return;
  if (baseType(parameter) == orv::kSqlInteger) {
    std::memcpy(parameter.sqldata, &value, sizeof value);
  } else if (baseType(parameter) == orv::kSqlSmallint) {
    const auto small = static_cast<int16_t>(std::clamp<int32_t>(value, INT16_MIN, INT16_MAX));
    std::memcpy(parameter.sqldata, &small, sizeof small);
  }
}

void takeInto(Call& call, OutBuffer& buffer, const char* data, int length) {
  if (length < 0) throw Failure(Msg::QRKG004E);
  if (hasTextAfterNul(data, static_cast<size_t>(length))) throw Failure(Msg::QRKD000E);
  qrkBufAcquire(&call.ctx, buffer.get(), static_cast<uint32_t>(length),
                static_cast<uint32_t>(call.ctx.fileThreshold), QRK_LOC_MEMORY, true);
  qrkFillBuffer(&call.ctx, buffer.get(), data);
}

namespace detail {

int plainOutcome(Call& call, Msg message) {
  std::snprintf(call.msg, kMessageSize, "%s\n", qrkMsgTable[static_cast<size_t>(message)]);
  std::snprintf(call.sqlState, kSqlStateSize, "%s", sqlStateOf(message));
  return codeOf(message);
}

namespace {

// qrkInit says why it failed by its code alone.
void tellFailedStart(Call& call, int code) {
  const Report report{&call.ctx, call.msg};
  if (code == kNoInstance) fail(report, Msg::QRKA076E);
  if (code == kUnreadableControlFile) fail(report, Msg::QRKC000E);
  if (code == codeOf(Msg::QRKG008E)) reportFailure(report, codePagesFailure(&call.ctx));
}

}  // namespace

int beginCall(Call& call) {
  const int code = qrkInit(&call.ctx, CALL_FROM_STP, nullptr, call.sqlState, nullptr);
  if (code != 0) {
    tellFailedStart(call, code);
    // No call goes on without its context, so that no code of a failed start may be a success.
    return code < 0 ? code : -code;
  }
  QRK_TRACE(&call.ctx, "Entered the stored procedure.");
  QRK_TRACE(&call.ctx, "codepage is %ld", static_cast<long>(call.ctx.codePages->dbCodePage));
  return 0;
}

namespace {

// The message of a failure that brought none: the one of its code when that stands without
// arguments, else an internal error.
void giveMessage(Call& call, int code) {
  const Report report{&call.ctx, call.msg};
  for (int i = 1; i < kMessageCount; ++i) {
    const auto row = static_cast<size_t>(i);
    if (qrkErrCodeTable[row] != code || std::strchr(qrkMsgTable[row], '%')) continue;
    fail(report, static_cast<Msg>(i));
    return;
  }
  reportFailure(report, Failure::internal());
}

}  // namespace

int settleOutcome(Call& call, const ProcedureInfo& info, int code) {
  // Its outputs are out: nothing that could fail may follow.
  if (code >= 0 && info.warns && *call.msg != '\0') return code;
  if (code >= 0) return report(Report{&call.ctx, call.msg}, info.success);
  if (*call.msg == '\0') giveMessage(call, code);
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
  storeInteger(da->sqlvar[da->sqld - 2], code);
}

}  // namespace detail
}  // namespace orvxml
