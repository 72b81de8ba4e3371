// One allocation fails at a time while a database or a column is enabled or disabled, and while
// documents of an enabled column change: the call fails with a message or succeeds whole, and after
// a rollback nothing of a failed one is there.
#include "tests/admin/column_database.h"
#include "tests/faults/failing_memory.h"

namespace orvxml::test {
namespace {

constexpr char kDtd[] =
    "<!ELEMENT letter ANY><!ATTLIST letter date CDATA #IMPLIED><!ELEMENT from ANY>"
    "<!ELEMENT to ANY><!ELEMENT price ANY>";
constexpr long kEvery = 8;

// Calls with allocations failing in turn; the number of failures. `judge` looks at the outcome.
template <class CallIt, class Judge>
int failEveryAllocation(CallIt&& call, Judge&& judge) {
  int failures = 0;
  atEveryAllocation(kEvery, [&](FailingAllocation& failing) {
    const CallOutcome outcome = call(failing);
    failures += outcome.code < 0;
    if (outcome.code < 0) {
      EXPECT_NE(outcome.message, "");
    }
    judge(outcome);
  });
  return failures;
}

// A procedure that fails or succeeds whole: undone, it leaves the catalog as it was. It stays done
// at last.
template <class Procedure, class... In>
void expectWholeOrNothing(AdminDatabase& db, const CallOutcome& success, Procedure procedure,
                          In... in) {
  const Catalog before = db.catalog();
  const int failures = failEveryAllocation(
      [&](FailingAllocation& failing) {
        // In the procedure itself, not in the test around it.
        const auto call = [&](auto... arguments) {
          return failing.in([&] { return procedure(arguments...); });
        };
        return callList(call, in...);
      },
      [&](const CallOutcome& outcome) {
        if (outcome.code >= 0) {
          EXPECT_EQ(outcome, success);
        }
        db.rollback();
        EXPECT_EQ(db.catalog(), before);
      });
  EXPECT_GT(failures, 20);
  EXPECT_EQ(callList(procedure, in...), success);
  db.commit();
}

TEST(AdministrationMemoryTest, Databases) {
  AdminDatabase db;
  db.commit();
  char name[] = "SHOP";
  expectWholeOrNothing(db, {0, "QRKA006I  The database SHOP was enabled successfully."},
                       &qrkEnableDB_STP, &name[0]);
  expectWholeOrNothing(db, {0, "QRKA036I  XML Annex has successfully disabled database SHOP."},
                       &qrkDisableDB_STP, &name[0]);
}

TEST(AdministrationMemoryTest, Columns) {
  ColumnDatabase db;
  db.addDtd("d.dtd", kDtd);
  db.commit();
  char table[] = "letters", column[] = "doc", view[] = "v";
  ClobArgument dad(lettersDad("<dtdid>d.dtd</dtdid><validation>YES</validation>"));
  char* const none = nullptr;
  expectWholeOrNothing(db, enabled(), &qrkEnableColumn_STP, &table[0], &column[0], dad.get(), none,
                       &view[0], none);
  expectWholeOrNothing(db, disabled(), &qrkDisableColumn_STP, &table[0], &column[0]);
}

TEST(AdministrationMemoryTest, DocumentsOfAnEnabledColumn) {
  ColumnDatabase db;
  db.addDtd("d.dtd", kDtd);
  EXPECT_EQ(db.enableColumn({.dad = lettersDad("<dtdid>d.dtd</dtdid><validation>YES</validation>"),
                             .view = "v"}),
            enabled());
  const auto value = [](const std::string& sender) {
    return "orvxml.XMLVarchar('<!DOCTYPE letter SYSTEM \"d.dtd\">" +
           letter(sender, "1", {"Grace", "Kurt"}) + "')";
  };
  db.run("insert into letters (no, doc) values (1, " + value("Ada") + "), (2, " + value("Ada") +
         ")");
  db.commit();
  const auto content = [&] {
    std::vector<Rows> all;
    for (const char* table : {"letters", "head", "cost", "receiver"}) {
      all.push_back(db.rows(std::string("select * from ") + table + " order by 1, 2"));
    }
    return all;
  };
  const std::vector<Rows> before = content();
  for (const std::string& statement :
       {"insert into letters (no, doc) values (3, " + value("Alan") + "), (4, " + value("Alan") +
            ")",
        "update letters set doc = " + value("Emmy"), std::string("delete from letters")}) {
    SCOPED_TRACE(statement);
    const int failures = failEveryAllocation(
        [&](FailingAllocation& failing) -> CallOutcome {
          const std::string text = statement + failing.blanks();
          const orv::Result result = failing.in([&] { return db.session().run(text); });
          return {result.outcome.sqlcode, result.outcome.message};
        },
        [&](const CallOutcome& outcome) {
          // A unit of work that the server has lost is told of once.
          if (outcome.code < 0) db.session().run("values 1");
          EXPECT_EQ(content() == before, outcome.code < 0);
          db.rollback();
        });
    EXPECT_GT(failures, 5);
    EXPECT_EQ(content(), before);
  }
}

}  // namespace
}  // namespace orvxml::test
