#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <vector>

#include "orvxml/buffer.h"
#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using unittest::CallContext;
using unittest::Folder;

TEST(FileTest, PathsBecomeAbsoluteWithinTheirField) {
  const std::string here = std::filesystem::current_path();
  const std::string longest = "/" + std::string(kPathSize - 2, 'l');
  struct Case {
    std::string name;
    int rc;
    std::string expected;
  };
  const Case cases[] = {
      {"/as/it/stands", 0, "/as/it/stands"},
      {"below/here", 0, here + "/below/here"},
      {longest, 0, longest},
      {longest + "l", -1, ""},
      {std::string(kPathSize - here.size() - 1, 'l'), -1, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto out = std::make_unique<char[]>(kPathSize);
    EXPECT_EQ(qrkGetAbsPath(nullptr, c.name.c_str(), out.get()), c.rc);
    if (c.rc == 0) {
      EXPECT_EQ(out.get(), c.expected);
    }
  }
  EXPECT_EQ(xml_fopen(nullptr, nullptr, "r"), nullptr);
}

TEST(FileTest, SmallFilesAreReadIntoAField) {
  const Folder folder;
  folder.write("largest", std::string(kMaxVarcharFile, 'x'));
  folder.write("larger", std::string(kMaxVarcharFile + 1, 'x'));
  folder.write("latin", "caf\xE9 ");
  folder.write("broken", "caf\xE9 ");
  ::mkfifo(folder.path("pipe").c_str(), 0600);
  struct Case {
    const char* name;
    const char* encoding;
    int room;
    const char* state;
    const char* message;
  };
  const Case cases[] = {
      {"largest", "UTF-8", kMaxVarcharFile, "", ""},
      {"larger", "UTF-8", 2 * kMaxVarcharFile, "38X05", "QRKC005E"},
      {"largest", "UTF-8", kMaxVarcharFile - 1, "38X05", "QRKC005E"},
      {"latin", "ISO-8859-1", 7, "", ""},
      {"latin", "ISO-8859-1", 6, "38X05", "QRKC005E"},
      {"broken", "US-ASCII", 100, "38X45", "QRKQ055E"},
      {"missing", "UTF-8", 100, "38X01", "QRKC001E"},
      {"pipe", "UTF-8", 100, "38X01", "QRKC001E"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CallContext call(c.encoding);
    std::vector<char> text(static_cast<size_t>(c.room), '#');
    call.state[0] = 0;
    const int rc = qrk_file2varchar(&call.ctx, folder.path(c.name).c_str(), text.data(), c.room,
                                    call.state, call.msg);
    EXPECT_EQ(rc == 0, *c.state == 0);
    EXPECT_STREQ(call.state, c.state);
    EXPECT_TRUE(std::string(call.msg).starts_with(c.message)) << call.msg;
    if (rc == 0 && c.room == 7) {
      EXPECT_STREQ(text.data(), "café ");
    }
  }
}

}  // namespace
}  // namespace orvxml
