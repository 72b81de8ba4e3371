// The call context and the one way in which the library reports an outcome.
//
// Every call from the server owns one QrkStruct: zero-filled, set up by qrkInit, passed first to
// nearly every function, torn down by qrkExit. An outcome is a message (Msg): its code, SQLSTATE
// and text always come from the same row of the message table. Inside the library a failure is one
// expression, `return fail(report, Msg::QRKQ012E, name);`.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <type_traits>

#include <unicode/ucnv.h>

#include "orv/sqlca.h"
#include "orv/sqlcli.h"
#include "orv/sqlda.h"
#include "orv/sqludf.h"
#include "orvxml/export.h"
#include "orvxml/messages.h"

namespace orvxml {

inline constexpr int kMessageSize = 1024;   // bytes of a message buffer, terminator included
inline constexpr int kUdfMessageSize = 70;  // bytes of a message for a function, newline included
inline constexpr int kSqlStateSize = 6;     // bytes of an SQLSTATE buffer
inline constexpr int32_t kMinFileThreshold = 131072;

enum CALL_FROM : int32_t { CALL_FROM_UDF = 0, CALL_FROM_STP = 1 };

struct QrkCodePages {
  int32_t appCodePage;
  int32_t dbCodePage;
  UConverter* appConverter;
  UConverter* dbConverter;  // may be the same converter as appConverter
};

// One per call. The entry point declares it zero-filled as a local.
struct QrkStruct {
  int32_t traceOn;  // 1 while a trace file is open
  char traceFileName[516];
  FILE* traceFile;
  CALL_FROM callFrom;
  QrkCodePages* codePages;  // owned; null before initialisation
  char* savedTmpdirEnv;     // owned heap string "TMPDIR=..." or null
  char* tempDir;            // owned heap string or null
  int32_t fileThreshold;    // bytes; never below kMinFileThreshold
};

// Sets up `ctx`: environment settings, trace, code pages and converters, parser check. `dbinfo` and
// `appEncoding` are null for stored procedures. `sqlstate` holds 6 bytes. Returns 0 or the code of
// the failure, after which the context is torn down already. Code -58 for a null context.
extern "C" ORVXML_API int qrkInit(QrkStruct* ctx, CALL_FROM callFrom, sqludf_dbinfo* dbinfo,
                                  char* sqlstate, char* appEncoding);
// Releases all that the context owns. 0, or -58 ("38X10") for a null context.
extern "C" ORVXML_API int qrkExit(QrkStruct* ctx, char* sqlstate);
// Reads the environment settings (threshold, temporary directory). 0, or -58 out of memory.
int qrkGetEnv(QrkStruct* ctx);

// ---- Where a failure is reported: any member but `ctx` and `msg` may be left null.
struct Report {
  QrkStruct* ctx = nullptr;
  char* msg = nullptr;       // kMessageSize bytes
  int* errCode = nullptr;    // receives the message's code
  char* sqlState = nullptr;  // kSqlStateSize bytes; receives the message's SQLSTATE
};

namespace detail {
// For the function library, whose calls of fail and failInternal end here: the members of the
// Report, the message's index and its arguments.
extern "C" ORVXML_API int qrkFailWith(QrkStruct* ctx, char* msg, int* errCode, char* sqlState,
                                      int msgIndex, const char* const* arguments, size_t count);
extern "C" ORVXML_API int qrkFailInternal(QrkStruct* ctx, char* msg, int* errCode, char* sqlState,
                                          const char* module, int line);
// Only what is no terminated text needs a copy, which may find no memory.
inline const char* argumentText(const char* text) {
  return text ? text : "";
}
inline const char* argumentText(const std::string& text) {
  return text.c_str();
}
inline std::string argumentText(std::string_view text) {
  return std::string(text);
}
template <class T>
requires std::is_arithmetic_v<T> std::string argumentText(T number) {
  return std::to_string(number);
}
}  // namespace detail

// Writes the text of `message` with its arguments (strings or numbers) into report.msg, its code
// into report.errCode and its SQLSTATE into report.sqlState. Returns the code.
template <class... Args>
int fail(const Report& report, Msg message, const Args&... args) {
  const auto failWith = [&](const auto&... texts) {
    const char* const pointers[] = {detail::argumentText(texts)..., nullptr};
    return detail::qrkFailWith(report.ctx, report.msg, report.errCode, report.sqlState,
                               static_cast<int>(message), pointers, sizeof...(texts));
  };
  return failWith(detail::argumentText(args)...);
}
// The same in a function whose status for every failure is -1.
template <class... Args>
int failed(const Report& report, Msg message, const Args&... args) {
  fail(report, message, args...);
  return -1;
}
// The same as `fail` for an outcome that is not a failure (warnings, information, success).
template <class... Args>
int report(const Report& where, Msg message, const Args&... args) {
  return fail(where, message, args...);
}
// An internal error (QRKG001E): names the build, the module and the line. Returns -57.
inline int failInternal(const Report& report, const char* module, int line) {
  return detail::qrkFailInternal(report.ctx, report.msg, report.errCode, report.sqlState, module,
                                 line);
}
// "Nov 24 2026 20:16:07": the stamp that internal errors name.
const char* buildStamp();

// ---- Messages, in the form that the interface gives. All arguments are strings.
// Format message `msgIndex` into `out`; return the bytes written without terminator. `used`: bytes
// of the 1024-byte buffer that stand in front of `out`.
extern "C" ORVXML_API int qrkSprint(QrkStruct* ctx, char* out, int msgIndex, ...);
int qrkVsprint(QrkStruct* ctx, char* out, int msgIndex, int used, va_list args);
int qrkDbSprint(QrkStruct* ctx, char* out, sqlca* ca, int msgIndex, ...);
int qrkDbVsprint(QrkStruct* ctx, char* out, sqlca* ca, int msgIndex, va_list args);
// The same to standard error, whole also for a context that nobody has set up as a procedure's.
int qrkPrint(QrkStruct* ctx, int msgIndex, ...);
int qrkVprint(QrkStruct* ctx, int msgIndex, va_list args);
int qrkDbPrint(QrkStruct* ctx, sqlca* ca, int msgIndex, ...);
int qrkDbVprint(QrkStruct* ctx, sqlca* ca, int msgIndex, va_list args);
// The code of the first message with this SQLSTATE; the smallest 32-bit integer for an unknown one.
void qrkStateToCode(QrkStruct* ctx, int* code, const char* sqlstate);
// Token `n` (from 1) of sqlerrmc into `out` (71 bytes); 0, or -1 when there is none.
int get_sqlerrmc_token(QrkStruct* ctx, int n, sqlca* ca, char* out);
// Reports a failed CLI call as QRKG006E; `what` names the step, `file` the module. Returns -57.
int qrkCLIError(QrkStruct* ctx, short cliRc, short handleType, SQLHANDLE* handle, const char* what,
                const char* file, int line, char* msg);

// Message catalog: thin covers of catopen, catgets, catclose.
void* QRK_catopen(const char* name, int flag);
const char* QRK_catgets(void* catalog, int set, int number, const char* fallback);
int QRK_catclose(void* catalog);

// ---- Stored-procedure parameters. 0, or -1 with code and message stored. Values are not copied.
int qrkGetStProcParam(QrkStruct* ctx, sqlda* da, short index, char** data, int* length, int* rc,
                      char* msg);
int qrkGetStProcParameter(QrkStruct* ctx, sqlvar* var, char** data, int* length, int* rc,
                          char* msg);
int qrkCheckIntParameter(QrkStruct* ctx, sqlvar* var, int* rc, char* msg);
int qrkCheckOutputIntParameter(QrkStruct* ctx, sqlvar* var, int* rc, char* msg);
// A heap copy with terminator, which the caller frees with free(); null with QRKG002E.
char* qrkDupParameter(QrkStruct* ctx, const char* data, int length, int* rc, char* msg);
// Writes `msg` into an output message parameter by its type and declared length (the 16-bit length
// and the text, or a terminated text), cut on a character boundary and traced where it is longer.
void qrkSetOutputMessage(QrkStruct* ctx, sqlvar* var, const char* msg);

}  // namespace orvxml
