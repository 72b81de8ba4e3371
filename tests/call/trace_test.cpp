#include "orvxml/trace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using unittest::Folder;
using unittest::readFile;
using unittest::Variable;

class TraceTest : public testing::Test {
 protected:
  TraceTest() { std::filesystem::remove(control); }
  ~TraceTest() override { std::filesystem::remove(control); }

  int turnOn(std::string directory) {
    return qrkTraceOn(nullptr, directory.data(), instance.data(), msg, &rc);
  }
  int turnOff() { return qrkTraceOff(nullptr, instance.data(), msg, &rc); }
  // The outcome of setting a call up.
  int initialise() {
    const Variable current("ORVINSTANCE", instance.c_str());
    QrkStruct ctx{};
    const int code = qrkTraceInit(&ctx, state);
    QRK_TRACE(&ctx, "line %d", 7);
    qrkTraceExit(&ctx);
    return code;
  }

  std::string instance = "test" + std::to_string(getpid());
  std::string control = "/tmp/qrk" + instance + ".ctl";
  Folder folder;
  std::string file = folder.path("qrk" + instance + ".trc");
  char msg[kMessageSize] = "";
  char state[kSqlStateSize] = "";
  int rc = 1;
};

TEST_F(TraceTest, CallsWriteWhileItIsOn) {
  EXPECT_EQ(initialise(), 0);
  EXPECT_STREQ(state, "00000");

  ASSERT_EQ(turnOn(folder.path()), 0);
  EXPECT_STREQ(msg, "QRKA068I  XML Annex has successfully turned the trace on.\n");
  EXPECT_EQ(readFile(control), file);
  struct stat status;
  ASSERT_EQ(::stat(control.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644U);
  EXPECT_EQ(initialise(), 0);
  const std::string text = readFile(file);
  EXPECT_TRUE(text.starts_with("*** Trace turned on ")) << text;
  EXPECT_TRUE(text.ends_with("\n\ninitialise:\t\tline 7\n")) << text;

  ASSERT_EQ(turnOff(), 0);
  EXPECT_STREQ(msg, "QRKA069I  XML Annex has successfully turned the trace off.\n");
  EXPECT_EQ(initialise(), 0);
  EXPECT_EQ(readFile(file), text);

  EXPECT_EQ(turnOff(), -1);
  EXPECT_EQ(rc, -96);
  EXPECT_EQ(msg, "QRKC008E  Can not remove the file " + control + ".\n");
}

TEST_F(TraceTest, ADirectoryThatDoesNotExistIsRefused) {
  EXPECT_EQ(turnOn(folder.path("none")), -1);
  EXPECT_EQ(rc, -97);
  EXPECT_EQ(msg, "QRKC009E  Unable to create file to " + folder.path("none") + " directory.\n");
  EXPECT_FALSE(std::filesystem::exists(control));
}

TEST_F(TraceTest, CallsFailWhileTheTraceIsBroken) {
  std::ofstream(control) << folder.path("none/trace\nsecond line");
  EXPECT_EQ(initialise(), -49);
  EXPECT_STREQ(state, "38X03");

  const Variable none("ORVINSTANCE", nullptr);
  QrkStruct ctx{};
  EXPECT_EQ(qrkInit(&ctx, CALL_FROM_STP, nullptr, state, nullptr), -102);
  EXPECT_STREQ(state, "38X35");
  EXPECT_EQ(ctx.codePages, nullptr);
}

TEST_F(TraceTest, ATraceFileIsAPlainFileOfItsName) {
  const std::string target = folder.path("target");
  std::ofstream(target) << "precious";
  const auto expectRefused = [&] {
    EXPECT_EQ(turnOn(folder.path()), -1);
    EXPECT_EQ(rc, -97);
    std::ofstream(control) << file;
    EXPECT_EQ(initialise(), -49);
    std::filesystem::remove(control);
    std::filesystem::remove(file);
  };
  std::filesystem::create_symlink(target, file);
  expectRefused();
  std::filesystem::create_hard_link(target, file);
  expectRefused();
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  expectRefused();
  std::ofstream(control) << target;
  EXPECT_EQ(initialise(), -49);
  EXPECT_EQ(readFile(target), "precious");
}

TEST_F(TraceTest, AControlFileIsAPlainFileOfTheControlDirectory) {
  const std::string target = folder.path("target");
  std::ofstream(target) << "precious";
  std::filesystem::create_symlink(target, control);
  EXPECT_EQ(initialise(), -1);
  EXPECT_EQ(turnOn(folder.path()), -1);
  EXPECT_EQ(rc, -105);
  EXPECT_EQ(readFile(target), "precious");

  std::filesystem::remove(control);
  ASSERT_EQ(::mkfifo(control.c_str(), 0600), 0);
  EXPECT_EQ(initialise(), -1);

  std::filesystem::remove(control);
  // What belongs to somebody else, or what somebody else can have written or named, switches
  // nothing on and stops nothing.
  std::ofstream(control) << target;
  ASSERT_EQ(::chmod(control.c_str(), 0666), 0);
  EXPECT_EQ(initialise(), 0);
  std::filesystem::create_hard_link(target, control + ".two");
  std::filesystem::rename(control + ".two", control);
  EXPECT_EQ(initialise(), 0);
  std::filesystem::remove(control);
  ASSERT_EQ(::symlink(target.c_str(), control.c_str()), 0);
  if (::lchown(control.c_str(), 65534, 65534) == 0) {
    EXPECT_EQ(initialise(), 0);
    std::filesystem::remove(control);
    ASSERT_EQ(turnOn(folder.path()), 0);
    const std::string text = readFile(file);
    ASSERT_EQ(::chown(control.c_str(), 65534, 65534), 0);
    EXPECT_EQ(initialise(), 0);
    EXPECT_EQ(readFile(file), text);
    EXPECT_EQ(turnOn(folder.path()), -1);
    EXPECT_EQ(rc, -105);
  }
  instance = "../" + instance;
  EXPECT_EQ(turnOn(folder.path()), -1);
  EXPECT_EQ(rc, -116);
}

}  // namespace
}  // namespace orvxml
