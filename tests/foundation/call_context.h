// A call context without a server: the code pages of a function call, the messages of a procedure.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "orvxml/context.h"
#include "tests/support/temporary_folder.h"

namespace orvxml::unittest {

// An environment variable for the time of a test; null: not set.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    set(value);
  }
  ~Variable() { set(old_ ? old_->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  void set(const char* value) { value ? setenv(name_, value, 1) : unsetenv(name_); }
  const char* name_;
  std::optional<std::string> old_;
};

using Folder = test::TemporaryFolder;

inline size_t fileCount(const Folder& folder) {
  return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
}

inline std::string readFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

struct CallContext {
  explicit CallContext(const char* encoding = "UTF-8", int codePage = 1208,
                       CALL_FROM messages = CALL_FROM_STP) {
    sqludf_dbinfo database{};
    database.codepage = codePage;
    std::string name = encoding;
    rc = qrkInit(&ctx, CALL_FROM_UDF, &database, state, name.data());
    ctx.callFrom = messages;
  }
  ~CallContext() { qrkExit(&ctx, state); }
  CallContext(const CallContext&) = delete;
  CallContext& operator=(const CallContext&) = delete;

  Variable instance{"ORVINSTANCE", "foundationtest"};
  QrkStruct ctx{};
  char state[kSqlStateSize] = "";
  char msg[kMessageSize] = "";
  int code = 0;
  int rc = 0;
};

}  // namespace orvxml::unittest
