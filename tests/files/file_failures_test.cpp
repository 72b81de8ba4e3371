// Files that cannot be made, opened or read to their end, each with its own message.
#include <gtest/gtest.h>

#include "orvxml/buffer.h"
#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using unittest::CallContext;
using unittest::Folder;
using unittest::Variable;

TEST(FileFailuresTest, ATemporaryFileNeedsAFolderAndAName) {
  const Folder folder;
  std::string longest = folder.path();
  while (longest.size() < 4090) longest += "/.";
  struct Case {
    const char* label;
    std::string directory;
    int code;
    const char* message;
  };
  const Case cases[] = {
      {"a folder that takes no files", "/proc", -47,
       "QRKC000E  Unable to open the specified file.\n"},
      {"a folder in which every name is too long", longest, -106,
       "QRKC012E  Cannot create temporary file.\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Variable directory("ORVQRKTEMP", c.directory.c_str());
    CallContext call;
    QrkOutbuf buffer{};
    int code = 0;
    char msg[kMessageSize] = "";
    code = atEdge({&call.ctx, msg}, [&] {
      qrkBufAcquire(&call.ctx, &buffer, 10, kNoSizeLimit, QRK_LOC_FILE, false);
    });
    EXPECT_EQ(code, c.code);
    EXPECT_STREQ(msg, c.message);
    EXPECT_EQ(buffer.data, nullptr);
  }
}

TEST(FileFailuresTest, NamedFilesThatDoNotOpenOrEndEarly) {
  const Folder folder;
  CallContext call;
  char msg[kMessageSize] = "";
  char state[kSqlStateSize] = "";
  const std::string nowhere = folder.path("none") + "/file";
  EXPECT_EQ(qrk_buf2file(&call.ctx, "text", 4, nowhere.c_str(), state, msg), -1);
  EXPECT_STREQ(msg, "QRKC000E  Unable to open the specified file.\n");
  EXPECT_STREQ(state, "38X00");

  // A file of the system that reports a whole page and holds one line.
  const char* kEndsEarly = "/sys/kernel/mm/transparent_hugepage/enabled";
  if (!isfile(&call.ctx, kEndsEarly)) GTEST_SKIP() << "no file that ends early";
  char text[kMaxVarcharFile + 1];
  EXPECT_EQ(qrk_file2varchar(&call.ctx, kEndsEarly, text, sizeof text, state, msg), -1);
  EXPECT_STREQ(msg, "QRKC002E  Unable to read file.\n");
  EXPECT_STREQ(state, "38X02");
}

}  // namespace
}  // namespace orvxml
