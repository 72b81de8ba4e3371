// Escaping of character data: the five characters of XML's predefined entities, nothing else. The
// functions of the interface are for programs that write XML beside the library: documents are
// written through DocumentText.
#include <cstdlib>
#include <cstring>

#include "orvxml/code_pages.h"
#include "src/compose/document_text.h"
#include "src/compose/xml_writer.h"
#include "src/outcome/edge.h"

namespace orvxml {

namespace {

std::u16string escaped(const char16_t* text) {
  std::u16string out;
  if (text) appendEscaped(out, text);
  return out;
}

// A heap buffer of at least `size` bytes in place of `*buffer`.
template <class T>
void grow(T** buffer, size_t size) {
  void* const grown = std::realloc(*buffer, size);
  if (!grown) throw Failure(Msg::QRKG002E);
  *buffer = static_cast<T*>(grown);
}

// Into `out` as a document's values are written.
template <class Write>
int writeEscaped(const Report& report, QrkOutbuf* out, Write&& write) {
  return statusAtEdge(report, [&] {
    DocumentText text(report.ctx);
    text.begin(out, "");
    write(text);
    text.flush();
  });
}

}  // namespace

int qrkEntityReplaceUCSRealloc(QrkStruct* ctx, char16_t** buf, const char16_t* src, int* capacity,
                               int* errCode, char* msg) {
  return statusAtEdge({ctx, msg, errCode}, [&] {
    const std::u16string text = escaped(src);
    if (text.size() >= INT32_MAX) throw Failure(Msg::QRKG002E);
    const int needed = static_cast<int>(text.size()) + 1;
    const size_t size = static_cast<size_t>(needed) * sizeof(char16_t);
    if (needed > *capacity || !*buf) {
      grow(buf, size);
      *capacity = needed;
    }
    std::memcpy(*buf, text.c_str(), size);
  });
}

int qrkEntityReplace(QrkStruct* ctx, char** dst, const char16_t* src, int capacity, int* errCode,
                     char* msg) {
  return statusAtEdge({ctx, msg, errCode}, [&] {
    std::string bytes;
    if (!toDatabase(ctx, escaped(src), bytes)) throw Failure::internal();
    const size_t size = bytes.size() + 1;
    if (capacity < 0 || size > static_cast<size_t>(capacity) || !*dst) grow(dst, size);
    std::memcpy(*dst, bytes.c_str(), size);
  });
}

int qrkEntityReplaceUCS(QrkStruct* ctx, char16_t* dst, const char16_t* src, int capacity,
                        int* errCode, char* msg) {
  return statusAtEdge({ctx, msg, errCode}, [&] {
    const std::u16string text = escaped(src);
    if (capacity < 1 || text.size() + 1 > static_cast<size_t>(capacity)) {
      throw Failure(Msg::QRKG002E);
    }
    std::memcpy(dst, text.c_str(), (text.size() + 1) * sizeof(char16_t));
    return static_cast<int>(text.size()) + 1;
  });
}

int qrkEntityReplaceChunk(QrkStruct* ctx, const char* chunk, QrkOutbuf* out, int* errCode,
                          char* msg) {
  return writeEscaped({ctx, msg, errCode}, out,
                      [&](DocumentText& text) { text.appendValue(chunk, ""); });
}

int qrkEntityReplaceUsingLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* out, int* errCode,
                                 char* msg) {
  return writeEscaped({ctx, msg, errCode}, out,
                      [&](DocumentText& text) { text.appendLargeObject(locator, ""); });
}

}  // namespace orvxml
