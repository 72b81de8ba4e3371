// A new database for one test: in memory, the library's packages bound, current in this thread.
// Statements are run with what they must yield:
//
//   Database db;
//   db.run("CREATE TABLE T (A INTEGER)");
//   EXPECT_EQ(db.rows("SELECT A FROM T"), Rows{});
//   CallContext call;                       // a context as the library's entry points have one
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "orv/apie.h"
#include "orv/session.h"
#include "orvxml/context.h"
#include "tests/support/environment.h"

namespace orvxml::test {

using Row = std::vector<std::string>;  // null values are "NULL"
using Rows = std::vector<Row>;

inline std::string bindList() {
  return ORVXML_BINARY_DIR "/share/orvxml/bnd/@qrkbind.lst";
}

class Database {
 public:
  explicit Database(int codePage = 1208, const std::string& url = ":memory:", bool bound = true) {
    setenv("ORVINSTANCE", instanceName().c_str(), 1);
    orv::Outcome outcome;
    session_ = orv::Session::create(url, codePage, outcome);
    if (!session_) throw std::runtime_error("no database: " + outcome.message);
    session_->makeCurrent();
    if (bound) bind();
  }

  void bind() {
    sqlca area{};
    sqlabndx(bindList().c_str(), nullptr, nullptr, &area);
    EXPECT_EQ(area.sqlcode, 0) << "binding " << bindList();
  }

  orv::Session& session() { return *session_; }

  // Runs a statement that must give this SQLCODE.
  orv::Result run(const std::string& statement, int sqlcode = 0) {
    orv::Result result = session_->run(statement);
    EXPECT_EQ(result.outcome.sqlcode, sqlcode) << statement << "\n" << result.outcome.message;
    return result;
  }

  Rows rows(const std::string& query) {
    Rows rows;
    const orv::Result result = session_->run(query);
    EXPECT_FALSE(result.outcome.failed()) << query << "\n" << result.outcome.message;
    for (const auto& values : result.rows) {
      Row& row = rows.emplace_back();
      for (const orv::ResultValue& value : values) row.push_back(value.value_or("NULL"));
    }
    return rows;
  }

 private:
  std::unique_ptr<orv::Session> session_;
};

// A call context with message and SQLSTATE buffers, set up in the current session. Needs a
// database whose packages are bound.
class CallContext {
 public:
  explicit CallContext(CALL_FROM callFrom = CALL_FROM_STP) {
    EXPECT_EQ(qrkInit(&ctx_, callFrom, nullptr, sqlState, nullptr), 0);
  }
  ~CallContext() { qrkExit(&ctx_, sqlState); }
  CallContext(const CallContext&) = delete;
  CallContext& operator=(const CallContext&) = delete;

  QrkStruct* get() { return &ctx_; }
  operator QrkStruct*() { return &ctx_; }

  char msg[kMessageSize] = "";
  char sqlState[kSqlStateSize] = "";

 private:
  QrkStruct ctx_{};
};

}  // namespace orvxml::test
