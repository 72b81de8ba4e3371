// Documents that other people made, decomposed whole by the example mappings. What must come out
// is asked from the files themselves, with XPath.
#include "tests/support/command_runner.h"

namespace orvxml::test {
namespace {

class RealDocument : public testing::Test {
 protected:
  void shred(const std::string& example, const std::string& dad, const std::string& document) {
    document_ = document;
    const std::string folder = ORVXML_SOURCE_DIR "/examples/" + example + '/';
    ASSERT_EQ(place_.orvxml({"create", "--enable"}).status, 0);
    const CommandResult made = place_.orvxml({"sql", "--file", folder + "tables.sql"});
    ASSERT_EQ(made.status, 0) << made.err;
    const CommandResult result = place_.orvxml({"shred", "--dad", folder + dad, document});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
  }

  // The string value of an XPath over the document; attribute defaults of its DTD count.
  std::string xpath(const std::string& expression) const {
    const CommandResult result =
        place_.run("xmllint", {"--dtdattr", "--xpath", expression, document_});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out.substr(0, result.out.find_last_not_of('\n') + 1);
  }

  std::string value(const std::string& query) const {
    const CommandResult result = place_.orvxml({"sql", "--quiet", query});
    EXPECT_EQ(result.status, 0) << result.err;
    if (result.status != 0) return result.err;
    const size_t start = result.out.find('\n', result.out.find('\n') + 1) + 1;
    std::string text = result.out.substr(start, result.out.rfind('\n') - start);
    return text.substr(text.find_first_not_of(' '));
  }

  Workplace place_;
  std::string document_;
};

TEST_F(RealDocument, EveryLanguageBecomesARow) {
  shred("iso_639", "languages.dad", "/usr/share/xml/iso-codes/iso_639_3.xml");
  struct Case {
    const char* path;
    const char* query;
  };
  const Case counts[] = {
      {"count(//iso_639_3_entry)", "select count(*) from language"},
      {"count(//@part1_code)", "select count(part1) from language"},
      {"count(//@inverted_name)", "select count(inverted_name) from language"},
      {"count(//*[@type='E'])", "select count(*) from language where kind = 'E'"},
      {"count(//*[@scope='M' and @part2_code])",
       "select count(*) from language where scope = 'M' and part2 is not null"},
  };
  for (const Case& c : counts) EXPECT_EQ(value(c.query), xpath(c.path)) << c.query;
  const auto expectSameEntry = [this](const std::string& position) {
    const std::string entry = "//iso_639_3_entry[" + position + "]/@";
    EXPECT_EQ(value("select name || '/' || reference_name || '/' || kind from language"
                    " where id = '" +
                    xpath("string(" + entry + "id)") + "'"),
              xpath("concat(" + entry + "name, '/', " + entry + "reference_name, '/', " + entry +
                    "type)"));
  };
  for (const char* position : {"1", "1234", "5678", "last()"}) expectSameEntry(position);
}

TEST_F(RealDocument, EveryMediaTypeWithWhatHangsBelowIt) {
  shred("mime", "types.dad", "/usr/share/mime/packages/freedesktop.org.xml");
  struct Case {
    const char* element;  // of the file
    const char* table;
    const char* attribute;
    const char* column;
  };
  const Case cases[] = {
      {"glob", "mime_glob", "pattern", "pattern"},
      {"alias", "mime_alias", "type", "alias"},
      {"sub-class-of", "mime_parent", "type", "parent"},
      {"root-XML", "mime_root", "localName", "local_name"},
      {"magic", "mime_magic", "priority", "char(priority)"},
  };
  EXPECT_EQ(value("select count(*) from mime_type"), xpath("count(//*[local-name()='mime-type'])"));
  EXPECT_EQ(value("select count(icon) from mime_type"),
            xpath("count(//*[local-name()='generic-icon'])"));
  EXPECT_EQ(value("select count(acronym) from mime_type"),
            xpath("count(//*[local-name()='acronym'])"));
  EXPECT_EQ(value("select sum(weight) from mime_glob"),
            xpath("sum(//*[local-name()='glob']/@weight)"));
  EXPECT_EQ(value("select count(*) from mime_match"),
            xpath("count(//*[local-name()='magic']/*[local-name()='match'])"));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.table);
    const std::string all = std::string("//*[local-name()='") + c.element + "']";
    EXPECT_EQ(value(std::string("select count(*) from ") + c.table), xpath("count(" + all + ')'));
    // A sampled row below the type that the file gives it.
    const std::string sample = '(' + all + ")[20]/";
    EXPECT_NE(value(std::string("select count(*) from ") + c.table + " where type_name = '" +
                    xpath("string(" + sample + "../@type)") + "' and " + c.column + " = '" +
                    xpath("string(" + sample + '@' + c.attribute + ')') + "'"),
              "0");
  }
}

}  // namespace
}  // namespace orvxml::test
