// Where composed documents end: rows of every kind of result table, CLOB outputs of every size, and
// the result of their validation.
#include <fnmatch.h>

#include "src/compose/result_storage.h"
#include "src/outcome/edge.h"
#include "tests/support/decompose_calls.h"

namespace orvxml::test {
namespace {

const char kNone[] = "";
const char kInternal[] =
    "*QRKM001W  A ORV error occurred.\nQRKG001E  An internal error occured in build *, file "
    "result_storage, and line *.\n";
constexpr size_t kLastInMemory = 16386;  // bytes, of a document that grows in small pieces

class ResultStorageTest : public testing::Test {
 protected:
  // Puts `text` into a document as composition does.
  QrkOutbuf* document(const std::string& text) {
    qrkBufAcquire(call_, &document_, kDocumentInitialSize, kDocumentMemoryLimit, QRK_LOC_MEMORY,
                  false);
    for (size_t at = 0; at < text.size(); at += 100) {
      EXPECT_EQ(qrkBufAppend(call_, &document_, text.substr(at, 100).c_str()), 0);
    }
    return &document_;
  }

  // Delivers what is in the buffer.
  int deliver() {
    *call_.msg = '\0';
    return atEdge(Report{call_, call_.msg}, [&] {
      Delivery to(call_, request_, request_.table ? &*request_.table : nullptr, source_);
      to.deliver(&document_, "", [] { return ""; });
      length_ = to.clobLength();
      EXPECT_EQ(to.valid(), -1);
    });
  }

  int deliver(const std::string& text) {
    document(text);
    wasFile_ = document_.loctype == QRK_LOC_FILE;
    length_ = 0;
    const int code = deliver();
    EXPECT_EQ(document_.data, nullptr);
    EXPECT_TRUE(folder_.isEmpty());
    return code;
  }

  void expectMessage(const char* pattern) {
    EXPECT_EQ(fnmatch(pattern, call_.msg, 0), 0) << call_.msg;
  }

  const TemporaryFolder folder_;
  const Variable folderForFiles_{"ORVQRKTEMP", folder_.path().c_str()};
  DecomposeDatabase db_;
  CallContext call_;
  QrkOutbuf document_{};
  CompositionRequest request_;
  const ValidationSource* source_ = nullptr;
  int32_t length_ = 0;
  bool wasFile_ = false;
};

TEST_F(ResultStorageTest, ResultTables) {
  struct Case {
    const char* label;
    const char* definition;
    const char* table;
    const char* column;
    size_t size;  // of the document, in bytes
    int code;
    const char* message;
  };
  const size_t kFile = 20000;
  const char kDocs[] = "docs (DOC CLOB(1M))";
  const char kTooSmall[] = "QRKQ017E  The column in the result table docs is too small.\n";
  const Case cases[] = {
      {"a file", kDocs, "docs", "DOC", kFile, 0, kNone},
      {"delimited names", "\"a b\" (\"a \"\"b\"\"\" VARCHAR(9))", "\"a b\"", "a \"b\"", 7, 0,
       kNone},
      {"the longest text", "docs (DOC VARCHAR(7))", "docs", "DOC", 7, 0, kNone},
      {"a longer one", "docs (DOC VARCHAR(7))", "docs", "DOC", 8, -77, kTooSmall},
      {"a longer file", "docs (DOC CLOB(19999))", "docs", "DOC", kFile, -77, kTooSmall},
      {"no column at all", kDocs, "docs", "", 7, -57, kInternal},
      {"no such column for a file", kDocs, "docs", "doc", kFile, -57, "*QRKM001W  *QRKG001E*"},
      {"a name stays a name", kDocs, "docs", "DOC\") VALUES ('x') --", 7, -57, kInternal},
      {"another column", "docs (DOC CLOB(9), A INTEGER NOT NULL)", "docs", "DOC", 7, -57,
       kInternal},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const std::string table =
        std::string(c.definition).substr(0, std::string(c.definition).find(" ("));
    db_.run("CREATE TABLE " + std::string(c.definition));
    request_.table = {.written = c.table, .column = c.column};
    std::string text(c.size, 'x');
    EXPECT_EQ(deliver(text), c.code);
    expectMessage(c.message);
    const Rows rows = db_.rows("SELECT * FROM " + table);
    EXPECT_EQ(rows.size(), c.code == 0 ? 1u : 0u);
    for (const Row& row : rows) EXPECT_EQ(row.back(), text);
    db_.run("DROP TABLE " + table);
  }
}

TEST_F(ResultStorageTest, DocumentsAroundTheLimits) {
  db_.run("CREATE TABLE DOCS (DOC CLOB(1M))");
  request_.table = {.written = "DOCS", .column = "DOC"};
  for (const size_t size : {size_t{1}, size_t{4095}, size_t{4096}, kLastInMemory, kLastInMemory + 1,
                            size_t{32766}, size_t{32767}, size_t{500000}}) {
    SCOPED_TRACE(size);
    const std::string text(size, 'd');
    EXPECT_EQ(deliver(text), 0) << call_.msg;
    EXPECT_EQ(wasFile_, size > kLastInMemory);
    EXPECT_EQ(db_.rows("SELECT DOC FROM DOCS"), Rows{{text}});
    db_.run("DELETE FROM DOCS");
  }
}

TEST_F(ResultStorageTest, BuffersThatAreNoParameter) {
  db_.run("CREATE TABLE DOCS (DOC CLOB(1M))");
  request_.table = {.written = "DOCS", .column = "DOC"};
  for (const size_t size : {size_t{32766}, size_t{32767}}) {
    qrkBufAcquire(call_, &document_, 40000, kNoSizeLimit, QRK_LOC_MEMORY, false);
    qrkBufAppend(call_, &document_, std::string(size, 'd').c_str());
    EXPECT_EQ(deliver(), size == 32766 ? 0 : -57);
  }
  expectMessage("QRKG001E  * in build sqllen is negative, file result_storage, and line *");
  EXPECT_EQ(db_.rows("SELECT COUNT(*) FROM DOCS"), Rows{{"1"}});
  EXPECT_EQ(deliver(), -63);  // released
  expectMessage("QRKQ002E  *");
  document_.loctype = 2;
  EXPECT_EQ(deliver(), -57);
}

TEST_F(ResultStorageTest, ClobOutputs) {
  for (const size_t size :
       {size_t{1}, size_t{100}, kLastInMemory, kLastInMemory + 1, size_t{40000}}) {
    for (const size_t capacity : {size_t{0}, size - 1, size, size + 1}) {
      SCOPED_TRACE(std::to_string(size) + " bytes into " + std::to_string(capacity));
      std::vector<char> area(capacity);
      request_.clob = area.data();
      request_.clobCapacity = static_cast<int32_t>(capacity);
      const std::string text(size, 'd');
      const bool fits = size <= capacity;
      EXPECT_EQ(deliver(text), fits ? 0 : -124);
      EXPECT_EQ(wasFile_, size > kLastInMemory);
      EXPECT_EQ(static_cast<size_t>(length_), fits ? size : 0);
      if (fits) {
        EXPECT_EQ(std::string(area.data(), size), text);
      } else {
        expectMessage("QRKG017E  The limit for resultDoc has been exceeded in build *");
      }
    }
  }
}

TEST_F(ResultStorageTest, Validation) {
  db_.run("CREATE TABLE DOCS (DOC CLOB(1M), \"v\" INTEGER)");
  db_.run(
      "insert into orvxml.dtd_ref (dtdid, content, usage_count) values ('d.dtd',"
      " '<!ELEMENT p (#PCDATA)>', 0)");
  const TemporaryFolder schemas;
  const std::string schema = schemas.write("p.xsd",
                                           "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
                                           "<xs:element name='p' type='xs:string'/></xs:schema>");
  const std::u16string location(schema.begin(), schema.end());
  const ValidationSource registered{kValidateByDtd, "d.dtd"};
  const ValidationSource unknown{kValidateByDtd, "e.dtd"};
  const std::string longId(129, 'd');
  const ValidationSource tooLong{kValidateByDtd, longId.c_str()};
  const ValidationSource bySchema{kValidateBySchema, location.c_str()};
  const ValidationSource noSchema{kValidateBySchema, u"/nowhere/s.xsd"};
  const std::string broken =
      schemas.write("f.xsd",
                    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='p' "
                    "type='q'/></xs:schema>");
  const std::u16string brokenLocation(broken.begin(), broken.end());
  const ValidationSource faulty{kValidateBySchema, brokenLocation.c_str()};
  const std::string large(40000, 'x');
  const std::string subset = "<!DOCTYPE p [<!ELEMENT p (#PCDATA)>]>";
  struct Case {
    const char* label;
    const ValidationSource* source;
    std::string document;
    const char* valid;  // null: nothing is stored
  };
  const Case cases[] = {
      {"valid by its DTD", &registered, "<!DOCTYPE p SYSTEM 'elsewhere.dtd'><p>x</p>", "1"},
      {"invalid by its DTD", &registered, "<!DOCTYPE p SYSTEM 'elsewhere.dtd'><q/>", "0"},
      {"a valid file", &registered, "<!DOCTYPE p SYSTEM 'e'><p>" + large + "</p>", "1"},
      {"an unknown DTD is done without", &unknown, subset + "<p/>", "1"},
      {"and nothing is declared then", &unknown, "<p/>", "0"},
      {"so is one that cannot be registered", &tooLong, subset + "<p/>", "1"},
      {"valid by its schema", &bySchema, "<p>x</p>", "1"},
      {"a valid file by its schema", &bySchema, "<p>" + large + "</p>", "1"},
      {"invalid by its schema", &bySchema, "<p><q/></p>", "0"},
      {"no schema there", &noSchema, "<p/>", nullptr},
      {"a faulty schema", &faulty, "<p/>", "0"},
  };
  request_.table = {.written = "docs", .column = "DOC", .validColumn = "v"};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    source_ = c.source;
    if (!c.valid) {
      EXPECT_EQ(deliver(c.document), -80);
      expectMessage("QRKC001E  *");
      EXPECT_EQ(db_.rows("SELECT DOC FROM DOCS"), Rows{});
      continue;
    }
    EXPECT_EQ(deliver(c.document), 0);
    EXPECT_STREQ(call_.msg, "");
    EXPECT_EQ(db_.rows("SELECT DOC, \"v\" FROM DOCS"), (Rows{{c.document, c.valid}}));
    db_.run("DELETE FROM DOCS");
  }
}

}  // namespace
}  // namespace orvxml::test
