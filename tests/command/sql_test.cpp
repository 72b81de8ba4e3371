// `orvxml create`, `bind` and `sql`, run as a user runs them.
#include <nlohmann/json.hpp>

#include "tests/support/command_runner.h"
#include "tests/support/texts.h"

namespace orvxml::test {
namespace {

TEST(CommandUse, WrongUseIsStatusTwoAndTouchesNothing) {
  struct Case {
    std::vector<std::string> arguments;
    const char* message;
  };
  const Case cases[] = {
      {{}, "no command"},
      {{"frobnicate"}, "frobnicate"},
      {{"create", "--code-page", "many"}, "many"},
      {{"--db", "", "create"}, "--db"},
      {{"sql", "--csv", "--json", "values 1"}, "--csv or --json"},
      {{"sql", "values 1", "--file", "x.sql"}, "not both"},
      {{"shred", "x.xml"}, "--dad or --collection"},
      {{"shred", "--dad", "a", "--collection", "b", "x.xml"}, "--dad or --collection"},
      {{"shred", "--dad", "a"}, "no document"},
      {{"trace"}, "subcommand"},
      {{"trace", "on"}, "DIRECTORY"},
      {{"compose", "--dad", "a", "--max-rows", "99999999999"}, "range 0 to 2147483647"},
  };
  const Workplace place;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    const CommandResult result = place.orvxml(c.arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(contains(result.err, c.message)) << result.err;
    EXPECT_FALSE(std::filesystem::exists(place.path("test.db")));
  }
  for (const char* subcommand : {"create", "bind", "sql", "shred", "trace"}) {
    const CommandResult help = place.orvxml({subcommand, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(contains(help.out, subcommand));
  }
  EXPECT_EQ(place.orvxml({"--version"}).out, "orvxml 1.0.0\n");
}

TEST(CommandCreate, MakesADatabaseOrNothing) {
  Workplace place;
  place.environment = {"ORVXML_HOME=/nowhere"};
  const CommandResult unbound = place.orvxml({"create"});
  EXPECT_EQ(unbound.status, 1);
  EXPECT_TRUE(contains(unbound.err, "/nowhere/share/orvxml/bnd")) << unbound.err;
  EXPECT_FALSE(std::filesystem::exists(place.path("test.db")));

  place.environment.clear();
  EXPECT_EQ(place.orvxml({"create"}).status, 0);
  EXPECT_EQ(place.orvxml({"bind"}).status, 0);

  const std::string before = place.read("test.db");
  const CommandResult again = place.orvxml({"create"});
  EXPECT_EQ(again.status, 1);
  EXPECT_TRUE(contains(again.err, "test.db")) << again.err;
  EXPECT_EQ(place.read("test.db"), before);

  const std::string note = place.write("note.txt", "no database at all, but long enough to look");
  EXPECT_EQ(place.orvxml({"--db", note, "create"}).status, 1);
  EXPECT_EQ(place.orvxml({"--db", note, "sql", "values 1"}).status, 1);
  EXPECT_EQ(place.read("note.txt"), "no database at all, but long enough to look");
  EXPECT_EQ(place.orvxml({"--db", place.path("absent.db"), "sql", "values 1"}).status, 1);
  EXPECT_FALSE(std::filesystem::exists(place.path("absent.db")));
}

class CommandSql : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(place_.orvxml({"create"}).status, 0);
    const CommandResult made = place_.orvxml(
        {"sql",
         "create table item (id integer not null primary key, name varchar(40), price "
         "decimal(20,2),"
         " raw varchar(8) for bit data);"
         "insert into item values (1, 'plain', 20.00, x'00FF'), (20, '雑貨', -0.50, null),"
         " (3, 'say \"a, b\"', null, null), (4, '', 9007199254740993, null)"});
    ASSERT_EQ(made.status, 0) << made.err;
  }
  std::string select(const std::vector<std::string>& options, const std::string& text) const {
    std::vector<std::string> arguments{"sql", "--quiet", text};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const CommandResult result = place_.orvxml(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  Workplace place_;
};

TEST_F(CommandSql, ResultsInThreeFormats) {
  const std::string query = "select id, name, price, raw from item order by id";
  EXPECT_EQ(select({}, query),
            "ID | NAME       |               PRICE | RAW\n"
            "---+------------+---------------------+-----\n"
            " 1 | plain      |               20.00 | 00FF\n"
            " 3 | say \"a, b\" |                NULL | NULL\n"
            " 4 |            | 9007199254740993.00 | NULL\n"
            "20 | 雑貨       |               -0.50 | NULL\n");
  EXPECT_EQ(select({"--csv"}, query),
            "ID,NAME,PRICE,RAW\r\n1,plain,20.00,00FF\r\n3,\"say \"\"a, b\"\"\",,\r\n"
            "4,\"\",9007199254740993.00,\r\n20,雑貨,-0.50,\r\n");
  const std::string json = select({"--json"}, query);
  EXPECT_TRUE(contains(json, "\"PRICE\": 9007199254740993.00")) << json;
  const nlohmann::json rows = nlohmann::json::parse(json);
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(rows[1]["NAME"], "say \"a, b\"");
  EXPECT_TRUE(rows[1]["PRICE"].is_null());
  EXPECT_EQ(select({"--json"}, "select id from item where id > 99"), "[]\n");
  EXPECT_EQ(nlohmann::json::parse(select({"--json"}, "select id, id from item where id = 1")),
            nlohmann::json::parse(R"([{"ID": 1, "ID_2": 1}])"));
}

TEST_F(CommandSql, ScriptsComeFromArgumentsFilesAndInput) {
  const std::string script =
      "-- a comment; with a semicolon\ninsert into item (id, name) values (5, 'x;y');\n\n"
      "select name from item where id = 5;";
  const std::string file = place_.write("script.sql", "\xEF\xBB\xBF" + script);
  const std::string expected = "NAME\n----\nx;y\n";
  EXPECT_EQ(place_.orvxml({"sql", script}).out, expected);
  EXPECT_EQ(place_.orvxml({"sql", "delete from item where id = 5"}).err, "1 row\n");
  EXPECT_EQ(place_.orvxml({"sql", "--file", file}).out, expected);
  EXPECT_EQ(place_.orvxml({"sql", "delete from item where id = 5"}).status, 0);
  EXPECT_EQ(place_.orvxml({"sql"}, script).out, expected);
}

TEST_F(CommandSql, AFailureUndoesTheWholeScriptAndNamesItsLine) {
  struct Case {
    const char* label;
    const char* script;
    const char* where;
    const char* message;
  };
  const Case cases[] = {
      {"syntax", "delete from item;\n\nselect * form item", "script.sql:3: ", "ORV0104"},
      {"missing table", "delete from item;\nselect * from nothing", "script.sql:2: ", "NOTHING"},
      {"duplicate key", "delete from item where id > 1;\ninsert into item (id) values (1)",
       "script.sql:2: ", "ORV0803"},
      {"ill-formed text", "delete from item;\nvalues '\xC3('", "script.sql:2: ", "not UTF-8"},
      {"open comment", "delete from item; \n/* to here",
       "script.sql:2: ", "begins with /* to here"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const CommandResult result =
        place_.orvxml({"sql", "--file", place_.write("script.sql", c.script)});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, c.where)) << result.err;
    EXPECT_TRUE(contains(result.err, c.message)) << result.err;
    EXPECT_EQ(select({"--csv"}, "select count(*) as n from item"), "N\r\n4\r\n");
  }
}

// Devices have no size to judge them by before they are read.
TEST_F(CommandSql, WhatNeverEndsIsReadToTheLimit) {
  const CommandResult result = place_.orvxml({"shred", "--dad", "/dev/zero", "x.xml"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "/dev/zero: is larger than 16 MB\n");
  const std::string file = place_.write("sparse.sql", "values 1");
  std::filesystem::resize_file(file, std::uintmax_t{3} << 30);
  EXPECT_EQ(place_.orvxml({"sql", "--file", file}).err, file + ": is larger than 2 GB\n");
}

}  // namespace
}  // namespace orvxml::test
