// The process around a test: its environment and its limits, changed for a time.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>

namespace orvxml::test {

// The instance of this test: the trace of an instance is switched for all its processes, and tests
// run side by side.
inline std::string instanceName() {
  return "orvxmltest" + std::to_string(getpid());
}

// An environment variable with another value while this lives; null: not set.
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

// While this lives, no file of this process grows beyond `bytes`.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*handler_)(int);
  rlimit before_{};
};

}  // namespace orvxml::test
