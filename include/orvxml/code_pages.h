// The two code pages of a call, their converters, and the conversions between them and UTF-16.
// Sizes of multibyte buffers are bytes, sizes of UTF-16 buffers are 16-bit units.
#pragma once

#include <string>
#include <string_view>

#include "orvxml/context.h"

namespace orvxml {

inline constexpr int32_t kUtf8CodePage = 1208;
inline constexpr char16_t kByteOrderMark = 0xFEFF;

// A byte order mark, in whatever encoding, is no part of the text.
inline std::u16string_view withoutMark(std::u16string_view text) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(1);
  return text;
}

int initICU(QrkStruct* ctx, CALL_FROM callFrom, sqludf_dbinfo* dbinfo, const char* appEncodingName);
// The code pages of the connection. 0, or -1 without a connection.
int getDBCodePage(QrkStruct* ctx, int32_t* codePage);
int getAppCodePage(QrkStruct* ctx, int32_t* codePage);
UConverter* getConverter(int32_t codePage, UErrorCode* status);

// Whether the text of the database code page is UTF-8; so it is where there is no context.
inline bool isUtf8Database(const QrkStruct* ctx) {
  return !ctx || !ctx->codePages || ctx->codePages->dbCodePage == kUtf8CodePage;
}
// The encoding name (UTF-16, terminated) of a code page. 0 or the failure's code (QRKG008E).
int QRK_getEncoding(QrkStruct* ctx, int32_t codePage, char16_t* name, int nameSize, char* sqlState,
                    char* msg);

// Terminated text in the database code page to UTF-16; the units written (without terminator; the
// result is terminated when it is shorter than `outSize`), or -1.
int QRK_mbstowcsFunction(QrkStruct* ctx, char16_t* out, const char* in, int outSize);
// Terminated UTF-16 to the database code page; bytes without terminator, or -1 (also when the
// output would fill `outSize` completely).
int QRK_wcstombsFunction(QrkStruct* ctx, char* out, const char16_t* in, int outSize);
// The same for owned strings; false, and nothing in `out`, when any of the text does not convert.
// With a null context, or one without code pages, UTF-8.
[[nodiscard]] bool toDatabase(QrkStruct* ctx, std::u16string_view in, std::string& out);
[[nodiscard]] bool toUtf16(QrkStruct* ctx, std::string_view in, std::u16string& out);
// A text as a message or a trace line quotes it: what does not convert is shown as '?'.
std::string textForMessage(QrkStruct* ctx, std::u16string_view text);

extern "C" ORVXML_API int convertBufferAppToORV(QrkStruct* ctx, const char* in, int inLen,
                                                char* out, int outSize, char* msg, char* sqlState,
                                                int* errCode);
extern "C" ORVXML_API int convertBufferORVToApp(QrkStruct* ctx, const char* in, int inLen,
                                                char* out, int outSize, char* msg, char* sqlState);
extern "C" ORVXML_API int qrkConvBufferORVToAppEncoding(QrkStruct* ctx, const char* in, int inLen,
                                                        char* out, int outSize, char* msg,
                                                        char* sqlState);

// Upper-casing; full-width Latin letters stay. Sizes are bytes; `in` may be `out`. 0 or -1.
int qrk_toupper(QrkStruct* ctx, const char* in, char* out, int outSize);
int qrk_utoupper(QrkStruct* ctx, std::u16string_view in, char* out, int outSize);
char16_t QRK_towupper(char16_t ch);

}  // namespace orvxml
