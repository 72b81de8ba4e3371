// Documents in encodings that are converted on their way to the parser: bytes that mean nothing are
// refused wherever they stand, and everything else arrives as it was written.
#include "src/parser/source_encoding.h"

#include <cstring>

#include "orvxml/code_pages.h"
#include "orvxml/validation.h"
#include "src/parser/parser.h"
#include "src/text/converters.h"
#include "tests/xmlcolumn/column_calls.h"

namespace orvxml::unittest {
namespace {

// Around these bytes the converting source goes on with its next piece, and the parser with its.
constexpr size_t kBoundaries[] = {8192, 16384, 49152};

std::string declared(const std::string& encoding) {
  return "<?xml version='1.0' encoding='" + encoding + "'?>";
}

std::string toUtf8(std::u16string_view text) {
  std::string utf8;
  EXPECT_TRUE(toDatabase(nullptr, text, utf8));
  return utf8;
}

std::string encoded(UConverter* converter, std::u16string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  std::string bytes(text.size() * 4 + 4, '\0');
  const int size =
      fromUnicode(converter, text, bytes.data(), static_cast<int>(bytes.size()), status);
  EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
  bytes.resize(static_cast<size_t>(size));
  return bytes;
}

std::string writtenIn(const char* name, std::u16string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  return encoded(Converter(ucnv_open(name, &status)).get(), text);
}

CallOutcome parseTree(CallContext& call, const std::string& document, int useDbEncoding) {
  std::strcpy(call.state, "00000");
  const int code = call.report([&] { qrkDOM(&call.ctx, document.c_str(), useDbEncoding, 1); });
  return {code == 0 ? 0 : -1, call.state, call.msg};
}

void expectRefused(CallContext& call, const std::string& document, int useDbEncoding = 0,
                   const std::string& line = "1") {
  for (const CallOutcome& outcome :
       {parseTree(call, document, useDbEncoding),
        CallOutcome(extractValues(&call.ctx, document, "/a", {.useDbEncoding = useDbEncoding})),
        CallOutcome(updateDocument(&call.ctx, document, u"/none", u"",
                                   {.useDbEncoding = useDbEncoding}))}) {
    EXPECT_EQ(outcome.rc, -1);
    EXPECT_EQ(outcome.state, "38X13");
    EXPECT_EQ(outcome.message.substr(0, 32), "QRKQ047E  Parser error on line " + line)
        << outcome.message;
    EXPECT_NE(outcome.message.find("invalid multi-byte sequence"), std::string::npos)
        << outcome.message;
  }
}

TEST(SourceEncodingTest, BytesThatMeanNothingAreRefused) {
  struct Case {
    const char* encoding;
    int codePage;
    std::string bytes;
  };
  const Case cases[] = {
      {"Shift_JIS", 943, "\x85\x9F"},
      {"Shift_JIS", 943, "\xEF\xBE"},
      {"EUC-JP", 954, "\xA9\xA1"},
      {"EUC-JP", 954, "\x8F\xA2\x41"},
      {"EUC-KR", 970, "\xAE\xA1"},
      {"Big5", 950,
       "\x81"
       "0"},
      {"Big5", 950, "\xA1 "},
      {"EUC-TW", 964, "\x8E\xA1\xFF\xFF"},
      {"GB2312", 1383, "\xA0\xA1"},
      {"iso-8859-6", 1089, "\xA1"},
      {"iso-8859-7", 813, "\xFF"},
      {"iso-8859-8", 916, "\xC0"},
      {"windows-1255", 1255, "\xFF"},
      {"ISO-2022-JP", 0, "\x1B$B\xFF"},
      {"cp1208", 0, "\xE9"},
  };
  CallContext declares;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.encoding) + " " + testing::PrintToString(c.bytes));
    expectRefused(declares, declared(c.encoding) + "<a>x" + c.bytes + "</a>");
    expectRefused(declares, declared(c.encoding) + "<a b='" + c.bytes + "'/>");
    expectRefused(declares, declared(c.encoding) + "<a/><!--" + c.bytes + "-->");
    if (c.codePage == 0) continue;
    CallContext database("UTF-8", c.codePage);
    ASSERT_EQ(database.rc, 0);
    expectRefused(database, declared("UTF-8") + "<a>x" + c.bytes + "</a>", 1);
    expectRefused(database, c.bytes + "<a/>", 1, "0");  // in front of the first line
  }
}

TEST(SourceEncodingTest, BytesThatMeanNothingAreRefusedWhereAPieceEnds) {
  CallContext call;
  const std::string start = declared("Shift_JIS") + "<a>", end = "\x93\xFA</a>";
  for (const size_t boundary : kBoundaries) {
    for (size_t at = boundary - 3; at <= boundary; ++at) {
      SCOPED_TRACE(at);
      std::string text(at - start.size(), 'x');
      expectRefused(call, start + text + "\x85\x9F" + end);
      // The end of the document leaves half a character.
      expectRefused(call, start + std::string(at - start.size() - 4, 'x') + "</a>\x93");
    }
  }
}

TEST(SourceEncodingTest, AMalformedTextIsRefusedAtItsPlace) {
  CallContext call;
  const std::string line(99, ' ');
  const std::string document =
      declared("EUC-JP") + "\n<a>" + line + "\n" + line + "\n<b>\xFF</b>" + line + "</a>";
  const CallOutcome outcome = parseTree(call, document, 0);
  EXPECT_EQ(outcome.message,
            "QRKQ047E  Parser error on line 4 column 4: invalid multi-byte sequence \n");
}

TEST(SourceEncodingTest, CharactersArriveWhereverPiecesEnd) {
  struct Case {
    const char* encoding;
    std::u16string character;
  };
  const Case cases[] = {
      {"Shift_JIS", u"\u65E5"},   {"EUC-JP", u"\u65E5"},     {"EUC-TW", u"\u4E5A"},
      {"gb18030", u"\U0001F600"}, {"iso-8859-2", u"\u0142"},
  };
  const test::TemporaryFolder folder;
  CallContext call;
  for (const Case& c : cases) {
    for (int shift = 0; shift < 4; ++shift) {
      SCOPED_TRACE(std::string(c.encoding) + " " + std::to_string(shift));
      std::u16string text(static_cast<size_t>(shift), u'x');
      while (text.size() < 30000) text += c.character;
      const std::string document =
          declared(c.encoding) + "<a>" + writtenIn(c.encoding, text) + "</a>";
      const std::vector<std::string> values{toUtf8(text)};
      EXPECT_TRUE(extractValues(&call.ctx, document, "/a").values == values);
      const std::string file = folder.write("document.xml", document);
      EXPECT_TRUE(extractValues(&call.ctx, file, "/a", {.inMemory = 0}).values == values);
    }
  }
}

TEST(SourceEncodingTest, ADeclarationIsFoundHoweverItIsWritten) {
  const std::string body = "<a>\x93\xFA</a>", day = "\xE6\x97\xA5";
  const std::string blanks(16000, ' ');
  struct Case {
    const char* label;
    std::string document;
    std::string value;  // empty: the parser refuses the document
  };
  const Case cases[] = {
      {"quotes", "<?xml version=\"1.0\" encoding=\"shift_jis\"?>" + body, day},
      {"white space", "<?xml\n\tversion='1.0'\r\nencoding =\n 'Shift_JIS'\t?>" + body, day},
      {"far away", "<?xml version='1.0'" + blanks + "encoding='Shift_JIS'?>" + body, day},
      {"standalone", "<?xml version='1.0' encoding='Shift_JIS' standalone='yes'?>" + body, day},
      {"a mark of another encoding", "\xEF\xBB\xBF" + declared("Shift_JIS") + body, day},
      {"in EBCDIC", writtenIn("cp037", u"<?xml version='1.0' encoding='cp037'?><a>\u00E9</a>"),
       "\xC3\xA9"},
      {"an instruction", "<?xml-x encoding='Shift_JIS'?><a>\xC3\xA9</a>", "\xC3\xA9"},
      {"a comment", "<?xml version='1.0'?><!-- encoding='Shift_JIS' --><a>\xC3\xA9</a>",
       "\xC3\xA9"},
      {"an unknown name", declared("none") + "<a>x</a>", ""},
      {"a name that is none", declared("Shift_JIS,version=1") + "<a>x</a>", ""},
      {"another quote", "<?xml version='1.0' encoding='Shift_JIS\"?>" + body, ""},
      {"cut off", "<?xml version='1.0' encoding='Shift_JIS", ""},
      {"cut off earlier", "<?xml version='1.0' encoding=", ""},
      {"not at the start", " " + declared("Shift_JIS") + body, ""},
  };
  CallContext call;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const Extracted got = extractValues(&call.ctx, c.document, "/a");
    EXPECT_EQ(got.rc == 0 ? got.values.at(0) : "", c.value) << got.message;
    EXPECT_EQ(got.state, c.value.empty() ? "38X13" : "00000");
  }
}

TEST(SourceEncodingTest, AnUpdatedDocumentKeepsTheEncodingThatItDeclares) {
  CallContext call("UTF-8", 943);
  const Updated updated =
      updateDocument(&call.ctx, declared("Shift_JIS") + "<a><b>\x93\xFA</b></a>", u"/a/b",
                     u"\u672C", {.useDbEncoding = 1});
  EXPECT_EQ(updated.document, declared("Shift_JIS") + "<a><b>\x96{</b></a>") << updated.message;
}

// Names of encodings have several variants, which differ in kana and Cyrillic letters.
TEST(SourceEncodingTest, TheDatabaseReadsWhatItWrites) {
  for (const int32_t codePage : {950, 964, 943, 33722}) {
    SCOPED_TRACE(codePage);
    CallContext call("UTF-8", codePage);
    ASSERT_EQ(call.rc, 0);
    const std::string text =
        encoded(call.ctx.codePages->dbConverter, u"\u4E2D\u3042\u30AB\u0416\u03A9");
    const std::string dtd =
        "<!ELEMENT a (b)><!ELEMENT b (#PCDATA)><!ATTLIST a x (" + text + ") #REQUIRED>";
    std::string document = "<!DOCTYPE a SYSTEM 'd'><a x='" + text + "'><b>" + text + "</b></a>";
    EXPECT_EQ(extractValues(&call.ctx, document, "/a/b", {.useDbEncoding = 1}).values,
              std::vector{text});
    std::string id = "d", definition = dtd;
    EXPECT_EQ(qrkValidate(&call.ctx, document.data(), 1, 1, definition.data(), 1, id.data(),
                          call.state, call.msg, 1),
              1)
        << call.msg;
  }
}

TEST(SourceEncodingTest, DtdsAndSchemasAreReadAsStrictly) {
  const test::TemporaryFolder folder;
  CallContext call;
  std::string document = "<!DOCTYPE a SYSTEM 'd'><a/>", plain = "<a/>", id = "d";
  for (const bool isWellFormed : {true, false}) {
    const std::string comment = isWellFormed ? "<!--\x93\xFA-->" : "<!--\x85\x9F-->";
    std::string dtd = declared("Shift_JIS") + "<!ELEMENT a EMPTY>" + comment;
    const int byDtd = qrkValidate(&call.ctx, document.data(), 1, 0, dtd.data(), 0, id.data(),
                                  call.state, call.msg, 1);
    EXPECT_EQ(byDtd, isWellFormed) << call.msg;
    EXPECT_STREQ(call.state, isWellFormed ? "00000" : "38X13");
    const std::string schema =
        folder.write("a.xsd", declared("Shift_JIS") + comment +
                                  "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'>"
                                  "<s:element name='a'/></s:schema>");
    std::u16string location(schema.begin(), schema.end());
    const int bySchema =
        qrkValidateSchema(&call.ctx, plain.data(), 1, 0, location.data(), call.state, call.msg);
    EXPECT_EQ(bySchema, isWellFormed) << call.msg;
    EXPECT_STREQ(call.state, isWellFormed ? "00000" : "38X13");
  }
}

}  // namespace
}  // namespace orvxml::unittest
