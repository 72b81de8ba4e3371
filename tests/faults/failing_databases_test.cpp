// The embedded statements of enabling and disabling a database fail in turn: the message says what
// could not be done, and nothing stays once the unit of work is rolled back.
#include "tests/faults/failing_calls.h"
#include "tests/support/admin_calls.h"

namespace orvxml::test {
namespace {

constexpr const char* kStatements[] = {"execute", "executeImmediate"};
constexpr int kStep = 17;  // most of the statements are alike

// Calls `procedure` with its statements failing; it succeeds, and stays done, at last.
template <class Procedure>
void failInTurn(AdminDatabase& db, const std::string& failure, Procedure procedure) {
  const Catalog before = db.catalog();
  EXPECT_EQ(procedure().code, 0);
  const Catalog whole = db.catalog();
  db.rollback();
  int failures = 0;
  for (const char* const statement : kStatements) {
    const auto attempt = [&] {
      const CallOutcome outcome = procedure();
      const bool hasFailed = disarmCall();
      if (outcome.code < 0) {
        ++failures;
        // Only the question whether the database is enabled has a message of its own.
        EXPECT_TRUE(outcome.message.ends_with(failure) ||
                    outcome.message.find("QRKG001E") != std::string::npos)
            << outcome;
      } else {  // whether it takes double-byte data could not be asked: it is tried
        EXPECT_EQ(db.catalog(), whole);
      }
      db.rollback();
      EXPECT_EQ(db.catalog(), before);
      return hasFailed;
    };
    atEveryCall(statement, attempt, kStep);
  }
  EXPECT_GT(failures, 15);
  EXPECT_EQ(procedure().code, 0);
  db.commit();
}

TEST(FailingDatabases, EveryFailureIsReportedAndHarmless) {
  AdminDatabase db;
  db.commit();
  failInTurn(db, "QRKA004E  Cannot enable database SHOP.", [&] { return db.enable(); });
  failInTurn(db, "QRKA007E  Cannot disable database SHOP.", [&] { return db.disable(); });
}

}  // namespace
}  // namespace orvxml::test
