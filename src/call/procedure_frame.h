// The frame that every exported stored procedure runs in: a context set up and torn down around one
// operation, its outcome turned into a code and a message, and the outcome delivered to the caller.
//
// Two conventions share it. `sqldaProcedure` serves procedures that receive a descriptor area: the
// inputs come first, the last two entries are the return code and the message. `listProcedure`
// serves the "_STP" forms, which receive every parameter with its null indicator. The operation is
// `int operation(Call&)`: it returns a code and has written the message of a negative one, and of a
// warning where the procedure passes them on. Outputs other than code and message are its own
// affair. No exception leaves the frame.
#pragma once

#include <initializer_list>
#include <new>

#include <xercesc/util/OutOfMemoryException.hpp>

#include "orvxml/buffer.h"
#include "orvxml/context.h"
#include "orvxml/utilities.h"
#include "src/outcome/edge.h"

namespace orvxml {

// One running procedure.
struct Call {
  QrkStruct ctx{};
  char* msg = nullptr;  // kMessageSize bytes
  char sqlState[kSqlStateSize] = "00000";
  Report report() { return {&ctx, msg, nullptr, sqlState}; }
};

template <class... Args>
int fail(Call& call, Msg message, const Args&... args) {
  return fail(call.report(), message, args...);
}

struct ProcedureInfo {
  Msg success;      // the message of every code that is no failure
  int inputs;       // parameters in front of the outputs
  int outputs = 2;  // with the code and the message
  // The operation's messages of success and its warnings, with their positive codes, are passed on;
  // otherwise all of them count as success.
  bool warns = false;
};

// What an "_STP" form gives back; any pointer may be null.
struct Outputs {
  int* returnCode;
  char* returnMsg;  // kMessageSize bytes
  short* returnCodeInd;
  short* returnMsgInd;
};

inline constexpr short kInputNotReturned = -128;

// True when the parameter is absent: a null value or a negative indicator.
inline bool isNull(const void* value, const short* indicator) {
  return value == nullptr || (indicator != nullptr && *indicator < 0);
}
inline bool isNull(const sqlvar& parameter) {
  return isNull(parameter.sqldata, parameter.sqlind);
}
// The odd code of a type is its nullable form.
inline int16_t baseType(const sqlvar& parameter) {
  return static_cast<int16_t>(parameter.sqltype & ~1);
}
// Stores a number in an INTEGER or SMALLINT parameter, as the nearest that its type holds; nothing
// in a parameter of another type.
void storeInteger(const sqlvar& parameter, int32_t value);
inline void setIndicator(short* indicator, short value) {
  if (indicator) *indicator = value;
}
// The bytes of parameter `index`, which stay the caller's. QRKA019E for none, QRKA074E for a type
// that is no text, QRKG004E for a negative length.
struct DescriptorText {
  char* data = nullptr;
  int length = 0;
};
DescriptorText takeBytes(QrkStruct* ctx, sqlda* da, int index);
// QRKA075E unless the entry is an INTEGER or SMALLINT; QRKA019E for one without a value.
void requireInteger(QrkStruct* ctx, const sqlvar* var);
void requireIntegerOutput(QrkStruct* ctx, const sqlvar* var);
// Takes the bytes of a parameter that is a text into `buffer`: in memory, or in a temporary file
// above the threshold. Bytes behind a NUL would be lost and are refused with QRKD000E, a negative
// length or no bytes with QRKG004E.
void takeInto(Call& call, OutBuffer& buffer, const char* data, int length);

// Inputs do not travel back to the caller.
inline void inputsNotReturned(std::initializer_list<short*> indicators) {
  for (short* indicator : indicators) setIndicator(indicator, kInputNotReturned);
}

namespace detail {
// Sets the context up and traces the start. 0, or the code of the failure.
int beginCall(Call& call);
// Completes the message: the success text, or a text for a failure that brought none. Returns the
// code to report: never positive unless the procedure warns.
int settleOutcome(Call& call, const ProcedureInfo& info, int code);
// Traces the end and tears the context down, whose own result replaces a code of 0.
int endCall(Call& call, int code);
// Whether `da` holds all inputs and outputs.
bool hasParameters(const sqlda* da, const ProcedureInfo& info);
// Writes the return code into its entry and sets the indicators of the inputs, of the code and of
// the message.
void setDescriptorOutputs(sqlda* da, const ProcedureInfo& info, int code);

// Writes the text of a message without arguments, as the table has it, and returns its code. Needs
// no memory.
int plainOutcome(Call& call, Msg message);

// Runs `step`; an exception becomes the message and the code of a failure.
template <class Step>
int guarded(Call& call, Step&& step) {
  try {
    try {
      return step();
    } catch (const Failure& failure) {
      return reportFailure(call.report(), failure);
    } catch (const std::bad_alloc&) {
      return plainOutcome(call, Msg::QRKG002E);
    } catch (const xercesc::OutOfMemoryException&) {
      return plainOutcome(call, Msg::QRKG002E);
    } catch (...) {
      return reportFailure(call.report(), Failure::internal());
    }
  } catch (...) {
    return plainOutcome(call, Msg::QRKG002E);
  }
}
}  // namespace detail

// Runs `operation` in a context of its own and `deliver(call)` while the context still exists.
// `msg` holds kMessageSize bytes and always receives a terminated text. Returns the code.
template <class Operation, class Deliver>
int procedure(const ProcedureInfo& info, char* msg, Operation&& operation, Deliver&& deliver) {
  Call call;
  call.msg = msg;
  *msg = '\0';
  int code = detail::guarded(call, [&] {
    const int begun = detail::beginCall(call);
    return begun == 0 ? operation(call) : begun;
  });
  code = detail::guarded(call, [&] { return detail::settleOutcome(call, info, code); });
  deliver(call);
  return detail::endCall(call, code);
}

// Returns 1, as the server expects of a procedure of this convention.
template <class Operation>
int sqldaProcedure(const ProcedureInfo& info, sqlda* da, Operation&& operation) {
  // Without a place for the outcome there is nobody to report to.
  if (da == nullptr || da->sqld < 2) return 1;
  char msg[kMessageSize];
  const int code = procedure(
      info, msg,
      [&](Call& call) {
        return detail::hasParameters(da, info) ? operation(call) : fail(call, Msg::QRKG004E);
      },
      [&](Call& call) { qrkSetOutputMessage(&call.ctx, &da->sqlvar[da->sqld - 1], msg); });
  detail::setDescriptorOutputs(da, info, code);
  return 1;
}

// Returns the code. The message is written straight into the caller's buffer.
template <class Operation>
int listProcedure(const ProcedureInfo& info, const Outputs& outputs, Operation&& operation) {
  char ownMsg[kMessageSize];
  char* msg = outputs.returnMsg ? outputs.returnMsg : ownMsg;
  if (outputs.returnCode) *outputs.returnCode = 0;
  setIndicator(outputs.returnCodeInd, 0);
  setIndicator(outputs.returnMsgInd, 0);
  const int code = procedure(info, msg, operation, [](Call&) {});
  if (outputs.returnCode) *outputs.returnCode = code;
  return code;
}

}  // namespace orvxml
