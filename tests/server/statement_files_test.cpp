// The texts in statements/: see statement_file.h.
#include <filesystem>

#include "tests/server/statement_file.h"

namespace orv::test {
namespace {

const std::string kFolder = ORVXML_SOURCE_DIR "/tests/server/statements/";

class StatementFile : public testing::TestWithParam<std::string> {};

TEST_P(StatementFile, GivesWhatItSays) {
  const std::string path = kFolder + GetParam() + ".txt";
  for (const Mismatch& mismatch : mismatches(orvxml::test::readFile(path))) {
    ADD_FAILURE_AT(path.c_str(), mismatch.line) << mismatch.message;
  }
}

std::vector<std::string> fileNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
    names.push_back(entry.path().stem().string());
  }
  return names;
}

INSTANTIATE_TEST_SUITE_P(Files, StatementFile, testing::ValuesIn(fileNames()),
                         [](const auto& name) { return name.param; });

TEST(StatementFiles, NothingPassesUnseen) {
  EXPECT_GE(fileNames().size(), 30U);
  const std::string table = "CREATE TABLE T(A VARCHAR(9))\n=> ok\n";
  const struct Case {
    std::string text;
    int line;  // of its one mismatch; 0: none
  } cases[] = {
      {table + "INSERT INTO T\n  VALUES(?), (?), (?)\n? a |\n?\n? |\n=> 3 rows\n"
               "SELECT A FROM T\n=> a |\n=> -\n=> |\n",
       0},
      {table + "SELECT A FROM T\n=> no rows\n! session two\nDROP TABLE T\n=> -204 42704 APP.T", 0},
      {table + "COMMIT\n=> ok\n! reopen\n! sqlite INSERT INTO t VALUES(1)\nSELECT A FROM T\n=> 1",
       0},
      {table + "! reopen\nSELECT A FROM T\n=> no rows", 4},
      {table + "\n-- why\nSELECT A FROM T\n=> -", 5},
      {table + "SELECT A FROM NIX\n=> -204 42704 APP.T", 3},
      {table + "DELETE FROM T\n=> 1 rows", 3},
      {table + "SELECT A FROM T", 3},
      {table + "SELECT A FROM T\nSELECT A FROM T\n=> no rows", 4},
      {table + "INSERT INTO T VALUES(?)\n=> 1 rows", 3},
      {table + "! reboot", 3},
      {"=> ok\n" + table, 1},
      {"? 1\n" + table, 1},
      {"-- nothing", 1},
      {"", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const std::vector<Mismatch> found = mismatches(c.text);
    EXPECT_EQ(found.empty() ? 0 : found.front().line, c.line);
  }
  EXPECT_EQ(mismatches("").size(), 1U);
}

}  // namespace
}  // namespace orv::test
