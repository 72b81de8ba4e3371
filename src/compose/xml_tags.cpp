// Tags of composed documents, and the bounded copy of a parser's text.
#include <algorithm>

#include "orvxml/code_pages.h"
#include "src/compose/element_tags.h"
#include "src/compose/xml_writer.h"

namespace orvxml {

namespace {

// Writes `tag` when it fits `outSize` with a terminator, in characters and in bytes.
int writeTag(QrkStruct* ctx, char* out, int outSize, const std::u16string& tag) {
  if (static_cast<int64_t>(tag.size()) + 1 > outSize) return 0;
  std::string bytes;
  if (!toDatabase(ctx, tag, bytes) || static_cast<int64_t>(bytes.size()) + 1 > outSize) return 0;
  bytes.copy(out, bytes.size());
  out[bytes.size()] = 0;
  return static_cast<int>(bytes.size());
}

std::u16string lineStart(int indent, int lineFeed, bool closeStart) {
  std::u16string start;
  if (lineFeed) start += u'\n';
  if (closeStart) start += K_UC_R_ABRACE;
  start.append(static_cast<size_t>(std::max(indent, 0)), u' ');
  return start;
}

// Room for every form of a tag: a character has four bytes at most.
std::string roomForTag(const DOMString& name, int indent) {
  return std::string(4 * name.view().size() + static_cast<size_t>(indent) + 8, '\0');
}

}  // namespace

std::string startTagOf(QrkStruct* ctx, const DOMString& name, int indent) {
  std::string tag = roomForTag(name, indent);
  const int size = writeXMLStartTag(ctx, tag.data(), static_cast<int>(tag.size()), indent, name, 1);
  tag.resize(static_cast<size_t>(size));
  return tag;
}

std::string endTagOf(QrkStruct* ctx, const DOMString& name, bool hasOwnLine, int indent) {
  std::string tag = roomForTag(name, indent);
  const int size = writeXMLEndTag(ctx, tag.data(), static_cast<int>(tag.size()),
                                  hasOwnLine ? indent : 0, name, hasOwnLine, 0);
  tag.resize(static_cast<size_t>(size));
  return tag;
}

int cpyFromRawBuffer(char16_t* dst, const DOMString& src, int capacity) {
  if (capacity < 1) return 0;
  dst[0] = 0;
  const std::u16string_view text = src.view();
  if (text.size() > static_cast<size_t>(capacity) - 1) return 0;
  text.copy(dst, text.size());
  dst[text.size()] = 0;
  return static_cast<int>(text.size());
}

int writeXMLStartTag(QrkStruct* ctx, char* out, int outSize, int indent, const DOMString& name,
                     int lineFeed) {
  if (indent > outSize) return 0;
  std::u16string tag = lineStart(indent, lineFeed, false);
  tag.append(K_UC_L_ABRACE).append(name.view());
  return writeTag(ctx, out, outSize, tag);
}

int writeXMLEndTag(QrkStruct* ctx, char* out, int outSize, int indent, const DOMString& name,
                   int lineFeed, int closeStart) {
  if (indent > outSize) return 0;
  std::u16string tag = lineStart(indent, lineFeed, closeStart != 0);
  tag.append(u"</").append(name.view()).append(K_UC_R_ABRACE);
  return writeTag(ctx, out, outSize, tag);
}

}  // namespace orvxml
