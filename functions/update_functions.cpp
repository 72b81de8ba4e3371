// update: a document with the text of elements or the value of an attribute replaced.
#include "orvxml/update.h"

#include <algorithm>
#include <cstring>

#include "functions/documents.h"
#include "functions/file_encoding.h"
#include "functions/stored_files.h"
#include "functions/text_conversion.h"
#include "functions/value_results.h"
#include "orvxml/function_locators.h"

namespace orvxml::functions {
namespace {

constexpr int kVarcharRoom = 32673;  // of the result, terminator included

// The document with the replacement, in the database code page.
template <class Document>
HeapText updated(FunctionCall& call, Document& document, const char* path, const char* value,
                 int room) {
  QrkStruct* ctx = call.begin();
  UConverter* from = ctx->codePages->dbConverter;
  std::u16string query = toUnicode(call, from, path);
  std::u16string replacement = toUnicode(call, from, value);
  HeapText result;
  call.check(qrkUpdate(ctx, document.text(), document.inMemory(), Document::kInDbEncoding,
                       query.data(), replacement.data(), HeapTextResult(result), room,
                       call.sqlState(), call.message()));
  return result;
}

void giveText(std::string_view text, char* result) {
  result[text.copy(result, text.size())] = 0;
}

// What becomes of an updated document: a text, a new CLOB, or the new content of its file.
struct VarcharTarget {
  using Document = VarcharDocument;
  static constexpr int kRoom = kVarcharRoom;
  static void store(FunctionCall&, const char*, std::string_view text, char* result) {
    giveText(text, result);
  }
};
struct ClobTarget {
  using Document = ClobDocument;
  static constexpr int kRoom = INT32_MAX;
  static void store(FunctionCall& call, const sqludf_locator*, std::string_view text,
                    sqludf_locator* result) {
    ClobValue::store(call, text, result);
  }
};
struct FileTarget {
  using Document = FileDocument;
  static constexpr int kRoom = INT32_MAX;
  static void store(FunctionCall& call, const char* name, std::string_view text, char* result) {
    const std::u16string units = toUnicode(call, call.begin()->codePages->dbConverter, text);
    replaceFile(call, name, inEncodingOf(call, name, units));
    giveText(name, result);
  }
};

template <class Target, class Field = typename Target::Document::Field>
void update(const Argument<Field>& document, const Argument<char>& path,
            const Argument<char>& value, const Result<Field>& result, const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(document, path, value)) return false;
    typename Target::Document source(call, document.value);
    const HeapText text = updated(call, source, path.value, value.value, Target::kRoom);
    Target::store(call, document.value, text ? text.get() : "", result.value);
    return true;
  });
}

}  // namespace

extern "C" {

ORVXML_API void qrkUpdateXMLVarchar(const char* document, const char* path, const char* value,
                                    char* result, const int16_t* documentNull,
                                    const int16_t* pathNull, const int16_t* valueNull,
                                    int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  update<VarcharTarget>({document, documentNull}, {path, pathNull}, {value, valueNull},
                        {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkUpdateXMLClob(const sqludf_locator* document, const char* path,
                                 const char* value, sqludf_locator* result,
                                 const int16_t* documentNull, const int16_t* pathNull,
                                 const int16_t* valueNull, int16_t* resultNull,
                                 ORVXMLFN_TAIL_PARAMETERS) {
  update<ClobTarget>({document, documentNull}, {path, pathNull}, {value, valueNull},
                     {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkUpdateXMLFile(const char* document, const char* path, const char* value,
                                 char* result, const int16_t* documentNull, const int16_t* pathNull,
                                 const int16_t* valueNull, int16_t* resultNull,
                                 ORVXMLFN_TAIL_PARAMETERS) {
  update<FileTarget>({document, documentNull}, {path, pathNull}, {value, valueNull},
                     {result, resultNull}, ORVXMLFN_TAIL);
}

}  // extern "C"
}  // namespace orvxml::functions
