// Files that cannot grow any more, as on a full disk: the failure has its message, nothing is left
// behind, and the caller's rows and database stay what they were.
#include "tests/faults/compositions.h"

namespace orvxml::test {
namespace {

constexpr char kExample[] = ORVXML_SOURCE_DIR "/examples/invoices/";

TEST(FullDiskTest, ADocumentThatFindsNoRoomInATemporaryFile) {
  const TemporaryFolder folder;
  const Variable temporary("ORVQRKTEMP", folder.path().c_str());
  DecomposeDatabase db;
  db.runScript(readFile(std::string(kExample) + "tables.sql"));
  db.run("insert into customer (customer_no, name) values ('MINE', 'pending')");
  const std::string dad = readFile(std::string(kExample) + "invoices.dad");
  const std::string document = readFile(std::string(kExample) + "documents/c-1001.xml") + "<!--" +
                               std::string(2 * kMinFileThreshold, 'x') + "-->";
  for (const rlim_t room : {rlim_t{0}, rlim_t{100'000}, rlim_t{2 * kMinFileThreshold}}) {
    SCOPED_TRACE(room);
    CallOutcome outcome{};
    {
      const FileSizeLimit limit(room);
      outcome = callListForm("qrkShredXML", dad, document);
    }
    EXPECT_EQ(outcome, (CallOutcome{-49, "QRKC003E  Unable to write to the specified file."}));
    EXPECT_TRUE(folder.isEmpty());
    EXPECT_EQ(db.rows("select customer_no from customer"), (Rows{{"MINE"}}));
  }
  EXPECT_EQ(callListForm("qrkShredXML", dad, document).code, 0);
  EXPECT_EQ(db.rows("select count(*) from customer"), (Rows{{"2"}}));
}

class FullDiskForDocuments : public CompositionFaults {};

TEST_P(FullDiskForDocuments, AComposedDocumentThatFindsNoRoomInATemporaryFile) {
  const auto expectNoRoom = [&] {
    const ComposeOutcome outcome = db_.compose(ComposeForm::List, arguments_);
    EXPECT_EQ(outcome.code, -63);
    EXPECT_EQ(outcome.message, "QRKQ002E  Cannot generate storage space to hold XML documents.");
    return outcome;
  };
  for (const rlim_t room : {rlim_t{0}, rlim_t{17'000}, rlim_t{20'000}}) {
    SCOPED_TRACE(room);
    ComposeOutcome outcome;
    {
      const FileSizeLimit limit(room);
      outcome = expectNoRoom();
    }
    judge(outcome);
  }
  {
    const Variable takesNoFiles("ORVQRKTEMP", "/proc");
    judge(expectNoRoom());
  }
  expectNothingLeftOpen();
}

INSTANTIATE_TEST_SUITE_P(Compositions, FullDiskForDocuments, testing::ValuesIn(kFaultyCompositions),
                         compositionName);

TEST(FullDiskTest, ADatabaseFileThatCannotGrow) {
  const TemporaryFolder folder;
  Database db(1208, folder.path("db"));
  db.run("create table t (n integer not null primary key, v varchar(2000))");
  db.run("insert into t values (1, 'kept')");
  db.run("commit");
  bool failed = false;
  {
    const FileSizeLimit limit(512 * 1024);
    for (int n = 2; n < 2000 && !failed; ++n) {
      const std::string number = std::to_string(n);
      failed = db.session()
                   .run("insert into t values (" + number + ", repeat('x', 2000))")
                   .outcome.failed();
      if (n % 50 == 0 && !failed) failed = db.session().commit().failed();
    }
    db.session().rollback();
  }
  EXPECT_TRUE(failed);
  EXPECT_EQ(db.rows("select v from t where n = 1"), (Rows{{"kept"}}));
  // Only whole units of work are there, and the file goes on working.
  EXPECT_EQ(db.rows("select mod(max(n), 50) from t where n > 1"), (Rows{{"0"}}));
  db.run("insert into t values (5000, 'later')");
  db.run("commit");
  EXPECT_EQ(db.rows("select v from t where n = 5000"), (Rows{{"later"}}));
}

}  // namespace
}  // namespace orvxml::test
