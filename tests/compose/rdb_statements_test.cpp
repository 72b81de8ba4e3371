// RDB_node mapping: which statements are sent for the documents.
#include <algorithm>

#include "tests/compose/rdb_mapping.h"
#include "tests/support/instance_trace.h"

namespace orvxml::test {
namespace {

std::vector<std::string> tracedStatements(const std::string& trace) {
  constexpr std::string_view kStart = "qrkGenSQL:\t\t";
  std::vector<std::string> statements;
  for (size_t at = trace.find(kStart); at != std::string::npos; at = trace.find(kStart, at)) {
    at += kStart.size();
    statements.push_back(trace.substr(at, trace.find('\n', at) - at));
  }
  return statements;
}

// Each table has one statement for all rows and documents.
TEST(RdbComposition, StatementsToTheBlank) {
  ComposeDatabase db;
  db.runScript(kOrders);
  db.runScript(
      "create table s.p (a integer, b integer); create table s.c (a integer, b integer, v integer);"
      "insert into s.p values (1, 1);");
  const std::string shop = order(
      attributeOf("key", "orders", "k") + textOf("Customer", "orders", "customer") +
          element("Part", attributeOf("color", "part", "color") + textOf("key", "part", "k") +
                              element("Ship", text(column("ship", "mode")))) +
          element("Clerk", text(column("clerk", "name"))),
      top(table("orders", "k desc") + table("part") + table("ship", "mode, p") + table("clerk"),
          "orders.k = part.o and part.k = ship.p and clerk.k = orders.clerk"));
  const std::string keys = mapping(
      element("p", top(table("s.p") + table("s.c", "v"), "s.p.a = s.c.a AND s.c.b = s.p.b") +
                       attribute("a", conditional("s.p", "a", "s.p.a > 0")) +
                       element("c", text(conditional("s.c", "v", "v is null")))));
  const struct {
    const char* label;
    std::string dad;
    std::vector<std::string> statements;
  } cases[] = {
      {"joins, orders, join columns that only children need",
       shop,
       {R"(SELECT "ORDERS"."K", "ORDERS"."CUSTOMER", "ORDERS"."CLERK" FROM "ORDERS")"
        " ORDER BY k desc",
        R"(SELECT "PART"."COLOR", "PART"."K" FROM "PART" WHERE "PART"."O" = ? )",
        R"(SELECT "CLERK"."NAME" FROM "CLERK" WHERE "CLERK"."K" = ? )",
        R"(SELECT "SHIP"."MODE" FROM "SHIP" WHERE "SHIP"."P" = ?  ORDER BY mode, p)"}},
      {"schemas, conditions, a key of two columns",
       keys,
       {R"(SELECT "S"."P"."A", "S"."P"."B" FROM "S"."P" WHERE s.p.a > 0)",
        R"(SELECT "S"."C"."V" FROM "S"."C" WHERE v is null AND "S"."C"."A" = ?  AND "S"."C"."B" = )"
        "?  ORDER BY v"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    const InstanceTrace traced;
    const ComposeOutcome outcome = db.compose(ComposeForm::List, {.source = c.dad});
    EXPECT_EQ(outcome.code, 0) << outcome;
    const std::vector<std::string> statements = tracedStatements(traced.text());
    EXPECT_TRUE(std::is_permutation(statements.begin(), statements.end(), c.statements.begin(),
                                    c.statements.end()))
        << testing::PrintToString(statements);
  }
}

TEST(RdbComposition, StatementsOfAnyLengthThatTheServerTakes) {
  // With 297 columns and without an ORDER BY clause the statement has 65,453 bytes.
  const std::string name(100, 'T'), col(113, 'C');
  std::string values;
  for (int i = 0; i < 296; ++i) values += textOf("e" + std::to_string(i), name, col);
  ComposeDatabase db;
  db.runScript("create table " + name + " (" + col + " integer); insert into " + name +
               " values (1)");
  const auto composeOrderedBy = [&](const std::string& orderBy) {
    const std::string dad =
        mapping(element("r", top(table(name, orderBy)) + attributeOf("a", name, col) + values));
    return db.compose(ComposeForm::List, {.source = dad});
  };
  const ComposeOutcome fits = composeOrderedBy("1" + std::string(70, ' '));
  EXPECT_EQ(fits.code, 0) << fits;
  const ComposeOutcome tooLong = composeOrderedBy("1" + std::string(71, ' '));
  EXPECT_EQ(tooLong.code, -121);
  EXPECT_EQ(tooLong.message, "QRKQ038E  The SQL statement is too long: sql_stmt > MAX_STMT_LEN.");
}

}  // namespace
}  // namespace orvxml::test
