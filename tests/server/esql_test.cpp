// Embedded SQL: sections, host variables, cursors, dynamic statements and descriptors.
#include <cstring>

#include "server/values/packed_decimal.h"
#include "tests/server/esql_fixture.h"

namespace orv::test {
namespace {

TEST_F(EsqlTest, StatementsRunOnlyUnderABoundPackage) {
  int32_t id = 1;
  execute("NAME", {integerVariable(&id)}, {}, -1024);
  open();
  char name[21] = "";
  execute("NAME", {integerVariable(&id)}, {stringVariable(name, 21)}, 100);
  EXPECT_EQ(stateOf(area), "02000");
  for (const esql::Module& other : {esql::Module{"TESTMOD", "TOKEN002", kSections},
                                    esql::Module{"MISSING", "TOKEN001", kSections}}) {
    esql::execute(other, "NAME", {}, {}, area);
    EXPECT_EQ(area.sqlcode, -805);
    EXPECT_EQ(tokensOfArea(area)[0], std::string("ORVXML.") + other.package);
    esql::executeImmediate(other, "COMMIT", area);
    EXPECT_EQ(area.sqlcode, -805);
    esql::Statement statement(other);
    statement.prepare("DELETE FROM T", area);
    EXPECT_EQ(area.sqlcode, -805);
    Cursor cursor(other, "ALL");
    cursor.open({}, area);
    EXPECT_EQ(area.sqlcode, -805);
  }
  execute("NO SUCH SECTION", {}, {}, -805);
  // Binding takes part in the unit of work.
  bindPackage(**session, "TESTMOD", "TOKEN002");
  execute("NAME", {integerVariable(&id)}, {}, -805);
  (*session)->rollback();
  execute("NAME", {integerVariable(&id)}, {}, 100);
}

TEST_F(EsqlTest, SectionsReportRowsNullsAndCuts) {
  open();
  add(1, "one");
  EXPECT_EQ(area.sqlerrd[2], 1);
  EXPECT_EQ(stateOf(area), "00000");
  int32_t id = 1;
  char name[21] = "";
  int16_t indicator = 9;
  execute("NAME", {integerVariable(&id)}, {stringVariable(name, 21, &indicator)});
  EXPECT_STREQ(name, "one");
  EXPECT_EQ(indicator, 0);
  execute("NAME", {integerVariable(&id)}, {stringVariable(name, 3, &indicator)});
  EXPECT_STREQ(name, "on");
  EXPECT_EQ(indicator, 3);
  EXPECT_EQ(stateOf(area), "01004");
  EXPECT_EQ(area.sqlwarn[1], 'W');

  int16_t null = -1;
  id = 2;
  execute("ADD", {integerVariable(&id), stringVariable(nullptr, 0, &null)});
  execute("NAME", {integerVariable(&id)}, {stringVariable(name, 21)}, -305);
  execute("NAME", {integerVariable(&id)}, {stringVariable(name, 21, &indicator)});
  EXPECT_EQ(indicator, -1);

  execute("ADD", {integerVariable(&id), stringVariable(name, 21)}, {}, -803);
  EXPECT_EQ(stateOf(area), "23505");
  execute("ALL", {}, {integerVariable(&id)}, -811);
  execute("NAME", {}, {stringVariable(name, 21)}, -313);
  execute("NAME", {{4711, 4, &id}}, {stringVariable(name, 21)}, -804);
  execute("NAME", {integerVariable(nullptr)}, {stringVariable(name, 21)}, -804);
  char unterminated[3] = {'a', 'b', 'c'};
  execute("ADD", {integerVariable(&id), stringVariable(unterminated, 3)}, {}, -302);
  EXPECT_EQ(stateOf(area), "22024");
  EXPECT_EQ(session->rows("SELECT COUNT(*) FROM T"), (Rows{{"2"}}));
}

TEST_F(EsqlTest, HostVariablesOfEveryTypeCarryTheirValue) {
  struct Counted {
    uint16_t length;
    char data[30];
  };
  struct Large {
    int32_t length;
    char data[30];
  };
  open();
  session->run(
      "CREATE TABLE H (S SMALLINT, I INTEGER, B BIGINT, F DOUBLE, R REAL, D DECIMAL(7,2), C "
      "CHAR(5), V VARCHAR(9), L LONG VARCHAR, DT DATE, TM TIME, TS TIMESTAMP, X CLOB(99), BB "
      "BLOB(99), G VARGRAPHIC(9))");
  int16_t s = -7;
  int32_t i = 70000;
  int64_t b = int64_t{1} << 40;
  double f = 1.5;
  float r = 0.25F;
  char d[4];
  ASSERT_TRUE(packDecimal("-123.45", 7, 2, d));
  char c[5] = {'a', 'b', ' ', ' ', ' '};
  Counted v{3, "xyz"};
  Counted l{4, "long"};
  char dt[11] = "2026-11-24";
  char tm[9] = "20.16.07";
  char ts[27] = "2026-11-24-20.16.07.123456";
  Large x{4, "clob"};
  Large bb{2, {'\0', '\xff'}};
  Counted g{2, {'\0', 'A', '\x65', '\xe5'}};
  const std::vector<HostVariable> variables = {
      {kSqlSmallint, 2, &s},  {kSqlInteger, 4, &i}, {kSqlBigint, 8, &b},
      {kSqlDouble, 8, &f},    {kSqlDouble, 4, &r},  {kSqlDecimal, 2 * 256 + 7, d},
      {kSqlChar, 5, c},       {kSqlVarchar, 9, &v}, {kSqlLongVarchar, 30, &l},
      {kSqlDate, 10, dt},     {kSqlCString, 9, tm}, {kSqlTimestamp, 26, ts},
      {kSqlClob + 1, 30, &x}, {kSqlBlob, 30, &bb},  {kSqlVargraphic, 9, &g},
  };
  const esql::Section sections[] = {
      {"IN", "INSERT INTO H VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"},
      {"OUT", "SELECT * FROM H"}};
  const esql::Module module = {kModule.package, kModule.token, sections};
  esql::execute(module, "IN", variables, {}, area);
  ASSERT_EQ(area.sqlcode, 0) << messageOf(area);
  EXPECT_EQ(session->rows("SELECT * FROM H"),
            (Rows{{"-7", "70000", "1099511627776", "1.5E0", "2.5E-1", "-123.45", "ab   ", "xyz",
                   "long", "2026-11-24", "20.16.07", "2026-11-24-20.16.07.123456", "clob",
                   std::string("\0\xff", 2), "A\u65e5"}}));
  for (const HostVariable& variable : variables) {
    std::memset(variable.data, 0x55, variable.type == kSqlDecimal ? 4 : 2);
  }
  esql::execute(module, "OUT", {}, variables, area);
  ASSERT_EQ(area.sqlcode, 0) << messageOf(area);
  EXPECT_EQ(std::tie(s, i, b, f, r), std::make_tuple(-7, 70000, int64_t{1} << 40, 1.5, 0.25F));
  EXPECT_EQ(unpackDecimal(d, 7, 2), "-123.45");
  EXPECT_EQ(std::string(c, 5), "ab   ");
  EXPECT_EQ(std::string(v.data, v.length), "xyz");
  EXPECT_EQ(std::string(l.data, l.length), "long");
  EXPECT_STREQ(dt, "2026-11-24");
  EXPECT_STREQ(tm, "20.16.07");
  EXPECT_STREQ(ts, "2026-11-24-20.16.07.123456");
  EXPECT_EQ(std::string(x.data, static_cast<size_t>(x.length)), "clob");
  EXPECT_EQ(std::string(bb.data, static_cast<size_t>(bb.length)), std::string("\0\xff", 2));
  EXPECT_EQ(std::string(g.data, g.length * 2U), std::string("\0A\x65\xe5", 4));

  struct Refusal {
    const char* label;
    const char* query;
    HostVariable output;
    int sqlcode;
  };
  Large tiny{};
  const Refusal refusals[] = {
      {"too large for SMALLINT", "SELECT I FROM H", {kSqlSmallint, 2, &s}, -304},
      {"text into a number", "SELECT V FROM H", {kSqlInteger, 4, &i}, -303},
      {"large object beyond its variable", "SELECT X FROM H", {kSqlClob, 3, &tiny}, -433},
      {"more digits than the decimal has", "SELECT I FROM H", {kSqlDecimal, 3, d}, -413},
  };
  for (const Refusal& refusal : refusals) {
    const esql::Section section[] = {{"OUT", refusal.query}};
    esql::execute({kModule.package, kModule.token, section}, "OUT", {}, {&refusal.output, 1}, area);
    EXPECT_EQ(area.sqlcode, refusal.sqlcode) << refusal.label;
  }
  const auto store = [&](HostVariable input) {
    esql::Statement statement(kModule);
    statement.prepare("UPDATE H SET X = ?", area);
    statement.execute({&input, 1}, area);
    return area.sqlcode;
  };
  x.length = 31;
  EXPECT_EQ(store({kSqlClob, 30, &x}), -311);
  x.length = -1;
  EXPECT_EQ(store({kSqlClob, 30, &x}), -311);
  v.length = 31;
  EXPECT_EQ(store({kSqlVarchar, 30, &v}), -311);
}

TEST_F(EsqlTest, CursorsWalkSectionsAndPreparedStatements) {
  open();
  add(1, "one");
  add(2, "two");
  int32_t id = 0;
  char name[21] = "";
  const HostVariable row[] = {integerVariable(&id), stringVariable(name, 21)};
  Cursor all(kModule, "ALL");
  all.fetch(row, area);
  EXPECT_EQ(area.sqlcode, -501);
  all.open({}, area);
  EXPECT_EQ(area.sqlcode, 0);
  all.open({}, area);
  EXPECT_EQ(area.sqlcode, -502);
  all.fetch(row, area);
  EXPECT_EQ(id, 1);
  all.fetch({row, 1}, area);  // fewer variables than columns: a warning
  EXPECT_EQ(area.sqlcode, 0);
  EXPECT_EQ(area.sqlwarn[3], 'W');
  EXPECT_EQ(id, 2);
  all.fetch(row, area);
  EXPECT_EQ(area.sqlcode, 100);
  all.close(area);
  EXPECT_EQ(area.sqlcode, 0);
  all.close(area);
  EXPECT_EQ(area.sqlcode, -501);

  std::optional<esql::Statement> statement(std::in_place, kModule);
  sqlda none{};
  statement->describe(&none, area);
  EXPECT_EQ(area.sqlcode, -516);
  statement->execute(Variables{}, area);
  EXPECT_EQ(area.sqlcode, -518);
  statement->prepare("SELECT NAME FROM T WHERE ID > ?", area);
  statement->execute(Variables(row, 1), area);
  EXPECT_EQ(area.sqlcode, -518);  // a query wants a cursor
  Cursor dynamic(*statement);
  id = 1;
  dynamic.open({row, 1}, area);
  EXPECT_EQ(area.sqlcode, 0);
  statement.reset();  // the cursor goes on without it
  dynamic.fetch({row + 1, 1}, area);
  EXPECT_STREQ(name, "two");
  esql::executeImmediate(kModule, "SELECT ID FROM T", area);
  EXPECT_EQ(area.sqlcode, -84);
  esql::executeImmediate(kModule, "DELETE FROM T WHERE ID = 9", area);
  EXPECT_EQ(area.sqlcode, 100);
  esql::Statement change(kModule);
  change.prepare("DELETE FROM T", area);
  Cursor wrong(change);
  wrong.open({}, area);
  EXPECT_EQ(area.sqlcode, -517);
}

TEST_F(EsqlTest, DescriptorsDescribeAndCarryRows) {
  open();
  session->run("CREATE DISTINCT TYPE DT AS VARCHAR(9) WITH COMPARISONS");
  session->run("CREATE TABLE U (A DT, D DECIMAL(9,3) NOT NULL)");
  struct Case {
    const char* query;
    int entries, sqlcode;
  };
  const Case cases[] = {
      {"SELECT ID, NAME FROM T", 1, 236}, {"SELECT ID, NAME FROM T", 2, 0},
      {"SELECT ID, DOC FROM T", 2, 238},  {"SELECT ID, DOC FROM T", 4, 0},
      {"SELECT A FROM U", 1, 237},        {"SELECT A, DOC FROM U, T", 3, 239},
      {"SELECT D, D, D FROM U", 0, 236},
  };
  alignas(sqlda) char memory[1000];
  sqlda* const descriptor = reinterpret_cast<sqlda*>(memory);
  esql::Statement statement(kModule);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.query);
    std::memset(memory, 0, sizeof memory);
    descriptor->sqln = static_cast<int16_t>(c.entries);
    statement.prepare(c.query, area);
    statement.describe(descriptor, area);
    EXPECT_EQ(area.sqlcode, c.sqlcode);
    EXPECT_EQ(area.sqlcode ? descriptor->sqlvar[0].sqltype : 0, 0);
  }
  // The codes of all types, which a column that may be null has plus one.
  session->run(
      "CREATE TABLE V (A SMALLINT, B BIGINT, C REAL, D DOUBLE, E CHAR(3), F CHAR(3) FOR BIT DATA,"
      " G LONG VARCHAR, H BLOB(9), I DBCLOB(9), J GRAPHIC(3), K VARGRAPHIC(3), L LONG VARGRAPHIC,"
      " M DATE, N TIME, O TIMESTAMP)");
  std::string codes;
  for (char column = 'A'; column <= 'O'; ++column) {
    statement.prepare(std::string("SELECT ") + column + " FROM V", area);
    descriptor->sqln = 2;
    statement.describe(descriptor, area);
    codes += std::to_string(descriptor->sqlvar[0].sqltype) + " ";
  }
  EXPECT_EQ(codes, "501 493 481 481 453 453 457 405 413 469 465 473 385 389 393 ");
  statement.prepare("SELECT D, A, ID, DOC FROM U, T", area);
  descriptor->sqln = 8;
  statement.describe(descriptor, area);
  ASSERT_EQ(area.sqlcode, 0);
  EXPECT_EQ(descriptor->sqld, 4);
  EXPECT_EQ(descriptor->sqldaid[6], '2');
  EXPECT_EQ(descriptor->sqlvar[0].sqltype, kSqlDecimal);
  EXPECT_EQ(descriptor->sqlvar[0].sqllen, 3 * 256 + 9);
  EXPECT_EQ(descriptor->sqlvar[1].sqltype, kSqlVarchar + 1);
  EXPECT_EQ(std::string(descriptor->sqlvar[2].sqlname.data, 2), "ID");
  EXPECT_EQ(descriptor->sqlvar[3].sqltype, kSqlClob + 1);
  EXPECT_EQ(secondaryEntry(descriptor, 3)->sqllonglen, 1048576);

  session->run("INSERT INTO T VALUES (1, 'x', 'document')");
  session->run("INSERT INTO U VALUES ('d', 1.5)");
  char decimal[5], text[9], document[8];
  int32_t id = 0, length = 0;
  int16_t indicators[4] = {};
  descriptor->sqlvar[1].sqltype = kSqlCString + 1;
  char* const data[] = {decimal, text, reinterpret_cast<char*>(&id), document};
  for (int i = 0; i < 4; ++i) {
    descriptor->sqlvar[i].sqldata = data[i];
    descriptor->sqlvar[i].sqlind = &indicators[i];
  }
  secondaryEntry(descriptor, 3)->sqldatalen = &length;
  secondaryEntry(descriptor, 3)->sqllonglen = 8;
  Cursor cursor(statement);
  cursor.open({}, area);
  cursor.fetch(descriptor, area);
  ASSERT_EQ(area.sqlcode, 0) << messageOf(area);
  EXPECT_EQ(unpackDecimal(decimal, 9, 3), "1.500");
  EXPECT_STREQ(text, "d");
  EXPECT_EQ(id, 1);
  EXPECT_EQ(std::string(document, static_cast<size_t>(length)), "document");
  cursor.fetch(descriptor, area);
  EXPECT_EQ(area.sqlcode, 100);
  descriptor->sqln = 4;  // no room for secondary entries any more
  cursor.fetch(descriptor, area);
  EXPECT_EQ(area.sqlcode, -804);
  cursor.fetch(static_cast<sqlda*>(nullptr), area);
  EXPECT_EQ(area.sqlcode, -804);
}

}  // namespace
}  // namespace orv::test
