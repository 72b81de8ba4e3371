// One document in every encoding that declarations name, with its own declaration and with those
// of all the others.
#include <unicode/ucnv.h>
#include <unicode/utf16.h>

#include <optional>

#include "orvxml/code_pages.h"
#include "src/text/converters.h"
#include "tests/documents/document_calls.h"

namespace orvxml::test {
namespace {

constexpr int32_t kCodePages[] = {1208,  367,  819, 850,  1252, 1250, 1251, 1254, 1255,
                                  1256,  1257, 37,  1383, 943,  932,  950,  970,  954,
                                  33722, 964,  912, 915,  1089, 813,  916,  920};
constexpr int32_t kEbcdic = 37;
// Of every script that one of the encodings is for.
constexpr std::u16string_view kCharacters =
    u"aZ09 "
    u"\u00E9\u00DF\u00F1\u0142\u017E\u0105\u0117\u0131\u011F\u03B1\u03A9\u0416\u044F\u05D0\u05EA"
    u"\u0627\u064A\u65E5\u672C\u8A9E\u304B\u30AB\u6F22\u5B57\u4E2D\u56FD\u570B\uD55C\uAD6D"
    u"\U0001F600";

class Codec {
 public:
  explicit Codec(int32_t codePage) : Codec(open(codePage)) {}
  explicit Codec(const std::u16string& name) : Codec(open(name)) {}

  // Characters that the encoding lacks come out as substitutes.
  std::string encode(std::u16string_view text) const {
    std::string bytes(text.size() * 8 + 8, '\0');
    UErrorCode status = U_ZERO_ERROR;
    const int32_t size =
        ucnv_fromUChars(converter_.get(), bytes.data(), static_cast<int32_t>(bytes.size()),
                        text.data(), static_cast<int32_t>(text.size()), &status);
    EXPECT_TRUE(U_SUCCESS(status));
    bytes.resize(static_cast<size_t>(size));
    return bytes;
  }
  // Nothing for bytes that mean nothing.
  std::optional<std::u16string> decode(std::string_view bytes) const {
    std::u16string text;
    if (U_FAILURE(toUnicode(converter_.get(), bytes, text))) return std::nullopt;
    return text;
  }
  // What of the characters the encoding has.
  std::u16string repertoire() const {
    std::u16string text;
    for (size_t at = 0; at < kCharacters.size();) {
      const size_t units = U16_IS_LEAD(kCharacters[at]) ? 2 : 1;
      const std::u16string_view character = kCharacters.substr(at, units);
      if (decode(encode(character)) == character) text += character;
      at += units;
    }
    return text;
  }

 private:
  explicit Codec(UConverter* converter) : converter_(converter) {
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr, nullptr, nullptr,
                          &status);
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    EXPECT_TRUE(converter && U_SUCCESS(status));
  }
  static UConverter* open(int32_t codePage) {
    UErrorCode status = U_ZERO_ERROR;
    return getConverter(codePage, &status);
  }
  static UConverter* open(const std::u16string& name) {
    UErrorCode status = U_ZERO_ERROR;
    return ucnv_openU(name.c_str(), &status);
  }

  Converter converter_;
};

class EncodedDocument : public testing::Test {
 protected:
  std::u16string nameOf(int32_t codePage) {
    char16_t name[100] = u"";
    EXPECT_EQ(QRK_getEncoding(&call_.ctx, codePage, name, 100, call_.state, call_.msg), 0);
    return name;
  }
  static std::u16string document(const std::u16string& encoding, const std::u16string& text) {
    return u"<?xml version=\"1.0\" encoding=\"" + encoding + u"\"?>\n<r a=\"" + text + u"\"><v>" +
           text + u"</v></r>";
  }
  static std::string utf8(const std::u16string& text) { return Codec(1208).encode(text); }

  unittest::CallContext call_;
};

TEST_F(EncodedDocument, GivesItsTextByItsDeclaration) {
  for (const int32_t codePage : kCodePages) {
    SCOPED_TRACE(codePage);
    const Codec codec(nameOf(codePage));
    const std::u16string text = codec.repertoire();
    const std::string bytes = codec.encode(document(nameOf(codePage), text));
    const Extracted element = extract(call_, bytes, "//v");
    EXPECT_EQ(element.values, std::vector{utf8(text)}) << element.message;
    EXPECT_EQ(extract(call_, bytes, "/r/@a").values, std::vector{utf8(text)});
  }
}

TEST_F(EncodedDocument, OfUtf16IsAFileWithAMark) {
  const TemporaryFolder folder;
  UErrorCode status = U_ZERO_ERROR;
  const std::u16string text(kCharacters);
  for (const char* order : {"UTF-16BE", "UTF-16LE"}) {
    const Converter converter(ucnv_open(order, &status));
    std::string bytes(4096, '\0');
    bytes.resize(static_cast<size_t>(fromUnicode(
        converter.get(), u'\uFEFF' + document(u"UTF-16", text), bytes.data(), 4096, status)));
    const std::string file = folder.write("document.xml", bytes);
    const Extracted got = extract(call_, file, "//v", Form::Text, Source::File);
    EXPECT_EQ(got.values, std::vector{utf8(text)}) << order << ' ' << got.message;
  }
}

TEST_F(EncodedDocument, OfTheDatabaseIsReadWhateverItDeclares) {
  for (const int32_t codePage : kCodePages) {
    SCOPED_TRACE(codePage);
    unittest::CallContext database("UTF-8", codePage);
    ASSERT_EQ(database.rc, 0);
    const Codec codec(database.ctx.codePages->dbCodePage);
    const std::u16string text = codec.repertoire();
    for (const char16_t* declared : {u"UTF-8", u"iso-8859-1", u"EUC-KR"}) {
      const Extracted got =
          extract(database, codec.encode(document(declared, text)), codec.encode(u"//v"),
                  Form::Text, Source::Memory, Encoding::OfDatabase);
      ASSERT_EQ(got.values.size(), 1U) << got.message;
      EXPECT_EQ(codec.decode(got.values[0]), text);
    }
  }
}

// A wrong declaration is refused, or the bytes give the text that they mean by it.
TEST_F(EncodedDocument, WithAWrongDeclarationGivesWhatItDeclaresOrNothing) {
  size_t refused = 0;
  for (const int32_t written : kCodePages) {
    const Codec writer(nameOf(written));
    const std::u16string text = writer.repertoire();
    for (const int32_t declared : kCodePages) {
      SCOPED_TRACE(std::to_string(written) + " declared as " + std::to_string(declared));
      const Extracted got = extract(call_, writer.encode(document(nameOf(declared), text)), "//v");
      if (got.rc == 0) {
        EXPECT_EQ(written == kEbcdic, declared == kEbcdic);
        const auto meant = Codec(nameOf(declared)).decode(writer.encode(text));
        ASSERT_TRUE(meant);
        EXPECT_EQ(got.values, std::vector{utf8(*meant)});
      } else {
        EXPECT_EQ(got.message.substr(0, 8), "QRKQ047E");
        EXPECT_NE(written, declared) << got.message;
        ++refused;
      }
    }
  }
  EXPECT_GT(refused, std::size(kCodePages) * 4);
  // Nobody here reads 1046.
  const Extracted unknown = extract(call_, utf8(document(nameOf(1046), u"text")), "//v");
  EXPECT_EQ(unknown.message.substr(0, 8), "QRKQ047E");
}

}  // namespace
}  // namespace orvxml::test
