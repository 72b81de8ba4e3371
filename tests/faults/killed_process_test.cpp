// A process is killed in the midst of its work: the database opens, is sound, and holds each unit
// of work whole or not at all, and the work can be gone on with. It dies at calls that change
// files, spread over all of them, and at random moments; ORVXML_KILLS sets how often.
#include <set>

#include "tests/faults/child_process.h"
#include "tests/faults/file_changes.h"
#include "tests/faults/work_test.h"
#include "tests/support/random.h"

namespace orvxml::test {
namespace {

long kills(long otherwise) {
  const char* const wanted = std::getenv("ORVXML_KILLS");
  return wanted ? std::atol(wanted) : otherwise;
}

class KilledProcess : public WorkTest {
 protected:
  // Does the work in a process that `prepare` may doom, or `doom` kills; then judges what is left.
  Ending run(
      const std::function<void()>& prepare,
      const std::function<void(ChildProcess&)>& doom = [](ChildProcess&) {}) {
    const std::string file = copy();
    ChildProcess child([&](ChildProcess::Inside& here) {
      prepare();
      {
        StoredDatabase db(file);
        for (const UnitOfWork& unit : work_) {
          doWhole(db, unit);
          here.step();
        }
      }
      here.leave(disarmFile());
    });
    doom(child);
    const Ending ending = child.end();
    changes_ = child.number();
    judge(file, static_cast<size_t>(child.steps()));
    return ending;
  }

  long changes_ = 0;  // of files, by a process that was not killed
};

TEST_P(KilledProcess, AtAChangeOfAFile) {
  ASSERT_EQ(run([] { armFile(FileFault::Death, 0); }), Ending::Whole);
  bool torn = false;
  for (const long death : spread(changes_, kills(10))) {
    SCOPED_TRACE("change " + std::to_string(death));
    torn = !torn;
    EXPECT_EQ(run([&] { armFile(torn ? FileFault::TornDeath : FileFault::Death, death); }),
              Ending::Killed);
    if (HasFailure()) break;
  }
}

TEST_P(KilledProcess, AtARandomMoment) {
  using Clock = std::chrono::steady_clock;
  using std::chrono::microseconds;
  const long wanted = kills(3);
  const Clock::time_point begin = Clock::now();
  microseconds time{};
  ASSERT_EQ(run([] {},
                [&](ChildProcess& child) {
                  child.killAfter(std::chrono::hours(1));
                  time = std::chrono::duration_cast<microseconds>(Clock::now() - begin);
                }),
            Ending::Whole);
  Random random(static_cast<uint32_t>(begin.time_since_epoch().count()));
  long killed = 0;
  for (long i = 0; killed < wanted && i < 20 * wanted && !HasFailure(); ++i) {
    const microseconds moment(random.below(static_cast<size_t>(time.count())));
    SCOPED_TRACE("after us: " + std::to_string(moment.count()));
    const Ending ending = run([] {}, [&](ChildProcess& child) { child.killAfter(moment); });
    EXPECT_NE(ending, Ending::Wrong);
    killed += ending == Ending::Killed;
  }
  EXPECT_EQ(killed, wanted);
}

// A database that is there has the code page that it was created with.
TEST(KilledProcessTest, ADatabaseThatIsCreated) {
  const TemporaryFolder folder;
  const std::string path = folder.path("db");
  const auto create = [&] {
    orv::Outcome outcome;
    EXPECT_TRUE(orv::Session::create(path, 819, outcome)) << outcome.message;
  };
  Ending ending = Ending::Killed;
  int absent = 0;
  for (long death = 1; ending == Ending::Killed && death < 500; death += 1 + death / 8) {
    SCOPED_TRACE("change " + std::to_string(death));
    std::filesystem::remove(path);
    ChildProcess child([&](ChildProcess::Inside&) {
      armFile(death % 2 == 0 ? FileFault::Death : FileFault::TornDeath, death);
      create();
    });
    ending = child.end();
    if (!std::filesystem::exists(path)) {
      ++absent;
      create();
    }
    EXPECT_EQ(faultsOfFile(path), "");
    EXPECT_EQ(StoredDatabase(path).session().codePage(), 819);
  }
  EXPECT_EQ(ending, Ending::Whole);
  EXPECT_GT(absent, 10);
}

// Files stand outside of units of work: each is the old one or the new one.
TEST(KilledProcessTest, AFileThatAFunctionReplaces) {
  const TemporaryFolder folder;
  const std::string path = folder.path("db"), before = "<a>before</a>", after = "<a>after</a>";
  const std::string file = folder.write("a.xml", before);
  StoredDatabase::create(path);
  {
    StoredDatabase db(path);
    doWhole(db, kEnableDatabase);
  }
  std::set<std::string> found;
  Ending ending = Ending::Killed;
  for (long death = 1; ending == Ending::Killed && death < 100; ++death) {
    SCOPED_TRACE("change " + std::to_string(death));
    folder.write("a.xml", before);
    ChildProcess child([&](ChildProcess::Inside&) {
      armFile(FileFault::TornDeath, death);
      StoredDatabase db(path);
      EXPECT_EQ(db.rows("values orvxml.update(orvxml.XMLFile('" + file + "'), '/a', 'after')"),
                (Rows{{file}}));
    });
    ending = child.end();
    found.insert(readFile(file));
  }
  EXPECT_EQ(ending, Ending::Whole);
  EXPECT_EQ(found, (std::set<std::string>{before, after}));
  EXPECT_EQ(readFile(file), after);
}

INSTANTIATE_TEST_SUITE_P(Works, KilledProcess, testing::ValuesIn(kWorks), workName);

}  // namespace
}  // namespace orvxml::test
