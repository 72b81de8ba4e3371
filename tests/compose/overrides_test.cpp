#include "src/dad/overrides.h"

#include <fnmatch.h>

#include "src/compose/composition.h"
#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using Condition = std::pair<std::u16string, std::string>;  // path and predicate

class OverridesTest : public testing::Test {
 protected:
  ~OverridesTest() override { qrkFreeOverride(list_); }

  int read(int type, const char* text) {
    qrkFreeOverride(list_);
    return call_.report([&] { qrkInitOverride(&call_.ctx, type, text, list_); });
  }

  std::vector<Condition> conditions() const {
    std::vector<Condition> conditions;
    for (int i = 0; i < list_.count; ++i) {
      conditions.emplace_back(list_.cond[i]->path_str, list_.cond[i]->predicate);
    }
    return conditions;
  }

  unittest::CallContext call_;
  override_list list_{};
};

TEST_F(OverridesTest, TextsBecomeConditions) {
  struct Case {
    const char* label;
    const char* text;
    std::vector<Condition> conditions;
  };
  const Case cases[] = {
      {"attribute, element, and no condition at all",
       "/Order/Part/@color = 'red' AND /Order/Part/key > 100 AND /Order/Customer/Name NO_CONDITION",
       {{u"/Order/Part/@color", "= 'red'"},
        {u"/Order/Part/key", "> 100"},
        {u"/Order/Customer/Name", ""}}},
      {"no text", nullptr, {{u"", ""}}},
      {"blanks of every kind", "/a\n\t = 1 \r\n AND\t\n/b<2\n", {{u"/a", "= 1"}, {u"/b", "<2"}}},
      {"one character in front of a path is dropped", " /a = 1", {{u"/a", "= 1"}}},
      {"a path ends at a comparison, not at a word's sign",
       "/a=1 AND /b!=2 AND /c>=3",
       {{u"/a", "=1"}, {u"/b!", "=2"}, {u"/c", ">=3"}}},
      {"small letters separate nothing", "/a = 1 and b = 2", {{u"/a", "= 1 and b = 2"}}},
      {"nor does what is quoted, wherever the quotation starts",
       "/a = 'x AND y' AND /b = 'it''s AND'",
       {{u"/a", "= 'x AND y'"}, {u"/b", "= 'it''s AND'"}}},
      {"capitals separate inside a word", "/a = BRAND/b", {{u"/a", "= BR"}, {u"/b", ""}}},
      {"quotation without an end", "/a = 'x AND /b = 1", {{u"/a", "= 'x AND /b = 1"}}},
      {"nothing behind the last AND", "/a = 1 AND", {{u"/a", "= 1"}, {u"", ""}}},
      {"nothing but AND", "ANDAND", {{u"ANDAND", ""}}},
      {"a quotation mark makes NO_CONDITION a predicate",
       "/a = 'NO_CONDITION' AND /b xNO_CONDITIONx",
       {{u"/a", "= 'NO_CONDITION'"}, {u"/b", ""}}},
      {"other alphabets", "/\u00e9 = '\u20ac'", {{u"/\u00e9", "= '\u20ac'"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(read(XML_OVERRIDE, c.text), 0) << call_.msg;
    EXPECT_EQ(conditions(), c.conditions);
    EXPECT_EQ(list_.max, kMaxOverrides);
    EXPECT_STREQ(call_.msg, "");
  }
}

TEST_F(OverridesTest, WhatIsRefused) {
  const std::string euros = "/a = '" + std::string(339 * 3, 'x') + "\u20ac'";  // 1023 bytes
  std::string most;
  for (int i = 0; i < kMaxOverrides; ++i) most += (i ? " AND /a = " : "/a = ") + std::to_string(i);
  const char kInternal[] = "QRKG001E  *, file qrkrcomp, and line *\n";
  const char kSyntax[] = "QRKQ030E  Wrong XML override syntax.\n";
  struct Case {
    const char* label;
    int type;
    std::string text;
    int code;
    const char* message;
    int count;
  };
  const Case cases[] = {
      {"no override, whatever the text", NO_OVERRIDE, "/a = 1", 0, "", 0},
      {"a statement", SQL_OVERRIDE, "SELECT 1", -99, kSyntax, 0},
      {"an unknown type", 3, "/a = 1", -99, kSyntax, 0},
      {"no text of the code page", XML_OVERRIDE, "/a = '\xff'", -99, kSyntax, 0},
      {"1024 bytes", XML_OVERRIDE, "/b x AND /a " + std::string(1024, 'x') + " ", 0, "", 2},
      {"1025 bytes", XML_OVERRIDE, "/b x AND /a " + std::string(1025, 'x'), -57, kInternal, 1},
      {"1023 bytes with a long character", XML_OVERRIDE, euros, 0, "", 1},
      {"1025 bytes with long characters", XML_OVERRIDE, euros + "\u00e9", -57, kInternal, 0},
      {"as many conditions as the list holds", XML_OVERRIDE, most, 0, "", 128},
      {"one more", XML_OVERRIDE, most + " AND /a = 0", -99, kSyntax, 128},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(read(c.type, c.text.c_str()), c.code);
    EXPECT_EQ(fnmatch(c.message, call_.msg, 0), 0) << call_.msg;
    EXPECT_EQ(list_.count, c.count);
  }
  qrkFreeOverride(list_);
  EXPECT_EQ(list_.count, 0);
  EXPECT_EQ(list_.max, 0);
}

}  // namespace
}  // namespace orvxml
