// Whole decompositions, as files that a person can read. Each folder here with a dad.xml holds
//   tables.sql     the target tables
//   document.xml   what is decomposed
//   expected.txt   "call PROCEDURE" and "query SELECT" lines, each followed by what it must give:
//                  the return code and message, or one line per row.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/support/decompose_calls.h"

namespace orvxml::test {
namespace {

class DecomposeFlow : public testing::TestWithParam<std::string> {
 protected:
  std::string folder() const { return ORVXML_SOURCE_DIR "/tests/flows/" + GetParam() + '/'; }

  std::string call(const std::string& procedure) {
    const std::string dad = readFile(folder() + "dad.xml");
    std::string first = dad;
    if (procedure == "qrkInsertXML") {
      first = GetParam();
      db_.addCollection(first, dad);
    }
    const CallOutcome outcome = db_.call(procedure, first, readFile(folder() + "document.xml"));
    return std::to_string(outcome.code) + ' ' + outcome.message + '\n';
  }

  std::string query(const std::string& select) {
    std::string text;
    for (const Row& row : db_.rows(select)) {
      for (size_t i = 0; i < row.size(); ++i) text += (i > 0 ? "|" : "") + row[i];
      text += '\n';
    }
    return text;
  }

  // What the directives of expected.txt give, in the form of that file.
  std::string actual() {
    std::istringstream expected(readFile(folder() + "expected.txt"));
    std::string text;
    for (std::string line; std::getline(expected, line);) {
      const bool isCall = line.starts_with("call ");
      if (!isCall && !line.starts_with("query ")) continue;
      text += line + '\n' + (isCall ? call(line.substr(5)) : query(line.substr(6)));
    }
    return text;
  }

  DecomposeDatabase db_;
};

TEST_P(DecomposeFlow, GivesTheExpectedRows) {
  db_.runScript(readFile(folder() + "tables.sql"));
  EXPECT_EQ(actual(), readFile(folder() + "expected.txt"));
}

std::vector<std::string> flowNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(ORVXML_SOURCE_DIR "/tests/flows")) {
    if (std::filesystem::exists(entry.path() / "dad.xml")) {
      names.push_back(entry.path().filename().string());
    }
  }
  return names;
}

INSTANTIATE_TEST_SUITE_P(Files, DecomposeFlow, testing::ValuesIn(flowNames()),
                         [](const auto& flow) { return flow.param; });

}  // namespace
}  // namespace orvxml::test
