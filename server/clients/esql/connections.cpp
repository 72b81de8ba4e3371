// CONNECT in its three forms. Sessions that a thread opened by CONNECT TO belong to the thread, the
// last one on top.
#include <memory>
#include <vector>

#include "orv/esql.h"
#include "server/clients/esql/runtime.h"

namespace orv::esql {
namespace {

struct Connection {
  std::unique_ptr<Session> session;
  SessionSlotPtr previous;  // of the session that was current before
};

std::vector<Connection>& threadConnections() {
  thread_local std::vector<Connection> connections;
  return connections;
}

constexpr size_t kNameLength = 18;  // so that all tokens fit the area
constexpr size_t kUserLength = 18;

// Tokens 1 to 10. Nothing reads 4 to 8 and 10: they stand so that the others are where they belong.
void reportProperties(SessionState& session, sqlca& area) {
  static const CodePage kUtf8(1208);
  const auto shortened = [&](const std::string& text, size_t limit) {
    return text.substr(0, kUtf8.cut(text, limit));
  };
  const std::string codePage = std::to_string(session.codePage().number());
  fillArea(
      area, 0, "00000",
      {shortened(session.databaseName(), kNameLength), codePage,
       shortened(session.authorizationId(), kUserLength), "ORV", "0", "0", "0", "0", codePage, "0"},
      &session.codePage());
}

void refuseDuringCall() {
  Session* const current = Session::current();
  if (current && current->state().activeCalls > 0) throw SqlError(-817);
}

}  // namespace

void connectionProperties(const Module&, sqlca& area) {
  reporting(area, [&] { reportProperties(requireSession(), area); });
}

// An embedded database knows no users: name and password are accepted as they are.
void connect(const Module&, std::string_view database, std::string_view, std::string_view,
             sqlca& area) {
  reporting(area, [&] {
    refuseDuringCall();
    Outcome outcome;
    Connection connection{Session::open(database, outcome), currentSlot()};
    if (!connection.session) {
      throw SqlError(outcome.sqlcode, outcome.sqlstate, std::move(outcome.tokens));
    }
    threadConnections().push_back(std::move(connection));
    Session& session = *threadConnections().back().session;
    session.makeCurrent();
    reportProperties(session.state(), area);
  });
}

void disconnect(const Module&, sqlca& area) {
  reporting(area, [&] {
    refuseDuringCall();
    if (threadConnections().empty()) throw SqlError(-1024);
    Connection& connection = threadConnections().back();
    if (connection.session->state().activeCalls > 0) throw SqlError(-817);
    connection.session->state().commit();
    setCurrentSlot(std::move(connection.previous));
    threadConnections().pop_back();
  });
}

}  // namespace orv::esql
