// The example mappings give the documents that stand beside them, to the byte; and what was
// decomposed comes back.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "tests/support/composed_documents.h"

namespace orvxml::test {
namespace {

const std::string kExamples = ORVXML_SOURCE_DIR "/examples/";

std::vector<std::string> filesBelow(const std::string& folder, const std::string& prefix = "") {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(kExamples + folder)) {
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
  for (const std::string& file : filesBelow("record_shop/documents", GetParam().element)) {
    const std::string expected = readFile(file);
    EXPECT_EQ(documents[rootTag(expected)], expected) << file;
  }
}

INSTANTIATE_TEST_SUITE_P(Mappings, RecordShop,
                         testing::Values(ShopCase{"invoices", "invoice", 2400},
                                         ShopCase{"catalogue", "artist", 244}),
                         [](const auto& shop) { return shop.param.mapping; });

class Invoices : public testing::Test {
 protected:
  struct Outcome {
    std::vector<std::string> documents;
    std::vector<Rows> rows;
  };

  // Decomposes documents into empty tables, and composes them again.
  static Outcome thereAndBack(const std::vector<std::string>& documents) {
    ComposeDatabase db;
    db.runScript(readFile(kExamples + "invoices/tables.sql"));
    const std::string dad = readFile(kExamples + "invoices/invoices.dad");
    for (const std::string& document : documents) {
      const CallOutcome outcome = db.call("qrkShredXML", dad, document);
      EXPECT_EQ(outcome.code, 0) << outcome << '\n' << document;
    }
    Outcome outcome{composedDocuments(db, dad), {}};
    for (const char* table : {"customer", "invoice", "invoice_line", "line_tax"}) {
      outcome.rows.push_back(db.rows(std::string("select * from ") + table + " order by 1, 2, 3"));
    }
    return outcome;
  }

  static std::vector<std::string> contents(const std::vector<std::string>& files) {
    std::vector<std::string> texts;
    for (const std::string& file : files) texts.push_back(readFile(file));
    return texts;
  }
};

TEST_F(Invoices, WhatComesBackSaysTheSameAsWhatWentIn) {
  const Outcome first = thereAndBack(contents(filesBelow("invoices/documents")));
  EXPECT_EQ(first.documents, contents(filesBelow("invoices/composed")));
  const Outcome second = thereAndBack(first.documents);
  EXPECT_EQ(second.rows, first.rows);
  EXPECT_EQ(second.documents, first.documents);
}

}  // namespace
}  // namespace orvxml::test
