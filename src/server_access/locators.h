// Large-object locators and document files: content moves between locators, buffers and files.
#pragma once

#include <optional>

#include "orvxml/buffer.h"
#include "orvxml/context.h"

namespace orvxml {

inline constexpr int kLocatorChunk = 131072;  // bytes read at once from a locator
inline constexpr uint32_t kMaxDocumentFile = 2'000'000'000;

// ---- Stored-procedure side. What the server refuses is an internal error with its words.
// The whole CLOB into `buf`, which is acquired here and which the caller releases.
void qrkGetDataFromLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* buf);
int32_t qrkGetLocatorLength(QrkStruct* ctx, int32_t locator);
// `length` bytes from position `start` (from 1) into `buffer` (`length` + 1 bytes), terminated.
void qrkLocatorToBuf(QrkStruct* ctx, int32_t locator, int32_t length, char* buffer, int32_t start);
void qrkLocatorToFile(QrkStruct* ctx, int32_t locator, const char* fileName);
// One chunk of at most kLocatorChunk bytes from `start` into `buffer`.
void qrkGetChunkFromLocator(QrkStruct* ctx, int32_t locator, int32_t start, int32_t total,
                            char* buffer);
// Runs the INSERT with the file of `size` bytes and, where there is one, the validation result.
// QRKQ017E with the name of the table for a document that its column does not take.
void qrkInsertDocFromFile(QrkStruct* ctx, const char* insertStmt, const char* fileName,
                          int32_t size, std::optional<int32_t> validResult,
                          const char* resultTable);
// The file's bytes into `lobData`; their count. A file above `lobCapacity` bytes is refused with
// QRKC013E.
uint32_t qrk_file2lob(QrkStruct* ctx, const char* fileName, char* lobData, uint32_t lobCapacity);

// Of the interface; nothing here needs paths of another system, or asks what runs it.
void daix_to_dpc(QrkStruct* ctx, char* path);
int qrkIsWorkstation();

}  // namespace orvxml
