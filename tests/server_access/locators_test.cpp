#include "src/server_access/locators.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "orvxml/packages.h"
#include "tests/support/database.h"
#include "tests/support/temporary_folder.h"

namespace orvxml {
namespace {

using test::CallContext;
using test::Database;
using test::Rows;
using test::TemporaryFolder;

// `length` bytes of UTF-8 in which no two stretches are alike, with a character of two bytes across
// every border between two pieces.
std::string numberedText(size_t length) {
  std::string text;
  for (int i = 0; text.size() < length; ++i) text += std::to_string(i) + ' ';
  text.resize(length);
  for (size_t at = kLocatorChunk - 1; at + 1 < length; at += kLocatorChunk) {
    text.replace(at, 2, "\u00E9");
  }
  return text;
}

std::string contentOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class LocatorsTest : public testing::Test {
 protected:
  LocatorsTest() {
    db_.run("CREATE TABLE DOCS (DOC CLOB(1M), VALID INTEGER)");
    db_.run("CREATE TABLE SMALL (DOC VARCHAR(10))");
  }

  int insert(const std::string& statement, const std::string& file, bool isValidated = false) {
    return call_.report([&] {
      qrkInsertDocFromFile(call_, statement.c_str(), file.c_str(),
                           static_cast<int32_t>(contentOf(file).size()),
                           isValidated ? std::optional(5) : std::nullopt, "MINE");
    });
  }

  // A locator for a document that the table receives from a file.
  int32_t locatorFor(const std::string& text) {
    db_.run("DELETE FROM DOCS WHERE 1 = 1", db_.rows("SELECT 1 FROM DOCS").empty() ? 100 : 0);
    EXPECT_EQ(insert("INSERT INTO DOCS (DOC) VALUES (?)", folder_.write("doc", text)), 0)
        << call_.msg;
    sqlca area{};
    int32_t locator = 0;
    orv::esql::Statement statement(kQrksuwo);
    statement.prepare("SELECT DOC FROM DOCS", area);
    orv::esql::Cursor cursor(statement);
    cursor.open({}, area);
    const orv::esql::HostVariable output = orv::esql::clobLocatorVariable(&locator);
    cursor.fetch(orv::esql::Variables(&output, 1), area);
    EXPECT_EQ(area.sqlcode, 0);
    return locator;
  }

  // A failure that the server has told about in front of the library's own message.
  void expectServerFailure(int code) {
    EXPECT_EQ(code, -57);
    EXPECT_EQ(std::string(call_.msg).substr(0, 3), "ORV");
    EXPECT_NE(std::string(call_.msg).find("QRKM001W  A ORV error occurred.\nQRKG001E"),
              std::string::npos)
        << call_.msg;
  }

  Database db_;
  CallContext call_;
  TemporaryFolder folder_;
};

TEST_F(LocatorsTest, SmallContentComesInMemoryLargeContentInAFile) {
  const auto threshold = static_cast<size_t>(call_.get()->fileThreshold);
  for (const size_t length : {size_t{1}, size_t{9999}, threshold, threshold + 1, 5 * threshold}) {
    SCOPED_TRACE(length);
    const std::string text = numberedText(length);
    const int32_t locator = locatorFor(text);
    OutBuffer buffer(call_);
    qrkGetDataFromLocator(call_, locator, buffer.get());
    EXPECT_EQ(buffer->size, length);
    const bool inMemory = buffer->loctype == QRK_LOC_MEMORY;
    EXPECT_EQ(inMemory, length <= threshold);
    const char* content = qrkBufGetContent(call_, buffer.get());
    EXPECT_EQ(inMemory ? std::string(content) : contentOf(content), text);
    const std::string file = inMemory ? "" : content;
    buffer.release();
    EXPECT_FALSE(std::filesystem::exists(file));
  }
}

TEST_F(LocatorsTest, ChunksMakeUpTheWhole) {
  for (const int32_t total : {1, kLocatorChunk - 1, kLocatorChunk, kLocatorChunk + 1, 300000}) {
    SCOPED_TRACE(total);
    const std::string text = numberedText(static_cast<size_t>(total));
    const int32_t locator = locatorFor(text);
    std::string whole;
    std::vector<char> chunk(kLocatorChunk + 1);
    for (int32_t start = 1; start <= total; start += kLocatorChunk) {
      qrkGetChunkFromLocator(call_, locator, start, total, chunk.data());
      whole += chunk.data();
    }
    EXPECT_EQ(whole, text);
  }
}

TEST_F(LocatorsTest, TheServersRefusalIsAnInternalError) {
  const int32_t locator = locatorFor("abcdef");
  char piece[7] = "";
  qrkLocatorToBuf(call_, locator, 3, piece, 2);
  EXPECT_STREQ(piece, "bcd");
  expectServerFailure(call_.report([&] { qrkLocatorToBuf(call_, locator, 6, piece, 2); }));
  EXPECT_EQ(call_.report([&] { qrkLocatorToBuf(call_, locator, -1, piece, 1); }), -57);
  const std::string nowhere = folder_.path("no/file");
  expectServerFailure(call_.report([&] { qrkLocatorToFile(call_, locator, nowhere.c_str()); }));
  sqlca area{};
  orv::esql::freeLocator(locator, area);
  expectServerFailure(call_.report([&] { qrkGetLocatorLength(call_, locator); }));
  QrkOutbuf buffer{};
  expectServerFailure(call_.report([&] { qrkGetDataFromLocator(call_, locator, &buffer); }));
  EXPECT_EQ(buffer.data, nullptr);
}

TEST_F(LocatorsTest, DocumentsAreInsertedFromFiles) {
  const std::string text = numberedText(200000);
  const std::string file = folder_.write("large", text);
  EXPECT_EQ(insert("INSERT INTO DOCS (DOC, VALID) VALUES (?, ?)", file, true), 0) << call_.msg;
  EXPECT_EQ(db_.rows("SELECT DOC, VALID FROM DOCS"), (Rows{{text, "5"}}));
  EXPECT_EQ(insert("INSERT INTO SMALL (DOC) VALUES (?)", file), -77);
  EXPECT_STREQ(call_.msg, "QRKQ017E  The column in the result table MINE is too small.\n");
  expectServerFailure(insert("INSERT INTO NONE (DOC) VALUES (?)", file));
  expectServerFailure(insert("INSERT INTO DOCS (DOC) VALUES (?)", folder_.path("none")));
  EXPECT_EQ(db_.rows("SELECT COUNT(*) FROM DOCS"), (Rows{{"1"}}));
}

TEST_F(LocatorsTest, FileNamesLongerThanAReferenceAreRefused) {
  const std::string name = "/tmp/" + std::string(251, 'n');
  const int32_t locator = locatorFor("abc");
  EXPECT_EQ(insert("INSERT INTO DOCS (DOC) VALUES (?)", name), -56);
  EXPECT_EQ(std::string(call_.msg).substr(0, 8), "QRKG000E");
  EXPECT_EQ(call_.report([&] { qrkLocatorToFile(call_, locator, name.c_str()); }), -56);
}

TEST_F(LocatorsTest, FilesFillALargeObjectUpToItsCapacity) {
  const auto sparse = [&](const char* name, uint64_t size) {
    std::string file = folder_.write(name, "");
    std::filesystem::resize_file(file, size);
    return file;
  };
  struct Case {
    const char* label;
    std::string file;
    uint32_t capacity;
    const char* sqlState;
  };
  const Case cases[] = {
      {"fits exactly", folder_.write("five", "12345"), 5, "00000"},
      {"smaller", folder_.write("empty", ""), 5, "00000"},
      {"one byte too much", folder_.write("six", "123456"), 5, "38X39"},
      {"the limit, and no room", sparse("limit", 2'000'000'000), 5, "38X39"},
      {"beyond the limit", sparse("beyond", 2'000'000'001), 5, "38X06"},
      {"beyond 32 bits", sparse("huge", 5'000'000'000), 5, "38X06"},
      {"no file", folder_.path("none"), 5, "38X01"},
      {"a folder", folder_.path(), 5, "38X01"},
      {"reports less than it has", "/proc/self/cmdline", 3, "38X39"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    std::vector<char> area(c.capacity);
    uint32_t length = 0;
    std::strcpy(call_.sqlState, "00000");
    const int code = call_.report(
        [&] { length = qrk_file2lob(call_, c.file.c_str(), area.data(), c.capacity); });
    EXPECT_STREQ(call_.sqlState, c.sqlState);
    EXPECT_EQ(std::string(area.data(), length), code == 0 ? contentOf(c.file) : "");
  }
}

}  // namespace
}  // namespace orvxml
