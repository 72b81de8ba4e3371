#include "orvxml/code_pages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using namespace std::string_literals;
using unittest::CallContext;

TEST(CodePageTest, BuffersBetweenApplicationAndDatabase) {
  struct Case {
    const char* label;
    const char* encoding;
    int codePage;
    bool toDatabase;
    std::string in;
    int room;
    std::string expected;  // empty: refused
    int code;
  };
  const Case cases[] = {
      {"latin 1 grows", "ISO-8859-1", 1208, true, "\xE4\xF6", 5, "äö", 0},
      {"and its terminator must fit", "ISO-8859-1", 1208, true, "\xE4\xF6", 4, "", -124},
      {"back", "ISO-8859-1", 1208, false, "äö", 5, "\xE4\xF6", 0},
      {"no euro in latin 1", "ISO-8859-1", 1208, false, "1 €", 50, "", 0},
      {"nor 8-bit bytes in ASCII", "US-ASCII", 1208, true, "\xE4", 50, "", -135},
      {"broken UTF-8", "UTF-8", 819, true, "a\xC3", 50, "", -135},
      {"equal code pages fill the room without a mark", "UTF-8", 1208, true, "\uFEFFäö", 4, "äö",
       0},
      {"equal code pages without room", "UTF-8", 1208, true, "äö", 3, "", -124},
      {"a mark of the converter's order", "UTF-16BE", 1208, true, "\xFE\xFF\0A\0B"s, 50, "AB", 0},
      {"a mark of the other order", "UTF-16BE", 1208, true,
       "\xFF\xFE"
       "A\0B\0"s,
       50, "AB", 0},
      {"a mark in little-endian text", "UTF-16LE", 1208, true,
       "\xFF\xFE"
       "A\0"s,
       50, "A", 0},
      {"a mark that latin 1 cannot hold", "UTF-8", 819, true, "\uFEFFé", 50, "\xE9", 0},
      {"what is not shown is not left out", "UTF-8", 943, true, "a\u00ADb", 50, "", -135},
      {"half a character", "UTF-16BE", 1208, true, "\0A\0"s, 50, "", -135},
      {"shift-jis", "cp943c", 1208, true, "\x83\x41", 50, "ア", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    CallContext call(c.encoding, c.codePage);
    ASSERT_EQ(call.rc, 0);
    std::vector<char> out(static_cast<size_t>(c.room), '#');
    const int size = static_cast<int>(c.in.size());
    const int length = c.toDatabase
                           ? convertBufferAppToORV(&call.ctx, c.in.data(), size, out.data(), c.room,
                                                   call.msg, call.state, &call.code)
                           : convertBufferORVToApp(&call.ctx, c.in.data(), size, out.data(), c.room,
                                                   call.msg, call.state);
    EXPECT_EQ(call.code, c.code);
    if (!c.expected.empty()) {
      ASSERT_EQ(length, static_cast<int>(c.expected.size())) << call.msg;
      EXPECT_EQ(std::string(out.data(), c.expected.size()), c.expected);
    } else {
      EXPECT_EQ(length, -1);
      EXPECT_TRUE(std::string(call.msg).starts_with("QRKQ055E  ICU error: ")) << call.msg;
      EXPECT_STREQ(call.state, "38X45");
    }
  }
}

TEST(CodePageTest, TextsBetweenTheDatabaseAndUtf16) {
  const std::string longText(5000, 'l');
  struct Case {
    const char* label;
    int codePage;
    std::u16string wide;
    std::string bytes;  // "!" and what a message shows: does not convert
  };
  const Case cases[] = {
      {"empty", 1208, u"", ""},
      {"outside the first plane", 1208, u"a€😀", "a€😀"},
      {"long", 1208, std::u16string(longText.begin(), longText.end()), longText},
      {"half a pair", 1208, u"a\xD83D", "!a?"},
      {"a pair the wrong way round", 1208, u"\xDE00\xD83D", "!??"},
      {"half a pair in latin 1", 819,
       u"a\xD83D"
       u"b",
       "!a?b"},
      {"latin 1", 819, u"é", "\xE9"},
      {"no euro in latin 1", 819, u"é€😀o", "!\xE9??o"},
      {"two bytes each", 943, u"アイ", "\x83\x41\x83\x43"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    CallContext call("UTF-8", c.codePage);
    std::string bytes;
    std::vector<char> narrow(c.bytes.size() + 1, '#');
    const int room = static_cast<int>(narrow.size());
    if (c.bytes.starts_with("!")) {
      EXPECT_FALSE(toDatabase(&call.ctx, c.wide, bytes));
      EXPECT_EQ(bytes, "");
      EXPECT_EQ(textForMessage(&call.ctx, c.wide), c.bytes.substr(1));
      EXPECT_EQ(QRK_wcstombsFunction(&call.ctx, narrow.data(), c.wide.c_str(), room), -1);
      continue;
    }
    EXPECT_TRUE(toDatabase(&call.ctx, c.wide, bytes));
    EXPECT_EQ(bytes, c.bytes);
    EXPECT_EQ(QRK_wcstombsFunction(&call.ctx, narrow.data(), c.wide.c_str(), room), room - 1);
    EXPECT_EQ(narrow.data(), c.bytes);
    EXPECT_EQ(QRK_wcstombsFunction(&call.ctx, narrow.data(), c.wide.c_str(), room - 1), -1);

    std::u16string wide;
    EXPECT_TRUE(toUtf16(&call.ctx, c.bytes, wide));
    EXPECT_EQ(wide, c.wide);
    std::vector<char16_t> units(c.wide.size() + 1);
    const int fit = static_cast<int>(c.wide.size());
    EXPECT_EQ(QRK_mbstowcsFunction(&call.ctx, units.data(), c.bytes.c_str(), fit), fit);
    EXPECT_EQ(units.data(), c.wide);
    if (fit > 0) {
      EXPECT_EQ(QRK_mbstowcsFunction(&call.ctx, units.data(), c.bytes.c_str(), fit - 1), -1);
    }
  }
  std::u16string wide;
  EXPECT_FALSE(toUtf16(nullptr, "half\xC3", wide));
  EXPECT_EQ(wide, u"");
}

TEST(CodePageTest, DocumentsLeaveWithTheApplicationsEncoding) {
  struct Case {
    const char* encoding;
    std::string in;
    std::string expected;  // "!": refused
  };
  const Case cases[] = {
      {"UTF-8", R"(<?xml version="1.0" encoding="X"?><a>ä</a>)",
       R"(<?xml version="1.0" encoding="UTF-8" ?><a>ä</a>)"},
      {"UTF-8", R"(<?xml version = '1.0'?><a/>)",
       R"(<?xml version = '1.0' encoding="UTF-8" ?><a/>)"},
      {"UTF-8", "\uFEFF<?xml version='1'?>", "<?xml version='1' encoding=\"UTF-8\" ?>"},
      {"UTF-8", "<?xml\tversion=\"1.0\"\n encoding = 'y' standalone='yes'?><a/>",
       "<?xml\tversion=\"1.0\" encoding=\"UTF-8\" standalone='yes'?><a/>"},
      {"ISO-8859-1", R"(<?xml version="1.0"?><a>ä</a>)",
       "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?><a>\xE4</a>"},
      {"UTF-16BE", R"(<?xml version="1.0"?>)",
       [] {
         std::string text = "\xFE\xFF";
         for (char c : R"(<?xml version="1.0" encoding="UTF-16BE" ?>)"s) text += "\0"s + c;
         return text;
       }()},
      {"UTF-8", "<a/>", "!"},
      {"UTF-8", "", "!"},
      {"UTF-8", "<?xml-model version=\"1.0\"?><a/>", "!"},
      {"UTF-8", "<?xml version", "!"},
      {"UTF-8", "<?xml version=1.0?><a/>", "!"},
      {"UTF-8", "<?xml version=\"1.0?><a b=\"\"/>", "!"},
      {"UTF-8", "<?xml version=\"1.0", "!"},
      {"UTF-8", "<?xml version=\"1.0\" encoding=UTF-8?><a/>", "!"},
      {"UTF-8", "<?xml version=\"1.0\" encoding \"UTF-8\"?><a/>", "!"},
      {"UTF-8", "<?xml version=\"1.0\" encoding=\"UTF-8?><a b=\"\"/>", "!"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.encoding + c.in);
    CallContext call(c.encoding);
    char out[200];
    const int length =
        qrkConvBufferORVToAppEncoding(&call.ctx, c.in.data(), static_cast<int>(c.in.size()), out,
                                      sizeof out, call.msg, call.state);
    if (c.expected == "!") {
      EXPECT_EQ(length, -1);
      EXPECT_STREQ(call.msg, "QRKD000E  An invalid XML document is rejected.\n");
      EXPECT_STREQ(call.state, "38X14");
    } else {
      ASSERT_EQ(length, static_cast<int>(c.expected.size())) << call.msg;
      EXPECT_EQ(std::string(out, c.expected.size()), c.expected);
      EXPECT_EQ(qrkConvBufferORVToAppEncoding(&call.ctx, c.in.data(), static_cast<int>(c.in.size()),
                                              out, length - 1, call.msg, call.state),
                -1);
      EXPECT_STREQ(call.state, "38X45");
    }
  }
}

TEST(CodePageTest, EncodingNames) {
  const std::pair<int, std::u16string> cases[] = {
      {1208, u"UTF-8"},    {-1, u"UTF-16"},     {943, u"Shift_JIS"}, {33722, u"EUC-JP"},
      {970, u"EUC-KR"},    {1046, u"cp1046"},   {1204, u"UTF-16"},   {5348, u"windows-1252"},
      {1200, u"UTF-16BE"}, {920, u"iso-8859-9"}};
  CallContext call;
  char16_t name[100];
  for (const auto& [codePage, expected] : cases) {
    EXPECT_EQ(QRK_getEncoding(&call.ctx, codePage, name, 100, call.state, call.msg), 0);
    EXPECT_EQ(name, expected) << codePage;
  }
  // Every name that stands for a code page opens a converter of that very code page.
  for (const int codePage : {850, 1252, 1250, 1251, 1254, 1255, 1256, 1257, 37, 1363, 437}) {
    ASSERT_EQ(QRK_getEncoding(&call.ctx, codePage, name, 100, call.state, call.msg), 0);
    const std::u16string wide = name;
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(std::string(wide.begin(), wide.end()).c_str(), &status);
    EXPECT_EQ(ucnv_getCCSID(converter, &status), codePage);
    ucnv_close(converter);
  }
  EXPECT_EQ(QRK_getEncoding(&call.ctx, 4711, name, 100, call.state, call.msg), -119);
  EXPECT_STREQ(call.msg, "QRKG008E  Locale 4711 is not supported.\n");
  EXPECT_STREQ(call.state, "38X38");
  EXPECT_EQ(QRK_getEncoding(&call.ctx, 1208, name, 5, call.state, call.msg), -119);
}

TEST(CodePageTest, UpperCaseIsOneCharacterForOne) {
  CallContext call;
  char text[64] = "straße_éа1ａ";
  EXPECT_EQ(qrk_toupper(&call.ctx, text, text, sizeof text), 0);
  EXPECT_STREQ(text, "STRAßE_ÉА1ａ");
  EXPECT_EQ(qrk_utoupper(&call.ctx, u"éａ", text, sizeof text), 0);
  EXPECT_STREQ(text, "Éａ");
  EXPECT_EQ(qrk_toupper(&call.ctx, "abcd", text, 4), -1);
  EXPECT_EQ(qrk_utoupper(&call.ctx, std::u16string(4097, u'a'), text, sizeof text), -1);
}

}  // namespace
}  // namespace orvxml
