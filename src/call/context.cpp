// The life of a call's context: set up by qrkInit, torn down by qrkExit.
#include "orvxml/context.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/outcome/failure.h"
#include "src/parser/parser.h"

namespace orvxml {
namespace {

constexpr const char* kThresholdVariable = "ORVQRK_MIN_TMPFILE_SIZE";

// A decimal byte count, with blanks around it; a number out of range is the nearest in range, any
// other text is 0.
int32_t parseThreshold(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
  if (text.starts_with('+')) text.remove_prefix(1);
  int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size()) return 0;
  if (error == std::errc::result_out_of_range) {
    return text.starts_with('-') ? 0 : std::numeric_limits<int32_t>::max();
  }
  return error == std::errc() ? value : 0;
}

// Ends the set-up with the failure `code`, which stays the outcome whatever the exit says.
int abandon(QrkStruct* ctx, char* sqlstate, int code) {
  qrkExit(ctx, sqlstate);
  return code;
}

// Whatever keeps the parser from working has one SQLSTATE and its code.
int checkParser(QrkStruct* ctx, char* sqlstate) {
  int code = 0;
  try {
    qrkInitializeParser(ctx);
  } catch (const Failure&) {
    std::strcpy(sqlstate, kParserState);
    qrkStateToCode(ctx, &code, sqlstate);
  }
  QRK_TRACE(ctx, "qrkInitializeParser rc = %d, memthresh %d", code == 0 ? 0 : -1,
            ctx->fileThreshold);
  return code;
}

int setUpConversion(QrkStruct* ctx, sqludf_dbinfo* dbinfo, char* sqlstate, char* appEncoding) {
  if (initICU(ctx, ctx->callFrom, dbinfo, appEncoding) == 0) return 0;
  return fail(Report{.ctx = ctx, .sqlState = sqlstate}, Msg::QRKG008E);
}

}  // namespace

int qrkGetEnv(QrkStruct* ctx) {
  if (const char* value = std::getenv(kThresholdVariable)) {
    ctx->fileThreshold = parseThreshold(value);
  }
  if (ctx->fileThreshold < kMinFileThreshold) ctx->fileThreshold = kMinFileThreshold;
  return qrkGetTmpDir(ctx);
}

namespace {

int setUp(QrkStruct* ctx, CALL_FROM callFrom, sqludf_dbinfo* dbinfo, char* sqlstate,
          char* appEncoding) {
  const Report outcome{.ctx = ctx, .sqlState = sqlstate};
  if (qrkGetEnv(ctx) != 0) return abandon(ctx, sqlstate, fail(outcome, Msg::QRKG002E));
  if (ctx->codePages) return 0;

  ctx->callFrom = callFrom;
  const int traced = qrkTraceInit(ctx, sqlstate);
  if (ctx->tempDir) {
    QRK_TRACE(ctx, "tmp dir %s, file thresh %d", ctx->tempDir, ctx->fileThreshold);
  } else {
    QRK_TRACE(ctx, "tmp dir NULL, file thresh %d", ctx->fileThreshold);
  }

  ctx->codePages = static_cast<QrkCodePages*>(std::calloc(1, sizeof(QrkCodePages)));
  if (!ctx->codePages) return abandon(ctx, sqlstate, fail(outcome, Msg::QRKG002E));
  if (traced != 0) return abandon(ctx, sqlstate, traced);

  int code = setUpConversion(ctx, dbinfo, sqlstate, appEncoding);
  if (code == 0) code = checkParser(ctx, sqlstate);
  return code == 0 ? 0 : abandon(ctx, sqlstate, code);
}

}  // namespace

int qrkInit(QrkStruct* ctx, CALL_FROM callFrom, sqludf_dbinfo* dbinfo, char* sqlstate,
            char* appEncoding) {
  char ownState[kSqlStateSize] = "";
  if (!sqlstate) sqlstate = ownState;
  const Report outcome{.ctx = ctx, .sqlState = sqlstate};
  if (!ctx) return fail(outcome, Msg::QRKG002E);
  try {
    return setUp(ctx, callFrom, dbinfo, sqlstate, appEncoding);
  } catch (const std::bad_alloc&) {
    return abandon(ctx, sqlstate, fail(outcome, Msg::QRKG002E));
  }
}

int qrkExit(QrkStruct* ctx, char* sqlstate) {
  if (!ctx) return fail(Report{.sqlState = sqlstate}, Msg::QRKG002E);
  qrkTerminateParser(ctx);
  if (QrkCodePages* pages = ctx->codePages) {
    if (pages->dbConverter != pages->appConverter) ucnv_close(pages->dbConverter);
    ucnv_close(pages->appConverter);
  }
  std::free(ctx->codePages);
  std::free(ctx->savedTmpdirEnv);
  std::free(ctx->tempDir);
  ctx->codePages = nullptr;
  ctx->savedTmpdirEnv = nullptr;
  ctx->tempDir = nullptr;
  return qrkTraceExit(ctx);
}

}  // namespace orvxml
