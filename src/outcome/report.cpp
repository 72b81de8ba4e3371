// Outcomes: the code, the SQLSTATE and the text of one message, reported together, and the way
// back from an SQLSTATE to a code.
#include <array>
#include <cstring>
#include <limits>

#include "orvxml/context.h"
#include "orvxml/trace.h"
#include "src/outcome/failure.h"

namespace orvxml {
namespace {

constexpr size_t kMaxArguments = 6;
constexpr char kTokenSeparator = '\xFF';
constexpr int32_t kUnknownState = std::numeric_limits<int32_t>::min();

int reportCode(const Report& report, Msg message) {
  const int code = codeOf(message);
  if (report.errCode) *report.errCode = code;
  if (report.sqlState) {
    std::memcpy(report.sqlState, sqlStateOf(message), kSqlStateSize - 1);
    report.sqlState[kSqlStateSize - 1] = 0;
  }
  return code;
}

}  // namespace

int detail::qrkFailWith(QrkStruct* ctx, char* msg, int* errCode, char* sqlState, int msgIndex,
                        const char* const* arguments, size_t count) {
  if (msg) {
    std::array<const char*, kMaxArguments> a;
    a.fill("");
    for (size_t i = 0; i < count && i < kMaxArguments; ++i) a[i] = arguments[i];
    qrkSprint(ctx, msg, msgIndex, a[0], a[1], a[2], a[3], a[4], a[5]);
  }
  return reportCode({ctx, msg, errCode, sqlState}, static_cast<Msg>(msgIndex));
}

int detail::qrkFailInternal(QrkStruct* ctx, char* msg, int* errCode, char* sqlState,
                            const char* module, int line) {
  return fail({ctx, msg, errCode, sqlState}, Msg::QRKG001E, buildStamp(), module, line);
}

void qrkStateToCode(QrkStruct* ctx, int* code, const char* sqlstate) {
  if (!sqlstate) sqlstate = "(null)";
  if (std::strcmp(sqlstate, kParserState) == 0) {
    *code = kParserCode;
    return;
  }
  for (size_t i = 0; i < qrkSqlStateTable.size(); ++i) {
    if (std::strcmp(sqlstate, qrkSqlStateTable[i]) == 0) {
      *code = qrkErrCodeTable[i];
      return;
    }
  }
  *code = kUnknownState;
  QRK_TRACE(ctx, "sqlState '%s' not found in qrkSqlStateTable.\n%ld returned.", sqlstate,
            static_cast<long>(kUnknownState));
}

int get_sqlerrmc_token(QrkStruct* ctx, int n, sqlca* ca, char* out) {
  const std::string_view field(ca->sqlerrmc, sizeof ca->sqlerrmc);
  size_t start = 0;
  int current = 1;
  while (current < n) {
    const size_t separator = field.find(kTokenSeparator, start);
    if (separator == field.npos) break;
    start = separator + 1;
    ++current;
  }
  if (n < 1 || current < n) {
    QRK_TRACE(ctx, "cant find token %d, cur_tok_num %d, sqlerrmc start %x, end %x", n, current,
              static_cast<unsigned>(reinterpret_cast<uintptr_t>(field.data())),
              static_cast<unsigned>(reinterpret_cast<uintptr_t>(field.data() + field.size())));
    return -1;
  }
  const std::string_view token = field.substr(start, field.find(kTokenSeparator, start) - start);
  std::memcpy(out, token.data(), token.size());
  out[token.size()] = 0;
  return 0;
}

}  // namespace orvxml
