// A statement over an enabled column fails at its third row, in each way that there is: nothing of
// it remains, neither in the table nor in its side tables. What the unit of work has done before
// stays, and it can go on.
#include "tests/admin/column_database.h"

namespace orvxml::test {
namespace {

constexpr char kDtd[] =
    "<!ELEMENT letter (from, to*, price)><!ATTLIST letter date CDATA #REQUIRED>"
    "<!ELEMENT from (#PCDATA)><!ELEMENT to (#PCDATA)><!ELEMENT price (#PCDATA)>";

std::string dated(const std::string& date, const std::string& rest) {
  return "<letter date=\"" + date + "\">" + rest + "</letter>";
}

struct BadRow {
  const char* label;
  std::string document;
  int sqlcode;
  const char* no = "3";
};
const BadRow kBadRows[] = {
    {"no document", "<letter>", -438},
    {"not valid", dated("2026-11-24", "<price>1</price>"), -438},
    {"a text that is too long", letter(std::string(21, 'x'), "1", {}), -433},
    {"no number", letter("Ada", "much", {}), -420},
    {"a number that is too large", letter("Ada", "123456.7", {}), -413},
    {"no date", dated("2026-02-30", "<from>Ada</from><price>1</price>"), -443},
    {"a last receiver that is too long", letter("Ada", "1", {"Grace", std::string(21, 'x')}), -433},
    {"no key", letter("Ada", "1", {}), -407, "null"},
    {"a key that is taken", letter("Ada", "1", {}), -803, "1"},
};

class FailingStatements : public testing::TestWithParam<const char*> {
 protected:
  FailingStatements() {
    db_.addDtd("letter.dtd", kDtd);
    db_.run("create table incoming (row integer, no integer, doc orvxml.XMLVarchar)");
    EXPECT_EQ(db_.enableColumn(
                  {.dad = lettersDad("<dtdid>letter.dtd</dtdid><validation>YES</validation>"),
                   .rootid = isGiven() ? Text(GetParam()) : std::nullopt}),
              enabled());
    for (int no = 11; no <= 15; ++no) db_.insert(no, document(letter("Old", "1", {"Grace"})));
    db_.commit();
  }

  bool isGiven() const { return std::string(GetParam()) == "no"; }

  // Two good rows and the bad one.
  void bring(const BadRow& bad) {
    db_.session().run("delete from incoming");
    const auto add = [&](int row, const std::string& no, const std::string& text) {
      db_.run("insert into incoming values (" + std::to_string(row) + ", " + no + ", " +
              value(text) + ")");
    };
    add(1, "1", letter("Ada", "1", {"Grace", "Kurt"}));
    add(2, "2", letter("Alan", "2", {}));
    add(3, bad.no, bad.document);
  }

  static std::string document(const std::string& text) {
    return "<!DOCTYPE letter SYSTEM \"letter.dtd\">" + text;
  }
  static std::string value(const std::string& text) {
    return "orvxml.XMLVarchar('" + document(text) + "')";
  }

  std::vector<Rows> content() {
    std::vector<Rows> all;
    for (const char* table : {"letters", "head", "cost", "receiver"}) {
      all.push_back(db_.rows(std::string("select * from ") + table + " order by 1, 2"));
    }
    return all;
  }

  ColumnDatabase db_;
};

TEST_P(FailingStatements, LeaveNothingAtTheirThirdRow) {
  int counted = 5;
  for (const BadRow& bad : kBadRows) {
    SCOPED_TRACE(bad.label);
    bring(bad);
    db_.commit();
    // What the unit of work does before.
    db_.run("update letters set doc = " + value(letter("New", "2", {"Emmy"})) + " where no = 11");
    const std::vector<Rows> before = content();
    const std::string first = value(letter("Ada", "1", {"Grace"}));
    db_.run("insert into letters (no, doc) values (1, " + first + "), (2, " + first + "), (" +
                bad.no + ", " + value(bad.document) + ")",
            bad.sqlcode);
    EXPECT_EQ(content(), before);
    db_.run("insert into letters (no, doc) select no, doc from incoming order by row", bad.sqlcode);
    EXPECT_EQ(content(), before);
    if (std::string(bad.no) == "3") {
      db_.run(
          "update letters set doc = (select doc from incoming where incoming.no = letters.no - 10)"
          " where no between 11 and 13",
          bad.sqlcode);
      EXPECT_EQ(content(), before);
    }
    const int next = 100 + counted++;
    db_.insert(next, document(letter("Next", "3", {"Emil"})));
    db_.commit();
    EXPECT_EQ(db_.count("letters"), counted);
    EXPECT_EQ(db_.count("head where sender = 'Next'"), counted - 5);
    EXPECT_EQ(db_.count("receiver"), counted);
  }
}

TEST_P(FailingStatements, StatementsOfNoRowAndOfAllRows) {
  const std::vector<Rows> before = content();
  const std::string update = "update letters set doc = " + value(letter("New", "2", {}));
  db_.run(update + " where no = 99", 100);
  db_.run("insert into letters (no, doc) select no, doc from incoming", 100);
  db_.run("delete from letters where no = 99", 100);
  EXPECT_EQ(content(), before);
  EXPECT_EQ(db_.run("delete from letters where no in (select no + 1 from letters where no < 13)")
                .rowCount,
            2);
  EXPECT_EQ(db_.rows("select count(*), min(no), max(no) from letters"), (Rows{{"3", "11", "15"}}));
  EXPECT_EQ(db_.count("head"), 3);
  EXPECT_EQ(db_.count("receiver"), 3);
  EXPECT_EQ(db_.run(update).rowCount, 3);
  EXPECT_EQ(db_.count("receiver"), 0);
  EXPECT_EQ(db_.count("head where sender = 'New'"), 3);
  db_.run("update letters set doc = null");
  EXPECT_EQ(db_.count("head where sender = 'New'"), 3) << "rows without a document keep theirs";
  EXPECT_EQ(db_.run("delete from letters").rowCount, 3);
  EXPECT_EQ(content(), (std::vector<Rows>{{}, {}, {}, {}}));
}

INSTANTIATE_TEST_SUITE_P(RootIds, FailingStatements, testing::Values("generated", "no"),
                         [](const auto& rootid) { return std::string(rootid.param); });

}  // namespace
}  // namespace orvxml::test
