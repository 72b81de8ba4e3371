// QrkOutbuf, the growable text buffer that moves into a temporary file past a limit, and the small
// file services around it. Temporary files are created exclusively, readable by their owner alone;
// a buffer that is filled in one step is readable for all afterwards.
//
// Results are 0 for success and -1 for failure unless stated. The context may be null.
#pragma once

#include <cstdint>
#include <cstdio>

#include "orvxml/context.h"

namespace orvxml {

enum QrkLocation : int32_t { QRK_LOC_FILE = 0, QRK_LOC_MEMORY = 1 };
inline constexpr uint32_t kNoSizeLimit = 0xFFFFFFFF;
inline constexpr int kPathSize = 1024;         // bytes of an absolute path, terminator included
inline constexpr int kMaxVarcharFile = 32672;  // bytes

struct QrkOutbuf {
  char* data;          // memory: the terminated content; file: its path; null after release
  FILE* fp;            // file: open while content is being written
  int32_t loctype;     // QrkLocation
  uint32_t allocsize;  // memory: capacity in bytes; file: size requested at acquisition
  uint32_t maxsize;    // largest capacity before the content moves into a file
  uint32_t size;       // bytes of content, without terminator
};

// Acquires an empty buffer: in memory, or a temporary file where `loctype` says so, `initSize` is
// above `maxSize`, or, with `fileFallback`, memory is wanting. Throws QRKC012E or QRKC000E for the
// file, QRKG002E for memory, QRKG004E for a size of 0 or another place.
void qrkBufAcquire(QrkStruct* ctx, QrkOutbuf* buf, uint32_t initSize, uint32_t maxSize,
                   int32_t loctype, bool fileFallback);
// Writes exactly `allocsize` bytes of `data` into a freshly acquired buffer.
// QRKC003E when its file cannot be written.
void qrkFillBuffer(QrkStruct* ctx, QrkOutbuf* buf, const char* data);
int qrkBufAppend(QrkStruct* ctx, QrkOutbuf* buf, const char* text);
int qrkMovetoBuf(QrkStruct* ctx, QrkOutbuf* buf, const char* text);
// The text, or the path after closing the stream; null on failure. The buffer keeps the ownership.
char* qrkBufGetContent(QrkStruct* ctx, QrkOutbuf* buf);
uint32_t qrkBufGetSize(QrkStruct* ctx, QrkOutbuf* buf);
int qrkBufRelease(QrkStruct* ctx, QrkOutbuf* buf);

// Owns a QrkOutbuf: releases it, with its temporary file, at the end of the scope.
class OutBuffer {
 public:
  explicit OutBuffer(QrkStruct* ctx) : ctx_(ctx) { buf_.loctype = QRK_LOC_MEMORY; }
  ~OutBuffer() { release(); }
  OutBuffer(const OutBuffer&) = delete;
  OutBuffer& operator=(const OutBuffer&) = delete;
  QrkOutbuf* get() { return &buf_; }
  QrkOutbuf* operator->() { return &buf_; }
  void release() {
    if (buf_.data) qrkBufRelease(ctx_, &buf_);
  }

 private:
  QrkStruct* ctx_;
  QrkOutbuf buf_{};
};

int qrkGetTmpDir(QrkStruct* ctx);
char* qrk_tempFilename(QrkStruct* ctx);  // heap string, freed with free(), or null
int qrkGetAbsPath(QrkStruct* ctx, const char* name, char* out);
FILE* xml_fopen(QrkStruct* ctx, const char* name, const char* mode);
int qrk_getFileSize(QrkStruct* ctx, const char* name, uint32_t* size);
int qrk_seekFile(QrkStruct* ctx, FILE* fp,
                 int32_t offset);  // of the interface; nothing here calls it
int qrk_changeMode(QrkStruct* ctx, const char* name);
int isfile(QrkStruct* ctx, const char* name);
extern "C" ORVXML_API int qrk_buf2file(QrkStruct* ctx, const char* data, int length,
                                       const char* fileName, char* sqlState, char* msg);
// Of the interface; the function library has a reader of its own, which looks for NULs as well.
int qrk_file2varchar(QrkStruct* ctx, const char* fileName, char* buf, int bufLen, char* sqlState,
                     char* msg);
// For callers outside the library: "/tmp" and HOME into `out` (kPathSize bytes), -1 when they do
// not fit; and a conversion of names that this platform does not need.
extern "C" ORVXML_API int xml_getFilePrefix(QrkStruct* ctx, char* out);
extern "C" ORVXML_API void xml_fileNameConvert(QrkStruct* ctx, char* name);

}  // namespace orvxml
