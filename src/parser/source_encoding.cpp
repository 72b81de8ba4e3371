#include "src/parser/source_encoding.h"

#include <algorithm>
#include <array>
#include <new>
#include <string_view>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/Transcoders/ICU/ICUTransService.hpp>
#include <xercesc/util/XMLException.hpp>

#include "orvxml/code_pages.h"
#include "src/parser/converting_source.h"

namespace orvxml {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr size_t kLongestDeclaration = 16384;  // that the parser takes

// The two ways in which bytes can spell an XML declaration that names any other encoding.
struct Spelling {
  std::string_view start;  // "<?xml"
  char end;                // ">"
  const char* converter;   // null for ASCII
};
constexpr Spelling kSpellings[] = {
    {"<?xml", '>', nullptr},
    {"\x4C\x6F\xA7\x94\x93", '\x6E', "cp037"},
};

// A document's first bytes: to the end of its XML declaration, when it has one, or some more.
struct Head {
  std::string text;
  size_t markBytes = 0;
  const Spelling* spelling = nullptr;  // null without a declaration
};

const Spelling* findSpelling(std::string_view text) {
  const auto* found =
      std::find_if(std::begin(kSpellings), std::end(kSpellings),
                   [&](const Spelling& spelling) { return text.starts_with(spelling.start); });
  return found == std::end(kSpellings) ? nullptr : found;
}

Head readHead(const xercesc::InputSource& input) {
  Head head;
  const std::unique_ptr<xercesc::BinInputStream> stream(input.makeStream());
  if (!stream) return head;
  std::array<char, 256> piece;
  while (head.text.size() < kLongestDeclaration) {
    const size_t size = stream->readBytes(reinterpret_cast<XMLByte*>(piece.data()), piece.size());
    const std::string_view read(piece.data(), size);
    if (head.text.empty()) {
      if (read.starts_with(kUtf8Mark)) head.markBytes = kUtf8Mark.size();
      head.spelling = findSpelling(read.substr(head.markBytes));
    }
    head.text += read;
    if (!head.spelling || read.empty() || read.find(head.spelling->end) != read.npos) break;
  }
  head.text.erase(0, head.markBytes);
  return head;
}

// The name in  <?xml S ... encoding S? = S? quote name quote  ; empty where there is none. A
// declaration that goes on in any other way is the parser's to refuse.
std::u16string encodingIn(std::u16string_view declaration) {
  constexpr std::u16string_view kWhiteSpace = u" \t\r\n\u0085", kWord = u"encoding";
  constexpr std::u16string_view kNameCharacters =
      u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
  const auto skipWhiteSpace = [&](size_t at) {
    return std::min(declaration.find_first_not_of(kWhiteSpace, at), declaration.size());
  };
  const size_t start = kSpellings->start.size();
  const size_t word = declaration.find(kWord);
  if (skipWhiteSpace(start) == start || word == declaration.npos) return {};
  const size_t equals = skipWhiteSpace(word + kWord.size());
  if (!declaration.substr(equals).starts_with(u'=')) return {};
  const size_t quote = skipWhiteSpace(equals + 1);
  if (quote == declaration.size()) return {};
  const std::u16string_view name = declaration.substr(quote + 1);
  const size_t end = std::min(name.find_first_not_of(kNameCharacters), name.size());
  const bool isName = end < name.size() && name[end] == declaration[quote];
  return std::u16string(isName ? name.substr(0, end) : u"");
}

std::u16string declaredEncoding(const Head& head) {
  if (!head.spelling) return {};
  const std::string_view text =
      std::string_view(head.text).substr(0, head.text.find(head.spelling->end));
  std::u16string declaration(text.begin(), text.end());
  if (head.spelling->converter) {
    UErrorCode status = U_ZERO_ERROR;
    const Converter converter(ucnv_open(head.spelling->converter, &status));
    if (U_FAILURE(status) || U_FAILURE(toUnicode(converter.get(), text, declaration))) return {};
  }
  return encodingIn(declaration);
}

// Whether the parser knows an encoding, and not by code of its own, which is strict.
bool isConverted(const std::u16string& name) {
  using xercesc::XMLRecognizer;
  std::u16string upper(name);
  xercesc::XMLString::upperCaseASCII(upper.data());
  if (XMLRecognizer::encodingForName(upper.c_str()) != XMLRecognizer::OtherEncoding) return false;
  constexpr XMLSize_t kSmallBlock = 16;
  xercesc::XMLTransService::Codes result{};
  const std::unique_ptr<xercesc::XMLTranscoder> transcoder(
      xercesc::XMLPlatformUtils::fgTransService->makeNewTranscoderFor(name.c_str(), result,
                                                                      kSmallBlock));
  return dynamic_cast<const xercesc::ICUTranscoder*>(transcoder.get()) != nullptr;
}

Converter openConverter(const std::u16string& name) {
  UErrorCode status = U_ZERO_ERROR;
  Converter converter(ucnv_openU(name.c_str(), &status));
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  if (U_FAILURE(status)) throw std::bad_alloc();
  return converter;
}

Converter databaseConverter(const QrkCodePages& pages) {
  UErrorCode status = U_ZERO_ERROR;
  Converter converter(ucnv_clone(pages.dbConverter, &status));
  if (U_FAILURE(status)) throw std::bad_alloc();
  ucnv_reset(converter.get());
  return converter;
}

}  // namespace

InputPtr memorySource(std::string_view bytes, const char16_t* systemId) {
  auto source = std::make_unique<xercesc::MemBufInputSource>(
      reinterpret_cast<const XMLByte*>(bytes.data()), bytes.size(), systemId);
  source->setCopyBufToStream(false);
  return source;
}

std::u16string databaseEncoding(QrkStruct* ctx) {
  if (!ctx || !ctx->codePages) return {};
  return encodingName(ctx, ctx->codePages->dbCodePage);
}

InputPtr inDeclaredEncoding(InputPtr input) {
  Head head;
  try {
    head = readHead(*input);
  } catch (const xercesc::XMLException&) {
    return input;  // the parser meets the failure again, and reports it
  }
  const std::u16string name = declaredEncoding(head);
  if (name.empty() || !isConverted(name)) return input;
  return std::make_unique<ConvertingSource>(std::move(input), openConverter(name), head.markBytes);
}

InputPtr inEncoding(QrkStruct* ctx, InputPtr input, const std::u16string& name) {
  if (!isConverted(name)) {
    input->setEncoding(name.c_str());
    return input;
  }
  Converter converter =
      name == databaseEncoding(ctx) ? databaseConverter(*ctx->codePages) : openConverter(name);
  return std::make_unique<ConvertingSource>(std::move(input), std::move(converter), 0);
}

}  // namespace orvxml
