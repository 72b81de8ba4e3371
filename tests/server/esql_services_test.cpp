// What surrounds embedded SQL: connecting, binding and messages.
#include <cstring>

#include "orv/apie.h"
#include "server/clients/esql/bind_file.h"
#include "server/clients/esql/services.h"
#include "tests/server/esql_fixture.h"
#include "tests/support/temporary_folder.h"

namespace orv::test {
namespace {

using orvxml::test::TemporaryFolder;
using EsqlServicesTest = EsqlTest;

TEST_F(EsqlServicesTest, ConnectTellsTheConnectionAndNests) {
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
  const std::string path = folder.path("\u00FF_rather_long_database_name.db");
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
  EXPECT_EQ(tokensOfArea(area)[0], "?_rather_long_dat");
  EXPECT_EQ(tokensOfArea(area)[8], "1252");
  ASSERT_NE(Session::current(), outer);
  Session::current()->run("CREATE TABLE T (A INTEGER)");
  EXPECT_EQ(Session::current()->run("CREATE TABLE \u00B5M (A INTEGER)").outcome.sqlcode, -7);
  esql::disconnect(kModule, area);
  EXPECT_EQ(area.sqlcode, 0);
  EXPECT_EQ(Session::current(), outer);
  Outcome outcome;
  EXPECT_EQ(Session::open(path, outcome)->run("SELECT A FROM T").outcome.sqlcode, 100);
}

TEST_F(EsqlServicesTest, BindFilesAreReadWholeOrRefused) {
  open();
  const TemporaryFolder folder;
  constexpr esql::Section sections[] = {{"A", "VALUES 1"}, {"B", "VALUES\n'\xff'"}};
  const esql::Module module = {"OTHER", "TOKEN003", sections};
  const std::string path = folder.path("other.bnd");
  ASSERT_TRUE(esql::writeBindFile(module, path));
  EXPECT_FALSE(esql::writeBindFile(module, folder.path("no/other.bnd")));
  const std::string content = orvxml::test::readFile(path);
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

TEST_F(EsqlServicesTest, MessageTokensFitTheAreaWithWholeCharacters) {
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

TEST_F(EsqlServicesTest, MessageTextsAreWrappedAndCut) {
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
