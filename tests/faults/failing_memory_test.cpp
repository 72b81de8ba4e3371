// One allocation fails at a time, at every step of a call: the call ends with a failure and its
// message or succeeds whole, leaves the caller's rows pending and no file behind, and the next call
// works.
#include "tests/faults/failing_memory.h"

#include "tests/faults/compositions.h"

namespace orvxml::test {
namespace {

constexpr char kExample[] = ORVXML_SOURCE_DIR "/examples/invoices/";

class FailingMemoryTest : public testing::Test {
 protected:
  FailingMemoryTest() { db_.runScript(readFile(std::string(kExample) + "tables.sql")); }

  // With one of the allocations of the call itself failing.
  CallOutcome shred(FailingAllocation& failing) {
    ClobArgument dad(dad_);
    ClobArgument document(document_);
    int code = 99;
    char message[kMessageSize] = "not written";
    short indicators[4] = {};
    const int returned = failing.in([&] {
      return qrkShredXML_STP(dad.get(), document.get(), &code, message, &indicators[0],
                             &indicators[1], &indicators[2], &indicators[3]);
    });
    EXPECT_EQ(returned, code);
    return {code, withoutNewline(message)};
  }

  void beginOwnWork() {
    db_.run("insert into customer (customer_no, name) values ('MINE', 'pending')");
    db_.run("savepoint before_call on rollback retain cursors");
  }

  std::vector<std::string> counts() {
    std::vector<std::string> all;
    for (const char* table : {"customer", "invoice", "invoice_line", "line_tax"}) {
      all.push_back(db_.rows(std::string("select count(*) from ") + table).at(0).at(0));
    }
    return all;
  }

  const TemporaryFolder folder_;
  const Variable folderForFiles_{"ORVQRKTEMP", folder_.path().c_str()};
  DecomposeDatabase db_;
  std::string dad_ = readFile(std::string(kExample) + "invoices.dad");
  FailingAllocation none_{0};
  std::string document_ = readFile(std::string(kExample) + "documents/c-1001.xml");
};

TEST_F(FailingMemoryTest, ACallFailsWholeOrSucceeds) {
  const CallOutcome success = shred(none_);
  ASSERT_EQ(success.code, 0) << success;
  const std::vector<std::string> whole = counts();
  db_.run("rollback");
  beginOwnWork();

  int failures = 0;
  atEveryAllocation(60, [&](FailingAllocation& failing) {
    const CallOutcome outcome = shred(failing);
    if (outcome.code < 0) {
      ++failures;
      EXPECT_NE(outcome.message, "");
      if (hasLostUnitOfWork(db_)) beginOwnWork();
    } else {
      EXPECT_EQ(outcome, success);
      EXPECT_EQ(counts(), (std::vector<std::string>{"2", whole[1], whole[2], whole[3]}));
    }
    db_.run("rollback to savepoint before_call");
    EXPECT_EQ(counts(), (std::vector<std::string>{"1", "0", "0", "0"}));
  });
  EXPECT_GT(failures, 100);
  EXPECT_TRUE(folder_.isEmpty());
  EXPECT_EQ(shred(none_), success);
  db_.run("commit");
  EXPECT_EQ(counts()[0], "2");
}

class FailingMemoryInComposition : public CompositionFaults {};

TEST_P(FailingMemoryInComposition, ACallFailsWholeOrSucceeds) {
  int failures = 0, withoutMemory = 0;
  atEveryAllocation(60, [&](FailingAllocation& failing) {
    ComposeListCall call(arguments_);
    failing.in([&] { return call.call(), true; });
    const ComposeOutcome outcome = call.outcome();
    failures += outcome.code < 0;
    if (outcome.code == -58) {
      ++withoutMemory;
      EXPECT_EQ(outcome.message, "QRKG002E  The system is out of memory.");
    }
    judge(outcome);
  });
  EXPECT_GT(failures, 100);
  EXPECT_GT(withoutMemory, 20);
  expectNothingLeftOpen();
}

INSTANTIATE_TEST_SUITE_P(Compositions, FailingMemoryInComposition,
                         testing::ValuesIn(kFaultyCompositions), compositionName);

TEST_F(FailingMemoryTest, AStatementFailsWithItsCodeOrSucceeds) {
  const char* kStatement =
      "insert into customer (customer_no, name) select customer_no || '2', upper(name) from "
      "customer where customer_no in (select customer_no from customer group by customer_no "
      "having count(*) = 1)";
  const auto beginWork = [&] {
    db_.run("insert into customer (customer_no, name) values ('A', 'one'), ('B', 'two')");
    db_.run("savepoint before_it on rollback retain cursors");
  };
  beginWork();
  int failures = 0;
  atEveryAllocation(5000, [&](FailingAllocation& failing) {
    const std::string text = kStatement + failing.blanks();
    const orv::Result result = failing.in([&] { return db_.session().run(text); });
    failures += result.outcome.failed();
    if (result.outcome.failed() && hasLostUnitOfWork(db_)) beginWork();
    EXPECT_EQ(counts()[0], result.outcome.failed() ? "2" : "4");
    db_.run("rollback to savepoint before_it");
  });
  EXPECT_GT(failures, 50);
}

}  // namespace
}  // namespace orvxml::test
