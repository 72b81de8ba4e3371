// The storage functions through SQL: what comes from files into columns and goes back.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/functions/function_database.h"

namespace orvxml::test {
namespace {

constexpr char kNoFile[] = "38X01 QRKC001E  The specified file is not found.";
constexpr char kNotOpened[] = "38X00 QRKC000E  Unable to open the specified file.";
constexpr char kUnknownEncoding[] = "38X38 QRKG008E  Locale no such is not supported.";

class StorageFunctionsTest : public testing::Test {
 protected:
  StorageFunctionsTest() { db_.store("<a/>"); }

  std::string write(const std::string& content) {
    const std::string name = "in" + std::to_string(files_++) + ".xml";
    return literal(db_.folder().write(name, content));
  }
  std::string target() { return literal(db_.folder().path("out.xml")); }
  std::string written() { return readFile(db_.folder().path("out.xml")); }

  FunctionDatabase db_;
  int files_ = 0;
};

TEST_F(StorageFunctionsTest, FromAFileIntoAColumn) {
  struct Case {
    const char* file;
    const char* encoding;  // null: the application's
    const char* expected;
  };
  const Case cases[] = {
      {"<a>\xC3\xA4</a>", nullptr, "<a>\xC3\xA4</a>"},
      {"<a>\xE4</a>", "iso-8859-1", "<a>\xC3\xA4</a>"},
      {"<a>\x82\xA0</a>", "Shift_JIS", "<a>\xE3\x81\x82</a>"},
      {"", nullptr, ""},
      {"", "UTF-8", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    const std::string encoding = c.encoding ? ", '" + std::string(c.encoding) + "'" : "";
    const std::string arguments = "(" + write(c.file) + encoding + ")";
    EXPECT_EQ(db_.value("orvxml.XMLVarcharFromFile" + arguments), c.expected);
    EXPECT_EQ(db_.value("orvxml.XMLCLOBFromFile" + arguments), c.expected);
  }
  const std::string wide("\xFF\xFE<\0a\0/\0>\0", 10);
  EXPECT_EQ(db_.value("orvxml.XMLCLOBFromFile(" + write(wide) + ", 'UTF-16')"), "<a/>");
  EXPECT_EQ(db_.value("orvxml.Content(orvxml.XMLFile(" + write("<b/>") + "))"), "<b/>");
}

TEST_F(StorageFunctionsTest, LargeFiles) {
  const std::string fits = "<a>" + std::string(2993, 'x') + "</a>";
  EXPECT_EQ(db_.value("orvxml.XMLVarcharFromFile(" + write(fits) + ")"), fits);
  // The function gives what the type does not hold.
  db_.run("select orvxml.XMLVarcharFromFile(" + write(fits + "x") + ") from documents", -433);
  EXPECT_EQ(db_.failure("orvxml.XMLVarcharFromFile(" + write(std::string(32673, 'x')) + ")"),
            "38X05 QRKC005E  Input file size is greater than XMLVarchar size.");
  std::string lines;
  for (int i = 0; i < 30000; ++i) lines += "<line>\xC3\xA4</line>\n";
  EXPECT_EQ(db_.value("orvxml.XMLCLOBFromFile(" + write(lines) + ")"), lines);
}

TEST_F(StorageFunctionsTest, FromAColumnIntoAFile) {
  const std::string document = "<?xml version=\"1.0\" encoding=\"X\"?><a>\xC3\xA4</a>";
  db_.store(document);
  struct Case {
    const char* call;
    std::string file;
  };
  const std::string latin = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?><a>\xE4</a>";
  const Case cases[] = {
      {"XMLFileFromVarchar(orvxml.varchar(v), ", document},
      {"XMLFileFromCLOB(orvxml.clob(c), ", document},
      {"Content(v, ", document},
      {"Content(c, ", document},
      {"XMLFileFromVarchar(orvxml.varchar(v), @, 'iso-8859-1')", latin},
      {"XMLFileFromCLOB(orvxml.clob(c), @, 'iso-8859-1')", latin},
      {"Content(v, @, 'iso-8859-1')", latin},
      {"Content(c, @, 'iso-8859-1')", latin},
      {"Content(orvxml.XMLDBCLOB(dbclob(orvxml.varchar(v))), ", document},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.call);
    std::string call = c.call;
    const size_t at = call.find('@');
    call = at == call.npos ? call + target() + ")" : call.replace(at, 1, target());
    EXPECT_EQ(db_.value("orvxml." + call), db_.folder().path("out.xml"));
    EXPECT_EQ(written(), c.file);
    struct stat status;
    ASSERT_EQ(stat(db_.folder().path("out.xml").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644u);
    std::filesystem::remove(db_.folder().path("out.xml"));
  }
}

// The name of a file that many use may be known to strangers.
TEST_F(StorageFunctionsTest, AFileIsReplacedAsOneStepAndNoStrangersFileIsUsed) {
  const std::string out = db_.folder().path("out.xml");
  const std::string victim = db_.folder().write("victim", "precious");
  const std::string call = "orvxml.Content(c, " + target() + ")";
  const auto number = [&] {
    struct stat status {};
    return stat(out.c_str(), &status) == 0 ? status.st_ino : 0;
  };
  EXPECT_EQ(db_.value(call), out);
  const ino_t first = number();
  std::filesystem::permissions(out, std::filesystem::perms(0600));
  EXPECT_EQ(db_.value(call), out);
  EXPECT_EQ(std::filesystem::status(out).permissions(), std::filesystem::perms(0644));
  EXPECT_EQ(number(), first);
  std::filesystem::create_hard_link(out, db_.folder().path("kept.xml"));
  db_.store("<b/>");
  EXPECT_EQ(db_.value(call), out);
  EXPECT_EQ(written(), "<b/>");
  EXPECT_EQ(readFile(db_.folder().path("kept.xml")), "<a/>");
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a stranger's file";
  constexpr uid_t kStranger = 65534;
  const std::string refused = (kNotOpened + (" " + out)).substr(0, 76);
  ASSERT_EQ(chown(out.c_str(), kStranger, kStranger), 0);
  EXPECT_EQ(db_.failure(call).substr(0, 76), refused);
  std::filesystem::remove(out);
  std::filesystem::create_symlink(victim, out);
  EXPECT_EQ(db_.value(call), out);
  EXPECT_EQ(readFile(victim), "<b/>");
  db_.store("<c/>");
  ASSERT_EQ(lchown(out.c_str(), kStranger, kStranger), 0);
  EXPECT_EQ(db_.failure(call).substr(0, 76), refused);
  EXPECT_EQ(readFile(victim), "<b/>");
}

TEST_F(StorageFunctionsTest, TheEncodingMayChangeFromRowToRow) {
  db_.run("create table codes (code varchar(20))");
  db_.run("insert into codes values ('iso-8859-1'), ('UTF-8'), ('UTF-8'), ('cp850')");
  const std::string file = write("<a>\xC3\xA4</a>");
  EXPECT_EQ(db_.rows("select orvxml.XMLVarcharFromFile(" + file + ", code) from codes"),
            (Rows{{"<a>\xC3\x83\xC2\xA4</a>"},
                  {"<a>\xC3\xA4</a>"},
                  {"<a>\xC3\xA4</a>"},
                  {"<a>\xE2\x94\x9C\xC3\xB1</a>"}}));
}

TEST_F(StorageFunctionsTest, DoubleByteDocumentsFromFiles) {
  EXPECT_EQ(
      db_.value("varchar(dbclob(orvxml.XMLDBCLOBFromFile(" + write("<a>\xC3\xA4</a>") + ")))"),
      "<a>\xC3\xA4</a>");
  const std::string fits(10240, 'x');
  EXPECT_EQ(db_.value("length(dbclob(orvxml.XMLDBCLOBFromFile(" + write(fits) + ")))"), "10240");
  EXPECT_EQ(db_.failure("orvxml.XMLDBCLOBFromFile(" + write(fits + "x") + ")"),
            "38X06 QRKC006E  The input file exceeds the ORV LOB limit.");
  EXPECT_EQ(db_.failure("orvxml.XMLDBCLOBFromFile('/none')"), kNoFile);
}

TEST_F(StorageFunctionsTest, Failures) {
  const std::string unwritable = "'" + db_.folder().path("none/out.xml") + "'";
  struct Case {
    std::string call;
    std::string failure;
  };
  const Case cases[] = {
      {"XMLVarcharFromFile('/none')", kNoFile},
      {"XMLCLOBFromFile('/none')", kNoFile},
      {"Content(orvxml.XMLFile('/none'))", kNoFile},
      {"XMLVarcharFromFile('/dev/zero')", kNotOpened},
      {"XMLCLOBFromFile('/tmp')", kNotOpened},
      {"XMLVarcharFromFile(" + write("<a/>") + ", 'no such')", kUnknownEncoding},
      {"XMLCLOBFromFile(" + write("<a/>") + ", 'no such')", kUnknownEncoding},
      {"Content(v, " + target() + ", 'no such')", kUnknownEncoding},
      {"Content(v, " + unwritable + ")", kNotOpened},
      {"Content(c, " + unwritable + ")", kNotOpened},
      {"Content(v, '/dev/null')", kNotOpened},
      {"Content(c, '/dev/null')", kNotOpened},
      {"XMLVarcharFromFile(" + write("<a>\xE4</a>") + ", 'us-ascii')",
       "38X45 QRKQ055E  ICU error: 12"},
      {"XMLCLOBFromFile(" + write("<a>\xE4</a>") + ", 'us-ascii')",
       "38X45 QRKQ055E  ICU error: 12"},
      {"XMLVarcharFromFile(" + write(std::string("<a>\0</a>", 8)) + ")",
       "38X14 QRKD000E  An invalid XML document is rejected."},
      // Only a document with a declaration can tell its encoding.
      {"Content(v, " + target() + ", 'UTF-8')",
       "38X14 QRKD000E  An invalid XML document is rejected."},
      {"Content(c, " + target() + ", 'UTF-8')",
       "38X14 QRKD000E  An invalid XML document is rejected."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.call);
    EXPECT_EQ(db_.failure("orvxml." + c.call).substr(0, c.failure.size()), c.failure);
  }
  for (const char* call : {"XMLVarcharFromFile(cast(null as varchar(512)))",
                           "XMLCLOBFromFile('/none', cast(null as varchar(100)))",
                           "Content(cast(null as orvxml.XMLCLOB), '/none/x')",
                           "XMLDBCLOBFromFile(cast(null as varchar(512)))"}) {
    EXPECT_EQ(db_.value(std::string("orvxml.") + call), "NULL") << call;
  }
}

}  // namespace
}  // namespace orvxml::test
