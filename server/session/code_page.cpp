#include "server/session/code_page.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "server/values/sql_error.h"

namespace orv {
namespace {

constexpr int kUtf8 = 1208;
constexpr char kShiftOut = 0x0E;
constexpr char kShiftIn = 0x0F;

// Code pages of which ICU has several variants: the ones that agree with what documents hold.
constexpr std::array<std::pair<int, const char*>, 4> kVariants{{
    {942, "shift_jis78"},
    {943, "cp943c"},
    {949, "cp949c"},
    {1363, "cp1363"},
}};

UConverter* openConverter(int number) {
  UErrorCode status = U_ZERO_ERROR;
  for (const auto& [variant, name] : kVariants) {
    if (variant == number) return ucnv_open(name, &status);
  }
  return ucnv_openCCSID(number, static_cast<UConverterPlatform>(0), &status);
}

[[noreturn]] void refuseText() {
  throw SqlError(-191);
}

bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// Length of the well-formed UTF-8 sequence at `p`, of which `left` bytes are there; 0 for none.
size_t sequenceLength(const unsigned char* p, size_t left) {
  const unsigned char lead = p[0];
  if (lead < 0x80) return 1;
  size_t length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  }
  if (length == 0 || length > left || p[1] < low || p[1] > high) return 0;
  for (size_t i = 2; i < length; ++i) {
    if (p[i] < 0x80 || p[i] > 0xBF) return 0;
  }
  return length;
}

int32_t textLength(std::string_view text) {
  if (text.size() > 0x3FFFFFFF) throw SqlError(-954);
  return static_cast<int32_t>(text.size());
}

// Runs an ICU conversion that preflights, growing `storage` until the result fits.
template <class Convert>
std::string_view convertInto(std::string& storage, size_t guess, Convert convert) {
  storage.resize(guess);
  for (;;) {
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = convert(storage.data(), textLength(storage), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
      storage.resize(static_cast<size_t>(length) + 1);
      continue;
    }
    if (U_FAILURE(status)) refuseText();
    storage.resize(static_cast<size_t>(length));
    return storage;
  }
}

void appendUtf16(std::string& out, uint32_t unit) {
  out += static_cast<char>(unit >> 8U);
  out += static_cast<char>(unit & 0xFFU);
}

// Well-formed UTF-8 to big-endian UTF-16.
void utf8ToUtf16(std::string_view utf8, std::string& out) {
  for (size_t i = 0; i < utf8.size();) {
    const auto* p = reinterpret_cast<const unsigned char*>(utf8.data()) + i;
    const size_t length = sequenceLength(p, utf8.size() - i);
    if (length == 0) refuseText();
    uint32_t c = length == 1 ? p[0] : p[0] & (0xFFU >> (length + 1));
    for (size_t k = 1; k < length; ++k) c = (c << 6U) | (p[k] & 0x3FU);
    if (c < 0x10000) {
      appendUtf16(out, c);
    } else {
      appendUtf16(out, 0xD800 + ((c - 0x10000) >> 10U));
      appendUtf16(out, 0xDC00 + ((c - 0x10000) & 0x3FFU));
    }
    i += length;
  }
}

uint64_t eightBytes(const unsigned char* p) {
  uint64_t bytes;
  std::memcpy(&bytes, p, sizeof bytes);
  return bytes;
}

// The first byte that is no ASCII character.
const unsigned char* skipAscii(const unsigned char* p, const unsigned char* end) {
  constexpr uint64_t kHighBits = 0x8080808080808080U;
  while (end - p >= 32) {
    const uint64_t all =
        eightBytes(p) | eightBytes(p + 8) | eightBytes(p + 16) | eightBytes(p + 24);
    if (all & kHighBits) break;
    p += 32;
  }
  while (end - p >= 8 && !(eightBytes(p) & kHighBits)) p += 8;
  while (p < end && *p < 0x80) ++p;
  return p;
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  const auto* p = reinterpret_cast<const unsigned char*>(text.data());
  const auto* end = p + text.size();
  while (p < end) {
    if (*p < 0x80) {
      p = skipAscii(p, end);
      continue;
    }
    const size_t length = sequenceLength(p, static_cast<size_t>(end - p));
    if (length == 0) return false;
    p += length;
  }
  return true;
}

struct CodePage::Converter {
  explicit Converter(int number) : icu(openConverter(number)) {}
  ~Converter() {
    if (icu) ucnv_close(icu);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool stateful() const { return ucnv_getType(icu) == UCNV_EBCDIC_STATEFUL; }

  // Whether the text has the same bytes in UTF-8 and in the code page.
  bool isSame(std::string_view text) const {
    return std::all_of(text.begin(), text.end(),
                       [this](char c) { return same[static_cast<unsigned char>(c)]; });
  }
  void findSameBytes();

  UConverter* icu;
  std::array<bool, 256> same{};  // bytes that stand for the same character as in UTF-8
};

// In a code page whose bytes mean something else after a shift or an escape no byte is the same.
void CodePage::Converter::findSameBytes() {
  const UConverterType type = ucnv_getType(icu);
  const bool plain = type == UCNV_SBCS || type == UCNV_DBCS || type == UCNV_MBCS ||
                     type == UCNV_LATIN_1 || type == UCNV_US_ASCII;
  if (!plain) return;
  for (unsigned char byte = 0; byte < 0x80; ++byte) {
    const char native = static_cast<char>(byte);
    const auto character = static_cast<UChar>(byte);
    UChar decoded = 0xFFFF;
    char encoded = static_cast<char>(0xFF);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t units = ucnv_toUChars(icu, &decoded, 1, &native, 1, &status);
    const int32_t bytes = ucnv_fromUChars(icu, &encoded, 1, &character, 1, &status);
    same[byte] =
        U_SUCCESS(status) && units == 1 && bytes == 1 && decoded == character && encoded == native;
  }
}

CodePage::CodePage(int number) : number_(number) {
  if (number == kUtf8) return;
  converter_ = std::make_unique<Converter>(number);
  const auto unsupported = [&] { throw SqlError(-332, {std::to_string(number), "1208"}); };
  if (!converter_->icu || ucnv_getMinCharSize(converter_->icu) != 1) unsupported();
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setToUCallBack(converter_->icu, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  // UCNV_FROM_U_CALLBACK_STOP would leave out, without a word, what is not shown: soft hyphens.
  const UConverterFromUCallback stop = [](const void*, UConverterFromUnicodeArgs*, const UChar*,
                                          int32_t, UChar32, UConverterCallbackReason,
                                          UErrorCode*) {};
  ucnv_setFromUCallBack(converter_->icu, stop, nullptr, nullptr, nullptr, &status);
  if (U_FAILURE(status)) unsupported();
  converter_->findSameBytes();
}

CodePage::~CodePage() = default;

std::string_view CodePage::toUtf8(std::string_view native, std::string& storage) const {
  if (isUtf8()) {
    if (!isValidUtf8(native)) refuseText();
    return native;
  }
  if (converter_->isSame(native)) return native;
  return convertInto(storage, native.size() * 2, [&](char* out, int32_t room, UErrorCode* status) {
    return ucnv_toAlgorithmic(UCNV_UTF8, converter_->icu, out, room, native.data(),
                              textLength(native), status);
  });
}

std::string_view CodePage::fromUtf8(std::string_view utf8, std::string& storage) const {
  if (isUtf8() || converter_->isSame(utf8)) return utf8;
  if (!isValidUtf8(utf8)) refuseText();
  return convertInto(storage, utf8.size() + 8, [&](char* out, int32_t room, UErrorCode* status) {
    return ucnv_fromAlgorithmic(converter_->icu, UCNV_UTF8, out, room, utf8.data(),
                                textLength(utf8), status);
  });
}

std::string_view CodePage::graphicToUtf8(std::string_view doubleBytes, std::string& storage) const {
  if (doubleBytes.size() % 2 != 0) refuseText();
  if (doubleBytes.empty()) return doubleBytes;
  if (!isUtf8()) return doubleByteTextToUtf8(doubleBytes, storage);
  UErrorCode open = U_ZERO_ERROR;
  UConverter* utf16 = ucnv_open("UTF-16BE", &open);
  if (!utf16) refuseText();
  const std::unique_ptr<UConverter, decltype(&ucnv_close)> owner(utf16, &ucnv_close);
  ucnv_setToUCallBack(utf16, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &open);
  const auto convert = [&](char* out, int32_t room, UErrorCode* status) {
    return ucnv_toAlgorithmic(UCNV_UTF8, utf16, out, room, doubleBytes.data(),
                              textLength(doubleBytes), status);
  };
  return convertInto(storage, doubleBytes.size() * 2, convert);
}

std::string_view CodePage::graphicFromUtf8(std::string_view utf8, std::string& storage) const {
  if (utf8.empty()) return utf8;
  if (isUtf8()) {
    storage.clear();
    utf8ToUtf16(utf8, storage);
    return storage;
  }
  std::string_view native = fromUtf8(utf8, storage);
  if (converter_->stateful()) {
    const bool shifted =
        native.size() >= 2 && native.front() == kShiftOut && native.back() == kShiftIn;
    if (!shifted) refuseText();
    native = native.substr(1, native.size() - 2);
    if (native.find(kShiftIn) != std::string_view::npos) refuseText();
    return native;
  }
  for (size_t at = 0; at < native.size(); at += 2) {
    if (cut(native.substr(at), 2) != 2 || cut(native.substr(at), 1) != 0) refuseText();
  }
  return native;
}

std::string_view CodePage::doubleByteTextToUtf8(std::string_view native,
                                                std::string& storage) const {
  const bool wrap =
      !isUtf8() && converter_->stateful() && !native.empty() && native.front() != kShiftOut;
  if (!wrap) return toUtf8(native, storage);
  std::string shifted;
  shifted.reserve(native.size() + 2);
  shifted += kShiftOut;
  shifted += native;
  shifted += kShiftIn;
  return toUtf8(shifted, storage);
}

size_t CodePage::cut(std::string_view native, size_t limit) const {
  if (limit >= native.size()) return native.size();
  if (isUtf8()) {
    while (limit > 0 && isContinuation(native[limit])) --limit;
    return limit;
  }
  if (ucnv_getMaxCharSize(converter_->icu) == 1) return limit;
  const char* at = native.data();
  const char* const end = at + native.size();
  ucnv_resetToUnicode(converter_->icu);
  for (;;) {
    const char* const before = at;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_getNextUChar(converter_->icu, &at, end, &status);
    if (U_FAILURE(status) || static_cast<size_t>(at - native.data()) > limit) {
      return static_cast<size_t>(before - native.data());
    }
  }
}

}  // namespace orv
