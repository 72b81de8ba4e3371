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
// The document's first lines from prolog, doctype and stylesheet of the DAD; `header` holds
// kHeaderSize bytes. 0, or -1 with QRKQ000E or QRKG017E.
int qrkGenDocHeader(QrkStruct* ctx, const DOM_Element& dad, char* header, int* errCode, char* msg);
// The subtree as text. qrkDOMtoXML: a heap string, freed with free(); -14 for a null element.
// qrkDOMtoXML1 appends to `out`; a start tag of kTagSize characters or more gives -58.
int qrkDOMtoXML(QrkStruct* ctx, const DOM_Element& element, char** xml, char* msg);
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
