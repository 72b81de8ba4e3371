// `orvxml extract`, run as a user runs it: no database, documents as files.
#include <nlohmann/json.hpp>

#include "tests/support/command_runner.h"

namespace orvxml::test {
namespace {

using namespace std::string_literals;

constexpr char kOrder[] =
    "<order id='7' note='&lt;5 &amp; more'><item>one</item><item><b>two</b>!</item>"
    "<item>three\nlines</item><empty/></order>";

// Runs in the folder, so that messages carry bare names.
class CommandExtract : public testing::Test {
 protected:
  CommandExtract() {
    place_.directory = place_.path(".");
    place_.write("order 1.xml", kOrder);
    place_.write("latin.xml", "<?xml version='1.0' encoding='ISO-8859-1'?><order id='\xE9'/>");
    place_.write("cut.xml", "<order>\n<item>one</itm></order>");
  }
  CommandResult extract(std::vector<std::string> arguments, const std::string& input = "") const {
    arguments.insert(arguments.begin(), "extract");
    return place_.orvxml(arguments, input);
  }
  Workplace place_;
};

TEST_F(CommandExtract, ValuesComeInOrderAndInTheFormAskedFor) {
  struct Case {
    const char* label;
    std::vector<std::string> arguments;
    std::string out;
  };
  const Case cases[] = {
      {"elements", {"--path", "/order/item", "order 1.xml"}, "one\n!\nthree\nlines\n"},
      {"an attribute", {"--path", "//order/@note", "order 1.xml"}, "&lt;5 &amp; more\n"},
      {"markup", {"--markup", "--path", "/order/item/b", "order 1.xml"}, "<b>two</b>\n"},
      {"NUL", {"-0", "--path", "/order/item", "order 1.xml"}, "one\0!\0three\nlines\0"s},
      {"nothing there", {"--path", "/order/price", "order 1.xml"}, ""},
      {"several files, each in its encoding",
       {"--path", "/order/@id", "order 1.xml", "latin.xml", "-"},
       "order 1.xml: 7\nlatin.xml: é\n<stdin>: é\n"},
      {"one", {"--one", "--path", "/order/@id", "order 1.xml"}, "7\n"},
      {"one empty value", {"--one", "--path", "/order/empty", "order 1.xml"}, "\n"},
  };
  const std::string wide = "\xFE\xFF\0<\0o\0r\0d\0e\0r\0 \0i\0d\0=\0'\0\xE9\0'\0/\0>"s;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const CommandResult result = extract(c.arguments, wide);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, c.out);
  }
}

TEST_F(CommandExtract, ADocumentThatFailsShowsNoValueAndDoesNotEndTheRun) {
  struct Case {
    const char* label;
    std::vector<std::string> arguments;
    int status;
    const char* out;
    std::string errorBegin;
  };
  const Case cases[] = {
      {"no file", {"--path", "//@id", "no.xml", "latin.xml"}, 1, "latin.xml: é\n", "no.xml: No su"},
      {"malformed", {"--path", "//item", "cut.xml", "-"}, 1, "<stdin>: -\n", "cut.xml:2:"},
      {"several values",
       {"--one", "--path", "//item", "order 1.xml"},
       1,
       "",
       "order 1.xml: QRKD001E  //item occurs multiple times."},
      {"no value",
       {"--one", "--path", "//@no", "latin.xml"},
       1,
       "",
       "latin.xml: QRKD003W  Path not found."},
      {"a wrong path",
       {"--path", "order", "latin.xml", "no.xml"},
       2,
       "",
       "--path: QRKD002E  A syntax error occurred near position 1 in the search path.\n"},
      {"no path", {"latin.xml"}, 2, "", "give --path\n"},
      {"no document", {"--path", "//item"}, 2, "", "no document given\n"},
      {"two forms", {"--json", "-0", "--path", "//b", "-"}, 2, "", "give --json or -0, not both\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const CommandResult result = extract(c.arguments, "<item>-</item>");
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.out, c.out);
    EXPECT_TRUE(result.err.starts_with(c.errorBegin)) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  }
}

TEST_F(CommandExtract, JsonHasOneObjectForEachDocument) {
  const CommandResult result =
      extract({"--json", "--path", "/order/item", "order 1.xml", "cut.xml", "latin.xml"});
  EXPECT_EQ(result.status, 1);
  std::istringstream lines(result.out);
  std::vector<nlohmann::json> reports;
  for (std::string line; std::getline(lines, line);) reports.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(reports.size(), 3U);
  EXPECT_EQ(reports[0], nlohmann::json::parse(R"({"document": "order 1.xml", "ok": true,
                                     "values": ["one", "!", "three\nlines"]})"));
  EXPECT_EQ(reports[1]["ok"], false);
  EXPECT_EQ(reports[1]["line"], 2);
  EXPECT_EQ(reports[2]["values"], nlohmann::json::array());
}

}  // namespace
}  // namespace orvxml::test
