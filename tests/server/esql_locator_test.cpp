// Large objects in embedded SQL: locators, files, and locators in functions.
#include <sys/stat.h>

#include <cstring>

#include "orv/sqludf.h"
#include "tests/server/esql_fixture.h"
#include "tests/support/temporary_folder.h"

namespace orv::test {
namespace {

using orvxml::test::readFile;
using orvxml::test::TemporaryFolder;
using EsqlLocatorTest = EsqlTest;

SqlFileReference fileReference(const std::string& name, uint32_t option) {
  SqlFileReference file{};
  file.name_length = static_cast<uint32_t>(name.size());
  file.file_options = option;
  std::memcpy(file.name, name.data(), std::min(name.size(), sizeof file.name));
  return file;
}

TEST_F(EsqlLocatorTest, LocatorsGiveLengthPiecesAndFiles) {
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
    EXPECT_EQ(readFile(folder.path("out.xml")), native);
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

TEST_F(EsqlLocatorTest, FileReferencesAreChecked) {
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
  };
  const auto written = [&](const std::string& name, uint32_t option, int sqlcode = 0) {
    write(name, option, sqlcode);
    return readFile(folder.path(name));
  };
  EXPECT_EQ(written("there", kFileCreate, -452), "old");
  EXPECT_EQ(written("there", kFileAppend), "olddocument");
  EXPECT_EQ(written("there", kFileOverwrite), "document");
  EXPECT_EQ(written("new", kFileCreate), "document");
  write("no/such/folder", kFileOverwrite, -452);
  write("there", kFileRead, -452);
}

TEST_F(EsqlLocatorTest, FunctionsBuildAndReadLocators) {
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

}  // namespace
}  // namespace orv::test
