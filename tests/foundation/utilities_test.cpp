#include "orvxml/utilities.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace orvxml {
namespace {

TEST(QRKStringTest, HoldsTextOrNothing) {
  QRKString text;
  EXPECT_TRUE(text.isNull());
  EXPECT_EQ(text.find("a"), -1);
  text += nullptr;
  EXPECT_TRUE(text.isNull());
  text += "abc";
  text += text.c_str();
  EXPECT_STREQ(text.c_str(), "abcabc");
  EXPECT_EQ(text.find("ca"), 2);
  EXPECT_EQ(text.find(nullptr), -1);
  text = static_cast<const char*>(nullptr);
  EXPECT_EQ(text.getLength(), 6);

  struct Case {
    int position;
    unsigned count;
    const char* with;
    const char* expected;
  };
  const Case cases[] = {
      {0, 2, "XYZ", "XYZcabc"}, {3, 0, "-", "abc-abc"},     {5, 99, "", "abcab"},
      {6, 1, "!", "abcabc!"},   {-1, 1, "!", "abcabc"},     {2, 1, nullptr, "abcabc"},
      {7, 0, "!", "abcabc"},    {0, 4294967295U, "n", "n"},
  };
  for (const Case& c : cases) {
    QRKString changed(text);
    changed.replace(c.position, c.count, c.with);
    EXPECT_STREQ(changed.c_str(), c.expected);
    EXPECT_EQ(changed.getLength(), static_cast<int>(std::string(c.expected).size()));
  }
}

TEST(QRKListTest, IsWalkedBothWays) {
  QRKList list;
  EXPECT_EQ(list.getNext(), nullptr);
  for (int i = 1; i <= 3; ++i) EXPECT_EQ(list.push_back(&i, sizeof i), 0);
  EXPECT_EQ(list.getCount(), 3);
  std::vector<int> seen;
  while (void* data = list.getNext()) seen.push_back(*static_cast<int*>(data));
  while (void* data = list.getPrev()) seen.push_back(*static_cast<int*>(data));
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 3, 3, 2, 1}));
  list.clean();
  EXPECT_EQ(list.getCount(), 0);
  EXPECT_EQ(list.getPrev(), nullptr);
}

TEST(WideStringTest, NullArgumentsAreNoError) {
  char16_t text[8] = u"ab";
  EXPECT_EQ(QRK_wcscat(text, nullptr), text);
  EXPECT_EQ(QRK_wcsncat(text, u"cdef", 2), text);
  EXPECT_EQ(std::u16string(text), u"abcd");
  EXPECT_EQ(QRK_wcscmp(text, nullptr), 0);
  EXPECT_NE(QRK_wcsncmp(text, u"abX", 3), 0);
  EXPECT_EQ(QRK_wcsncmp(nullptr, u"abX", 3), 0);
  EXPECT_EQ(QRK_wcslen(nullptr), 0);
  EXPECT_EQ(QRK_wcsstr(text, nullptr), nullptr);
  EXPECT_EQ(QRK_wcschr(nullptr, u'a'), nullptr);
  EXPECT_EQ(linuxwcsrchr(text, u'c'), text + 2);
  EXPECT_EQ(linuxwcsrchr(text, u'x'), text);
  char16_t* copy = QRK_wcsdup_function(text);
  EXPECT_EQ(QRK_wcscmp(copy, text), 0);
  std::free(copy);
  EXPECT_EQ(QRK_wcsncpy(text, nullptr, 3), text);
  EXPECT_EQ(QRK_wcslen(text), 0);
  EXPECT_EQ(QRK_wcscpy(nullptr, u"x"), nullptr);
}

}  // namespace
}  // namespace orvxml
