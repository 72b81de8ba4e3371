// Makes one allocation of the program fail: the n-th after `arm`, in whatever library it
// happens; under the AddressSanitizer only `new` counts. Linked into a test program of its own, for
// it replaces the global operators.
#pragma once

namespace orvxml::test {

// The `countdown`-th allocation from here on fails, once.
void armMemory(long countdown);
// Ends it. True when an allocation has failed since `armMemory`.
bool disarmMemory();

}  // namespace orvxml::test
