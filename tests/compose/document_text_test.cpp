// The text of documents under construction: values that must leave a document that parses, and the
// pieces in which it goes into the buffer.
#include "src/compose/document_text.h"

#include <gtest/gtest.h>

#include "orvxml/code_pages.h"
#include "src/compose/result_storage.h"
#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using unittest::CallContext;

struct Written {
  int code;
  std::string text;  // the message of a failure
  bool operator==(const Written&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Written& written) {
  return out << written.code << " '" << written.text << "'";
}

class TextTest {
 public:
  explicit TextTest(CallContext& call, std::string header = "")
      : header_(std::move(header)), call_(call) {}

  template <class Write>
  Written write(Write&& write) {
    OutBuffer buffer(&call_.ctx);
    const int code = call_.report([&] {
      acquireDocument(&call_.ctx, buffer);
      DocumentText text(&call_.ctx);
      text.begin(buffer.get(), header_);
      write(text);
      text.flush();
    });
    if (code != 0) return {code, call_.msg};
    const char* content = qrkBufGetContent(&call_.ctx, buffer.get());
    return {0, buffer->loctype == QRK_LOC_FILE ? test::readFile(content) : content};
  }

  Written value(std::string_view value) {
    return write([&](DocumentText& text) { text.appendValue(value, "T.C"); });
  }

 private:
  const std::string header_;
  CallContext& call_;
};

Written refused(const std::string& reason) {
  return {-135, "QRKQ055E  ICU error: column T.C holds " + reason + "\n"};
}
Written refusedCharacter(const std::string& name) {
  return refused(name + ", which XML cannot carry");
}

TEST(DocumentTextTest, ValuesAreEscapedOrRefused) {
  using namespace std::string_view_literals;
  CallContext call;
  TextTest test(call);
  EXPECT_EQ(test.value("a<b & \"c\" 'd' > e"),
            (Written{0, "a&lt;b &amp; &quot;c&quot; &apos;d&apos; &gt; e"}));
  const std::string planes = " \t\n\r\x7f\u0080\u00e9\ud7ff\ue000\ufffd\U0001F600\U0010FFFF ";
  EXPECT_EQ(test.value(planes), (Written{0, planes}));
  EXPECT_EQ(test.value(""), (Written{0, ""}));
  for (size_t size = 1; size <= 35; ++size) {
    for (size_t at = 0; at < size; ++at) {
      const std::string before(at, 'x'), behind(size - at - 1, 'x');
      EXPECT_EQ(test.value(before + '<' + behind), (Written{0, before + "&lt;" + behind}));
    }
  }
  EXPECT_EQ(test.value("a\x01"), refusedCharacter("U+0001"));
  EXPECT_EQ(test.value("\x1f<"), refusedCharacter("U+001F"));
  EXPECT_EQ(test.value("nul\0nul"sv), refusedCharacter("U+0000"));
  EXPECT_EQ(test.value("\uFFFE"), refusedCharacter("U+FFFE"));
  EXPECT_EQ(test.value("ok\uFFFF"), refusedCharacter("U+FFFF"));
  for (const char* malformed : {"\xff", "a\xc3", "\xed\xa0\x80", "\xc0\x80", "\xf4\x90\x80\x80"}) {
    EXPECT_EQ(test.value(malformed),
              refused("no text of the database code page (malformed UTF-8)"));
  }
}

TEST(DocumentTextTest, Version11RestrictsMoreCharacters) {
  CallContext call;
  const std::string header = "<?xml version='1.1'?>";
  TextTest test(call, header);
  EXPECT_EQ(test.value("\u0085 \u00a0"), (Written{0, header + "\u0085 \u00a0"}));
  EXPECT_EQ(test.value("\x7f"), refusedCharacter("U+007F"));
  EXPECT_EQ(test.value("\u0080"), refusedCharacter("U+0080"));
}

TEST(DocumentTextTest, OtherCodePagesKeepTheirCharacters) {
  struct Case {
    const char* encoding;
    int codePage;
    const char16_t* value;
    const char16_t* written;  // null: refused
  };
  const Case cases[] = {
      {"ISO-8859-1", 819, u"a<\u00e9>\u0080", u"a&lt;\u00e9&gt;\u0080"},
      {"Shift_JIS", 943, u"\u8868<\u5341&\uff76", u"\u8868&lt;\u5341&amp;\uff76"},
      {"EUC-JP", 33722, u"\u65e5\"\u672c'", u"\u65e5&quot;\u672c&apos;"},
      {"Big5", 950, u"\u529f<\u8a31&\u84cb", u"\u529f&lt;\u8a31&amp;\u84cb"},
      {"Shift_JIS", 943, u"\u8868\u0001", nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.encoding);
    CallContext call(c.encoding, c.codePage);
    ASSERT_EQ(call.rc, 0);
    std::string value, written;
    ASSERT_TRUE(toDatabase(&call.ctx, c.value, value));
    const Written got = TextTest(call).value(value);
    if (!c.written) {
      EXPECT_EQ(got, refusedCharacter("U+0001"));
      continue;
    }
    ASSERT_TRUE(toDatabase(&call.ctx, c.written, written));
    EXPECT_EQ(got, (Written{0, written}));
    const Written half = TextTest(call).value("\xF0");
    if (c.codePage != 819) {
      EXPECT_EQ(half, refused("no text of the database code page (it does not convert)"));
    }
  }
}

TEST(DocumentTextTest, LongDocumentsGoOnInAFile) {
  CallContext call;
  const auto content = [](size_t size) {
    std::string text;
    while (text.size() < size) text += "0123456789abcde\n";
    return text.substr(0, size);
  };
  for (const size_t size : {size_t{8192}, size_t{8193}, size_t{16384}, size_t{40000}}) {
    SCOPED_TRACE(size);
    const std::string text = content(size);
    // In one long piece, and in many short ones.
    EXPECT_EQ(TextTest(call).write([&](DocumentText& out) { out.append(text); }),
              (Written{0, text}));
    EXPECT_EQ(TextTest(call).write([&](DocumentText& out) {
      for (size_t at = 0; at < text.size(); at += 7) {
        out.append(std::string_view(text).substr(at, 7));
      }
    }),
              (Written{0, text}));
  }
}

// The temporary file of a document that nobody takes must not grow with it.
TEST(DocumentTextTest, DocumentsBeyondTheirLimitEndEarly) {
  CallContext call;
  for (const uint32_t limit : {0U, 100U, 20000U, 1000000U}) {
    SCOPED_TRACE(limit);
    OutBuffer buffer(&call.ctx);
    EXPECT_EQ(call.report([&] {
      acquireDocument(&call.ctx, buffer);
      DocumentText text(&call.ctx);
      text.begin(buffer.get(), "<a>", limit);
      for (int i = 0; i < 100000; ++i) text.append("<b>0123456789</b>");
      text.flush();
    }),
              -124);
    EXPECT_TRUE(std::string(call.msg).starts_with("QRKG017E  The limit for resultDoc "));
    EXPECT_LE(buffer->size, limit + DocumentText::kFilePiece);
  }
}

TEST(DocumentTextTest, HeadersAreWhatTheMappingSaysAndParse) {
  const std::string prolog = "<prolog>?xml version=\"1.0\"?</prolog>";
  const std::string comment(1023 - 21 - 9, 'd');
  struct Case {
    const char* label;
    std::string mapping;
    int code;
    std::string header;  // or the start of the message
    const char* root = "a";
    int codePage = 1208;
  };
  const Case cases[] = {
      {"all parts",
       "<stylesheet>?s?</stylesheet><doctype>!DOCTYPE a SYSTEM \"a.dtd\"</doctype>" + prolog, 0,
       "<?xml version=\"1.0\"?>\n<!DOCTYPE a SYSTEM \"a.dtd\">\n<?s?>"},
      {"parts on lines of their own",
       "<prolog>\n  ?xml version='1.0'?\n</prolog><doctype>\n!DOCTYPE a\n</doctype><stylesheet>\n"
       "?s?\n</stylesheet>",
       0, "<?xml version='1.0'?>\n<!DOCTYPE a\n>\n<?s?>"},
      {"comments and CDATA", "<prolog><!-- c --><![CDATA[?xml version='1.0'?]]></prolog>", 0,
       "<?xml version='1.0'?>"},
      {"no prolog", "<doctype>!DOCTYPE a</doctype>", -61, "QRKQ000E  prolog is missing"},
      {"an empty prolog", "<prolog/>", -61, "QRKQ000E  prolog is missing"},
      {"an empty doctype", prolog + "<doctype/>", -61, "QRKQ000E  doctype is missing"},
      {"an empty stylesheet", prolog + "<stylesheet/>", -61, "QRKQ000E  stylesheet is missing"},
      {"just fits", prolog + "<stylesheet>!-- " + comment + "--</stylesheet>", 0,
       "<?xml version=\"1.0\"?>\n<!-- " + comment + "-->"},
      {"one too long", prolog + "<stylesheet>!-- d" + comment + "--</stylesheet>", -124,
       "QRKG017E  The limit for QRK_HEADER_SIZE has been exceeded in build "},
      {"an element", "<prolog>a</prolog>", -112, "QRKQ047E  Parser error on line "},
      {"the question mark is missing", "<prolog>?xml version=\"1.0\"</prolog>", -112,
       "QRKQ047E  Parser error on line 1 "},
      {"the prolog comes late", "<prolog>!-- a --</prolog><doctype>?xml version=\"1.0\"?</doctype>",
       -112, "QRKQ047E  Parser error on line 2 "},
      {"the root's name is reported elsewhere", prolog, 0, "<?xml version=\"1.0\"?>", "1a"},
      {"and so is one beyond the code page", prolog, 0, "<?xml version=\"1.0\"?>", "a&#x3042;",
       819},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    CallContext call("UTF-8", c.codePage);
    const std::string dad = "<DAD><prolog>outside</prolog><Xcollection>" + c.mapping +
                            "<root_node><element_node name=\"" + c.root +
                            "\"/></root_node></Xcollection></DAD>";
    const DOM_Document document = qrkDOM(&call.ctx, dad.c_str(), 0, 1);
    const DOM_Element root = document.getDocumentElement();
    std::string header;
    EXPECT_EQ(call.report([&] {
      header = checkedDocHeader(&call.ctx, root, root.firstDescendant(u"element_node"));
    }),
              c.code);
    if (c.code == 0) {
      EXPECT_EQ(header, c.header);
    } else {
      EXPECT_TRUE(std::string_view(call.msg).starts_with(c.header)) << call.msg;
    }
  }
}

}  // namespace
}  // namespace orvxml
