// What the benchmarks share: a database of the server with the procedures' packages bound, times,
// and the memory of one piece of work.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "orv/session.h"
#include "orvxml/procedures.h"

namespace bench {

// Ends the program with a message when `condition` does not hold.
void require(bool condition, const std::string& what);
std::string readFile(const std::string& path);

using ClobPtr = std::unique_ptr<clob, void (*)(void*)>;
ClobPtr asClob(std::string_view text);

// A new database, current in this thread, with the tables that a script makes.
class Database {
 public:
  Database(const std::filesystem::path& path, const std::string& tables);

  void run(const std::string& statement);
  void commit() { session_->commit(); }
  void rollback() { session_->rollback(); }

 private:
  std::unique_ptr<orv::Session> session_;
};

// A folder that is gone at the end.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(const std::string& name);
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

double milliseconds(const std::function<void()>& work);
// Of the processor, in this thread: other processes do not lengthen it.
double processorMilliseconds(const std::function<void()>& work);

// The memory that a piece of work needs at its peak beyond what its process held before, in
// kilobytes. `prepare` gives the work; both run in a process of their own.
long peakKilobytes(const std::function<std::function<void()>()>& prepare);

// To be called first: what the library needs in a process.
void start();

}  // namespace bench
