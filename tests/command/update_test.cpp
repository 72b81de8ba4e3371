// `orvxml update`, run as a user runs it: no database, documents as files.
#include <nlohmann/json.hpp>

#include "tests/support/command_runner.h"
#include "tests/support/texts.h"

namespace orvxml::test {
namespace {

using namespace std::string_literals;

// Runs in the folder, so that messages carry bare names.
class CommandUpdate : public testing::Test {
 protected:
  CommandUpdate() { place_.directory = place_.path("."); }
  CommandResult update(std::vector<std::string> arguments, const std::string& input = "") const {
    arguments.insert(arguments.begin(), "update");
    return place_.orvxml(arguments, input);
  }
  std::string valueIn(const std::string& document, const std::string& path) const {
    const CommandResult result = place_.orvxml({"extract", "--one", "--path", path, "-"}, document);
    EXPECT_EQ(result.err, "");
    return result.out.substr(0, result.out.find('\n'));
  }
  Workplace place_;
};

TEST_F(CommandUpdate, WhatThePathSelectsIsReplaced) {
  struct Case {
    const char *label, *path, *value, *document, *updated;
  };
  const Case cases[] = {
      {"text, tags kept", "/a/b", "NEW", "<a><b>x<c>y</c>z</b><b>w</b></a>",
       "<a><b>NEW<c></c></b><b>NEW</b></a>\n"},
      {"a value that looks like an option", "/a", "--x", "<a/>", "<a>--x</a>\n"},
      {"nothing selected", "/b", "NEW", "<a>1 &lt; 2<!--c--></a>\n", "<a>1 &lt; 2<!--c--></a>\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const CommandResult result = update({"--path", c.path, "--value", c.value, "-"}, c.document);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, c.updated);
  }
}

TEST_F(CommandUpdate, TheOutputHasTheEncodingThatItDeclares) {
  const auto document = [](const std::string& encoding, const std::string& text) {
    return "<?xml version='1.0' encoding='" + encoding + "'?><a><b/><c>" + text + "</c></a>";
  };
  struct Case {
    std::string document;
    const char* kept;   // the text of c in UTF-8
    std::string bytes;  // stand in the output
  };
  const Case cases[] = {
      {document("UTF-8", "é"), "é", "<c>é</c>"},
      {document("ISO-8859-1", "\xE9"), "é", "<b>&#8364;</b><c>\xE9</c>"},
      {document("US-ASCII", "&#233;"), "é", "<c>&#233;</c>"},
      {document("EUC-JP", "&#173;"), "\u00AD", "<c>&#173;</c>"},
      {document("Shift_JIS", "\x95\x5C"), "表", "<c>\x95\x5C</c>"},
      {"\xFE\xFF" + utf16(document("UTF-16", "\xE9"), true), "é", "\0\xE9\0<"s},
      {"\xEF\xBB\xBF<a><b/><c>é</c></a>", "é", "<a><b>€</b><c>é</c></a>\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.document);
    const CommandResult result = update({"--path", "/a/b", "--value", "€", "-"}, c.document);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find(c.bytes), std::string::npos) << result.out;
    EXPECT_EQ(valueIn(result.out, "/a/b"), "€");
    EXPECT_EQ(valueIn(result.out, "/a/c"), c.kept);
  }
}

TEST_F(CommandUpdate, TheFileIsReplacedWholeOrNotAtAll) {
  namespace fs = std::filesystem;
  const std::string file = place_.write("my order.xml", "<a><b>1</b></a>");
  fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
  const std::vector<std::string> inPlace{"--path",       "/a/b",     "--value",     "2",
                                         "my order.xml", "--output", "my order.xml"};
  CommandResult result = update(inPlace);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(place_.read("my order.xml"), "<a><b>2</b></a>\n");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);

  place_.write("my order.xml", "<a>\n<b>1</a>");
  result = update(inPlace);
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.err.starts_with("my order.xml:2:")) << result.err;
  EXPECT_EQ(place_.read("my order.xml"), "<a>\n<b>1</a>");
  EXPECT_EQ(std::distance(fs::directory_iterator(place_.path(".")), {}), 1);

  const std::vector<std::string> json{"--json", "--path", "/a/b", "--value", "2", "-"};
  EXPECT_EQ(
      nlohmann::json::parse(update(json, "<a><b/></a>").out),
      nlohmann::json::parse(R"({"document": "<stdin>", "ok": true, "text": "<a><b>2</b></a>\n"})"));
}

TEST_F(CommandUpdate, WrongUseIsToldAndWritesNothing) {
  place_.write("a.xml", "<a/>");
  struct Case {
    std::vector<std::string> arguments;
    int status;
    const char* error;
  };
  const Case cases[] = {
      {{"--path", "/a", "a.xml"}, 2, "give --value\n"},
      {{"--value", "1", "a.xml"}, 2, "give --path\n"},
      {{"--path", "/a", "--value", "1"}, 2, "no document given\n"},
      {{"--path", "a", "--value", "1", "a.xml"}, 2, "--path: QRKD002E"},
      {{"--path", "/a", "--value", "\x01", "a.xml"}, 2, "--value: the character U+0001 has no"},
      {{"--path", "/a", "--value", "\xE9", "a.xml"}, 1, "--value:1: byte 1 is not UTF-8\n"},
      {{"--path", "/a", "--value", "1", "no.xml"}, 1, "no.xml: No such file"},
      {{"--path", "/a", "--value", "1", "a.xml", "--output", "no/b.xml"}, 1, "no/b.xml: cannot be"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.error);
    const CommandResult result = update(c.arguments);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with(c.error)) << result.err;
  }
  EXPECT_EQ(place_.read("a.xml"), "<a/>");
}

}  // namespace
}  // namespace orvxml::test
