// Upper-casing as the server folds its names: one character for one, full-width letters stay.
#include <unicode/uchar.h>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"

namespace orvxml {
namespace {

constexpr size_t kMaxUnits = 4096;
constexpr char16_t kFirstFullWidth = 0xFF01;
constexpr char16_t kLastFullWidth = 0xFF5E;

// `text` is terminated and changed in place.
int writeUpper(QrkStruct* ctx, std::u16string& text, char* out, int outSize) {
  for (char16_t& ch : text) {
    ch = QRK_towupper(ch);
    QRK_TRACE(ctx, "%x ", static_cast<unsigned>(ch));
  }
  return QRK_wcstombsFunction(ctx, out, text.c_str(), outSize) < 0 ? -1 : 0;
}

}  // namespace

char16_t QRK_towupper(char16_t ch) {
  if (ch < 0x80) return ch >= u'a' && ch <= u'z' ? static_cast<char16_t>(ch - u'a' + u'A') : ch;
  if (ch >= kFirstFullWidth && ch <= kLastFullWidth) return ch;
  const UChar32 upper = u_toupper(ch);
  return upper <= 0xFFFF ? static_cast<char16_t>(upper) : ch;
}

int qrk_toupper(QrkStruct* ctx, const char* in, char* out, int outSize) {
  std::u16string text;
  if (!toUtf16(ctx, in, text) || text.size() > kMaxUnits) return -1;
  return writeUpper(ctx, text, out, outSize);
}

int qrk_utoupper(QrkStruct* ctx, std::u16string_view in, char* out, int outSize) {
  if (in.size() > kMaxUnits) return -1;
  std::u16string text(in);
  return writeUpper(ctx, text, out, outSize);
}

}  // namespace orvxml
