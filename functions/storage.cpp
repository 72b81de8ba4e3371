// Storage: documents from files into columns and from columns into files, with the code page of the
// application between them or with an encoding that the call names.
#include <cstring>

#include "functions/documents.h"
#include "functions/stored_files.h"
#include "functions/text_conversion.h"
#include "functions/value_results.h"
#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"
#include "orvxml/function_locators.h"

namespace orvxml::functions {
namespace {

constexpr int kLimitExceeded = -124;  // of a conversion whose result has no room
constexpr size_t kMaxUnitBytes = 4;   // of one UTF-16 unit in any encoding

// The encoding that a call names. Without the argument the application's own.
const char* encodingOf(const Argument<char>* encoding) {
  return encoding ? encoding->value : nullptr;
}
bool isNull(const Argument<char>* argument) {
  return argument && argument->isNull();
}

void writeBytes(FunctionCall& call, QrkStruct* ctx, std::string_view bytes, const char* file) {
  putFile(call, file, [&](const char* name) {
    return qrk_buf2file(ctx, bytes.data(), static_cast<int>(bytes.size()), name, call.sqlState(),
                        call.message());
  });
}

// Writes a text in the database code page to a file. With an encoding the document's declaration
// names it.
void writeText(FunctionCall& call, QrkStruct* ctx, std::string_view text, const char* file,
               bool declares) {
  const auto convert = declares ? &qrkConvBufferORVToAppEncoding : &convertBufferORVToApp;
  std::string converted(kMaxUnitBytes * (text.size() + 64), '\0');
  const int length = convert(ctx, text.data(), static_cast<int>(text.size()), converted.data(),
                             static_cast<int>(converted.size()), call.message(), call.sqlState());
  if (length < 0) call.check(length);
  writeBytes(call, ctx, {converted.data(), static_cast<size_t>(length)}, file);
}

// A file's text in the database code page into a VARCHAR, which a character 0 would cut unseen.
void giveText(FunctionCall& call, QrkStruct* ctx, std::string_view text, char* result) {
  int code = 0;
  const int length =
      convertBufferAppToORV(ctx, text.data(), static_cast<int>(text.size()), result,
                            kMaxVarcharFile + 1, call.message(), call.sqlState(), &code);
  if (length < 0 && code == kLimitExceeded) call.fail(Msg::QRKC005E);
  if (length < 0) call.check(length);
  result[length] = 0;
  if (std::strlen(result) < static_cast<size_t>(length)) call.fail(Msg::QRKD000E);
}

void giveName(const char* name, const Result<char>& result) {
  const std::string_view text(name);
  result.value[text.copy(result.value, text.size())] = 0;
}

void varcharFromFile(const Argument<char>& file, const Argument<char>* encoding,
                     const Result<char>& result, const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(file) || isNull(encoding)) return false;
    QrkStruct* ctx = call.begin(encodingOf(encoding));
    const std::string text = readFile(call, file.value, kMaxVarcharFile, Msg::QRKC005E);
    giveText(call, ctx, text, result.value);
    return true;
  });
}

void clobFromFile(const Argument<char>& file, const Argument<char>* encoding,
                  const Result<sqludf_locator>& result, const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(file) || isNull(encoding)) return false;
    QrkStruct* ctx = call.begin(encodingOf(encoding));
    requirePlainFile(call, file.value);
    call.check(qrkFileIntoLocator(ctx, file.value, result.value, call.sqlState(), call.message()));
    return true;
  });
}

void fileFromVarchar(const Argument<char>& text, const Argument<char>& file,
                     const Argument<char>* encoding, const Result<char>& result,
                     const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(text, file) || isNull(encoding)) return false;
    QrkStruct* ctx = call.begin(encodingOf(encoding));
    writeText(call, ctx, text.value, file.value, encoding != nullptr);
    giveName(file.value, result);
    return true;
  });
}

void fileFromClob(const Argument<sqludf_locator>& clob, const Argument<char>& file,
                  const Argument<char>* encoding, const Result<char>& result,
                  const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(clob, file) || isNull(encoding)) return false;
    QrkStruct* ctx = call.begin(encodingOf(encoding));
    const auto write = encoding ? &qrk_conv_locator2file_encoding : &qrk_conv_locator2file;
    putFile(call, file.value, [&](const char* name) {
      return write(ctx, clob.value, name, call.sqlState(), call.message());
    });
    giveName(file.value, result);
    return true;
  });
}

void dbClobFromFile(const Argument<char>& file, const Result<sqludf_lob>& result,
                    const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(file)) return false;
    UConverter* from = call.begin()->codePages->appConverter;
    const size_t most = kMaxUnitBytes * (DbClobValue::kMaxUnits + 1);
    const std::u16string units =
        toUnicode(call, from, readFile(call, file.value, most, Msg::QRKC006E));
    const std::u16string_view text = withoutMark(units);
    if (text.size() > DbClobValue::kMaxUnits) call.fail(Msg::QRKC006E);
    DbClobValue::copy(text, result.value);
    return true;
  });
}

void fileFromDbClob(const Argument<sqludf_locator>& clob, const Argument<char>& file,
                    const Result<char>& result, const Tail& tail) noexcept {
  scalarFunction(tail, result.indicator, [&](FunctionCall& call) {
    if (anyNull(clob, file)) return false;
    QrkStruct* ctx = call.begin();
    writeBytes(call, ctx,
               fromUnicode(call, ctx->codePages->appConverter, dbClobText(call, clob.value)),
               file.value);
    giveName(file.value, result);
    return true;
  });
}

}  // namespace

extern "C" {

ORVXML_API void qrkVarChar(const char* file, char* result, const int16_t* fileNull,
                           int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  varcharFromFile({file, fileNull}, nullptr, {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkXMLVarcharFromFile2(const char* file, const char* encoding, char* result,
                                       const int16_t* fileNull, const int16_t* encodingNull,
                                       int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  const Argument<char> named{encoding, encodingNull};
  varcharFromFile({file, fileNull}, &named, {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkCLOB(const char* file, sqludf_locator* result, const int16_t* fileNull,
                        int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  clobFromFile({file, fileNull}, nullptr, {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkXMLCLOBFromFile2(const char* file, const char* encoding, sqludf_locator* result,
                                    const int16_t* fileNull, const int16_t* encodingNull,
                                    int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  const Argument<char> named{encoding, encodingNull};
  clobFromFile({file, fileNull}, &named, {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkContent_varchar2file(const char* text, const char* file, char* result,
                                        const int16_t* textNull, const int16_t* fileNull,
                                        int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  fileFromVarchar({text, textNull}, {file, fileNull}, nullptr, {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkXMLFileFromVarchar2(const char* text, const char* file, const char* encoding,
                                       char* result, const int16_t* textNull,
                                       const int16_t* fileNull, const int16_t* encodingNull,
                                       int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  const Argument<char> named{encoding, encodingNull};
  fileFromVarchar({text, textNull}, {file, fileNull}, &named, {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkFile(const sqludf_locator* clob, const char* file, char* result,
                        const int16_t* clobNull, const int16_t* fileNull, int16_t* resultNull,
                        ORVXMLFN_TAIL_PARAMETERS) {
  fileFromClob({clob, clobNull}, {file, fileNull}, nullptr, {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkXMLFileFromClob2(const sqludf_locator* clob, const char* file,
                                    const char* encoding, char* result, const int16_t* clobNull,
                                    const int16_t* fileNull, const int16_t* encodingNull,
                                    int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  const Argument<char> named{encoding, encodingNull};
  fileFromClob({clob, clobNull}, {file, fileNull}, &named, {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void xmlDBCLOB(const char* file, sqludf_lob* result, const int16_t* fileNull,
                          int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  dbClobFromFile({file, fileNull}, {result, resultNull}, ORVXMLFN_TAIL);
}

ORVXML_API void qrkContent_dbclob2file(const sqludf_locator* clob, const char* file, char* result,
                                       const int16_t* clobNull, const int16_t* fileNull,
                                       int16_t* resultNull, ORVXMLFN_TAIL_PARAMETERS) {
  fileFromDbClob({clob, clobNull}, {file, fileNull}, {result, resultNull}, ORVXMLFN_TAIL);
}

}  // extern "C"
}  // namespace orvxml::functions
