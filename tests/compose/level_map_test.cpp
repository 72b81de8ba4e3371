// The level map of statements, and descriptor areas from their description to a fetched row.
#include "src/compose/level_map.h"

#include <cstring>

#include "orv/esql.h"
#include "orvxml/packages.h"
#include "tests/compose/sql_composition.h"

namespace orvxml::test {
namespace {

// "A,B|C": the columns of each level.
std::string levelsOf(const level_map& map) {
  std::string text;
  for (int level = 0;; ++level) {
    const char* const list = qrkLmGetColumns(map, level);
    if (!list) return text;
    if (level > 0) text += '|';
    for (const char* slot = list; !isEndOfColumns(slot); slot += kLevelSlotSize) {
      if (slot != list) text += ',';
      text += slot;
      EXPECT_LE(qrkLmGetLevel(map, slot), level) << slot;
    }
  }
}

TEST(LevelMapTest, LevelsBeginAtTheColumnsThatTheOrderNames) {
  Database db;
  db.run("CREATE TABLE T (A INTEGER, B INTEGER, C INTEGER, D INTEGER, E INTEGER, \"c\" INTEGER)");
  const std::string longName(128, 'L');
  db.run("CREATE TABLE U (A INTEGER, " + longName + " INTEGER)");
  struct Case {
    const char* label;
    std::string statement;
    std::string levels;  // or the message, behind its code
  };
  const Case cases[] = {
      {"three keys", "SELECT a, b, c, d, e FROM t ORDER BY a, c, e", "A,B|C,D|E"},
      {"one key", "SELECT a, b, c FROM t ORDER BY a", "A,B,C"},
      {"the first key is not looked for", "SELECT a, b, c FROM t ORDER BY zz, b", "A|B,C"},
      {"a direction ends the list", "SELECT a, b, c FROM t ORDER BY a DESC, c", "A,B,C"},
      {"a function ends the list", "SELECT a, b, c FROM t ORDER BY ABS(a), c", "A,B,C"},
      {"qualified keys", "SELECT t.a, u.a AS c FROM t, u ORDER BY t.a, x.u.c", "A|C"},
      {"delimited keys keep their case", "SELECT a, \"c\", c FROM t ORDER BY a, \"c\"", "A|c,C"},
      {"a key in front of its place", "SELECT a, b, c FROM t ORDER BY a, c, b", "A,B|C|"},
      {"the first key again", "SELECT a, b, c, a FROM t ORDER BY a, c", "A,B|C,A"},
      {"the first column as second key", "SELECT a, b FROM t ORDER BY b, a", "|A,B"},
      {"names of 128 bytes", "SELECT a, " + longName + " FROM u ORDER BY a, " + longName,
       "A|" + longName},
      {"expressions without a name", "SELECT a + 1, b FROM t ORDER BY a, b", "1|B"},
      {"no query", "DELETE FROM t ORDER BY a", ""},
      {"another case", "SELECT a, b, \"c\" FROM t ORDER BY a, C",
       "-64 QRKQ004E  The column C is not in the result of the query.\n"},
      {"a number", "SELECT a, b FROM t ORDER BY a, 2, b",
       "-64 QRKQ004E  The column 2 is not in the result of the query.\n"},
      {"an empty list", "SELECT a FROM t ORDER BY ",
       "-64 QRKQ004E  The column  is not in the result of the query.\n"},
      {"a period without a name", "SELECT a FROM t ORDER BY a.",
       "-64 QRKQ004E  The column a. is not in the result of the query.\n"},
      {"the sentinel's name", "SELECT a, b AS \"-1\" FROM t ORDER BY a",
       "-62 QRKQ001E  Invalid SQL statement for XML generation.\n"},
      {"a wrong statement", "SELECT zz FROM t ORDER BY zz",
       "-62 QRKQ001E  Invalid SQL statement for XML generation.\nORV0206E  \"ZZ\" is not valid in "
       "the context in which it is used.  SQLSTATE=42703"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    CliCall call;
    std::string levels;
    call.report([&] { levels = levelsOf(*levelMapOf(call, MappedStatement(c.statement))); });
    EXPECT_EQ(call.code == 0 ? levels : std::to_string(call.code) + ' ' + call.context.msg,
              c.levels);
  }
}

TEST(LevelMapTest, AnswersWhatItDoesNotHold) {
  Database db;
  db.run("CREATE TABLE T (A INTEGER, B INTEGER)");
  CliCall call;
  const LevelMap map = levelMapOf(call, MappedStatement("SELECT a, b FROM t ORDER BY a, b"));
  EXPECT_EQ(qrkLmGetLevel(*map, "B"), 1);
  EXPECT_EQ(qrkLmGetLevel(*map, "b"), -1);
  EXPECT_EQ(qrkLmGetLevel(*map, "-1"), -1);
  for (const int level : {3, 99, -1}) {
    EXPECT_EQ(call.report([&] { qrkLmGetColumns(*map, level); }), -57) << level;
  }
}

TEST(LevelMapTest, RefusesAnOrderListBeyondTheLimit) {
  Database db;
  db.run("CREATE TABLE T (A INTEGER)");
  const std::string list = "a" + std::string(kOrderListLimit - 1, ' ');
  for (const bool fits : {true, false}) {
    CliCall call;
    const MappedStatement statement("SELECT a FROM t ORDER BY " + list + (fits ? "" : " "));
    EXPECT_EQ(call.report([&] { levelMapOf(call, statement); }), fits ? 0 : -124);
  }
}

// ---- Descriptor areas.
struct Descriptor {
  ~Descriptor() { qrk_free_da(nullptr, da); }
  sqlda* da = nullptr;
};

std::string valueOf(const Descriptor& descriptor, const char* column) {
  CallContext call;
  char* value = nullptr;
  int code = 0;
  const int rc = getValueByColName(call, descriptor.da, column, &value, &code, call.msg);
  std::string text = rc ? std::to_string(code) + ' ' + call.msg : value ? value : "NULL";
  std::free(value);
  return text;
}

TEST(DescriptorAreaTest, FetchesARowIntoTheAreasOfItsDescription) {
  Database db;
  db.run(
      "CREATE TABLE T (V VARCHAR(5), D DATE, N DECIMAL(5,2), G VARGRAPHIC(3), B BIGINT NOT NULL,"
      " C CLOB(20), L LONG VARCHAR)");
  db.run("INSERT INTO T VALUES ('abcde', '2024-02-29', 123.45, G'xyz', 7, 'large object', 'l')");
  CallContext call;
  int code = 0;
  Descriptor row;
  ASSERT_EQ(qrkSetupSQLDA(call, "SELECT * FROM T", &row.da, &code, call.msg), 0) << call.msg;
  EXPECT_EQ(row.da->sqld, 7);
  EXPECT_EQ(row.da->sqln, 14);  // a large object needs secondary entries
  ASSERT_EQ(qrkAllocHostVars(call, row.da), 0);
  sqlca area{};
  orv::esql::Statement statement(kQrksqlda);
  statement.prepare("SELECT * FROM T", area);
  orv::esql::Cursor cursor(statement);
  cursor.open({}, area);
  cursor.fetch(row.da, area);
  ASSERT_EQ(area.sqlcode, 0);
  EXPECT_STREQ(row.da->sqlvar[0].sqldata, "abcde");
  EXPECT_STREQ(row.da->sqlvar[1].sqldata, "2024-02-29");
  EXPECT_EQ(std::string(row.da->sqlvar[2].sqldata, 3), std::string("\x12\x34\x5C", 3));
  EXPECT_EQ(row.da->sqlvar[4].sqlind, nullptr);
  EXPECT_EQ(std::string(row.da->sqlvar[5].sqldata + 4, 12), "large object");
  EXPECT_STREQ(row.da->sqlvar[6].sqldata, "l");
  cursor.close(area);
  Descriptor none;
  EXPECT_EQ(qrkSetupSQLDA(call, "DELETE FROM T", &none.da, &code, call.msg), -1);
  EXPECT_EQ(code, -62);
}

TEST(DescriptorAreaTest, GivesValuesByNameWithTheirLengths) {
  Database db;
  Descriptor row;
  ASSERT_EQ(qrk_init_da(nullptr, &row.da, 2), 0);
  row.da->sqld = 2;
  const std::string longName = std::string(29, 'N') + "\u00FC and more";
  const char* names[] = {longName.c_str(), "COL"};
  const int16_t lengths[] = {99, -1};  // the first: a value that was cut
  for (int i = 0; i < 2; ++i) {
    row.da->sqlvar[i].sqltype = orv::kSqlCString | 1;
    row.da->sqlvar[i].sqllen = 5;
    setEntryName(nullptr, row.da->sqlvar[i], names[i]);
  }
  EXPECT_EQ(row.da->sqlvar[0].sqlname.length, 29);  // no character is split
  ASSERT_EQ(qrkAllocHostVars(nullptr, row.da), 0);
  for (int i = 0; i < 2; ++i) {
    std::memcpy(row.da->sqlvar[i].sqldata, "text", sizeof "text");
    *row.da->sqlvar[i].sqlind = lengths[i];
  }
  EXPECT_EQ(valueOf(row, longName.c_str()), "text");
  EXPECT_EQ(valueOf(row, "COLUMN"), "NULL");  // by the length of the entry's name
  EXPECT_EQ(valueOf(row, "CO"), "-72 QRKQ012E  Errors occurred in DAD. \n");
  char* data = nullptr;
  int length = 0;
  EXPECT_EQ(getSQLDADataByIndex(nullptr, row.da, 2, &data, &length), -1);
}

}  // namespace
}  // namespace orvxml::test
