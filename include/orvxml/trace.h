// Tracing: switched on for a whole server instance by a control file that names the trace file.
// A trace line costs one test when the trace is off: its arguments are not evaluated.
#pragma once

#include "orvxml/context.h"
#include "orvxml/export.h"

namespace orvxml {

enum TraceRequest : int { kTraceOn = 900, kTraceInit = 901, kTraceOff = 902 };

// What qrkInit fails with: ORVINSTANCE is not set, or the control file cannot be read.
inline constexpr int kNoInstance = -102;
inline constexpr int kUnreadableControlFile = -1;

inline bool tracing(const QrkStruct* ctx) {
  return ctx != nullptr && ctx->traceOn != 0;
}

// Returns the opened trace stream or null; *rc the outcome; `out` the message (1024 bytes) or, for
// kTraceInit, the SQLSTATE (6 bytes).
FILE* qrkGetTrace(QrkStruct* ctx, int request, char* directory, char* instance, int* rc, char* out);
int qrkTraceInit(QrkStruct* ctx, char* sqlstate);
int qrkTraceExit(QrkStruct* ctx);
// One formatted piece of a trace line, flushed; nothing without a trace file.
[[gnu::format(printf, 2, 3)]] void qrkDebugPrintFunction(void* ctx, const char* format, ...);

}  // namespace orvxml

extern "C" {
// Turn the trace of an instance on (into `directory`) or off. `instance` null: ORVINSTANCE.
// `msg` holds 1024 bytes. 0, or -1 with *rc and `msg`.
ORVXML_API int qrkTraceOn(orvxml::QrkStruct* ctx, char* directory, char* instance, char* msg,
                          int* rc);
ORVXML_API int qrkTraceOff(orvxml::QrkStruct* ctx, char* instance, char* msg, int* rc);
}

// One trace line: the function's name and a tab pair, then the text, to which a newline is added.
// The format is a literal.
#define QRK_TRACE(ctx, format, ...)                                                   \
  do {                                                                                \
    if (::orvxml::tracing(ctx)) {                                                     \
      ::orvxml::qrkDebugPrintFunction((ctx), "%s:\t\t", __func__);                    \
      ::orvxml::qrkDebugPrintFunction((ctx), format "\n" __VA_OPT__(, ) __VA_ARGS__); \
    }                                                                                 \
  } while (false)
