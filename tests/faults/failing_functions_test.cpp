// One allocation fails at a time in the calls of a function: each gives its result or a failure
// with a message, files stay whole, and the use is gone after a failure.
#include <filesystem>
#include <functional>
#include <iterator>

#include "tests/faults/failing_memory.h"
#include "tests/functions/raw_calls.h"
#include "tests/support/temporary_folder.h"

namespace orvxml::test {
namespace {

struct Outcome {
  int failures = 0;
  int withoutMemory = 0;
};

// Runs `use`, which ends what it begins, with ever later allocations failing.
Outcome failEveryAllocation(const std::string& expected,
                            const std::function<std::string(RawCall&)>& use,
                            const std::function<void(bool failed)>& judge) {
  Outcome outcome;
  atEveryAllocation(60, [&](FailingAllocation& failing) {
    RawCall call;
    const std::string result = failing.in([&] { return use(call); });
    EXPECT_FALSE(call.holdsUse());
    const bool failed = result != expected;
    if (failed) {
      ++outcome.failures;
      outcome.withoutMemory += result.starts_with("38X10");
      EXPECT_EQ(result.substr(0, 3), "38X");
    }
    judge(failed);
  });
  return outcome;
}

void expectFailures(const Outcome& outcome) {
  EXPECT_GT(outcome.failures, 10);
  EXPECT_GT(outcome.withoutMemory, 10);
}

TEST(FailingMemoryInFunctions, Extraction) {
  const auto nothing = [](bool) {};
  expectFailures(failEveryAllocation(
      "42",
      [](RawCall& call) {
        std::string result = call.extractInteger("<a>42</a>", "/a", orv::kUdfFirstCall);
        call.extractInteger(nullptr, nullptr, orv::kUdfFinalCall);
        return result;
      },
      nothing));
  expectFailures(failEveryAllocation(
      "1 2 02000 ",
      [](RawCall& call) {
        std::string result = call.extractIntegers("<a><b>1</b><b>2</b></a>", orv::kUdfTableOpen);
        if (result == "untouched") {
          result = call.extractIntegers(nullptr, orv::kUdfTableFetch);
          result += ' ' + call.extractIntegers(nullptr, orv::kUdfTableFetch);
          result += ' ' + call.extractIntegers(nullptr, orv::kUdfTableFetch);
        }
        call.extractIntegers(nullptr, orv::kUdfTableFinal);
        return result;
      },
      nothing));
}

TEST(FailingMemoryInFunctions, UpdateOfAFile) {
  const TemporaryFolder folder;
  const std::string before = "<a>before</a>", after = "<a>after</a>";
  const std::string file = folder.write("a.xml", before);
  expectFailures(failEveryAllocation(
      "0",
      [&](RawCall& call) {
        std::string result = call.updateFile(file.c_str(), "/a", "after", orv::kUdfFirstCall);
        call.updateFile(nullptr, nullptr, nullptr, orv::kUdfFinalCall);
        return result;
      },
      [&](bool failed) {
        EXPECT_EQ(readFile(file), failed ? before : after);
        folder.write("a.xml", before);
      }));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(FailingMemoryInFunctions, Validation) {
  const TemporaryFolder folder;
  const std::string dtd = folder.write("a.dtd", "<!ELEMENT a EMPTY>");
  expectFailures(failEveryAllocation(
      "1",
      [&](RawCall& call) {
        std::string result =
            call.validate("<!DOCTYPE a SYSTEM 'a'><a/>", dtd.c_str(), orv::kUdfFirstCall);
        call.validate(nullptr, nullptr, orv::kUdfFinalCall);
        return result;
      },
      [](bool) {}));
}

}  // namespace
}  // namespace orvxml::test
