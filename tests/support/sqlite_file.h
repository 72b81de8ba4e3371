// Another program's hand on a database file.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

namespace orvxml::test {

using SqliteFile = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

inline SqliteFile openSqlite(const std::string& path) {
  sqlite3* file = nullptr;
  EXPECT_EQ(
      sqlite3_open_v2(path.c_str(), &file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr),
      SQLITE_OK)
      << path;
  return {file, &sqlite3_close};
}

// Runs statements. The last column of every row that they give, null as "NULL".
inline std::vector<std::string> runSqlite(sqlite3* file, const std::string& statements) {
  std::vector<std::string> values;
  const auto add = [](void* to, int columns, char** row, char**) {
    const char* const last = row[columns - 1];
    static_cast<std::vector<std::string>*>(to)->push_back(last ? last : "NULL");
    return 0;
  };
  EXPECT_EQ(sqlite3_exec(file, statements.c_str(), add, &values, nullptr), SQLITE_OK)
      << sqlite3_errmsg(file);
  return values;
}
inline std::vector<std::string> runSqlite(const std::string& path, const std::string& statements) {
  return runSqlite(openSqlite(path).get(), statements);
}

}  // namespace orvxml::test
