// Patterns are read as the parser reads them, and each costs what its form says.
#include "src/xmlcolumn/pattern_cost.h"

#include <gtest/gtest.h>

namespace orvxml {
namespace {

constexpr char kUnreadable[] = "cannot be read";

std::u16string times(int count, const std::u16string& text) {
  std::u16string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

TEST(PatternCostTest, WhatCannotBeReadOrBoundedIsRefused) {
  const std::pair<std::u16string, const char*> cases[] = {
      {u"(", kUnreadable},
      {u"a)", kUnreadable},
      {u"a{2", kUnreadable},
      {u"a{3,2}", kUnreadable},
      {u"[a", kUnreadable},
      {u"[a-\\d]", kUnreadable},
      {u"[a-[b]", kUnreadable},
      {u"\\", kUnreadable},
      {u"\\p", kUnreadable},
      {u"\\p{Lu", kUnreadable},
      {times(20'001, u"a"), "is too long"},
      {times(101, u"(") + times(101, u")"), "nests groups too deeply"},
      {times(101, u"[a-") + times(101, u"]"), "nests classes too deeply"},
      {times(5, u"(a?|b?)"), "may be empty in too many ways"},
      {u"(a?)*", "repeats what may be empty"},
      {u"(a|b?){3}", "repeats what may be empty"},
      {times(21, u"a{999}"), "is too large"},
      {u"(" + times(1500, u"a|") + u"a)(" + times(1500, u"a|") + u"a)", "is too large"},
  };
  for (const auto& [pattern, reason] : cases) {
    const char* refusal = "none";
    EXPECT_EQ(PatternCost::compile(pattern, refusal), nullptr);
    EXPECT_STREQ(refusal, reason) << pattern.size();
  }
}

TEST(PatternCostTest, OneWayCostsTheLengthAndManyWaysAreCounted) {
  struct Case {
    std::u16string pattern, value;
    bool isPlain;
    double least, most;  // steps
  };
  const Case cases[] = {
      {u"", u"", true, 0, 0},
      {u"a{0}b{1}c{0,1}d{2,3}e{2,}f?g*h+", u"bddeeeh", true, 7, 7},
      {u"\\n\\r\\t\\s\\S\\d\\D\\w\\W\\i\\I\\c\\C\\.", u"\n\r\t a1aa aa1a .", true, 15, 15},
      {u"\\p{Lu}\\P{Lu}\\p{IsBasicLatin}\\p{IsNoBlock}.", u"Aaaaa", true, 5, 5},
      {u"[^a-z-[aeiou]][-a][a-][\\w-.][b-d\\n]", u"A-a.c", true, 5, 5},
      {u"[^0-9-[5]]+", u"a", true, 1, 1},
      {u"(ab){2}c", u"ababc", false, 5, 50},
      {u"a{1001}", times(1001, u"a"), true, 1001, 1001},
      {u"(a|a)(a|a)(a|a)b", u"aaac", false, 5, 50},
      {u"(a+)+b", times(30, u"a"), false, 1e6, 2e7},
      {u"a(x?|y?)(x?|y?)(x?|y?)b", u"ac", false, 3, 50},
      {times(40, u"[ab]?"), times(40, u"a"), false, 1e6, 2e7},
      {u"\\p{Cn}|\\D", u"\U0001D7CE", false, 1, 10},
  };
  for (const Case& c : cases) {
    const char* refusal = "none";
    const auto cost = PatternCost::compile(c.pattern, refusal);
    ASSERT_NE(cost, nullptr) << refusal;
    SCOPED_TRACE(std::string(c.pattern.begin(), c.pattern.end()).substr(0, 60));
    EXPECT_EQ(cost->isPlain(), c.isPlain);
    EXPECT_GE(cost->size(), 1U);
    for (int i = 0; i < 2; ++i) {  // counting leaves nothing behind
      const double steps = cost->steps(c.value, 1e7);
      EXPECT_GE(steps, c.least);
      EXPECT_LE(steps, c.most);
    }
  }
}

}  // namespace
}  // namespace orvxml
