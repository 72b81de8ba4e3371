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

namespace orvxml::test {

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

// An empty directory, removed with what is in it.
class Folder {
 public:
  Folder() {
    std::string name = std::filesystem::temp_directory_path() / "orvxml-test-XXXXXX";
    path_ = mkdtemp(name.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }
  size_t fileCount() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

 private:
  std::string path_;
};

inline std::string readFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

inline void writeFile(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
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

}  // namespace orvxml::test
