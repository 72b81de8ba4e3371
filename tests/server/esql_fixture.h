// A session with one table and a bound package, for tests of embedded SQL.
#pragma once

#include <optional>
#include <sstream>

#include "orv/esql.h"
#include "server/clients/esql/services.h"
#include "server/session/communication_area.h"
#include "tests/server/test_session.h"

namespace orv::test {

using esql::clobFileVariable;
using esql::clobLocatorVariable;
using esql::Cursor;
using esql::HostVariable;
using esql::integerVariable;
using esql::stringVariable;
using esql::Variables;

inline constexpr esql::Section kSections[] = {
    {"ADD", "INSERT INTO T (ID, NAME) VALUES (?, ?)"},
    {"NAME", "SELECT NAME FROM T WHERE ID = ?"},
    {"DOC", "SELECT DOC FROM T WHERE ID = ?"},
    {"ALL", "SELECT ID, NAME FROM T ORDER BY ID"},
    {"STORE", "UPDATE T SET DOC = ? WHERE ID = ?"},
    {"LENGTH", "VALUES LENGTH(CAST(? AS CLOB(2G)))"},
    {"PIECE", "VALUES SUBSTR(CAST(? AS CLOB(2G)), CAST(? AS INTEGER), CAST(? AS INTEGER))"},
    {"VALUE", "VALUES CAST(? AS CLOB(2G))"},
};
inline constexpr esql::Module kModule = {"TESTMOD", "TOKEN001", kSections};

inline std::string stateOf(const sqlca& area) {
  return std::string(area.sqlstate, 5);
}

inline std::vector<std::string> tokensOfArea(const sqlca& area) {
  std::vector<std::string> tokens;
  std::istringstream text(std::string(area.sqlerrmc, static_cast<size_t>(area.sqlerrml)));
  for (std::string token; std::getline(text, token, '\xff');) tokens.push_back(token);
  return tokens;
}

class EsqlTest : public testing::Test {
 protected:
  void open(int codePage = 1208) {
    session.emplace(codePage);
    session->run(
        "CREATE TABLE T (ID INTEGER NOT NULL PRIMARY KEY, NAME VARCHAR(20), DOC CLOB(1M))");
    bindPackage(**session, kModule.package, kModule.token);
    (*session)->commit();
  }
  // Runs a section that must give this SQLCODE.
  void execute(const char* section, std::vector<HostVariable> input,
               std::vector<HostVariable> output = {}, int sqlcode = 0) {
    esql::execute(kModule, section, input, output, area);
    EXPECT_EQ(area.sqlcode, sqlcode) << section << ' ' << stateOf(area) << ' ' << messageOf(area);
  }
  void add(int32_t id, const char* name) {
    std::string text = name;
    execute("ADD", {integerVariable(&id), stringVariable(text.data(), 21)});
  }
  int32_t locatorOf(int32_t id) {
    int32_t locator = 0;
    execute("DOC", {integerVariable(&id)}, {clobLocatorVariable(&locator)});
    return locator;
  }

  std::optional<TestSession> session;
  sqlca area{};
};

}  // namespace orv::test
