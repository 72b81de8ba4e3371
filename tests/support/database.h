// A new database for one test: in memory, the library's packages bound, current in this thread.
// Statements are run with what they must yield:
//
//   Database db;
//   db.run("CREATE TABLE T (A INTEGER)");
//   EXPECT_EQ(db.rows("SELECT A FROM T"), Rows{});
//   CallContext call;                       // a context as the library's entry points have one
#pragma once

#include "orv/apie.h"
#include "orvxml/context.h"
#include "src/outcome/edge.h"
#include "tests/support/test_session.h"

namespace orvxml::test {

inline std::string bindList() {
  return ORVXML_BINARY_DIR "/share/orvxml/bnd/@qrkbind.lst";
}

class Database : public TestSession {
 public:
  explicit Database(int codePage = 1208, const std::string& url = ":memory:", bool bound = true)
      : TestSession(codePage, url) {
    if (bound) bind();
  }

  void bind() {
    sqlca area{};
    sqlabndx(bindList().c_str(), nullptr, nullptr, &area);
    EXPECT_EQ(area.sqlcode, 0) << "binding " << bindList();
  }
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

  // Runs `work` at an edge, which writes `msg` and `sqlState`. Returns the code.
  template <class Work>
  int report(Work&& work) {
    *msg = '\0';
    return orvxml::atEdge({.ctx = &ctx_, .msg = msg, .sqlState = sqlState}, work);
  }

  QrkStruct* get() { return &ctx_; }
  operator QrkStruct*() { return &ctx_; }

  char msg[kMessageSize] = "";
  char sqlState[kSqlStateSize] = "";

 private:
  QrkStruct ctx_{};
};

}  // namespace orvxml::test
