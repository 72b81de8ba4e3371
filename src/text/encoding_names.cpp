// The encoding name that XML declarations use for a code page.
#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/outcome/edge.h"
#include "src/text/converters.h"

namespace orvxml {
namespace {

struct EncodingName {
  int32_t codePage;
  const char16_t* name;  // null: the converter's own name
};

// clang-format off
constexpr EncodingName kEncodingNames[] = {
    {1208, u"UTF-8"},
    {-1, u"UTF-16"},
    {367, u"us-ascii"},
    {819, u"iso-8859-1"},
    {850, nullptr},
    {1252, nullptr},
    {1250, nullptr},
    {1251, nullptr},
    {1254, nullptr},
    {1255, nullptr},
    {1256, nullptr},
    {1257, nullptr},
    {37, nullptr},
    {1383, u"GB2312"},
    {943, u"Shift_JIS"},
    {932, u"Shift_JIS"},
    {950, u"Big5"},
    {970, u"EUC-KR"},
    {954, u"EUC-JP"},
    {33722, u"EUC-JP"},
    {964, u"EUC-TW"},
    {912, u"iso-8859-2"},
    {915, u"iso-8859-5"},
    {1089, u"iso-8859-6"},
    {813, u"iso-8859-7"},
    {916, u"iso-8859-8"},
    {920, u"iso-8859-9"},
    {1046, u"cp1046"},
};
// clang-format on

const EncodingName* findRow(int32_t codePage) {
  const auto* row =
      std::find_if(std::begin(kEncodingNames), std::end(kEncodingNames),
                   [&](const EncodingName& entry) { return entry.codePage == codePage; });
  return row == std::end(kEncodingNames) ? nullptr : row;
}

// The converter's name for a code page, or null. The converter of the database has it at hand.
// ICU's default converter is never switched: it is the whole process's.
const char* converterName(const QrkCodePages* pages, int32_t codePage) {
  UErrorCode status = U_ZERO_ERROR;
  if (pages && pages->dbConverter && pages->dbCodePage == codePage) {
    return ucnv_getName(pages->dbConverter, &status);
  }
  const Converter converter(getConverter(codePage, &status));
  if (!converter) return nullptr;
  const char* name = ucnv_getName(converter.get(), &status);
  // The name outlives its converter only in the table of the known ones.
  status = U_ZERO_ERROR;
  return name ? ucnv_getAlias(name, 0, &status) : nullptr;
}

// The alias that ends with the number of the code page; the name itself when there is none.
const char* numericAlias(const char* name, int32_t codePage) {
  const std::string ending = '-' + std::to_string(codePage);
  UErrorCode status = U_ZERO_ERROR;
  const uint16_t count = ucnv_countAliases(name, &status);
  for (uint16_t i = 0; i < count; ++i) {
    const char* alias = ucnv_getAlias(name, i, &status);
    if (alias && std::string_view(alias).ends_with(ending)) return alias;
  }
  return name;
}

const char* standardName(const char* name, int32_t codePage) {
  for (const char* standard : {"MIME", "IANA"}) {
    UErrorCode status = U_ZERO_ERROR;
    if (const char* found = ucnv_getStandardName(name, standard, &status)) return found;
  }
  return numericAlias(name, codePage);
}

}  // namespace

std::u16string encodingName(QrkStruct* ctx, int32_t codePage) {
  const EncodingName* row = findRow(codePage);
  if (row && row->name) return row->name;
  const char* own = converterName(ctx ? ctx->codePages : nullptr, codePage);
  if (!own) {
    QRK_TRACE(ctx, "no icu name for %d", codePage);
    throw Failure(Msg::QRKG008E, codePage);
  }
  const std::string_view found = row ? own : standardName(own, codePage);
  QRK_TRACE(ctx, "icu name %.*s", static_cast<int>(found.size()), found.data());
  return std::u16string(found.begin(), found.end());
}

int QRK_getEncoding(QrkStruct* ctx, int32_t codePage, char16_t* name, int nameSize, char* sqlState,
                    char* msg) {
  return atEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState}, [&] {
    const std::u16string text = encodingName(ctx, codePage);
    const bool fits = nameSize > 0 && text.size() < static_cast<size_t>(nameSize);
    if (!fits) throw Failure(Msg::QRKG008E, codePage);
    name[text.copy(name, text.size())] = 0;
  });
}

}  // namespace orvxml
