// Writing XML text piece by piece: header, tags, escaped character data, serialised DOM subtrees.
#pragma once

#include "orvxml/buffer.h"
#include "orvxml/parser.h"

namespace orvxml {

// Characters copied; 0 (and an empty `dst`) when the text has more than capacity - 1 characters.
int cpyFromRawBuffer(char16_t* dst, const DOMString& src, int capacity);
int writeXMLStartTag(QrkStruct* ctx, char* out, int outSize, int indent, const DOMString& name,
                     int lineFeed);
int writeXMLEndTag(QrkStruct* ctx, char* out, int outSize, int indent, const DOMString& name,
                   int lineFeed, int closeStart);
int qrkGenDocHeader(QrkStruct* ctx, const DOM_Element& dad, char* header, int* errCode, char* msg);
int qrkDOMtoXML(QrkStruct* ctx, const DOM_Element& element, char** xml, char* msg);
int qrkDOMtoXML1(QrkStruct* ctx, DOM_Element* element, QrkOutbuf* out, char* msg);
int qrkEntityReplace(QrkStruct* ctx, char** dst, const char16_t* src, int capacity, int* errCode,
                     char* msg);
int qrkEntityReplaceUCSRealloc(QrkStruct* ctx, char16_t** buf, const char16_t* src, int* capacity,
                               int* errCode, char* msg);
int qrkEntityReplaceUCS(QrkStruct* ctx, char16_t* dst, const char16_t* src, int capacity,
                        int* errCode, char* msg);
int qrkEntityReplaceChunk(QrkStruct* ctx, const char* chunk, QrkOutbuf* out, int* errCode, char* msg);
int qrkEntityReplaceUsingLocator(QrkStruct* ctx, int32_t locator, QrkOutbuf* out, int* errCode,
                                 char* msg);
int stripwhitespace(char* s);
int u_stripwhitespace(char16_t* s);

}  // namespace orvxml
