// `orvxml validate`, run as a user runs it: no database, documents and grammars as files.
#include <nlohmann/json.hpp>

#include "tests/support/command_runner.h"

namespace orvxml::test {
namespace {

using namespace std::string_literals;

constexpr char kDtd[] = "<!ELEMENT a (b*)>\n<!ELEMENT b (#PCDATA)>\n";
constexpr char kSchema[] =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>\n<xs:element name='a' "
    "type='xs:int'/></xs:schema>";

// Runs in the folder, so that messages carry bare names.
class CommandValidate : public testing::Test {
 protected:
  CommandValidate() { place_.directory = place_.path("."); }
  CommandResult validate(std::vector<std::string> arguments, const std::string& input = "") const {
    arguments.insert(arguments.begin(), "validate");
    return place_.orvxml(arguments, input);
  }
  Workplace place_;
};

TEST_F(CommandValidate, EveryDocumentGetsItsVerdict) {
  place_.write("a b.dtd", kDtd);
  place_.write("cut.dtd", "<!ELEMENT a (b*)>\n<!ELEMENT b (#PCDATA>\n");
  place_.write("a b.xsd", kSchema);
  place_.write("bad.xsd",
               "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>\n<xs:element "
               "name='a' type='xs:nothing'/></xs:schema>");
  place_.write("good 1.xml", "<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/a.dtd'>\n<a><b>x</b></a>");
  place_.write("worse.xml", "<!DOCTYPE a SYSTEM 'a.dtd'>\n<a>\n<c/></a>");
  place_.write("bare.xml", "<a/>");
  place_.write("number.xml", "<a>7</a>");
  place_.write("wide.xml", "\xFF\xFE<\0a\0>\0\x37\0<\0/\0a\0>\0"s);
  place_.write("\xE9.xml", "<a>7</a>");
  place_.write("word.xml", "<a>\nseven</a>");
  place_.write("cut.xml", "<a>\n7");
  place_.write("empty.xml", "");
  struct Case {
    const char* label;
    std::vector<std::string> arguments;  // file names behind an option
    const char* out;
    std::vector<std::string> errors;  // the beginnings of the lines
  };
  const Case cases[] = {
      {"DTD", {"--dtd", "a b.dtd", "good 1.xml"}, "good 1.xml: valid\n", {}},
      {"the run goes on behind documents that fail",
       {"--dtd", "a b.dtd", "absent.xml", "worse.xml", "empty.xml", ".", "good 1.xml"},
       "good 1.xml: valid\n",
       {"absent.xml: No such file", "worse.xml:3:", "empty.xml: is empty", ".: is a directory"}},
      {"a document that names no DTD",
       {"--dtd", "a b.dtd", "bare.xml"},
       "",
       {"bare.xml:1:3: QRKQ047E  Parser error on line 1 column 3: no declaration found for element "
        "'a'; the document names no DTD that"}},
      {"an error in the DTD is told as the DTD's",
       {"--dtd", "cut.dtd", "good 1.xml", "worse.xml"},
       "",
       {"cut.dtd:2:", "cut.dtd:2:"}},
      {"no DTD", {"--dtd", "absent.dtd", "good 1.xml"}, "", {"absent.dtd: No such file"}},
      {"schema",
       {"--schema", "a b.xsd", "number.xml", "wide.xml", "\xE9.xml", "word.xml", "cut.xml"},
       "number.xml: valid\nwide.xml: valid\n\xE9.xml: valid\n",
       {"word.xml:2:", "cut.xml:2:"}},
      {"an error in the schema is told as the schema's",
       {"--schema", "bad.xsd", "number.xml"},
       "",
       {"bad.xsd:2:"}},
      {"standard input", {"--schema", "a b.xsd", "-"}, "<stdin>: valid\n", {}},
      {"a pipe", {"--schema", "a b.xsd", "/dev/stdin"}, "/dev/stdin: valid\n", {}},
      {"quiet", {"--quiet", "--schema", "a b.xsd", "number.xml", "word.xml"}, "", {"word.xml:2:"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const CommandResult result = validate(c.arguments, "<a>7</a>");
    EXPECT_EQ(result.status, c.errors.empty() ? 0 : 1);
    EXPECT_EQ(result.out, c.out);
    std::istringstream errors(result.err);
    for (const std::string& begin : c.errors) {
      std::string line;
      std::getline(errors, line);
      EXPECT_TRUE(line.starts_with(begin)) << line;
    }
    std::string more;
    EXPECT_FALSE(std::getline(errors, more)) << more;
  }
}

TEST_F(CommandValidate, JsonHasOneObjectForEachDocument) {
  place_.write("a.xsd", kSchema);
  place_.write("a.xml", "<a>7</a>");
  place_.write("b.xml", "<a>\n\n<b/></a>");
  const CommandResult result =
      validate({"--json", "--schema", "a.xsd", "a.xml", "b.xml", "absent.xml"});
  EXPECT_EQ(result.status, 1);
  std::istringstream lines(result.out);
  std::vector<nlohmann::json> reports;
  for (std::string line; std::getline(lines, line);) reports.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(reports.size(), 3U);
  EXPECT_EQ(reports[0], nlohmann::json({{"document", "a.xml"}, {"ok", true}}));
  EXPECT_EQ(reports[1]["ok"], false);
  EXPECT_EQ(reports[1]["line"], 3);
  EXPECT_EQ(reports[2]["message"], "No such file or directory");
}

TEST_F(CommandValidate, WrongUseIsToldAndJudgesNothing) {
  const std::string schema = place_.write("a.xsd", kSchema);
  const std::string document = place_.write("a.xml", "<a>7</a>");
  struct Case {
    std::vector<std::string> arguments;
    const char* message;
  };
  const Case cases[] = {
      {{document}, "give either --dtd or --schema\n"},
      {{"--dtd", schema, "--schema", schema, document}, "give either --dtd or --schema\n"},
      {{"--schema", schema}, "no document given\n"},
  };
  for (const Case& c : cases) {
    const CommandResult result = validate(c.arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, c.message);
    EXPECT_EQ(result.out, "");
  }
}

}  // namespace
}  // namespace orvxml::test
