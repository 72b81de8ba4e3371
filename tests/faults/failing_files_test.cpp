// A change of a file fails, or the disk is full, in the midst of work: the unit of work fails with
// a message and as a whole, the session goes on, and with room again the work can be done.
#include "tests/faults/file_changes.h"
#include "tests/faults/work_test.h"

namespace orvxml::test {
namespace {

constexpr long kSpread = 10;

class FailingFiles : public WorkTest {
 protected:
  // Does the work; a unit that fails is undone and ends the fault. The changes of files.
  long run(FileFault fault, long at) {
    const std::string file = copy();
    size_t done = 0;
    long changes = 0;
    {
      StoredDatabase db(file);
      armFile(fault, at);
      while (done < work_.size() && succeeds(db, work_[done].act)) ++done;
      changes = disarmFile();
      if (done < work_.size()) {
        ++failures_;
        db.rollback();
        doWhole(db, work_[done++]);
      }
    }
    judge(file, done);
    return changes;
  }

  int failures_ = 0;  // units of work that have failed

 private:
  static bool succeeds(StoredDatabase& db, const Act& act) {
    const CallOutcome outcome = act(db);
    if (outcome.code < 0) {
      EXPECT_NE(outcome.message, "");
      return false;
    }
    const orv::Outcome committed = db.session().commit();
    if (committed.failed()) {
      EXPECT_NE(committed.message, "");
    }
    return !committed.failed();
  }
};

TEST_P(FailingFiles, AUnitOfWorkFailsAsAWhole) {
  const long changes = run(FileFault::Failure, 0);
  for (const FileFault fault : {FileFault::Failure, FileFault::FullDisk}) {
    for (const long at : spread(changes, kSpread)) {
      SCOPED_TRACE((fault == FileFault::Failure ? "change " : "full from change ") +
                   std::to_string(at));
      run(fault, at);
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(failures_, kSpread);
}

INSTANTIATE_TEST_SUITE_P(Works, FailingFiles, testing::ValuesIn(kWorks), workName);

}  // namespace
}  // namespace orvxml::test
