// QrkOutbuf: in memory the byte at offset `size` is the terminator. A block has room for it: what
// has grown by appending has size + 1 <= capacity, a filled block one byte more than its capacity.
// A buffer moves from memory into a file at most once, and a step that fails leaves it as it was.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "orvxml/buffer.h"
#include "orvxml/trace.h"
#include "src/files/temporary_files.h"
#include "src/outcome/failure.h"

namespace orvxml {
namespace {

constexpr uint64_t kMaxContent = std::numeric_limits<uint32_t>::max() - 1;

QrkOutbuf emptyBuffer(int32_t loctype, uint32_t maxSize) {
  return QrkOutbuf{nullptr, nullptr, loctype, 0, maxSize, 0};
}

void acquireFile(QrkStruct* ctx, QrkOutbuf* buf, uint32_t initSize) {
  bool nameless = false;
  const TemporaryFile file = createTemporaryFile(ctx, "wb+", nameless);
  if (!file.stream) throw Failure(nameless ? Msg::QRKC012E : Msg::QRKC000E);
  buf->data = file.name;
  buf->fp = file.stream;
  buf->loctype = QRK_LOC_FILE;
  buf->allocsize = initSize;
}

int appendToFile(QrkOutbuf* buf, const char* text, size_t length) {
  if (!buf->fp || buf->size + uint64_t{length} > kMaxContent) return -1;
  if (std::fwrite(text, 1, length, buf->fp) < length) return -1;
  buf->size += static_cast<uint32_t>(length);
  return 0;
}

void copyToMemory(QrkOutbuf* buf, const char* text, size_t length) {
  std::memcpy(buf->data + buf->size, text, length);
  buf->size += static_cast<uint32_t>(length);
  buf->data[buf->size] = 0;
}

// Grows the memory block to `capacity` bytes or, out of memory, to the `least` that suffices.
bool growMemory(QrkOutbuf* buf, uint64_t capacity, uint64_t least) {
  capacity = std::min<uint64_t>(capacity, std::numeric_limits<uint32_t>::max());
  void* grown = std::realloc(buf->data, capacity);
  if (!grown) {
    capacity = least;
    grown = std::realloc(buf->data, capacity);
  }
  if (!grown) return false;
  buf->data = static_cast<char*>(grown);
  buf->allocsize = static_cast<uint32_t>(capacity);
  return true;
}

int appendToMemory(QrkStruct* ctx, QrkOutbuf* buf, const char* text) {
  const size_t length = std::strlen(text);
  const uint64_t need = uint64_t{length} + 1;
  const uint64_t capacity = buf->allocsize;
  if (need > capacity - buf->size) {
    const uint64_t grown = 2 * (need < capacity ? capacity : need) + 1;
    if (grown > buf->maxsize && buf->maxsize != kNoSizeLimit) return qrkMovetoBuf(ctx, buf, text);
    const uint64_t least = buf->size + need;
    if (least > kMaxContent || !growMemory(buf, grown, least)) return -1;
  }
  copyToMemory(buf, text, length);
  return 0;
}

void fillFile(QrkStruct* ctx, QrkOutbuf* buf, const char* data) {
  const size_t written = buf->fp ? std::fwrite(data, 1, buf->allocsize, buf->fp) : 0;
  const bool closed = !buf->fp || std::fclose(buf->fp) == 0;
  buf->fp = nullptr;
  buf->size = buf->allocsize;
  if (written < buf->allocsize || !closed) throw Failure(Msg::QRKC003E);
  qrk_changeMode(ctx, buf->data);
}

bool isFile(const QrkOutbuf* buf) {
  return buf->loctype == QRK_LOC_FILE;
}
bool isMemory(const QrkOutbuf* buf) {
  return buf->loctype == QRK_LOC_MEMORY;
}

}  // namespace

void qrkBufAcquire(QrkStruct* ctx, QrkOutbuf* buf, uint32_t initSize, uint32_t maxSize,
                   int32_t loctype, bool fileFallback) {
  *buf = emptyBuffer(loctype, maxSize);
  if (isFile(buf)) return acquireFile(ctx, buf, initSize);
  if (!isMemory(buf)) throw Failure(Msg::QRKG004E);
  if (maxSize != kNoSizeLimit && initSize > maxSize) return acquireFile(ctx, buf, initSize);
  if (initSize == 0) throw Failure(Msg::QRKG004E);
  buf->data = static_cast<char*>(std::calloc(size_t{initSize} + 1, 1));
  if (buf->data) {
    buf->allocsize = initSize;
    return;
  }
  if (!fileFallback) throw Failure(Msg::QRKG002E);
  acquireFile(ctx, buf, initSize);
}

void qrkFillBuffer(QrkStruct* ctx, QrkOutbuf* buf, const char* data) {
  QRK_TRACE(ctx, "Entered:buffer loctype=%s", isFile(buf) ? "File" : "Memory");
  if (isFile(buf)) return fillFile(ctx, buf, data);
  if (!isMemory(buf) || !buf->data) throw Failure(Msg::QRKG004E);
  std::memcpy(buf->data, data, buf->allocsize);
  buf->size = buf->allocsize;
  buf->data[buf->size] = 0;
}

int qrkBufAppend(QrkStruct* ctx, QrkOutbuf* buf, const char* text) {
  if (!buf) return -1;
  if (!text) return 0;
  if (isFile(buf)) return appendToFile(buf, text, std::strlen(text));
  if (!isMemory(buf) || !buf->data) return -1;
  return appendToMemory(ctx, buf, text);
}

int qrkMovetoBuf(QrkStruct* ctx, QrkOutbuf* buf, const char* text) {
  bool nameless = false;
  const TemporaryFile file = createTemporaryFile(ctx, "a+", nameless);
  if (!file.stream) return -1;
  QrkOutbuf moved = emptyBuffer(QRK_LOC_FILE, buf->maxsize);
  moved.data = file.name;
  moved.fp = file.stream;
  const int rc = qrkBufAppend(ctx, &moved, buf->data);
  QRK_TRACE(ctx, "buf append to new tmp %s initial size %u, buf size %u rc = %d", file.name,
            moved.size, buf->size, rc);
  if (rc != 0 || moved.size != buf->size) {
    qrkBufRelease(ctx, &moved);
    return -1;
  }
  std::free(buf->data);
  buf->data = moved.data;
  buf->fp = moved.fp;
  buf->loctype = QRK_LOC_FILE;
  return qrkBufAppend(ctx, buf, text);
}

char* qrkBufGetContent(QrkStruct* ctx, QrkOutbuf* buf) {
  if (isMemory(buf)) return buf->data;
  if (!isFile(buf)) {
    QRK_TRACE(ctx, "buf->loctype = %d", buf->loctype);
    return nullptr;
  }
  FILE* stream = buf->fp;
  buf->fp = nullptr;
  return !stream || std::fclose(stream) == 0 ? buf->data : nullptr;
}

uint32_t qrkBufGetSize(QrkStruct*, QrkOutbuf* buf) {
  return buf->size;
}

int qrkBufRelease(QrkStruct* ctx, QrkOutbuf* buf) {
  if (!isMemory(buf) && !isFile(buf)) {
    QRK_TRACE(ctx, "buf->loctype = %d", buf->loctype);
    return -1;
  }
  if (isFile(buf)) {
    if (buf->fp) std::fclose(buf->fp);
    if (buf->data) std::remove(buf->data);
  }
  buf->fp = nullptr;
  std::free(buf->data);
  buf->data = nullptr;
  return 0;
}

}  // namespace orvxml
