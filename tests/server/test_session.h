// A session on a new database in memory for one test, current in this thread.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "orv/session.h"
#include "server/session/session_state.h"

namespace orv::test {

using Row = std::vector<std::string>;  // null values are "NULL"
using Rows = std::vector<Row>;

inline Rows rowsOf(const Result& result) {
  Rows rows;
  for (const auto& values : result.rows) {
    Row& row = rows.emplace_back();
    for (const ResultValue& value : values) row.push_back(value.value_or("NULL"));
  }
  return rows;
}

class TestSession {
 public:
  explicit TestSession(int codePage = 1208, const std::string& url = ":memory:") {
    Outcome outcome;
    session_ = Session::create(url, codePage, outcome);
    EXPECT_TRUE(session_) << outcome.message;
    if (session_) session_->makeCurrent();
  }

  Session& operator*() { return *session_; }
  Session* operator->() { return session_.get(); }
  void close() { session_.reset(); }

  // Runs a statement that must give this SQLCODE.
  Result run(const std::string& statement, int sqlcode = 0) {
    Result result = session_->run(statement);
    EXPECT_EQ(result.outcome.sqlcode, sqlcode) << statement << "\n" << result.outcome.message;
    return result;
  }
  Rows rows(const std::string& query) {
    const Result result = session_->run(query);
    EXPECT_FALSE(result.outcome.failed()) << query << "\n" << result.outcome.message;
    return rowsOf(result);
  }

 private:
  std::unique_ptr<Session> session_;
};

// The tests' module of embedded SQL, bound in a session.
inline void bindPackage(Session& session, const std::string& package, const std::string& token) {
  session.state().bindPackage({"ORVXML", package, token}, {});
}

}  // namespace orv::test
