#include "orvxml/function_locators.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "orv/session.h"
#include "src/server_access/locators.h"
#include "tests/support/call_context.h"
#include "tests/support/instance_trace.h"
#include "tests/support/texts.h"

namespace orvxml {
namespace {

using namespace std::string_literals;
using test::FileSizeLimit;
using test::InstanceTrace;
using test::repeat;
using test::utf16;
using unittest::CallContext;
using unittest::Folder;
using unittest::Variable;

// A function's call in a session on a database with this code page.
class FunctionCall {
 public:
  explicit FunctionCall(const char* encoding = "UTF-8", int codePage = 1208)
      : session_(openSession(codePage)), call_(encoding, codePage, CALL_FROM_UDF) {
    EXPECT_EQ(call_.rc, 0);
  }

  sqludf_locator locatorFor(const std::string& bytes) {
    sqludf_locator locator = 0;
    EXPECT_EQ(qrk_buf2locator(ctx(), bytes.data(), static_cast<int32_t>(bytes.size()), &locator,
                              state(), msg()),
              0);
    return locator;
  }
  std::string contentOf(sqludf_locator locator) {
    int32_t length = 0;
    EXPECT_EQ(sqludf_length(&locator, &length), 0);
    std::string bytes(static_cast<size_t>(length), '#');
    EXPECT_EQ(
        sqludf_substr(&locator, 1, length, reinterpret_cast<unsigned char*>(bytes.data()), &length),
        0);
    return bytes;
  }
  // Reads the file into a locator; the locator's bytes, or "!" and the failure's SQLSTATE, after
  // which there must be no locator more than before.
  std::string read(const std::string& file) {
    const sqludf_locator before = locatorFor("");
    sqludf_locator locator = -1;
    index_ = -1;
    if (qrk_file2locator(ctx(), file.c_str(), &locator, state(), &index_) == 0) {
      return contentOf(locator);
    }
    EXPECT_EQ(locator, 0);
    int32_t length = 0;
    const sqludf_locator left = before + 1;
    EXPECT_EQ(sqludf_length(&left, &length), -423);
    EXPECT_STREQ(qrkSqlStateTable[static_cast<size_t>(index_)], state());
    return "!"s + state();
  }

  QrkStruct* ctx() { return &call_.ctx; }
  char* state() { return call_.state; }
  char* msg() { return call_.msg; }
  int* index() { return &index_; }

 private:
  static std::unique_ptr<orv::Session> openSession(int codePage) {
    orv::Outcome outcome;
    auto session = orv::Session::create(":memory:", codePage, outcome);
    EXPECT_TRUE(session) << outcome.message;
    session->makeCurrent();
    return session;
  }

  std::unique_ptr<orv::Session> session_;
  CallContext call_;
  int index_ = -1;
};

std::string numbered(size_t length) {
  std::string text;
  for (int i = 0; text.size() < length; ++i) text += std::to_string(i) + (i % 900 ? " " : "\n");
  text.resize(length);
  return text;
}

TEST(FunctionLocatorsTest, PiecesMakeUpTheWhole) {
  const Folder folder;
  FunctionCall call;
  for (const size_t size : {0, 1, 4095, 4096, 4097, 8192, 10000, 200000}) {
    SCOPED_TRACE(size);
    const std::string text = numbered(size);
    const auto length = static_cast<int32_t>(size);
    const sqludf_locator locator = call.locatorFor(text);
    std::string buffer(size + 1, '#');
    EXPECT_EQ(
        qrk_locator2buf(call.ctx(), &locator, buffer.data(), length, call.state(), call.msg()), 0);
    EXPECT_EQ(buffer, text + '\0');

    const std::string file = folder.write("file", "what stood there, " + std::string(size, 'x'));
    ::chmod(file.c_str(), 0600);
    EXPECT_EQ(qrk_locator2file(call.ctx(), &locator, file.c_str(), call.state(), call.index()), 0);
    EXPECT_EQ(test::readFile(file), text);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms{0644});
    EXPECT_EQ(call.read(file), text);
  }
  EXPECT_EQ(call.contentOf(call.locatorFor("a\0b"s)), "a\0b"s);
  sqludf_locator empty = 0;
  EXPECT_EQ(qrk_buf2locator(call.ctx(), nullptr, 5, &empty, call.state(), call.msg()), 0);
  EXPECT_EQ(call.contentOf(empty), "");
}

TEST(FunctionLocatorsTest, TheTraceTellsThePieces) {
  const Folder folder;
  const InstanceTrace trace;
  FunctionCall call;
  const sqludf_locator locator = call.locatorFor(std::string(10000, 'x'));
  std::string buffer(10001, '#');
  qrk_locator2buf(call.ctx(), &locator, buffer.data(), 10000, call.state(), call.msg());
  EXPECT_EQ(call.read(folder.write("lines", "one\n\nthree\n" + std::string(5000, 'x') + "\n")),
            "one\n\nthree\n" + std::string(5000, 'x') + "\n");
  std::string pieces;
  std::istringstream lines(trace.text());
  for (std::string line; std::getline(lines, line);) {
    for (const char* word : {"readCount:", "read line "}) {
      const size_t at = line.find(word);
      if (at != line.npos) pieces += line.substr(at + std::strlen(word)) + ' ';
    }
  }
  EXPECT_EQ(pieces, "4096 4096 1808 4 1 6 4096 905 ");
}

TEST(FunctionLocatorsTest, LargeClobsComeInAFile) {
  const Folder folder;
  const Variable temporary("ORVQRKTEMP", folder.path().c_str());
  FunctionCall call;
  const auto threshold = static_cast<size_t>(kMinFileThreshold);
  for (const size_t size : {size_t{0}, threshold, threshold + 1, 3 * threshold}) {
    SCOPED_TRACE(size);
    const std::string text = numbered(size);
    const sqludf_locator locator = call.locatorFor(text);
    char* data = nullptr;
    int inMemory = -1;
    ASSERT_EQ(qrkGetDataFromClob(call.ctx(), &locator, &data, &inMemory, call.state(), call.msg()),
              0);
    EXPECT_EQ(inMemory, size <= threshold);
    EXPECT_EQ(inMemory ? std::string(data) : test::readFile(data), text);
    if (!inMemory) std::filesystem::remove(data);
    EXPECT_TRUE(folder.isEmpty());
    std::free(data);
  }
  const sqludf_locator locator = call.locatorFor(numbered(threshold + 1));
  char* data = nullptr;
  int inMemory = -1;
  {
    const FileSizeLimit full(100000);
    EXPECT_EQ(qrkGetDataFromClob(call.ctx(), &locator, &data, &inMemory, call.state(), call.msg()),
              -1);
  }
  EXPECT_STREQ(call.msg(), "QRKC003E  Unable to write to the specified file.\n");
  EXPECT_EQ(data, nullptr);
  EXPECT_TRUE(folder.isEmpty());
}

// `text` so that it lies across the end of the first piece, `before` bytes of it in that piece.
std::string across(const std::string& text, size_t before) {
  return std::string(kFunctionPiece - before, 'x') + text + "y";
}

TEST(FunctionLocatorsTest, FilesComeInTheCodePageOfTheDatabase) {
  const std::u16string mixed = u"<a>\u0A0A\u0A00\u010Aé\n\xD83D\xDE00</a>";
  const std::string mixedUtf8 = "<a>\u0A0A\u0A00\u010Aé\n😀</a>";
  const std::string longUtf8 = std::string(2047, 'x') + "😀y";
  const std::u16string longUtf16 = std::u16string(2047, u'x') + u"\xD83D\xDE00y";
  struct Case {
    const char* label;
    const char* encoding;
    int codePage;
    std::string file;
    std::string expected;
  };
  const Case cases[] = {
      {"equal code pages change nothing but a mark", "UTF-8", 1208, "\uFEFF\xC3\0\uFEFF\n\n"s,
       "\xC3\0\uFEFF\n\n"s},
      {"nothing", "UTF-8", 819, "", ""},
      {"two bytes across pieces", "UTF-8", 819, across("é", 1), across("\xE9", 1)},
      {"three bytes, one before", "UTF-8", 943, across("ア", 1), across("\x83\x41", 1)},
      {"three bytes, two before", "UTF-8", 943, across("ア", 2), across("\x83\x41", 2)},
      {"four bytes across pieces", "GB18030", 1208, across("\x94\x39\xFC\x36", 2), across("😀", 2)},
      {"double bytes across pieces", "cp943c", 1208, across("\x83\x41", 1), across("ア", 1)},
      {"more bytes than a piece holds", "ISO-8859-1", 1392, std::string(5000, '\xC0'),
       repeat("\x81\x30\x86\x38", 5000)},
      {"UTF-16, big-endian", "UTF-16BE", 1208, utf16(mixed, true), mixedUtf8},
      {"and with a mark", "UTF-16BE", 1208, utf16(u"\uFEFF" + mixed, true), mixedUtf8},
      {"and in the other order", "UTF-16BE", 1208, utf16(u"\uFEFF" + mixed, false), mixedUtf8},
      {"UTF-16, little-endian", "UTF-16LE", 1208, utf16(mixed, false), mixedUtf8},
      {"and with a mark", "UTF-16LE", 1208, utf16(u"\uFEFF" + mixed, false), mixedUtf8},
      {"and in the other order", "UTF-16LE", 1208, utf16(u"\uFEFF" + mixed, true), mixedUtf8},
      {"UTF-16 as it says itself", "UTF-16", 1208, utf16(u"\uFEFF" + mixed, true), mixedUtf8},
      {"a pair across pieces", "UTF-16BE", 1208, utf16(longUtf16, true), longUtf8},
      {"only the first mark is one", "UTF-16LE", 1208, utf16(u"\uFEFFa\uFEFF", false), "a\uFEFF"},
      {"a mark that the database cannot hold", "UTF-8", 819, "\uFEFF<a>é</a>", "<a>\xE9</a>"},
      {"half a character", "UTF-8", 819, "a\xC3", "!38X45"},
      {"half a UTF-16 unit", "UTF-16LE", 1208, "a\0b"s, "!38X45"},
      {"half a pair", "UTF-16LE", 1208, utf16(u"a\xD83D", false), "!38X45"},
      {"no byte of the code page", "US-ASCII", 1208, "\xE9", "!38X45"},
      {"not in the database's code page", "UTF-8", 819, numbered(9000) + "€", "!38X45"},
  };
  const Folder folder;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.encoding + ": "s + c.label);
    FunctionCall call(c.encoding, c.codePage);
    EXPECT_EQ(call.read(folder.write("file", c.file)), c.expected);
    // What one file leaves undone does not stay for the next.
    EXPECT_EQ(call.read(folder.write("file", "")), "");
  }
}

TEST(FunctionLocatorsTest, DocumentsLeaveInTheCodePageOfTheApplication) {
  struct Case {
    const char* label;
    const char* encoding;
    int codePage;
    bool rewritten;  // with a new encoding declaration
    std::string document;
    std::string expected;  // "!": refused, with the SQLSTATE
  };
  const std::string plain = R"(<?xml version="1.0"?><a>é</a>)";
  const std::u16string announced = u"<?xml version=\"1.0\" encoding=\"UTF-16LE\" ?><a>é</a>";
  const Case cases[] = {
      {"equal code pages", "UTF-8", 1208, false, "\xC3\0b"s, "\xC3\0b"s},
      {"nothing", "ISO-8859-1", 1208, false, "", ""},
      {"fewer bytes", "ISO-8859-1", 1208, false, "<a>é</a>", "<a>\xE9</a>"},
      {"three times the bytes", "UTF-8", 943, false, std::string(100, '\xB1'), repeat("ｱ", 100)},
      {"four times the bytes", "GB18030", 819, false, std::string(100, '\xC0'),
       repeat("\x81\x30\x86\x38", 100)},
      {"no substitute", "ISO-8859-1", 1208, false, "1 €", "!38X45"},
      {"not text of the database", "ISO-8859-1", 1208, false, "a\xC3", "!38X45"},
      {"a declaration in the same code page", "UTF-8", 1208, true,
       R"(<?xml version='1.0' encoding='X' standalone='no'?><a/>)",
       R"(<?xml version='1.0' encoding="UTF-8" standalone='no'?><a/>)"},
      {"a short document grows by its declaration", "UTF-16LE", 1208, true, plain,
       "\xFF\xFE" + utf16(announced, false)},
      {"four times the bytes", "GB18030", 819, true,
       "<?xml version='1.0'?>" + std::string(100, '\xC0'),
       "<?xml version='1.0' encoding=\"gb18030\" ?>" + repeat("\x81\x30\x86\x38", 100)},
      {"no declaration", "UTF-8", 1208, true, "<a/>", "!38X14"},
      {"no substitute", "ISO-8859-1", 1208, true, "<?xml version='1.0'?><a>€</a>", "!38X45"},
  };
  const Folder folder;
  const std::string file = folder.path("file");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.encoding + ": "s + c.label);
    FunctionCall call(c.encoding, c.codePage);
    const sqludf_locator locator = call.locatorFor(c.document);
    std::filesystem::remove(file);
    const auto write = c.rewritten ? qrk_conv_locator2file_encoding : qrk_conv_locator2file;
    const int rc = write(call.ctx(), &locator, file.c_str(), call.state(), call.msg());
    EXPECT_EQ(rc, c.expected[0] == '!' ? -1 : 0) << call.msg();
    EXPECT_EQ(rc == 0 ? test::readFile(file) : "!"s + call.state(), c.expected);
    EXPECT_EQ(std::filesystem::exists(file), rc == 0);
  }
}

TEST(FunctionLocatorsTest, FilesThatCannotBeRead) {
  const Folder folder;
  folder.write("locked", "text");
  ::chmod(folder.path("locked").c_str(), 0);
  ::mkfifo(folder.path("pipe").c_str(), 0600);
  folder.write("large", "");
  std::error_code refused;
  std::filesystem::resize_file(folder.path("large"), kMaxDocumentFile + 1, refused);
  struct Case {
    std::string file;
    const char* expected;
    bool isThere;
  };
  const std::string endsEarly = "/sys/kernel/mm/transparent_hugepage/enabled";
  const Case cases[] = {
      {folder.path("missing"), "!38X01", true},
      {folder.path(), "!38X01", true},
      {folder.path("pipe"), "!38X01", true},
      {std::string(2000, 'l'), "!38X01", true},
      {folder.path("locked"), "!38X00", ::geteuid() != 0},
      {folder.path("large"), "!38X06", !refused},
      {"/proc/self/status", "!38X02", true},  // longer than its size
      {endsEarly, "!38X02", std::filesystem::exists(endsEarly)},
  };
  for (const Case& c : cases) {
    if (!c.isThere) continue;
    SCOPED_TRACE(c.file);
    FunctionCall call;
    EXPECT_EQ(call.read(c.file), c.expected);
  }
}

TEST(FunctionLocatorsTest, FilesThatCannotBeWritten) {
  const Folder folder;
  ::mkfifo(folder.path("pipe").c_str(), 0600);
  FunctionCall call;
  const sqludf_locator locator = call.locatorFor(numbered(20000));
  struct Case {
    std::string file;
    const char* state;
    const char* message;
    bool stays;
  };
  const char* const notOpened = "QRKC000E  Unable to open the specified file.\n";
  const char* const notWritten = "QRKC003E  Unable to write to the specified file.\n";
  const Case cases[] = {
      {folder.path("none") + "/file", "38X00", notOpened, false},
      {folder.path(), "38X00", notOpened, true},
      {folder.path("pipe"), "38X00", notOpened, true},
      {"/dev/full", "38X03", notWritten, true},
      {folder.path("limited"), "38X03", notWritten, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    const FileSizeLimit full(6000);
    const auto expectFailure = [&](int rc) {
      EXPECT_EQ(rc, -1);
      EXPECT_STREQ(call.state(), c.state);
      EXPECT_EQ(std::filesystem::exists(c.file), c.stays);
      call.state()[0] = 0;
    };
    expectFailure(
        qrk_locator2file(call.ctx(), &locator, c.file.c_str(), call.state(), call.index()));
    EXPECT_STREQ(qrkSqlStateTable[static_cast<size_t>(*call.index())], c.state);
    expectFailure(
        qrk_conv_locator2file(call.ctx(), &locator, c.file.c_str(), call.state(), call.msg()));
    EXPECT_STREQ(call.msg(), c.message);
  }
}

TEST(FunctionLocatorsTest, LocatorsThatStandForNothing) {
  const Folder folder;
  const std::string file = folder.path("file");
  FunctionCall call;
  const sqludf_locator unknown = 4711;
  const sqludf_locator shortOne = call.locatorFor("short");
  char buffer[100];
  char* data = nullptr;
  int inMemory = 0;
  const auto expectFailure = [&](int rc, const char* message) {
    EXPECT_EQ(rc, -1);
    EXPECT_STREQ(call.state(), "38X04");
    EXPECT_STREQ(call.msg(), message);
    call.state()[0] = 0;
    call.msg()[0] = 0;
  };
  const char* const kUnknown = "QRKC004E  Unable to operate the LOB Locator: rc=-423.\n";
  expectFailure(qrk_locator2buf(call.ctx(), &unknown, buffer, 0, call.state(), call.msg()),
                kUnknown);
  expectFailure(qrk_conv_locator2file(call.ctx(), &unknown, file.c_str(), call.state(), call.msg()),
                kUnknown);
  expectFailure(
      qrk_conv_locator2file_encoding(call.ctx(), &unknown, file.c_str(), call.state(), call.msg()),
      kUnknown);
  expectFailure(
      qrkGetDataFromClob(call.ctx(), &unknown, &data, &inMemory, call.state(), call.msg()),
      kUnknown);
  EXPECT_EQ(qrk_locator2file(call.ctx(), &unknown, file.c_str(), call.state(), call.index()), -1);
  EXPECT_EQ(*call.index(), static_cast<int>(Msg::QRKC004E));
  EXPECT_TRUE(folder.isEmpty());
  // Less than was asked for is no success.
  expectFailure(qrk_locator2buf(call.ctx(), &shortOne, buffer, 6, call.state(), call.msg()),
                "QRKC004E  Unable to operate the LOB Locator: rc=0.\n");
  EXPECT_STREQ(buffer, "");
}

}  // namespace
}  // namespace orvxml
