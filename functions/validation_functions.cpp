// validate and validateschema: 1 for a valid document, 0 for any other. That a document is not
// valid is an answer; a failure is when there is none, because what it is to be judged by is
// missing or wrong, or memory is out.
#include "orvxml/validation.h"

#include <optional>

#include "functions/documents.h"
#include "functions/stored_files.h"
#include "functions/text_conversion.h"
#include "orvxml/code_pages.h"

namespace orvxml::functions {
namespace {

constexpr size_t kMaxDtdBytes = 2000000000;

bool giveVerdict(FunctionCall& call, int verdict, int32_t* result) {
  if (verdict == kNotJudged) call.check(-1);
  call.succeed();
  *result = verdict;
  return true;
}

// The text of a DTD file in the application's code page, in which Content writes it, for the
// database code page. Nothing for a file in another encoding: its own declaration tells which.
std::optional<std::string> dtdText(FunctionCall& call, QrkStruct* ctx, const char* file) {
  std::u16string units;
  std::string text;
  const std::string bytes = readFile(call, file, kMaxDtdBytes, Msg::QRKC006E);
  if (U_FAILURE(toUnicode(ctx->codePages->appConverter, bytes, units))) return std::nullopt;
  if (U_FAILURE(fromUnicode(ctx->codePages->dbConverter, withoutMark(units), text)) ||
      text.find('\0') != text.npos) {
    return std::nullopt;
  }
  return text;
}

template <class Document>
void validate(const Argument<typename Document::Field>& document, const Argument<char>& dtd,
              const Argument<char>& dtdId, const Result<int32_t>& result,
              const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(document, dtd, dtdId)) return false;
    QrkStruct* ctx = call.begin();
    Document source(call, document.value);
    std::optional<std::string> text = dtdText(call, ctx, dtd.value);
    std::string file = dtd.value;
    std::string id = dtdId.value;
    const int inMemory = text ? 1 : 0;
    const int verdict = qrkJudge(ctx, source.text(), source.inMemory(), Document::kInDbEncoding,
                                 text ? text->data() : file.data(), inMemory, id.data(),
                                 call.sqlState(), call.message(), inMemory);
    return giveVerdict(call, verdict, result.value);
  });
}

template <class Document>
void validateSchema(const Argument<typename Document::Field>& document,
                    const Argument<char>& schema, const Result<int32_t>& result,
                    const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(document, schema)) return false;
    QrkStruct* ctx = call.begin();
    Document source(call, document.value);
    std::u16string location = toUnicode(call, ctx->codePages->dbConverter, schema.value);
    const int verdict =
        qrkJudgeBySchema(ctx, source.text(), source.inMemory(), Document::kInDbEncoding,
                         location.data(), call.sqlState(), call.message());
    return giveVerdict(call, verdict, result.value);
  });
}

}  // namespace
}  // namespace orvxml::functions

using namespace orvxml::functions;

// clang-format off
#define ORVXMLFN_VALIDATION(name, schemaName, Document)                                           \
  extern "C" ORVXML_API void name(                                                                \
      const Document::Field* document, const char* dtd, const char* dtdId, int32_t* result,       \
      const int16_t* documentNull, const int16_t* dtdNull, const int16_t* dtdIdNull,              \
      int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {                                            \
    validate<Document>({document, documentNull}, {dtd, dtdNull}, {dtdId, dtdIdNull},              \
                       {result, resultNull}, ORVXMLFN_TAIL);                                      \
  }                                                                                               \
  extern "C" ORVXML_API void schemaName(                                                          \
      const Document::Field* document, const char* schema, int32_t* result,                       \
      const int16_t* documentNull, const int16_t* schemaNull, int16_t* resultNull,                \
      ORVXMLFN_TAIL_PARAMETERS) {                                                                 \
    validateSchema<Document>({document, documentNull}, {schema, schemaNull}, {result, resultNull}, \
                             ORVXMLFN_TAIL);                                                      \
  }

ORVXMLFN_VALIDATION(qrkValidateFile, qrkValidateSchemaFile, FileDocument)
ORVXMLFN_VALIDATION(qrkValidateVarchar, qrkValidateSchemaVarchar, VarcharDocument)
ORVXMLFN_VALIDATION(qrkValidateClob, qrkValidateSchemaClob, ClobDocument)
// clang-format on
