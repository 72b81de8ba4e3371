#include "server/routines/function_call.h"

#include <algorithm>
#include <cstring>

#include "server/routines/active_call.h"
#include "server/routines/routine_library.h"
#include "server/values/sql_error.h"
#include "server/values/utf8.h"

namespace orv {
namespace {

constexpr size_t kStateField = 6;  // five characters and a terminator
constexpr size_t kAlignment = 16;
// Behind the last field: text that is copied without regard to its field's size ends here, not in
// the memory of others.
constexpr size_t kCushion = 4096;

constexpr size_t aligned(size_t offset) {
  return (offset + kAlignment - 1) / kAlignment * kAlignment;
}

// A name as the function reads it; as it is when the code page lacks one of its characters.
std::string nativeText(const CodePage& codePage, const std::string& text) {
  try {
    std::string storage;
    return std::string(codePage.fromUtf8(text, storage));
  } catch (const SqlError&) {
    return text;
  }
}

bool isStateCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
}

// What a function left, fit for a message: control characters and bytes that are no text, such as
// the first ones of a character that was cut, become question marks.
std::string printable(std::string_view text) {
  std::string result;
  for (size_t at = 0, next = 0; at < text.size(); at = next) {
    const char32_t c = decodeUtf8(text, at, next);
    const bool good = c != kInvalidUtf8 && c >= ' ' && c != 0x7F;
    result += good ? text.substr(at, next - at) : std::string_view(c == '\n' ? " " : "?");
  }
  while (!result.empty() && result.back() == ' ') result.pop_back();
  return result;
}

template <size_t kSize>
uint16_t putName(char (&field)[kSize], const std::string& name, const CodePage& codePage) {
  const std::string native = nativeText(codePage, name);
  const size_t length = codePage.cut(native, kSize);
  native.copy(field, length);
  return static_cast<uint16_t>(length);
}

}  // namespace

FunctionCall::FunctionCall(SessionState& session, const Function& function)
    : session_(session),
      function_(function),
      isTable_(function.kind == FunctionKind::Table),
      name_(function.schema + "." + function.name),
      specific_(function.specific),
      nativeName_(nativeText(session.codePage(), name_)),
      nativeSpecific_(nativeText(session.codePage(), specific_)),
      entry_(
          reinterpret_cast<void (*)()>(findRoutineEntry(function.library, function.entry, name_))),
      scratchpadSize_(static_cast<uint32_t>(function.scratchpad)) {
  makeFields(function);
  layOut();
  if (function.dbInfo) fillDatabase();
  addParameters(function);
  types_.assign(pointers_.size(), &ffi_type_pointer);
  for (void*& pointer : pointers_) addresses_.push_back(&pointer);
  const auto count = static_cast<unsigned>(pointers_.size());
  if (ffi_prep_cif(&interface_, FFI_DEFAULT_ABI, count, &ffi_type_void, types_.data()) != FFI_OK) {
    throw SqlError(-901, {name_});
  }
}

void FunctionCall::makeFields(const Function& function) {
  arguments_.reserve(function.parameters.size());
  for (const SqlType& type : function.parameters) arguments_.emplace_back(session_, type);
  const auto addResult = [&](const SqlType& type, const std::string& name) {
    results_.emplace_back(session_, type);
    resultNames_.push_back(name);
  };
  if (isTable_) {
    for (const OutputColumn& column : function.columns) addResult(column.type, column.name);
  } else {
    addResult(function.returned, "result");
  }
  values_.resize(results_.size());
}

// The scratchpad comes first, so that what is written beyond a later field leaves it whole: its
// bytes are aligned, its length stands before them.
void FunctionCall::layOut() {
  constexpr size_t kScratchpad = kAlignment - offsetof(sqludf_scratchpad, data);
  size_t end = scratchpadSize_ > 0 ? kAlignment + scratchpadSize_ + kFieldGuard : 0;
  const auto reserve = [&](size_t size) {
    const size_t offset = aligned(end);
    end = offset + size;
    return offset;
  };
  std::vector<size_t> offsets;
  offsets.reserve(arguments_.size() + results_.size());
  for (const ArgumentField& argument : arguments_) offsets.push_back(reserve(argument.size()));
  for (const ResultField& result : results_) offsets.push_back(reserve(result.size()));
  const size_t state = reserve(kStateField + kFieldGuard);
  const size_t message = reserve(kUdfMessageField + kFieldGuard);
  memory_.reset(new char[end + kCushion]);
  char* const base = memory_.get();
  auto offset = offsets.begin();
  for (ArgumentField& argument : arguments_) {
    if (argument.size() > 0) argument.place(base + *offset);
    ++offset;
  }
  for (ResultField& result : results_) {
    if (result.size() > 0) result.place(base + *offset);
    ++offset;
  }
  state_ = base + state;
  message_ = base + message;
  writeGuard(state_ + kStateField);
  writeGuard(message_ + kUdfMessageField);
  if (scratchpadSize_ == 0) return;
  scratchpad_ = reinterpret_cast<sqludf_scratchpad*>(base + kScratchpad);
  writeGuard(scratchpad_->data + scratchpadSize_);
  clearScratchpad();
}

void FunctionCall::addParameters(const Function& function) {
  for (ArgumentField& argument : arguments_) pointers_.push_back(argument.address());
  for (ResultField& result : results_) pointers_.push_back(result.address());
  for (ArgumentField& argument : arguments_) pointers_.push_back(argument.indicator());
  for (ResultField& result : results_) pointers_.push_back(result.indicator());
  pointers_.push_back(state_);
  pointers_.push_back(nativeName_.data());
  pointers_.push_back(nativeSpecific_.data());
  pointers_.push_back(message_);
  if (scratchpad_) pointers_.push_back(scratchpad_);
  if (isTable_ || function.finalCall) pointers_.push_back(&callType_);
  if (database_) pointers_.push_back(database_.get());
}

void FunctionCall::fillDatabase() {
  const CodePage& codePage = session_.codePage();
  database_ = std::make_unique<sqludf_dbinfo>();
  database_->dbnamelen = putName(database_->dbname, session_.databaseName(), codePage);
  database_->authidlen = putName(database_->authid, session_.authorizationId(), codePage);
  database_->codepage = codePage.number();
}

bool FunctionCall::isSmall() const {
  const auto hasField = [](const auto& field) { return field.size() > 0; };
  return std::all_of(arguments_.begin(), arguments_.end(), hasField) &&
         std::all_of(results_.begin(), results_.end(), hasField);
}

void FunctionCall::clearScratchpad() {
  if (!scratchpad_) return;
  scratchpad_->length = scratchpadSize_;
  std::memset(scratchpad_->data, 0, scratchpadSize_);
}

void FunctionCall::storeArguments(std::span<const ValueView> values) {
  if (values.size() != arguments_.size()) throw SqlError(-440, {name_});
  for (size_t i = 0; i < values.size(); ++i) {
    arguments_[i].store(values[i]);
    pointers_[i] = arguments_[i].address();  // a large object's own memory may have moved
  }
}

void FunctionCall::withdrawArguments() {
  for (ArgumentField& argument : arguments_) argument.withdraw();
}

bool FunctionCall::invoke(int32_t callType) {
  prepare(callType);
  run();
  checkMemory();
  return judge();
}

void FunctionCall::prepare(int32_t callType) {
  callType_ = callType;
  std::memcpy(state_, "00000", kStateField);
  message_[0] = '\0';
  for (ResultField& result : results_) result.prepare();
}

void FunctionCall::run() {
  const ActiveCall active(session_, "FUNCTION");
  try {
    ffi_call(&interface_, entry_, nullptr, addresses_.data());
  } catch (...) {
    usable_ = false;
    throw SqlError(-430, {name_, specific_});
  }
}

void FunctionCall::refuse(std::string_view parameter) const {
  throw SqlError(-450, {name_, specific_, std::string(parameter)});
}

void FunctionCall::checkMemory() const {
  for (size_t i = 0; i < results_.size(); ++i) {
    if (!results_[i].isWhole()) refuse(resultNames_[i]);
  }
  if (scratchpad_ && !isGuardWhole(scratchpad_->data + scratchpadSize_)) refuse("scratchpad");
  if (!isGuardWhole(state_ + kStateField) || state_[kStateField - 1] != '\0') refuse("SQLSTATE");
  if (!isGuardWhole(message_ + kUdfMessageField) ||
      strnlen(message_, kUdfMessageField) == kUdfMessageField) {
    refuse("message");
  }
}

bool FunctionCall::judge() const {
  const std::string_view state(state_);
  if (state == "00000") return true;
  if (state == "02000" && isTable_ && callType_ == kUdfTableFetch) return false;
  const bool wellFormed =
      state.size() == kStateField - 1 && std::all_of(state.begin(), state.end(), isStateCharacter);
  if (wellFormed && state.starts_with("01H")) {
    if (!session_.warning()) session_.warn({462, state, {name_, specific_, diagnosticText()}});
    return true;
  }
  if (wellFormed && state.starts_with("38")) {
    throw SqlError(-443, state, {name_, specific_, diagnosticText()});
  }
  throw SqlError(-463, {name_, specific_, printable(state), diagnosticText()});
}

std::string FunctionCall::diagnosticText() const {
  const std::string_view text(message_);
  std::string storage;
  try {
    return printable(session_.codePage().toUtf8(text, storage));
  } catch (const SqlError&) {
    return printable(text);
  }
}

void FunctionCall::loadResults() {
  for (size_t i = 0; i < results_.size(); ++i) {
    const std::optional<ValueView> value = results_[i].load();
    if (!value) refuse(resultNames_[i]);
    values_[i] = *value;
  }
}

}  // namespace orv
