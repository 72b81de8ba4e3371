// Large-object locators and document files: content moves between locators, buffers and files.
#pragma once

#include "orvxml/buffer.h"
#include "orvxml/context.h"

namespace orvxml {

inline constexpr int kLocatorChunk = 131072;  // bytes read at once from a locator
inline constexpr uint32_t kMaxDocumentFile = 2'000'000'000;

// ---- Stored-procedure side. `buf` is acquired here; the caller releases it.
int qrkGetDataFromLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* buf, char* msg);
int qrkGetDadFileFromLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* buf, char* msg);
int qrkGetLocatorLength(QrkStruct* ctx, int32_t locator, int32_t* length, int* errCode, char* msg);
// `length` bytes from position `start` (from 1) into `buffer` (`length` + 1 bytes), terminated.
int qrkLocatorToBuf(QrkStruct* ctx, int32_t locator, int32_t length, char* buffer, int* errCode,
                    char* msg, int32_t start);
int qrkLocatorToFile(QrkStruct* ctx, int32_t locator, const char* fileName, int* errCode,
                     char* msg);
// One chunk of at most kLocatorChunk bytes from `start` into `buffer`.
int qrkGetChunkFromLocator(QrkStruct* ctx, int32_t locator, int32_t start, int32_t total,
                           char* buffer, int* errCode, char* msg);
int qrkInsertDocFromFile(QrkStruct* ctx, const char* insertStmt, const char* fileName, int32_t size,
                         int32_t validResult, int validate, const char* resultTable, int* errCode,
                         char* msg);
// `lobCapacity`: bytes that fit at `lobData`; a larger file is refused with index 85 ("38X39").
int qrk_file2lob(QrkStruct* ctx, const char* fileName, char* lobData, uint32_t lobCapacity,
                 uint32_t* lobLength, char* sqlState, int* msgIndex);

// Of the interface; nothing here needs paths of another system, or asks what runs it.
void daix_to_dpc(QrkStruct* ctx, char* path);
int qrkIsWorkstation();

}  // namespace orvxml
