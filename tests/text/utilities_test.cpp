#include "orvxml/utilities.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "orvxml/buffer.h"
#include "src/parser/parser.h"
#include "src/server_access/catalog_queries.h"
#include "src/server_access/locators.h"
#include "tests/support/environment.h"

namespace orvxml {
namespace {

TEST(UtilitiesTest, StringsHoldTextOrNothing) {
  QRKString text;
  text += nullptr;
  EXPECT_TRUE(text.isNull());
  EXPECT_EQ(text.find("a"), -1);
  text += "abc";
  text += text.c_str();
  text = static_cast<const char*>(nullptr);
  EXPECT_EQ(text.find("ca"), 2);
  struct Case {
    int position;
    unsigned count;
    const char* with;
    const char* expected;
  };
  for (const Case& c : {Case{0, 2, "XYZ", "XYZcabc"}, Case{6, 99, "!", "abcabc!"},
                        Case{-1, 1, "!", "abcabc"}, Case{2, 1, nullptr, "abcabc"}}) {
    QRKString changed(text);
    changed.replace(c.position, c.count, c.with);
    EXPECT_STREQ(changed.c_str(), c.expected);
    EXPECT_EQ(changed.getLength(), static_cast<int>(std::strlen(c.expected)));
  }
}

TEST(UtilitiesTest, ListsAreWalkedBothWays) {
  QRKList list;
  for (int i = 1; i <= 3; ++i) EXPECT_EQ(list.push_back(&i, sizeof i), 0);
  std::vector<int> seen;
  while (void* data = list.getNext()) seen.push_back(*static_cast<int*>(data));
  while (void* data = list.getPrev()) seen.push_back(*static_cast<int*>(data));
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 3, 3, 2, 1}));
  list.clean();
  EXPECT_EQ(list.getCount(), 0);
  EXPECT_EQ(list.getPrev(), nullptr);
}

TEST(UtilitiesTest, WideTextsMayBeMissing) {
  char16_t text[8] = u"ab";
  EXPECT_EQ(QRK_wcscat(text, nullptr), text);
  EXPECT_EQ(QRK_wcsncat(text, u"cdef", 2), text);
  EXPECT_EQ(QRK_wcscmp(text, nullptr), 0);
  EXPECT_NE(QRK_wcsncmp(text, u"abX", 3), 0);
  EXPECT_EQ(QRK_wcsstr(text, u"cd"), QRK_wcschr(text, u'c'));
  EXPECT_EQ(linuxwcsrchr(text, u'c'), text + 2);
  EXPECT_EQ(linuxwcsrchr(text, u'x'), text);
  char16_t* copy = QRK_wcsdup_function(text);
  EXPECT_EQ(std::u16string(copy), u"abcd");
  std::free(copy);
  EXPECT_EQ(QRK_wcsncpy(text, nullptr, 3), text);
  EXPECT_EQ(QRK_wcslen(text), 0);
  EXPECT_EQ(QRK_wcscpy(nullptr, u"x"), nullptr);
}

TEST(UtilitiesTest, WhatTheInterfaceHasBesides) {
  char path[kPathSize] = "/a/b";
  daix_to_dpc(nullptr, path);
  EXPECT_STREQ(path, "\\a\\b");
  const test::Variable home("HOME", "/root");
  EXPECT_EQ(xml_getFilePrefix(nullptr, path), 0);
  xml_fileNameConvert(nullptr, path);
  EXPECT_STREQ(path, "/tmp/root");
  char text[16] = "";
  EXPECT_STREQ(qrkConvXMLCh(nullptr, u"é", text), "é");
  EXPECT_TRUE(isQuotedSQLType("VARCHAR(3)") && isGraphicQuotedSQLType("GRAPHIC"));
  EXPECT_FALSE(isQuotedSQLType("INTEGER") || isGraphicQuotedSQLType("VARCHAR"));
  const std::unique_ptr<FILE, decltype(&std::fclose)> file(std::tmpfile(), &std::fclose);
  EXPECT_EQ(qrk_seekFile(nullptr, file.get(), 7), 0);
  EXPECT_EQ(std::ftell(file.get()), 7);
  EXPECT_EQ(qrkIsWorkstation(), 1);
  EXPECT_EQ(qrkCreateSchema(nullptr) + qrkCreateManyrows(nullptr) + qrkDropManyrows(nullptr), 0);
}

}  // namespace
}  // namespace orvxml
