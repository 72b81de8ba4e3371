// Rewrites the XML declaration of a document on its way to the application. The first two
// characters choose the encodings of the application and of the database, the rest is the document.
#include <algorithm>
#include <memory>

#include "fuzz/fuzz_call.h"
#include "orvxml/code_pages.h"
#include "src/text/converters.h"

namespace orvxml::fuzz {
namespace {

constexpr size_t kGrowth = 100;  // units, for the encoding

std::u16string decoded(UConverter* converter, std::string_view text) {
  std::u16string wide;
  require(U_SUCCESS(toUnicode(converter, text, wide)), "the result is text");
  return std::u16string(withoutMark(wide));
}

bool isEven(std::u16string_view text, char16_t mark) {
  return std::count(text.begin(), text.end(), mark) % 2 == 0;
}

void checkResult(const QrkCodePages& pages, std::string_view in, std::string_view out) {
  const std::u16string before = decoded(pages.dbConverter, in);
  const std::u16string after = decoded(pages.appConverter, out);
  require(after.starts_with(u"<?xml"), "a declaration stays at the start");
  require(after.find(u" encoding=\"") != after.npos, "the declaration names an encoding");
  const size_t end = before.find(u'>');
  if (end == before.npos) return;
  const std::u16string_view declaration = std::u16string_view(before).substr(0, end);
  if (!isEven(declaration, u'"') || !isEven(declaration, u'\'')) return;
  require(after.ends_with(std::u16string_view(before).substr(end)), "the document stays");
}

}  // namespace
}  // namespace orvxml::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace orvxml;
  using namespace orvxml::fuzz;
  if (size < 2) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  FunctionCall call(chosen(input[0]).encoding, chosen(input[1]).codePage);
  const std::string_view document = input.substr(2);
  const auto convert = [&](char* out, size_t room) {
    call.clear();
    const int length =
        qrkConvBufferORVToAppEncoding(&call.ctx, document.data(), static_cast<int>(document.size()),
                                      out, static_cast<int>(room), call.msg, call.state);
    call.judge(length < 0 ? -1 : 0);
    return length;
  };
  const size_t room = 8 * (document.size() + kGrowth);
  const auto out = std::make_unique<char[]>(room);
  const int length = convert(out.get(), room);
  if (length < 0) return 0;
  const auto written = static_cast<size_t>(length);
  require(written <= room, "the result fits its room");
  checkResult(*call.ctx.codePages, document, {out.get(), written});
  const auto exact = std::make_unique<char[]>(written);
  require(convert(exact.get(), written) == length, "its very length is room enough");
  require(convert(exact.get(), written - 1) == -1, "one byte less is not");
  return 0;
}
