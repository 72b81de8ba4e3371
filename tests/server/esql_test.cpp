#include <sys/stat.h>

#include <cstring>
#include <fstream>
#include <sstream>

#include "orv/apie.h"
#include "orv/esql.h"
#include "orv/sqludf.h"
#include "server/esql/bind_file.h"
#include "server/esql/services.h"
#include "server/session/communication_area.h"
#include "server/session/packed_decimal.h"
#include "tests/server/test_session.h"
#include "tests/support/temporary_folder.h"

namespace orv::test {
namespace {

using esql::clobFileVariable;
using esql::clobLocatorVariable;
using esql::Cursor;
using esql::HostVariable;
using esql::integerVariable;
using esql::stringVariable;
using esql::Variables;
using orvxml::test::TemporaryFolder;

constexpr esql::Section kSections[] = {
    {"ADD", "INSERT INTO T (ID, NAME) VALUES (?, ?)"},
    {"NAME", "SELECT NAME FROM T WHERE ID = ?"},
    {"DOC", "SELECT DOC FROM T WHERE ID = ?"},
    {"ALL", "SELECT ID, NAME FROM T ORDER BY ID"},
    {"STORE", "UPDATE T SET DOC = ? WHERE ID = ?"},
    {"LENGTH", "VALUES LENGTH(CAST(? AS CLOB(2G)))"},
    {"PIECE", "VALUES SUBSTR(CAST(? AS CLOB(2G)), CAST(? AS INTEGER), CAST(? AS INTEGER))"},
    {"VALUE", "VALUES CAST(? AS CLOB(2G))"},
};
constexpr esql::Module kModule = {"TESTMOD", "TOKEN001", kSections};

std::string stateOf(const sqlca& area) {
  return std::string(area.sqlstate, 5);
}

std::vector<std::string> tokensOfArea(const sqlca& area) {
  std::vector<std::string> tokens;
  std::istringstream text(std::string(area.sqlerrmc, static_cast<size_t>(area.sqlerrml)));
  for (std::string token; std::getline(text, token, '\xff');) tokens.push_back(token);
  return tokens;
}

std::string contentOf(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

SqlFileReference fileReference(const std::string& name, uint32_t option) {
  SqlFileReference file{};
  file.name_length = static_cast<uint32_t>(name.size());
  file.file_options = option;
  std::memcpy(file.name, name.data(), std::min(name.size(), sizeof file.name));
  return file;
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
      "CHAR(5),"
      " V VARCHAR(9), L LONG VARCHAR, DT DATE, TM TIME, TS TIMESTAMP, X CLOB(99), BB BLOB(99),"
      " G VARGRAPHIC(9))");
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

TEST_F(EsqlTest, LocatorsGiveLengthPiecesAndFiles) {
  for (const int codePage : {1208, 1252}) {
    SCOPED_TRACE(codePage);
    open(codePage);
    const std::string native = codePage == 1208 ? "a\xc3\xa4"
                                                  "bc"
                                                : "a\xe4"
                                                  "bc";
    session->run("INSERT INTO T VALUES (1, 'x', 'a\u00e4bc'), (2, NULL, NULL)");
    int32_t locator = locatorOf(1);
    int32_t length = 0;
    execute("LENGTH", {clobLocatorVariable(&locator)}, {integerVariable(&length)});
    EXPECT_EQ(length, static_cast<int32_t>(native.size()));
    char text[9] = "";
    int32_t start = 2, count = 1;  // may end inside a character
    execute("PIECE",
            {clobLocatorVariable(&locator), integerVariable(&start), integerVariable(&count)},
            {stringVariable(text, 9)});
    EXPECT_EQ(std::string(text), native.substr(1, 1));
    count = length;
    execute("PIECE",
            {clobLocatorVariable(&locator), integerVariable(&start), integerVariable(&count)},
            {stringVariable(text, 9)}, -138);
    const TemporaryFolder folder;
    SqlFileReference file = fileReference(folder.path("out.xml"), kFileOverwrite);
    execute("VALUE", {clobLocatorVariable(&locator)}, {clobFileVariable(&file)});
    EXPECT_EQ(contentOf(folder.path("out.xml")), native);
    EXPECT_EQ(file.data_length, native.size());
    struct stat status {};
    ASSERT_EQ(stat(folder.path("out.xml").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    // Back in from the file, and from the locator.
    file.file_options = kFileRead;
    int32_t id = 2;
    execute("STORE", {clobFileVariable(&file), integerVariable(&id)});
    EXPECT_EQ(session->rows("SELECT DOC FROM T WHERE ID = 2"), (Rows{{"a\u00e4bc"}}));
    execute("STORE", {clobLocatorVariable(&locator), integerVariable(&id)});
    esql::freeLocator(locator, area);
    EXPECT_EQ(area.sqlcode, 0);
    execute("LENGTH", {clobLocatorVariable(&locator)}, {integerVariable(&length)}, -423);
    esql::freeLocator(locator, area);
    EXPECT_EQ(area.sqlcode, -423);
    locator = locatorOf(1);
    (*session)->rollback();
    execute("VALUE", {clobLocatorVariable(&locator)}, {stringVariable(text, 9)}, -423);
  }
}

TEST_F(EsqlTest, FileReferencesAreChecked) {
  open();
  add(1, "x");
  session->run("UPDATE T SET DOC = 'document'");
  const TemporaryFolder folder;
  folder.write("there", "old");
  int32_t id = 1;
  struct Case {
    const char* label;
    std::string name;
    uint32_t option;
  };
  const Case reads[] = {
      {"missing", folder.path("missing"), kFileRead},
      {"a folder", folder.path(), kFileRead},
      {"an option that writes", folder.path("there"), kFileOverwrite},
      {"no name", "", kFileRead},
      {"a NUL in the name", folder.path(std::string("there\0x", 7)), kFileRead},
      {"a name that does not fit", std::string(256, 'x'), kFileRead},
  };
  for (const Case& c : reads) {
    SCOPED_TRACE(c.label);
    SqlFileReference file = fileReference(c.name, c.option);
    execute("STORE", {clobFileVariable(&file), integerVariable(&id)}, {}, -452);
  }
  const std::string full(1 << 20, 'x');
  const auto store = [&](const std::string& content, int sqlcode) {
    SqlFileReference file = fileReference(folder.write("long", content), kFileRead);
    execute("STORE", {clobFileVariable(&file), integerVariable(&id)}, {}, sqlcode);
  };
  store(full + std::string(10000, ' ') + "x", -433);
  EXPECT_EQ(stateOf(area), "22001");
  store(full + std::string(10000, ' '), 0);
  EXPECT_EQ(session->run("SELECT DOC FROM T").rows, (decltype(Result::rows){{full}}));
  session->run("UPDATE T SET DOC = 'document'");
  const auto write = [&](const std::string& name, uint32_t option, int sqlcode) {
    SqlFileReference file = fileReference(folder.path(name), option);
    execute("DOC", {integerVariable(&id)}, {clobFileVariable(&file)}, sqlcode);
    return contentOf(folder.path(name));
  };
  EXPECT_EQ(write("there", kFileCreate, -452), "old");
  EXPECT_EQ(write("there", kFileAppend, 0), "olddocument");
  EXPECT_EQ(write("there", kFileOverwrite, 0), "document");
  EXPECT_EQ(write("new", kFileCreate, 0), "document");
  write("no/such/folder", kFileOverwrite, -452);
  write("there", kFileRead, -452);
}

TEST_F(EsqlTest, FunctionsBuildAndReadLocators) {
  int32_t number = 0;
  EXPECT_EQ(sqludf_length(&number, &number), -1024);
  open(943);
  sqludf_locator* locator = nullptr;
  EXPECT_EQ(sqludf_create_locator(kSqlInteger, &locator), -804);
  ASSERT_EQ(sqludf_create_locator(kSqlClob, &locator), 0);
  // A character may come in two pieces.
  for (const char* piece : {"a\x93", "\xfa", "z"}) {
    const auto size = static_cast<int32_t>(std::strlen(piece));
    ASSERT_EQ(sqludf_append(locator, reinterpret_cast<const unsigned char*>(piece), size, &number),
              0);
    EXPECT_EQ(number, size);
  }
  EXPECT_EQ(sqludf_length(locator, &number), 0);
  EXPECT_EQ(number, 4);
  unsigned char buffer[8] = "";
  EXPECT_EQ(sqludf_substr(locator, 3, 8, buffer, &number), 0);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), static_cast<size_t>(number)), "\xfaz");
  EXPECT_EQ(sqludf_substr(locator, 0, 1, buffer, &number), -138);
  EXPECT_EQ(sqludf_substr(locator, 9, 1, buffer, &number), 0);
  EXPECT_EQ(number, 0);
  add(1, "x");
  int32_t id = 1;
  execute("STORE", {clobLocatorVariable(locator), integerVariable(&id)});
  EXPECT_EQ(session->rows("SELECT DOC FROM T"), (Rows{{"a\u65e5z"}}));
  number = *locator;
  EXPECT_EQ(sqludf_free_locator(locator), 0);
  EXPECT_EQ(sqludf_length(&number, &id), -423);
}

TEST_F(EsqlTest, ConnectTellsTheConnectionAndNests) {
  const TemporaryFolder folder;
  esql::connectionProperties(kModule, area);
  EXPECT_EQ(area.sqlcode, -1024);
  esql::disconnect(kModule, area);
  EXPECT_EQ(area.sqlcode, -1024);
  open(943);
  esql::connectionProperties(kModule, area);
  const std::vector<std::string> tokens = tokensOfArea(area);
  ASSERT_GE(tokens.size(), 9U);
  EXPECT_EQ(tokens[1], "943");
  EXPECT_EQ(tokens[2], session->rows("VALUES USER")[0][0]);
  EXPECT_EQ(tokens[8], "943");
  const std::string path = folder.path("a_rather_long_database_name.db");
  {
    Outcome outcome;
    ASSERT_TRUE(Session::create(path, 1252, outcome));
  }
  Session* const outer = Session::current();
  esql::connect(kModule, folder.path("missing.db"), "", "", area);
  EXPECT_EQ(area.sqlcode, -1013);
  EXPECT_EQ(Session::current(), outer);
  esql::connect(kModule, path, "user", "password", area);
  ASSERT_EQ(area.sqlcode, 0);
  EXPECT_EQ(tokensOfArea(area)[0], "a_rather_long_data");
  EXPECT_EQ(tokensOfArea(area)[8], "1252");
  ASSERT_NE(Session::current(), outer);
  Session::current()->run("CREATE TABLE T (A INTEGER)");
  esql::disconnect(kModule, area);
  EXPECT_EQ(area.sqlcode, 0);
  EXPECT_EQ(Session::current(), outer);
  Outcome outcome;
  EXPECT_EQ(Session::open(path, outcome)->run("SELECT A FROM T").outcome.sqlcode, 100);
}

TEST_F(EsqlTest, BindFilesAreReadWholeOrRefused) {
  open();
  const TemporaryFolder folder;
  constexpr esql::Section sections[] = {{"A", "VALUES 1"}, {"B", "VALUES\n'\xff'"}};
  const esql::Module module = {"OTHER", "TOKEN003", sections};
  const std::string path = folder.path("other.bnd");
  ASSERT_TRUE(esql::writeBindFile(module, path));
  EXPECT_FALSE(esql::writeBindFile(module, folder.path("no/other.bnd")));
  const std::string content = contentOf(path);
  const BindFile parsed = parseBindFile(content, path);
  EXPECT_EQ(parsed.package.token, "TOKEN003");
  ASSERT_EQ(parsed.sections.size(), 2U);
  EXPECT_EQ(parsed.sections[1].text, sections[1].text);
  for (size_t length = 0; length < content.size(); ++length) {  // cut anywhere
    EXPECT_THROW(parseBindFile(content.substr(0, length), path), SqlError) << length;
  }
  const std::string broken[] = {content + "x",
                                "ORVBIND 2" + content.substr(9),
                                "ORVBIND 1\npackage A B\n",
                                "ORVBIND 1\npackage A\ntoken SHORT\nsections 0\nend\n",
                                "ORVBIND 1\npackage A\ntoken TOKEN003\nsections -1\nend\n",
                                "ORVBIND 1\npackage A\ntoken TOKEN003\nsections 1\n"
                                "section 1 99999999999999999999\nA\nB\nend\n",
                                "ORVBIND 1\npackage A\ntoken TOKEN003\nsections 1\n"
                                "section 0 1\n\nB\nend\n"};
  for (const std::string& text : broken) {
    bindInto(folder.write("broken.bnd", text).c_str(), area);
    EXPECT_EQ(area.sqlcode, -4930) << text;
  }
  esql::execute(module, "A", {}, {}, area);
  EXPECT_EQ(area.sqlcode, -805);
  bindInto(folder.write("@bad.lst", "other.bnd+broken.bnd").c_str(), area);
  EXPECT_EQ(area.sqlcode, -4930);
  esql::execute(module, "A", {}, {}, area);
  EXPECT_EQ(area.sqlcode, -805);  // nothing of a bad list is bound
  bindInto(folder.write("@all.lst", " other.bnd +\n" + path + "\n").c_str(), area);
  EXPECT_EQ(area.sqlcode, 0) << messageOf(area);
  int32_t value = 0;
  const HostVariable output[] = {integerVariable(&value)};
  esql::execute(module, "A", {}, output, area);
  EXPECT_EQ(area.sqlcode, 0);
  EXPECT_EQ(value, 1);
  bindInto(folder.path("missing.bnd").c_str(), area);
  EXPECT_EQ(area.sqlcode, -4);
  bindInto(nullptr, area);
  EXPECT_EQ(area.sqlcode, -4);
}

TEST_F(EsqlTest, MessageTokensFitTheAreaWithWholeCharacters) {
  struct Case {
    std::vector<std::string> tokens;
    std::string text;
  };
  const std::string forty(40, 'x');
  const Case cases[] = {
      {{}, ""},
      {{"a", "", "b"},
       "a\xff\xff"
       "b"},
      {{forty, forty}, forty + "\xff" + std::string(29, 'x')},
      {{forty, std::string(28, 'y') + "\u00e4"}, forty + "\xff" + std::string(28, 'y')},
      {{std::string(80, 'z'), "lost"}, std::string(70, 'z')},
  };
  for (const Case& c : cases) {
    resetArea(area);
    fillArea(area, SqlError(-204, c.tokens), nullptr);
    EXPECT_EQ(std::string(area.sqlerrmc, static_cast<size_t>(area.sqlerrml)), c.text);
    EXPECT_EQ(stateOf(area), "42704");
    EXPECT_EQ(std::string(area.sqlcaid, 8), "SQLCA   ");
  }
}

TEST_F(EsqlTest, MessageTextsAreWrappedAndCut) {
  resetArea(area);
  char text[60];
  EXPECT_EQ(sqlaintp_api(text, 60, 0, "orvsql.mo", &area), 0);
  EXPECT_STREQ(text, "");
  fillArea(area, SqlError(-204, {"S.T\u00e4"}), nullptr);
  struct Case {
    int16_t capacity, lineWidth;
    const char* text;
  };
  const Case cases[] = {
      {60, 0, "ORV0204E  \"S.T\u00e4\" is an undefined name.  SQLSTATE=42704\n"},
      {60, 20, "ORV0204E  \"S.T\u00e4\" is\nan undefined name.\nSQLSTATE=42704\n"},
      {60, 7, "ORV0204\nE\n\"S.T\u00e4\"\nis an\nundefin\ned\nname.\nSQLSTAT\nE=42704\n"},
      {16, 0, "ORV0204E  \"S.T"},
      {1, 0, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.lineWidth);
    EXPECT_EQ(sqlaintp_api(text, c.capacity, c.lineWidth, "orvsql.mo", &area),
              static_cast<int>(std::strlen(c.text)));
    EXPECT_STREQ(text, c.text);
  }
  EXPECT_EQ(sqlaintp_api(nullptr, 60, 0, "", &area), -1);
  EXPECT_EQ(sqlaintp_api(text, 60, 0, "", nullptr), -1);
  EXPECT_EQ(sqlaintp_api(text, 0, 0, "", &area), -1);
}

}  // namespace
}  // namespace orv::test
