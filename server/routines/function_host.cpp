// When a function is called: the order of first, normal or fetch, and final calls.
#include "server/routines/function_host.h"

#include <algorithm>

#include "server/routines/function_call.h"
#include "server/session/outcome.h"

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

void invokeQuietly(FunctionCall& call, int32_t callType) {
  if (!call.isUsable()) return;
  guarded([&] { call.invoke(callType); }, [](const SqlError&) {});
}

class ScalarUse final : public ScalarFunctionUse {
 public:
  ScalarUse(SessionState& session, const Function& function)
      : call_(session, function), finalCall_(function.finalCall), nullCall_(function.nullCall) {}
  ~ScalarUse() override {
    if (finalCall_ && isBegun_) invokeQuietly(call_, kUdfFinalCall);
  }

  ValueView call(std::span<const ValueView> values) override {
    if (!nullCall_ && anyNull(values)) return ValueView::null();
    GivenArguments arguments(call_);
    arguments.store(values);
    const int32_t callType = finalCall_ && !isBegun_ ? kUdfFirstCall : kUdfNormalCall;
    isBegun_ = true;
    call_.invoke(callType);
    call_.loadResults();
    return call_.result(0);
  }

 private:
  FunctionCall call_;
  const bool finalCall_;
  const bool nullCall_;
  bool isBegun_ = false;
};

class TableUse final : public TableFunctionUse {
 public:
  TableUse(SessionState& session, const Function& function)
      : call_(session, function), finalCall_(function.finalCall), nullCall_(function.nullCall) {}
  ~TableUse() override {
    if (isOpen_) invokeQuietly(call_, kUdfTableClose);
    if (finalCall_ && isBegun_) invokeQuietly(call_, kUdfTableFinal);
  }

  void open(std::span<const ValueView> values) override {
    close();
    hasRows_ = nullCall_ || !anyNull(values);
    if (!hasRows_) return;
    GivenArguments arguments(call_);
    arguments.store(values);
    begin();
    call_.invoke(kUdfTableOpen);
    isOpen_ = true;
  }

  bool fetch() override {
    if (!isOpen_ || !hasRows_) return false;
    hasRows_ = call_.invoke(kUdfTableFetch);
    if (hasRows_) call_.loadResults();
    return hasRows_;
  }

  ValueView column(int index) override { return call_.result(static_cast<size_t>(index)); }

  void close() override {
    if (!isOpen_) return;
    isOpen_ = false;
    if (call_.isUsable()) call_.invoke(kUdfTableClose);
  }

 private:
  void begin() {
    if (!finalCall_) return call_.clearScratchpad();
    if (isBegun_) return;
    isBegun_ = true;
    call_.invoke(kUdfTableFirst);
  }

  FunctionCall call_;
  const bool finalCall_;
  const bool nullCall_;
  bool isBegun_ = false;
  bool isOpen_ = false;
  bool hasRows_ = false;
};

}  // namespace

std::unique_ptr<ScalarFunctionUse> RoutineHost::useScalar(const Function& function) {
  return std::make_unique<ScalarUse>(session_, function);
}

std::unique_ptr<TableFunctionUse> RoutineHost::useTable(const Function& function) {
  return std::make_unique<TableUse>(session_, function);
}

}  // namespace orv
