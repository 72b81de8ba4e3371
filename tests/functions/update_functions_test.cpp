// update through SQL: columns and files with a part of their documents replaced.
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "tests/functions/function_database.h"

namespace orvxml::test {
namespace {

class UpdateFunctionsTest : public testing::Test {
 protected:
  std::string fileAfter(const std::string& path, const std::string& value) {
    EXPECT_EQ(db_.value("orvxml.update(f, '" + path + "', '" + value + "')"), db_.file());
    return readFile(db_.file());
  }
  size_t filesInFolder() {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator(db_.folder().path())) {
      ++count;
    }
    return count;
  }

  FunctionDatabase db_;
};

TEST_F(UpdateFunctionsTest, EveryDocumentType) {
  struct Case {
    const char* path;
    const char* value;
    const char* expected;
  };
  const Case cases[] = {
      {"/a/b", "NEW", "<a id=\"1\"><b>NEW<c></c></b><b>NEW</b></a>"},
      {"/a/@id", "<\xC3\xA4>", "<a id=\"&lt;\xC3\xA4&gt;\"><b>x<c>y</c>z</b><b></b></a>"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    db_.store("<a id='1'><b>x<c>y</c>z</b><b/></a>");
    const std::string arguments = std::string(", '") + c.path + "', '" + c.value + "')";
    EXPECT_EQ(db_.value("orvxml.update(v" + arguments), c.expected);
    EXPECT_EQ(db_.value("orvxml.update(c" + arguments), c.expected);
    EXPECT_EQ(fileAfter(c.path, c.value), c.expected);
  }
  db_.run(
      "update documents set c = orvxml.update(c, '/a/@id', '2'), v = orvxml.update(v, '//c', 'q')");
  EXPECT_EQ(db_.rows("select orvxml.extractInteger(c, '/a/@id'), orvxml.extractVarchar(v, '//c')"
                     " from documents"),
            (Rows{{"2", "q"}}));
}

TEST_F(UpdateFunctionsTest, AFileKeepsItsEncoding) {
  struct Case {
    const char* label;
    std::string before, after;
  };
  const std::string head = "<?xml version='1.0' encoding='UTF-16'?>";
  const Case cases[] = {
      {"no declaration", "<a>x</a>", "<a>\xC3\xA4\xE2\x82\xAC</a>"},
      {"Latin 1, which has no euro sign",
       "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a k='\xE4'>x</a>",
       "<?xml version='1.0' encoding='ISO-8859-1'?>\n<a k=\"\xE4\">\xE4&#x20AC;</a>"},
      {"standalone", "<?xml version='1.0' encoding='utf-8' standalone='yes'?><a>x</a>",
       "<?xml version='1.0' encoding='utf-8' standalone='yes'?><a>\xC3\xA4\xE2\x82\xAC</a>"},
      {"a mark", "\xEF\xBB\xBF<a>x</a>", "\xEF\xBB\xBF<a>\xC3\xA4\xE2\x82\xAC</a>"},
      {"big-endian", "\xFE\xFF" + utf16(head + "<a>x</a>", true),
       "\xFE\xFF" + utf16(head + "<a>", true) + std::string("\0\xE4\x20\xAC", 4) +
           utf16("</a>", true)},
      {"little-endian", "\xFF\xFE" + utf16("<a>x</a>", false),
       "\xFF\xFE" + utf16("<a>", false) + std::string("\xE4\0\xAC\x20", 4) + utf16("</a>", false)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    db_.store("<a/>", c.before);
    EXPECT_EQ(fileAfter("/a", "\xC3\xA4\xE2\x82\xAC"), c.after);
    EXPECT_EQ(db_.value("orvxml.extractVarchar(f, '/a')"), "\xC3\xA4\xE2\x82\xAC");
  }
}

TEST_F(UpdateFunctionsTest, AFileKeepsItsPlaceAndPermissions) {
  db_.store("<a>x</a>");
  ASSERT_EQ(chmod(db_.file().c_str(), 0640), 0);
  const std::string link = db_.folder().path("link.xml");
  std::filesystem::create_symlink(db_.file(), link);
  EXPECT_EQ(db_.value("orvxml.update(orvxml.XMLFile('" + link + "'), '/a', 'y')"), link);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(readFile(db_.file()), "<a>y</a>");
  struct stat status;
  ASSERT_EQ(stat(db_.file().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);
  EXPECT_EQ(filesInFolder(), 2u);
}

TEST_F(UpdateFunctionsTest, AFailureLeavesTheFile) {
  const std::string document = "<a>" + std::string(200000, 'x') + "</a>";
  db_.store("<a/>", document);
  {
    const FileSizeLimit limit(100000);
    EXPECT_EQ(db_.failure("orvxml.update(f, '/b', 'y')"),
              "38X03 QRKC003E  Unable to write to the specified file.");
  }
  EXPECT_EQ(readFile(db_.file()), document);
  EXPECT_EQ(filesInFolder(), 1u);
  db_.store("<a/>", "<a>x</b>");
  EXPECT_TRUE(db_.failure("orvxml.update(f, '/a', 'y')").starts_with("38X13 QRKQ047E"));
  EXPECT_EQ(readFile(db_.file()), "<a>x</b>");
}

TEST_F(UpdateFunctionsTest, Failures) {
  db_.store("<a>x</a>");
  struct Case {
    const char* call;
    const char* failure;
  };
  const Case cases[] = {
      {"update(v, 'a', 'y')",
       "38X09 QRKD002E  A syntax error occurred near position 1 in the search pat"},
      {"update(orvxml.XMLFile('/none'), '/a', 'y')",
       "38X01 QRKC001E  The specified file is not found."},
      {"update(orvxml.XMLFile('/dev/null'), '/a', 'y')",
       "38X00 QRKC000E  Unable to open the specified file."},
      {"update(orvxml.XMLVarchar('<a>'), '/a', 'y')", "38X13 QRKQ047E  Parser error on line 1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.call);
    EXPECT_EQ(db_.failure(std::string("orvxml.") + c.call).substr(0, std::strlen(c.failure)),
              c.failure);
  }
  EXPECT_EQ(db_.value("orvxml.update(v, '/a', cast(null as varchar(256)))"), "NULL");
  EXPECT_EQ(db_.value("orvxml.update(cast(null as orvxml.XMLFile), '/a', 'y')"), "NULL");
}

}  // namespace
}  // namespace orvxml::test
