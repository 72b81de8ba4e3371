// What every function of the library shares. The server hands over pointers: arguments, results,
// their null indicators and a tail of the same make for every function. A function wraps them in
// Argument, Result and Tail and runs its body in the frame of its kind:
//
//   scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
//     if (anyNull(name)) return false;                       // null
//     *result.value = ...;
//     return true;                                           // a value
//   });
//
// Inside a body failures are exceptions: call.fail(message, ...) reports and leaves the body, and
// call.check(status) does so where a call of the library has failed. None leaves the frame. The
// call context with its code page converters is set up once for a use of the function in a
// statement and found again through the scratchpad; it goes with the final call or a failure.
#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "orv/sqludf.h"
#include "orvxml/context.h"
#include "orvxml/extraction.h"

namespace orvxml::functions {

template <class T>
struct Argument {
  const T* value;
  const int16_t* indicator;
  bool isNull() const { return *indicator < 0; }
};

template <class... T>
bool anyNull(const Argument<T>&... arguments) {
  return (arguments.isNull() || ...);
}

template <class T>
struct Result {
  T* value;
  int16_t* indicator;
};

// What stands behind the indicators.
struct Tail {
  char* sqlState;
  char* message;
  sqludf_scratchpad* scratchpad;
  const int32_t* callType;
  sqludf_dbinfo* database;
};

// The tail in the parameter list of an exported function, and as a value in its body.
#define ORVXMLFN_TAIL_PARAMETERS                                                            \
  char *sqlState, const char *, const char *, char *message, sqludf_scratchpad *scratchpad, \
      const int32_t *callType, sqludf_dbinfo *database
#define ORVXMLFN_TAIL                                 \
  orvxml::functions::Tail {                           \
    sqlState, message, scratchpad, callType, database \
  }

// What lives as long as one use of a function in a statement.
struct FunctionUse {
  FunctionUse() = default;
  ~FunctionUse();
  FunctionUse(const FunctionUse&) = delete;
  FunctionUse& operator=(const FunctionUse&) = delete;

  QrkStruct ctx{};
  bool isSetUp = false;
  std::string encoding;     // of the application, when the context was set up with one
  QrkExtractResult rows{};  // of an open table function
};

// The first line of `text` into a message field of the server.
void giveMessage(const char* text, char* field);

class FunctionCall {
 public:
  explicit FunctionCall(const Tail& tail);
  FunctionCall(const FunctionCall&) = delete;
  FunctionCall& operator=(const FunctionCall&) = delete;

  // The context of the use; set up anew when another application encoding is named. Null: the one
  // of the process.
  QrkStruct* begin(const char* encoding = nullptr);
  // The context as it is, for reporting before it has been set up.
  QrkStruct* ctx();
  FunctionUse& use();
  void closeRows() noexcept;
  void endUse() noexcept;

  int32_t type() const { return *tail_.callType; }
  // Success after what the library called a failure.
  void succeed();
  char* sqlState() { return tail_.sqlState; }
  char* message() { return message_; }
  Report report() { return {.ctx = ctx(), .msg = message_, .sqlState = tail_.sqlState}; }

  template <class... Args>
  [[noreturn]] void fail(Msg message, const Args&... args) {
    orvxml::fail(report(), message, args...);
    refuse();
  }
  // A value of the document that is none of the function's type.
  [[noreturn]] void failValue(std::string_view text);
  // A file that cannot be made or must not be used (QRKC000E), with its name behind the message.
  [[noreturn]] void failFile(std::string_view name);
  // Leaves the body when `status` tells of a failure, which has been reported.
  void check(int status) {
    if (status != 0) refuse();
  }

  // A scalar extraction that gave no value without failing: the one value is empty, or the path
  // selects nothing, which is a warning.
  bool isAbsence() const;

  // After the body: what an exception was about, and the message into its field.
  void reportException() noexcept;
  void finish() noexcept;

 private:
  [[noreturn]] void refuse();
  // Puts a text of the call behind the message, as far as it fits.
  void append(std::string_view before, std::string_view text, std::string_view after);

  Tail tail_;
  std::optional<QrkStruct> blank_;  // for reports before there is a context
  char message_[kMessageSize];
};

template <class Body>
void runBody(FunctionCall& call, Body body) noexcept {
  try {
    body();
  } catch (...) {
    call.reportException();
  }
  call.finish();
}

// `body(call)` says whether there is a value. The arguments of the final call are not touched.
template <class Body>
void scalarFunction(const Tail& tail, int16_t* resultIndicator, Body body) noexcept {
  FunctionCall call(tail);
  if (call.type() == orv::kUdfFinalCall) return call.endUse();
  *resultIndicator = -1;
  runBody(call, [&] { *resultIndicator = body(call) ? int16_t{0} : int16_t{-1}; });
}

// `open(call)` fills the rows of the use, `fetch(call, text)` hands one out as scalarFunction's
// body does.
template <class Open, class Fetch>
void tableFunction(const Tail& tail, int16_t* columnIndicator, Open open, Fetch fetch) noexcept {
  FunctionCall call(tail);
  runBody(call, [&] {
    switch (call.type()) {
      case orv::kUdfTableOpen:
        return open(call);
      case orv::kUdfTableFetch: {
        char**& cursor = call.use().rows.cursor;
        if (!cursor || !*cursor) {
          std::snprintf(call.sqlState(), kSqlStateSize, "02000");
          return;
        }
        const char* text = *cursor++;
        *columnIndicator = fetch(call, text) ? int16_t{0} : int16_t{-1};
        return;
      }
      case orv::kUdfTableClose:
        return call.closeRows();
      case orv::kUdfTableFinal:
        return call.endUse();
      default:
        return;
    }
  });
}

}  // namespace orvxml::functions
