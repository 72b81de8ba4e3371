// What tests of the server's sessions need beside the session.
#pragma once

#include "server/session/session_state.h"
#include "tests/support/test_session.h"

namespace orv::test {

using orvxml::test::Row;
using orvxml::test::Rows;
using orvxml::test::rowsOf;
using orvxml::test::TestSession;

// The tests' module of embedded SQL, bound in a session.
inline void bindPackage(Session& session, const std::string& package, const std::string& token) {
  session.state().bindPackage({"ORVXML", package, token}, {});
}

}  // namespace orv::test
