// Escaping of character data: the five characters of XML's predefined entities, nothing else.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "orvxml/code_pages.h"
#include "orvxml/locators.h"
#include "orvxml/trace.h"
#include "orvxml/xml_writer.h"
#include "src/compose/piecewise_decoder.h"

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

// Escapes text that arrives in pieces.
class PiecewiseEscaper {
 public:
  PiecewiseEscaper(const Report& report, QrkOutbuf* out)
      : report_(report), out_(out), decoder_(report.ctx) {}

  // `isLast` tells that no more pieces come. 0 or -1.
  int add(std::string_view piece, bool isLast) {
    const int rc =
        decoder_.decode(piece, isLast, [this](std::u16string_view text) { return append(text); });
    return rc == PiecewiseDecoder::kNotText ? conversionError(decoder_.errorName()) : rc;
  }

 private:
  int conversionError(const char* reason) {
    QRK_TRACE(report_.ctx, "Conversion error. %s", reason);
    return failed(report_, Msg::QRKQ055E, reason);
  }

  int append(std::u16string_view text) {
    std::u16string written;
    appendEscaped(written, text);
    std::string bytes;
    // A terminator inside the text would end it.
    if (text.find(u'\0') != text.npos || !toDatabase(report_.ctx, written, bytes)) {
      return conversionError(u_errorName(U_INVALID_CHAR_FOUND));
    }
    if (qrkBufAppend(report_.ctx, out_, bytes.c_str()) == 0) return 0;
    failInternal(report_, kModule, __LINE__);
    return -1;
  }

  const Report& report_;
  QrkOutbuf* const out_;
  PiecewiseDecoder decoder_;
};

}  // namespace

std::u16string_view entityOf(char16_t ch) {
  switch (ch) {
    case u'"':
      return K_UC_XML_QUOTE;
    case u'&':
      return K_UC_XML_AMPERSAND;
    case u'\'':
      return K_UC_XML_APOSTROPHE;
    case u'<':
      return K_UC_XML_LESS;
    case u'>':
      return K_UC_XML_LARGER;
    default:
      return {};
  }
}

void appendEscaped(std::u16string& out, std::u16string_view text) {
  size_t plain = 0;
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] > u'>') continue;
    const std::u16string_view entity = entityOf(text[at]);
    if (entity.empty()) continue;
    out.append(text.substr(plain, at - plain)).append(entity);
    plain = at + 1;
  }
  out.append(text.substr(plain));
}

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
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  return PiecewiseEscaper(report, out).add(chunk, true);
}

int qrkEntityReplaceUsingLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* out, int* errCode,
                                 char* msg) {
  const Report report{.ctx = ctx, .msg = msg, .errCode = errCode};
  int32_t length = 0;
  if (int rc = qrkGetLocatorLength(ctx, locator, &length, errCode, msg)) return rc;
  std::vector<char> chunk(static_cast<size_t>(std::clamp(length, 0, kLocatorChunk)) + 1);
  PiecewiseEscaper escaper(report, out);
  for (int32_t done = 0; done < length;) {
    const int32_t size = std::min(length - done, kLocatorChunk);
    if (int rc =
            qrkGetChunkFromLocator(ctx, locator, done + 1, length, chunk.data(), errCode, msg)) {
      return rc;
    }
    done += size;
    if (int rc = escaper.add({chunk.data(), static_cast<size_t>(size)}, done == length)) return rc;
  }
  return 0;
}

}  // namespace orvxml
