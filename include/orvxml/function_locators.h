// Large-object locators and document files on the side of user-defined functions: documents move
// between the locators of the server's function interface, buffers and files, in pieces of
// kFunctionPiece bytes.
//
// All return 0, or -1 with `sqlState` (6 bytes) set and either the message written into `msg` or
// its index given in *msgIndex for the caller to format. Texts are in the database code page; files
// in the application code page where conversion is said.
#pragma once

#include "orv/sqludf.h"
#include "orvxml/context.h"
#include "orvxml/export.h"

namespace orvxml {

inline constexpr int32_t kFunctionPiece = 4096;  // bytes moved at once

extern "C" {

// `length` bytes from the start of the CLOB into `buffer` (`length` + 1 bytes), terminated.
ORVXML_API int qrk_locator2buf(QrkStruct* ctx, const sqludf_locator* locator, char* buffer,
                               int32_t length, char* sqlState, char* msg);
// The CLOB into a file, byte by byte as it is.
ORVXML_API int qrk_locator2file(QrkStruct* ctx, const sqludf_locator* locator, const char* fileName,
                                char* sqlState, int* msgIndex);
// The CLOB into a file, converted to the application code page.
ORVXML_API int qrk_conv_locator2file(QrkStruct* ctx, const sqludf_locator* locator,
                                     const char* fileName, char* sqlState, char* msg);
// The same, with the document's XML declaration rewritten to name the application encoding.
ORVXML_API int qrk_conv_locator2file_encoding(QrkStruct* ctx, const sqludf_locator* locator,
                                              const char* fileName, char* sqlState, char* msg);
// A new CLOB locator filled from a file, converted to the database code page. After a failure there
// is none.
ORVXML_API int qrk_file2locator(QrkStruct* ctx, const char* fileName, sqludf_locator* locator,
                                char* sqlState, int* msgIndex);
// The same with the message, which tells the number that an index cannot.
ORVXML_API int qrkFileIntoLocator(QrkStruct* ctx, const char* fileName, sqludf_locator* locator,
                                  char* sqlState, char* msg);
// A new CLOB locator holding `length` bytes of `data`; null `data`: an empty one.
ORVXML_API int qrk_buf2locator(QrkStruct* ctx, const char* data, int32_t length,
                               sqludf_locator* locator, char* sqlState, char* msg);
// The CLOB either in memory (*data the terminated text, *inMemory 1) or in a new temporary file
// (*data its path, *inMemory 0). The caller frees *data with free() and removes the file.
ORVXML_API int qrkGetDataFromClob(QrkStruct* ctx, const sqludf_locator* locator, char** data,
                                  int* inMemory, char* sqlState, char* msg);
}

}  // namespace orvxml
