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

  // Lets the `countdown`-th allocation of the call itself fail; 0: none.
  CallOutcome shred(long countdown = 0) {
    ClobArgument dad(dad_);
    ClobArgument document(document_);
    int code = 99;
    char message[kMessageSize] = "not written";
    short indicators[4] = {};
    armMemory(countdown);
    const int returned = qrkShredXML_STP(dad.get(), document.get(), &code, message, &indicators[0],
                                         &indicators[1], &indicators[2], &indicators[3]);
    fired_ = disarmMemory();
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

  bool fired_ = false;  // an allocation has failed
  const TemporaryFolder folder_;
  const Variable folderForFiles_{"ORVQRKTEMP", folder_.path().c_str()};
  DecomposeDatabase db_;
  std::string dad_ = readFile(std::string(kExample) + "invoices.dad");
  std::string document_ = readFile(std::string(kExample) + "documents/c-1001.xml");
};

TEST_F(FailingMemoryTest, ACallFailsWholeOrSucceeds) {
  const CallOutcome success = shred();
  ASSERT_EQ(success.code, 0) << success;
  const std::vector<std::string> whole = counts();
  db_.run("rollback");
  beginOwnWork();

  int failures = 0;
  fired_ = true;
  // Every allocation at first, then ever fewer of them: the late ones are alike.
  for (long n = 1; fired_; n += 1 + n / 60) {
    const CallOutcome outcome = shred(n);
    SCOPED_TRACE("allocation " + std::to_string(n));
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
    if (HasFailure()) return;
  }
  EXPECT_GT(failures, 100);
  EXPECT_TRUE(folder_.isEmpty());
  EXPECT_EQ(shred(), success);
  db_.run("commit");
  EXPECT_EQ(counts()[0], "2");
}

class FailingMemoryInComposition : public CompositionFaults {};

TEST_P(FailingMemoryInComposition, ACallFailsWholeOrSucceeds) {
  bool fired = true;
  int failures = 0, withoutMemory = 0;
  for (long n = 1; fired; n += 1 + n / 60) {
    SCOPED_TRACE("allocation " + std::to_string(n));
    ComposeListCall call(arguments_);
    armMemory(n);
    call.call();
    fired = disarmMemory();
    const ComposeOutcome outcome = call.outcome();
    failures += outcome.code < 0;
    if (outcome.code == -58) {
      ++withoutMemory;
      EXPECT_EQ(outcome.message, "QRKG002E  The system is out of memory.");
    }
    judge(outcome);
    if (HasFailure()) return;
  }
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
  bool fired = true;
  int failures = 0;
  for (long n = 1; fired; ++n) {
    // A blank more each time: the statement is compiled anew.
    const std::string text = kStatement + std::string(static_cast<size_t>(n % 3000), ' ');
    armMemory(n);
    const orv::Result result = db_.session().run(text);
    fired = disarmMemory();
    SCOPED_TRACE("allocation " + std::to_string(n));
    failures += result.outcome.failed();
    if (result.outcome.failed() && hasLostUnitOfWork(db_)) beginWork();
    EXPECT_EQ(counts()[0], result.outcome.failed() ? "2" : "4");
    db_.run("rollback to savepoint before_it");
    if (HasFailure()) return;
  }
  EXPECT_GT(failures, 50);
}

}  // namespace
}  // namespace orvxml::test
