#include "functions/function_frame.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace orvxml::functions {
namespace {

constexpr const char* kModule = "orvxmlfn";
constexpr std::string_view kFailureClass = "38";
constexpr std::string_view kWarningClass = "01H";
constexpr const char* kInternalState = "38X18";
constexpr const char* kNoMemoryState = "38X10";
constexpr const char* kNoEncodingState = "38X38";
constexpr const char* kSuccessState = "00000";

// Thrown when the failure has been reported.
struct FunctionFailure {};

// The use is known by its address at the start of the scratchpad, which is zero at first.
FunctionUse* storedUse(const sqludf_scratchpad* pad) {
  void* use = nullptr;
  if (pad->length >= sizeof use) std::memcpy(&use, pad->data, sizeof use);
  return static_cast<FunctionUse*>(use);
}

void storeUse(sqludf_scratchpad* pad, void* use) {
  std::memcpy(pad->data, &use, sizeof use);
}

bool isKnownEncoding(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  return ucnv_countAliases(name, &status) > 0;
}

// A text of a document inside a message: every byte is a character, whatever the code page.
std::string shownText(std::string_view text, size_t room) {
  std::string shown(text.substr(0, room));
  std::replace_if(
      shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return shown;
}

}  // namespace

FunctionUse::~FunctionUse() {
  qrkFreeArray(&ctx, &rows);
  char unused[kSqlStateSize];
  if (isSetUp) qrkExit(&ctx, unused);
}

void giveMessage(const char* text, char* field) {
  const size_t length = std::min<size_t>(std::strcspn(text, "\n"), orv::kUdfMessageField - 1);
  std::memcpy(field, text, length);
  field[length] = 0;
}

FunctionCall::FunctionCall(const Tail& tail) : tail_(tail) {
  message_[0] = 0;
}

FunctionUse& FunctionCall::use() {
  FunctionUse* use = storedUse(tail_.scratchpad);
  if (!use) {
    if (tail_.scratchpad->length < sizeof(void*)) fail(Msg::QRKG002E);
    use = new FunctionUse;
    storeUse(tail_.scratchpad, use);
  }
  return *use;
}

void FunctionCall::closeRows() noexcept {
  if (FunctionUse* use = storedUse(tail_.scratchpad)) qrkFreeArray(&use->ctx, &use->rows);
}

void FunctionCall::endUse() noexcept {
  FunctionUse* use = storedUse(tail_.scratchpad);
  if (!use) return;
  storeUse(tail_.scratchpad, nullptr);
  delete use;
}

QrkStruct* FunctionCall::ctx() {
  FunctionUse* use = storedUse(tail_.scratchpad);
  if (use) return &use->ctx;
  if (!blank_) blank_.emplace();
  return &*blank_;
}

QrkStruct* FunctionCall::begin(const char* encoding) {
  FunctionUse& state = use();
  std::string wanted = encoding ? encoding : "";
  if (state.isSetUp && state.encoding == wanted) return &state.ctx;
  char unused[kSqlStateSize];
  if (state.isSetUp) qrkExit(&state.ctx, unused);
  state.isSetUp = false;
  state.ctx = {};
  if (encoding && !isKnownEncoding(encoding)) fail(Msg::QRKG008E, shownText(wanted, wanted.size()));
  if (qrkInit(&state.ctx, CALL_FROM_UDF, tail_.database, tail_.sqlState,
              encoding ? wanted.data() : nullptr) != 0) {
    state.ctx = {};
    if (std::strcmp(tail_.sqlState, kNoMemoryState) == 0) fail(Msg::QRKG002E);
    if (std::strcmp(tail_.sqlState, kNoEncodingState) == 0) {
      fail(Msg::QRKG008E, encoding ? encoding : ucnv_getDefaultName());
    }
    refuse();
  }
  state.isSetUp = true;
  state.encoding = std::move(wanted);
  succeed();
  return &state.ctx;
}

void FunctionCall::succeed() {
  std::memcpy(tail_.sqlState, kSuccessState, kSqlStateSize);
}

void FunctionCall::failValue(std::string_view text) {
  orvxml::fail(report(), Msg::QRKQ061E);
  append(" '", text, "'");
  refuse();
}

void FunctionCall::failFile(std::string_view name) {
  orvxml::fail(report(), Msg::QRKC000E);
  append(" ", name, "");
  refuse();
}

void FunctionCall::append(std::string_view before, std::string_view text, std::string_view after) {
  std::string message(message_, std::strcspn(message_, "\n"));
  message += before;
  message += shownText(
      text, kUdfMessageSize - std::min<size_t>(kUdfMessageSize, message.size() + after.size()));
  message += after;
  std::snprintf(message_, sizeof message_, "%s", message.c_str());
}

bool FunctionCall::isAbsence() const {
  const std::string_view state(tail_.sqlState);
  return state == kSuccessState || state.starts_with(kWarningClass);
}

// A failure that came without an SQLSTATE of a function is one all the same.
void FunctionCall::refuse() {
  if (!std::string_view(tail_.sqlState).starts_with(kFailureClass)) {
    if (*message_ == 0) failInternal(report(), kModule, __LINE__);
    std::memcpy(tail_.sqlState, kInternalState, kSqlStateSize);
  }
  throw FunctionFailure();
}

void FunctionCall::reportException() noexcept {
  try {
    try {
      throw;
    } catch (const FunctionFailure&) {
    } catch (const std::bad_alloc&) {
      orvxml::fail(report(), Msg::QRKG002E);
    } catch (...) {
      failInternal(report(), kModule, __LINE__);
    }
  } catch (...) {
    // Not even the memory for a message is there.
    std::memcpy(tail_.sqlState, kNoMemoryState, kSqlStateSize);
    *message_ = 0;
  }
  endUse();
}

void FunctionCall::finish() noexcept {
  if (std::strcmp(tail_.sqlState, kSuccessState) != 0) giveMessage(message_, tail_.message);
}

}  // namespace orvxml::functions
