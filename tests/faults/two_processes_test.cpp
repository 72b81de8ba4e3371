// Two processes work in one database at once: one has changed something and has yet to commit when
// the other comes to change it. The other waits; then it succeeds, or it fails as a whole and says
// so, and can try again. Nobody's work is lost or half done.
#include "tests/faults/child_process.h"
#include "tests/faults/lock_waits.h"
#include "tests/faults/stored_work.h"

namespace orvxml::test {
namespace {

const Act kInsert = statements({insertMail(1)});
const Act kInsertAnother = statements({insertMail(2)});
const Act kShredOne = decompose("c-1001.xml").act;

// The act in a unit of work that waits for its turn first.
Act inTurn(const Act& act) {
  return [act](StoredDatabase& db) -> CallOutcome {
    const orv::Outcome outcome = db.session().beginChange();
    return outcome.failed() ? CallOutcome{outcome.sqlcode, outcome.message} : act(db);
  };
}

constexpr char kRolledBack[] = "ORV0911E";

struct Contest {
  const char* name;
  Work before;
  Act first, second;
  // What the message of the second says when the first has committed; and that of its next try,
  // if that was -911.
  std::string outcome, again = "";
};
inline std::ostream& operator<<(std::ostream& out, const Contest& contest) {
  return out << contest.name;
}

const Work kToTable = {kEnableDatabase, kMailTable, kAddDtd};
const Work kToBoth = {kEnableDatabase, kMailTable, kAddDtd, kEnableColumn, kInvoiceTables};

const Contest kContests[] = {
    {"EnableDatabaseTwice",
     {},
     procedure(&enableDatabase),
     procedure(&enableDatabase),
     kRolledBack,
     "QRKA070W"},
    {"EnableDatabaseInTurn",
     {},
     procedure(&enableDatabase),
     inTurn(procedure(&enableDatabase)),
     "QRKA070W"},
    {"DisableDatabaseTwice",
     {kEnableDatabase},
     procedure(&disableDatabase),
     procedure(&disableDatabase),
     kRolledBack,
     "QRKA071W"},
    {"EnableColumnTwice", kToTable, procedure(&enableMailColumn), procedure(&enableMailColumn),
     kRolledBack, "ORV0601E"},
    {"DisableColumnTwice", kToBoth, procedure(&disableMailColumn), procedure(&disableMailColumn),
     kRolledBack, "QRKA018E"},
    {"InsertAfterEnableColumn", kToTable, procedure(&enableMailColumn), kInsert, ""},
    {"EnableColumnAfterInsert", kToTable, kInsert, procedure(&enableMailColumn), kRolledBack,
     "QRKA022I"},
    {"InsertAfterDisableColumn", kToBoth, procedure(&disableMailColumn), kInsert, ""},
    {"DisableColumnAfterInsert", kToBoth, kInsert, procedure(&disableMailColumn), kRolledBack,
     "QRKA034I"},
    {"InsertTwice", kToBoth, kInsert, kInsertAnother, ""},
    {"InsertOfTheSameKey", kToBoth, kInsert, kInsert, "ORV0803E"},
    {"AddDtdTwice", {kEnableDatabase}, kAddDtd.act, kAddDtd.act, "ORV0803E"},
    {"ShredTwice", kToBoth, kShredOne, kShredOne, kRolledBack, "ORV0803E"},
    {"ShredInTurn", kToBoth, kInsert, inTurn(kShredOne), ""},
    {"ShredAfterInsert", kToBoth, kInsert, kShredOne, kRolledBack, ""},
};

enum class FirstDoes { Commit, RollBack, HoldOn };

class TwoProcesses : public testing::TestWithParam<Contest> {
 protected:
  TwoProcesses() {
    StoredDatabase::create(file_);
    StoredDatabase db(file_);
    for (const UnitOfWork& unit : GetParam().before) doWhole(db, unit);
  }

  // The contest in a database of its own, with the second process waiting while the first ends its
  // unit of work so.
  void hold(FirstDoes end) {
    const std::string file = folder_.path("contest" + std::to_string(static_cast<int>(end)));
    std::filesystem::copy_file(file_, file);
    ChildProcess second([&](ChildProcess::Inside& here) {
      StoredDatabase db(file);
      GetParam().second(db);  // knows the catalog, and has the statement compiled
      db.rollback();
      here.tell();
      here.await();
      watchWaits([&] {
        here.tell();
        here.await();
      });
      judgeSecond(db, end);
    });
    second.await();
    {
      StoredDatabase db(file);
      const CallOutcome outcome = GetParam().first(db);
      EXPECT_GE(outcome.code, 0) << outcome;
      second.tell();
      second.await();
      if (end == FirstDoes::Commit) db.commit();
      if (end == FirstDoes::RollBack) db.rollback();
      second.tell();
      EXPECT_EQ(second.end(), Ending::Whole);
      db.commit();
    }
    EXPECT_EQ(faultsOfFile(file), "");
    EXPECT_EQ(difference(StoredDatabase(file).picture(), oneAfterTheOther(end)), "");
  }

 private:
  void judgeSecond(StoredDatabase& db, FirstDoes end) {
    const Contest& contest = GetParam();
    const CallOutcome outcome = contest.second(db);
    const std::string expected = end == FirstDoes::Commit     ? contest.outcome
                                 : end == FirstDoes::RollBack ? ""
                                                              : kRolledBack;
    expectMessage(outcome, expected);
    if (end == FirstDoes::Commit && expected == kRolledBack) {
      expectMessage(contest.second(db), contest.again);
    }
    db.commit();
  }
  static void expectMessage(const CallOutcome& outcome, const std::string& part) {
    EXPECT_TRUE(part.empty() ? outcome.code >= 0 : outcome.message.find(part) != std::string::npos)
        << outcome << "\ninstead of " << part;
  }

  Picture oneAfterTheOther(FirstDoes end) {
    const std::string file = folder_.path("serial" + std::to_string(static_cast<int>(end)));
    std::filesystem::copy_file(file_, file);
    StoredDatabase db(file);
    if (end != FirstDoes::RollBack) GetParam().first(db);
    db.commit();
    if (end != FirstDoes::HoldOn) GetParam().second(db);
    db.commit();
    return db.picture();
  }

  const TemporaryFolder folder_;
  const Variable temporary_{"ORVQRKTEMP", folder_.path().c_str()};
  const std::string file_ = folder_.path("db");
};

TEST_P(TwoProcesses, TheSecondWaitsForACommit) {
  hold(FirstDoes::Commit);
}
TEST_P(TwoProcesses, TheSecondWaitsForARollback) {
  hold(FirstDoes::RollBack);
}
TEST_P(TwoProcesses, TheSecondGivesUp) {
  hold(FirstDoes::HoldOn);
}

INSTANTIATE_TEST_SUITE_P(Contests, TwoProcesses, testing::ValuesIn(kContests),
                         [](const auto& contest) { return std::string(contest.param.name); });

}  // namespace
}  // namespace orvxml::test
