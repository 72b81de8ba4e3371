// The trace of this test's instance, on while this lives, in a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include "orvxml/trace.h"
#include "tests/support/environment.h"
#include "tests/support/temporary_folder.h"

namespace orvxml::test {

class InstanceTrace {
 public:
  InstanceTrace() {
    std::string folder = folder_.path();
    EXPECT_EQ(qrkTraceOn(nullptr, folder.data(), instance_.data(), message_, &code_), 0)
        << message_;
  }
  ~InstanceTrace() { EXPECT_EQ(qrkTraceOff(nullptr, instance_.data(), message_, &code_), 0); }
  InstanceTrace(const InstanceTrace&) = delete;
  InstanceTrace& operator=(const InstanceTrace&) = delete;

  // What the calls have written so far.
  std::string text() const {
    std::string text;
    for (const auto& file : std::filesystem::directory_iterator(folder_.path())) {
      text += readFile(file.path());
    }
    return text;
  }

 private:
  const TemporaryFolder folder_;
  std::string instance_ = instanceName();
  char message_[kMessageSize] = "";
  int code_ = 0;
};

}  // namespace orvxml::test
