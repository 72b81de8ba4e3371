// The example mappings give the documents that stand beside them, to the byte; and what was
// decomposed comes back.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "tests/support/command_runner.h"
#include "tests/support/composed_documents.h"

namespace orvxml::test {
namespace {

const std::string kExamples = ORVXML_SOURCE_DIR "/examples/";

std::vector<std::string> filesBelow(const std::string& folder, const std::string& prefix = "") {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().filename().string().starts_with(prefix)) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  EXPECT_FALSE(files.empty()) << folder;
  return files;
}

struct ShopCase {
  const char* mapping;  // "<mapping>_by_tables.dad" and "<mapping>_by_query.dad"
  const char* element;  // the root of its documents, which begins their files' names
  size_t documents;
};

class RecordShop : public testing::TestWithParam<ShopCase> {
 protected:
  static std::string mapping(const char* kind) {
    return readFile(kExamples + "record_shop/" + GetParam().mapping + kind);
  }
  // The root's start tag, which names the document.
  static std::string rootTag(const std::string& document) {
    const size_t start = document.find('\n') + 1;
    return document.substr(start, document.find('\n', start) - start);
  }

  ComposeDatabase db_;
};

TEST_P(RecordShop, BothMappingsGiveTheDocuments) {
  db_.runScript(readFile(kExamples + "record_shop/tables.sql"));
  for (const char* data : {"shop", "music", "tracks", "sales"}) {
    db_.runScript(readFile(kExamples + "record_shop/data/" + data + ".sql"));
  }
  const std::vector<std::string> byTables = composedDocuments(db_, mapping("_by_tables.dad"));
  const std::vector<std::string> byQuery = composedDocuments(db_, mapping("_by_query.dad"));
  ASSERT_EQ(byTables.size(), GetParam().documents);
  ASSERT_EQ(byQuery.size(), GetParam().documents);
  std::map<std::string, std::string> documents;
  for (size_t i = 0; i < byTables.size(); ++i) {
    ASSERT_EQ(byQuery[i], byTables[i]);
    documents[rootTag(byTables[i])] = byTables[i];
  }
  for (const std::string& file :
       filesBelow(kExamples + "record_shop/documents", GetParam().element)) {
    const std::string expected = readFile(file);
    EXPECT_EQ(documents[rootTag(expected)], expected) << file;
  }
}

INSTANTIATE_TEST_SUITE_P(Mappings, RecordShop,
                         testing::Values(ShopCase{"invoices", "invoice", 2400},
                                         ShopCase{"catalogue", "artist", 244}),
                         [](const auto& shop) { return shop.param.mapping; });

// The documents of the example, there and back with the command, which takes them in any encoding.
class Invoices : public testing::Test {
 protected:
  struct Outcome {
    std::vector<std::string> documents;
    std::string rows;
  };

  // Decomposes documents into empty tables, and composes them again.
  static Outcome thereAndBack(const std::vector<std::string>& files, const Workplace& place) {
    const std::string example = kExamples + "invoices/";
    std::vector<std::string> shred{"shred", "--dad", example + "invoices.dad"};
    shred.insert(shred.end(), files.begin(), files.end());
    const std::vector<std::string> runs[] = {
        {"create"},
        {"sql", "--file", example + "tables.sql"},
        shred,
        {"compose", "--dad", example + "invoices.dad", "--output-dir", place.path("composed")}};
    for (const std::vector<std::string>& run : runs) {
      const CommandResult result = place.orvxml(run);
      EXPECT_EQ(result.status, 0) << run.front() << ": " << result.err;
    }
    const CommandResult rows =
        place.orvxml({"sql", "--quiet", "--csv", "--file", example + "queries.sql"});
    return {contents(filesBelow(place.path("composed"))), rows.out};
  }

  static std::vector<std::string> contents(const std::vector<std::string>& files) {
    std::vector<std::string> texts;
    for (const std::string& file : files) texts.push_back(readFile(file));
    return texts;
  }
};

TEST_F(Invoices, WhatComesBackSaysTheSameAsWhatWentIn) {
  const Workplace first, second;
  const std::vector<std::string> composed = contents(filesBelow(kExamples + "invoices/composed"));
  const Outcome there = thereAndBack(filesBelow(kExamples + "invoices/documents"), first);
  EXPECT_EQ(there.documents, composed);
  const Outcome back = thereAndBack(filesBelow(first.path("composed")), second);
  EXPECT_EQ(back.documents, composed);
  EXPECT_EQ(back.rows, there.rows);
}

}  // namespace
}  // namespace orvxml::test
