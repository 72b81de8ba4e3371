// Makes one allocation of the program fail: the n-th after `arm`, in whatever library it
// happens; under the AddressSanitizer only `new` counts. Linked into a test program of its own, for
// it replaces the global operators.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace orvxml::test {

// The `countdown`-th allocation from here on fails, once.
void armMemory(long countdown);
// Ends it. True when an allocation has failed since `armMemory`.
bool disarmMemory();

// One of the allocations that fail in turn.
class FailingAllocation {
 public:
  explicit FailingAllocation(long countdown) : countdown_(countdown) {}
  // Calls with it; what is around the call has its memory.
  template <class Call>
  auto in(const Call& call) {
    armMemory(countdown_);
    auto result = call();
    fired_ = disarmMemory();
    return result;
  }
  bool fired() const { return fired_; }
  // Blanks, as many as no other one of the last: a statement with them is compiled anew.
  std::string blanks() const { return std::string(static_cast<size_t>(countdown_ % 5000), ' '); }

 private:
  const long countdown_;
  bool fired_ = false;
};

// Calls `attempt(FailingAllocation&)` until none fails in it any more: with each of the first
// `every` allocations, then with ever fewer of them, for the late ones are alike.
template <class Attempt>
void atEveryAllocation(long every, const Attempt& attempt) {
  bool fired = true;
  for (long n = 1; fired && !testing::Test::HasFailure(); n += 1 + n / every) {
    SCOPED_TRACE("allocation " + std::to_string(n));
    FailingAllocation allocation(n);
    attempt(allocation);
    fired = allocation.fired();
  }
}

}  // namespace orvxml::test
