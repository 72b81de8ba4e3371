// Rows that go into documents and come back are the same rows, whatever stands in them; and both
// mappings say the same of them.
#include <gtest/gtest.h>

#include "orvxml/notices.h"
#include "tests/flows/random_tables.h"
#include "tests/support/composed_documents.h"

namespace orvxml::test {
namespace {

// SQL mapping writes an attribute for an empty text, RDB_node mapping leaves it out.
std::string withoutEmptyAttributes(std::string document) {
  constexpr std::string_view kEmpty = "=\"\"";
  for (size_t at = 0; (at = document.find(kEmpty, at)) != std::string::npos;) {
    const size_t start = document.rfind(' ', at);
    document.erase(start, at + kEmpty.size() - start);
    at = start;
  }
  return document;
}

// What comes back whole has met no trap.
struct NoWarnings final : NoticeListener {
  void notice(const Notice& notice) override {
    if (notice.kind != Notice::kWarning || notice.rule == std::string("not-taken")) return;
    ADD_FAILURE() << notice.rule << ": " << notice.text;
  }
};

class RoundTrip {
 public:
  RoundTrip(ComposeDatabase& db, uint32_t seed)
      : db_(db),
        random_(seed),
        form_(seed % 2 == 0 ? ComposeForm::Call : ComposeForm::List),
        byTables_(random_.mappingByTables()) {}

  void run() {
    for (const std::string& statement : random_.definitions()) db_.run(statement);
    for (const std::string& statement : random_.inserts()) db_.run(statement);
    const std::vector<std::string> documents = composedDocuments(db_, byTables_, form_);
    if (random_.isChain()) expectSameByQuery(documents);
    expectSameRows(documents);
    for (const std::string& table : namesFromBelow()) db_.run("DROP TABLE " + table);
  }

 private:
  void expectSameByQuery(const std::vector<std::string>& documents) {
    std::vector<std::string> others = composedDocuments(db_, random_.mappingByQuery(), form_);
    for (std::string& document : others) document = withoutEmptyAttributes(std::move(document));
    EXPECT_EQ(others, documents) << random_.mappingByQuery();
  }

  void expectSameRows(const std::vector<std::string>& documents) {
    std::vector<Rows> expected = allRows();
    for (size_t i = 0; i < expected.size(); ++i) {
      for (Row& row : expected[i]) readBack(row, random_.tables()[i]);
    }
    for (const std::string& table : namesFromBelow()) db_.session().run("DELETE FROM " + table);
    NoWarnings listener;
    const Listening listening(listener);
    for (const std::string& document : documents) {
      const CallOutcome outcome = callListForm("qrkShredXML", byTables_, document);
      EXPECT_EQ(outcome.code, 0) << outcome << '\n' << document;
    }
    const std::vector<Rows> actual = allRows();
    for (size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(actual[i], expected[i]) << random_.tables()[i].name << ' ' << byTables_;
    }
  }

  static void readBack(Row& row, const RandomTable& table) {
    for (size_t c = 0; c < table.columns.size(); ++c) {
      row[c + 1] = RandomTables::readBack(row[c + 1], table.columns[c]);
    }
  }

  std::vector<Rows> allRows() {
    std::vector<Rows> all;
    for (const RandomTable& table : random_.tables()) {
      all.push_back(db_.rows("SELECT * FROM " + table.name + " ORDER BY " + table.key));
    }
    return all;
  }

  std::vector<std::string> namesFromBelow() const {
    std::vector<std::string> names;
    for (const RandomTable& table : random_.tables()) names.insert(names.begin(), table.name);
    return names;
  }

  ComposeDatabase& db_;
  RandomTables random_;
  ComposeForm form_;
  std::string byTables_;
};

TEST(RoundTripTest, RowsComeBackFromTheirDocuments) {
  ComposeDatabase db;
  for (uint32_t seed = 1; seed <= 200 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RoundTrip(db, seed).run();
  }
}

}  // namespace
}  // namespace orvxml::test
