// Escaping of character data: the five characters of XML's predefined entities, nothing else. The
// functions of the interface are for programs that write XML beside the library: documents are
// written through DocumentText.
#include <cstdlib>
#include <cstring>

#include "orvxml/code_pages.h"
#include "src/compose/document_text.h"
#include "src/compose/xml_writer.h"

namespace orvxml {

namespace {

constexpr const char* kModule = "qrkdom";

int outOfMemory(const Report& report) {
  return failed(report, Msg::QRKG002E);
}

std::u16string escaped(const char16_t* text) {
  std::u16string out;
  if (text) appendEscaped(out, text);
  return out;
}

// Into `out` as a document's values are written. 0 or the failing step's result.
template <class Write>
int writeEscaped(const Report& report, QrkOutbuf* out, Write&& write) {
  DocumentText text(report.ctx, report.errCode, report.msg);
  int rc = text.begin(out, "");
  if (rc == 0) rc = write(text);
  return rc == 0 ? text.flush() : rc;
}

}  // namespace

int qrkEntityReplaceUCSRealloc(QrkStruct* ctx, char16_t** buf, const char16_t* src, int* capacity,
                               int* errCode, char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  const std::u16string text = escaped(src);
  if (text.size() >= INT32_MAX) return outOfMemory(report);
  const int needed = static_cast<int>(text.size()) + 1;
  if (needed > *capacity || !*buf) {
    void* grown = std::realloc(*buf, static_cast<size_t>(needed) * sizeof(char16_t));
    if (!grown) return outOfMemory(report);
    *buf = static_cast<char16_t*>(grown);
    *capacity = needed;
  }
  std::memcpy(*buf, text.c_str(), static_cast<size_t>(needed) * sizeof(char16_t));
  return 0;
}

int qrkEntityReplace(QrkStruct* ctx, char** dst, const char16_t* src, int capacity, int* errCode,
                     char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  std::string bytes;
  if (!toDatabase(ctx, escaped(src), bytes)) {
    failInternal(report, kModule, __LINE__);
    return -1;
  }
  if (capacity < 0 || bytes.size() + 1 > static_cast<size_t>(capacity) || !*dst) {
    void* grown = std::realloc(*dst, bytes.size() + 1);
    if (!grown) return outOfMemory(report);
    *dst = static_cast<char*>(grown);
  }
  std::memcpy(*dst, bytes.c_str(), bytes.size() + 1);
  return 0;
}

int qrkEntityReplaceUCS(QrkStruct* ctx, char16_t* dst, const char16_t* src, int capacity,
                        int* errCode, char* msg) {
  const std::u16string text = escaped(src);
  if (capacity < 1 || text.size() + 1 > static_cast<size_t>(capacity)) {
    return outOfMemory(Report{.ctx = ctx, .msg = msg, .errCode = errCode});
  }
  std::memcpy(dst, text.c_str(), (text.size() + 1) * sizeof(char16_t));
  return static_cast<int>(text.size()) + 1;
}

int qrkEntityReplaceChunk(QrkStruct* ctx, const char* chunk, QrkOutbuf* out, int* errCode,
                          char* msg) {
  return writeEscaped({ctx, msg, errCode}, out,
                      [&](DocumentText& text) { return text.appendValue(chunk, ""); });
}

int qrkEntityReplaceUsingLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* out, int* errCode,
                                 char* msg) {
  return writeEscaped({ctx, msg, errCode}, out,
                      [&](DocumentText& text) { return text.appendLargeObject(locator, ""); });
}

}  // namespace orvxml
