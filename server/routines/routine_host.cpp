// When a function is called: the order of first, normal or fetch, and final calls.
#include "server/routines/routine_host.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "server/routines/function_call.h"
#include "server/session/session_outcome.h"

namespace orv {
namespace {

bool anyNull(std::span<const ValueView> values) {
  return std::any_of(values.begin(), values.end(),
                     [](const ValueView& value) { return value.kind == ValueView::Kind::Null; });
}

// The arguments of one call, which end with it.
class GivenArguments {
 public:
  explicit GivenArguments(FunctionCall& call) : call_(call) {}
  ~GivenArguments() { call_.withdrawArguments(); }
  GivenArguments(const GivenArguments&) = delete;
  GivenArguments& operator=(const GivenArguments&) = delete;

  void store(std::span<const ValueView> values) { call_.storeArguments(values); }

 private:
  FunctionCall& call_;
};

// The call of one use, which goes back to the idle ones at its end.
class BorrowedCall {
 public:
  BorrowedCall(IdleCalls& idle, const Function& function)
      : idle_(idle), call_(idle.take(function)) {}
  ~BorrowedCall() {
    if (!failed_) idle_.keep(std::move(call_));
  }
  BorrowedCall(const BorrowedCall&) = delete;
  BorrowedCall& operator=(const BorrowedCall&) = delete;

  FunctionCall* operator->() { return call_.get(); }
  FunctionCall& operator*() { return *call_; }

  bool invoke(int32_t callType) {
    failed_ = true;
    const bool given = call_->invoke(callType);
    failed_ = false;
    return given;
  }
  // The same for a call whose failure nobody is left to hear of.
  void invokeQuietly(int32_t callType) {
    if (!call_->isUsable()) return;
    const bool hadFailed = failed_;
    guarded([&] { invoke(callType); }, [](const SqlError&) {});
    failed_ |= hadFailed;
  }

 private:
  IdleCalls& idle_;
  std::unique_ptr<FunctionCall> call_;
  bool failed_ = false;  // a call of the function: then nothing is made of its memory
};

class ScalarUse final : public ScalarFunctionUse {
 public:
  ScalarUse(IdleCalls& idle, const Function& function)
      : call_(idle, function), finalCall_(function.finalCall), nullCall_(function.nullCall) {}
  ~ScalarUse() override {
    if (finalCall_ && isBegun_) call_.invokeQuietly(kUdfFinalCall);
  }

  ValueView call(std::span<const ValueView> values) override {
    if (!nullCall_ && anyNull(values)) return ValueView::null();
    GivenArguments arguments(*call_);
    arguments.store(values);
    const int32_t callType = finalCall_ && !isBegun_ ? kUdfFirstCall : kUdfNormalCall;
    isBegun_ = true;
    call_.invoke(callType);
    call_->loadResults();
    return call_->result(0);
  }

 private:
  BorrowedCall call_;
  const bool finalCall_;
  const bool nullCall_;
  bool isBegun_ = false;
};

class TableUse final : public TableFunctionUse {
 public:
  TableUse(IdleCalls& idle, const Function& function)
      : call_(idle, function), finalCall_(function.finalCall), nullCall_(function.nullCall) {}
  ~TableUse() override {
    if (isOpen_) call_.invokeQuietly(kUdfTableClose);
    if (finalCall_ && isBegun_) call_.invokeQuietly(kUdfTableFinal);
  }

  void open(std::span<const ValueView> values) override {
    close();
    hasRows_ = nullCall_ || !anyNull(values);
    if (!hasRows_) return;
    GivenArguments arguments(*call_);
    arguments.store(values);
    begin();
    call_.invoke(kUdfTableOpen);
    isOpen_ = true;
  }

  bool fetch() override {
    if (!isOpen_ || !hasRows_) return false;
    hasRows_ = call_.invoke(kUdfTableFetch);
    if (hasRows_) call_->loadResults();
    return hasRows_;
  }

  ValueView column(int index) override { return call_->result(static_cast<size_t>(index)); }

  void close() override {
    if (!isOpen_) return;
    isOpen_ = false;
    if (call_->isUsable()) call_.invoke(kUdfTableClose);
  }

 private:
  void begin() {
    if (!finalCall_) return call_->clearScratchpad();
    if (isBegun_) return;
    isBegun_ = true;
    call_.invoke(kUdfTableFirst);
  }

  BorrowedCall call_;
  const bool finalCall_;
  const bool nullCall_;
  bool isBegun_ = false;
  bool isOpen_ = false;
  bool hasRows_ = false;
};

// More than any statement uses at once.
constexpr size_t kMaxIdleCalls = 64;

bool isSameType(const SqlType& a, const SqlType& b) {
  const auto all = [](const SqlType& t) {
    return std::tie(t.kind, t.length, t.scale, t.locator, t.distinctName, t.distinctSchema);
  };
  return all(a) == all(b);
}

bool isSameColumn(const OutputColumn& a, const OutputColumn& b) {
  return a.name == b.name && isSameType(a.type, b.type);
}

// As far as a call of its code goes: a function may be dropped, and another one made under its
// name.
bool isSame(const Function& a, const Function& b) {
  const auto code = [](const Function& f) {
    return std::tie(f.specific, f.schema, f.name, f.kind, f.library, f.entry, f.scratchpad,
                    f.finalCall, f.dbInfo);
  };
  return code(a) == code(b) && isSameType(a.returned, b.returned) &&
         std::ranges::equal(a.parameters, b.parameters, isSameType) &&
         std::ranges::equal(a.columns, b.columns, isSameColumn);
}

}  // namespace

// Keeping a call needs no memory: uses end where nothing may be thrown.
IdleCalls::IdleCalls(SessionState& session) : session_(session) {
  calls_.reserve(kMaxIdleCalls);
}

IdleCalls::~IdleCalls() = default;

std::unique_ptr<FunctionCall> IdleCalls::take(const Function& function) {
  const auto found = std::find_if(calls_.rbegin(), calls_.rend(), [&](const auto& call) {
    return isSame(call->function(), function);
  });
  if (found == calls_.rend()) return std::make_unique<FunctionCall>(session_, function);
  std::unique_ptr<FunctionCall> call = std::move(*found);
  calls_.erase(std::next(found).base());
  call->clearScratchpad();
  return call;
}

void IdleCalls::keep(std::unique_ptr<FunctionCall> call) noexcept {
  if (!call->isUsable() || !call->isSmall()) return;
  if (calls_.size() == kMaxIdleCalls) calls_.erase(calls_.begin());
  calls_.push_back(std::move(call));
}

std::unique_ptr<ScalarFunctionUse> RoutineHost::useScalar(const Function& function) {
  return std::make_unique<ScalarUse>(idleCalls_, function);
}

std::unique_ptr<TableFunctionUse> RoutineHost::useTable(const Function& function) {
  return std::make_unique<TableUse>(idleCalls_, function);
}

std::unique_ptr<Routines> makeRoutineHost(SessionState& session) {
  return std::make_unique<RoutineHost>(session);
}

}  // namespace orv
