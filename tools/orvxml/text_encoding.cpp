#include "text_encoding.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <memory>

#include "orvxml/unmapped_characters.h"
#include "settings.h"

namespace orvxml::command {

namespace {

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

std::string atLine(const std::string& name, std::string_view textBefore) {
  return name + ':' + std::to_string(1 + std::count(textBefore.begin(), textBefore.end(), '\n'));
}

// The offset of the first byte that is not UTF-8, or npos.
size_t firstNonUtf8(std::string_view text) {
  size_t at = 0;
  while (at < text.size()) {
    const size_t start = at;
    if (nextCharacter(text, at) < 0) return start;
  }
  return std::string_view::npos;
}

void checkUtf8(const std::string& name, std::string_view text) {
  if (const size_t bad = firstNonUtf8(text); bad != std::string_view::npos) {
    throw Failure(atLine(name, text.substr(0, bad)),
                  "byte " + std::to_string(bad + 1) + " is not UTF-8");
  }
  if (const size_t zero = text.find('\0'); zero != std::string_view::npos) {
    throw Failure(atLine(name, text.substr(0, zero)),
                  "byte " + std::to_string(zero + 1) + " is the character U+0000");
  }
}

bool isEncodingName(std::string_view name) {
  return std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
  });
}

struct DetectedEncoding {
  std::string name;       // empty: UTF-8
  size_t markLength = 0;  // bytes of the byte order mark
};

DetectedEncoding byteOrderMark(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = 0;
  const auto size = static_cast<int32_t>(std::min<size_t>(text.size(), 16));
  const char* name = ucnv_detectUnicodeSignature(text.data(), size, &length, &status);
  if (U_FAILURE(status) || name == nullptr) return {};
  return {std::string_view(name) == "UTF-8" ? "" : name, static_cast<size_t>(length)};
}

DetectedEncoding detectEncoding(std::string_view text) {
  if (DetectedEncoding mark = byteOrderMark(text); mark.markLength > 0) return mark;
  using namespace std::string_view_literals;
  if (text.starts_with("\0<\0?"sv)) return {"UTF-16BE"};
  if (text.starts_with("<\0?\0"sv)) return {"UTF-16LE"};
  std::string declared(declaredEncoding(text));
  // A declaration that reads as bytes is no UTF-16, whatever it says.
  if (declared.starts_with("UTF-16") || declared.starts_with("utf-16")) declared.clear();
  if (ucnv_compareNames(declared.c_str(), "UTF-8") == 0) declared.clear();
  return {declared};
}

std::string decode(const std::string& name, const std::string& encoding, std::string_view bytes) {
  UErrorCode status = U_ZERO_ERROR;
  const Converter converter(ucnv_open(encoding.c_str(), &status));
  if (U_FAILURE(status)) throw Failure(name, "unknown encoding \"" + encoding + '"');
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  std::u16string text(bytes.size() * 2 + 8, u'\0');
  char16_t* target = text.data();
  const char* source = bytes.data();
  ucnv_toUnicode(converter.get(), &target, text.data() + text.size(), &source,
                 bytes.data() + bytes.size(), nullptr, true, &status);
  text.resize(static_cast<size_t>(target - text.data()));
  std::string utf8 = utf8Of(text);
  if (U_FAILURE(status)) {
    throw Failure(atLine(name, utf8), "byte " + std::to_string(source - bytes.data()) +
                                          " does not belong to the encoding \"" + encoding + '"');
  }
  return utf8;
}

Converter openCodePage(int codePage) {
  UErrorCode status = U_ZERO_ERROR;
  Converter converter(ucnv_openCCSID(codePage, UConverterPlatform{}, &status));
  if (U_FAILURE(status)) throw Failure("", "unknown code page " + std::to_string(codePage));
  return converter;
}

std::string characterName(char32_t character) {
  char text[16];
  std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(character));
  return text;
}

constexpr size_t kPivotUnits = 4096;
// An int32_t counts up to six bytes for each of a conversion.
constexpr size_t kMostConvertedBytes = 0x7FFFFFF0 / 6;

void checkConvertible(const std::string& name, std::string_view text) {
  if (text.size() > kMostConvertedBytes) {
    throw Failure(name, "is larger than " + std::to_string(kMostConvertedBytes >> 20) +
                            " MB and has to be converted into another encoding");
  }
}

}  // namespace

std::string_view declaredEncoding(std::string_view text) {
  if (!text.starts_with("<?xml")) return {};
  const std::string_view declaration = text.substr(0, text.find("?>"));
  size_t at = declaration.find("encoding");
  if (at == std::string_view::npos) return {};
  at = declaration.find_first_of("\"'", at);
  if (at == std::string_view::npos) return {};
  const size_t end = declaration.find(declaration[at], at + 1);
  if (end == std::string_view::npos) return {};
  const std::string_view value = declaration.substr(at + 1, end - at - 1);
  return isEncodingName(value) ? value : std::string_view();
}

int32_t nextCharacter(std::string_view utf8, size_t& at) {
  UChar32 character;
// The macro narrows an int of its own.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
  U8_NEXT(utf8.data(), at, utf8.size(), character);
#pragma GCC diagnostic pop
  return character;
}

bool isUtf8(std::string_view text) {
  return firstNonUtf8(text) == std::string_view::npos;
}

std::string documentAsUtf8(const std::string& name, std::string content) {
  const DetectedEncoding encoding = detectEncoding(content);
  if (encoding.name.empty()) {
    content.erase(0, encoding.markLength);
  } else {
    checkConvertible(name, content);
    content = decode(name, encoding.name, std::string_view(content).substr(encoding.markLength));
  }
  checkUtf8(name, content);
  return content;
}

std::string withoutDeclaration(std::string_view text) {
  std::string plain(text);
  const size_t end = plain.starts_with("<?xml") ? plain.find("?>") : std::string::npos;
  if (end != std::string::npos) {
    std::replace_if(
        plain.begin(), plain.begin() + static_cast<ptrdiff_t>(end) + 2,
        [](char c) { return c != '\n' && c != '\r'; }, ' ');
  }
  return plain;
}

std::string plainTextAsUtf8(const std::string& name, std::string content) {
  if (content.starts_with("\xEF\xBB\xBF")) content.erase(0, 3);
  checkUtf8(name, content);
  return content;
}

std::string toCodePage(const std::string& name, const std::string& utf8, int codePage) {
  if (codePage == kUtf8CodePage) return utf8;
  checkConvertible(name, utf8);
  const Converter converter = openCodePage(codePage);
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter.get(), stopAtUnmapped, nullptr, nullptr, nullptr, &status);
  const std::u16string text = utf16Of(utf8);
  const size_t room = static_cast<size_t>(UCNV_GET_MAX_BYTES_FOR_STRING(
      text.size(), static_cast<size_t>(ucnv_getMaxCharSize(converter.get()))));
  std::string result(room, '\0');
  char* target = result.data();
  const char16_t* source = text.data();
  ucnv_fromUnicode(converter.get(), &target, result.data() + result.size(), &source,
                   text.data() + text.size(), nullptr, true, &status);
  if (U_FAILURE(status)) {
    size_t at = static_cast<size_t>(source - text.data());
    U16_BACK_1(text.data(), 0, at);
    const std::string before = utf8Of(std::u16string_view(text).substr(0, at));
    UChar32 character;
    U16_NEXT(text.data(), at, text.size(), character);
    throw Failure(atLine(name, before),
                  "the character " + characterName(static_cast<char32_t>(character)) +
                      " is not in the database's code page " + std::to_string(codePage));
  }
  result.resize(static_cast<size_t>(target - result.data()));
  return result;
}

std::string utf8Of(std::u16string_view text) {
  std::string result(text.size() * 3, '\0');
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(result.data(), static_cast<int32_t>(result.size()), &length, text.data(),
              static_cast<int32_t>(text.size()), &status);
  result.resize(U_FAILURE(status) ? 0 : static_cast<size_t>(length));
  return result;
}

std::u16string utf16Of(std::string_view text) {
  std::u16string result(text.size(), u'\0');
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(result.data(), static_cast<int32_t>(result.size()), &length, text.data(),
                static_cast<int32_t>(text.size()), &status);
  result.resize(U_FAILURE(status) ? 0 : static_cast<size_t>(length));
  return result;
}

std::string inDeclaredEncoding(const std::string& name, const std::string& utf8) {
  const std::string encoding(declaredEncoding(utf8));
  if (encoding.empty() || ucnv_compareNames(encoding.c_str(), "UTF-8") == 0) return utf8;
  UErrorCode status = U_ZERO_ERROR;
  const Converter from(ucnv_open("UTF-8", &status));
  const Converter to(ucnv_open(encoding.c_str(), &status));
  if (U_FAILURE(status)) throw Failure(name, "unknown encoding \"" + encoding + '"');
  ucnv_setFromUCallBack(to.get(), referToUnmapped, "&#%u;", nullptr, nullptr, &status);
  std::string result;
  char16_t pivot[kPivotUnits];
  char16_t *pivotSource = pivot, *pivotTarget = pivot;
  const char* source = utf8.data();
  do {
    const size_t used = result.size();
    result.resize(used + utf8.size() + kPivotUnits);
    char* target = result.data() + used;
    status = U_ZERO_ERROR;
    ucnv_convertEx(to.get(), from.get(), &target, result.data() + result.size(), &source,
                   utf8.data() + utf8.size(), pivot, &pivotSource, &pivotTarget,
                   pivot + kPivotUnits, used == 0 ? 1 : 0, 1, &status);
    result.resize(static_cast<size_t>(target - result.data()));
  } while (status == U_BUFFER_OVERFLOW_ERROR);
  return result;
}

std::string fromCodePage(std::string text, int codePage) {
  if (codePage == kUtf8CodePage) return text;
  const Converter converter = openCodePage(codePage);
  UErrorCode status = U_ZERO_ERROR;
  std::u16string wide(text.size() * 2 + 8, u'\0');
  const int32_t length =
      ucnv_toUChars(converter.get(), wide.data(), static_cast<int32_t>(wide.size()), text.data(),
                    static_cast<int32_t>(text.size()), &status);
  wide.resize(U_FAILURE(status) ? 0 : static_cast<size_t>(length));
  return utf8Of(wide);
}

}  // namespace orvxml::command
