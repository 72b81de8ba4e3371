#include <gtest/gtest.h>

#include <array>

#include "orvxml/code_pages.h"
#include "tests/xmlcolumn/column_calls.h"

namespace orvxml {
namespace {

using unittest::CallContext;
using unittest::CallOptions;
using unittest::Extracted;
using unittest::extractValues;
using Values = std::vector<std::string>;

constexpr const char* kPaths[] = {"/a", "//b", "//*/@k", "//b/@*", "/a/b[@k=\"2\"]"};

// All that the paths give, as text and as markup.
Values everything(QrkStruct* ctx, const std::string& document, CallOptions options) {
  Values all;
  for (const char* path : kPaths) {
    for (const int format : {kExtractText, kExtractMarkup}) {
      options.format = format;
      const Extracted found = extractValues(ctx, document, path, options);
      all.push_back(std::string(path) + " " + found.state + " " + found.message);
      all.insert(all.end(), found.values.begin(), found.values.end());
    }
  }
  return all;
}

// A document in memory is read once however often it is asked for, a file each time.
TEST(RecentDocumentTest, AsksGiveTheSameHoweverOftenTheDocumentIsRead) {
  std::string wide = "<a>";
  for (int i = 0; i < 3000; ++i) wide += "<b k='" + std::to_string(i % 5) + "'>\xC3\xA4</b>\n";
  const Values documents = {
      "<a><b k='1' l='2'>x</b><b k='2'/>&amp;<![CDATA[<]]></a>",
      "<a><b k='1' l='2'>x</b><b k='2'/>&amp;<![CDATA[<]]> </a>",  // nearly the same
      "<?xml version='1.0' encoding='ISO-8859-1'?><a><b k='2'>\xE4\xF6</b></a>",
      "<!DOCTYPE a [<!ELEMENT a (b)*><!ATTLIST b k CDATA '2'><!ENTITY e '<b>in</b>'>]>"
      "<a> <b/> &e;</a>",
      "<?xml version='1.1'?><a><b k='&#1;'>&#2;</b></a>",
      "<a>&#1;</a>",             // allowed in 1.1 alone
      "<a><b k='1'>x</b></a",    // ends early
      "<a><b k='1'>x</b></a>/",  // ends late
      "<!DOCTYPE a SYSTEM 'a.dtd'><a>&none;</a>",
      wide + "</a>",
      wide + std::string(150'000, ' ') + "</a>",  // too large to be kept
      // Small, and too large when read.
      "<!DOCTYPE a [<!ENTITY e '" + std::string(1000, 'x') + "'>]><a><b>" + std::string(3000, '.') +
          [] {
            std::string references;
            for (int i = 0; i < 800; ++i) references += "&e;";
            return references;
          }() +
          "</b></a>",
  };
  CallContext context;
  test::TemporaryFolder folder;
  std::vector<Values> expected;
  for (size_t i = 0; i < documents.size(); ++i) {
    const std::string file = folder.write(std::to_string(i) + ".xml", documents[i]);
    expected.push_back(everything(&context.ctx, file, {.inMemory = 0}));
  }
  for (const size_t stride : {1u, 5u, 7u}) {
    for (size_t i = 0; i < documents.size(); ++i) {
      const size_t which = i * stride % documents.size();
      SCOPED_TRACE(documents[which].substr(0, 80));
      EXPECT_EQ(everything(&context.ctx, documents[which], {}), expected[which]);
      // One ask of another document leaves nothing of it behind.
      extractValues(&context.ctx, documents[(which + 1) % documents.size()], "/a");
      EXPECT_EQ(everything(&context.ctx, documents[which], {}), expected[which]);
    }
  }
}

// The same bytes are another document in another encoding.
TEST(RecentDocumentTest, TheEncodingBelongsToTheDocument) {
  const std::string document = "<a><b>\xC3\xA4</b></a>";
  CallContext utf8, latin1("ISO-8859-1", 819);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(extractValues(&utf8.ctx, document, "//b", {.useDbEncoding = 1}).values,
              Values{"\xC3\xA4"});
    EXPECT_EQ(extractValues(&latin1.ctx, document, "//b", {.useDbEncoding = 1}).values,
              Values{"\xC3\xA4"});
    EXPECT_EQ(extractValues(&latin1.ctx, document, "//b", {.useDbEncoding = 0}).values,
              Values{"\xE4"});
  }
}

}  // namespace
}  // namespace orvxml
