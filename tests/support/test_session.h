// A session on a database for one test, current in this thread. Statements are run with what they
// must yield:
//
//   TestSession db;
//   db.run("CREATE TABLE T (A INTEGER)");
//   EXPECT_EQ(db.rows("SELECT A FROM T"), Rows{});
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "orv/session.h"
#include "tests/support/environment.h"

namespace orvxml::test {

using Row = std::vector<std::string>;  // null values are "NULL"
using Rows = std::vector<Row>;

inline Rows rowsOf(const orv::Result& result) {
  Rows rows;
  for (const auto& values : result.rows) {
    Row& row = rows.emplace_back();
    for (const orv::ResultValue& value : values) row.push_back(value.value_or("NULL"));
  }
  return rows;
}

class TestSession {
 public:
  // On a new database.
  explicit TestSession(int codePage = 1208, const std::string& url = ":memory:") {
    begin([&](orv::Outcome& outcome) { return orv::Session::create(url, codePage, outcome); });
  }
  // On one that is there.
  explicit TestSession(const std::string& path) {
    begin([&](orv::Outcome& outcome) { return orv::Session::open(path, outcome); });
  }

  orv::Session& session() { return *session_; }
  orv::Session& operator*() { return *session_; }
  orv::Session* operator->() { return session_.get(); }
  void close() { session_.reset(); }

  // Runs a statement that must give this SQLCODE.
  orv::Result run(const std::string& statement, int sqlcode = 0) {
    orv::Result result = session_->run(statement);
    EXPECT_EQ(result.outcome.sqlcode, sqlcode) << statement << "\n" << result.outcome.message;
    return result;
  }
  // Runs the statements and commits.
  void runScript(const std::string& script) {
    for (const orv::ScriptStatement& statement : orv::splitScript(script)) run(statement.text);
    commit();
  }
  Rows rows(const std::string& query) {
    const orv::Result result = session_->run(query);
    EXPECT_FALSE(result.outcome.failed()) << query << "\n" << result.outcome.message;
    return rowsOf(result);
  }
  int count(const std::string& fromClause) {
    const Rows found = rows("select count(*) from " + fromClause);
    return found.size() == 1 ? std::stoi(found.front().front()) : -1;
  }
  void commit() { EXPECT_FALSE(session_->commit().failed()); }
  void rollback() { EXPECT_FALSE(session_->rollback().failed()); }

 private:
  template <class Make>
  void begin(const Make& make) {
    setenv("ORVINSTANCE", instanceName().c_str(), 1);
    orv::Outcome outcome;
    session_ = make(outcome);
    if (!session_) throw std::runtime_error("no database: " + outcome.message);
    session_->makeCurrent();
  }

  std::unique_ptr<orv::Session> session_;
};

}  // namespace orvxml::test
