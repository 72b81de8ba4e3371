// Queries over derived tables, each level restricting the one below by a key: what they are called
// and typed by, what they find, and that the restrictions reach the tables.
#include <array>
#include <functional>
#include <sstream>

#include "server/engine/sqlite/catalog/sqlite_catalog.h"
#include "server/engine/sqlite/functions/engine_functions.h"
#include "server/engine/sqlite/render/renderer.h"
#include "server/resolve/resolver.h"
#include "server/syntax/sql_parser.h"
#include "tests/server/cli_handles.h"
#include "tests/server/test_session.h"
#include "tests/support/sqlite_file.h"
#include "tests/support/temporary_folder.h"

namespace orv::test {
namespace {

using orvxml::test::TemporaryFolder;

SQLCHAR* chars(const std::string& text) {
  return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str()));
}

using Texts = std::vector<std::string>;

// What stands between the commas.
Texts split(const std::string& text) {
  Texts parts;
  std::istringstream all(text);
  for (std::string part; std::getline(all, part, ',');) parts.push_back(part);
  return parts;
}

// `base`, restricted by each of the keys in turn.
std::string nested(std::string base, const Texts& keys, const std::string& list) {
  for (const std::string& key : keys) {
    base.insert(0, "SELECT * FROM (");
    base += ") qrk_tab_exp WHERE " + key + "=?";
  }
  return "SELECT " + list + " FROM (" + base + ") qrk_tab_exp ORDER BY " +
         list.substr(0, list.find(','));
}

class NestedQueryTest : public testing::Test {
 protected:
  NestedQueryTest() {
    cli.connect();
    session.run(
        "CREATE TABLE O (ID INTEGER NOT NULL PRIMARY KEY, NAME VARCHAR(9), \"Mixed Case\" CHAR(3),"
        " D DECIMAL(5,2))");
    session.run(
        "CREATE TABLE I (OID INTEGER NOT NULL, N SMALLINT NOT NULL, K VARCHAR(9) NOT NULL,"
        " PRIMARY KEY (OID, N))");
    session.run("CREATE INDEX ONAME ON O (NAME)");
    session.run("CREATE INDEX IK ON I (K)");
    session.run("INSERT INTO O VALUES (1, 'ann', 'x', 1.5), (2, '=?', 'y', 2), (3, NULL, 'z', 3)");
    session.run("INSERT INTO I VALUES (1, 1, 'ann'), (1, 2, 'bob'), (2, 1, 'cid')");
    session->commit();
  }

  std::string diagnostic() const {
    SQLCHAR text[200] = "";
    SQLGetDiagRec(SQL_HANDLE_STMT, stmt, 1, nullptr, nullptr, text, sizeof text, nullptr);
    return reinterpret_cast<const char*>(text);
  }

  // The columns, and the rows with their values one after another: "A,B: 1|x 2|y".
  std::string answer(const std::string& text, const Texts& values) {
    if (SQLPrepare(stmt, chars(text), SQL_NTS) != SQL_SUCCESS) return diagnostic();
    for (size_t i = 0; i < values.size(); ++i) bind(i, values[i]);
    SQLSMALLINT count = 0;
    SQLNumResultCols(stmt, &count);
    std::vector<std::array<char, 40>> buffers(static_cast<size_t>(count));
    std::vector<SQLINTEGER> lengths(buffers.size());
    std::string shown;
    for (SQLUSMALLINT i = 1; i <= count; ++i) {
      SQLCHAR name[40];
      SQLDescribeCol(stmt, i, name, sizeof name, nullptr, nullptr, nullptr, nullptr, nullptr);
      shown += (i > 1 ? "," : "") + std::string(reinterpret_cast<char*>(name));
      SQLBindCol(stmt, i, SQL_C_CHAR, buffers[i - 1U].data(), 40, &lengths[i - 1U]);
    }
    shown += ":";
    if (SQLExecute(stmt) != SQL_SUCCESS) return diagnostic();
    while (SQLFetch(stmt) == SQL_SUCCESS) {
      for (size_t i = 0; i < buffers.size(); ++i) {
        shown += i == 0 ? " " : "|";
        shown += lengths[i] == SQL_NULL_DATA ? "-" : buffers[i].data();
      }
    }
    SQLCloseCursor(stmt);
    return shown;
  }

  void bind(size_t index, const std::string& value) {
    const auto number = static_cast<SQLUSMALLINT>(index + 1);
    SQLSMALLINT type = 0, digits = 0, nullable = 0;
    SQLUINTEGER size = 0;
    SQLDescribeParam(stmt, number, &type, &size, &digits, &nullable);
    SQLBindParameter(stmt, number, SQL_PARAM_INPUT, SQL_C_CHAR, type, size, digits, chars(value),
                     static_cast<SQLINTEGER>(value.size()) + 1, nullptr);
  }

  TemporaryFolder folder;
  TestSession session{1208, folder.path("nested.db")};
  CliHandles cli;
  const SQLHSTMT& stmt = cli.stmt;
};

TEST_F(NestedQueryTest, NamesAndRowsComeThroughEveryLevel) {
  const struct Case {
    const char *base, *keys, *list, *values, *answer;
  } cases[] = {
      {"SELECT o.id, i.n, k FROM o, i WHERE o.id = i.oid", "ID", R"("N", "K")", "1",
       "N,K: 1|ann 2|bob"},
      {"SELECT o.id, i.n, k FROM o, i WHERE o.id = i.oid", "ID,N", R"("K")", "1,2", "K: bob"},
      {"SELECT o.id, i.n, k FROM o LEFT OUTER JOIN i ON o.id = i.oid", "ID", R"("N", "K")", "3",
       "N,K: -|-"},
      {"SELECT * FROM o WHERE name = '=?'", "ID", R"("NAME", "Mixed Case")", "2",
       "NAME,Mixed Case: =?|y  "},
      {"SELECT id, d AS \"a b\", \"Mixed Case\" FROM o", "\"Mixed Case\"", R"("a b", "Mixed Case")",
       "x", "a b,Mixed Case: 1.50|x  "},
      {"SELECT id, d + 1, name || '=?' FROM o", "ID,\"2\"", R"("2", "3")", "1,2.50",
       "2,3: 2.50|ann=?"},
      {"SELECT oid, COUNT(*), MAX(k) AS m FROM i GROUP BY oid", "OID", R"("2", "M")", "1",
       "2,M: 2|bob"},
      {"SELECT DISTINCT oid FROM i", "OID", R"("OID")", "1", "OID: 1"},
      {"SELECT id, name FROM o UNION SELECT oid, k FROM i", "ID", R"("NAME", "ID")", "1",
       "NAME,ID: ann|1 bob|1"},
      {"SELECT id, name FROM o EXCEPT SELECT oid, k FROM i", "ID", R"("ID", "NAME")", "1",
       "ID,NAME:"},
      {"SELECT id, (SELECT MAX(n) FROM i WHERE oid = o.id) AS last FROM o", "LAST",
       R"("LAST", "ID")", "2", "LAST,ID: 2|1"},
      {"SELECT o.id, x.n FROM o, TABLE(SELECT oid, n FROM i) AS x WHERE x.oid = o.id", "ID",
       R"("N")", "2", "N: 1"},
      {"SELECT o.id, i.n, id FROM o, i", "", R"("ID")", "",
       "ORV0203E  The reference to the column \"ID\" is ambiguous.  SQLSTATE=42702"},
      {"SELECT id, d + 1 FROM o", "", R"("3")", "",
       "ORV0206E  \"3\" is not valid in the context in which it is used.  SQLSTATE=42703"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.base);
    EXPECT_EQ(answer(nested(c.base, split(c.keys), c.list), split(c.values)), c.answer);
  }
}

// Steps that the engine takes over whole tables, without a restriction, to answer a query.
int unrestrictedSteps(Session& session, const std::string& path, const std::string& text,
                      const Texts& values) {
  auto& catalog = dynamic_cast<sqlite::SqliteCatalog&>(session.state().catalog());
  const std::unique_ptr<Statement> tree = parseStatement(text);
  resolve(*tree, catalog);
  const auto data = catalog.data();
  sqlite::Renderer renderer(*data, catalog.defaultSchema());
  renderer.statement(*tree);
  sqlite::Environment environment(1208);
  const orvxml::test::SqliteFile file = orvxml::test::openSqlite(path);
  sqlite3* const database = file.get();
  sqlite::registerCollation(database);
  sqlite::registerConversions(database, environment);
  sqlite3_stmt* prepared = nullptr;
  const std::string sql = renderer.take();
  EXPECT_EQ(sqlite3_prepare_v2(database, sql.c_str(), -1, &prepared, nullptr), SQLITE_OK)
      << sqlite3_errmsg(database);
  for (size_t i = 0; i < values.size(); ++i) {
    sqlite3_bind_text(prepared, static_cast<int>(i) + 1, values[i].c_str(), -1, SQLITE_STATIC);
  }
  int rows = 0;
  while (sqlite3_step(prepared) == SQLITE_ROW) ++rows;
  EXPECT_GT(rows, 0);
  const int steps = sqlite3_stmt_status(prepared, SQLITE_STMTSTATUS_FULLSCAN_STEP, 0);
  sqlite3_finalize(prepared);
  return steps;
}

TEST_F(NestedQueryTest, RestrictionsReachTheIndexesOfTheTables) {
  const struct Case {
    const char *base, *keys, *values;
  } cases[] = {
      {"SELECT o.id AS c, i.n, k FROM o, i WHERE o.id = i.oid", "C", "1"},
      {"SELECT o.id AS c, i.n, k FROM o LEFT JOIN i ON o.id = i.oid", "C,N", "1,2"},
      {"SELECT id AS c, name FROM o UNION SELECT oid, k FROM i", "C", "1"},
      {"SELECT id AS c, name FROM o UNION SELECT oid, k FROM i", "NAME", "ann"},
      {"SELECT id AS c, name, 1 AS n FROM o UNION SELECT oid, k, n FROM i WHERE n > 0", "NAME,C",
       "bob,1"},
      {"SELECT id AS c FROM o UNION ALL (SELECT oid FROM i INTERSECT SELECT id FROM o)", "C", "1"},
      {"SELECT n, c FROM (SELECT n, oid AS c FROM i UNION SELECT 1, id FROM o) x", "C", "1"},
      {"SELECT oid AS c, COUNT(*) AS n FROM i GROUP BY oid", "C", "1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.base);
    const std::string text = nested(c.base, split(c.keys), "\"C\"");
    EXPECT_EQ(unrestrictedSteps(*session, folder.path("nested.db"), text, split(c.values)), 0);
  }
}

TEST_F(NestedQueryTest, WhatIsFetchedAsTextFindsItsRowAgain) {
  const struct Case {
    const char *type, *stored, *fetched;
  } cases[] = {
      {"SMALLINT", "-32768", "-32768"},
      {"BIGINT", "-9223372036854775808", "-9223372036854775808"},
      {"DECIMAL(9,3)", "-0.5", "-0.500"},
      {"DECIMAL(3,3)", "0", "0.000"},
      {"DOUBLE", "0.1", "1.0E-1"},
      {"DOUBLE", "1.7976931348623157E308", "1.7976931348623157E308"},
      {"DOUBLE", "4.9E-324", "5.0E-324"},
      {"REAL", "0.1", "1.0E-1"},
      {"REAL", "3.4028234E38", "3.4028235E38"},
      {"CHAR(5)", "ab", "ab   "},
      {"VARCHAR(9)", "", ""},
      {"VARCHAR(9)", " it's ", " it's "},
      {"DATE", "24.12.2024", "2024-12-24"},
      {"TIME", "8:05 PM", "20.05.00"},
      {"TIMESTAMP", "2024-02-29 23:59:59.5", "2024-02-29-23.59.59.500000"},
      {"GRAPHIC(3)", "\u65e5", "\u65e5  "},
      {"VARGRAPHIC(3)", "\u65e5\u672c", "\u65e5\u672c"},
      {"CHAR(3) FOR BIT DATA", "aZ", "615A20"},
      {"VARCHAR(3) FOR BIT DATA", "a", "61"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.type) + " " + c.stored);
    session.run(std::string("CREATE TABLE K (K ") + c.type + ")");
    EXPECT_EQ(answer("INSERT INTO K VALUES (?)", {c.stored}), ":");
    const std::string row = std::string("K: ") + c.fetched;
    EXPECT_EQ(answer("SELECT K FROM K", {}), row);
    EXPECT_EQ(answer(nested("SELECT * FROM K", {"K"}, "\"K\""), {c.fetched}), row);
    session.run("DROP TABLE K");
  }
  session.run("CREATE TABLE K (K CHAR(2) FOR BIT DATA)");
  EXPECT_EQ(answer("SELECT K FROM K WHERE K = ?", {"4g"}),
            "ORV0420E  The text \"4g\" is not a valid \"CHAR(2) FOR BIT DATA\" value.  "
            "SQLSTATE=22018");
}

TEST_F(NestedQueryTest, OneTextServesManyOpenCursors) {
  session.run("CREATE TABLE COPY (K VARCHAR(9))");
  const std::string text = "SELECT K FROM I WHERE OID = ? ORDER BY K";
  constexpr int kDepth = 10;
  char key[2] = "1";
  char value[kDepth][10] = {};
  std::vector<SQLHSTMT> levels(kDepth);
  for (int i = 0; i < kDepth; ++i) {
    SQLHSTMT& level = levels[static_cast<size_t>(i)];
    ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_STMT, cli.dbc, &level), SQL_SUCCESS);
    SQLBindParameter(level, 1, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_INTEGER, 10, 0, key, 2, nullptr);
    SQLBindCol(level, 1, SQL_C_CHAR, value[i], 10, nullptr);
  }
  int rows = 0;
  const std::function<void(size_t)> walk = [&](size_t level) {
    if (level == levels.size()) return;
    ASSERT_EQ(SQLExecDirect(levels[level], chars(text), SQL_NTS), SQL_SUCCESS);
    SQLRETURN result = SQL_SUCCESS;
    while ((result = SQLFetch(levels[level])) == SQL_SUCCESS) {
      if (++rows % 100 == 0) session.run("INSERT INTO COPY VALUES ('x')");
      walk(level + 1);
    }
    EXPECT_EQ(result, SQL_NO_DATA);
    EXPECT_STREQ(value[level], "bob");
    ASSERT_EQ(SQLCloseCursor(levels[level]), SQL_SUCCESS);
  };
  walk(0);
  EXPECT_EQ(rows, 2046);  // 2 + 4 + ... + 1024
  EXPECT_EQ(session.rows("SELECT COUNT(*) FROM COPY"), (Rows{{"20"}}));
}

}  // namespace
}  // namespace orv::test
