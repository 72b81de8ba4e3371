// Whole decompositions, as files that a person can read. Each folder here, and each of the worked
// mappings in the examples, with a dad.xml holds
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

class DecomposeFlow : public testing::TestWithParam<std::filesystem::path> {
 protected:
  std::string folder() const { return GetParam().string() + '/'; }

  std::string call(const std::string& procedure) {
    const std::string dad = readFile(folder() + "dad.xml");
    std::string first = dad;
    if (procedure == "qrkInsertXML") {
      first = GetParam().filename();
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

std::vector<std::filesystem::path> flows() {
  std::vector<std::filesystem::path> folders;
  for (const char* place : {"/tests/flows", "/examples/elements"}) {
    for (const auto& entry :
         std::filesystem::directory_iterator(ORVXML_SOURCE_DIR + std::string(place))) {
      if (std::filesystem::exists(entry.path() / "dad.xml")) folders.push_back(entry.path());
    }
  }
  return folders;
}

INSTANTIATE_TEST_SUITE_P(Files, DecomposeFlow, testing::ValuesIn(flows()),
                         [](const auto& flow) { return flow.param.filename().string(); });

}  // namespace
}  // namespace orvxml::test
