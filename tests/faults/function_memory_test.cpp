// One allocation fails at a time while a function moves a document: it fails with its message and
// leaves neither locator nor file, or it succeeds whole.
#include <gtest/gtest.h>

#include <cstdlib>

#include "orv/session.h"
#include "orvxml/function_locators.h"
#include "tests/faults/failing_memory.h"
#include "tests/support/environment.h"
#include "tests/support/temporary_folder.h"

namespace orvxml::test {
namespace {

class FunctionMemoryTest : public testing::Test {
 protected:
  FunctionMemoryTest() {
    orv::Outcome outcome;
    session_ = orv::Session::create(":memory:", 819, outcome);
    session_->makeCurrent();
    sqludf_dbinfo database{};
    database.codepage = 819;
    char encoding[] = "UTF-8";
    EXPECT_EQ(qrkInit(&ctx_, CALL_FROM_UDF, &database, state_, encoding), 0);
    EXPECT_EQ(qrk_buf2locator(&ctx_, kDocument, sizeof kDocument - 1, &locator_, state_, msg_), 0);
  }
  ~FunctionMemoryTest() override { qrkExit(&ctx_, state_); }

  // Runs `call` with every allocation failing in turn; `check` looks at what it leaves, and cleans
  // up.
  template <class Call, class Check>
  void failEveryAllocation(Call&& call, Check&& check) {
    atEveryAllocation(1000, [&](FailingAllocation& failing) {
      state_[0] = 0;
      const int rc = failing.in(call);
      EXPECT_TRUE(rc == 0 || failing.fired());
      const std::string state = state_;
      // Out of memory in the library, the server, the system and the converters.
      const std::string expected = rc == 0 ? " " : " 38X10 38X04 38X00 38X45 ";
      EXPECT_NE(expected.find(state), expected.npos) << state;
      check(rc == 0);
    });
  }

  static constexpr char kDocument[] = "<?xml version='1.0'?><a>\xE9</a>";
  static constexpr char kAnnounced[] = "<?xml version='1.0' encoding=\"UTF-8\" ?><a>é</a>";

  const Variable instance_{"ORVINSTANCE", instanceName().c_str()};
  const TemporaryFolder folder_;
  const std::string file_ = folder_.path("file");
  std::unique_ptr<orv::Session> session_;
  QrkStruct ctx_{};
  char state_[kSqlStateSize] = "";
  char msg_[kMessageSize] = "";
  sqludf_locator locator_ = 0;
};

TEST_F(FunctionMemoryTest, AFileIntoALocator) {
  folder_.write("file", kAnnounced);
  sqludf_locator made = 0;
  int index = -1;
  failEveryAllocation([&] { return qrk_file2locator(&ctx_, file_.c_str(), &made, state_, &index); },
                      [&](bool done) {
                        EXPECT_EQ(done, made != 0);
                        if (done) sqludf_free_locator(&made);
                      });
}

TEST_F(FunctionMemoryTest, ALocatorIntoAFile) {
  failEveryAllocation(
      [&] { return qrk_conv_locator2file_encoding(&ctx_, &locator_, file_.c_str(), state_, msg_); },
      [&](bool done) {
        ASSERT_EQ(done, std::filesystem::exists(file_));
        if (!done) return;
        EXPECT_EQ(readFile(file_), kAnnounced);
        std::filesystem::remove(file_);
      });
}

TEST_F(FunctionMemoryTest, ALocatorIntoMemory) {
  char* data = nullptr;
  int inMemory = 0;
  failEveryAllocation(
      [&] { return qrkGetDataFromClob(&ctx_, &locator_, &data, &inMemory, state_, msg_); },
      [&](bool done) {
        EXPECT_EQ(done, data != nullptr);
        std::free(data);
      });
}

}  // namespace
}  // namespace orvxml::test
