// Named files: absolute paths, opening, sizes, permissions, and whole small files in one step.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/files/file_handle.h"
#include "src/files/new_file.h"
#include "src/outcome/edge.h"

namespace orvxml {
namespace {

constexpr mode_t kReadableByAll = 0644;

// Reads the whole file of `size` bytes into `buf`, which has room for it.
int readWhole(QrkStruct* ctx, const char* fileName, char* buf, uint32_t size,
              const Report& report) {
  const FileHandle file(xml_fopen(ctx, fileName, "rb"));
  if (!file) {
    fail(report, Msg::QRKC000E);
    return -1;
  }
  if (std::fread(buf, 1, size, file.get()) < size) {
    fail(report, Msg::QRKC002E);
    return -1;
  }
  return 0;
}

}  // namespace

int qrkGetAbsPath(QrkStruct* ctx, const char* name, char* out) {
  if (!name || !out) return -1;
  const size_t length = std::strlen(name);
  size_t prefix = 0;
  if (*name != '/') {
    const char* directory = ::getcwd(out, kPathSize);
    QRK_TRACE(ctx, "call getcwd('%s', %d) return ptr='%s'", directory ? directory : "", kPathSize,
              directory ? directory : "");
    if (!directory) return -1;
    prefix = std::strlen(out) + 1;
  }
  if (prefix + length >= kPathSize) return -1;
  if (prefix > 0) out[prefix - 1] = '/';
  std::memmove(out + prefix, name, length + 1);
  QRK_TRACE(ctx, "convert '%s' into '%s'.", name, out);
  return 0;
}

FILE* xml_fopen(QrkStruct* ctx, const char* name, const char* mode) {
  char path[kPathSize];
  return qrkGetAbsPath(ctx, name, path) == 0 ? std::fopen(path, mode) : nullptr;
}

// A size that 32 bits do not hold is the largest that they do, which every limit refuses.
int qrk_getFileSize(QrkStruct* ctx, const char* name, uint32_t* size) {
  char path[kPathSize];
  if (const int rc = qrkGetAbsPath(ctx, name, path)) return rc;
  *size = 0;
  struct stat status;
  if (const int rc = ::stat(path, &status)) return rc;
  *size =
      static_cast<uint32_t>(std::min<off_t>(status.st_size, std::numeric_limits<uint32_t>::max()));
  return 0;
}

int qrk_seekFile(QrkStruct*, FILE* fp, int32_t offset) {
  return std::fseek(fp, offset, SEEK_SET) == 0 ? 0 : -1;
}

int qrk_changeMode(QrkStruct*, const char* name) {
  return ::chmod(name, kReadableByAll);
}

int isfile(QrkStruct*, const char* name) {
  struct stat status;
  return name && ::stat(name, &status) == 0 && S_ISREG(status.st_mode) ? 1 : 0;
}

void writeNewFile(QrkStruct* ctx, const char* name, std::string_view text) {
  NewFile file(ctx);
  if (!file.create(name)) {
    QRK_TRACE(ctx, "xml_fopen with wb+. fp is NULL");
    throw Failure(Msg::QRKC000E);
  }
  if (file.write(text.data(), text.size()) != text.size() || !file.finish()) {
    throw Failure(Msg::QRKC003E);
  }
}

int qrk_buf2file(QrkStruct* ctx, const char* data, int length, const char* fileName, char* sqlState,
                 char* msg) {
  return statusAtEdge({.ctx = ctx, .msg = msg, .sqlState = sqlState}, [&] {
    writeNewFile(ctx, fileName, {data, static_cast<size_t>(std::max(length, 0))});
    if (length < 0) throw Failure(Msg::QRKC003E);
  });
}

int qrk_file2varchar(QrkStruct* ctx, const char* fileName, char* buf, int bufLen, char* sqlState,
                     char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlState};
  uint32_t size = 0;
  if (const int rc = qrk_getFileSize(ctx, fileName, &size)) {
    fail(report, Msg::QRKC001E);
    return rc;
  }
  if (!isfile(ctx, fileName)) return failed(report, Msg::QRKC001E);
  const uint32_t room = bufLen > 0 ? static_cast<uint32_t>(bufLen) : 0;
  if (size > kMaxVarcharFile || size > room) {
    fail(report, Msg::QRKC005E);
    return -1;
  }
  if (readWhole(ctx, fileName, buf, size, report) != 0) return -1;
  if (size < kMaxVarcharFile && size < room) buf[size] = 0;
  int errCode = 0;
  const int length =
      convertBufferAppToORV(ctx, buf, static_cast<int>(size), buf, bufLen, msg, sqlState, &errCode);
  if (length >= 0) return 0;
  if (errCode == codeOf(Msg::QRKG017E)) fail(report, Msg::QRKC005E);
  return -1;
}

int xml_getFilePrefix(QrkStruct*, char* out) {
  const char* home = std::getenv("HOME");
  const int length = std::snprintf(out, kPathSize, "/tmp%s", home ? home : "");
  return length < kPathSize ? 0 : -1;
}

void xml_fileNameConvert(QrkStruct*, char*) {}

}  // namespace orvxml
