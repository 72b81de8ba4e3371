#include "orvxml/buffer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>

#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using unittest::CallContext;
using unittest::Folder;
using unittest::readFile;
using unittest::Variable;

unsigned modeOf(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

// Temporary files of the tests go here.
class BufferTest : public testing::Test {
 protected:
  Folder folder;
  Variable directory{"ORVQRKTEMP", folder.path().c_str()};
  Variable system{"TMPDIR", "/"};
  CallContext call;
  QrkOutbuf buf{};

  int acquire(uint32_t size, uint32_t limit, int32_t place, int fallback = 0) {
    return call.report([&] { qrkBufAcquire(&call.ctx, &buf, size, limit, place, fallback != 0); });
  }
  ~BufferTest() override { qrkBufRelease(&call.ctx, &buf); }
};

TEST_F(BufferTest, GrowsUntilItsLimitAndMovesIntoAFile) {
  ASSERT_EQ(acquire(4096, 131072, QRK_LOC_MEMORY), 0);
  const std::string piece(100, 'p');
  std::vector<uint32_t> capacities{buf.allocsize};
  uint32_t pieces = 0;
  while (buf.loctype == QRK_LOC_MEMORY) {
    ASSERT_EQ(qrkBufAppend(&call.ctx, &buf, piece.c_str()), 0);
    ++pieces;
    if (buf.allocsize != capacities.back()) capacities.push_back(buf.allocsize);
    ASSERT_LT(pieces, 2000U);
  }
  EXPECT_EQ(capacities, (std::vector<uint32_t>{4096, 8193, 16387, 32775, 65551}));
  EXPECT_EQ(pieces, 656U);
  EXPECT_EQ(qrkBufAppend(&call.ctx, &buf, nullptr), 0);
  EXPECT_EQ(qrkBufAppend(&call.ctx, &buf, "end"), 0);
  EXPECT_EQ(qrkBufGetSize(&call.ctx, &buf), 65603U);

  const char* path = qrkBufGetContent(&call.ctx, &buf);
  ASSERT_NE(path, nullptr);
  EXPECT_TRUE(std::string(path).starts_with(folder.path() + "/qrk"));
  EXPECT_EQ(modeOf(path), 0600U);
  const std::string content = readFile(path);
  EXPECT_EQ(content.size(), 65603U);
  EXPECT_TRUE(content.starts_with(piece) && content.ends_with("ppend"));
  EXPECT_EQ(qrkBufAppend(&call.ctx, &buf, "late"), -1);

  EXPECT_EQ(qrkBufRelease(&call.ctx, &buf), 0);
  EXPECT_TRUE(folder.isEmpty());
  EXPECT_EQ(qrkBufRelease(&call.ctx, &buf), 0);
}

TEST_F(BufferTest, TakesItsPlaceAtAcquisition) {
  struct Case {
    const char* label;
    uint32_t size;
    uint32_t limit;
    int32_t place;
    int code;
    int32_t taken;
  };
  const Case cases[] = {
      {"memory", 10, 100, QRK_LOC_MEMORY, 0, QRK_LOC_MEMORY},
      {"above its limit", 101, 100, QRK_LOC_MEMORY, 0, QRK_LOC_FILE},
      {"without a limit", 300000, kNoSizeLimit, QRK_LOC_MEMORY, 0, QRK_LOC_MEMORY},
      {"file", 10, 100, QRK_LOC_FILE, 0, QRK_LOC_FILE},
      {"memory of no size", 0, 100, QRK_LOC_MEMORY, -60, QRK_LOC_MEMORY},
      {"nowhere", 10, 100, 7, -60, 7},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(acquire(c.size, c.limit, c.place), c.code);
    EXPECT_EQ(buf.loctype, c.taken);
    EXPECT_EQ(buf.data == nullptr, c.code != 0);
    EXPECT_EQ(qrkBufRelease(&call.ctx, &buf), c.taken == 7 ? -1 : 0);
  }
}

TEST_F(BufferTest, AFilledFileIsForEverybodyToRead) {
  const char data[] = {'a', 0, 'b', 'c'};
  for (const int32_t place : {QRK_LOC_MEMORY, QRK_LOC_FILE}) {
    ASSERT_EQ(acquire(sizeof data, 100, place), 0);
    qrkFillBuffer(&call.ctx, &buf, data);
    EXPECT_EQ(buf.size, sizeof data);
    const char* content = qrkBufGetContent(&call.ctx, &buf);
    if (place == QRK_LOC_FILE) {
      EXPECT_EQ(readFile(content), std::string(data, sizeof data));
      EXPECT_EQ(modeOf(content), 0644U);
    } else {
      EXPECT_EQ(std::string(content, sizeof data + 1), std::string(data, sizeof data) + '\0');
    }
    qrkBufRelease(&call.ctx, &buf);
  }
}

TEST_F(BufferTest, AFullDiskLosesNothing) {
  const std::string text(60000, 't');
  ASSERT_EQ(acquire(70000, 80000, QRK_LOC_MEMORY), 0);
  ASSERT_EQ(qrkBufAppend(&call.ctx, &buf, text.c_str()), 0);
  {
    const test::FileSizeLimit full(5000);
    EXPECT_EQ(qrkBufAppend(&call.ctx, &buf, text.c_str()), -1);
    EXPECT_EQ(buf.loctype, QRK_LOC_MEMORY);
    EXPECT_EQ(buf.data, text);
    EXPECT_TRUE(folder.isEmpty());

    QrkOutbuf file{};
    qrkBufAcquire(&call.ctx, &file, 60000, 0, QRK_LOC_FILE, false);
    EXPECT_EQ(call.report([&] { qrkFillBuffer(&call.ctx, &file, text.c_str()); }), -49);
    EXPECT_STREQ(call.state, "38X03");
    qrkBufRelease(&call.ctx, &file);
    EXPECT_EQ(qrk_buf2file(&call.ctx, text.data(), 60000, folder.path("named").c_str(), call.state,
                           call.msg),
              -1);
    EXPECT_STREQ(call.msg, "QRKC003E  Unable to write to the specified file.\n");
  }
  EXPECT_EQ(qrkBufAppend(&call.ctx, &buf, "more"), 0);
  EXPECT_EQ(buf.size, 60004U);
}

TEST(TemporaryFileTest, TheDirectoryFollowsTheEnvironment) {
  const Folder own;
  const Folder system;
  struct Case {
    const char* label;
    const char* own;
    const char* system;
    std::string expected;
  };
  const std::string slashes = own.path() + "//";
  const Case cases[] = {
      {"the own directory wins", own.path().c_str(), system.path().c_str(), own.path()},
      {"alone", own.path().c_str(), nullptr, own.path()},
      {"slashes at the end", slashes.c_str(), nullptr, own.path()},
      {"the system's", nullptr, system.path().c_str(), system.path()},
      {"neither", nullptr, nullptr, "/tmp"},
      {"directories that do not exist", "/no/such", "/nor/such", "/tmp"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Variable ownVariable("ORVQRKTEMP", c.own);
    const Variable systemVariable("TMPDIR", c.system);
    CallContext call;
    char* name = qrk_tempFilename(&call.ctx);
    ASSERT_NE(name, nullptr);
    EXPECT_TRUE(std::string(name).starts_with(c.expected + "/qrk")) << name;
    EXPECT_EQ(std::strlen(name), c.expected.size() + 10);
    EXPECT_STREQ(std::getenv("TMPDIR"), c.system);
    std::free(name);
  }
}

}  // namespace
}  // namespace orvxml
