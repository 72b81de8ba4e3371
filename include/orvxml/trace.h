// Tracing: switched on for a whole server instance by a control file that names the trace file.
// A trace line costs one test when the trace is off: its arguments are not evaluated.
#pragma once

#include "orvxml/context.h"

namespace orvxml {

enum TraceRequest : int { kTraceOn = 900, kTraceInit = 901, kTraceOff = 902 };

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
int qrkTraceOn(orvxml::QrkStruct* ctx, char* directory, char* instance, char* msg, int* rc);
int qrkTraceOff(orvxml::QrkStruct* ctx, char* instance, char* msg, int* rc);
}

// One trace line: the function's name and a tab pair, then the text (a newline is added).
#define QRK_TRACE(ctx, ...)                                                              \
  do {                                                                                   \
    if ((ctx) != nullptr && (ctx)->traceOn) {                                            \
      ::orvxml::qrkDebugPrintFunction((ctx), "%s:\t\t", __func__);                       \
      ::orvxml::qrkDebugPrintFunction((ctx), __VA_ARGS__);                               \
      ::orvxml::qrkDebugPrintFunction((ctx), "\n");                                      \
    }                                                                                    \
  } while (false)
