// Each embedded statement of enabling and disabling a column fails in turn: its own message tells
// what could not be done, and nothing stays once the unit of work is rolled back.
#include <map>

#include "tests/admin/column_database.h"
#include "tests/faults/failing_calls.h"

namespace orvxml::test {
namespace {

// The IDs of the messages, in the order of the failing calls, by the kind of call.
using Messages = std::map<std::string, std::string>;

class FailingColumns : public testing::Test {
 protected:
  FailingColumns() {
    db_.addDtd("d.dtd",
               "<!ELEMENT letter ANY><!ATTLIST letter date CDATA #REQUIRED><!ELEMENT from ANY>"
               "<!ELEMENT to ANY><!ELEMENT price ANY>");
    db_.commit();
  }

  template <class Function>
  Messages messages(const CallOutcome& success, Function&& call) {
    const Catalog before = db_.catalog();
    Messages all;
    for (const char* const kind :
         {"execute", "executeImmediate", "Statement.prepare", "Statement.execute"}) {
      atEveryCall(kind, [&] {
        const CallOutcome outcome = call();
        const bool hasFailed = disarmCall();
        if (hasFailed) {
          EXPECT_LT(outcome.code, 0);
          all[kind] += outcome.message.substr(outcome.message.rfind('\n') + 1, 8) + ' ';
        } else {
          EXPECT_EQ(outcome, success);
        }
        db_.rollback();
        EXPECT_EQ(db_.catalog(), before);
        return hasFailed;
      });
    }
    return all;
  }

  const std::string byDtd_ = lettersDad("<dtdid>d.dtd</dtdid><validation>YES</validation>");
  ColumnDatabase db_;
};

TEST_F(FailingColumns, EveryFailureOfEnablingHasItsMessage) {
  EXPECT_EQ(messages(enabled(), [&] { return db_.enableColumn({.dad = byDtd_, .view = "v"}); }),
            (Messages{{"execute", "QRKG001E QRKA024E QRKA011E "},
                      {"executeImmediate",
                       "QRKA013E QRKA046E QRKA046E QRKA046E QRKA047E QRKA048E QRKA049E QRKA050E "
                       "QRKA053E QRKA054E QRKA021E "},
                      {"Statement.prepare",
                       "QRKA024E QRKA024E QRKA024E QRKA010E QRKA062E QRKA020E QRKA012E "},
                      {"Statement.execute", "QRKA012E "}}));
}

TEST_F(FailingColumns, EveryFailureOfEnablingWithARootIdHasItsMessage) {
  const std::string dad = lettersDad(
      "<schemabindings><nonamespacelocation location='s.xsd'/></schemabindings>"
      "<validation>YES</validation>");
  EXPECT_EQ(messages(enabled(), [&] { return db_.enableColumn({.dad = dad, .rootid = "no"}); }),
            (Messages{{"execute", "QRKG001E QRKA024E QRKA011E "},
                      {"executeImmediate",
                       "QRKA046E QRKA046E QRKA046E QRKA048E QRKA049E QRKA050E QRKA053E QRKA053E "},
                      {"Statement.prepare", "QRKA024E QRKA024E QRKA014E QRKA014E QRKA062E "}}));
}

TEST_F(FailingColumns, EveryFailureOfDisablingHasItsMessage) {
  EXPECT_EQ(db_.enableColumn({.dad = byDtd_, .view = "v"}), enabled());
  db_.insert(1, "<!DOCTYPE letter SYSTEM \"d.dtd\">" + letter("Ada", "1", {"Grace"}));
  db_.commit();
  EXPECT_EQ(
      messages(disabled(), [&] { return db_.disableColumn(); }),
      (Messages{{"execute", "QRKG001E QRKA024E QRKC004E QRKA024E QRKA024E QRKA024E "},
                {"executeImmediate",
                 "QRKA025E QRKA028E QRKA029E QRKA030E QRKA051E QRKA052E QRKA031E QRKA027E QRKA026E "
                 "QRKA026E QRKA026E "},
                {"Statement.prepare",
                 "QRKA024E QRKA024E QRKA031E QRKA027E QRKA026E QRKA026E QRKA026E QRKA032E "
                 "QRKA033E "},
                {"Statement.execute", "QRKA032E QRKA033E "}}));
}

}  // namespace
}  // namespace orvxml::test
