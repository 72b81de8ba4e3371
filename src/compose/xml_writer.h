// Writing XML text piece by piece: header, tags, escaped character data, serialised DOM subtrees.
#pragma once

#include <string>
#include <string_view>

#include "orvxml/buffer.h"
#include "src/parser/parser.h"
#include "src/text/markup.h"

namespace orvxml {

inline constexpr char16_t K_UC_L_ABRACE[] = u"<";
inline constexpr char16_t K_UC_R_ABRACE[] = u">";
inline constexpr char16_t K_UC_XML_COMMENT_START[] = u"<!--";
inline constexpr char16_t K_UC_XML_COMMENT_END[] = u"-->";

inline constexpr int kHeaderSize = 1024;  // bytes of a document header, terminator included
inline constexpr int kTagSize = 1024;     // characters of a serialised start tag, likewise

// Characters copied; 0 (and an empty `dst`) when the text has more than capacity - 1 characters.
int cpyFromRawBuffer(char16_t* dst, const DOMString& src, int capacity);
// An open start tag ("<name", no ">") and an end tag (with a ">" in front when `closeStart`): bytes
// written, 0 and nothing written when the tag and its terminator do not fit `outSize`.
int writeXMLStartTag(QrkStruct* ctx, char* out, int outSize, int indent, const DOMString& name,
                     int lineFeed);
int writeXMLEndTag(QrkStruct* ctx, char* out, int outSize, int indent, const DOMString& name,
                   int lineFeed, int closeStart);
// The document's first lines from prolog, doctype and stylesheet of the DAD, shorter than
// kHeaderSize. QRKQ000E, QRKG017E.
std::string qrkGenDocHeader(QrkStruct* ctx, const DOM_Element& dad);
// The subtree as text. A null element has the code of QRKA019E and no message, a start tag of
// kTagSize characters or more that of QRKG002E.
std::string qrkDOMtoXML(QrkStruct* ctx, const DOM_Element& element);

// ---- Of the interface; nothing here calls them. Appends the subtree to `out`. 0 or the code.
int qrkDOMtoXML1(QrkStruct* ctx, DOM_Element* element, QrkOutbuf* out, char* msg);
// Escaping. `*dst` and `*buf` are heap buffers of `capacity` (bytes, characters) that may be moved.
int qrkEntityReplace(QrkStruct* ctx, char** dst, const char16_t* src, int capacity, int* errCode,
                     char* msg);
int qrkEntityReplaceUCSRealloc(QrkStruct* ctx, char16_t** buf, const char16_t* src, int* capacity,
                               int* errCode, char* msg);
// Characters written with the terminator, or -1 (QRKG002E) when they do not fit.
int qrkEntityReplaceUCS(QrkStruct* ctx, char16_t* dst, const char16_t* src, int capacity,
                        int* errCode, char* msg);
// Escape text of the database code page, from memory or from a character large object, into `out`:
// 0, or -1, with QRKQ055E for what XML cannot carry.
int qrkEntityReplaceChunk(QrkStruct* ctx, const char* chunk, QrkOutbuf* out, int* errCode,
                          char* msg);
int qrkEntityReplaceUsingLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* out, int* errCode,
                                 char* msg);

}  // namespace orvxml
