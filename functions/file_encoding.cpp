#include "functions/file_encoding.h"

#include <fstream>
#include <memory>

#include "functions/text_conversion.h"
#include "orvxml/unmapped_characters.h"

namespace orvxml::functions {
namespace {

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

// How a file starts tells its family of encodings; within the one of ASCII its declaration tells
// the rest.
struct FileStart {
  std::string_view bytes;
  const char* encoding;  // null: the declared one, else UTF-8
  size_t markLength;     // of its byte order mark
};
constexpr FileStart kStarts[] = {
    {"\xEF\xBB\xBF", "UTF-8", 3},
    {std::string_view("\xFF\xFE\0\0", 4), "UTF-32LE", 4},
    {std::string_view("\0\0\xFE\xFF", 4), "UTF-32BE", 4},
    {"\xFE\xFF", "UTF-16BE", 2},
    {"\xFF\xFE", "UTF-16LE", 2},
    {std::string_view("\0<", 2), "UTF-16BE", 0},
    {std::string_view("<\0", 2), "UTF-16LE", 0},
};
constexpr FileStart kDeclared{"", nullptr, 0};

FileStart startOf(const char* name) {
  char bytes[4] = {};
  std::ifstream file(name, std::ios::binary);
  file.read(bytes, sizeof bytes);
  const std::string_view start(bytes, static_cast<size_t>(file.gcount()));
  for (const FileStart& known : kStarts) {
    if (start.starts_with(known.bytes)) return known;
  }
  return kDeclared;
}

// The encoding in the XML declaration, which the parser has read and the update written:
// <?xml version='1.0' encoding='NAME' ...?>
std::string declaredEncoding(std::u16string_view document) {
  constexpr std::u16string_view kBefore = u" encoding='";
  if (!document.starts_with(u"<?xml ")) return "UTF-8";
  const std::u16string_view declaration = document.substr(0, document.find(u"?>"));
  const size_t start = declaration.find(kBefore);
  if (start == declaration.npos) return "UTF-8";
  const std::u16string_view rest = declaration.substr(start + kBefore.size());
  const std::u16string_view value = rest.substr(0, rest.find(u'\''));
  return {value.begin(), value.end()};
}

}  // namespace

std::string inEncodingOf(FunctionCall& call, const char* name, std::u16string_view document) {
  const FileStart start = startOf(name);
  const std::string encoding = start.encoding ? start.encoding : declaredEncoding(document);
  UErrorCode status = U_ZERO_ERROR;
  const Converter converter(ucnv_open(encoding.c_str(), &status));
  if (!converter) call.fail(Msg::QRKG008E, encoding);
  ucnv_setFromUCallBack(converter.get(), referToUnmapped, "&#x%X;", nullptr, nullptr, &status);
  const std::string_view mark = start.bytes.substr(0, start.markLength);
  return std::string(mark) + fromUnicode(call, converter.get(), document);
}

}  // namespace orvxml::functions
